#include "selvora/geometry/line.h"

#include <cmath>
#include <new>

#include "geometry/record.h"
#include "kernel/constants.h"
#include "kernel/math.h"

static_assert(sizeof(Point3d) == 24, "a Line record is two packed 24-byte points");

namespace {

using selvora::kGeometryTolerance;
using selvora::kTangentDegrees;

}  // namespace

// ---- Construction ----

// Deliberately leaves the extent Unbounded (the other constructors set
// Bounded), so Scale refuses a default line until its extent is set.
Line::Line() { m_className = "GLine"; }

Line::Line(double dx, double dy, double dz, double mx, double my, double mz) {
    m_className = "GLine";
    SetExtent(Bounded);
    SetStart(mx - dx * 0.5, my - dy * 0.5, mz - dz * 0.5);
    SetEnd(mx + dx * 0.5, my + dy * 0.5, mz + dz * 0.5);
}

Line::Line(Point3d& start, Point3d& end) : ImplicitCurve(start, end) {
    m_className = "GLine";
    SetExtent(Bounded);
}

Line::Line(Vector3d& abc, double d) {
    m_className = "GLine";
    const double a = abc.x, b = abc.y, c = abc.z;
    const double s = a * a + b * b;
    const double n = std::sqrt(s);
    const double fx = -(c * a / s);
    const double fy = -(c * b / s);
    SetStart(fx + (b / n) * d, fy - (a / n) * d, 0.0);
    SetEnd(fx - (b / n) * d, fy + (a / n) * d, 0.0);
}

Line::Line(const Line& other) : ImplicitCurve(other) {}

Line& Line::operator=(const Line& other) {
    ImplicitCurve::operator=(other);
    return *this;
}

Geometry* Line::copy() { return new (std::nothrow) Line(*this); }

// ---- Record ----

namespace {

// The 48-byte record: the end points, as GetStart and GetEnd give them and
// SetStart and SetEnd take them.
struct LineRecord {
    Point3d start, end;
};

}  // namespace

template <>
struct selvora::RecordFields<LineRecord> {
    template <class Walker, class R>
    static void Walk(const Walker& walk, R& r) {
        walk(r.start);
        walk(r.end);
    }
};

void Line::Load(FILE* stream) {
    if (!stream) return;
    // Unread coordinates keep the temporaries' zeros.
    LineRecord r;
    selvora::ReadRecord(stream, r);
    SetStart(r.start);
    SetEnd(r.end);
}

void Line::Save(FILE* stream) { selvora::WriteRecord(stream, LineRecord{GetStart(), GetEnd()}); }

// ---- Derived quantities ----

double Line::GetMidpointX() const { return (GetStartX() + GetEndX()) * 0.5; }
double Line::GetMidpointY() const { return (GetStartY() + GetEndY()) * 0.5; }
double Line::GetMidpointZ() const { return (GetStartZ() + GetEndZ()) * 0.5; }

Point3d Line::GetMidpoint() const {
    return Point3d(GetMidpointX(), GetMidpointY(), GetMidpointZ());
}

Point3d Line::GetLocation() const { return GetMidpoint(); }

double Line::GetHalfLength() const { return 0.5 * GetStart().distanceTo(GetEnd()); }

double Line::GetLength() { return GetHalfLength() * 2.0; }

Vector3d Line::GetSize() const {
    const double h = GetHalfLength();
    return Vector3d(h, h, h);
}

Vector3d Line::GetDirection() const {
    const double len = GetHalfLength() * 2.0;
    const double f = len == 0.0 ? 1.0 : 1.0 / len;
    Vector3d u((GetEndX() - GetStartX()) * f, (GetEndY() - GetStartY()) * f,
               (GetEndZ() - GetStartZ()) * f);
    if (std::fabs(u.x) < kGeometryTolerance) u.x = 0.0;
    if (std::fabs(u.y) < kGeometryTolerance) u.y = 0.0;
    if (std::fabs(u.z) < kGeometryTolerance) u.z = 0.0;
    return u;
}

