# SELVORA_MSVC_PREFIX: where tools/setup-windows-deps.sh put libc++, the
# start-up library, the import libraries and the libraries built from
# source, for the toolchain files of this folder's parent.
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

