/// \file
/// Point3d and Vector3d: the exact 3-D value types every other class computes with.
#pragma once

#include "selvora/export.h"

class Matrix3d;
class Vector3d;

/// A position. Plain data: x, y, z and nothing else, so an array of points is a
/// packed array of coordinate triples. The default point is the origin.
///
/// The arithmetic is plain IEEE double arithmetic, with no checks: dividing by
/// zero gives infinities or NaN.
class SELVORA_API Point3d {
  public:
    /// The coordinates.
    ///@{
    double x, y, z;
    ///@}

    /// The origin.
    Point3d() : x(0.0), y(0.0), z(0.0) {}
    /// The point (x, y, z).
    Point3d(double x, double y, double z) : x(x), y(y), z(z) {}
    /// Copies the coordinates.
    Point3d(const Point3d& p) = default;

    /// Copies the coordinates; returns a copy, not a reference.
    SELVORA_HOT_INLINE Point3d operator=(Point3d p) {
        x = p.x;
        y = p.y;
        z = p.z;
        return *this;
    }
    /// Sets the coordinates; returns a copy of the point.
    Point3d set(double x, double y, double z);

    /// 1 when the coordinates are exactly equal, else 0.
    int operator==(Point3d p) const;
    /// 1 when any coordinate differs, else 0.
    int operator!=(Point3d p) const;
    /// 1 when this point comes after \p p in the strict lexicographic order
    /// x, y, z, else 0.
    int operator>(Point3d p) const;
    /// 1 when the L1 distance to \p p is at most \p tol, else 0.
    int equal(Point3d p, double tol);
    /// L1 magnitude times t: (|x| + |y| + |z|) * t.
    double tolerance(double t);

    /// The coordinate-wise sum.
    Point3d operator+(Point3d p);
    /// This point moved by \p v.
    Point3d operator+(Vector3d v);
    /// This point moved by -v.
    Point3d operator-(Vector3d v);
    /// The vector from p to this point.
    Vector3d operator-(Point3d p);
    /// Every coordinate times \p s.
    Point3d operator*(double s);
    /// Every coordinate divided by \p s.
    Point3d operator/(double s);
    /// Multiplies every coordinate by \p s.
    void operator*=(double s);
    /// Divides every coordinate by \p s.
    void operator/=(double s);
    /// Moves this point by \p v.
    void operator+=(Vector3d v);
    /// Moves this point by -v.
    void operator-=(Vector3d v);

    /// Lowers each coordinate to p's where p's is smaller (a bounding-box corner).
    void ptmin(const Point3d& p);
    /// Raises each coordinate to p's where p's is larger (a bounding-box corner).
    void ptmax(const Point3d& p);
    /// Squared distance to \p p.
    double sqrdistanceTo(Point3d p);
    /// Distance to \p p.
    double distanceTo(Point3d p);
    /// floor(s * c) / s per coordinate c: truncates toward -infinity onto a
    /// grid of spacing 1 / s.
    void round(double s);
    /// The point \p dist away in the XY direction \p angle (radians from the x
    /// axis); z is kept. This point is not changed.
    Point3d polar(double angle, double dist);
    /// Applies \p m (translation included) to this point; returns the result.
    Point3d transformBy(Matrix3d m);
    /// The vector with the same coordinates.
    Vector3d asVector3d();
};

/// A direction or displacement. The default vector is the unit Z axis.
///
/// The arithmetic is plain IEEE double arithmetic, with no checks; angles are
/// in radians.
class SELVORA_API Vector3d {
  public:
    /// The components.
    ///@{
    double x, y, z;
    ///@}

    /// The unit Z axis (0, 0, 1).
    Vector3d() : x(0.0), y(0.0), z(1.0) {}  // deliberately +Z, not zero: a default normal
    /// The vector (x, y, z).
    Vector3d(double x, double y, double z) : x(x), y(y), z(z) {}
    /// Copies the components.
    Vector3d(const Vector3d& v) = default;

    /// Copies the components.
    Vector3d& operator=(Vector3d v) {
        x = v.x;
        y = v.y;
        z = v.z;
        return *this;
    }
    /// Sets the components; returns this vector.
    Vector3d& set(double x, double y, double z);

    /// 1 when the components are exactly equal, else 0.
    int operator==(Vector3d v) const;
    /// 1 when any component differs, else 0.
    int operator!=(Vector3d v) const;
    /// 1 when the L1 distance to \p v is at most \p tol, else 0.
    int equal(Vector3d v, double tol);

    /// The sum.
    Vector3d operator+(Vector3d v);
    /// The difference.
    Vector3d operator-(Vector3d v);
    /// The opposite vector.
    Vector3d operator-();
    /// Every component times \p s.
    Vector3d operator*(double s);
    /// Every component divided by \p s.
    Vector3d operator/(double s);
    /// Multiplies every component by \p s.
    void operator*=(double s);
    /// Divides every component by \p s.
    void operator/=(double s);
    /// Adds \p v.
    void operator+=(Vector3d v);
    /// Subtracts \p v.
    void operator-=(Vector3d v);

    /// Dot product.
    double operator*(Vector3d v) const;
    /// Cross product this x v.
    Vector3d operator/(Vector3d v);

    /// Squared length.
    double sqrLength();
    /// Length.
    double length();
    /// Scales this vector to unit length; returns the length before. A zero
    /// vector is left as it is (and 0 returned).
    double normalize();
    /// Unsigned angle to \p v in [0, pi]. A zero vector on either side gives
    /// pi / 2.
    double angleTo(Vector3d v);
    /// Angle to \p v signed by \p ref, in [0, 2pi']: angleTo(v) when the dot
    /// product of ref and this x v is not negative, else 2pi' - angleTo(v),
    /// where 2pi' is 2pi rounded to single precision (slightly above 2pi).
    double angleTo(Vector3d v, Vector3d ref);
    /// Applies the linear part of \p m (no translation) to this vector;
    /// returns the result.
    Vector3d transformBy(Matrix3d m);
    /// The point with the same coordinates.
    Point3d asPoint3d();
};

/// Every component of \p v times \p s.
SELVORA_API Vector3d operator*(double s, Vector3d v);

/// Direction angle of to - from in the XY plane, in radians; z is ignored.
/// Negative atan2 angles are lifted by 2pi' (2pi rounded to single precision),
/// so the result lies in [0, 2pi'] and can exceed the double 2pi slightly.
SELVORA_API double OV_angle(Point3d from, Point3d to);
