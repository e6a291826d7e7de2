// The trigonometric functions the library computes with. On Windows they are
// the C runtime DLL's (msvcrt), never MinGW-w64's own, which use the x87
// fsin/fcos instructions: their argument reduction is wrong near multiples of
// pi/2 (cos(pi/2) = 6.1230317691118863e-17 instead of 6.123233995736766e-17).
#pragma once

#include <cmath>

namespace selvora {
namespace math {

#if defined(_WIN32)
double Sin(double x);
double Cos(double x);
double Acos(double x);
double Atan(double x);
double Atan2(double y, double x);
#else
inline double Sin(double x) { return std::sin(x); }
inline double Cos(double x) { return std::cos(x); }
inline double Acos(double x) { return std::acos(x); }
inline double Atan(double x) { return std::atan(x); }
inline double Atan2(double y, double x) { return std::atan2(y, x); }
#endif

}  // namespace math
}  // namespace selvora
