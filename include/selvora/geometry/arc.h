/// \file
/// GArc and Circle: circular arcs and full circles in space.
#pragma once

#include <cstdio>

#include "selvora/export.h"
#include "selvora/foundation/ov_array.h"
#include "selvora/geometry/implicit_curve.h"
#include "selvora/kernel/matrix3d.h"
#include "selvora/kernel/point3d.h"

/// The circle both curve classes are built on: centre, radius store and plane
/// normal, with the accessors, the local-to-world matrix and the point distance
/// that GArc and Circle share. The radius is size.x; SetRadius keeps size
/// uniform. The normal is stored as given, not normalised. The default is the
/// unit circle about the origin in the XY plane.
struct SELVORA_API CircleFrame {
    Point3d center;                  ///< The centre.
    Vector3d size{1.0, 1.0, 1.0};    ///< The radius store: the radius is size.x.
    Vector3d normal{0.0, 0.0, 1.0};  ///< Normal of the circle's plane, as given.

    void SetRadius(double r);  ///< size = (r, r, r)
    double GetRadius() const;  ///< size.x
    /// size = (x, y, z): the radius becomes x.
    void SetSize(double x, double y, double z);
    /// size = s: the radius becomes s.x.
    void SetSize(const Vector3d& s);
    /// size, whose x is the radius.
    Vector3d GetSize() const;
    /// Sets the centre.
    void SetCenter(const Point3d& c);
    void SetLocation(const Point3d& c);  ///< the same as SetCenter
    /// Sets the centre to (x, y, z).
    void SetLocation(double x, double y, double z);
    /// The centre.
    Point3d GetCenter() const;
    Point3d GetLocation() const;  ///< the same as GetCenter
    /// Sets the normal, stored as given (not normalised).
    void SetNormal(const Vector3d& n);
    /// The normal as stored.
    Vector3d GetNormal() const;

    /// Maps the local unit circle, (cos t, sin t, 0), to the world point of
    /// angle t: scaling by the radius, then the rotation that turns the local
    /// z axis onto the normal, then the translation to the centre. A normal
    /// along -z, like a zero normal, leaves the frame untilted.
    Matrix3d GetTransformation() const;
    /// | |p - center| - radius |: the distance to the sphere of the radius.
    double distanceToPt(const Point3d& p) const;
    /// Radius, centre and normal exactly equal, tested in that order.
    bool SameCircle(const CircleFrame& other) const;

    /// Fills points, which must be empty, with the count points of local
    /// angles start + i * step, for i from 0 to count - 1, mapped by
    /// GetTransformation(). When the array cannot grow to count points it is
    /// left empty.
    void Sample(double start, double step, int count, OvPnt3dArray& points) const;

    /// The first half of moving the circle by m: centre (as a point) and
    /// normal (as a vector, not renormalised).
    void MoveBy(const Matrix3d& m);
    /// The second half of moving the circle by m: the radius, taken as the
    /// length of m applied to the vector (r, 0, 0).
    void ScaleRadiusBy(const Matrix3d& m);

    /// Writes the record: center, size, normal, 24 bytes each.
    void Save(FILE* stream) const;
    /// Reads the record that Save writes.
    void Load(FILE* stream);
};

/// A circular arc: the circle of the frame, run counter-clockwise in its local
/// frame from the direction startV to the direction endV (only their x and y
/// enter the angles). The class name is "GArc".
///
/// Angles are radians of the local frame. The end points stored in the Curve
/// part are not the arc's: the constructors leave them at the origin, and
/// only transformBy moves them.
class SELVORA_API GArc : public ImplicitCurve {
  public:
    GArc();  ///< quarter arc of radius 1 about the origin in the XY plane, angles 0 to pi/2
    /// The vectors are stored as given: no normalisation, no projection.
    GArc(Point3d center, double radius, Vector3d& normal, Vector3d start, Vector3d end);
    GArc(const GArc& a) = default;             ///< the function handle is not copied
    GArc& operator=(const GArc& a) = default;  ///< keeps this object's function handle

    /// A new GArc; null when out of memory. The caller owns it.
    Geometry* copy() override;
    /// Moves the frame and turns startV and endV by m, then swaps them when m
    /// reversed the sense of the arc (a mirroring transform): that is, when
    /// the new middle point lies farther than the radius from the image of the
    /// old one. The radius follows ScaleRadiusBy; the Curve end points move too.
    void transformBy(const Matrix3d& m) override;
    void Load(FILE* stream) override;  ///< 120 bytes: center, size, normal, startV, endV
    /// Writes the 120-byte record that Load reads.
    void Save(FILE* stream) override;

