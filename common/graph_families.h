// Random planar graphs of the kinds that make the triangulator alone fail:
// segments crossing and overlapping, points on segments and at one place,
// crossings near one another, magnitudes far apart.
//
// Every value comes from std::mt19937's raw 32-bit outputs (no standard
// distribution, whose results differ between standard libraries) and from
// correctly rounded operations, so a seed gives the same graph on every
// platform.
#pragma once

#include "common/planar_graph.h"

namespace selvora_common {

// `segments` random segments between points of the unit square snapped to a
// 0.01 grid (x = k / 100.0), in an enclosing rectangle when `framed` (the
// unit square's outline, as four segments). Segment ends often reuse an
// earlier point or repeat one's place.
PlanarGraph GridSnappedSegments(unsigned seed, int segments, bool framed);

// Random segments between points of a 0.5 grid in a rectangle of 2 to 9 by 2
// to 9 units, whose outline is four segments: many points on segments and
// segments overlapping along a line.
PlanarGraph HalfGridSegments(unsigned seed, int segments);

// `points` points of mixed magnitudes, each coordinate 0 (or -0), a small
// integer (0 to 7) or a mantissa 1 + k / 256 times 10^e with e in [-60, 75]
// (clamped to the coordinates the triangulator takes), and `segments` random
// segments among them; indices all valid, no hole.
PlanarGraph MixedMagnitudes(unsigned seed, int points, int segments);

// `segments` random segments between points of the square [0, size]^2, whose
// outline is four segments; with `snapped`, the points lie on a grid of
// 0.01 * size (x = k * size / 100).
PlanarGraph RandomCrossings(unsigned seed, int segments, double size, bool snapped);

}  // namespace selvora_common
