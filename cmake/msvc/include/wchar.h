// Wine's <wchar.h> and the Universal CRT functions it leaves out (exported by
// ucrtbase.dll).
#pragma once
#include_next <wchar.h>

#ifdef __cplusplus
extern "C" {
#endif
_ACRTIMP errno_t __cdecl wcrtomb_s(size_t* written, char* out, size_t size, wchar_t c,
                                   mbstate_t* state);
_ACRTIMP long double __cdecl wcstold(wchar_t const* text, wchar_t** end);
#ifdef __cplusplus
}
#endif
