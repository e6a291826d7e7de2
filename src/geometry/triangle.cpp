#include "selvora/geometry/triangle.h"

#include <cmath>

#include "geometry/record.h"
#include "kernel/constants.h"

namespace {

using selvora::kGeometryTolerance;

bool NearlyEqual(const Point3d& a, const Point3d& b) {
    return std::fabs(a.x - b.x) < kGeometryTolerance && std::fabs(a.y - b.y) < kGeometryTolerance &&
           std::fabs(a.z - b.z) < kGeometryTolerance;
}

}  // namespace

Triangle::Triangle() { m_className = "GTriangle"; }

Triangle::Triangle(const Point3d& a, const Point3d& b, const Point3d& c) {
    m_className = "GTriangle";
    Set(a, b, c);
}

Triangle::Triangle(const Triangle& other) : Geometry(other) {
    Set(other.m_points[0], other.m_points[1], other.m_points[2]);
}

Triangle& Triangle::operator=(const Triangle& other) {
    Geometry::operator=(other);
    Set(other.m_points[0], other.m_points[1], other.m_points[2]);
    return *this;
}

void Triangle::Set(const Point3d& a, const Point3d& b, const Point3d& c) {
    m_points[0] = a;
    m_points[1] = b;
    m_points[2] = c;
}

void Triangle::SetPointN(const Point3d& p, int n) {
    // Unsigned, so that a negative index is out of range too.
    if (static_cast<unsigned>(n) < 3u) m_points[n] = p;
}

Point3d Triangle::GetPointN(int n) const {
    return static_cast<unsigned>(n) < 3u ? m_points[n] : Point3d();
}

Point3d Triangle::GetMidpoint() { return ((m_points[0] + m_points[1]) + m_points[2]) / 3.0; }

void Triangle::SetMidpoint(const Point3d& m) {
    const Vector3d d = Point3d(m) - GetMidpoint();
    for (Point3d& p : m_points) p += d;
}

void Triangle::transformBy(const Matrix3d& m) {
    const Matrix3d t(m);
    for (Point3d& p : m_points) p.transformBy(t);
}

void Triangle::Load(FILE* stream) {
    for (Point3d& p : m_points) selvora::ReadField(stream, p);
}

void Triangle::Save(FILE* stream) {
    for (const Point3d& p : m_points) selvora::WriteField(stream, p);
}

int Triangle::operator==(Triangle& other) {
    if (&other == this) return 1;
    for (int i = 0; i < 3; ++i)
        if (!NearlyEqual(m_points[i], other.m_points[i])) return 0;
    return 1;
}

int Triangle::operator==(Geometry& other) {
    // The name alone does not prove the type: copy() of a Triangle is a plain
    // Geometry that carries "GTriangle" without any vertices.
    Triangle* t = dynamic_cast<Triangle*>(&other);
    return other.isA("GTriangle") && t ? *this == *t : 0;
}
