// Wine's <ctype.h> and the Universal CRT functions it leaves out (all exported
// by ucrtbase.dll).
#pragma once
#include_next <ctype.h>

#ifdef __cplusplus
extern "C" {
#endif
_ACRTIMP unsigned short const* __cdecl __pctype_func(void);
_ACRTIMP int __cdecl _isalnum_l(int c, _locale_t locale);
_ACRTIMP int __cdecl _isalpha_l(int c, _locale_t locale);
_ACRTIMP int __cdecl _iscntrl_l(int c, _locale_t locale);
_ACRTIMP int __cdecl _isdigit_l(int c, _locale_t locale);
_ACRTIMP int __cdecl _isgraph_l(int c, _locale_t locale);
_ACRTIMP int __cdecl _islower_l(int c, _locale_t locale);
_ACRTIMP int __cdecl _ispunct_l(int c, _locale_t locale);
_ACRTIMP int __cdecl _isupper_l(int c, _locale_t locale);
_ACRTIMP int __cdecl _isxdigit_l(int c, _locale_t locale);
_ACRTIMP int __cdecl _iswcntrl_l(wint_t c, _locale_t locale);
_ACRTIMP int __cdecl _iswxdigit_l(wint_t c, _locale_t locale);
#ifdef __cplusplus
}
#endif
