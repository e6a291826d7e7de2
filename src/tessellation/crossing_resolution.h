// Makes a planar straight-line graph one the triangulator takes without
// computing a crossing itself: no two segments cross, no point lies on a
// segment between its ends, no segment is given twice.
//
// Where two segments cross, a vertex is added at the crossing rounded to
// doubles and both are split there. A segment that passes through the small
// box around a vertex (a unit in the last place of its coordinates each way)
// is split at that vertex as well, as snap rounding routes a segment through
// the hot pixels it meets: a rounded crossing then takes along the segments
// that pass close to it instead of leaving them crossing its new pieces. The
// rounds repeat until one finds nothing to split; every test is decided
// exactly (Triangle's orientation predicate), so a graph that leaves here is
// free of crossings whatever the rounding did.
#pragma once

#include <vector>

namespace selvora {

struct ResolvedGraph {
    // x, y of each vertex added at a crossing, numbered after the input points.
    std::vector<double> added;
    // The pieces of the segments, two indices each into the input points
    // followed by the added vertices; points at one place are named by the
    // first of them.
    std::vector<int> segments;
};

enum class Resolution {
    kDone,
    kTooManyPoints,  // the added vertices would take the points past `maxPoints`
    kUnsettled       // the rounds went on past their bound
};

// Resolves the graph of numPoints points (x, y each, all accepted by
// OV_isTessellationCoordinate) and numSegments segments (indices checked by
// the caller) into `out`.
Resolution ResolveCrossings(const double* xy, int numPoints, const int* segments, int numSegments,
                            int maxPoints, ResolvedGraph& out);

}  // namespace selvora
