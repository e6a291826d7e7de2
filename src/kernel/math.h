// The trigonometric functions the library computes with: the C runtime's
// (glibc on Linux, the Universal CRT on Windows).
#pragma once

#include <cmath>

namespace selvora {
namespace math {

inline double Sin(double x) { return std::sin(x); }
inline double Cos(double x) { return std::cos(x); }
inline double Acos(double x) { return std::acos(x); }
inline double Atan(double x) { return std::atan(x); }
inline double Atan2(double y, double x) { return std::atan2(y, x); }

}  // namespace math
}  // namespace selvora
