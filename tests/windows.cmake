# The tests of the Windows build, run under Wine (the toolchain file's
# emulator). Each program is one CTest test: starting Wine for every test case
# would take minutes. The programs need no DLL beyond Windows' own and the
# library's beside them.
find_package(GTest CONFIG REQUIRED)

# With OWN_MAIN, one of the sources has the program's main; with INTERNAL the
# program links the static archive of the library's objects (selvora_internal)
# instead of the DLL, for the white-box tests; ARGS, after the sources, are
# the test's arguments.
function(selvora_windows_tests name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "OWN_MAIN;INTERNAL" "" "ARGS")
  add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
  target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  if(arg_INTERNAL)
    target_link_libraries(${name} PRIVATE selvora_internal GTest::gtest)
  else()
    target_link_libraries(${name} PRIVATE Selvora100_64 GTest::gtest)
  endif()
  if(NOT arg_OWN_MAIN)
    target_link_libraries(${name} PRIVATE GTest::gtest_main)
  endif()
  add_test(NAME ${name} COMMAND ${name} ${arg_ARGS})
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "WINEDEBUG=-all" TIMEOUT 900)
endfunction()

selvora_windows_tests(selvora_core_tests ${SELVORA_CORE_TESTS} module/exports_test.cpp)
# The export table and the version resource are read from the DLL beside the
# program.
target_compile_definitions(selvora_core_tests PRIVATE SELVORA_LIBRARY_PATH="Selvora100_64.dll"
  SELVORA_VERSION="${PROJECT_VERSION}" SELVORA_VERSION_MAJOR=${PROJECT_VERSION_MAJOR}
  SELVORA_VERSION_MINOR=${PROJECT_VERSION_MINOR} SELVORA_VERSION_PATCH=${PROJECT_VERSION_PATCH})
target_link_libraries(selvora_core_tests PRIVATE version)

# The image readers. The tests write TIFF files with libtiff and decode the
# reference renderings with libpng: the static libraries of
# tools/setup-windows-deps.sh, linked into the test program (the DLL keeps
# its own libtiff inside).
find_package(PNG REQUIRED)
selvora_windows_tests(selvora_image_tests
  image/bmp_test.cpp
  image/tiff_test.cpp
  image/corpus_test.cpp
  support/platform.cpp
  support/scratch_dir.cpp)
target_link_libraries(selvora_image_tests PRIVATE TIFF::TIFF PNG::PNG ${SELVORA_PLATFORM_LIBRARIES})
target_compile_definitions(selvora_image_tests PRIVATE
  SELVORA_TESTDATA_DIR="${PROJECT_SOURCE_DIR}/tests/data")

# The triangulator. Its results are compared with the triangle program's,
# built here for Windows from the same Triangle source as the library, beside
# the test program. The calls that may end their process run in children:
# the test program started again (its main is support/graph_children_windows.cpp).
# A fatal condition shows its text in a message box (which
# Wine, without a display, does not show) and writes it with
# OutputDebugStringW: the test program echoes those strings on stderr, in the
# Chinese code page that keeps the texts whole.
add_executable(selvora_triangle_program ${SELVORA_TRIANGLE_SOURCE_DIR}/triangle.c)
set_target_properties(selvora_triangle_program PROPERTIES OUTPUT_NAME triangle)
target_compile_definitions(selvora_triangle_program PRIVATE NO_TIMER)
target_compile_options(selvora_triangle_program PRIVATE -ffp-contract=off -w)
selvora_windows_tests(selvora_tessellation_tests OWN_MAIN
  tessellation/fatal_exit_test.cpp
  tessellation/tessellation_test.cpp
  tessellation/robustness_test.cpp
  support/debug_strings_windows.cpp
  support/graph_children_windows.cpp
  support/platform.cpp
  support/scratch_dir.cpp)
add_dependencies(selvora_tessellation_tests selvora_triangle_program)
set_tests_properties(selvora_tessellation_tests PROPERTIES
  ENVIRONMENT "WINEDEBUG=-all;LC_ALL=zh_CN.UTF-8")

# The fatal texts and Triangle's guard, through the static archive of the
# library's objects as on Linux; the fatal texts are read as above.
selvora_windows_tests(selvora_internal_tests INTERNAL
  internal/fatal_errors_test.cpp
  internal/triangle_guard_test.cpp
  support/debug_strings_windows.cpp)
target_compile_definitions(selvora_internal_tests PRIVATE
  SELVORA_TRIANGLE_SOURCE="${SELVORA_TRIANGLE_SOURCE_DIR}/triangle.c")
set_tests_properties(selvora_internal_tests PROPERTIES
  ENVIRONMENT "WINEDEBUG=-all;LC_ALL=zh_CN.UTF-8")

