/// \file
/// Circle: full circles in space.
#pragma once

#include <cstdio>

#include "selvora/export.h"
#include "selvora/foundation/ov_array.h"
#include "selvora/geometry/circular.h"
#include "selvora/kernel/matrix3d.h"
#include "selvora/kernel/point3d.h"

/// A full circle. It shares the frame and its operations with GArc but is not
/// an arc: it has no angular range, and PointOnCurve is Curve's, which answers
/// 0 for every point. The class name is "GCircle".
class SELVORA_API Circle : public CircularCurve {
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
};
