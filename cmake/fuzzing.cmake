# libFuzzer (clang only). With SELVORA_BUILD_FUZZERS=ON the library's objects
# carry the sanitizers and libFuzzer's coverage instrumentation, so that the
# fuzz targets in fuzz/ see inside the readers and the triangulator.
#
#   selvora_instrument_for_fuzzing(TARGET...)   compile code a fuzzer reaches
#   selvora_add_fuzzer(NAME SOURCE...)          a libFuzzer program
include(${CMAKE_CURRENT_LIST_DIR}/sanitizers.cmake)

set(SELVORA_FUZZING OFF)
if(SELVORA_BUILD_FUZZERS AND NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  message(WARNING "SELVORA_BUILD_FUZZERS needs clang (configure with CXX=clang++); fuzzers skipped")
elseif(SELVORA_BUILD_FUZZERS)
  set(SELVORA_FUZZING ON)
endif()

function(selvora_instrument_for_fuzzing)
  foreach(target IN LISTS ARGN)
    target_compile_options(${target} PRIVATE ${SELVORA_SANITIZER_FLAGS} -fsanitize=fuzzer-no-link)
  endforeach()
endfunction()

function(selvora_add_fuzzer name)
  add_executable(${name} ${ARGN})
  target_compile_options(${name} PRIVATE ${SELVORA_SANITIZER_FLAGS} -fsanitize=fuzzer)
  target_link_options(${name} PRIVATE ${SELVORA_SANITIZER_LINK_FLAGS} -fsanitize=fuzzer)
endfunction()