    /// Empties \p points, then fills it with \p count points evenly spaced in
    /// angle from the start angle to the end angle, both included. A count
    /// below 2 leaves it empty.
    void PointSample(const int& count, OvPnt3dArray& points) override;
    /// PointSample(NSamples(spacing)) over the arc's length; fewer than 2
    /// samples leave \p points empty.
    void PointSample(const double& spacing, OvPnt3dArray& points) override;
    /// (GetEndAngle() - GetStartAngle()) * radius.
    double GetLength() override;
    /// CircleFrame::distanceToPt: the distance to the sphere of the radius,
    /// so neither the plane nor the angular range enters.
    double distanceToPt(Point3d& p) override;
    /// 1 when \p p lies within 1e-6 of the circle and of its plane, at an angle
    /// in the arc's range (both ends included); else 0.
    int PointOnCurve(const Point3d& p) override;

    /// \copydoc CircleFrame::SetRadius
    void SetRadius(double r) { m_frame.SetRadius(r); }
    /// \copydoc CircleFrame::GetRadius
    double GetRadius() const { return m_frame.GetRadius(); }
    /// \copydoc CircleFrame::SetSize(double,double,double)
    void SetSize(double x, double y, double z) { m_frame.SetSize(x, y, z); }
    /// \copydoc CircleFrame::SetSize(const Vector3d&)
    void SetSize(const Vector3d& s) { m_frame.SetSize(s); }
    /// \copydoc CircleFrame::GetSize
    Vector3d GetSize() const { return m_frame.GetSize(); }
    /// \copydoc CircleFrame::SetCenter
    void SetCenter(const Point3d& c) { m_frame.SetCenter(c); }
    /// \copydoc CircleFrame::SetLocation(const Point3d&)
    void SetLocation(const Point3d& c) { m_frame.SetLocation(c); }
    /// \copydoc CircleFrame::SetLocation(double,double,double)
    void SetLocation(double x, double y, double z) { m_frame.SetLocation(x, y, z); }
    /// \copydoc CircleFrame::GetCenter
    Point3d GetCenter() const { return m_frame.GetCenter(); }
    /// \copydoc CircleFrame::GetLocation
    Point3d GetLocation() const { return m_frame.GetLocation(); }
    /// \copydoc CircleFrame::SetNormal
    void SetNormal(const Vector3d& n) { m_frame.SetNormal(n); }
    /// \copydoc CircleFrame::GetNormal
    Vector3d GetNormal() const { return m_frame.GetNormal(); }
    /// \copydoc CircleFrame::GetTransformation
    Matrix3d GetTransformation() const { return m_frame.GetTransformation(); }

    /// Sets the start direction startV, stored as given.
    void SetStart(const Vector3d& v) { m_startV = v; }
    /// The start direction startV.
    Vector3d GetStartV() const { return m_startV; }
    /// Sets the end direction endV, stored as given.
    void SetEnd(const Vector3d& v) { m_endV = v; }
    /// The end direction endV.
    Vector3d GetEndV() const { return m_endV; }
    void SetStartAngle(const double& a);  ///< startV = (cos a, sin a, 0)
    void SetEndAngle(const double& a);    ///< endV = (cos a, sin a, 0)

    /// Angle of startV in [0, 2pi'), where 2pi' is the single-precision 2pi.
    double GetStartAngle() const;
    /// Angle of endV, raised by 2pi' when below the start angle: never below
    /// the start angle, and equal directions give a zero sweep.
    double GetEndAngle() const;

    // Points of the start, end and middle angles. GetStart and GetEnd hide, on
    // purpose, Curve's virtual accessors of the stored end points, which stay
    // reachable through a Curve reference.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Woverloaded-virtual"
#endif
    /// The point of the start angle. Hides, on purpose, Curve's virtual
    /// accessor of the stored start point, which stays reachable through a
    /// Curve reference.
    Point3d GetStart();
    /// The point of the end angle. Hides, on purpose, Curve's virtual accessor
    /// of the stored end point, which stays reachable through a Curve reference.
    Point3d GetEnd();
#if defined(__clang__)
#pragma clang diagnostic pop
#endif
    /// The point of the middle angle, (start + end) / 2.
    Point3d GetMidPoint();

    /// 1 when the circles are the same (CircleFrame::SameCircle) and startV and
    /// endV are exactly equal, else 0.
    int operator==(GArc& other);
    int operator==(Geometry& other);  ///< 0 unless other is a GArc

  protected:
    /// The world point of local angle \p t.
    Point3d PointAtAngle(double t) const;

    CircleFrame m_frame;  ///< Centre, radius and normal.
    Vector3d m_startV;    ///< Start direction in the local frame.
    Vector3d m_endV;      ///< End direction in the local frame.
};

