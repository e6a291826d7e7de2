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

// What OV_doTessellationChecked returns when it triangulates nothing. Every
// value is below zero; the buffers are then as they were.

/// Fewer than 3 points (a negative count included).
constexpr int OV_TESSELLATION_TOO_FEW_POINTS = -1;
/// A count of segments or holes below 0, or a count above its buffer's capacity.
constexpr int OV_TESSELLATION_BAD_COUNT = -2;
/// A segment end that names no point (below 0 or not below the point count).
constexpr int OV_TESSELLATION_BAD_SEGMENT = -3;
/// A point or hole seed coordinate that OV_isTessellationCoordinate refuses:
/// NaN, infinite, or out of its range.
constexpr int OV_TESSELLATION_BAD_COORDINATE = -4;
/// The triangles would not fit the triangles buffer.
constexpr int OV_TESSELLATION_TRIANGLES_FULL = -5;
/// The input points and the added vertices would not fit the points buffer.
constexpr int OV_TESSELLATION_POINTS_FULL = -6;
/// Memory ran out; nothing allocated by the call is kept.
constexpr int OV_TESSELLATION_OUT_OF_MEMORY = -7;
/// The library could not allocate the buffers when it was loaded.
constexpr int OV_TESSELLATION_NO_BUFFERS = -8;
/// The triangulation went beyond its bounds of work, recursion or the calling
/// thread's stack (see OV_doTessellation) and was abandoned.
constexpr int OV_TESSELLATION_ABANDONED = -9;

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
/// abandoned: the result is 0 and nothing it allocated is kept. A thread
/// needs about 160 KiB of stack left for any triangulation to start.
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

/// Triangulates like OV_doTessellation, but never ends the process, never
/// shows a message and reports what it cannot do. Returns the number of
/// triangles written to the triangles buffer (counter-clockwise, zero-based
/// corner indices), 0 when the points span no triangle (all at one place or on
/// one line), or one of the negative OV_TESSELLATION_* codes above.
///
/// Every planar straight-line graph whose coordinates OV_isTessellationCoordinate
/// accepts is triangulated: points on segments, segments overlapping along a
/// line, segments crossing at any angle, points at the same place. Where
/// segments cross, vertices are added; their coordinates are written to the
/// points buffer after the numPoints input points (x, y each), and their number
/// to *addedPoints (when addedPoints is not null; 0 on a negative result).
/// Triangle corners index that extended list. An added vertex is a crossing
/// point rounded to doubles; each segment then runs through the vertices added
/// on or beside it, and no two of the resulting pieces cross.
///
/// Wherever OV_doTessellation succeeds, this function returns the same count
/// and the same corners. It differs only where the other would end the
/// process, would return 0 after abandoning a run, or would return triangles
/// that are no triangulation of the graph (a triangle turned clockwise or
/// flat, a vertex added far from its crossing: the triangulator computes
/// crossings in floating point, which fails on graphs spanning many
/// magnitudes), and in returning the added vertices.
/// Holes carve as they do there.
///
/// Threads: as for OV_doTessellation. Calls of both functions are serialised
/// and read and write the buffers only under the library's lock, but a client
/// that uses the buffers from several threads must hold one lock of its own
/// around writing the input, the call and reading the triangles and added
/// vertices.
SELVORA_API int OV_doTessellationChecked(int numPoints, int numSegments, int numHoles,
                                         int* addedPoints);
