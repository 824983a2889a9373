# Turns a table of texts (lang/strings.txt explains its form) into one language's string resources:
#   cmake -DSOURCE=<table> -DLANGUAGE=<key> -DLANGID=<number> -DOUTPUT=<file.rc or file.cpp> [-DREGISTER=ON]
#         -P generate-strings.cmake
# An .rc file is a resource script in UTF-8 for windres. A .cpp file holds the table that platform/posix reads: as the
# exported table of a shared library, or with REGISTER as one that a program enters at its start.
cmake_minimum_required(VERSION 3.22)

get_filename_component(extension "${OUTPUT}" LAST_EXT)
file(READ "${SOURCE}" text)
string(REPLACE "\r\n" "\n" text "${text}\n")

set(number "")
set(seen "")
set(strings "")
set(line_number 0)
# Line by line with SUBSTRING: lists would take brackets and semicolons of the texts for their own.
while(NOT text STREQUAL "")
  string(FIND "${text}" "\n" end)
  string(SUBSTRING "${text}" 0 ${end} line)
  math(EXPR end "${end} + 1")
  string(SUBSTRING "${text}" ${end} -1 text)
  math(EXPR line_number "${line_number} + 1")
  if(line STREQUAL "" OR line MATCHES "^#")
    continue()
  endif()
  if(line MATCHES "^[0-9]+$")
    set(number "${line}")
    continue()
  endif()
  if(NOT line MATCHES "^([a-z]+)( (.*))?$" OR number STREQUAL "")
    message(FATAL_ERROR "${SOURCE}:${line_number}: neither a number nor a language's text: ${line}")
  endif()
  set(value "${CMAKE_MATCH_3}")
  if(NOT CMAKE_MATCH_1 STREQUAL LANGUAGE)
    continue()
  endif()
  if(number IN_LIST seen)
    message(FATAL_ERROR "${SOURCE}:${line_number}: string ${number} has two texts in ${LANGUAGE}")
  endif()
  list(APPEND seen ${number})
  if(extension STREQUAL ".rc")
    string(REPLACE "\"" "\"\"" value "${value}")
    string(APPEND strings "  ${number} \"${value}\"\n")
  else()
    string(REPLACE "\"" "\\\"" value "${value}")
    string(APPEND strings "    {${number}, u\"${value}\"},\n")
  endif()
endwhile()
if(strings STREQUAL "")
  message(FATAL_ERROR "${SOURCE}: no text in ${LANGUAGE}")
endif()

math(EXPR primary "${LANGID} & 0x3FF")
math(EXPR sub "${LANGID} >> 10")
if(extension STREQUAL ".rc")
  file(WRITE "${OUTPUT}" "#pragma code_page(65001)\nLANGUAGE ${primary}, ${sub}\nSTRINGTABLE\nBEGIN\n${strings}END\n")
else()
  set(macro MV_RESOURCE_TABLE)
  if(REGISTER)
    set(macro MV_REGISTER_RESOURCES)
  endif()
  file(WRITE "${OUTPUT}" "#include \"posix/string_table.h\"\n
namespace {
constexpr mv_string strings[] = {
${strings}};
constexpr auto blocks = mv_string_blocks<mv_string_units(strings), mv_string_block_count(strings)>(strings);
constexpr auto resources = mv_string_resources(blocks, ${LANGID});
} // namespace
${macro}(resources.entries);
")
endif()
