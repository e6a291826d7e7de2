// The checked triangulation through the library's buffers, and an independent
// check that a list of triangles is a valid triangulation of a planar graph.
//
// What "valid" means follows the library's switches for Triangle: segments
// are constraints and the region triangulated is what the segments enclose.
// Triangle first triangulates the convex hull of all vertices, then eats every
// triangle it can reach without crossing a segment, starting from the hull
// edges that are not segments and from the triangles that hold a hole seed.
// So the triangles cover the convex hull only when its whole boundary is
// covered by segments and there are no holes; otherwise they cover the faces
// the segments close off from the outside and from the seeds.
//
// TessellateCheckedInBuffers calls the library's tessellation functions: a
// program that makes it links the library (Selvora100_64) itself.
#pragma once

#include <string>
#include <vector>

#include "common/planar_graph.h"

namespace selvora_common {

// Result of one checked call through the buffers.
struct CheckedTriangulation {
    int result = 0;
    std::vector<double> added;  // x, y of each vertex added at a crossing
    std::vector<TriangleCorners> triangles;
};

// WriteToBuffers(graph), OV_doTessellationChecked, then reads back the added
// vertices and the triangles when result > 0 (added also when result == 0).
// The graph must fit the buffers.
CheckedTriangulation TessellateCheckedInBuffers(const PlanarGraph& graph);

// "" when `triangles` is a valid triangulation of `graph` with the added
// vertices `added` (x, y each, numbered after the graph's points); otherwise a
// one-line description of the first fault found.
//
// Decided exactly (orientations and areas in exact expansion arithmetic):
//   - corner indices in range, the three corners at three different places;
//   - every triangle strictly counter-clockwise;
//   - no two triangles overlap: no directed edge twice, no place on or inside
//     a triangle it is not a corner of, no two edges crossing;
//   - no hole seed strictly inside a triangle;
//   - without holes and with the convex hull's boundary covered by segments:
//     the triangles' areas add up to the hull's exactly, every input place is
//     a corner, and every segment is a chain of triangle edges through the
//     places on it; otherwise their areas add up to at most the hull's.
// With a tolerance tol = 2^-40 times the largest coordinate magnitude of a
// segment's ends, but at least 2e-60 (added vertices are crossings rounded to
// doubles, and near 0 to 0 or a magnitude of at least 1e-60):
//   - every edge on the boundary of the triangulated region runs along a
//     segment (both ends within tol of it);
//   - no triangle edge cuts a segment with both its ends farther than tol from
//     the segment's line;
//   - every added vertex lies within tol of at least two segments.
std::string CheckTriangulation(const PlanarGraph& graph, const std::vector<double>& added,
                               const std::vector<TriangleCorners>& triangles);

}  // namespace selvora_common
