// selvora tessellate: triangulates a .poly file through the library's buffers.
#include <cstdio>
#include <filesystem>

#include "commands.h"
#include "common/planar_graph.h"
#include "poly_file.h"
#include "triangulation_svg.h"

namespace selvora_tool {

using selvora_common::PlanarGraph;
using selvora_common::TriangleCorners;
using selvora_common::Triangulate;
using selvora_common::UsesAddedPoints;

namespace {

// "dir/A.poly" -> "A.svg" in the current directory: the input's folder may
// not be writable.
std::string DefaultSvgPath(const std::string& polyPath) {
    return std::filesystem::path(polyPath).filename().replace_extension(".svg").string();
}

std::string Counted(size_t n, const char* noun) {
    return std::to_string(n) + " " + noun + (n == 1 ? "" : "s");
}

}  // namespace

int RunTessellate(const std::string& polyPath, const std::string& svgPath) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(polyPath, ec)) {
        return Fail(polyPath + ": no such file");
    }
    PlanarGraph graph;
    std::string error;
    if (!ReadPolyFile(polyPath, graph, error)) return Fail(error);

    std::vector<TriangleCorners> triangles;
    if (!Triangulate(graph, triangles, error)) return Fail(polyPath + ": " + error);

    const std::string out = svgPath.empty() ? DefaultSvgPath(polyPath) : svgPath;
    const std::string title = std::filesystem::path(polyPath).filename().string();
    if (!WriteTriangulationSvg(out, title, graph, triangles)) {
        return Fail("cannot write " + out);
    }
    std::printf("%s: %s, %s, %s\n", polyPath.c_str(), Counted(graph.Points(), "point").c_str(),
                Counted(graph.Segments(), "segment").c_str(),
                Counted(graph.Holes(), "hole").c_str());
    std::printf("%s\n", Counted(triangles.size(), "triangle").c_str());
    size_t hidden = 0;
    for (const TriangleCorners& t : triangles) hidden += UsesAddedPoints(graph, t) ? 1 : 0;
    if (hidden > 0) {
        std::printf(
            "%zu of them use points added where segments cross, whose coordinates the library "
            "does not return: they are left out of the picture\n",
            hidden);
    }
    std::printf("picture: %s\n", out.c_str());
    return 0;
}

}  // namespace selvora_tool
