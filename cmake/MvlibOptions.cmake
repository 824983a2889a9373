# Compiler options that every target of the project shares.
add_library(mvlib_options INTERFACE)
target_compile_options(
  mvlib_options
  INTERFACE -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual $<$<BOOL:${MVLIB_WERROR}>:-Werror>)
if(WIN32)
  # Extended-precision registers would change results; msvcrt's own printf is never used for numbers.
  target_compile_options(mvlib_options INTERFACE -msse2 -mfpmath=sse)
  target_compile_definitions(mvlib_options INTERFACE NOMINMAX _WIN32_WINNT=0x0601 WINVER=0x0601)
endif()

# mvlib_name_library(<target>): "name.dll" on Windows, "libname.so.<major>" elsewhere.
function(mvlib_name_library library)
  if(WIN32)
    set_target_properties(${library} PROPERTIES PREFIX "")
  else()
    set_target_properties(${library} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  endif()
endfunction()

# mvlib_version_resource(<target> <description>): the version of a program or DLL on Windows, which every one has there.
function(mvlib_version_resource target description)
  if(NOT WIN32)
    return()
  endif()
  get_target_property(type ${target} TYPE)
  set(MVLIB_FILE_DESCRIPTION ${description})
  if(type STREQUAL EXECUTABLE)
    set(MVLIB_FILE ${target}.exe)
    set(MVLIB_FILE_TYPE VFT_APP)
  else()
    set(MVLIB_FILE ${target}.dll)
    set(MVLIB_FILE_TYPE VFT_DLL)
  endif()
  set(source ${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${source} @ONLY)
  target_sources(${target} PRIVATE ${source})
endfunction()
