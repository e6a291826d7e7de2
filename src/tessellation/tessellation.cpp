#include "selvora/tessellation/tessellation.h"

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <new>
#include <vector>

#include "tessellation/buffers.h"
#include "tessellation/crossing_resolution.h"
#include "tessellation/fatal_errors.h"
#include "tessellation/sound_result.h"
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

// What a checked triangulation gives back: the triangles' corners, numbered
// as the caller's points (the added vertices after them), and the added
// vertices' coordinates.
struct CheckedResult {
    std::vector<int> corners;
    std::vector<double> added;
};

// Runs the triangulator without letting it end the process. `numCallerPoints`
// is how many points precede the vertices the triangulator adds in the
// caller's numbering. Returns a count of triangles or a negative code; the
// triangulator's own failure, and a result that is no triangulation
// (IsSound), come back as OV_TESSELLATION_ABANDONED.
int TriangulateChecked(selvora::TriangulatorInput& input, int numCallerPoints, CheckedResult& out) {
    selvora_triangulation result{};
    switch (selvora_triangulate_checked(input.Points(), input.NumPoints(), input.Segments(),
                                        input.NumSegments(), input.Holes(), input.NumHoles(),
                                        selvora::StackRoom(), &result)) {
        case SELVORA_RUN_DONE:
            break;
        case SELVORA_RUN_OUT_OF_MEMORY:
            return OV_TESSELLATION_OUT_OF_MEMORY;
        default:
            return OV_TESSELLATION_ABANDONED;
    }
    // Released however this ends, a failed allocation included.
    struct Release {
        ~Release() { selvora_triangulation_release(); }
    } release;
    const int count = result.count;
    if (count < 0 || (count > 0 && !result.corners) || result.numPoints < input.NumPoints() ||
        !result.xy || !selvora::IsSound(result, input)) {
        return OV_TESSELLATION_ABANDONED;
    }
    if (count > OV_TESSELLATION_MAX_TRIANGLES) return OV_TESSELLATION_TRIANGLES_FULL;
    const int addedHere = result.numPoints - input.NumPoints();
    if (addedHere > OV_TESSELLATION_MAX_POINTS - numCallerPoints) {
        return OV_TESSELLATION_POINTS_FULL;
    }
    out.corners.resize(3 * static_cast<std::size_t>(count));
    for (std::size_t k = 0; k < out.corners.size(); ++k) {
        out.corners[k] = input.InputIndex(result.corners[k]);
    }
    out.added.insert(out.added.end(), result.xy + 2 * static_cast<std::size_t>(input.NumPoints()),
                     result.xy + 2 * static_cast<std::size_t>(result.numPoints));
    return count;
}

// The checks of the checked call that need no triangulation: 0 when the
// input is one to triangulate, else its negative code.
int CheckInput(const selvora::TessellationBuffers& b, int numPoints, int numSegments,
               int numHoles) {
    if (!b.points || !b.segments || !b.triangles || !b.holes) return OV_TESSELLATION_NO_BUFFERS;
    if (numPoints < 3) return OV_TESSELLATION_TOO_FEW_POINTS;
    if (numPoints > OV_TESSELLATION_MAX_POINTS || numSegments < 0 ||
        numSegments > OV_TESSELLATION_MAX_SEGMENTS || numHoles < 0 ||
        numHoles > OV_TESSELLATION_MAX_HOLES) {
        return OV_TESSELLATION_BAD_COUNT;
    }
    for (int k = 0; k < 2 * numSegments; ++k) {
        if (b.segments[k] < 0 || b.segments[k] >= numPoints) return OV_TESSELLATION_BAD_SEGMENT;
    }
    for (int i = 0; i < 2 * numPoints; ++i) {
        if (!OV_isTessellationCoordinate(b.points[i])) return OV_TESSELLATION_BAD_COORDINATE;
    }
    for (int i = 0; i < 2 * numHoles; ++i) {
        if (!OV_isTessellationCoordinate(b.holes[i])) return OV_TESSELLATION_BAD_COORDINATE;
    }
    return 0;
}

// True when the points span no triangle: all at one place or on one line.
bool SpanNoTriangle(const double* xy, int numPoints) {
    const double* a = xy;
    const double* b = nullptr;
    for (int i = 1; i < numPoints && !b; ++i) {
        const double* p = xy + 2 * static_cast<std::size_t>(i);
        if (p[0] != a[0] || p[1] != a[1]) b = p;
    }
    if (!b) return true;
    for (int i = 1; i < numPoints; ++i) {
        if (selvora_triangle_orientation(a, b, xy + 2 * static_cast<std::size_t>(i)) != 0) {
            return false;
        }
    }
    return true;
}

// The checked triangulation of the buffers' graph: first as OV_doTessellation
// runs it, and when the triangulator fails there, again over the graph with
// its crossings resolved.
int TessellateChecked(const selvora::TessellationBuffers& b, int numPoints, int numSegments,
                      int numHoles, CheckedResult& out) {
    if (SpanNoTriangle(b.points, numPoints)) return 0;
    {
        selvora::TriangulatorInput input(b.points, numPoints, b.segments, numSegments, b.holes,
                                         numHoles);
        const int count = TriangulateChecked(input, numPoints, out);
        if (count != OV_TESSELLATION_ABANDONED) return count;
    }
    selvora::ResolvedGraph resolved;
    switch (selvora::ResolveCrossings(b.points, numPoints, b.segments, numSegments,
                                      OV_TESSELLATION_MAX_POINTS, resolved)) {
        case selvora::Resolution::kDone:
            break;
        case selvora::Resolution::kTooManyPoints:
            return OV_TESSELLATION_POINTS_FULL;
        case selvora::Resolution::kUnsettled:
            return OV_TESSELLATION_ABANDONED;
    }
    std::vector<double> xy(b.points, b.points + 2 * static_cast<std::size_t>(numPoints));
    xy.insert(xy.end(), resolved.added.begin(), resolved.added.end());
    const int extended = static_cast<int>(xy.size() / 2);
    selvora::TriangulatorInput input(xy.data(), extended, resolved.segments.data(),
                                     static_cast<int>(resolved.segments.size() / 2), b.holes,
                                     numHoles);
    out.corners.clear();
    out.added = resolved.added;
    return TriangulateChecked(input, extended, out);
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

int OV_doTessellationChecked(int numPoints, int numSegments, int numHoles, int* addedPoints) {
    if (addedPoints) *addedPoints = 0;
    try {
        std::lock_guard<std::mutex> lock(g_tessellationMutex);
        const selvora::TessellationBuffers& b = selvora::Buffers();
        const int refused = CheckInput(b, numPoints, numSegments, numHoles);
        if (refused != 0) return refused;
        CheckedResult result;
        const int count = TessellateChecked(b, numPoints, numSegments, numHoles, result);
        if (count < 0) return count;
        const int added = static_cast<int>(result.added.size() / 2);
        if (added > OV_TESSELLATION_MAX_POINTS - numPoints) return OV_TESSELLATION_POINTS_FULL;
        std::copy(result.corners.begin(), result.corners.end(), b.triangles);
        std::copy(result.added.begin(), result.added.end(),
                  b.points + 2 * static_cast<std::size_t>(numPoints));
        if (addedPoints) *addedPoints = added;
        return count;
    } catch (const std::bad_alloc&) {
        return OV_TESSELLATION_OUT_OF_MEMORY;
    } catch (...) {
        return OV_TESSELLATION_ABANDONED;
    }
}
