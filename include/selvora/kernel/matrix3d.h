/// \file
/// Matrix3d: the 4x4 homogeneous transform of 3-D space.
#pragma once

#include "selvora/export.h"
#include "selvora/kernel/point3d.h"

/// The 4x4 homogeneous transform of 3-D space.
///
/// Row-major 4x4 matrix; points are column vectors (p' = M * p), the
/// translation is the last column, and A * B applies B first. Applying a
/// matrix to a point never divides by w. The default is the identity. Angles
/// are in radians; the setTo... members replace the whole matrix and return a
/// copy of the result.
class SELVORA_API Matrix3d {
  public:
    /// The entries, m[row][column].
    double m[4][4];

    /// The identity.
    Matrix3d() {
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) m[r][c] = r == c ? 1.0 : 0.0;
    }
    /// Copies the entries.
    Matrix3d(const Matrix3d& other) = default;
    /// The matrix of the 16 entries given row by row: a1 to a4 form the top row.
    Matrix3d(double a1, double a2, double a3, double a4, double a5, double a6, double a7, double a8,
             double a9, double a10, double a11, double a12, double a13, double a14, double a15,
             double a16);

    /// Sets the 16 entries row by row: a1 to a4 form the top row.
    void set(double a1, double a2, double a3, double a4, double a5, double a6, double a7, double a8,
             double a9, double a10, double a11, double a12, double a13, double a14, double a15,
             double a16);
    /// Copies the entries; returns a copy, not a reference.
    SELVORA_HOT_INLINE Matrix3d operator=(Matrix3d other) {
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) m[r][c] = other.m[r][c];
        return *this;
    }

    /// The identity.
    Matrix3d setToIdentity();
    /// The translation by \p t.
    Matrix3d setToTranslation(Vector3d t);
    /// The scaling by sx, sy, sz along the axes, about the origin.
    Matrix3d setToScaling(double sx, double sy, double sz);
    /// The uniform scaling by \p s about \p center.
    Matrix3d setToScaling(double s, Point3d center);
    /// The rotation by \p angle about \p axis through the origin, right-handed
    /// (counter-clockwise seen from the tip of the axis). The axis is
    /// normalised first; a zero axis gives cos(angle) times the identity.
    Matrix3d setToRotation(double angle, Vector3d axis);
    /// The rotation by \p angle about the axis through \p center along \p axis.
    Matrix3d setToRotation(double angle, Point3d center, Vector3d axis);
    /// The mirroring in the plane through the origin with the given normal,
    /// normalised first; a zero normal gives a zero linear part.
    Matrix3d setToReflection(Vector3d normal);
    /// this * diag(sx, sy, sz, 1): scales the first three columns.
    void scale(double sx, double sy, double sz);

    /// Writes the 16 entries to \p gl column-major: gl[4c + r] = m[r][c]. A null
    /// \p gl is ignored.
    void copyToOpenGLMatrix(double* gl);
    /// Reads the 16 entries from \p gl column-major: m[r][c] = gl[4c + r]. A null
    /// \p gl is ignored.
    void copyFromOpenGLMatrix(double* gl);

    /// 1 when the linear part does not keep orientation (or is singular), else 0.
    int haveMirror();
    /// The inverse, by Gauss-Jordan with partial pivoting; singular gives the
    /// identity. This matrix is not changed.
    Matrix3d inverse();
    /// Replaces this matrix by inverse() and returns a copy of it.
    Matrix3d invert();

    /// The product this * b (b applied first).
    Matrix3d operator*(Matrix3d b) const;
    /// this = this * b.
    void operator*=(Matrix3d b);

    /// The local-to-world matrix of the frame at \p origin whose z axis is the
    /// unit vector \p zAxis, reached from the world frame by the shortest
    /// rotation. A zAxis along -z is not honoured: the frame then keeps the
    /// world axes.
    Matrix3d setCoordSystem(Point3d origin, Vector3d zAxis);
    /// The local-to-world matrix of the frame at \p origin with unit axes
    /// \p zAxis and \p xAxis (perpendicular to zAxis); a zAxis along -z turns
    /// the frame over about x.
    Matrix3d setCoordSystem(Point3d origin, Vector3d xAxis, Vector3d zAxis);
    /// The transform that carries frame 1 (o1, x1, z1) onto frame 2 (o2, x2, z2):
    /// frame 2's local-to-world matrix times the inverse of frame 1's.
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
SELVORA_HOT_INLINE Matrix3d Matrix3d::operator*(Matrix3d b) const {
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

/// m applied to p, with translation; the bottom row is ignored. Inline, with an
/// exported out-of-line copy in the library.
SELVORA_INLINE_API inline Point3d operator*(Matrix3d m, Point3d p) {
    return Point3d(m.m[0][0] * p.x + m.m[0][1] * p.y + m.m[0][2] * p.z + m.m[0][3],
                   m.m[1][0] * p.x + m.m[1][1] * p.y + m.m[1][2] * p.z + m.m[1][3],
                   m.m[2][0] * p.x + m.m[2][1] * p.y + m.m[2][2] * p.z + m.m[2][3]);
}

/// m's upper-left 3x3 block applied to v. Inline, with an exported out-of-line
/// copy in the library.
SELVORA_INLINE_API inline Vector3d operator*(Matrix3d m, Vector3d v) {
    return Vector3d(m.m[0][0] * v.x + m.m[0][1] * v.y + m.m[0][2] * v.z,
                    m.m[1][0] * v.x + m.m[1][1] * v.y + m.m[1][2] * v.z,
                    m.m[2][0] * v.x + m.m[2][1] * v.y + m.m[2][2] * v.z);
}
