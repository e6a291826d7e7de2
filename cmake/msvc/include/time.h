// Wine's <time.h> with what Microsoft's declares beside it: the C11 struct
// timespec, localtime_s and gmtime_s, _strftime_l.
#pragma once
#include_next <time.h>

#ifdef __cplusplus
extern "C" {
#endif
_ACRTIMP size_t __cdecl _strftime_l(char* out, size_t size, char const* format,
                                    struct tm const* time, _locale_t locale);
_ACRTIMP errno_t __cdecl _gmtime64_s(struct tm* out, __time64_t const* time);
#ifdef __cplusplus
}
#endif

// The C11 names of the conversions into a caller's struct tm.
static __inline errno_t localtime_s(struct tm* out, time_t const* time) {
    return _localtime64_s(out, time);
}
static __inline errno_t gmtime_s(struct tm* out, time_t const* time) {
    return _gmtime64_s(out, time);
}

#ifndef _TIMESPEC_DEFINED
#define _TIMESPEC_DEFINED
struct timespec {
    time_t tv_sec;
    long tv_nsec;
};
#endif
