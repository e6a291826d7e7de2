// Point3d and Vector3d: the exact 3-D value types every other class computes with.
#pragma once

#include "selvora/export.h"

class Matrix3d;
class Vector3d;

// A position. Plain data: x, y, z and nothing else, so an array of points is a
// packed array of coordinate triples. The default point is the origin.
class SELVORA_API Point3d {
  public:
    double x, y, z;

    Point3d() : x(0.0), y(0.0), z(0.0) {}
    Point3d(double x, double y, double z) : x(x), y(y), z(z) {}
    Point3d(const Point3d& p) = default;

    Point3d operator=(Point3d p) {  // returns a copy, not a reference
        x = p.x;
        y = p.y;
        z = p.z;
        return *this;
    }
    Point3d set(double x, double y, double z);

    int operator==(Point3d p) const;
    int operator!=(Point3d p) const;
    int operator>(Point3d p) const;    // strict lexicographic order x, y, z
    int equal(Point3d p, double tol);  // L1 distance <= tol
    double tolerance(double t);        // L1 magnitude times t

    Point3d operator+(Point3d p);
    Point3d operator+(Vector3d v);
    Point3d operator-(Vector3d v);
    Vector3d operator-(Point3d p);  // the vector from p to this point
    Point3d operator*(double s);
    Point3d operator/(double s);
    void operator*=(double s);
    void operator/=(double s);
    void operator+=(Vector3d v);
    void operator-=(Vector3d v);

    void ptmin(const Point3d& p);
    void ptmax(const Point3d& p);
    double sqrdistanceTo(Point3d p);
    double distanceTo(Point3d p);
    void round(double s);  // floor(s * c) / s per coordinate: truncates toward -infinity
    Point3d polar(double angle, double dist);
    Point3d transformBy(Matrix3d m);
    Vector3d asVector3d();
};

// A direction or displacement. The default vector is the unit Z axis.
class SELVORA_API Vector3d {
  public:
    double x, y, z;

    Vector3d() : x(0.0), y(0.0), z(1.0) {}
    Vector3d(double x, double y, double z) : x(x), y(y), z(z) {}
    Vector3d(const Vector3d& v) = default;

    Vector3d& operator=(Vector3d v) {
        x = v.x;
        y = v.y;
        z = v.z;
        return *this;
    }
    Vector3d& set(double x, double y, double z);

    int operator==(Vector3d v) const;
    int operator!=(Vector3d v) const;
    int equal(Vector3d v, double tol);

    Vector3d operator+(Vector3d v);
    Vector3d operator-(Vector3d v);
    Vector3d operator-();
    Vector3d operator*(double s);
    Vector3d operator/(double s);
    void operator*=(double s);
    void operator/=(double s);
    void operator+=(Vector3d v);
    void operator-=(Vector3d v);

    double operator*(Vector3d v) const;  // dot product
    Vector3d operator/(Vector3d v);      // cross product this x v

    double sqrLength();
    double length();
    double normalize();          // returns the length before; a zero vector is left as it is
    double angleTo(Vector3d v);  // in [0, pi]
    double angleTo(Vector3d v, Vector3d ref);  // in [0, 2pi), signed by ref
    Vector3d transformBy(Matrix3d m);
    Point3d asPoint3d();
};

SELVORA_API Vector3d operator*(double s, Vector3d v);

// Direction angle of to - from in the XY plane, in [0, 2pi); z is ignored.
SELVORA_API double OV_angle(Point3d from, Point3d to);
