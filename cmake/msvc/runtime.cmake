# What the toolchain files of this folder's parent share, each spelling it
# for its compiler driver:
#   SELVORA_MSVC_PREFIX           where tools/setup-windows-deps.sh put libc++,
#                                 the start-up library, the import libraries and
#                                 the libraries built from source;
#   SELVORA_MSVC_HEADER_FOLDERS   the system header folders, in the order libc++
#                                 needs them: itself first, then the compiler's
#                                 own, the additions to Wine's headers (msvc/include),
#                                 Wine's C runtime and Windows headers;
#   SELVORA_MSVC_DEFINITIONS      WINE_UNICODE_NATIVE makes WCHAR wchar_t, as for
#                                 Microsoft's compiler, so that wide-string
#                                 functions mangle the same; USE_COMPILER_EXCEPTIONS
#                                 declares GetExceptionCode() and its kin for the
#                                 compiler's own __try and __except;
#   SELVORA_MSVC_RUNTIME_LIBRARIES  what every program and DLL links in place of
#                                 Microsoft's static run-time libraries: the
#                                 start-up library, libc++, the Universal CRT,
#                                 vcruntime140 and kernel32 (msvcp140 only
#                                 resolves libc++'s exception_ptr, which the linker
#                                 leaves out unless a program uses it).
if(NOT SELVORA_MSVC_PREFIX)
  if(DEFINED ENV{SELVORA_MSVC_PREFIX})
    set(SELVORA_MSVC_PREFIX "$ENV{SELVORA_MSVC_PREFIX}")
  elseif(DEFINED ENV{SELVORA_CACHE_DIR})
    set(SELVORA_MSVC_PREFIX "$ENV{SELVORA_CACHE_DIR}/windows/msvc")
  else()
    set(SELVORA_MSVC_PREFIX "$ENV{HOME}/.cache/selvora/windows/msvc")
  endif()
endif()
# try_compile projects read this file again: pass the prefix on to them.
set(ENV{SELVORA_MSVC_PREFIX} "${SELVORA_MSVC_PREFIX}")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES SELVORA_MSVC_PREFIX)


set(SELVORA_MSVC_WINE_INCLUDE /usr/include/wine/wine)
set(SELVORA_MSVC_HEADER_FOLDERS
  ${SELVORA_MSVC_PREFIX}/include/c++/v1
  /usr/lib/llvm-16/lib/clang/16/include
  ${CMAKE_CURRENT_LIST_DIR}/include
  ${SELVORA_MSVC_WINE_INCLUDE}/msvcrt
  ${SELVORA_MSVC_WINE_INCLUDE}/windows)
set(SELVORA_MSVC_DEFINITIONS -DWINE_UNICODE_NATIVE -DUSE_COMPILER_EXCEPTIONS)
set(SELVORA_MSVC_RUNTIME_LIBRARIES selvora_msvc_startup libc++ ucrtbase vcruntime140 msvcp140
  kernel32)
