# Triangle, compiled into the library from Debian's source package `triangle`
# (tools/setup-deps.sh unpacks it, with Debian's patches, into the cache).
#
# Defines the object library selvora_triangle: triangle.c compiled through the
# wrapper src/tessellation/triangle_unit.c, position-independent, hidden, with
# the library's floating-point flags. Its C library calls on failure (the
# printed report, the exit, the allocation) go to the library's guard, and
# every function entry and exit is reported to the guard
# (-finstrument-functions), which bounds recursion and loops per call.

set(SELVORA_CACHE_DIR "$ENV{SELVORA_CACHE_DIR}")
if(NOT SELVORA_CACHE_DIR)
  set(SELVORA_CACHE_DIR "$ENV{HOME}/.cache/selvora")
endif()
file(GLOB _selvora_triangle_candidates "${SELVORA_CACHE_DIR}/triangle/triangle-*/triangle.c")
set(_selvora_triangle_default "")
if(_selvora_triangle_candidates)
  list(GET _selvora_triangle_candidates 0 _selvora_triangle_first)
  get_filename_component(_selvora_triangle_default "${_selvora_triangle_first}" DIRECTORY)
endif()
set(SELVORA_TRIANGLE_SOURCE_DIR "${_selvora_triangle_default}" CACHE PATH
  "Folder holding Triangle's triangle.c and triangle.h (Debian's source package, patched)")
if(NOT EXISTS "${SELVORA_TRIANGLE_SOURCE_DIR}/triangle.c"
   OR NOT EXISTS "${SELVORA_TRIANGLE_SOURCE_DIR}/triangle.h")
  message(FATAL_ERROR
    "Triangle's source was not found (looked in '${SELVORA_TRIANGLE_SOURCE_DIR}'). "
    "Run tools/setup-deps.sh, which unpacks Debian's source package into "
    "${SELVORA_CACHE_DIR}/triangle, or set SELVORA_TRIANGLE_SOURCE_DIR.")
endif()

# Where the source calls internalerror(), by function and line, so that a
# report can be told apart from the others of its function.
set(_selvora_generated "${CMAKE_CURRENT_BINARY_DIR}/generated")
execute_process(
  COMMAND ${CMAKE_COMMAND}
    -DTRIANGLE_SOURCE=${SELVORA_TRIANGLE_SOURCE_DIR}/triangle.c
    -DOUTPUT=${_selvora_generated}/triangle_error_sites.h
    -P ${CMAKE_CURRENT_LIST_DIR}/TriangleErrorSites.cmake
  RESULT_VARIABLE _selvora_sites_result)
if(NOT _selvora_sites_result EQUAL 0)
  message(FATAL_ERROR "Could not list the internal-error calls of ${SELVORA_TRIANGLE_SOURCE_DIR}/triangle.c")
endif()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  "${SELVORA_TRIANGLE_SOURCE_DIR}/triangle.c")

add_library(selvora_triangle OBJECT src/tessellation/triangle_unit.c)
target_include_directories(selvora_triangle PRIVATE
  ${SELVORA_TRIANGLE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR}/src)
target_compile_definitions(selvora_triangle PRIVATE TRILIBRARY NO_TIMER)
set_target_properties(selvora_triangle PROPERTIES
  POSITION_INDEPENDENT_CODE ON
  C_VISIBILITY_PRESET hidden
  C_STANDARD 99)
# The triangulator's own code is compiled as it is: its warnings are not ours.
target_compile_options(selvora_triangle PRIVATE -w -finstrument-functions)
if(CMAKE_C_COMPILER_ID STREQUAL "GNU")
  # Functions whose loops end by construction (exact-arithmetic helpers, memory
  # pools, traversals, the random number source) are left uninstrumented: they
  # are the hot leaves of the triangulation. The predicates counterclockwise()
  # and incircle() stay instrumented; every walk of the mesh calls them.
  target_compile_options(selvora_triangle PRIVATE
    "-finstrument-functions-exclude-function-list=adapt,estimate,expansion,pool,traverse,maketriangle,makesubseg,dealloc,randomnation,getvertex")
endif()
