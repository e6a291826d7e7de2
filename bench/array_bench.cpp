// Appending points one at a time: OvPnt3dArray::Add against
// std::vector<Point3d>::push_back, both starting from an empty container.
#include <benchmark/benchmark.h>

#include <vector>

#include "selvora/foundation/ov_array.h"
#include "selvora/kernel/point3d.h"

namespace {

constexpr int kPoints = 10'000'000;

// Cheap to compute, different for every index, so the appends dominate.
inline Point3d PointAt(int i) {
    const double d = static_cast<double>(i);
    return Point3d(d, d + 1.0, d + 2.0);
}

void BM_OvPnt3dArray_Add(benchmark::State& state) {
    for (auto _ : state) {
        OvPnt3dArray points;  // fresh, default growth step
        for (int i = 0; i < kPoints; ++i) points.Add(PointAt(i));
        if (points.GetSize() != kPoints) state.SkipWithError("OvPnt3dArray::Add failed to grow");
        benchmark::DoNotOptimize(points.GetData());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kPoints));
}

void BM_StdVector_PushBack(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<Point3d> points;  // fresh, no reserve
        for (int i = 0; i < kPoints; ++i) points.push_back(PointAt(i));
        benchmark::DoNotOptimize(points.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kPoints));
}

}  // namespace

BENCHMARK(BM_OvPnt3dArray_Add)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();
BENCHMARK(BM_StdVector_PushBack)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();

BENCHMARK_MAIN();
