# Read by CMake after its platform files (CMAKE_USER_MAKE_RULES_OVERRIDE of
# the toolchain files in this folder's parent): the platform's list of Windows
# libraries linked into every program, most of which Wine's import libraries
# here do not include, becomes kernel32 alone; the toolchains' linker flags
# bring the run-time libraries.
if(CMAKE_C_COMPILER_FRONTEND_VARIANT STREQUAL "MSVC" OR
   CMAKE_CXX_COMPILER_FRONTEND_VARIANT STREQUAL "MSVC")
  set(CMAKE_C_STANDARD_LIBRARIES_INIT "kernel32.lib")
  set(CMAKE_CXX_STANDARD_LIBRARIES_INIT "kernel32.lib")
else()
  set(CMAKE_C_STANDARD_LIBRARIES_INIT "-lkernel32")
  set(CMAKE_CXX_STANDARD_LIBRARIES_INIT "-lkernel32")
endif()
