// A planar straight-line graph laid out as the tessellation interface takes
// it, its hand-over through the library's four shared buffers, and the
// triangulation of a graph checked first, with a message for what the
// buffers or the triangulator cannot take.
//
// WriteToBuffers, TessellateInBuffers, TrianglesInBuffer and Triangulate call
// the library's tessellation functions: a program that makes them links the
// library (Selvora100_64) itself.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace selvora_common {

// Flat lists, as the buffers hold them.
struct PlanarGraph {
    std::vector<double> xy;     // x, y of each point
    std::vector<int> segments;  // two zero-based point indices each
    std::vector<double> holes;  // x, y of a seed point inside each hole

    int Points() const { return static_cast<int>(xy.size() / 2); }
    int Segments() const { return static_cast<int>(segments.size() / 2); }
    int Holes() const { return static_cast<int>(holes.size() / 2); }
    double X(int i) const { return xy[2 * static_cast<std::size_t>(i)]; }
    double Y(int i) const { return xy[2 * static_cast<std::size_t>(i) + 1]; }

    // Returns the new point's index.
    int AddPoint(double x, double y) {
        xy.push_back(x);
        xy.push_back(y);
        return Points() - 1;
    }
    void AddSegment(int a, int b) {
        segments.push_back(a);
        segments.push_back(b);
    }
    void AddHole(double x, double y) {
        holes.push_back(x);
        holes.push_back(y);
    }
    // Segments joining `count` consecutive points from `first` into a loop.
    void AddLoop(int first, int count) {
        for (int k = 0; k < count; ++k) AddSegment(first + k, first + (k + 1) % count);
    }
    // An axis-parallel rectangle as a loop of four points, counter-clockwise
    // from (x0, y0).
    void AddRectangle(double x0, double y0, double x1, double y1) {
        const int first = AddPoint(x0, y0);
        AddPoint(x1, y0);
        AddPoint(x1, y1);
        AddPoint(x0, y1);
        AddLoop(first, 4);
    }
};

// The three corner indices of a triangle, counter-clockwise. Points the
// triangulator adds where segments cross are numbered after the graph's own.
using TriangleCorners = std::array<int, 3>;

// Copies the graph into the buffers of OV_getTessellationBuffer as it is:
// nothing is checked, not even that it fits.
void WriteToBuffers(const PlanarGraph& graph);

// WriteToBuffers, then OV_doTessellation with the graph's counts: its result.
int TessellateInBuffers(const PlanarGraph& graph);

// The first `count` triangles of the triangles buffer.
std::vector<TriangleCorners> TrianglesInBuffer(int count);

// Triangulates the graph through the buffers. Counts the buffers cannot take,
// fewer than three points, coordinates the triangulator refuses and segment
// ends that name no point are refused with a message in `error` before the
// triangulator is called. No triangles back from a graph whose triangulation
// might need more than the triangles buffer holds is a failure too.
bool Triangulate(const PlanarGraph& graph, std::vector<TriangleCorners>& triangles,
                 std::string& error);

// Whether t uses a point the triangulator added: their coordinates are not
// handed back, so such a triangle cannot be drawn.
bool UsesAddedPoints(const PlanarGraph& graph, const TriangleCorners& t);

// The graph in the .poly format of the Triangle program, vertices numbered
// from 0, without attributes or boundary markers, each list behind a comment;
// every coordinate written so that it reads back the same.
std::string PolyText(const PlanarGraph& graph);

}  // namespace selvora_common
