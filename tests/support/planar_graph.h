// A planar straight-line graph as the tessellation interface takes it, and
// the call that hands one over through the four shared buffers.
#pragma once

#include <algorithm>
#include <vector>

#include "selvora/tessellation/tessellation.h"

namespace selvora_test {

struct PlanarGraph {
    std::vector<double> xy;     // x, y of each vertex
    std::vector<int> segments;  // two vertex indices each
    std::vector<double> holes;  // x, y of a seed in each hole
};

// Copies g into the shared buffers and triangulates it: OV_doTessellation's
// result.
inline int TessellateInBuffers(const PlanarGraph& g) {
    double *points, *holes;
    int *segments, *triangles;
    OV_getTessellationBuffer(&points, &segments, &triangles, &holes);
    std::copy(g.xy.begin(), g.xy.end(), points);
    std::copy(g.segments.begin(), g.segments.end(), segments);
    std::copy(g.holes.begin(), g.holes.end(), holes);
    return OV_doTessellation(static_cast<int>(g.xy.size() / 2),
                             static_cast<int>(g.segments.size() / 2),
                             static_cast<int>(g.holes.size() / 2));
}

}  // namespace selvora_test
