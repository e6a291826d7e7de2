// The picture of a planar graph's triangulation.
#pragma once

#include <string>
#include <vector>

#include "common/planar_graph.h"

namespace selvora_tool {

// The triangles filled, the input segments drawn over them, the hole seeds and
// the points marked. `added` holds x, y of the vertices the triangulation
// added where segments cross, numbered after the graph's points: triangles
// using them are drawn, and they are marked apart from the input points. A
// triangle naming a point beyond the graph's points and `added` (a vertex
// whose coordinates were not handed back) is left out.
bool WriteTriangulationSvg(const std::string& path, const std::string& title,
                           const selvora_common::PlanarGraph& graph,
                           const std::vector<selvora_common::TriangleCorners>& triangles,
                           const std::vector<double>& added = {});

}  // namespace selvora_tool
