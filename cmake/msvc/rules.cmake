# Read by CMake after its platform files (CMAKE_USER_MAKE_RULES_OVERRIDE of
# cmake/clang-msvc-x86_64.cmake): the platform's list of Windows libraries
# linked into every program, most of which Wine's import libraries here do
# not include, becomes kernel32 alone; the toolchain's linker flags bring the
# run-time libraries.
set(CMAKE_C_STANDARD_LIBRARIES_INIT "-lkernel32")
set(CMAKE_CXX_STANDARD_LIBRARIES_INIT "-lkernel32")
