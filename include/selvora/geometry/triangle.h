/// \file
/// Triangle: a planar facet of three vertices.
#pragma once

#include <cstdio>

#include "selvora/export.h"
#include "selvora/geometry/geometry.h"
#include "selvora/kernel/matrix3d.h"
#include "selvora/kernel/point3d.h"

/// A planar facet of three vertices. The class name is "GTriangle".
///
/// Any three points make a triangle: orientation, planarity and distinct
/// vertices are not enforced. copy() is deliberately Geometry's: it yields a
/// plain Geometry carrying the name "GTriangle" and no vertices; the copy
/// constructor or operator= makes a full copy.
class SELVORA_API Triangle : public Geometry {
  public:
    /// All three vertices at the origin.
    Triangle();
    /// The triangle of vertices a, b, c (0, 1, 2).
    Triangle(const Point3d& a, const Point3d& b, const Point3d& c);
    /// A full copy: class name and vertices.
    Triangle(const Triangle& other);
    /// A full copy: class name and vertices.
    Triangle& operator=(const Triangle& other);

    void transformBy(const Matrix3d& m) override;  ///< each vertex in turn, 0, 1, 2
    void Load(FILE* stream) override;              ///< the 72-byte record of the three vertices
    /// Writes the 72-byte record that Load reads.
    void Save(FILE* stream) override;

    /// Sets the vertices to a, b, c (0, 1, 2).
    void Set(const Point3d& a, const Point3d& b, const Point3d& c);
    /// Vertex n = p for n in 0..2; any other n is ignored. Point first, index second.
    void SetPointN(const Point3d& p, int n);
    /// A copy of vertex n, or Point3d() (the origin) for n outside 0..2.
    Point3d GetPointN(int n) const;

    Point3d GetMidpoint();               ///< the centroid ((v0 + v1) + v2) / 3
    void SetMidpoint(const Point3d& m);  ///< moves all vertices so that the centroid is m

    /// Vertex by vertex in order, each coordinate differing by less than 2.5e-9:
    /// 1, else 0.
    int operator==(Triangle& other);
    int operator==(Geometry& other);  ///< 0 unless other is a "GTriangle" triangle

  protected:
    Point3d m_points[3];  ///< The vertices 0, 1, 2.
};
