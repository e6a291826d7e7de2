// Sampling a line of length 1,000,000 with step 1.0 (1,000,001 points):
// Line::PointSample by step against a hand-written loop with the same
// arithmetic (the same count, first offset and increment w = u * step, one
// running point advanced by w) into a std::vector<Point3d>.
//
// Every benchmark starts from a fresh container each iteration and sizes it
// once up front. BM_Line_HandLoopByStep reserves and pushes back, so its
// block is never cleared; the library array's SetSize hands out a zeroed
// block (calloc), which is part of the library's price.
// BM_Line_HandLoopByStepZeroed sizes its vector to n zeroed points first, the
// same work as the library array, and shows how much of a gap is that clearing.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "selvora/geometry/line.h"

namespace {

constexpr double kLineStep = 1.0;

// Direction (0.48, 0.6, 0.64), length 1,000,000, so that every coordinate moves.
Line BenchLine() {
    Point3d s(0.5, -1.25, 2.0);
    Point3d e(480000.5, 599998.75, 640002.0);
    return Line(s, e);
}

void HandLoop(Line& line, std::vector<Point3d>& points) {
    const double step = kLineStep;
    const int n = line.NSamples(step);
    if (n <= 0) return;
    points.reserve(static_cast<size_t>(n));
    const Point3d s = line.GetStart();
    points.push_back(s);
    if (n > 2) {
        const Vector3d u = line.GetDirection();
        const Vector3d w(u.x * step, u.y * step, u.z * step);
        const double e = line.Epsilon(step);
        double first = e;
        if (step * 0.5 > e) first = line.GetHalfLength() - (n - 3) * 0.5 * step;
        Point3d p(s.x + u.x * first, s.y + u.y * first, s.z + u.z * first);
        for (int i = 1; i < n - 1; ++i) {
            points.push_back(p);
            p.x += w.x;
            p.y += w.y;
            p.z += w.z;
        }
    }
    if (n == 1)
        points[0] = line.GetEnd();
    else
        points.push_back(line.GetEnd());
}

// The same loop into a vector sized once to n zero-initialised points, the
// state OvPnt3dArray::SetSize leaves its array in, written by index.
void HandLoopZeroed(Line& line, std::vector<Point3d>& points) {
    const double step = kLineStep;
    const int n = line.NSamples(step);
    if (n <= 0) return;
    points.assign(static_cast<size_t>(n), Point3d());
    Point3d* out = points.data();
    out[0] = line.GetStart();
    out[n - 1] = line.GetEnd();
    if (n <= 2) return;
    const Vector3d u = line.GetDirection();
    const Vector3d w(u.x * step, u.y * step, u.z * step);
    const double e = line.Epsilon(step);
    double first = e;
    if (step * 0.5 > e) first = line.GetHalfLength() - (n - 3) * 0.5 * step;
    Point3d p(out[0].x + u.x * first, out[0].y + u.y * first, out[0].z + u.z * first);
    for (int i = 1; i < n - 1; ++i) {
        out[i] = p;
        p.x += w.x;
        p.y += w.y;
        p.z += w.z;
    }
}

void BM_Line_PointSampleByStep(benchmark::State& state) {
    Line line = BenchLine();
    const int n = line.NSamples(kLineStep);
    for (auto _ : state) {
        OvPnt3dArray points;
        line.PointSample(kLineStep, points);
        if (points.GetSize() != n) state.SkipWithError("PointSample came up short");
        benchmark::DoNotOptimize(points.GetData());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
}

// Times a hand-written loop into a fresh vector each iteration, once checked
// to give the very same points as PointSample (the comparison is fair only
// then).
void TimeHandLoop(benchmark::State& state, void (*loop)(Line&, std::vector<Point3d>&)) {
    Line line = BenchLine();
    const int n = line.NSamples(kLineStep);
    {
        OvPnt3dArray library;
        line.PointSample(kLineStep, library);
        std::vector<Point3d> hand;
        loop(line, hand);
        if (library.GetSize() != n || hand.size() != static_cast<size_t>(n) ||
            std::memcmp(library.GetData(), hand.data(), sizeof(Point3d) * n) != 0)
            state.SkipWithError("the hand-written loop differs from PointSample");
    }
    for (auto _ : state) {
        std::vector<Point3d> points;
        loop(line, points);
        benchmark::DoNotOptimize(points.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
}

void BM_Line_HandLoopByStep(benchmark::State& state) { TimeHandLoop(state, HandLoop); }

void BM_Line_HandLoopByStepZeroed(benchmark::State& state) { TimeHandLoop(state, HandLoopZeroed); }

}  // namespace

// Warm storage on both sides: the array keeps its size from the previous call
// (PointSample then only writes) and the vector keeps its capacity, so only
// the sampling itself is timed, not the page faults of a fresh 24 MB block.
void BM_Line_PointSampleByStepWarm(benchmark::State& state) {
    Line line = BenchLine();
    const int n = line.NSamples(kLineStep);
    OvPnt3dArray points;
    for (auto _ : state) {
        line.PointSample(kLineStep, points);
        benchmark::DoNotOptimize(points.GetData());
        benchmark::ClobberMemory();
    }
    if (points.GetSize() != n) state.SkipWithError("PointSample came up short");
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
}

void BM_Line_HandLoopByStepWarm(benchmark::State& state) {
    Line line = BenchLine();
    const int n = line.NSamples(kLineStep);
    std::vector<Point3d> points;
    for (auto _ : state) {
        points.clear();
        HandLoop(line, points);
        benchmark::DoNotOptimize(points.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
}

BENCHMARK(BM_Line_PointSampleByStep)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Line_HandLoopByStep)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Line_HandLoopByStepZeroed)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Line_PointSampleByStepWarm)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Line_HandLoopByStepWarm)->Unit(benchmark::kMillisecond)->UseRealTime();
