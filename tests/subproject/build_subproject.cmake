# Configures, builds and runs tests/subproject in BINARY_DIR with every package
# that only Selvora's tests, tool and documentation use made unfindable.
#   cmake -DSOURCE_DIR=... -DBINARY_DIR=... -DSELVORA_SOURCE_DIR=...
#         -DTRIANGLE_SOURCE_DIR=... [-DGENERATOR=...] -P build_subproject.cmake
file(REMOVE_RECURSE "${BINARY_DIR}")
set(disabled GTest PNG Python3 Doxygen OpenSSL CLI11 benchmark)
set(options)
foreach(package ${disabled})
  list(APPEND options -DCMAKE_DISABLE_FIND_PACKAGE_${package}=ON)
endforeach()

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}")
  endif()
endfunction()

run(${CMAKE_COMMAND} -S "${SOURCE_DIR}" -B "${BINARY_DIR}" -G "${GENERATOR}"
  -DCMAKE_BUILD_TYPE=Release -DSELVORA_SOURCE_DIR=${SELVORA_SOURCE_DIR}
  -DSELVORA_TRIANGLE_SOURCE_DIR=${TRIANGLE_SOURCE_DIR} ${options})
run(${CMAKE_COMMAND} --build "${BINARY_DIR}" --parallel 2)
run("${BINARY_DIR}/subproject_client")
