// selvora tessellate: triangulates a .poly file through the library's buffers,
// with OV_doTessellation or, with --checked, OV_doTessellationChecked.
#include <cstdio>
#include <filesystem>

#include "commands.h"
#include "common/planar_graph.h"
#include "common/triangulation_check.h"
#include "poly_file.h"
#include "selvora/tessellation/tessellation.h"
#include "triangulation_svg.h"

namespace selvora_tool {

using selvora_common::CheckedTriangulation;
using selvora_common::PlanarGraph;
using selvora_common::TessellateCheckedInBuffers;
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

std::string AddedVertices(size_t n) {
    return std::to_string(n) + (n == 1 ? " added vertex" : " added vertices");
}

// The negative results of OV_doTessellationChecked: the constant's name and
// what it means.
struct CheckedCode {
    int code;
    const char* name;
    const char* meaning;
};

constexpr CheckedCode kCheckedCodes[] = {
    {OV_TESSELLATION_TOO_FEW_POINTS, "OV_TESSELLATION_TOO_FEW_POINTS",
     "a triangulation needs at least 3 points"},
    {OV_TESSELLATION_BAD_COUNT, "OV_TESSELLATION_BAD_COUNT",
     "a count is negative or above its buffer's capacity"},
    {OV_TESSELLATION_BAD_SEGMENT, "OV_TESSELLATION_BAD_SEGMENT", "a segment end names no point"},
    {OV_TESSELLATION_BAD_COORDINATE, "OV_TESSELLATION_BAD_COORDINATE",
     "a point or hole seed coordinate is NaN, infinite, or non-zero and out of the range "
     "OV_isTessellationCoordinate accepts"},
    {OV_TESSELLATION_TRIANGLES_FULL, "OV_TESSELLATION_TRIANGLES_FULL",
     "the triangles would not fit the triangles buffer"},
    {OV_TESSELLATION_POINTS_FULL, "OV_TESSELLATION_POINTS_FULL",
     "the points and the vertices added where segments cross would not fit the points buffer"},
    {OV_TESSELLATION_OUT_OF_MEMORY, "OV_TESSELLATION_OUT_OF_MEMORY", "memory ran out"},
    {OV_TESSELLATION_NO_BUFFERS, "OV_TESSELLATION_NO_BUFFERS",
     "the library could not allocate its buffers when it was loaded"},
    {OV_TESSELLATION_ABANDONED, "OV_TESSELLATION_ABANDONED",
     "the triangulation went beyond its bounds of work, recursion or stack, or failed even with "
     "the crossings resolved, and was abandoned"},
};

std::string CodeText(int code) {
    std::string text = "OV_doTessellationChecked returned " + std::to_string(code);
    for (const CheckedCode& c : kCheckedCodes) {
        if (c.code == code) return text + ", " + c.name + ": " + c.meaning;
    }
    return text + ", a code the library does not define";
}

// Whether the graph's lists fit the buffers (WriteToBuffers checks nothing).
bool FitsTheBuffers(const PlanarGraph& graph) {
    return graph.Points() <= OV_TESSELLATION_MAX_POINTS &&
           graph.Segments() <= OV_TESSELLATION_MAX_SEGMENTS &&
           graph.Holes() <= OV_TESSELLATION_MAX_HOLES;
}

void PrintCounts(const std::string& polyPath, const PlanarGraph& graph, size_t triangles) {
    std::printf("%s: %s, %s, %s\n", polyPath.c_str(), Counted(graph.Points(), "point").c_str(),
                Counted(graph.Segments(), "segment").c_str(),
                Counted(graph.Holes(), "hole").c_str());
    std::printf("%s\n", Counted(triangles, "triangle").c_str());
}

}  // namespace

int RunTessellate(const std::string& polyPath, const std::string& svgPath, bool checked) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(polyPath, ec)) {
        return Fail(polyPath + ": no such file");
    }
    PlanarGraph graph;
    std::string error;
    if (!ReadPolyFile(polyPath, graph, error)) return Fail(error);

    const std::string out = svgPath.empty() ? DefaultSvgPath(polyPath) : svgPath;
    const std::string title = std::filesystem::path(polyPath).filename().string();
    if (checked) {
        if (!FitsTheBuffers(graph)) {
            // Not written (it would not fit): the call is made with the counts
            // alone, which it refuses before reading the buffers.
            int added = 0;
            const int code =
                OV_doTessellationChecked(graph.Points(), graph.Segments(), graph.Holes(), &added);
            if (code < 0) return Fail(polyPath + ": " + CodeText(code));
            return Fail(polyPath + ": the graph is larger than the buffers, yet " +
                        "OV_doTessellationChecked returned " + std::to_string(code));
        }
        const CheckedTriangulation result = TessellateCheckedInBuffers(graph);
        if (result.result < 0) return Fail(polyPath + ": " + CodeText(result.result));
        if (!WriteTriangulationSvg(out, title, graph, result.triangles, result.added)) {
            return Fail("cannot write " + out);
        }
        PrintCounts(polyPath, graph, result.triangles.size());
        std::printf("%s\n", AddedVertices(result.added.size() / 2).c_str());
        std::printf("picture: %s\n", out.c_str());
        return 0;
    }

    std::vector<TriangleCorners> triangles;
    if (!Triangulate(graph, triangles, error)) return Fail(polyPath + ": " + error);
    if (!WriteTriangulationSvg(out, title, graph, triangles)) {
        return Fail("cannot write " + out);
    }
    PrintCounts(polyPath, graph, triangles.size());
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
