#include "selvora/tessellation/tessellation.h"

#include <cstddef>
#include <mutex>
#include <new>

#include "tessellation/buffers.h"
#include "tessellation/fatal_errors.h"
#include "tessellation/stack_room.h"
#include "tessellation/triangle_guard.h"
#include "tessellation/triangulator_input.h"

namespace {

// The triangulator keeps process-wide state during a call; one call at a time.
std::mutex g_tessellationMutex;

// The triangulator's predicates are exact only while their products of up to
// four coordinate differences neither overflow nor underflow, and its
// divide-and-conquer recursion never ends when all points stand at one place
// (duplicates are merged first, leaving one). Such input is refused.
bool TriangulatorCanTake(const double* xy, int numPoints) {
    bool allAtOnePlace = true;
    for (int i = 0; i < 2 * numPoints; ++i) {
        if (!OV_isTessellationCoordinate(xy[i])) return false;
        if (xy[i] != xy[i % 2]) allAtOnePlace = false;
    }
    return !allAtOnePlace;
}

// Runs the triangulator over the prepared input and copies the corners,
// numbered back to the caller's points, into `corners` (the triangles buffer)
// when they fit. Returns their count, or 0 (a run abandoned by the guard
// included).
int Triangulate(selvora::TriangulatorInput& input, int* corners) {
    // The triangulator allocates the output list itself: a result can hold
    // more triangles than the buffer (up to about twice the vertices, plus
    // vertices added where segments cross), and it is copied over only when
    // it fits.
    selvora_triangulation result{};
    if (!selvora_triangulate(input.Points(), input.NumPoints(), input.Segments(),
                             input.NumSegments(), input.Holes(), input.NumHoles(),
                             selvora::StackRoom(), &result)) {
        return 0;
    }
    int count = result.count;
    if (count < 0 || count > OV_TESSELLATION_MAX_TRIANGLES || (count > 0 && !result.corners)) {
        count = 0;
    } else {
        for (std::size_t k = 0; k < 3 * static_cast<std::size_t>(count); ++k) {
            corners[k] = input.InputIndex(result.corners[k]);
        }
    }
    selvora_triangulation_release();
    return count;
}

}  // namespace

void OV_getTessellationBuffer(double** points, int** segments, int** triangles, double** holes) {
    const selvora::TessellationBuffers& b = selvora::Buffers();
    if (points) *points = b.points;
    if (segments) *segments = b.segments;
    if (triangles) *triangles = b.triangles;
    if (holes) *holes = b.holes;
}

int OV_doTessellation(int numPoints, int numSegments, int numHoles) {
    const selvora::TessellationBuffers& b = selvora::Buffers();
    if (!b.points || !b.segments || !b.triangles || !b.holes) return 0;
    if (numPoints > OV_TESSELLATION_MAX_POINTS || numSegments < 0 ||
        numSegments > OV_TESSELLATION_MAX_SEGMENTS || numHoles < 0 ||
        numHoles > OV_TESSELLATION_MAX_HOLES) {
        return 0;
    }
    // The triangulator's own first check of its input, made before calling
    // it, so that it reports like every other fatal condition.
    if (numPoints < 3) selvora::Die(selvora::FatalKind::kExit, "transfernodes", 1);

    try {
        // Every read of the buffers, the check of the points included, and the
        // write of the triangles happen under the lock.
        std::lock_guard<std::mutex> lock(g_tessellationMutex);
        if (!TriangulatorCanTake(b.points, numPoints)) return 0;
        selvora::TriangulatorInput input(b.points, numPoints, b.segments, numSegments, b.holes,
                                         numHoles);
        if (input.NumPoints() < 3) return 0;  // two places: no triangle
        return Triangulate(input, b.triangles);
    } catch (const std::bad_alloc&) {
        selvora::Die(selvora::FatalKind::kOutOfMemory);
    } catch (...) {
        return 0;
    }
}