/// A full circle. It shares the frame and its operations with GArc but is not
/// an arc: it has no angular range, and PointOnCurve is Curve's, which answers
/// 0 for every point. The class name is "GCircle".
class SELVORA_API Circle : public ImplicitCurve {
  public:
    Circle();  ///< radius 1 about the origin in the XY plane
    /// The circle about (x, y, z); the normal is stored as given. a and b go
    /// to the stored end points of the Curve part.
    Circle(double x, double y, double z, double radius, Vector3d& normal, Point3d a, Point3d b);
    /// The circle about \p center; the normal is stored as given. a and b go
    /// to the stored end points of the Curve part.
    Circle(Point3d center, double radius, Vector3d& normal, Point3d a, Point3d b);
    Circle(const Circle& c) = default;             ///< the function handle is not copied
    Circle& operator=(const Circle& c) = default;  ///< keeps this object's function handle

    /// A new Circle; null when out of memory. The caller owns it.
    Geometry* copy() override;
    /// Moves the frame by m; there is no orientation to fix up. The radius
    /// follows CircleFrame::ScaleRadiusBy; the Curve end points move too.
    void transformBy(const Matrix3d& m) override;
    void Load(FILE* stream) override;  ///< 72 bytes: center, size, normal
    /// Writes the 72-byte record that Load reads.
    void Save(FILE* stream) override;

    /// Full-turn samples from local angle 0; the first point is not repeated.
    /// Empties \p points, then fills it with \p count points 2pi / count apart
    /// (the double 2pi); a count of 0 or less leaves it empty.
    void PointSample(const int& count, OvPnt3dArray& points) override;
    /// PointSample(NSamples(spacing)) over GetLength(); no samples leave
    /// \p points empty.
    void PointSample(const double& spacing, OvPnt3dArray& points) override;
    /// radius * 2pi', 2pi' being the single-precision 2pi.
    double GetLength() override;
    /// CircleFrame::distanceToPt: the distance to the sphere of the radius, so
    /// the plane does not enter.
    double distanceToPt(Point3d& p) override;

    /// \copydoc CircleFrame::SetRadius
    void SetRadius(double r) { m_frame.SetRadius(r); }
    /// \copydoc CircleFrame::GetRadius
    double GetRadius() const { return m_frame.GetRadius(); }
    /// \copydoc CircleFrame::SetSize(double,double,double)
    void SetSize(double x, double y, double z) { m_frame.SetSize(x, y, z); }
    /// \copydoc CircleFrame::SetSize(const Vector3d&)
    void SetSize(const Vector3d& s) { m_frame.SetSize(s); }
    /// \copydoc CircleFrame::GetSize
    Vector3d GetSize() const { return m_frame.GetSize(); }
    /// \copydoc CircleFrame::SetCenter
    void SetCenter(const Point3d& c) { m_frame.SetCenter(c); }
    /// \copydoc CircleFrame::SetLocation(const Point3d&)
    void SetLocation(const Point3d& c) { m_frame.SetLocation(c); }
    /// \copydoc CircleFrame::SetLocation(double,double,double)
    void SetLocation(double x, double y, double z) { m_frame.SetLocation(x, y, z); }
    /// \copydoc CircleFrame::GetCenter
    Point3d GetCenter() const { return m_frame.GetCenter(); }
    /// \copydoc CircleFrame::GetLocation
    Point3d GetLocation() const { return m_frame.GetLocation(); }
    /// \copydoc CircleFrame::SetNormal
    void SetNormal(const Vector3d& n) { m_frame.SetNormal(n); }
    /// \copydoc CircleFrame::GetNormal
    Vector3d GetNormal() const { return m_frame.GetNormal(); }
    /// \copydoc CircleFrame::GetTransformation
    Matrix3d GetTransformation() const { return m_frame.GetTransformation(); }

    void SetCenterX(double v) { m_frame.center.x = v; }     ///< Sets the centre's x.
    void SetCenterY(double v) { m_frame.center.y = v; }     ///< Sets the centre's y.
    void SetCenterZ(double v) { m_frame.center.z = v; }     ///< Sets the centre's z.
    double GetCenterX() const { return m_frame.center.x; }  ///< The centre's x.
    double GetCenterY() const { return m_frame.center.y; }  ///< The centre's y.
    double GetCenterZ() const { return m_frame.center.z; }  ///< The centre's z.

    /// 1 when the circles are the same (CircleFrame::SameCircle), else 0; the
    /// Curve end points are not compared.
    int operator==(Circle& other);
    int operator==(Geometry& other);  ///< 0 unless other is a Circle

  protected:
    CircleFrame m_frame;  ///< Centre, radius and normal.
};
