// selvora demo: the library's two end-to-end uses, printed step by step and
// drawn. An arc is built, rotated, sampled, saved and loaded back; an outline
// with a hole is triangulated through the process-wide buffers.
#include <selvora/selvora.h>
#include <cstdio>
#include <filesystem>

#include "commands.h"
#include "common/planar_graph.h"
#include "poly_file.h"
#include "svg.h"
#include "triangulation_svg.h"

namespace selvora_tool {

using selvora_common::PlanarGraph;
using selvora_common::TriangleCorners;
using selvora_common::Triangulate;

namespace {

void Print(const char* label, const Point3d& p) {
    std::printf("  %-28s (%.17g, %.17g, %.17g)\n", label, p.x, p.y, p.z);
}

void Print(const char* label, const Vector3d& v) {
    std::printf("  %-28s <%.17g, %.17g, %.17g>\n", label, v.x, v.y, v.z);
}

std::vector<PlanePoint> Plane(OvPnt3dArray& points) {
    std::vector<PlanePoint> plane;
    for (int i = 0; i < points.GetSize(); ++i) plane.push_back({points[i].x, points[i].y});
    return plane;
}

// Both sample runs with their polylines, dots and centres; the arcs lie in
// the XY plane, so the picture is the view from +Z.
bool DrawArcs(const std::string& path, OvPnt3dArray& before, const Point3d& centreBefore,
              OvPnt3dArray& after, const Point3d& centreAfter) {
    std::vector<PlanePoint> a = Plane(before), b = Plane(after);
    std::vector<PlanePoint> all = a;
    all.insert(all.end(), b.begin(), b.end());
    all.push_back({centreBefore.x, centreBefore.y});
    all.push_back({centreAfter.x, centreAfter.y});
    all.push_back({0.0, 0.0});  // the rotation axis
    double minX, minY, maxX, maxY;
    SvgPicture::Bounds(all, minX, minY, maxX, maxY);
    SvgPicture svg(minX, minY, maxX, maxY);
    svg.Title("A half-circle arc, sampled before and after a quarter turn about the Z axis");
    svg.Style("polyline { fill: none; stroke-width: " + svg.Px(1.5) + "; }\n" +
              "#before polyline { stroke: #5b7fa6; } #before .sample { fill: #1f4e79; }\n" +
              "#after polyline { stroke: #c0392b; } #after .sample { fill: #922b21; }\n" +
              ".centre { fill: none; stroke: #555; stroke-width: " + svg.Px(1) + "; }\n" +
              ".axis { fill: #555; } text { fill: #333; font-family: sans-serif; }");
    const struct {
        const char* id;
        const std::vector<PlanePoint>& points;
        Point3d centre;
    } runs[] = {{"before", a, centreBefore}, {"after", b, centreAfter}};
    for (const auto& run : runs) {
        svg.BeginGroup(run.id);
        svg.Polyline(run.points, "arc");
        for (const PlanePoint& p : run.points) svg.Dot(p, "sample");
        svg.Dot({run.centre.x, run.centre.y}, "centre", 0.012);
        svg.Label({run.centre.x, run.centre.y}, run.id, "label");
        svg.EndGroup();
    }
    svg.BeginGroup("axis");
    svg.Dot({0.0, 0.0}, "axis", 0.01);
    svg.EndGroup();
    return svg.Save(path);
}

// The arc of the typical use: built, rotated, sampled, saved and loaded.
int ArcDemo(const std::filesystem::path& dir) {
    std::printf("An arc built, rotated, sampled, saved and loaded\n");
    Vector3d normal(0, 0, 1);
    GArc arc(Point3d(2, 0, 0), 1.5, normal, Vector3d(1, 0, 0), Vector3d(-1, 0, 0));
    std::printf("  %-28s centre (2, 0, 0), radius %g, angles %.17g to %.17g\n", "half circle",
                arc.GetRadius(), arc.GetStartAngle(), arc.GetEndAngle());
    std::printf("  %-28s %.17g\n", "length", arc.GetLength());

    const double spacing = 0.25;
    OvPnt3dArray before;
    arc.PointSample(spacing, before);
    std::printf("  %-28s %d points, spacing %g\n", "sampled before", before.GetSize(), spacing);
    const Point3d centreBefore = arc.GetCenter();

    Matrix3d turn;
    turn.setToRotation(1.5707963267948966, Point3d(0, 0, 0), Vector3d(0, 0, 1));
    arc.transformBy(turn);
    Print("centre after a quarter turn", arc.GetCenter());
    Print("normal after the turn", arc.GetNormal());
    Print("start direction", arc.GetStartV());
    Print("end direction", arc.GetEndV());

    OvPnt3dArray after;
    arc.PointSample(spacing, after);
    std::printf("  %-28s %d points\n", "sampled after", after.GetSize());
    Print("first sample", after[0]);
    Print("last sample", after[after.GetSize() - 1]);

    const std::string recordPath = (dir / "arc.rec").string();
    FILE* stream = std::fopen(recordPath.c_str(), "w+b");
    if (!stream) return Fail("cannot write " + recordPath);
    arc.Save(stream);
    const long bytes = std::ftell(stream);
    std::rewind(stream);
    GArc loaded;
    loaded.Load(stream);
    std::fclose(stream);
    std::printf("  %-28s %ld bytes in %s; loaded copy equal: %s\n", "saved record", bytes,
                recordPath.c_str(), loaded == arc ? "yes" : "no");

    const std::string picture = (dir / "arc.svg").string();
    if (!DrawArcs(picture, before, centreBefore, after, arc.GetCenter())) {
        return Fail("cannot write " + picture);
    }
    return 0;
}

// An outline sampled from a circle, with a square hole in the middle.
PlanarGraph Outline() {
    PlanarGraph graph;
    Vector3d normal(0, 0, 1);
    Circle rim(Point3d(0, 0, 0), 10.0, normal, Point3d(), Point3d());
    OvPnt3dArray rimPoints;
    rim.PointSample(24, rimPoints);
    for (int i = 0; i < rimPoints.GetSize(); ++i) graph.AddPoint(rimPoints[i].x, rimPoints[i].y);
    graph.AddLoop(0, rimPoints.GetSize());
    graph.AddRectangle(-4, -4, 4, 4);
    graph.AddHole(0, 0);
    return graph;
}

int TessellationDemo(const std::filesystem::path& dir) {
    std::printf("\nAn outline with a hole triangulated through the buffers\n");
    const PlanarGraph graph = Outline();
    std::printf("  %-28s %d points, %d segments, %d hole\n", "circle of 24 with a square",
                graph.Points(), graph.Segments(), graph.Holes());
    std::vector<TriangleCorners> triangles;
    std::string error;
    if (!Triangulate(graph, triangles, error)) return Fail(error);
    std::printf("  %-28s %zu triangles\n", "OV_doTessellation", triangles.size());
    for (size_t k = 0; k < triangles.size() && k < 4; ++k) {
        std::printf("    triangle %zu: corners %d %d %d\n", k, triangles[k][0], triangles[k][1],
                    triangles[k][2]);
    }
    if (triangles.size() > 4) std::printf("    ...\n");

    const std::string poly = (dir / "outline.poly").string();
    if (!WritePolyFile(poly, graph)) return Fail("cannot write " + poly);
    const std::string picture = (dir / "tessellation.svg").string();
    if (!WriteTriangulationSvg(picture, "A circle with a square hole", graph, triangles)) {
        return Fail("cannot write " + picture);
    }
    return 0;
}

}  // namespace

int RunDemo(const std::string& outDir) {
    const std::filesystem::path dir(outDir);
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    if (ec || !std::filesystem::is_directory(dir, ec)) {
        return Fail("cannot create the folder " + outDir);
    }
    if (int status = ArcDemo(dir)) return status;
    if (int status = TessellationDemo(dir)) return status;
    std::printf("\nPictures: %s\n          %s\n", (dir / "arc.svg").string().c_str(),
                (dir / "tessellation.svg").string().c_str());
    std::printf("Next:     selvora records %s --as GArc\n          selvora tessellate %s\n",
                (dir / "arc.rec").string().c_str(), (dir / "outline.poly").string().c_str());
    return 0;
}

}  // namespace selvora_tool
