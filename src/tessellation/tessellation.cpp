#include "selvora/tessellation/tessellation.h"

#include <cstring>
#include <mutex>

#include "module/module.h"
#include "tessellation/fatal_errors.h"

#define ANSI_DECLARATORS
#define REAL double
#define VOID void
#include <triangle.h>

namespace {

// The triangulator keeps process-wide state during a call; one call at a time.
std::mutex g_tessellationMutex;

char kSwitches[] = "pzNPBQ";  // PSLG, zero-based, no vertex/segment/marker output, quiet

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

    std::lock_guard<std::mutex> lock(g_tessellationMutex);

    triangulateio in;
    std::memset(&in, 0, sizeof in);
    in.pointlist = b.points;
    in.numberofpoints = numPoints;
    in.segmentlist = b.segments;
    in.numberofsegments = numSegments;
    in.holelist = numHoles > 0 ? b.holes : nullptr;
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
    } else if (count > 0) {
        std::memcpy(b.triangles, out.trianglelist, sizeof(int) * 3 * static_cast<size_t>(count));
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
