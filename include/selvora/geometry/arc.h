// GArc and Circle: circular arcs and full circles in space.
#pragma once

#include <cstdio>

#include "selvora/export.h"
#include "selvora/foundation/ov_array.h"
#include "selvora/geometry/implicit_curve.h"
#include "selvora/kernel/matrix3d.h"
#include "selvora/kernel/point3d.h"

// The circle both curve classes are built on: centre, radius store and plane
// normal, with the accessors, the local-to-world matrix and the point distance
// that GArc and Circle share. The radius is size.x; SetRadius keeps size
// uniform. The normal is stored as given, not normalised.
struct SELVORA_API CircleFrame {
    Point3d center;
    Vector3d size{1.0, 1.0, 1.0};
    Vector3d normal{0.0, 0.0, 1.0};

    void SetRadius(double r);  // size = (r, r, r)
    double GetRadius() const;  // size.x
    void SetSize(double x, double y, double z);
    void SetSize(const Vector3d& s);
    Vector3d GetSize() const;
    void SetCenter(const Point3d& c);
    void SetLocation(const Point3d& c);  // the same as SetCenter
    void SetLocation(double x, double y, double z);
    Point3d GetCenter() const;
    Point3d GetLocation() const;  // the same as GetCenter
    void SetNormal(const Vector3d& n);
    Vector3d GetNormal() const;

    // Maps the local unit circle, (cos t, sin t, 0), to the world point of
    // angle t: scaling by the radius, then the rotation that turns the local
    // z axis onto the normal, then the translation to the centre.
    Matrix3d GetTransformation() const;
    // | |p - center| - radius |: the distance to the sphere of the radius.
    double distanceToPt(const Point3d& p) const;
    // Radius, centre and normal exactly equal, tested in that order.
    bool SameCircle(const CircleFrame& other) const;

    // Fills points, which must be empty, with the count points of local
    // angles start + i * step, i = 0 .. count - 1, mapped by
    // GetTransformation(). When the array cannot grow to count points it is
    // left empty.
    void Sample(double start, double step, int count, OvPnt3dArray& points) const;

    // The two halves of moving the circle by m: centre (as a point) and normal
    // (as a vector); then the radius, taken as the length of m applied to the
    // vector (r, 0, 0).
    void MoveBy(const Matrix3d& m);
    void ScaleRadiusBy(const Matrix3d& m);

    // Record: center, size, normal, 24 bytes each.
    void Save(FILE* stream) const;
    void Load(FILE* stream);
};

// A circular arc: the circle of the frame, run counter-clockwise in its local
// frame from the direction startV to the direction endV (only their x and y
// enter the angles). The class name is "GArc".
class SELVORA_API GArc : public ImplicitCurve {
  public:
    GArc();  // quarter arc of radius 1 about the origin in the XY plane, angles 0 to pi/2
    // The vectors are stored as given: no normalisation, no projection.
    GArc(Point3d center, double radius, Vector3d& normal, Vector3d start, Vector3d end);
    GArc(const GArc& a) = default;             // the function handle is not copied
    GArc& operator=(const GArc& a) = default;  // keeps this object's function handle

    Geometry* copy() override;
    // Moves the frame and turns startV and endV by m, then swaps them when m
    // reversed the sense of the arc (a mirroring transform).
    void transformBy(const Matrix3d& m) override;
    void Load(FILE* stream) override;  // 120 bytes: center, size, normal, startV, endV
    void Save(FILE* stream) override;

    void PointSample(const int& count, OvPnt3dArray& points) override;
    void PointSample(const double& spacing, OvPnt3dArray& points) override;
    double GetLength() override;
    double distanceToPt(Point3d& p) override;
    int PointOnCurve(const Point3d& p) override;  // both ends included

    void SetRadius(double r) { m_frame.SetRadius(r); }
    double GetRadius() const { return m_frame.GetRadius(); }
    void SetSize(double x, double y, double z) { m_frame.SetSize(x, y, z); }
    void SetSize(const Vector3d& s) { m_frame.SetSize(s); }
    Vector3d GetSize() const { return m_frame.GetSize(); }
    void SetCenter(const Point3d& c) { m_frame.SetCenter(c); }
    void SetLocation(const Point3d& c) { m_frame.SetLocation(c); }
    void SetLocation(double x, double y, double z) { m_frame.SetLocation(x, y, z); }
    Point3d GetCenter() const { return m_frame.GetCenter(); }
    Point3d GetLocation() const { return m_frame.GetLocation(); }
    void SetNormal(const Vector3d& n) { m_frame.SetNormal(n); }
    Vector3d GetNormal() const { return m_frame.GetNormal(); }
    Matrix3d GetTransformation() const { return m_frame.GetTransformation(); }

