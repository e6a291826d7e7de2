/// \file
/// GArc: circular arcs in space.
#pragma once

#include <cstdio>

#include "selvora/export.h"
#include "selvora/foundation/ov_array.h"
#include "selvora/geometry/circle.h"  // Circle, declared here until it had its own header
#include "selvora/geometry/circular.h"
#include "selvora/kernel/matrix3d.h"
#include "selvora/kernel/point3d.h"

/// A circular arc: the circle of the frame, run counter-clockwise in its local
/// frame from the direction startV to the direction endV (only their x and y
/// enter the angles). The class name is "GArc".
///
/// Angles are radians of the local frame. The end points stored in the Curve
/// part are not the arc's: the constructors leave them at the origin, and
/// only transformBy moves them.
class SELVORA_API GArc : public CircularCurve {
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
    template <class T>
    friend struct selvora::RecordFields;

    /// The world point of local angle \p t.
    Point3d PointAtAngle(double t) const;

    Vector3d m_startV;  ///< Start direction in the local frame.
    Vector3d m_endV;    ///< End direction in the local frame.
};
