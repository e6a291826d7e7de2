#include "selvora/kernel/matrix3d.h"

#include <cmath>
#include <utility>

#include "kernel/constants.h"
#include "kernel/math.h"

namespace {

Matrix3d Translation(double tx, double ty, double tz) {
    Matrix3d t;
    t.m[0][3] = tx;
    t.m[1][3] = ty;
    t.m[2][3] = tz;
    return t;
}

Matrix3d Rotation(double angle, Vector3d axis) {
    Matrix3d r;
    r.setToRotation(angle, axis);
    return r;
}

}  // namespace

Matrix3d::Matrix3d(double a1, double a2, double a3, double a4, double a5, double a6, double a7,
                   double a8, double a9, double a10, double a11, double a12, double a13, double a14,
                   double a15, double a16) {
    set(a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12, a13, a14, a15, a16);
}

void Matrix3d::set(double a1, double a2, double a3, double a4, double a5, double a6, double a7,
                   double a8, double a9, double a10, double a11, double a12, double a13, double a14,
                   double a15, double a16) {
    const double a[16] = {a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12, a13, a14, a15, a16};
    for (int i = 0; i < 16; ++i) m[i / 4][i % 4] = a[i];
}

Matrix3d Matrix3d::setToIdentity() {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) m[r][c] = r == c ? 1.0 : 0.0;
    return *this;
}

Matrix3d Matrix3d::setToTranslation(Vector3d t) {
    *this = Translation(t.x, t.y, t.z);
    return *this;
}

Matrix3d Matrix3d::setToScaling(double sx, double sy, double sz) {
    setToIdentity();
    m[0][0] = sx;
    m[1][1] = sy;
    m[2][2] = sz;
    return *this;
}

Matrix3d Matrix3d::setToScaling(double s, Point3d center) {
    Matrix3d scaling;
    scaling.setToScaling(s, s, s);
    *this = Translation(center.x, center.y, center.z) * scaling *
            Translation(-center.x, -center.y, -center.z);
    return *this;
}

Matrix3d Matrix3d::setToRotation(double angle, Vector3d axis) {
    axis.normalize();
    const double x = axis.x, y = axis.y, z = axis.z;
    const double s = selvora::math::Sin(angle), c = selvora::math::Cos(angle), t = 1.0 - c;
    set(x * x * t + c, x * y * t - z * s, x * z * t + y * s, 0.0,  //
        x * y * t + z * s, y * y * t + c, y * z * t - x * s, 0.0,  //
        x * z * t - y * s, y * z * t + x * s, z * z * t + c, 0.0,  //
        0.0, 0.0, 0.0, 1.0);
    return *this;
}

Matrix3d Matrix3d::setToRotation(double angle, Point3d center, Vector3d axis) {
    *this = Translation(center.x, center.y, center.z) * Rotation(angle, axis) *
            Translation(-center.x, -center.y, -center.z);
    return *this;
}

Matrix3d Matrix3d::setToReflection(Vector3d normal) {
    normal.normalize();
    const double x = normal.x, y = normal.y, z = normal.z;
    // The diagonal is written with three squares, not as 1 - 2x^2: a zero
    // normal then gives a zero linear part.
    set(y * y - x * x + z * z, -2.0 * x * y, -2.0 * x * z, 0.0,  //
        -2.0 * x * y, x * x - y * y + z * z, -2.0 * y * z, 0.0,  //
        -2.0 * x * z, -2.0 * y * z, x * x + y * y - z * z, 0.0,  //
        0.0, 0.0, 0.0, 1.0);
    return *this;
}

void Matrix3d::scale(double sx, double sy, double sz) {
    for (int r = 0; r < 4; ++r) {
        m[r][0] *= sx;
        m[r][1] *= sy;
        m[r][2] *= sz;
    }
}

void Matrix3d::copyToOpenGLMatrix(double* gl) {
    if (!gl) return;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) gl[4 * c + r] = m[r][c];
}

