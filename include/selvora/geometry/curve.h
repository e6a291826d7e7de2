/// \file
/// Curve: end points, descriptive attributes and the sampling arithmetic that
/// every one-dimensional geometry object shares.
#pragma once

#include <cstdint>

#include "selvora/export.h"
#include "selvora/foundation/ov_array.h"
#include "selvora/geometry/geometry.h"

/// The answer of a tangent or angle query that has no value: the base Curve's
/// tangents, and the line queries given no line.
constexpr double OV_NO_ANGLE = -99999.0;
/// The answer of a distance query that has no value: the base Curve's, and the
/// line queries' given no line.
constexpr double OV_NO_DISTANCE = -1.0;

/// End points, descriptive attributes and the sampling arithmetic that every
/// one-dimensional geometry object shares. The class name is "GCurve".
///
/// The base class has no shape of its own: its curve queries give the fixed
/// answers noted on each, and the concrete curves (Line, GArc, Circle) replace
/// the virtual ones. The base answers of the curve queries: OV_NO_ANGLE
/// (-99999.0) marks a missing tangent, OV_NO_DISTANCE (-1.0) a missing distance. The symmetry,
/// extent and periodic attributes are descriptive; of the library's own operations only Line::Scale
/// looks at one (the extent).
class SELVORA_API Curve : public Geometry {
  public:
    /// Symmetry attribute of a curve.
    enum SymmetryType : std::int32_t {
        NotSymmetric = 0,  ///< Not symmetric.
        Symmetric = 2      ///< Symmetric; what every new curve starts with.
    };
    /// Whether a curve ends at its end points.
    enum CurveExtent : std::int32_t {
        Unbounded = 0,  ///< Not limited to its end points; what a new Curve starts with.
        Bounded = 2     ///< Runs from the start point to the end point.
    };

    /// Both end points at the origin, Symmetric, Unbounded, not periodic.
    Curve();
    /// As Curve(), with the end points \p s and \p e.
    Curve(Point3d& s, Point3d& e);
    /// Copies the class name, end points and attributes.
    Curve(const Curve& c);
    /// Copies the class name, end points and attributes.
    Curve& operator=(const Curve& c);

    /// A new Curve copied from this one; null when out of memory. The caller
    /// owns it.
    Geometry* copy() override;
    /// Moves both end points by \p m.
    void transformBy(const Matrix3d& m) override;
    /// Reads the 60-byte Curve record: start and end (24 bytes each), then
    /// symmetry, extent and periodic flag (4 bytes each).
    void Load(FILE* stream) override;
    /// Writes the 60-byte Curve record that Load reads.
    void Save(FILE* stream) override;

  protected:
    /// Sets the attributes: symmetry 2 (Symmetric), extent 0 (Unbounded), not periodic.
    virtual void Init();

  public:
    /// The stored start point.
    virtual Point3d GetStart() const;
    /// The stored end point.
    virtual Point3d GetEnd() const;
    /// Tangent angle at the point given as \p v; -99999.0 (missing) in the base.
    virtual double GetTangentAtPoint(Vector3d& v);
    /// Tangent angle at the start; -99999.0 (missing) in the base.
    virtual double GetTangentAtStart();
    /// Tangent angle at the end; -99999.0 (missing) in the base.
    virtual double GetTangentAtEnd();
    /// Fills \p out with \p n sample points; the base leaves it untouched.
    virtual void PointSample(const int& n, OvPnt3dArray& out);
    /// Fills \p out with sample points about \p step apart; the base leaves it
    /// untouched.
    virtual void PointSample(const double& step, OvPnt3dArray& out);
    /// Length of the curve; 0.0 in the base.
    virtual double GetLength();
    /// Distance from \p p to the curve; -1.0 (missing) in the base.
    virtual double distanceToPt(Point3d& p);
    /// 1 when \p p lies on the curve; 0 in the base.
    virtual int PointOnCurve(const Point3d& p);

