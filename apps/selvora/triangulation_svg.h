// The picture of a planar graph's triangulation.
#pragma once

#include <string>
#include <vector>

#include "common/planar_graph.h"

namespace selvora_tool {

// The triangles filled (those without added points), the input segments drawn
// over them, the hole seeds and the points marked.
bool WriteTriangulationSvg(const std::string& path, const std::string& title,
                           const selvora_common::PlanarGraph& graph,
                           const std::vector<selvora_common::TriangleCorners>& triangles);

}  // namespace selvora_tool
