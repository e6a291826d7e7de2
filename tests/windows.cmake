# The tests of the Windows build, run under Wine (the toolchain file's
# emulator). So far the suites that use only the library and standard C++
# (SELVORA_CORE_TESTS). Each program is one CTest test: starting Wine for
# every test case would take minutes.
find_package(GTest CONFIG REQUIRED)

add_executable(selvora_core_tests ${SELVORA_CORE_TESTS})
target_include_directories(selvora_core_tests PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(selvora_core_tests PRIVATE Selvora100_64 GTest::gtest GTest::gtest_main)
# No DLL beyond Windows' own and the library's beside it.
target_link_options(selvora_core_tests PRIVATE -static)
add_test(NAME selvora_core_tests COMMAND selvora_core_tests)
set_tests_properties(selvora_core_tests PROPERTIES ENVIRONMENT "WINEDEBUG=-all" TIMEOUT 600)
target_link_options(selvora_same_bits PRIVATE -static)
