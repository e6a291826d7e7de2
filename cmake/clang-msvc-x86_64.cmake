# Cross-compiling for 64-bit Windows in the C++ ABI of Microsoft's compiler,
# with Debian's clang, lld and llvm 16, the way a Windows user of the library
# builds with clang:
#   - target x86_64-pc-windows-msvc: Microsoft's decorated names, class
#     layouts, virtual tables and exception tables;
#   - the C runtime is the Universal CRT (ucrtbase.dll) with vcruntime140.dll,
#     declared by Wine's headers (libwine-dev), linked through Wine's import
#     libraries;
#   - the C++ standard library is libc++, built static for this target from
#     Debian's llvm-toolchain-16 source, and the small start-up library that
#     Microsoft's static libraries would be (cmake/msvc/startup): both in the
#     prefix that tools/setup-windows-deps.sh fills.
# Programs run through Wine.
#
# A Windows user with Visual Studio needs none of this: the MSVC-ABI package
# is used with Microsoft's own headers and libraries (see the package README).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)

include(${CMAKE_CURRENT_LIST_DIR}/msvc/runtime.cmake)

set(triple x86_64-pc-windows-msvc)
# From LLVM 16's own folder, so that the driver runs the lld-link beside it.
set(llvm_bin /usr/lib/llvm-16/bin)
set(CMAKE_C_COMPILER ${llvm_bin}/clang)
set(CMAKE_CXX_COMPILER ${llvm_bin}/clang++)
set(CMAKE_C_COMPILER_TARGET ${triple})
set(CMAKE_CXX_COMPILER_TARGET ${triple})
set(CMAKE_ASM_COMPILER ${llvm_bin}/clang)
set(CMAKE_ASM_COMPILER_TARGET ${triple})
set(CMAKE_RC_COMPILER ${llvm_bin}/llvm-rc)
set(CMAKE_AR ${llvm_bin}/llvm-ar CACHE FILEPATH "")
set(CMAKE_RANLIB ${llvm_bin}/llvm-ranlib CACHE FILEPATH "")
set(CMAKE_MT ${llvm_bin}/llvm-mt CACHE FILEPATH "")
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/lib/wine/wine64)

# Headers: libc++ (C++ only), then the rest of SELVORA_MSVC_HEADER_FOLDERS.
list(GET SELVORA_MSVC_HEADER_FOLDERS 0 libcxx_headers)
set(c_headers -nostdinc)
foreach(folder ${SELVORA_MSVC_HEADER_FOLDERS})
  if(NOT folder STREQUAL libcxx_headers)
    string(APPEND c_headers " -isystem ${folder}")
  endif()
endforeach()
list(JOIN SELVORA_MSVC_DEFINITIONS " " definitions)
# Every function and datum in a section of its own, so that the linker leaves
# out what nothing uses (and the DLLs only that would need).
set(c_flags "${c_headers} ${definitions} -ffunction-sections -fdata-sections")
set(CMAKE_C_FLAGS_INIT "${c_flags}")
set(CMAKE_CXX_FLAGS_INIT "-isystem ${libcxx_headers} ${c_flags}")
set(CMAKE_RC_FLAGS_INIT "-I ${SELVORA_MSVC_WINE_INCLUDE}/windows")

# Linking: lld-link, no default library at all (the objects name Microsoft's
# static runtime libraries, which do not exist here), and instead the
# run-time libraries, for every program and DLL (CMake's own checks
# included). cmake/msvc/rules.cmake drops the platform's other default
# libraries. (The compiler flags come again on the driver's link line, where
# the header options are unused.)
list(TRANSFORM SELVORA_MSVC_RUNTIME_LIBRARIES PREPEND -l OUTPUT_VARIABLE libraries)
list(JOIN libraries " " libraries)
set(CMAKE_EXE_LINKER_FLAGS_INIT
  "-Wno-unused-command-line-argument -fuse-ld=lld -nostdlib -Xlinker /nodefaultlib -L${SELVORA_MSVC_PREFIX}/lib ${libraries}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${CMAKE_EXE_LINKER_FLAGS_INIT}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${CMAKE_EXE_LINKER_FLAGS_INIT}")
set(CMAKE_USER_MAKE_RULES_OVERRIDE ${CMAKE_CURRENT_LIST_DIR}/msvc/rules.cmake)

# Libraries and headers come from the prefix; programs from the build machine.
list(APPEND CMAKE_FIND_ROOT_PATH ${SELVORA_MSVC_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
