// Curve: end points, descriptive attributes and the sampling arithmetic that
// every one-dimensional geometry object shares.
#pragma once

#include <cstdint>

#include "selvora/export.h"
#include "selvora/foundation/ov_array.h"
#include "selvora/geometry/geometry.h"

class SELVORA_API Curve : public Geometry {
  public:
    enum SymmetryType : std::int32_t { NotSymmetric = 0, Symmetric = 2 };
    enum CurveExtent : std::int32_t { Unbounded = 0, Bounded = 2 };

    Curve();
    Curve(Point3d& s, Point3d& e);
    Curve(const Curve& c);
    Curve& operator=(const Curve& c);

    Geometry* copy() override;
    void transformBy(const Matrix3d& m) override;  // moves both end points
    void Load(FILE* stream) override;              // the 60-byte Curve record
    void Save(FILE* stream) override;

  protected:
    virtual void Init();  // symmetry 2, extent 0, not periodic

  public:
    virtual Point3d GetStart() const;
    virtual Point3d GetEnd() const;
    // The base answers of the curve queries: -99999.0 marks a missing tangent,
    // -1.0 a missing distance.
    virtual double GetTangentAtPoint(Vector3d& v);
    virtual double GetTangentAtStart();
    virtual double GetTangentAtEnd();
    virtual void PointSample(const int& n, OvPnt3dArray& out);
    virtual void PointSample(const double& step, OvPnt3dArray& out);
    virtual double GetLength();
    virtual double distanceToPt(Point3d& p);
    virtual int PointOnCurve(const Point3d& p);

    int SetStart(const Point3d& p);
    int SetStart(double x, double y, double z);
    int SetEnd(const Point3d& p);
    int SetEnd(double x, double y, double z);
    void SetStartX(double v) { m_start.x = v; }
    void SetStartY(double v) { m_start.y = v; }
    void SetStartZ(double v) { m_start.z = v; }
    void SetEndX(double v) { m_end.x = v; }
    void SetEndY(double v) { m_end.y = v; }
    void SetEndZ(double v) { m_end.z = v; }
    double GetStartX() const { return m_start.x; }
    double GetStartY() const { return m_start.y; }
    double GetStartZ() const { return m_start.z; }
    double GetEndX() const { return m_end.x; }
    double GetEndY() const { return m_end.y; }
    double GetEndZ() const { return m_end.z; }
    Point3d& GetStartPoint() { return m_start; }
    const Point3d& GetStartPoint() const { return m_start; }
    Point3d& GetEndPoint() { return m_end; }
    const Point3d& GetEndPoint() const { return m_end; }

    SymmetryType GetSymmetry() { return m_symmetry; }
    void SetSymmetry(SymmetryType s) { m_symmetry = s; }
    CurveExtent GetExtent() { return m_extent; }
    void SetExtent(CurveExtent e) { m_extent = e; }
    int IsPeriodic() const { return m_periodic; }
    void SetPeriodic(int p) { m_periodic = p; }

    // Sampling arithmetic over the length L = GetLength() of the actual class.
    double Epsilon(const double& step);  // half the leftover after whole steps
    double Delta(const int& n);          // spacing of n samples that include both ends
    int NSamples(const double& step);

    // Fixed answers of the base class; derived classes do not replace them.
    Point3d ClosestPtOnCurve(Point3d& p);
    Vector3d GetTangent(Point3d& p);
    Vector3d GetCurvatureVector(Point3d& p);
    Vector3d GetTorsion(Point3d& p);
    double GetArcLength(Point3d& p);
    double GetScalarCurvature(Point3d& p);
    int IsPlanar();
    int Intersects(Curve& c);
    int Intersects(Point3d& p);

    int operator==(Curve& c);
    int operator==(Geometry& g);  // 0 unless g is exactly a "GCurve"

  protected:
    Point3d m_start;
    Point3d m_end;
    SymmetryType m_symmetry;
    CurveExtent m_extent;
    std::int32_t m_periodic;
};
