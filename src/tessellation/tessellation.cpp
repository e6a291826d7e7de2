#include "selvora/tessellation/tessellation.h"

#include <cstring>
#include <mutex>

#include "module/module.h"
#include "tessellation/fatal_errors.h"
#include "tessellation/triangulator_input.h"

#define ANSI_DECLARATORS
#define REAL double
#define VOID void
#include <triangle.h>

namespace {

// The triangulator keeps process-wide state during a call; one call at a time.
std::mutex g_tessellationMutex;

char kSwitches[] = "pzNPBQ";  // PSLG, zero-based, no vertex/segment/marker output, quiet

// The triangulator's predicates are exact only while their products of up to
// four coordinate differences neither overflow nor underflow, and its
// divide-and-conquer recursion never ends when all points stand at one place
// (duplicates are merged first, leaving one). Such input crashes or hangs it,
// so it is refused.
bool TriangulatorCanTake(const double* xy, int numPoints) {
    bool allAtOnePlace = true;
    for (int i = 0; i < 2 * numPoints; ++i) {
        if (!OV_isTessellationCoordinate(xy[i])) return false;
        if (xy[i] != xy[i % 2]) allAtOnePlace = false;
    }
    return !allAtOnePlace;
}

// Runs the triangulator and copies the corners, renumbered by inputIndex, into
// `corners` (the triangles buffer) when they fit. Returns their count, or 0.
template <class Renumber>
int Triangulate(double* xy, int numPoints, int* segments, int numSegments, double* holes,
                int numHoles, Renumber inputIndex, int* corners) {
    triangulateio in;
    std::memset(&in, 0, sizeof in);
    in.pointlist = xy;
    in.numberofpoints = numPoints;
    in.segmentlist = segments;
    in.numberofsegments = numSegments;
    in.holelist = numHoles > 0 ? holes : nullptr;
    in.numberofholes = numHoles;

    // The triangulator allocates the output list itself: a result can hold
    // more triangles than the buffer (up to about twice the vertices, plus
    // vertices added where segments cross), and it is copied over only when
    // it fits.
    triangulateio out;
    std::memset(&out, 0, sizeof out);
    try {
        triangulate(kSwitches, &in, &out, nullptr);
    } catch (...) {
        trifree(out.trianglelist);
        return 0;
    }

    int count = out.numberoftriangles;
    if (count < 0 || count > OV_TESSELLATION_MAX_TRIANGLES || (count > 0 && !out.trianglelist)) {
        count = 0;
    } else {
        for (size_t k = 0; k < 3 * static_cast<size_t>(count); ++k) {
            corners[k] = inputIndex(out.trianglelist[k]);
        }
    }
    trifree(out.trianglelist);
    trifree(out.triangleattributelist);
    trifree(out.neighborlist);
    trifree(out.pointlist);
    trifree(out.pointmarkerlist);
    trifree(out.segmentlist);
    trifree(out.segmentmarkerlist);
    trifree(out.edgelist);
    trifree(out.edgemarkerlist);
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
    if (!TriangulatorCanTake(b.points, numPoints)) return 0;

    std::lock_guard<std::mutex> lock(g_tessellationMutex);
    selvora::TriangulatorInput input(b.points, numPoints, b.segments, numSegments, b.holes,
                                     numHoles);
    if (input.NumPoints() < 3) return 0;  // two places: no triangle
    return Triangulate(
        input.Points(), input.NumPoints(), input.Segments(), input.NumSegments(), input.Holes(),
        input.NumHoles(), [&](int corner) { return input.InputIndex(corner); }, b.triangles);
}
