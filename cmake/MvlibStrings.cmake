# String resources made from a table of texts (lang/strings.txt shows its form), for both targets.
#
#   mvlib_add_language_module(<target> TABLE <file> LANGUAGE <key> LANGID <number>)
#     a module of resources alone: a DLL without code, or a shared object with the table that platform/posix reads.
#   mvlib_target_strings(<target> TABLE <file> LANGUAGE <key> LANGID <number>)
#     adds the strings to a program.
function(mvlib_generate_strings result)
  cmake_parse_arguments(PARSE_ARGV 1 arg "REGISTER" "TARGET;TABLE;LANGUAGE;LANGID" "")
  get_filename_component(table ${arg_TABLE} ABSOLUTE)
  if(WIN32)
    set(output ${CMAKE_CURRENT_BINARY_DIR}/${arg_TARGET}_strings_${arg_LANGUAGE}.rc)
  else()
    set(output ${CMAKE_CURRENT_BINARY_DIR}/${arg_TARGET}_strings_${arg_LANGUAGE}.cpp)
  endif()
  set(generator ${PROJECT_SOURCE_DIR}/cmake/generate-strings.cmake)
  add_custom_command(
    OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -DSOURCE=${table} -DLANGUAGE=${arg_LANGUAGE} -DLANGID=${arg_LANGID} -DOUTPUT=${output}
            -DREGISTER=${arg_REGISTER} -P ${generator}
    DEPENDS ${table} ${generator}
    COMMENT "Generating the ${arg_LANGUAGE} strings of ${arg_TARGET}"
    VERBATIM)
  set(${result} ${output} PARENT_SCOPE)
endfunction()

function(mvlib_add_language_module target)
  mvlib_generate_strings(source TARGET ${target} ${ARGN})
  add_library(${target} MODULE ${source})
  # Beside the library: a module is found there. No "lib" in front, it is never linked.
  set_target_properties(${target} PROPERTIES PREFIX "" LINKER_LANGUAGE CXX
                                             LIBRARY_OUTPUT_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  if(WIN32)
    target_link_options(${target} PRIVATE -nostdlib -Wl,--entry=0)
  else()
    target_link_options(${target} PRIVATE -nostdlib)
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/platform)
    target_link_libraries(${target} PRIVATE mvlib_options)
  endif()
endfunction()

function(mvlib_target_strings target)
  mvlib_generate_strings(source TARGET ${target} REGISTER ${ARGN})
  target_sources(${target} PRIVATE ${source})
endfunction()