double Line::GetDirX() const { return GetDirection().x; }
double Line::GetDirY() const { return GetDirection().y; }
double Line::GetDirZ() const { return GetDirection().z; }

Vector3d Line::GetOrientation() const { return GetDirection(); }

double Line::a() const { return GetDirY(); }
double Line::b() const { return -GetDirX(); }

double Line::c() const {
    const Vector3d u = GetDirection();
    return u.x * GetMidpointY() - u.y * GetMidpointX();
}

double Line::GetAoverC() const { return a() / c(); }
double Line::GetBoverC() const { return b() / c(); }

// ---- Mutators ----

void Line::SetMidpoint(double x, double y, double z) {
    const Point3d m = GetMidpoint();
    SetStart(GetStartX() + x - m.x, GetStartY() + y - m.y, GetStartZ() + z - m.z);
    SetEnd(GetEndX() + x - m.x, GetEndY() + y - m.y, GetEndZ() + z - m.z);
}

void Line::SetLocation(double x, double y, double z) { SetMidpoint(x, y, z); }

void Line::SetLocation(Point3d& p) { SetMidpoint(p.x, p.y, p.z); }

// Deliberately each end moves by the offset from the midpoint as it is after
// the previous end moved, so the midpoint does not land exactly on x (nor y,
// z below). Moved lines and their records depend on it.
void Line::SetMidpointX(double x) {
    SetStartX(GetStartX() + x - GetMidpointX());
    SetEndX(GetEndX() + x - GetMidpointX());
}

void Line::SetMidpointY(double y) {
    SetStartY(GetStartY() + y - GetMidpointY());
    SetEndY(GetEndY() + y - GetMidpointY());
}

void Line::SetMidpointZ(double z) {
    SetStartZ(GetStartZ() + z - GetMidpointZ());
    SetEndZ(GetEndZ() + z - GetMidpointZ());
}

void Line::SetDir(double x, double y, double z) {
    const double s = x * x + y * y + z * z;
    if (s == 0.0) return;
    if (std::fabs(1.0 - s) > selvora::kNearTolerance) {
        const double n = std::sqrt(s);
        x = x / n;
        y = y / n;
        z = z / n;
    }
    const double h = GetHalfLength();
    const Point3d m = GetMidpoint();
    SetStart(m.x - h * x, m.y - h * y, m.z - h * z);
    SetEnd(m.x + h * x, m.y + h * y, m.z + h * z);
}

void Line::SetOrientation(double x, double y, double z) { SetDir(x, y, z); }

void Line::SetOrientation(Vector3d& v) { SetDir(v.x, v.y, v.z); }

void Line::SetSize(double x, double, double) {
    const double h = GetHalfLength();
    if (h == 0.0) return;
    const double k = x / h;
    const double grow = (1.0 + k) * 0.5;
    const double shrink = (1.0 - k) * 0.5;
    // Both new ends come from the old ones.
    Point3d s = GetStart();
    Point3d e = GetEnd();
    const Point3d newStart = s * grow + e * shrink;
    const Point3d newEnd = e * grow + s * shrink;
    SetStart(newStart);
    SetEnd(newEnd);
}

void Line::SetSize(Vector3d& v) { SetSize(v.x, v.y, v.z); }

void Line::NegateDirection() {
    const Point3d s = GetStart();
    SetStart(GetEnd());
    SetEnd(s);
}

int Line::Scale(double f) {
    if (f == 0.0 || GetExtent() != Bounded) return 0;
    m_start *= f;
    m_end *= f;
    return 1;
}

// ---- Parameters and tangents ----

// Deliberately two parameters: evaluate_at takes a distance from the midpoint,
// Findt answers a fraction from the start. Callers rely on both as they are.
Point3d Line::evaluate_at(double t) const { return GetMidpoint() + GetDirection() * t; }

