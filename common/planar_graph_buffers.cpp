// The graph handed to the library's tessellation interface through its four
// shared buffers.
#include "common/planar_graph.h"

#include <algorithm>
#include <cstdio>

#include "selvora/tessellation/tessellation.h"

namespace selvora_common {

namespace {

std::string Count(std::size_t n) { return std::to_string(n); }

// A magnitude as people write it: 1e75, 1e-60 (no "+", no leading zeros).
std::string Magnitude(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    std::string s = text;
    const std::size_t e = s.find('e');
    if (e == std::string::npos) return s;
    std::size_t digits = e + 1;
    const std::string sign = s[digits] == '-' ? "-" : "";
    if (s[digits] == '+' || s[digits] == '-') ++digits;
    while (digits + 1 < s.size() && s[digits] == '0') ++digits;
    return s.substr(0, e + 1) + sign + s.substr(digits);
}

// More than a buffer holds: says so in error.
bool TooMany(std::size_t count, int capacity, const char* what, std::string& error) {
    if (count <= std::size_t(capacity)) return false;
    error =
        Count(count) + " " + what + " are more than the " + Count(capacity) + " the buffer holds";
    return true;
}

bool CheckCounts(const PlanarGraph& graph, std::string& error) {
    const std::size_t points = graph.xy.size() / 2;
    const std::size_t segments = graph.segments.size() / 2;
    const std::size_t holes = graph.holes.size() / 2;
    if (points < 3) {
        error = "a triangulation needs at least 3 points, the graph has " + Count(points);
        return false;
    }
    if (TooMany(points, OV_TESSELLATION_MAX_POINTS, "points", error) ||
        TooMany(segments, OV_TESSELLATION_MAX_SEGMENTS, "segments", error) ||
        TooMany(holes, OV_TESSELLATION_MAX_HOLES, "holes", error)) {
        return false;
    }
    for (std::size_t i = 0; i < points; ++i) {
        if (!OV_isTessellationCoordinate(graph.xy[2 * i]) ||
            !OV_isTessellationCoordinate(graph.xy[2 * i + 1])) {
            error = "point " + Count(i) +
                    " has a coordinate the triangulator does not take (non-zero magnitudes run "
                    "from " +
                    Magnitude(OV_TESSELLATION_MIN_COORDINATE) + " to " +
                    Magnitude(OV_TESSELLATION_MAX_COORDINATE) + ")";
            return false;
        }
    }
    for (std::size_t i = 0; i < 2 * segments; ++i) {
        const int end = graph.segments[i];
        if (end < 0 || std::size_t(end) >= points) {
            error = "segment " + Count(i / 2) + " names point " + std::to_string(end) +
                    ", which does not exist";
            return false;
        }
    }
    return true;
}

}  // namespace

void WriteToBuffers(const PlanarGraph& graph) {
    double *points, *holes;
    int *segments, *triangles;
    OV_getTessellationBuffer(&points, &segments, &triangles, &holes);
    std::copy(graph.xy.begin(), graph.xy.end(), points);
    std::copy(graph.segments.begin(), graph.segments.end(), segments);
    std::copy(graph.holes.begin(), graph.holes.end(), holes);
}

int TessellateInBuffers(const PlanarGraph& graph) {
    WriteToBuffers(graph);
    return OV_doTessellation(graph.Points(), graph.Segments(), graph.Holes());
}

std::vector<TriangleCorners> TrianglesInBuffer(int count) {
    int* corners = nullptr;
    OV_getTessellationBuffer(nullptr, nullptr, &corners, nullptr);
    std::vector<TriangleCorners> triangles(count > 0 ? std::size_t(count) : 0);
    for (std::size_t k = 0; k < triangles.size(); ++k) {
        triangles[k] = {corners[3 * k], corners[3 * k + 1], corners[3 * k + 2]};
    }
    return triangles;
}

bool Triangulate(const PlanarGraph& graph, std::vector<TriangleCorners>& triangles,
                 std::string& error) {
    triangles.clear();
    if (!CheckCounts(graph, error)) return false;
    const int count = TessellateInBuffers(graph);
    // With the counts checked, 0 means no triangles or more than the buffer
    // holds; only a graph of that many points can reach the second.
    const std::size_t mostTriangles = 2 * (graph.xy.size() / 2) - 2;
    if (count == 0 && mostTriangles > std::size_t(OV_TESSELLATION_MAX_TRIANGLES)) {
        error = "no triangles came back: the triangulation may need more than the " +
                Count(OV_TESSELLATION_MAX_TRIANGLES) + " triangles the buffer holds";
        return false;
    }
    triangles = TrianglesInBuffer(count);
    return true;
}

}  // namespace selvora_common
