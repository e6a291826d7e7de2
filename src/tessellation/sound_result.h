// Whether a run of the triangulator that ended well gave a triangulation.
//
// The triangulator decides every orientation exactly, but computes the
// crossing of two segments in floating point from their ends, and later
// crossings from vertices so computed. On graphs whose coordinates span many
// magnitudes such a vertex can land far from the crossing, on another vertex
// or beyond an edge, and the result is then no triangulation of the graph
// although the run ended without an error.
#pragma once

#include "tessellation/triangle_guard.h"
#include "tessellation/triangulator_input.h"

namespace selvora {

// True when `result` (a checked run over `input`, with its vertices) added no
// vertex: the run then decided everything exactly. Otherwise true when every
// triangle is strictly counter-clockwise in the returned coordinates, no
// vertex that is no corner lies inside or on a triangle, every added vertex is
// a coordinate the predicates take, at a place of its own, near two of the
// input's segments that cross each other (within 2^-42 of each one's larger
// end coordinate) with nothing of the graph between it and their exact
// crossing, and every segment is a chain of edges through vertices near it
// or, where it is not, crossed by no edge away from the vertices near it.
bool IsSound(const selvora_triangulation& result, TriangulatorInput& input);

}  // namespace selvora
