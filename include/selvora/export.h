// Marks the classes and functions that form the library's binary interface.
#pragma once

#if defined(_WIN32)
#if defined(SELVORA_BUILDING_LIBRARY)
#define SELVORA_API __declspec(dllexport)
#else
#define SELVORA_API __declspec(dllimport)
#endif
#else
#define SELVORA_API __attribute__((visibility("default")))
#endif

// Lets the compiler check printf-style arguments where it can.
#if defined(__GNUC__)
#define SELVORA_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define SELVORA_PRINTF(fmt, args)
#endif
