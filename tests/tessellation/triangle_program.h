// The `triangle` program (Debian package triangle-bin) run on a graph, and the
// graphs that the tests of OV_doTessellation and of OV_doTessellationChecked
// both compare with it.
#pragma once

#include <string>
#include <vector>

#include "common/planar_graph.h"

namespace selvora_test {

using selvora_common::PlanarGraph;
using selvora_common::TriangleCorners;

// The triangles as a sorted list, each rotated to start at its smallest
// index; the rotation keeps the orientation.
std::vector<TriangleCorners> Canonical(std::vector<TriangleCorners> triangles);

// Runs `triangle -<switches>` on a .poly file with the given text and reads
// the triangles of the .ele file it writes, as zero-based indices
// (firstNumber is the number of the file's first vertex). A failing run is a
// fatal test failure.
void RunTriangleProgram(const std::string& polyText, const std::string& switches, int firstNumber,
                        std::vector<TriangleCorners>* triangles);

// The same for a graph the program may fail on: false when it ends with an
// error, by a signal or (on Linux) after `seconds`, or writes no complete
// .ele file; *failure then says how. With switches that keep the .node file
// (no N), *added receives x, y of the vertices it added, numbered after the
// graph's points.
bool TryTriangleProgram(const PlanarGraph& g, const std::string& switches, int seconds,
                        std::vector<TriangleCorners>* triangles, std::vector<double>* added,
                        std::string* failure);

// The reference triangulation of g, with the switches the library uses.
void Reference(const PlanarGraph& g, std::vector<TriangleCorners>* triangles);

// A .poly file as Triangle reads it: the graph with indices made zero-based.
struct PolyFile {
    PlanarGraph graph;
    int firstNumber = 0;
};

void ReadPoly(const std::string& path, PolyFile* out);

// The corners of the square [0, 1000]^2 as a loop of segments and `count`
// distinct random points strictly inside it. The hull has exactly the four
// corners, so the triangulation has 2 * (count + 4) - 4 - 2 triangles.
PlanarGraph SquareWithInteriorPoints(int count, unsigned seed);

// Random points in a square with its boundary, plus short random segments
// between nearby points, each kept only if it crosses none kept before.
PlanarGraph RandomNonCrossingGraph(unsigned seed);

// Random points in a square with its boundary, plus long segments between
// random points that cross each other; *crossings receives how many pairs of
// them cross.
PlanarGraph RandomCrossingGraph(unsigned seed, int segments, int* crossings);

}  // namespace selvora_test
