#include "planar_graph.h"

#include <selvora/selvora.h>

#include <cstdio>

namespace selvora_tool {

namespace {

std::string Count(size_t n) { return std::to_string(n); }

// A magnitude as people write it: 1e75, 1e-60 (no "+", no leading zeros).
std::string Magnitude(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    std::string s = text;
    const size_t e = s.find('e');
    if (e == std::string::npos) return s;
    size_t digits = e + 1;
    const std::string sign = s[digits] == '-' ? "-" : "";
    if (s[digits] == '+' || s[digits] == '-') ++digits;
    while (digits + 1 < s.size() && s[digits] == '0') ++digits;
    return s.substr(0, e + 1) + sign + s.substr(digits);
}

bool CheckCounts(const PlanarGraph& graph, std::string& error) {
    const size_t points = graph.points.size();
    if (points < 3) {
        error = "a triangulation needs at least 3 points, the graph has " + Count(points);
        return false;
    }
    if (points > size_t(OV_TESSELLATION_MAX_POINTS)) {
        error = Count(points) + " points are more than the " + Count(OV_TESSELLATION_MAX_POINTS) +
                " the buffer holds";
        return false;
    }
    if (graph.segments.size() > size_t(OV_TESSELLATION_MAX_SEGMENTS)) {
        error = Count(graph.segments.size()) + " segments are more than the " +
                Count(OV_TESSELLATION_MAX_SEGMENTS) + " the buffer holds";
        return false;
    }
    if (graph.holes.size() > size_t(OV_TESSELLATION_MAX_HOLES)) {
        error = Count(graph.holes.size()) + " holes are more than the " +
                Count(OV_TESSELLATION_MAX_HOLES) + " the buffer holds";
        return false;
    }
    for (size_t i = 0; i < points; ++i) {
        const PlanePoint& p = graph.points[i];
        if (!OV_isTessellationCoordinate(p.x) || !OV_isTessellationCoordinate(p.y)) {
            error = "point " + Count(i) +
                    " has a coordinate the triangulator does not take (non-zero magnitudes run "
                    "from " +
                    Magnitude(OV_TESSELLATION_MIN_COORDINATE) + " to " +
                    Magnitude(OV_TESSELLATION_MAX_COORDINATE) + ")";
            return false;
        }
    }
    for (size_t i = 0; i < graph.segments.size(); ++i) {
        for (int end : graph.segments[i]) {
            if (end < 0 || size_t(end) >= points) {
                error = "segment " + Count(i) + " names point " + std::to_string(end) +
                        ", which does not exist";
                return false;
            }
        }
    }
    return true;
}

}  // namespace

bool UsesAddedPoints(const PlanarGraph& graph, const TriangleCorners& t) {
    for (int corner : t) {
        if (corner < 0 || size_t(corner) >= graph.points.size()) return true;
    }
    return false;
}

bool Triangulate(const PlanarGraph& graph, std::vector<TriangleCorners>& triangles,
                 std::string& error) {
    triangles.clear();
    if (!CheckCounts(graph, error)) return false;

    double *points, *holes;
    int *segments, *corners;
    OV_getTessellationBuffer(&points, &segments, &corners, &holes);
    for (size_t i = 0; i < graph.points.size(); ++i) {
        points[2 * i] = graph.points[i].x;
        points[2 * i + 1] = graph.points[i].y;
    }
    for (size_t i = 0; i < graph.segments.size(); ++i) {
        segments[2 * i] = graph.segments[i][0];
        segments[2 * i + 1] = graph.segments[i][1];
    }
    for (size_t i = 0; i < graph.holes.size(); ++i) {
        holes[2 * i] = graph.holes[i].x;
        holes[2 * i + 1] = graph.holes[i].y;
    }
    const int count = OV_doTessellation(int(graph.points.size()), int(graph.segments.size()),
                                        int(graph.holes.size()));
    // With the counts checked, 0 means no triangles or more than the buffer
    // holds; only a graph of that many points can reach the second.
    const size_t mostTriangles = 2 * graph.points.size() - 2;
    if (count == 0 && mostTriangles > size_t(OV_TESSELLATION_MAX_TRIANGLES)) {
        error = "no triangles came back: the triangulation may need more than the " +
                Count(OV_TESSELLATION_MAX_TRIANGLES) + " triangles the buffer holds";
        return false;
    }
    triangles.resize(size_t(count));
    for (int k = 0; k < count; ++k) {
        triangles[k] = {corners[3 * k], corners[3 * k + 1], corners[3 * k + 2]};
    }
    return true;
}

bool WriteTriangulationSvg(const std::string& path, const std::string& title,
                           const PlanarGraph& graph,
                           const std::vector<TriangleCorners>& triangles) {
    std::vector<PlanePoint> shown = graph.points;
    shown.insert(shown.end(), graph.holes.begin(), graph.holes.end());
    double minX, minY, maxX, maxY;
    SvgPicture::Bounds(shown, minX, minY, maxX, maxY);
    SvgPicture svg(minX, minY, maxX, maxY);
    svg.Title(title + ": " + Count(triangles.size()) + " triangles");
    svg.Style(".triangle { fill: #dce9f5; stroke: #5b7fa6; stroke-width: " + svg.Px(0.8) +
              "; stroke-linejoin: round; }\n"
              ".segment { stroke: #c0392b; stroke-width: " +
              svg.Px(2.5) +
              "; stroke-linecap: round; }\n"
              ".vertex { fill: #1f2d3d; }\n"
              ".hole { fill: none; stroke: #e67e22; stroke-width: " +
              svg.Px(2) + "; }");

    svg.BeginGroup("triangles");
    for (const TriangleCorners& t : triangles) {
        if (UsesAddedPoints(graph, t)) continue;  // no coordinates to draw it with
        svg.Polygon({graph.points[t[0]], graph.points[t[1]], graph.points[t[2]]}, "triangle");
    }
    svg.EndGroup();
    svg.BeginGroup("segments");
    for (const auto& s : graph.segments) {
        svg.Segment(graph.points[s[0]], graph.points[s[1]], "segment");
    }
    svg.EndGroup();
    svg.BeginGroup("vertices");
    for (const PlanePoint& p : graph.points) svg.Dot(p, "vertex", 0.004);
    svg.EndGroup();
    svg.BeginGroup("holes");
    for (const PlanePoint& h : graph.holes) svg.Dot(h, "hole", 0.01);
    svg.EndGroup();
    return svg.Save(path);
}

}  // namespace selvora_tool