void Matrix3d::copyFromOpenGLMatrix(double* gl) {
    if (!gl) return;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) m[r][c] = gl[4 * c + r];
}

int Matrix3d::haveMirror() {
    Vector3d xAxis(1.0, 0.0, 0.0), yAxis(0.0, 1.0, 0.0);
    Vector3d zAxis = xAxis / yAxis;
    Vector3d xMapped = *this * xAxis, yMapped = *this * yAxis, zMapped = *this * zAxis;
    return zMapped * (xMapped / yMapped) > 0.0 ? 0 : 1;
}

Matrix3d Matrix3d::inverse() {
    Matrix3d w = *this;  // worked down to the identity
    Matrix3d r;          // receives the same row operations
    for (int i = 0; i < 4; ++i) {
        int pivotRow = i;
        for (int j = i + 1; j < 4; ++j) {
            if (std::fabs(w.m[j][i]) > std::fabs(w.m[pivotRow][i])) pivotRow = j;
        }
        if (pivotRow != i) {
            for (int c = 0; c < 4; ++c) {
                std::swap(w.m[i][c], w.m[pivotRow][c]);
                std::swap(r.m[i][c], r.m[pivotRow][c]);
            }
        }
        const double pivot = w.m[i][i];
        if (pivot == 0.0) return Matrix3d();
        for (int c = 0; c < 4; ++c) {
            w.m[i][c] /= pivot;
            r.m[i][c] /= pivot;
        }
        for (int row = 0; row < 4; ++row) {
            if (row == i) continue;
            const double f = w.m[row][i];
            for (int c = 0; c < 4; ++c) {
                w.m[row][c] -= f * w.m[i][c];
                r.m[row][c] -= f * r.m[i][c];
            }
        }
    }
    return r;
}

Matrix3d Matrix3d::invert() {
    *this = inverse();
    return *this;
}

void Matrix3d::operator*=(Matrix3d b) { *this = *this * b; }

// zAxis is taken as unit length, not normalised. Deliberately, a zAxis along
// -Z gets no turn here, unlike in the three-axis form below: frames built from
// stored normals depend on it.
Matrix3d Matrix3d::setCoordSystem(Point3d origin, Vector3d zAxis) {
    Matrix3d toLocal = Translation(-origin.x, -origin.y, -origin.z);
    if (zAxis.x != 0.0 || zAxis.y != 0.0) {
        toLocal =
            Rotation(selvora::math::Acos(zAxis.z), Vector3d(zAxis.y, -zAxis.x, 0.0)) * toLocal;
    }
    *this = toLocal.inverse();
    return *this;
}

Matrix3d Matrix3d::setCoordSystem(Point3d origin, Vector3d xAxis, Vector3d zAxis) {
    Matrix3d toLocal = Translation(-origin.x, -origin.y, -origin.z);
    if (zAxis.x != 0.0 || zAxis.y != 0.0) {
        toLocal =
            Rotation(selvora::math::Acos(zAxis.z), Vector3d(zAxis.y, -zAxis.x, 0.0)) * toLocal;
    } else if (zAxis.z < 0.0) {
        toLocal = Rotation(selvora::kPiF, Vector3d(1.0, 0.0, 0.0)) * toLocal;
    }
    Vector3d x = toLocal * xAxis;
    Vector3d spin = x.y >= 0.0 ? Vector3d(0.0, 0.0, -1.0) : Vector3d(0.0, 0.0, 1.0);
    toLocal = Rotation(selvora::math::Acos(x.x), spin) * toLocal;
    *this = toLocal.inverse();
    return *this;
}

Matrix3d Matrix3d::setToAlignCoordSys(Point3d o1, Vector3d x1, Vector3d z1, Point3d o2, Vector3d x2,
                                      Vector3d z2) {
    Matrix3d frame1, frame2;
    frame1.setCoordSystem(o1, x1, z1);
    frame2.setCoordSystem(o2, x2, z2);
    *this = frame2 * frame1.inverse();
    return *this;
}
