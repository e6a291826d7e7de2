// Makes a planar straight-line graph one the triangulator takes without
// computing a crossing itself: no two segments cross, no point lies on a
// segment between its ends, no segment is given twice.
//
// It works as snap rounding does, on the grid of doubles. Where two segments
// cross, a vertex is added at the crossing rounded to doubles (from its exact
// value, exact_crossing.h), or the crossing is taken to a segment end a few
// steps of the grid away, and both segments are split there. Then every
// segment that passes through the box around a vertex (reaching to the next
// coordinates each way) is routed through that vertex, again and again until
// none does: a rounded crossing takes along the segments that pass close to
// it instead of leaving them crossing its new pieces. Routed segments rarely
// cross again; where they do, the next round rounds those crossings. Every
// test is decided exactly (Triangle's orientation predicate), so a graph that
// leaves here is free of crossings whatever the rounding did.
//
// A segment is only ever split into pieces whose bounds lie inside its own
// and are smaller, so routing cannot come back to a segment it split and
// ends. The rounds are bounded as well, and a graph that would go past the
// bound is reported (none of the drawings tried does).
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
