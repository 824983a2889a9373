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
