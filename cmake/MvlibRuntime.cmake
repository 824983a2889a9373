# The compiler's runtime DLLs, which every program and DLL of the Windows target shares: an exception object may only
# cross from one to the other when both use the same ones. They lie beside the programs.
set(MVLIB_RUNTIME_DLLS)
if(WIN32)
  foreach(name libstdc++-6.dll libgcc_s_dw2-1.dll libwinpthread-1.dll)
    execute_process(
      COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
      OUTPUT_VARIABLE found
      OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT IS_ABSOLUTE "${found}")
      find_file(MVLIB_RUNTIME_${name} ${name} PATHS ${CMAKE_FIND_ROOT_PATH} PATH_SUFFIXES lib bin NO_DEFAULT_PATH
                                                                                                NO_CMAKE_FIND_ROOT_PATH)
      set(found ${MVLIB_RUNTIME_${name}})
    endif()
    if(NOT EXISTS "${found}")
      message(FATAL_ERROR "The compiler's ${name} was not found")
    endif()
    get_filename_component(found "${found}" REALPATH)
    list(APPEND MVLIB_RUNTIME_DLLS ${found})
  endforeach()
  file(COPY ${MVLIB_RUNTIME_DLLS} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
endif()
