// Exact orientation tests on points given as x, y, by the triangulator's own
// adaptive predicate.
#pragma once

#include <cmath>

#include "tessellation/triangle_guard.h"

namespace selvora {

// Where c lies against the line from a to b: 1 to the left, -1 to the
// right, 0 on it. The determinant in doubles decides where it lies further
// from 0 than its rounding can reach: (3 + 16 eps) eps times the sum of the
// magnitudes of its two products, eps = 2^-53 (Shewchuk's first bound), for
// sums far above where products underflow. The triangulator's adaptive
// predicate decides the rest, and anything infinite or not a number.
inline int Turn(const double* a, const double* b, const double* c) {
    constexpr double kEpsilon = 1.0 / 9007199254740992.0;  // 2^-53
    constexpr double kBound = (3.0 + 16.0 * kEpsilon) * kEpsilon;
    const double left = (a[0] - c[0]) * (b[1] - c[1]);
    const double right = (a[1] - c[1]) * (b[0] - c[0]);
    const double det = left - right;
    const double size = std::fabs(left) + std::fabs(right);
    if (size >= 0x1p-900) {
        if (det > kBound * size) return 1;
        if (-det > kBound * size) return -1;
    }
    const double exact = selvora_triangle_orientation(a, b, c);
    return (exact > 0) - (exact < 0);
}

// Whether the segments from a to b and from c to d cross at a point inside
// both.
inline bool CrossProperly(const double* a, const double* b, const double* c, const double* d) {
    return Turn(a, b, c) * Turn(a, b, d) < 0 && Turn(c, d, a) * Turn(c, d, b) < 0;
}

}  // namespace selvora
