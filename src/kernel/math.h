// The trigonometric functions the library computes with: its own, correctly
// rounded (the double nearest to the exact value, ties to even) for every
// argument, so that a result is a property of the argument alone, the same
// bits on every platform and with every C runtime.
//
// Each function evaluates a fast path in double-double arithmetic
// (double_double.h) and keeps its result when a rounding test proves it
// correctly rounded; the rare arguments the test cannot decide go to the
// precise path (precise_math.h). Special arguments follow C's Annex F: signed
// zeros, infinities, NaN, acos outside [-1, 1]. The default rounding mode
// (to nearest) is assumed, as everywhere in the library.
#pragma once

namespace selvora {
namespace math {

double Sin(double x);
double Cos(double x);
double Acos(double x);
double Atan(double x);
double Atan2(double y, double x);

}  // namespace math
}  // namespace selvora
