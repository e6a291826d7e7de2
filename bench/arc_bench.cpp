// Sampling an arc into 1,000,000 points: GArc::PointSample by count against a
// hand-written loop with the same arithmetic (the arc's own matrix, the same
// angles, the library's own cos and sin, and the matrix-point product) into a
// std::vector<Point3d>.
// Both start from a fresh container every iteration and both size it once up
// front: the library array takes its block in one allocation, the vector
// reserves.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "kernel/math.h"
#include "selvora/geometry/arc.h"
#include "selvora/kernel/matrix3d.h"

namespace {

constexpr int kArcSamples = 1'000'000;

// A tilted arc, so that every entry of the matrix takes part.
GArc BenchArc() {
    Vector3d normal(1.0, 2.0, 2.0);
    return GArc(Point3d(1.0, -2.0, 3.0), 2.5, normal, Vector3d(0.6, 0.8, 0.0),
                Vector3d(-1.0, 0.5, 0.0));
}

void HandLoop(GArc& arc, std::vector<Point3d>& points) {
    const Matrix3d m = arc.GetTransformation();
    const double s = arc.GetStartAngle();
    const double e = arc.GetEndAngle();
    const double step = (e - s) / (kArcSamples - 1);
    points.reserve(kArcSamples);
    for (int i = 0; i < kArcSamples; ++i) {
        const double t = s + static_cast<double>(i) * step;
        points.push_back(m * Point3d(selvora::math::Cos(t), selvora::math::Sin(t), 0.0));
    }
}

void BM_ArcPointSample(benchmark::State& state) {
    GArc arc = BenchArc();
    for (auto _ : state) {
        OvPnt3dArray points;
        arc.PointSample(kArcSamples, points);
        if (points.GetSize() != kArcSamples) state.SkipWithError("PointSample came up short");
        benchmark::DoNotOptimize(points.GetData());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kArcSamples));
}

void BM_ArcHandLoop(benchmark::State& state) {
    GArc arc = BenchArc();
    {
        // The comparison is fair only if both compute the very same points.
        OvPnt3dArray library;
        arc.PointSample(kArcSamples, library);
        std::vector<Point3d> hand;
        HandLoop(arc, hand);
        if (library.GetSize() != kArcSamples ||
            std::memcmp(library.GetData(), hand.data(), sizeof(Point3d) * kArcSamples) != 0)
            state.SkipWithError("the hand-written loop differs from PointSample");
    }
    for (auto _ : state) {
        std::vector<Point3d> points;
        HandLoop(arc, points);
        benchmark::DoNotOptimize(points.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kArcSamples));
}

}  // namespace

BENCHMARK(BM_ArcPointSample)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ArcHandLoop)->Unit(benchmark::kMillisecond)->UseRealTime();