double Line::Findt(double x, double y, double z) const {
    const Vector3d u = GetDirection();
    const double den = (GetEnd() - GetStart()) * u;
    if (den == 0.0) return 0.5;
    const Vector3d w(x - GetStartX(), y - GetStartY(), z - GetStartZ());
    return (w * u) / den;
}

double Line::GetTangentAtStart() {
    double deg =
        selvora::math::Atan2(GetEndY() - GetStartY(), GetEndX() - GetStartX()) * kTangentDegrees;
    if (deg < 0.0) deg += 360.0;
    return deg;
}

double Line::GetTangentAtEnd() { return GetTangentAtStart(); }

// Deliberately a new virtual beside Curve's GetTangentAtPoint(Vector3d&), not
// an override of it: the virtual table's layout depends on it.
double Line::GetTangentAtPoint(Point3d&) { return GetTangentAtStart(); }

// ---- Equality ----

int Line::operator==(Line& other) {
    if (&other == this) return 1;
    const Point3d s0 = GetStart(), e0 = GetEnd();
    const Point3d s1 = other.GetStart(), e1 = other.GetEnd();
    auto same = [](const Point3d& p, const Point3d& q) {
        return std::fabs(p.x - q.x) < kGeometryTolerance &&
               std::fabs(p.y - q.y) < kGeometryTolerance &&
               std::fabs(p.z - q.z) < kGeometryTolerance;
    };
    return same(s0, s1) && same(e0, e1);
}

int Line::operator==(Geometry& other) {
    // The name alone does not prove the type: a plain Geometry assigned from a
    // line carries "GLine" too.
    if (!other.isA("GLine")) return 0;
    Line* line = dynamic_cast<Line*>(&other);
    return line ? *this == *line : 0;
}

// ---- Sampling ----

namespace {

// Writes pts[from] .. pts[to - 1] starting at (px, py, pz) and stepping by w,
// with the same additions as Point3d += Vector3d but no call per sample.
void WalkAlong(Point3d* pts, int from, int to, double px, double py, double pz, const Vector3d& w) {
    for (int i = from; i < to; ++i) {
        pts[i].x = px;
        pts[i].y = py;
        pts[i].z = pz;
        px += w.x;
        py += w.y;
        pz += w.z;
    }
}

}  // namespace

void Line::PointSample(const double& step, OvPnt3dArray& out) {
    const int n = NSamples(step);
    if (n == 0) return;
    // Every slot is written below, so the array need not clear them first. A
    // size the array refuses (negative, or more than it can hold) leaves
    // nothing to write into.
    Point3d* pts = out.SetSizeForOverwrite(n);
    if (!pts) return;
    pts[0] = GetStart();
    pts[n - 1] = GetEnd();
    if (n <= 2) return;

    const Vector3d u = GetDirection();
    const Vector3d w = Vector3d(u) * step;
    const double e = Epsilon(step);
    double first = e;
    if (step * 0.5 > e) first = GetHalfLength() - (n - 3) * 0.5 * step;
    const Point3d s = pts[0];
    WalkAlong(pts, 1, n - 1, s.x + u.x * first, s.y + u.y * first, s.z + u.z * first, w);
}

void Line::PointSample(const int& n, OvPnt3dArray& out) {
    const int count = n;
    if (count <= 0) return;
    Point3d* pts = out.SetSizeForOverwrite(count);  // every slot is written below
    if (!pts) return;
    const Point3d s = GetStart();
    const double d = Delta(count);
    const Vector3d u = GetDirection();
    const Vector3d w = Vector3d(u) * d;
    if (count == 1) {
        // A single sample lands a quarter of the length from the start.
        pts[0] = Point3d(s.x + w.x / 2.0, s.y + w.y / 2.0, s.z + w.z / 2.0);
        return;
    }
    // The last sample is reached by accumulation, not copied from the end.
    WalkAlong(pts, 0, count, s.x, s.y, s.z, w);
}
