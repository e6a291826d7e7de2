/// \file
/// Line: the straight segment.
#pragma once

#include <cstdio>

#include "selvora/export.h"
#include "selvora/foundation/carray.h"
#include "selvora/foundation/ov_array.h"
#include "selvora/geometry/implicit_curve.h"

/// The straight segment. The class name is "GLine".
///
/// A segment from start S to end E. It holds no data of its own: the midpoint,
/// half length, unit direction and the XY coefficients a, b, c are recomputed
/// from the end points on every call.
///
/// The unit direction is (E - S) / |E - S| (the factor 1 for a zero-length
/// line, so its direction is zero), with every component whose magnitude is
/// below 2.5e-9 snapped to 0. The coefficients describe the XY projection of
/// the line through the midpoint along that direction: a*x + b*y + c = 0 with
/// a = u.y, b = -u.x, c = u.x*M.y - u.y*M.x.
///
/// Tangent angles are degrees of the XY projection. Line equality and the
/// relation tests use the fixed per-coordinate tolerance 2.5e-9. A zero-length
/// line has no infinite line: distances and projections onto it are NaN.
class SELVORA_API Line : public ImplicitCurve {
  public:
    /// A zero-length line at the origin. Its extent is Unbounded, so Scale()
    /// refuses it until SetExtent(Bounded).
    Line();
    /// (dx, dy, dz) is the full vector from start to end, (mx, my, mz) the midpoint.
    /// The extent is Bounded.
    Line(double dx, double dy, double dz, double mx, double my, double mz);
    /// The segment from \p start to \p end; the extent is Bounded.
    Line(Point3d& start, Point3d& end);
    /// The XY-plane line a*x + b*y + c = 0 with (a, b, c) = abc: a segment of
    /// length 2d centred on the foot of the perpendicular from the origin,
    /// running along (-b, a). z is 0; a = b = 0 gives NaN or infinite ends.
    /// The extent stays Unbounded.
    Line(Vector3d& abc, double d);
    /// Copies the line; the function handle is not copied.
    Line(const Line& other);
    /// Copies the line; keeps this object's function handle.
    Line& operator=(const Line& other);

    /// A new Line; null when out of memory. The caller owns it.
    Geometry* copy() override;
    /// Reads the 48-byte record: start, then end. Coordinates a short read does
    /// not reach become 0; a null stream changes nothing.
    void Load(FILE* stream) override;
    /// Writes the 48-byte record: start, then end.
    void Save(FILE* stream) override;

    /// XY direction angle in degrees, [0, 360]; 0 for a line without XY extent.
    double GetTangentAtStart() override;
    /// GetTangentAtStart(): the direction is the same all along.
    double GetTangentAtEnd() override;
    /// \p n samples from the start point, Delta(n) apart along the direction;
    /// the last is reached by accumulation, not copied from the end. A single
    /// sample lands a quarter of the length from the start. \p out is resized
    /// to n; n <= 0 leaves it untouched.
    void PointSample(const int& n, OvPnt3dArray& out) override;
    /// NSamples(step) samples: both end points and, between them, samples step
    /// apart, centred on the segment. \p out is resized to the count; a count
    /// of 0, or one the array cannot hold, leaves it untouched.
    void PointSample(const double& step, OvPnt3dArray& out) override;
    /// Length of the segment: twice GetHalfLength().
    double GetLength() override;

    /// The midpoint.
    virtual Point3d GetLocation() const;
    /// The unit direction (see the class notes).
    virtual Vector3d GetOrientation() const;
    /// (h, h, h) with h the half length.
    virtual Vector3d GetSize() const;
    /// GetTangentAtStart(); the point is ignored. The base's Vector3d version
    /// stays visible beside it and keeps the base answer.
    virtual double GetTangentAtPoint(Point3d& p);
    using Curve::GetTangentAtPoint;
    /// Scales both end points about the origin; returns 1. 0 (and no change)
    /// for a zero factor or an extent other than Bounded.
    virtual int Scale(double f);

    /// \name Derived quantities
    /// Recomputed from the end points on every call.
    ///@{

    double GetMidpointX() const;    ///< x of the midpoint (S + E) / 2.
    double GetMidpointY() const;    ///< y of the midpoint (S + E) / 2.
    double GetMidpointZ() const;    ///< z of the midpoint (S + E) / 2.
    Point3d GetMidpoint() const;    ///< The midpoint (S + E) / 2.
    double GetHalfLength() const;   ///< Half the distance from start to end.
    Vector3d GetDirection() const;  ///< The unit direction, small components snapped to 0.
    double GetDirX() const;         ///< x of GetDirection().
    double GetDirY() const;         ///< y of GetDirection().
    double GetDirZ() const;         ///< z of GetDirection().
    double a() const;               ///< The XY coefficient a = u.y.
    double b() const;               ///< The XY coefficient b = -u.x.
    double c() const;               ///< The XY coefficient c = u.x*M.y - u.y*M.x.
    double GetAoverC() const;       ///< a / c, unguarded
    double GetBoverC() const;       ///< b / c, unguarded
    ///@}

