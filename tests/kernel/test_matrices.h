// Matrices the point, vector and matrix tests share.
#pragma once

#include "selvora/selvora.h"

namespace selvora_test {

// A general matrix whose products and sums round, bottom row included. That
// row is (0, 0.5, 0, 1): for the point (1.5, -2, 0.25) it gives w = 0, so
// any division by w would show.
inline Matrix3d MatA() {
    // clang-format off
    return Matrix3d(0.1, 0.2, 0.3, 0.4,
                    1.5, -2.0, 0.25, 3.0,
                    -0.7, 0.6, 1.1, -0.9,
                    0.0, 0.5, 0.0, 1.0);
    // clang-format on
}

// Uniform scaling by s followed by the translation t, with w instead of 1 in
// the bottom right corner: a point transform that divided by w would show.
inline Matrix3d ScaleTranslateWithW(double s, const Vector3d& t, double w) {
    return Matrix3d(s, 0, 0, t.x, 0, s, 0, t.y, 0, 0, s, t.z, 0, 0, 0, w);
}

}  // namespace selvora_test
