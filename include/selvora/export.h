/// \file
/// Marks the classes and functions that form the library's binary interface.
#pragma once

/// \def SELVORA_API
/// Exports a class or function from the shared library (default visibility on
/// ELF, dllexport/dllimport on Windows). Everything that carries it is part of
/// the binary interface.
#if defined(_WIN32)
#if defined(SELVORA_BUILDING_LIBRARY)
#define SELVORA_API __declspec(dllexport)
#else
#define SELVORA_API __declspec(dllimport)
#endif
#else
#define SELVORA_API __attribute__((visibility("default")))
#endif

/// \def SELVORA_INLINE_API
/// SELVORA_API for a free inline function of the headers: the library exports
/// an out-of-line copy, and a client compiles its own (Windows imports no
/// inline function).
#if defined(_WIN32) && !defined(SELVORA_BUILDING_LIBRARY)
#define SELVORA_INLINE_API
#else
#define SELVORA_INLINE_API SELVORA_API
#endif

/// \def SELVORA_HOT_INLINE
/// `inline`, for the inline members on the kernel's hot paths that build and
/// return an object. A Windows client's compiler would call the DLL's copy of
/// such a member of an imported class rather than inline it (clang does), so
/// there it is `__forceinline`.
#if defined(_WIN32) && !defined(SELVORA_BUILDING_LIBRARY)
#define SELVORA_HOT_INLINE __forceinline
#else
#define SELVORA_HOT_INLINE inline
#endif

/// \def SELVORA_PRINTF(fmt, args)
/// Lets the compiler check printf-style arguments where it can: \p fmt is the
/// 1-based position of the format argument (counting `this`), \p args that of
/// the first variadic one. Empty on compilers other than GCC and clang.
#if defined(__GNUC__)
#define SELVORA_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define SELVORA_PRINTF(fmt, args)
#endif