    /// Moves the segment so that its midpoint is (x, y, z).
    void SetMidpoint(double x, double y, double z);
    /// SetMidpoint(x, y, z).
    void SetLocation(double x, double y, double z);
    /// SetMidpoint(p.x, p.y, p.z).
    void SetLocation(Point3d& p);
    /// Turns the segment about its midpoint to direction (x, y, z), normalised
    /// unless already of unit length within 1e-6; a zero vector does nothing.
    void SetDir(double x, double y, double z);
    /// SetDir(x, y, z).
    void SetOrientation(double x, double y, double z);
    /// SetDir(v.x, v.y, v.z).
    void SetOrientation(Vector3d& v);
    /// Sets the half length to x about the midpoint (y and z are ignored); a
    /// negative x also swaps the ends. A zero-length line is left as it is.
    void SetSize(double x, double y, double z);
    /// SetSize(v.x, v.y, v.z).
    void SetSize(Vector3d& v);
    /// Exchanges start and end.
    void NegateDirection();

    /// The point at signed distance t from the midpoint along the direction.
    Point3d evaluate_at(double t) const;
    /// The fraction of (x, y, z), projected onto the line, along the segment:
    /// 0 at the start, 1 at the end; 0.5 when the segment has no length.
    double Findt(double x, double y, double z) const;

    /// Equal when both ends match in order within 2.5e-9 per coordinate: 1,
    /// else 0.
    int operator==(Line& other);
    /// 0 unless other is a Line (checked by name and type); then as the other form.
    int operator==(Geometry& other);

    /// \name Relations to points
    ///@{

    /// Distance from p to the infinite line, in three dimensions.
    double Point2DCurveDistance(Point3d p) const;
    /// Point2DCurveDistance(p).
    double distanceTo(Point3d& p) const;
    /// Foot of the perpendicular from p on the infinite line.
    void Project3DPoint(Point3d& p, Point3d& out) const;
    /// The same in the XY plane only.
    void Project2DPoint(double x, double y, double& ox, double& oy) const;
    /// 1 when p lies on the infinite line (within 2.5e-9), else 0.
    int IntersectsLine(const Point3d& p) const;
    /// 1 when p lies on the segment: on the infinite line, and between the
    /// ends (the dot product of S - p and E - p below 2.5e-9); else 0.
    int Intersects(const Point3d& p) const;
    ///@}

    /// \name Relations to other lines
    /// Operations taking a Line pointer answer 0 for a null pointer, and the
    /// distances -1.0; Angle answers -99999.0, the missing-angle marker.
    ///@{

    /// Crossing of the two XY lines by slope and intercept; unguarded, so
    /// vertical or parallel lines give infinities or NaN. z is 0.
    Point3d intersect(Line& other) const;
    /// Crossing of the two XY lines from a, b, c; 0 with out untouched when
    /// they are parallel within 2.5e-9. 1 with out set (z 0) otherwise.
    int Intersect(const Line& other, Point3d& out) const;
    /// 1 when the XY lines cross within this segment (other's extent is not checked).
    int IsIntersect(Line& other) const;

    /// Distance between the nearest pair of ends, one of each line.
    double EndPointsDistance(const Line* other) const;
    /// 1 when EndPointsDistance(other) <= tol * tol: the distance itself, not
    /// its square, is compared with tol squared.
    int EndPointsClose(const Line* other, double tol) const;
    /// Both ends within tol, pairing them the way that fits better.
    int EqWithinTol(const Line* other, double tol) const;
    /// Both ends of other within tol of this infinite line.
    int BothEndsCloseToLine(const Line* other, double tol) const;
    /// Both ends of other on this infinite line within 2.5e-9.
    int EndPointsWithinLine(const Line* other) const;
    /// Distance of other's midpoint from this infinite line.
    double distanceToParallel(const Line* other) const;
    /// Distance of other's midpoint from the plane through the origin that
    /// holds this line; the midpoint distance when there is no such plane.
    double DistanceFrom(Line& other) const;
    /// 1 when v is this line's unit direction within 2.5e-9 (same sense).
    int parallel(Vector3d& v) const;
    /// Unsigned angle between the XY directions in degrees, 0 to 180.
    double Angle(const Line* other) const;
    /// Within angleTol degrees (either sense) and each midpoint strictly
    /// closer than distTol to the other infinite line.
    ///
    /// The angle is taken from GetAoverC() and GetBoverC() of both lines. When
    /// one of them is 0 or infinite (a line parallel to the x or y axis, or
    /// one through the origin) the angle comes out NaN and the angle test
    /// passes, leaving the decision to the distances.
    int CoLinear(const Line* other, double angleTol, double distTol) const;
    /// Length of this segment covered by other projected onto it.
    double ProjectedLength(Line& other);
    /// Length of this segment covered by the union of the projections of all
    /// lines; null entries are skipped. An exception from the container's
    /// GetAt escapes.
    double ProjectedUnion(CArray<Line*, Line*>& lines);
    ///@}

  protected:
    /// Move one midpoint coordinate in two steps: the start first, then the
    /// end against the midpoint recomputed in between, so the midpoint lands
    /// three quarters of the way to the target.
    ///@{
    void SetMidpointX(double x);
    void SetMidpointY(double y);
    void SetMidpointZ(double z);
    ///@}
};
