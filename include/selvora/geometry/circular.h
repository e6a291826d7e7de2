/// \file
/// CircleFrame and CircularCurve: the circle that GArc and Circle are built on.
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

/// What GArc and Circle share: the frame, and its accessors on the curve.
/// Adds no data of its own beyond the frame and changes no behaviour of
/// ImplicitCurve; it is not meant to be created by itself.
class SELVORA_API CircularCurve : public ImplicitCurve {
  public:
    /// Curve parts as ImplicitCurve() makes them; the unit circle about the origin.
    CircularCurve();
    /// Curve end points \p s and \p e; the unit circle about the origin.
    CircularCurve(Point3d& s, Point3d& e);
    CircularCurve(const CircularCurve& c) = default;  ///< the function handle is not copied
    CircularCurve& operator=(const CircularCurve& c) =
        default;                ///< keeps this object's function handle
    ~CircularCurve() override;  ///< defined in the library, the home of the virtual table

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

  protected:
    CircleFrame m_frame;  ///< Centre, radius and normal.
};
