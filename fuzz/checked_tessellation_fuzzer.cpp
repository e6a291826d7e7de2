// Feeds OV_doTessellationChecked graphs made from arbitrary bytes
// (graph_decoder.h) and checks every answer. The call must never end the
// process, so it runs here, in the fuzzer's own process.
//
// Whether the graph is valid is decided here, independently of the library:
// at least 3 points, every segment end naming one of them, every point and
// hole seed coordinate 0 or of a magnitude from OV_TESSELLATION_MIN_COORDINATE
// to OV_TESSELLATION_MAX_COORDINATE (so not NaN or infinite). The decoder's
// counts always fit the buffers. A finding (abort) is:
//   - an invalid graph with a result that is not negative, or whose code
//     names none of the faults it has;
//   - a valid graph with a negative result, or triangles and added vertices
//     that CheckTriangulation (common/triangulation_check.h) does not accept
//     as a triangulation of the graph;
// and, as for every fuzzer, a crash, a hang, a sanitizer report or a leak.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "common/planar_graph.h"
#include "common/triangulation_check.h"
#include "graph_decoder.h"
#include "selvora/selvora.h"

namespace {

using selvora_common::CheckedTriangulation;
using selvora_common::PlanarGraph;

// The faults of a graph, as the codes that may report them.
struct Faults {
    bool tooFewPoints = false;
    bool badSegment = false;
    bool badCoordinate = false;

    bool Any() const { return tooFewPoints || badSegment || badCoordinate; }

    // Whether `code` reports one of the faults present.
    bool Names(int code) const {
        return (tooFewPoints && code == OV_TESSELLATION_TOO_FEW_POINTS) ||
               (badSegment && code == OV_TESSELLATION_BAD_SEGMENT) ||
               (badCoordinate && code == OV_TESSELLATION_BAD_COORDINATE);
    }
};

// 0, or a magnitude in the range the triangulator's exact arithmetic takes;
// NaN fails both comparisons.
bool AcceptedCoordinate(double v) {
    if (v == 0.0) return true;
    const double size = v < 0 ? -v : v;
    return size >= OV_TESSELLATION_MIN_COORDINATE && size <= OV_TESSELLATION_MAX_COORDINATE;
}

Faults FaultsOf(const PlanarGraph& g) {
    Faults f;
    f.tooFewPoints = g.Points() < 3;
    for (int end : g.segments) f.badSegment |= end < 0 || end >= g.Points();
    for (double v : g.xy) f.badCoordinate |= !AcceptedCoordinate(v);
    for (double v : g.holes) f.badCoordinate |= !AcceptedCoordinate(v);
    return f;
}

[[noreturn]] void Finding(const PlanarGraph& g, const std::string& what) {
    std::fprintf(stderr, "%s\nthe graph:\n%s", what.c_str(), selvora_common::PolyText(g).c_str());
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const PlanarGraph g = selvora_fuzz::Decode(data, size);
    const Faults faults = FaultsOf(g);
    const CheckedTriangulation t = selvora_common::TessellateCheckedInBuffers(g);
    const std::string result = "OV_doTessellationChecked returned " + std::to_string(t.result);
    if (faults.Any()) {
        if (!faults.Names(t.result)) Finding(g, result + " for an invalid graph");
        return 0;
    }
    if (t.result < 0) Finding(g, result + " for a valid graph");
    if (t.triangles.size() != static_cast<std::size_t>(t.result)) {
        Finding(g, result + " but " + std::to_string(t.triangles.size()) + " triangles were read");
    }
    const std::string fault = selvora_common::CheckTriangulation(g, t.added, t.triangles);
    if (!fault.empty()) Finding(g, result + ", not a triangulation of the graph: " + fault);
    return 0;
}
