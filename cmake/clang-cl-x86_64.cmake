# A client of the Windows package built the way a Visual Studio user builds
# with clang: clang-cl (Microsoft's command-line options), lld-link, /MD. The
# project uses it to build client programs from the zip alone; on Windows
# with Visual Studio none of this is needed, the compiler's own headers and
# libraries take its place.
#
# Here, in place of Visual Studio's: Wine's C runtime and Windows headers,
# the C++ library and start-up code of cmake/clang-msvc-x86_64.cmake, and the
# import libraries of tools/setup-windows-deps.sh.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
include(${CMAKE_CURRENT_LIST_DIR}/msvc/runtime.cmake)

# clang in clang-cl mode: a link named clang-cl (tools/setup-windows-deps.sh).
set(CMAKE_C_COMPILER ${SELVORA_MSVC_PREFIX}/bin/clang-cl)
set(CMAKE_CXX_COMPILER ${SELVORA_MSVC_PREFIX}/bin/clang-cl)
set(CMAKE_C_COMPILER_TARGET x86_64-pc-windows-msvc)
set(CMAKE_CXX_COMPILER_TARGET x86_64-pc-windows-msvc)
set(CMAKE_LINKER /usr/lib/llvm-16/bin/lld-link)
set(CMAKE_AR /usr/lib/llvm-16/bin/llvm-lib CACHE FILEPATH "")
set(CMAKE_RC_COMPILER /usr/lib/llvm-16/bin/llvm-rc)
set(CMAKE_MT /usr/lib/llvm-16/bin/llvm-mt CACHE FILEPATH "")
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/lib/wine/wine64)

# The headers, in the order libc++ needs them (it comes before the compiler's
# own); clang-cl's /imsvc would put the compiler's first.
set(headers /clang:-nostdinc)
foreach(folder ${SELVORA_MSVC_HEADER_FOLDERS})
  string(APPEND headers " /clang:-isystem${folder}")
endforeach()
list(JOIN SELVORA_MSVC_DEFINITIONS " " definitions)
# (So the include folders of imported packages come as /I, not as /imsvc,
# which -nostdinc would drop.)
set(CMAKE_NO_SYSTEM_FROM_IMPORTED ON)
set(CMAKE_C_FLAGS_INIT "${headers} ${definitions}")
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT}")

# What the linker takes from Visual Studio's libraries: the run-time libraries.
list(TRANSFORM SELVORA_MSVC_RUNTIME_LIBRARIES APPEND .lib OUTPUT_VARIABLE libraries)
list(JOIN libraries " " libraries)
set(link_flags "/nodefaultlib /libpath:${SELVORA_MSVC_PREFIX}/lib ${libraries}")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${link_flags}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${link_flags}")
set(CMAKE_USER_MAKE_RULES_OVERRIDE ${CMAKE_CURRENT_LIST_DIR}/msvc/rules.cmake)

# Packages (Selvora's among them) wherever CMAKE_PREFIX_PATH says; programs
# from the build machine.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
