#include <cmath>

#include "geometry/frame_record.h"
#include "kernel/math.h"
#include "selvora/geometry/circular.h"

CircularCurve::CircularCurve() = default;
CircularCurve::CircularCurve(Point3d& s, Point3d& e) : ImplicitCurve(s, e) {}
CircularCurve::~CircularCurve() = default;

void CircleFrame::SetRadius(double r) { size = Vector3d(r, r, r); }
double CircleFrame::GetRadius() const { return size.x; }
void CircleFrame::SetSize(double x, double y, double z) { size = Vector3d(x, y, z); }
void CircleFrame::SetSize(const Vector3d& s) { size = s; }
Vector3d CircleFrame::GetSize() const { return size; }
void CircleFrame::SetCenter(const Point3d& c) { center = c; }
void CircleFrame::SetLocation(const Point3d& c) { center = c; }
void CircleFrame::SetLocation(double x, double y, double z) { center = Point3d(x, y, z); }
Point3d CircleFrame::GetCenter() const { return center; }
Point3d CircleFrame::GetLocation() const { return center; }
void CircleFrame::SetNormal(const Vector3d& n) { normal = n; }
Vector3d CircleFrame::GetNormal() const { return normal; }

Matrix3d CircleFrame::GetTransformation() const {
    const double r = GetRadius();
    Matrix3d m;
    m.setToScaling(r, r, r);

    // Tilt the local z axis onto the normal about the horizontal axis
    // perpendicular to both. A normal along z (either way) or a zero normal
    // has no such axis and leaves the frame untilted.
    Vector3d axis(normal.y, -normal.x, 0.0);
    if (axis.length() > 0.0) {
        axis.normalize();
        Vector3d n = normal;
        const double phi = selvora::math::Acos(normal.z / n.length());
        Matrix3d rotation;
        rotation.setToRotation(-phi, axis);
        m = rotation * m;
    }

    Matrix3d translation;
    translation.setToTranslation(Vector3d(center.x, center.y, center.z));
    m = translation * m;
    return m;
}

double CircleFrame::distanceToPt(const Point3d& p) const {
    Point3d q = p;
    Vector3d fromCenter = q - center;
    return std::fabs(fromCenter.length() - GetRadius());
}

bool CircleFrame::SameCircle(const CircleFrame& other) const {
    return GetRadius() == other.GetRadius() && center == other.center && normal == other.normal;
}

void CircleFrame::Sample(double start, double step, int count, OvPnt3dArray& points) const {
    const Matrix3d m = GetTransformation();
    // One allocation for all the points, each written below; a refused one
    // leaves the array empty.
    Point3d* out = points.SetSizeForOverwrite(count);
    if (!out) return;
    for (int i = 0; i < count; ++i) {
        const double t = start + static_cast<double>(i) * step;
        out[i] = m * Point3d(selvora::math::Cos(t), selvora::math::Sin(t), 0.0);
    }
}

void CircleFrame::MoveBy(const Matrix3d& m) {
    center.transformBy(m);
    normal.transformBy(m);
}

void CircleFrame::ScaleRadiusBy(const Matrix3d& m) {
    Vector3d radius(GetRadius(), 0.0, 0.0);
    radius.transformBy(m);
    SetRadius(radius.length());
}

void CircleFrame::Save(FILE* stream) const { selvora::WriteRecord(stream, *this); }

void CircleFrame::Load(FILE* stream) { selvora::ReadRecord(stream, *this); }
