// Wine's <math.h> with what Microsoft's declares beside it; for C++, the classification and
// comparison functions that Microsoft's header declares as overloads and templates where C has
// macros (the C++ library names them with `using ::isnan;`).
#pragma once
#include_next <math.h>

// Functions ucrtbase.dll exports that Wine's header does not declare.
#ifdef __cplusplus
extern "C" {
#endif
_ACRTIMP double __cdecl erfc(double x);
_ACRTIMP double __cdecl fma(double x, double y, double z);
_ACRTIMP double __cdecl nan(char const* tag);
_ACRTIMP double __cdecl nexttoward(double x, long double y);
_ACRTIMP float __cdecl erfcf(float x);
_ACRTIMP float __cdecl fmaf(float x, float y, float z);
_ACRTIMP float __cdecl nanf(char const* tag);
_ACRTIMP float __cdecl nexttowardf(float x, long double y);
_ACRTIMP long double __cdecl acoshl(long double x);
_ACRTIMP long double __cdecl asinhl(long double x);
_ACRTIMP long double __cdecl atanhl(long double x);
_ACRTIMP long double __cdecl cbrtl(long double x);
_ACRTIMP long double __cdecl copysignl(long double x, long double y);
_ACRTIMP long double __cdecl erfcl(long double x);
_ACRTIMP long double __cdecl erfl(long double x);
_ACRTIMP long double __cdecl exp2l(long double x);
_ACRTIMP long double __cdecl expm1l(long double x);
_ACRTIMP long double __cdecl fdiml(long double x, long double y);
_ACRTIMP long double __cdecl fmal(long double x, long double y, long double z);
_ACRTIMP long double __cdecl fmaxl(long double x, long double y);
_ACRTIMP long double __cdecl fminl(long double x, long double y);
_ACRTIMP int __cdecl ilogbl(long double x);
_ACRTIMP long double __cdecl lgammal(long double x);
_ACRTIMP long long __cdecl llrintl(long double x);
_ACRTIMP long long __cdecl llroundl(long double x);
_ACRTIMP long double __cdecl log1pl(long double x);
_ACRTIMP long double __cdecl log2l(long double x);
_ACRTIMP long double __cdecl logbl(long double x);
_ACRTIMP long __cdecl lrintl(long double x);
_ACRTIMP long __cdecl lroundl(long double x);
_ACRTIMP long double __cdecl nanl(char const* tag);
_ACRTIMP long double __cdecl nearbyintl(long double x);
_ACRTIMP long double __cdecl nextafterl(long double x, long double y);
_ACRTIMP long double __cdecl nexttowardl(long double x, long double y);
_ACRTIMP long double __cdecl remainderl(long double x, long double y);
_ACRTIMP long double __cdecl remquol(long double x, long double y, int* quotient);
_ACRTIMP long double __cdecl rintl(long double x);
_ACRTIMP long double __cdecl roundl(long double x);
_ACRTIMP long double __cdecl scalblnl(long double x, long n);
_ACRTIMP long double __cdecl scalbnl(long double x, int n);
_ACRTIMP long double __cdecl tgammal(long double x);
_ACRTIMP long double __cdecl truncl(long double x);
#ifdef __cplusplus
}
#endif

// long double is double in Microsoft's ABI: the functions ucrtbase.dll does
// not export are its double functions.
static __inline long double acosl(long double x) { return acos(x); }
static __inline long double asinl(long double x) { return asin(x); }
static __inline long double atan2l(long double y, long double x) { return atan2(y, x); }
static __inline long double atanl(long double x) { return atan(x); }
static __inline long double ceill(long double x) { return ceil(x); }
static __inline long double coshl(long double x) { return cosh(x); }
static __inline long double cosl(long double x) { return cos(x); }
static __inline long double expl(long double x) { return exp(x); }
static __inline long double fabsl(long double x) { return fabs(x); }
static __inline long double floorl(long double x) { return floor(x); }
static __inline long double fmodl(long double x, long double y) { return fmod(x, y); }
static __inline long double frexpl(long double x, int* e) { return frexp(x, e); }
static __inline long double hypotl(long double x, long double y) { return _hypot(x, y); }
static __inline long double ldexpl(long double x, int e) { return ldexp(x, e); }
static __inline long double log10l(long double x) { return log10(x); }
static __inline long double logl(long double x) { return log(x); }
static __inline long double modfl(long double x, long double* whole) {
    double w;
    double f = modf(x, &w);
    *whole = w;
    return f;
}
static __inline long double powl(long double x, long double y) { return pow(x, y); }
static __inline long double sinhl(long double x) { return sinh(x); }
static __inline long double sinl(long double x) { return sin(x); }
static __inline long double sqrtl(long double x) { return sqrt(x); }
static __inline long double tanhl(long double x) { return tanh(x); }
static __inline long double tanl(long double x) { return tan(x); }

typedef float float_t;
typedef double double_t;

#ifdef __cplusplus
#undef isfinite
#undef isinf
#undef isnan
#undef isnormal
#undef isgreater
#undef isgreaterequal
#undef isless
#undef islessequal
#undef islessgreater
#undef isunordered

extern "C++" {

#define SELVORA_CLASSIFY(name, builtin)                             \
    inline bool name(float x) noexcept { return builtin(x); }       \
    inline bool name(double x) noexcept { return builtin(x); }      \
    inline bool name(long double x) noexcept { return builtin(x); } \
    template <class T>                                              \
    inline bool name(T x) noexcept {                                \
        return builtin(static_cast<double>(x));                     \
    }
SELVORA_CLASSIFY(isfinite, __builtin_isfinite)
SELVORA_CLASSIFY(isinf, __builtin_isinf)
SELVORA_CLASSIFY(isnan, __builtin_isnan)
SELVORA_CLASSIFY(isnormal, __builtin_isnormal)
#undef SELVORA_CLASSIFY

#define SELVORA_COMPARE(name, builtin)    \
    template <class T, class U>           \
    inline bool name(T x, U y) noexcept { \
        return builtin(x, y);             \
    }
SELVORA_COMPARE(isgreater, __builtin_isgreater)
SELVORA_COMPARE(isgreaterequal, __builtin_isgreaterequal)
SELVORA_COMPARE(isless, __builtin_isless)
SELVORA_COMPARE(islessequal, __builtin_islessequal)
SELVORA_COMPARE(islessgreater, __builtin_islessgreater)
SELVORA_COMPARE(isunordered, __builtin_isunordered)
#undef SELVORA_COMPARE
}
#endif
