// The numbers the kernel and the geometry classes compute with, each named
// once. Every value is frozen: results are reproduced to the bit, and several
// are single-precision values widened to double on purpose (see the README's
// Compatibility section). Never replace one by a "more exact" value.
#pragma once

namespace selvora {

// 2*pi rounded to float, widened: slightly larger than the double 2*pi.
// Angles of Vector3d::angleTo, OV_angle and the arc classes wrap by it.
constexpr double kTwoPiF = 6.2831854820251465;
// pi rounded to float, widened: Matrix3d::setCoordSystem and Line::CoLinear.
constexpr double kPiF = 3.1415927410125732;

// The two degree factors of the line queries, deliberately different:
// 180 / pi with pi rounded to float, computed in double (tangent angles) ...
constexpr double kTangentDegrees = 57.29577791868205;
// ... and the same quotient rounded to float (the angle between two lines).
constexpr double kAngleDegrees = 57.2957763671875;

// The fixed per-coordinate tolerance of line and triangle equality and of the
// line relation tests, and the magnitude below which a line's direction
// component snaps to zero.
constexpr double kGeometryTolerance = 2.5e-9;
// The looser tolerance: a direction this close to unit length is taken as a
// unit vector; a point this close to an arc's circle and plane lies on it.
constexpr double kNearTolerance = 1e-6;

}  // namespace selvora
