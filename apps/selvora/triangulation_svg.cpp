#include "triangulation_svg.h"

#include <cstddef>

#include "svg.h"

namespace selvora_tool {

using selvora_common::PlanarGraph;
using selvora_common::TriangleCorners;

namespace {

// The x, y pairs of a flat list as points of the plane.
std::vector<PlanePoint> PlanePoints(const std::vector<double>& xy) {
    std::vector<PlanePoint> points(xy.size() / 2);
    for (std::size_t i = 0; i < points.size(); ++i) points[i] = {xy[2 * i], xy[2 * i + 1]};
    return points;
}

// Whether every corner of t names one of `count` known points.
bool Drawable(const TriangleCorners& t, std::size_t count) {
    for (int corner : t) {
        if (corner < 0 || static_cast<std::size_t>(corner) >= count) return false;
    }
    return true;
}

}  // namespace

bool WriteTriangulationSvg(const std::string& path, const std::string& title,
                           const PlanarGraph& graph, const std::vector<TriangleCorners>& triangles,
                           const std::vector<double>& added) {
    const std::vector<PlanePoint> points = PlanePoints(graph.xy);
    const std::vector<PlanePoint> holes = PlanePoints(graph.holes);
    const std::vector<PlanePoint> addedPoints = PlanePoints(added);
    // The input points, then the added ones: the list the corners index.
    std::vector<PlanePoint> known = points;
    known.insert(known.end(), addedPoints.begin(), addedPoints.end());
    std::vector<PlanePoint> shown = known;
    shown.insert(shown.end(), holes.begin(), holes.end());
    double minX, minY, maxX, maxY;
    SvgPicture::Bounds(shown, minX, minY, maxX, maxY);
    SvgPicture svg(minX, minY, maxX, maxY);
    svg.Title(title + ": " + std::to_string(triangles.size()) + " triangles");
    svg.Style(".triangle { fill: #dce9f5; stroke: #5b7fa6; stroke-width: " + svg.Px(0.8) +
              "; stroke-linejoin: round; }\n"
              ".segment { stroke: #c0392b; stroke-width: " +
              svg.Px(2.5) +
              "; stroke-linecap: round; }\n"
              ".vertex { fill: #1f2d3d; }\n"
              ".added { fill: #27ae60; stroke: #ffffff; stroke-width: " +
              svg.Px(0.8) +
              "; }\n"
              ".hole { fill: none; stroke: #e67e22; stroke-width: " +
              svg.Px(2) + "; }");

    svg.BeginGroup("triangles");
    for (const TriangleCorners& t : triangles) {
        if (!Drawable(t, known.size())) continue;  // no coordinates to draw it with
        svg.Polygon({known[t[0]], known[t[1]], known[t[2]]}, "triangle");
    }
    svg.EndGroup();
    svg.BeginGroup("segments");
    for (std::size_t i = 0; i + 1 < graph.segments.size(); i += 2) {
        svg.Segment(points[graph.segments[i]], points[graph.segments[i + 1]], "segment");
    }
    svg.EndGroup();
    svg.BeginGroup("vertices");
    for (const PlanePoint& p : points) svg.Dot(p, "vertex", 0.004);
    svg.EndGroup();
    if (!addedPoints.empty()) {
        // Drawn over the input points and a little larger, in their own colour.
        svg.BeginGroup("added");
        for (const PlanePoint& p : addedPoints) svg.Dot(p, "added", 0.006);
        svg.EndGroup();
    }
    svg.BeginGroup("holes");
    for (const PlanePoint& h : holes) svg.Dot(h, "hole", 0.01);
    svg.EndGroup();
    return svg.Save(path);
}

}  // namespace selvora_tool
