#include "triangulation_svg.h"

#include <cstddef>

#include "svg.h"

namespace selvora_tool {

using selvora_common::PlanarGraph;
using selvora_common::TriangleCorners;
using selvora_common::UsesAddedPoints;

namespace {

// The x, y pairs of a flat list as points of the plane.
std::vector<PlanePoint> PlanePoints(const std::vector<double>& xy) {
    std::vector<PlanePoint> points(xy.size() / 2);
    for (std::size_t i = 0; i < points.size(); ++i) points[i] = {xy[2 * i], xy[2 * i + 1]};
    return points;
}

}  // namespace

bool WriteTriangulationSvg(const std::string& path, const std::string& title,
                           const PlanarGraph& graph,
                           const std::vector<TriangleCorners>& triangles) {
    const std::vector<PlanePoint> points = PlanePoints(graph.xy);
    const std::vector<PlanePoint> holes = PlanePoints(graph.holes);
    std::vector<PlanePoint> shown = points;
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
              ".hole { fill: none; stroke: #e67e22; stroke-width: " +
              svg.Px(2) + "; }");

    svg.BeginGroup("triangles");
    for (const TriangleCorners& t : triangles) {
        if (UsesAddedPoints(graph, t)) continue;  // no coordinates to draw it with
        svg.Polygon({points[t[0]], points[t[1]], points[t[2]]}, "triangle");
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
    svg.BeginGroup("holes");
    for (const PlanePoint& h : holes) svg.Dot(h, "hole", 0.01);
    svg.EndGroup();
    return svg.Save(path);
}

}  // namespace selvora_tool
