# Triangle, compiled into the library from Debian's source package `triangle`
# (tools/setup-deps.sh unpacks it, with Debian's patches, into the cache).
#
# Defines the object library selvora_triangle: triangle.c compiled through the
# wrapper src/tessellation/triangle_unit.c, position-independent, hidden, with
# the library's floating-point flags. Its C library calls on failure (the
# printed report, the exit, the allocation) go to the library's guard; every
# function entry and exit (-finstrument-functions) and every step from a
# triangle to its neighbour (cmake/TriangleSource.cmake) is reported to the
# guard, which bounds recursion and loops per call. SELF_CHECK turns on
# Triangle's own checks of its mesh: a flip across the mesh boundary or a
# segment is refused instead of followed out of the mesh (a crash).

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

# The source as compiled (its steps between triangles counted) and where it
# calls internalerror(), by function and line, so that a report can be told
# apart from the others of its function.
set(_selvora_generated "${CMAKE_CURRENT_BINARY_DIR}/generated")
execute_process(
  COMMAND ${CMAKE_COMMAND}
    -DTRIANGLE_SOURCE=${SELVORA_TRIANGLE_SOURCE_DIR}/triangle.c
    -DOUTPUT_DIR=${_selvora_generated}
    -P ${CMAKE_CURRENT_LIST_DIR}/TriangleSource.cmake
  RESULT_VARIABLE _selvora_source_result)
if(NOT _selvora_source_result EQUAL 0)
  message(FATAL_ERROR "Could not prepare ${SELVORA_TRIANGLE_SOURCE_DIR}/triangle.c")
endif()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  "${SELVORA_TRIANGLE_SOURCE_DIR}/triangle.c" "${CMAKE_CURRENT_LIST_DIR}/TriangleSource.cmake")

add_library(selvora_triangle OBJECT ${PROJECT_SOURCE_DIR}/src/tessellation/triangle_unit.c)
target_include_directories(selvora_triangle PRIVATE
  ${_selvora_generated} ${SELVORA_TRIANGLE_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/src)
target_compile_definitions(selvora_triangle PRIVATE TRILIBRARY NO_TIMER SELF_CHECK)
set_target_properties(selvora_triangle PROPERTIES
  POSITION_INDEPENDENT_CODE ON
  C_VISIBILITY_PRESET hidden
  C_STANDARD 99)
# The triangulator's own code is compiled as it is: its warnings are not ours.
target_compile_options(selvora_triangle PRIVATE -w -finstrument-functions)
if(CMAKE_C_COMPILER_ID STREQUAL "GNU")
  # Left uninstrumented, as the hot leaves and halving recursions of the
  # triangulation: functions without recursion whose loops end by
  # construction (the geometric predicates and their exact arithmetic, memory
  # pools, traversals, the random number source), and the divide-and-conquer
  # recursions that halve their vertices at every level (at most 17 deep for
  # 65,536 vertices). The walks that call the predicates are bounded by their
  # steps between triangles.
  target_compile_options(selvora_triangle PRIVATE
    "-finstrument-functions-exclude-function-list=counterclockwise,incircle,orient3d,estimate,expansion,pool,traverse,maketriangle,makesubseg,dealloc,randomnation,getvertex,alternateaxes,divconqrecurse")
  # Triangle's sorting and walks run fastest at -O2 here (tessellation_bench).
  target_compile_options(selvora_triangle PRIVATE $<$<CONFIG:Release>:-O2>)
endif()

# Triangle's expansion arithmetic reads one element past an expansion (a value
# it never uses). Clang exempts those functions from AddressSanitizer; GCC has
# no per-function list, so there the unit goes without AddressSanitizer and
# keeps UndefinedBehaviorSanitizer.
if(SELVORA_SANITIZE OR SELVORA_BUILD_FUZZERS)
  if(CMAKE_C_COMPILER_ID MATCHES "Clang")
    target_compile_options(selvora_triangle PRIVATE
      -fsanitize-ignorelist=${CMAKE_CURRENT_LIST_DIR}/triangle_sanitizer_ignorelist.txt)
  elseif(SELVORA_SANITIZE)
    target_compile_options(selvora_triangle PRIVATE -fno-sanitize=address)
  endif()
endif()