    void SetStart(const Vector3d& v) { m_startV = v; }
    Vector3d GetStartV() const { return m_startV; }
    void SetEnd(const Vector3d& v) { m_endV = v; }
    Vector3d GetEndV() const { return m_endV; }
    void SetStartAngle(const double& a);  // startV = (cos a, sin a, 0)
    void SetEndAngle(const double& a);    // endV = (cos a, sin a, 0)

    // In [0, 2pi'), where 2pi' is the single-precision 2pi.
    double GetStartAngle() const;
    // Never below the start angle: equal directions give a zero sweep.
    double GetEndAngle() const;

    // Points of the start, end and middle angles. GetStart and GetEnd hide, on
    // purpose, Curve's virtual accessors of the stored end points, which stay
    // reachable through a Curve reference.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Woverloaded-virtual"
#endif
    Point3d GetStart();
    Point3d GetEnd();
#if defined(__clang__)
#pragma clang diagnostic pop
#endif
    Point3d GetMidPoint();

    int operator==(GArc& other);
    int operator==(Geometry& other);  // 0 unless other is a GArc

  protected:
    Point3d PointAtAngle(double t) const;

    CircleFrame m_frame;
    Vector3d m_startV;
    Vector3d m_endV;
};

// A full circle. It shares the frame and its operations with GArc but is not
// an arc: it has no angular range, and PointOnCurve is Curve's, which answers
// 0 for every point. The class name is "GCircle".
class SELVORA_API Circle : public ImplicitCurve {
  public:
    Circle();  // radius 1 about the origin in the XY plane
    // a and b go to the stored end points of the Curve part.
    Circle(double x, double y, double z, double radius, Vector3d& normal, Point3d a, Point3d b);
    Circle(Point3d center, double radius, Vector3d& normal, Point3d a, Point3d b);
    Circle(const Circle& c) = default;             // the function handle is not copied
    Circle& operator=(const Circle& c) = default;  // keeps this object's function handle

    Geometry* copy() override;
    // Moves the frame by m; there is no orientation to fix up.
    void transformBy(const Matrix3d& m) override;
    void Load(FILE* stream) override;  // 72 bytes: center, size, normal
    void Save(FILE* stream) override;

    // Full-turn samples from local angle 0; the first point is not repeated.
    void PointSample(const int& count, OvPnt3dArray& points) override;
    void PointSample(const double& spacing, OvPnt3dArray& points) override;
    double GetLength() override;
    double distanceToPt(Point3d& p) override;

    void SetRadius(double r) { m_frame.SetRadius(r); }
    double GetRadius() const { return m_frame.GetRadius(); }
    void SetSize(double x, double y, double z) { m_frame.SetSize(x, y, z); }
    void SetSize(const Vector3d& s) { m_frame.SetSize(s); }
    Vector3d GetSize() const { return m_frame.GetSize(); }
    void SetCenter(const Point3d& c) { m_frame.SetCenter(c); }
    void SetLocation(const Point3d& c) { m_frame.SetLocation(c); }
    void SetLocation(double x, double y, double z) { m_frame.SetLocation(x, y, z); }
    Point3d GetCenter() const { return m_frame.GetCenter(); }
    Point3d GetLocation() const { return m_frame.GetLocation(); }
    void SetNormal(const Vector3d& n) { m_frame.SetNormal(n); }
    Vector3d GetNormal() const { return m_frame.GetNormal(); }
    Matrix3d GetTransformation() const { return m_frame.GetTransformation(); }

    void SetCenterX(double v) { m_frame.center.x = v; }
    void SetCenterY(double v) { m_frame.center.y = v; }
    void SetCenterZ(double v) { m_frame.center.z = v; }
    double GetCenterX() const { return m_frame.center.x; }
    double GetCenterY() const { return m_frame.center.y; }
    double GetCenterZ() const { return m_frame.center.z; }

    int operator==(Circle& other);
    int operator==(Geometry& other);  // 0 unless other is a Circle

  protected:
    CircleFrame m_frame;
};
