# Prepares Triangle's source for the library, at configure time. Run in
# script mode:
#   cmake -DTRIANGLE_SOURCE=.../triangle.c -DOUTPUT_DIR=... -P TriangleSource.cmake
# Writes into OUTPUT_DIR
#   triangle_error_sites.h  where the source calls internalerror(): the
#                           function and the line of each call, in source order;
#   triangle.c              the source with one addition: the macro decode(),
#                           through which Triangle steps from a triangle to a
#                           neighbour, also counts the step and checks the
#                           triangle stepped onto with
#                           SELVORA_TRIANGLE_STEP_ONTO() (triangle_guard.h).
#                           Some of Triangle's walks around a vertex call no
#                           function at all; counting their steps is the only
#                           way to bound them.
# Places are found by identifiers: a function definition is a line that starts
# in the first column with a type and a name followed by "(" and has no ";";
# a call is a line holding "internalerror();"; the macro is the line
# "#define decode(" and its continuation lines. Files are rewritten only when
# their content changes.

cmake_policy(SET CMP0007 NEW)

function(write_if_changed path content)
  if(EXISTS "${path}")
    file(READ "${path}" old)
    if(old STREQUAL content)
      return()
    endif()
  endif()
  file(WRITE "${path}" "${content}")
endfunction()

file(READ "${TRIANGLE_SOURCE}" source)

# The step counter, appended to the last line of decode()'s definition, whose
# second parameter is the oriented triangle stepped onto.
string(REGEX MATCH "\n#define decode\\(ptr, otri\\)([^\n]*\\\\\n)*[^\n]*" decode "${source}")
if(NOT decode)
  message(FATAL_ERROR "no definition of decode(ptr, otri) found in ${TRIANGLE_SOURCE}")
endif()
string(REPLACE "${decode}" "${decode}; SELVORA_TRIANGLE_STEP_ONTO((otri).tri)" guarded
  "${source}")
write_if_changed("${OUTPUT_DIR}/triangle.c"
  "/* Generated from ${TRIANGLE_SOURCE}: decode() counts and checks its steps. */\n#line 1 \"${TRIANGLE_SOURCE}\"\n${guarded}")

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
foreach(line IN LISTS lines)
  math(EXPR line_number "${line_number} + 1")
  if(line MATCHES "@semicolon@")
    if(line MATCHES "^[ \t]+internalerror\\(\\)")
      string(APPEND entries "    {\"${function}\", ${line_number}},\n")
    endif()
  elseif(line MATCHES "^[A-Za-z_][A-Za-z0-9_ *]*[ *]([A-Za-z_][A-Za-z0-9_]*)\\(")
    set(function "${CMAKE_MATCH_1}")
  endif()
endforeach()
if(NOT entries)
  message(FATAL_ERROR "no call of internalerror() found in ${TRIANGLE_SOURCE}")
endif()

write_if_changed("${OUTPUT_DIR}/triangle_error_sites.h" "/* Generated from ${TRIANGLE_SOURCE}. */
/* The calls of internalerror() in Triangle's source, in source order. */
static const struct selvora_triangle_error_site {
    const char* function;
    int line;
} selvora_triangle_error_sites[] = {
${entries}};
")
