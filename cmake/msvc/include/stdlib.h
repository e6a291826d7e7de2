// Wine's <stdlib.h> and the Universal CRT functions and macros it leaves out
// (all exported by ucrtbase.dll).
#pragma once
#include_next <stdlib.h>

#ifdef __cplusplus
extern "C" {
#endif
_ACRTIMP int __cdecl ___mb_cur_max_l_func(_locale_t locale);
_ACRTIMP int* __cdecl __sys_nerr(void);
_ACRTIMP double __cdecl _strtod_l(char const* text, char** end, _locale_t locale);
_ACRTIMP float __cdecl _strtof_l(char const* text, char** end, _locale_t locale);
_ACRTIMP errno_t __cdecl getenv_s(size_t* size, char* out, size_t capacity, char const* name);
_ACRTIMP unsigned int __cdecl _set_abort_behavior(unsigned int flags, unsigned int mask);
_ACRTIMP errno_t __cdecl _dupenv_s(char** value, size_t* size, char const* name);
_ACRTIMP errno_t __cdecl _wgetenv_s(size_t* size, wchar_t* out, size_t capacity,
                                    wchar_t const* name);
#ifdef __cplusplus
}
#endif

#ifndef MB_CUR_MAX
#define MB_CUR_MAX ___mb_cur_max_func()
#endif
#ifndef _sys_nerr
#define _sys_nerr (*__sys_nerr())
#endif
