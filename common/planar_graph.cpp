#include "common/planar_graph.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace selvora_common {

namespace {

// Adds printf's text for format and the values (a line or two) to text.
#if defined(__GNUC__)
__attribute__((format(printf, 2, 3)))
#endif
void AddLines(std::string& text, const char* format, ...) {
    char lines[160];
    std::va_list values;
    va_start(values, format);
    const int n = std::vsnprintf(lines, sizeof lines, format, values);
    va_end(values);
    if (n > 0) text.append(lines, std::min(std::size_t(n), sizeof lines - 1));
}

}  // namespace

// What needs no call of the library. The calls are in planar_graph_buffers.cpp,
// an object of its own, so that a program that only reads or writes graphs
// (the .poly reader's fuzzer) links without the library.

bool UsesAddedPoints(const PlanarGraph& graph, const TriangleCorners& t) {
    for (int corner : t) {
        if (corner < 0 || corner >= graph.Points()) return true;
    }
    return false;
}

std::string PolyText(const PlanarGraph& graph) {
    const std::size_t points = graph.xy.size() / 2;
    const std::size_t segments = graph.segments.size() / 2;
    const std::size_t holes = graph.holes.size() / 2;
    std::string text;
    AddLines(text, "# %zu vertices: number, x, y\n%zu 2 0 0\n", points, points);
    for (std::size_t i = 0; i < points; ++i) {
        AddLines(text, "%zu %.17g %.17g\n", i, graph.xy[2 * i], graph.xy[2 * i + 1]);
    }
    AddLines(text, "# segments: number, first and second vertex\n%zu 0\n", segments);
    for (std::size_t i = 0; i < segments; ++i) {
        AddLines(text, "%zu %d %d\n", i, graph.segments[2 * i], graph.segments[2 * i + 1]);
    }
    AddLines(text, "# holes: number, x, y of a point inside\n%zu\n", holes);
    for (std::size_t i = 0; i < holes; ++i) {
        AddLines(text, "%zu %.17g %.17g\n", i, graph.holes[2 * i], graph.holes[2 * i + 1]);
    }
    return text;
}

}  // namespace selvora_common
