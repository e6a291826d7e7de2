#include "selvora/geometry/curve.h"

#include <cmath>
#include <new>

#include "geometry/record.h"

Curve::Curve() {
    Curve::Init();
    m_className = "GCurve";
}

Curve::Curve(Point3d& s, Point3d& e) : Curve() {
    SetStart(s);
    SetEnd(e);
}

Curve::Curve(const Curve& c)
    : Geometry(c),
      m_start(c.m_start),
      m_end(c.m_end),
      m_symmetry(c.m_symmetry),
      m_extent(c.m_extent),
      m_periodic(c.m_periodic) {}

Curve& Curve::operator=(const Curve& c) {
    Geometry::operator=(c);
    m_periodic = c.m_periodic;
    m_extent = c.m_extent;
    m_symmetry = c.m_symmetry;
    m_start = c.m_start;
    m_end = c.m_end;
    return *this;
}

Geometry* Curve::copy() { return new (std::nothrow) Curve(*this); }

void Curve::transformBy(const Matrix3d& m) {
    m_start.transformBy(m);
    m_end.transformBy(m);
}

// The 60-byte record: start, end, symmetry, extent, periodic.
template <>
struct selvora::RecordFields<Curve> {
    template <class Walker, class C>
    static void Walk(const Walker& walk, C& c) {
        walk(c.m_start);
        walk(c.m_end);
        walk(c.m_symmetry);
        walk(c.m_extent);
        walk(c.m_periodic);
    }
};

void Curve::Load(FILE* stream) { selvora::ReadRecord(stream, *this); }

void Curve::Save(FILE* stream) { selvora::WriteRecord(stream, *this); }

void Curve::Init() {
    m_symmetry = Symmetric;
    m_extent = Unbounded;
    m_periodic = 0;
}

Point3d Curve::GetStart() const { return m_start; }
Point3d Curve::GetEnd() const { return m_end; }

double Curve::GetTangentAtPoint(Vector3d&) { return OV_NO_ANGLE; }
double Curve::GetTangentAtStart() { return OV_NO_ANGLE; }
double Curve::GetTangentAtEnd() { return OV_NO_ANGLE; }
void Curve::PointSample(const int&, OvPnt3dArray&) {}
void Curve::PointSample(const double&, OvPnt3dArray&) {}
double Curve::GetLength() { return 0.0; }
double Curve::distanceToPt(Point3d&) { return OV_NO_DISTANCE; }
int Curve::PointOnCurve(const Point3d&) { return 0; }

int Curve::SetStart(const Point3d& p) {
    m_start = p;
    return 1;
}

int Curve::SetStart(double x, double y, double z) { return SetStart(Point3d(x, y, z)); }

int Curve::SetEnd(const Point3d& p) {
    m_end = p;
    return 1;
}

int Curve::SetEnd(double x, double y, double z) { return SetEnd(Point3d(x, y, z)); }

namespace {

// floor(length / step) as a 32-bit integer, truncating like a C cast; values
// that do not fit, and NaN, become 0 rather than undefined behaviour.
int WholeSteps(double length, double step) {
    const double k = std::floor(length / step);
    return k >= -2147483648.0 && k <= 2147483647.0 ? static_cast<int>(k) : 0;
}

}  // namespace

double Curve::Epsilon(const double& step) {
    if (step == 0.0) return 0.0;
    const double length = GetLength();
    const int k = WholeSteps(length, step);
    return (length - k * step) * 0.5;
}

double Curve::Delta(const int& n) {
    const double length = GetLength();
    const int m = n - 1;
    return m <= 0 ? length * 0.5 : length / m;
}

int Curve::NSamples(const double& step) {
    long long count = 0;
    if (step != 0.0) count = WholeSteps(GetLength(), step) + 1LL;
    const double e = Epsilon(step);
    const long long samples = step * 0.5 > e ? count : count + 2;
    // A count no int can hold cannot be sampled: 0, as for no samples at all.
    return samples <= 2147483647LL ? static_cast<int>(samples) : 0;
}

Point3d Curve::ClosestPtOnCurve(Point3d&) { return Point3d(0.0, 0.0, 0.0); }
Vector3d Curve::GetTangent(Point3d&) { return Vector3d(1.0, 0.0, 0.0); }
Vector3d Curve::GetCurvatureVector(Point3d&) { return Vector3d(1.0, 0.0, 0.0); }
Vector3d Curve::GetTorsion(Point3d&) { return Vector3d(1.0, 0.0, 0.0); }
double Curve::GetArcLength(Point3d&) { return 0.0; }
double Curve::GetScalarCurvature(Point3d&) { return 0.0; }
int Curve::IsPlanar() { return 1; }
int Curve::Intersects(Curve&) { return 0; }
int Curve::Intersects(Point3d&) { return 0; }

int Curve::operator==(Curve& c) {
    if (&c == this) return 1;
    return m_start == c.m_start && m_end == c.m_end && m_symmetry == c.m_symmetry &&
           m_extent == c.m_extent && m_periodic == c.m_periodic;
}

int Curve::operator==(Geometry& g) {
    // Deliberately strict: only an object named exactly "GCurve" can equal a
    // Curve, so a Line, GArc or Circle passed as a Geometry never does. The
    // name alone does not prove the type: a plain Geometry assigned from a
    // curve carries "GCurve" too.
    Curve* c = dynamic_cast<Curve*>(&g);
    return g.isA("GCurve") && c ? *this == *c : 0;
}