# The HTTP exchanges over WinINet, through the static archive of the library's
# objects as on Linux, against the tests' loopback server in the same program
# (Wine's Winsock, over the host's loopback).
selvora_windows_tests(selvora_net_tests INTERNAL
  internal/net_test.cpp
  internal/net_windows_test.cpp
  internal/net_windows_servers_test.cpp
  support/platform.cpp
  support/scratch_dir.cpp
  ARGS --gtest_filter=-HttpsThroughWinInet.*:PythonHttpServerBeside.*)
target_link_libraries(selvora_net_tests PRIVATE selvora_loopback_http_server crypt32)

# The tool's tests run selvora.exe under Wine, with the programs of the Linux
# build that tools/run windows names here: the tests' loopback server for
# fetch and matrix, and write_records, whose records are the same bytes on
# both platforms.
set(SELVORA_LINUX_BUILD_DIR "" CACHE PATH
  "The Linux build, whose test programs the tool's tests of the Windows build use")
if(SELVORA_LINUX_BUILD_DIR AND TARGET selvora)
  find_program(SELVORA_PYTHON python3 REQUIRED)
  find_program(SELVORA_TRIANGLE_HOST_PROGRAM triangle REQUIRED)
  set(SELVORA_CLI_ENVIRONMENT "WINEDEBUG=-all;PYTHONDONTWRITEBYTECODE=1;SELVORA_EMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR};SELVORA=$<TARGET_FILE:selvora>;SELVORA_LOOPBACK_HTTP=${SELVORA_LINUX_BUILD_DIR}/tests/support/selvora_loopback_http;WRITE_RECORDS=${SELVORA_LINUX_BUILD_DIR}/tests/tools/write_records;TRIANGLE_PROGRAM=${SELVORA_TRIANGLE_HOST_PROGRAM};TRIANGLE_SAMPLE=/usr/share/doc/triangle-bin/A.poly;SELVORA_TESTDATA=${PROJECT_SOURCE_DIR}/tests/data")
  foreach(group Help Demo Tessellate Records Image Fetch Matrix)
    add_test(NAME selvora_cli.${group}
      COMMAND ${SELVORA_PYTHON} ${CMAKE_CURRENT_SOURCE_DIR}/tools/selvora_cli_test.py -v ${group}Test)
    set_tests_properties(selvora_cli.${group} PROPERTIES TIMEOUT 600 ENVIRONMENT
      "${SELVORA_CLI_ENVIRONMENT}")
  endforeach()

  # HTTPS through WinINet, against the Linux build's TLS servers.
  add_test(NAME selvora_net_tests.Https
    COMMAND ${SELVORA_PYTHON} ${CMAKE_CURRENT_SOURCE_DIR}/support/with_tls_fronts.py
      ${SELVORA_LINUX_BUILD_DIR}/tests/support/selvora_tls_fronts
      ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:selvora_net_tests>
      --gtest_filter=HttpsThroughWinInet.*)
  set_tests_properties(selvora_net_tests.Https PROPERTIES ENVIRONMENT "WINEDEBUG=-all" TIMEOUT 300)
  # And against python3 -m http.server, a server nobody here wrote.
  add_test(NAME selvora_net_tests.PythonHttpServer
    COMMAND ${SELVORA_PYTHON} ${CMAKE_CURRENT_SOURCE_DIR}/support/with_python_http_server.py
      ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:selvora_net_tests>
      --gtest_filter=PythonHttpServerBeside.*)
  set_tests_properties(selvora_net_tests.PythonHttpServer PROPERTIES
    ENVIRONMENT "WINEDEBUG=-all" TIMEOUT 300)

  # The package as a client sees it: selvora.exe run from the installed bin/,
  # beside the installed DLL, and both importing only Windows' own DLLs.
  set(SELVORA_TEST_PREFIX ${CMAKE_BINARY_DIR}/test-install)
  add_test(NAME install_package
    COMMAND ${CMAKE_COMMAND} --install ${CMAKE_BINARY_DIR} --prefix ${SELVORA_TEST_PREFIX})
  set_tests_properties(install_package PROPERTIES FIXTURES_SETUP installed_package)
  add_test(NAME selvora_cli.Installed
    COMMAND ${SELVORA_PYTHON} ${CMAKE_CURRENT_SOURCE_DIR}/tools/selvora_cli_test.py -v InstalledTest)
  set_tests_properties(selvora_cli.Installed PROPERTIES FIXTURES_REQUIRED installed_package
    TIMEOUT 600 ENVIRONMENT
    "${SELVORA_CLI_ENVIRONMENT};SELVORA_INSTALLED=${SELVORA_TEST_PREFIX}/bin/selvora.exe;SELVORA_INSTALLED_LIBDIR=${SELVORA_TEST_PREFIX}/bin;SELVORA_OBJDUMP=${CMAKE_OBJDUMP}")
endif()

