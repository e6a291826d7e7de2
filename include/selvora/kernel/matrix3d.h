// Matrix3d: the 4x4 homogeneous transform of 3-D space.
#pragma once

#include "selvora/export.h"
#include "selvora/kernel/point3d.h"

// Row-major 4x4 matrix; points are column vectors (p' = M * p), the
// translation is the last column, and A * B applies B first. Applying a
// matrix to a point never divides by w. The default is the identity.
class SELVORA_API Matrix3d {
  public:
    double m[4][4];

    Matrix3d() {
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) m[r][c] = r == c ? 1.0 : 0.0;
    }
    Matrix3d(const Matrix3d& other) = default;
    Matrix3d(double a1, double a2, double a3, double a4, double a5, double a6, double a7, double a8,
             double a9, double a10, double a11, double a12, double a13, double a14, double a15,
             double a16);

    void set(double a1, double a2, double a3, double a4, double a5, double a6, double a7, double a8,
             double a9, double a10, double a11, double a12, double a13, double a14, double a15,
             double a16);
    Matrix3d operator=(Matrix3d other) {  // returns a copy, not a reference
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) m[r][c] = other.m[r][c];
        return *this;
    }

    Matrix3d setToIdentity();
    Matrix3d setToTranslation(Vector3d t);
    Matrix3d setToScaling(double sx, double sy, double sz);
    Matrix3d setToScaling(double s, Point3d center);
    Matrix3d setToRotation(double angle, Vector3d axis);
    Matrix3d setToRotation(double angle, Point3d center, Vector3d axis);
    Matrix3d setToReflection(Vector3d normal);
    void scale(double sx, double sy, double sz);  // this * diag(sx, sy, sz, 1)

    void copyToOpenGLMatrix(double* gl);    // column-major: gl[4c + r] = m[r][c]
    void copyFromOpenGLMatrix(double* gl);  // m[r][c] = gl[4c + r]

    int haveMirror();    // 1 when the linear part does not keep orientation (or is singular)
    Matrix3d inverse();  // Gauss-Jordan with partial pivoting; singular gives the identity
    Matrix3d invert();

    Matrix3d operator*(Matrix3d b) const;
    void operator*=(Matrix3d b);

    Matrix3d setCoordSystem(Point3d origin, Vector3d zAxis);
    Matrix3d setCoordSystem(Point3d origin, Vector3d xAxis, Vector3d zAxis);
    Matrix3d setToAlignCoordSys(Point3d o1, Vector3d x1, Vector3d z1, Point3d o2, Vector3d x2,
                                Vector3d z2);
};

// The product and the point and vector transforms are the kernel's hot paths:
// they are defined here so that callers inline them, and the library also
// exports an out-of-line copy of each (as it does of the inline members).
//
// Each entry of the product is ((a0*b0 + a1*b1) + a2*b2) + a3*b3, summed in
// that order; accumulating a whole row at a time keeps that order and lets
// the compiler work on several entries at once.
inline Matrix3d Matrix3d::operator*(Matrix3d b) const {
    Matrix3d r;
    for (int i = 0; i < 4; ++i) {
        double row[4];
        for (int j = 0; j < 4; ++j) row[j] = m[i][0] * b.m[0][j];
        for (int k = 1; k < 4; ++k)
            for (int j = 0; j < 4; ++j) row[j] += m[i][k] * b.m[k][j];
        for (int j = 0; j < 4; ++j) r.m[i][j] = row[j];
    }
    return r;
}

// m applied to p, with translation; the bottom row is ignored.
SELVORA_API inline Point3d operator*(Matrix3d m, Point3d p) {
    return Point3d(m.m[0][0] * p.x + m.m[0][1] * p.y + m.m[0][2] * p.z + m.m[0][3],
                   m.m[1][0] * p.x + m.m[1][1] * p.y + m.m[1][2] * p.z + m.m[1][3],
                   m.m[2][0] * p.x + m.m[2][1] * p.y + m.m[2][2] * p.z + m.m[2][3]);
}

// m's upper-left 3x3 block applied to v.
SELVORA_API inline Vector3d operator*(Matrix3d m, Vector3d v) {
    return Vector3d(m.m[0][0] * v.x + m.m[0][1] * v.y + m.m[0][2] * v.z,
                    m.m[1][0] * v.x + m.m[1][1] * v.y + m.m[1][2] * v.z,
                    m.m[2][0] * v.x + m.m[2][1] * v.y + m.m[2][2] * v.z);
}
