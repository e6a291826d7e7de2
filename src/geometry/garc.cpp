#include <cmath>
#include <new>
#include <utility>

#include "geometry/frame_record.h"
#include "kernel/constants.h"
#include "kernel/math.h"
#include "selvora/geometry/arc.h"

namespace {

// Angle of the direction (x, y) in [0, 2pi'), 2pi' being the single-precision
// 2pi that the arc's stored and compared angles are measured with.
double DirectionAngle(double y, double x) {
    double a = selvora::math::Atan2(y, x);
    if (a < 0.0) a += selvora::kTwoPiF;
    return a;
}

}  // namespace

GArc::GArc() : m_startV(1.0, 0.0, 0.0), m_endV(0.0, 1.0, 0.0) { m_className = "GArc"; }

GArc::GArc(Point3d center, double radius, Vector3d& normal, Vector3d start, Vector3d end) {
    m_className = "GArc";
    SetCenter(center);
    SetRadius(radius);
    SetNormal(normal);
    SetStart(start);
    SetEnd(end);
}

Geometry* GArc::copy() { return new (std::nothrow) GArc(*this); }

void GArc::transformBy(const Matrix3d& m) {
    // Where the old middle of the arc goes.
    Point3d before = GetMidPoint();
    before.transformBy(m);

    Curve::transformBy(m);
    // Deliberately, startV and endV, directions of the local frame, are turned
    // by the world matrix like the normal: transformed arcs and their records
    // depend on it.
    m_frame.MoveBy(m);
    m_startV.transformBy(m);
    m_endV.transformBy(m);
    m_frame.ScaleRadiusBy(m);

    // A mirroring m reverses the sense of the arc, so the new angles run over
    // the rest of the circle and the new middle lands far from the image of
    // the old one. Whenever it lands farther than the radius, the ends are
    // swapped to bring the arc back onto that image.
    const Point3d after = GetMidPoint();
    if (before.distanceTo(after) > GetRadius()) std::swap(m_startV, m_endV);
}

// The 120-byte record: the frame's 72 bytes, then startV and endV.
template <>
struct selvora::RecordFields<GArc> {
    template <class Walker, class A>
    static void Walk(const Walker& walk, A& a) {
        selvora::RecordFields<CircleFrame>::Walk(walk, a.m_frame);
        walk(a.m_startV);
        walk(a.m_endV);
    }
};

void GArc::Load(FILE* stream) { selvora::ReadRecord(stream, *this); }

void GArc::Save(FILE* stream) { selvora::WriteRecord(stream, *this); }

void GArc::PointSample(const int& count, OvPnt3dArray& points) {
    points.RemoveAll();
    if (count < 2) return;
    const double s = GetStartAngle();
    const double e = GetEndAngle();
    m_frame.Sample(s, (e - s) / (count - 1), count, points);
}

void GArc::PointSample(const double& spacing, OvPnt3dArray& points) {
    points.RemoveAll();
    const int n = NSamples(spacing);
    if (n < 2) return;
    GArc::PointSample(n, points);
}

double GArc::GetLength() { return (GetEndAngle() - GetStartAngle()) * GetRadius(); }

double GArc::distanceToPt(Point3d& p) { return m_frame.distanceToPt(p); }

int GArc::PointOnCurve(const Point3d& p) {
    if (!(selvora::kNearTolerance > m_frame.distanceToPt(p))) return 0;
    // In the local frame the arc lies on the unit circle of the XY plane.
    const Point3d q = GetTransformation().inverse() * p;
    if (!(selvora::kNearTolerance > std::fabs(q.z))) return 0;
    double a = DirectionAngle(q.y, q.x);
    if (GetStartAngle() > a) a += selvora::kTwoPiF;
    return GetEndAngle() >= a ? 1 : 0;
}

void GArc::SetStartAngle(const double& a) {
    m_startV = Vector3d(selvora::math::Cos(a), selvora::math::Sin(a), 0.0);
}

void GArc::SetEndAngle(const double& a) {
    m_endV = Vector3d(selvora::math::Cos(a), selvora::math::Sin(a), 0.0);
}

double GArc::GetStartAngle() const { return DirectionAngle(m_startV.y, m_startV.x); }

double GArc::GetEndAngle() const {
    double e = DirectionAngle(m_endV.y, m_endV.x);
    if (GetStartAngle() > e) e += selvora::kTwoPiF;
    return e;
}

Point3d GArc::GetStart() { return PointAtAngle(GetStartAngle()); }

Point3d GArc::GetEnd() { return PointAtAngle(GetEndAngle()); }

Point3d GArc::GetMidPoint() { return PointAtAngle((GetEndAngle() + GetStartAngle()) * 0.5); }

Point3d GArc::PointAtAngle(double t) const {
    return GetTransformation() * Point3d(selvora::math::Cos(t), selvora::math::Sin(t), 0.0);
}

int GArc::operator==(GArc& other) {
    if (&other == this) return 1;
    return m_frame.SameCircle(other.m_frame) && m_startV == other.m_startV &&
           m_endV == other.m_endV;
}

int GArc::operator==(Geometry& other) {
    // The name alone does not prove the type: a plain Geometry assigned from
    // an arc carries "GArc" too.
    GArc* arc = dynamic_cast<GArc*>(&other);
    return other.isA("GArc") && arc ? *this == *arc : 0;
}
