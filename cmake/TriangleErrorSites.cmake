# Lists where Triangle's source calls internalerror(): the function and the
# line of each call, in the order of the source. Run in script mode:
#   cmake -DTRIANGLE_SOURCE=.../triangle.c -DOUTPUT=.../triangle_error_sites.h -P TriangleErrorSites.cmake
# A function definition is a line that starts in the first column with a type
# and a name followed by "(", and has no ";"; a call is a line holding only
# "internalerror();". The header is rewritten only
# when its content changes.

cmake_policy(SET CMP0007 NEW)
file(READ "${TRIANGLE_SOURCE}" source)
# Characters that CMake's lists treat specially are replaced before the
# source is split into lines; only names and line numbers are kept.
string(REPLACE "\\" "/" source "${source}")
string(REPLACE "[" "(" source "${source}")
string(REPLACE "]" ")" source "${source}")
string(REPLACE ";" "@semicolon@" source "${source}")
string(REPLACE "\n" ";" lines "${source}")

set(function "")
set(line_number 0)
set(entries "")
set(count 0)
foreach(line IN LISTS lines)
  math(EXPR line_number "${line_number} + 1")
  if(line MATCHES "@semicolon@")
    if(line MATCHES "^[ \t]+internalerror\\(\\)")
      string(APPEND entries "    {\"${function}\", ${line_number}},\n")
      math(EXPR count "${count} + 1")
    endif()
  elseif(line MATCHES "^[A-Za-z_][A-Za-z0-9_ *]*[ *]([A-Za-z_][A-Za-z0-9_]*)\\(")
    set(function "${CMAKE_MATCH_1}")
  endif()
endforeach()
if(count EQUAL 0)
  message(FATAL_ERROR "no call of internalerror() found in ${TRIANGLE_SOURCE}")
endif()

set(content "/* Generated from ${TRIANGLE_SOURCE} at configure time. */
/* The calls of internalerror() in Triangle's source, in source order. */
static const struct selvora_triangle_error_site {
    const char* function;
    int line;
} selvora_triangle_error_sites[] = {
${entries}};
")
if(EXISTS "${OUTPUT}")
  file(READ "${OUTPUT}" old)
endif()
if(NOT old STREQUAL content)
  file(WRITE "${OUTPUT}" "${content}")
endif()
