#include <cmath>
#include <new>

#include "kernel/constants.h"
#include "kernel/math.h"
#include "selvora/geometry/circle.h"

Circle::Circle() { m_className = "GCircle"; }

Circle::Circle(double x, double y, double z, double radius, Vector3d& normal, Point3d a, Point3d b)
    : CircularCurve(a, b) {
    m_className = "GCircle";
    m_frame.center = Point3d(x, y, z);
    SetRadius(radius);
    SetNormal(normal);
}

Circle::Circle(Point3d center, double radius, Vector3d& normal, Point3d a, Point3d b)
    : CircularCurve(a, b) {
    m_className = "GCircle";
    SetCenter(center);
    SetRadius(radius);
    SetNormal(normal);
}

Geometry* Circle::copy() { return new (std::nothrow) Circle(*this); }

void Circle::transformBy(const Matrix3d& m) {
    Curve::transformBy(m);
    m_frame.MoveBy(m);
    m_frame.ScaleRadiusBy(m);
}

void Circle::Load(FILE* stream) { m_frame.Load(stream); }

void Circle::Save(FILE* stream) { m_frame.Save(stream); }

void Circle::PointSample(const int& count, OvPnt3dArray& points) {
    points.RemoveAll();
    if (count <= 0) return;
    // Deliberately the double 2pi here, unlike the length's float-rounded one:
    // sampled points and lengths both keep their bits. Local angles start at
    // 0, and 0.0 + i * step is exactly i * step.
    m_frame.Sample(0.0, 8.0 * selvora::math::Atan(1.0) / count, count, points);
}

void Circle::PointSample(const double& spacing, OvPnt3dArray& points) {
    points.RemoveAll();
    const int n = NSamples(spacing);
    if (n == 0) return;
    Circle::PointSample(n, points);
}

double Circle::GetLength() { return GetRadius() * selvora::kTwoPiF; }

double Circle::distanceToPt(Point3d& p) { return m_frame.distanceToPt(p); }

int Circle::operator==(Circle& other) {
    if (&other == this) return 1;
    return m_frame.SameCircle(other.m_frame);
}

int Circle::operator==(Geometry& other) {
    // The name alone does not prove the type: a plain Geometry assigned from
    // a circle carries "GCircle" too.
    Circle* circle = dynamic_cast<Circle*>(&other);
    return other.isA("GCircle") && circle ? *this == *circle : 0;
}
