// The precise path of the library's trigonometric functions: the exact value
// computed in multi-word arithmetic far beyond double precision, then rounded
// once to the nearest double (ties to even, subnormal results included). The
// fast paths in math.h call it for the rare arguments whose double-double
// result their rounding test cannot decide; it is slow (microseconds) and
// never wrong.
#pragma once

namespace selvora {
namespace math {
namespace precise {

// sin x and cos x for any finite x.
double Sin(double x);
double Cos(double x);
// The angle of the point (x, y) in (-pi, pi], for finite y and x, neither
// zero.
double Atan2(double y, double x);
// acos x for -1 < x < 1.
double Acos(double x);

}  // namespace precise
}  // namespace math
}  // namespace selvora
