// The float functions Microsoft's <math.h> defines inline over the double
// ones, so that ucrtbase.dll does not export them, as functions: libc++'s
// float overloads call them by name. (The double calls must stay calls: this
// file is compiled without builtins, see CMakeLists.txt; and without
// <math.h>, which defines these names inline.)
__declspec(dllimport) double __cdecl fabs(double x);
__declspec(dllimport) double __cdecl frexp(double x, int* exponent);
__declspec(dllimport) double __cdecl ldexp(double x, int exponent);
__declspec(dllimport) double __cdecl _hypot(double x, double y);

float fabsf(float x) { return (float)fabs(x); }
float frexpf(float x, int* exponent) { return (float)frexp(x, exponent); }
float ldexpf(float x, int exponent) { return (float)ldexp(x, exponent); }
float hypotf(float x, float y) { return (float)_hypot(x, y); }