    /// Sets the stored start point; returns 1.
    int SetStart(const Point3d& p);
    /// Sets the stored start point to (x, y, z); returns 1.
    int SetStart(double x, double y, double z);
    /// Sets the stored end point; returns 1.
    int SetEnd(const Point3d& p);
    /// Sets the stored end point to (x, y, z); returns 1.
    int SetEnd(double x, double y, double z);
    void SetStartX(double v) { m_start.x = v; }     ///< Sets the start point's x.
    void SetStartY(double v) { m_start.y = v; }     ///< Sets the start point's y.
    void SetStartZ(double v) { m_start.z = v; }     ///< Sets the start point's z.
    void SetEndX(double v) { m_end.x = v; }         ///< Sets the end point's x.
    void SetEndY(double v) { m_end.y = v; }         ///< Sets the end point's y.
    void SetEndZ(double v) { m_end.z = v; }         ///< Sets the end point's z.
    double GetStartX() const { return m_start.x; }  ///< The start point's x.
    double GetStartY() const { return m_start.y; }  ///< The start point's y.
    double GetStartZ() const { return m_start.z; }  ///< The start point's z.
    double GetEndX() const { return m_end.x; }      ///< The end point's x.
    double GetEndY() const { return m_end.y; }      ///< The end point's y.
    double GetEndZ() const { return m_end.z; }      ///< The end point's z.
    /// The stored start point, by reference.
    Point3d& GetStartPoint() { return m_start; }
    /// The stored start point, by reference.
    const Point3d& GetStartPoint() const { return m_start; }
    /// The stored end point, by reference.
    Point3d& GetEndPoint() { return m_end; }
    /// The stored end point, by reference.
    const Point3d& GetEndPoint() const { return m_end; }

    SymmetryType GetSymmetry() { return m_symmetry; }     ///< The symmetry attribute.
    void SetSymmetry(SymmetryType s) { m_symmetry = s; }  ///< Sets the symmetry attribute.
    CurveExtent GetExtent() { return m_extent; }          ///< The extent attribute.
    void SetExtent(CurveExtent e) { m_extent = e; }       ///< Sets the extent attribute.
    int IsPeriodic() const { return m_periodic; }         ///< The periodic flag (0: not periodic).
    void SetPeriodic(int p) { m_periodic = p; }           ///< Sets the periodic flag.

    // Sampling arithmetic over the length L = GetLength() of the actual class.

    /// Half the leftover after whole steps: (L - floor(L / step) * step) / 2,
    /// with L = GetLength() of the actual class; 0 for a zero step.
    double Epsilon(const double& step);
    /// Spacing of n samples that include both ends: L / (n - 1), or L / 2 when
    /// n is 1 or less.
    double Delta(const int& n);
    /// Number of samples for \p step: floor(L / step) + 1, plus 2 unless
    /// Epsilon(step) < step / 2 (so a zero step gives 2); 0 when the count
    /// does not fit an int. Meant for a positive step.
    int NSamples(const double& step);

    // Fixed answers of the base class; derived classes do not replace them.

    /// The origin, whatever \p p (a fixed answer no curve replaces).
    Point3d ClosestPtOnCurve(Point3d& p);
    /// (1, 0, 0), whatever \p p (a fixed answer no curve replaces).
    Vector3d GetTangent(Point3d& p);
    /// (1, 0, 0), whatever \p p (a fixed answer no curve replaces).
    Vector3d GetCurvatureVector(Point3d& p);
    /// (1, 0, 0), whatever \p p (a fixed answer no curve replaces).
    Vector3d GetTorsion(Point3d& p);
    /// 0.0, whatever \p p (a fixed answer no curve replaces).
    double GetArcLength(Point3d& p);
    /// 0.0, whatever \p p (a fixed answer no curve replaces).
    double GetScalarCurvature(Point3d& p);
    /// 1 (a fixed answer no curve replaces).
    int IsPlanar();
    /// 0 (a fixed answer no curve replaces).
    int Intersects(Curve& c);
    /// 0 (a fixed answer no curve replaces; Line has a real test of its own).
    int Intersects(Point3d& p);

    /// 1 when the end points (exactly), symmetry, extent and periodic flag are
    /// all equal, else 0.
    int operator==(Curve& c);
    /// 0 unless g is exactly a "GCurve" (checked by name and type); then as
    /// the other form.
    int operator==(Geometry& g);

  protected:
    template <class T>
    friend struct selvora::RecordFields;

    Point3d m_start;          ///< The stored start point.
    Point3d m_end;            ///< The stored end point.
    SymmetryType m_symmetry;  ///< The symmetry attribute.
    CurveExtent m_extent;     ///< The extent attribute.
    std::int32_t m_periodic;  ///< The periodic flag.
};
