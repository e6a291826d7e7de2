// OV_doTessellation against a direct call of Debian's packaged libtriangle
// with the same input and switches. The library compiles Triangle in and runs
// it under its guard (bounds on recursion and work, allocations kept per
// call), and adds the count checks, the preparation of the input, the lock and
// copying the result into the shared triangles buffer.
//
// And OV_doTessellationChecked against OV_doTessellation on graphs where both
// succeed, with and without crossings: the checked call runs the same
// triangulation first and resolves crossings itself only when Triangle fails,
// so there its cost over the plain call is its own checks and bookkeeping
// (and handing back the added vertices).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

#include "selvora/tessellation/tessellation.h"

#define ANSI_DECLARATORS
#define REAL double
#define VOID void
#include <triangle.h>

namespace {

// 50,000 vertices: the square [0, 1000]^2 as a loop of segments, four square
// holes of side 350 (each a loop with a seed at its centre) and random points
// all over the square. About half of the points fall inside the holes, so the
// triangles left fit the library's triangles buffer.
struct Input {
    std::vector<double> points;
    std::vector<int> segments;
    std::vector<double> holes;

    int Points() const { return static_cast<int>(points.size() / 2); }
    int Segments() const { return static_cast<int>(segments.size() / 2); }
    int Holes() const { return static_cast<int>(holes.size() / 2); }

