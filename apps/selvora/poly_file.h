// Planar straight-line graphs in the .poly text format of the Triangle
// program: a vertex list, a segment list and a hole list, each behind a
// header line of counts; '#' starts a comment.
#pragma once

#include <string>

#include "common/planar_graph.h"

namespace selvora_tool {

// Reads path into graph. Vertices are numbered from 0 or 1, as the first
// vertex sets, and must follow in order; attributes and boundary markers are
// read past, as is anything after the hole list (regional attributes). A
// vertex count of 0 takes the vertices from the .node file of the same name.
// On failure returns false with "file:line: what is wrong" in error.
bool ReadPolyFile(const std::string& path, selvora_common::PlanarGraph& graph, std::string& error);

// Writes graph as selvora_common::PolyText has it.
bool WritePolyFile(const std::string& path, const selvora_common::PlanarGraph& graph);

}  // namespace selvora_tool
