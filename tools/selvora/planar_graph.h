// A planar straight-line graph (points, constraining segments, hole seeds),
// its triangulation through the library's buffers, and its picture.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "svg.h"

namespace selvora_tool {

struct PlanarGraph {
    std::vector<PlanePoint> points;
    std::vector<std::array<int, 2>> segments;  // zero-based point indices
    std::vector<PlanePoint> holes;             // a seed point inside each hole
};

using TriangleCorners = std::array<int, 3>;

// Writes the graph into the buffers of OV_getTessellationBuffer and runs
// OV_doTessellation. Counts the buffers cannot take, fewer than three points
// and segment ends that name no point are refused with a message in `error`
// before the triangulator is called.
bool Triangulate(const PlanarGraph& graph, std::vector<TriangleCorners>& triangles,
                 std::string& error);

// Where segments cross, the triangulator adds points, numbered after the
// input's; their coordinates are not handed back, so triangles using them
// cannot be drawn.
bool UsesAddedPoints(const PlanarGraph& graph, const TriangleCorners& t);

// The triangles filled (those without added points), the input segments drawn
// over them, the hole seeds and the points marked.
bool WriteTriangulationSvg(const std::string& path, const std::string& title,
                           const PlanarGraph& graph, const std::vector<TriangleCorners>& triangles);

}  // namespace selvora_tool