    void AddSquare(double x0, double y0, double side) {
        const int first = Points();
        const double xs[4] = {x0, x0 + side, x0 + side, x0};
        const double ys[4] = {y0, y0, y0 + side, y0 + side};
        for (int k = 0; k < 4; ++k) {
            points.push_back(xs[k]);
            points.push_back(ys[k]);
            segments.push_back(first + k);
            segments.push_back(first + (k + 1) % 4);
        }
    }
};

const Input& TheInput() {
    static const Input input = [] {
        Input in;
        in.AddSquare(0, 0, 1000);
        for (double x0 : {100.0, 550.0}) {
            for (double y0 : {100.0, 550.0}) {
                in.AddSquare(x0, y0, 350);
                in.holes.push_back(x0 + 175);
                in.holes.push_back(y0 + 175);
            }
        }
        std::mt19937 rng(2024);
        std::uniform_real_distribution<double> coordinate(1, 999);
        while (in.Points() < 50000) {
            in.points.push_back(coordinate(rng));
            in.points.push_back(coordinate(rng));
        }
        return in;
    }();
    return input;
}

// The triangulator called directly the way the library calls it: it
// allocates the output list, which is freed afterwards.
int TriangulateDirectly(const Input& input) {
    triangulateio in{};
    in.pointlist = const_cast<double*>(input.points.data());  // read only
    in.numberofpoints = input.Points();
    in.segmentlist = const_cast<int*>(input.segments.data());
    in.numberofsegments = input.Segments();
    in.holelist = input.Holes() > 0 ? const_cast<double*>(input.holes.data()) : nullptr;
    in.numberofholes = input.Holes();
    triangulateio out{};
    char switches[] = "pzNPBQ";
    triangulate(switches, &in, &out, nullptr);
    const int count = out.numberoftriangles;
    trifree(out.trianglelist);
    trifree(out.triangleattributelist);
    trifree(out.neighborlist);
    trifree(out.pointlist);
    trifree(out.pointmarkerlist);
    trifree(out.segmentlist);
    trifree(out.segmentmarkerlist);
    trifree(out.edgelist);
    trifree(out.edgemarkerlist);
    return count;
}

void WriteToBuffers(const Input& input) {
    double* points = nullptr;
    int* segments = nullptr;
    double* holes = nullptr;
    OV_getTessellationBuffer(&points, &segments, nullptr, &holes);
    std::copy(input.points.begin(), input.points.end(), points);
    std::copy(input.segments.begin(), input.segments.end(), segments);
    std::copy(input.holes.begin(), input.holes.end(), holes);
}

// Both ways must give the same, non-zero number of triangles before either
// is timed.
bool SameCounts(benchmark::State& state) {
    const Input& input = TheInput();
    WriteToBuffers(input);
    const int library = OV_doTessellation(input.Points(), input.Segments(), input.Holes());
    const int direct = TriangulateDirectly(input);
    if (library <= 0 || library != direct) {
        state.SkipWithError("the library and the direct call disagree on the triangle count");
        return false;
    }
    state.counters["triangles"] = library;
    return true;
}

void BM_OvDoTessellation(benchmark::State& state) {
    if (!SameCounts(state)) return;
    const Input& input = TheInput();
    WriteToBuffers(input);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            OV_doTessellation(input.Points(), input.Segments(), input.Holes()));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_OvDoTessellation)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_TriangulateDirect(benchmark::State& state) {
    if (!SameCounts(state)) return;
    const Input& input = TheInput();
    for (auto _ : state) {
        benchmark::DoNotOptimize(TriangulateDirectly(input));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_TriangulateDirect)->Unit(benchmark::kMillisecond)->UseRealTime();

// 3,000 short segments crossing each other in the square [0, 1000]^2 (about
// 700 crossings), for the vertices added at crossings: each from a random
// point to one up to 20 away each way. The coordinates are taken from the
// generator's raw 32-bit outputs, so the graph is the same with every
// standard library; OV_doTessellation triangulates it.
const Input& Crossings() {
    static const Input input = [] {
        Input in;
        in.AddSquare(0, 0, 1000);
        std::mt19937 rng(7);
        const auto unit = [&rng] { return static_cast<double>(rng()) / 4294967296.0; };
        for (int k = 0; k < 3000; ++k) {
            const double x = 20 + 960 * unit(), y = 20 + 960 * unit();
            const int first = in.Points();
            in.points.insert(in.points.end(), {x, y, x + 40 * unit() - 20, y + 40 * unit() - 20});
            in.segments.insert(in.segments.end(), {first, first + 1});
        }
        return in;
    }();
    return input;
}

std::vector<int> TrianglesInBuffer(int count) {
    int* triangles = nullptr;
    OV_getTessellationBuffer(nullptr, nullptr, &triangles, nullptr);
    return std::vector<int>(triangles, triangles + 3 * std::max(count, 0));
}

// The checked call must give the plain call's triangles (and, on a graph
// without crossings, add no vertex) before either is timed.
bool SameAsPlain(benchmark::State& state, const Input& input, bool crossings) {
    WriteToBuffers(input);
    const int plain = OV_doTessellation(input.Points(), input.Segments(), input.Holes());
    const std::vector<int> plainCorners = TrianglesInBuffer(plain);
    WriteToBuffers(input);
    int added = -1;
    const int checked =
        OV_doTessellationChecked(input.Points(), input.Segments(), input.Holes(), &added);
    if (plain <= 0 || checked != plain || (added > 0) != crossings ||
        TrianglesInBuffer(checked) != plainCorners) {
        state.SkipWithError("OV_doTessellationChecked and OV_doTessellation disagree");
        return false;
    }
    state.counters["triangles"] = checked;
    state.counters["added"] = added;
    return true;
}

void TimePlain(benchmark::State& state, const Input& input) {
    WriteToBuffers(input);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            OV_doTessellation(input.Points(), input.Segments(), input.Holes()));
        benchmark::ClobberMemory();
    }
}

void TimeChecked(benchmark::State& state, const Input& input) {
    WriteToBuffers(input);
    int added = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            OV_doTessellationChecked(input.Points(), input.Segments(), input.Holes(), &added));
        benchmark::ClobberMemory();
    }
}

// The graph with holes, as BM_OvDoTessellation times it.
void BM_OvDoTessellationChecked(benchmark::State& state) {
    if (SameAsPlain(state, TheInput(), false)) TimeChecked(state, TheInput());
}
BENCHMARK(BM_OvDoTessellationChecked)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_OvDoTessellationCrossings(benchmark::State& state) {
    if (SameAsPlain(state, Crossings(), true)) TimePlain(state, Crossings());
}
BENCHMARK(BM_OvDoTessellationCrossings)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_OvDoTessellationCheckedCrossings(benchmark::State& state) {
    if (SameAsPlain(state, Crossings(), true)) TimeChecked(state, Crossings());
}
BENCHMARK(BM_OvDoTessellationCheckedCrossings)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
