// Constants the kernel and the curve classes use exactly as given: several are
// single-precision values widened to double, and results depend on every bit.
#pragma once

namespace selvora {

// 2*pi rounded to float, widened: slightly larger than the double 2*pi.
constexpr double kTwoPiF = 6.2831854820251465;
// pi rounded to float, widened.
constexpr double kPiF = 3.1415927410125732;

}  // namespace selvora
