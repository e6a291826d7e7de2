/// \file
/// Constrained Delaunay triangulation of a planar straight-line graph through
/// four process-wide buffers that the library owns.
#pragma once

#include "selvora/export.h"

// What the buffers hold. Counts above these are refused.

/// Points the points buffer holds, as x, y doubles.
constexpr int OV_TESSELLATION_MAX_POINTS = 65536;
/// Segments the segments buffer holds, two vertex indices each.
constexpr int OV_TESSELLATION_MAX_SEGMENTS = 65536;
/// Triangles the triangles buffer holds, three vertex indices each.
constexpr int OV_TESSELLATION_MAX_TRIANGLES = 65536;
/// Hole seeds the holes buffer holds: x, y of a point inside each hole.
constexpr int OV_TESSELLATION_MAX_HOLES = 3000;
/// The largest magnitude of a point coordinate that is triangulated: beyond it
/// the triangulator's exact arithmetic would overflow.
constexpr double OV_TESSELLATION_MAX_COORDINATE = 1e75;
/// The smallest magnitude of a non-zero point coordinate that is triangulated:
/// below it the triangulator's exact arithmetic would underflow.
constexpr double OV_TESSELLATION_MIN_COORDINATE = 1e-60;

/// True when v is a coordinate the triangulation takes: 0, or a magnitude from
/// OV_TESSELLATION_MIN_COORDINATE to OV_TESSELLATION_MAX_COORDINATE (so never
/// NaN or infinite).
inline bool OV_isTessellationCoordinate(double v) {
    const double size = v < 0 ? -v : v;
    return v == 0.0 ||
           (size >= OV_TESSELLATION_MIN_COORDINATE && size <= OV_TESSELLATION_MAX_COORDINATE);
}

/// Stores the addresses of the four buffers. They exist from library load to
/// unload and keep their addresses. A null argument is skipped; a buffer the
/// library could not allocate at load comes back null.
SELVORA_API void OV_getTessellationBuffer(double** points, int** segments, int** triangles,
                                          double** holes);

/// Triangulates the first numPoints points, numSegments segments and numHoles
/// hole seeds written into the buffers, with segments as constraints and holes
/// carved out. Returns the number of triangles whose zero-based corner indices
/// (counter-clockwise) now stand in the triangles buffer; 0 when a count is
/// above its capacity, a segment or hole count is negative, a point coordinate
/// is NaN, beyond ±OV_TESSELLATION_MAX_COORDINATE or non-zero and nearer to 0
/// than OV_TESSELLATION_MIN_COORDINATE, all points are the same point, or the
/// result would not fit.
///
/// Points at the same place count once: triangles name one of them (the
/// first, when a segment ends at that place). A segment given twice counts
/// once; hole seeds strictly outside the points' convex hull carve nothing.
/// Where segments cross, points are added; they are numbered after the input
/// points and their coordinates are not returned.
///
/// A triangulation whose recursion or work would go beyond bounds in
/// proportion to its input, or beyond the calling thread's stack, is
/// abandoned: the result is 0 and nothing it allocated is kept.
///
/// Fewer than 3 points (a negative count included), running out of memory, or
/// an internal error of the triangulator (a search around a vertex that never
/// ends included) reports on stderr and ends the process with status 1.
///
/// Threads: calls are serialised, and the library reads and writes the
/// buffers only under its own lock. But the buffers are one set for the whole
/// process: a client that uses them from several threads must hold one lock of
/// its own around writing the input, the call and reading the triangles, or
/// one thread's call may triangulate another thread's graph or overwrite its
/// triangles.
SELVORA_API int OV_doTessellation(int numPoints, int numSegments, int numHoles);
