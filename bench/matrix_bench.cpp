// The 4x4 kernels of Matrix3d against Eigen's Matrix4d on identical data:
// point transform, matrix product and inverse, each over a batch of kKernels
// inputs per iteration so that the loop measures throughput.
#include <benchmark/benchmark.h>

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "selvora/kernel/matrix3d.h"
#include "selvora/kernel/point3d.h"

namespace {

constexpr int kKernels = 1024;

using EigenMatrices = std::vector<Eigen::Matrix4d>;
using EigenVectors = std::vector<Eigen::Vector4d>;

// Eigen stores column-major by default; element (r, c) is m[r][c] in both.
Eigen::Matrix4d ToEigen(const Matrix3d& m) {
    Eigen::Matrix4d e;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) e(r, c) = m.m[r][c];
    return e;
}

// The same numbers in both representations. The transform is affine (bottom
// row 0 0 0 1), so Matrix4d * (x, y, z, 1) carries the same x, y, z as
// Matrix3d * Point3d. The factors are diagonally dominant, hence invertible.
struct Data {
    Matrix3d transform;
    std::vector<Point3d> points;
    std::vector<Matrix3d> a, b;

    Eigen::Matrix4d eTransform;
    EigenVectors ePoints;
    EigenMatrices eA, eB;

    bool consistent = true;  // both sides compute the same results
};

bool Close(double x, double y) { return std::fabs(x - y) <= 1e-9 * std::max(1.0, std::fabs(y)); }

bool Close(const Matrix3d& m, const Eigen::Matrix4d& e) {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            if (!Close(m.m[r][c], e(r, c))) return false;
    return true;
}

Data MakeData() {
    std::mt19937_64 engine(20240611);
    std::uniform_real_distribution<double> coord(-100.0, 100.0);
    std::uniform_real_distribution<double> entry(-1.0, 1.0);
    auto randomMatrix = [&] {
        Matrix3d m;
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) m.m[r][c] = entry(engine) + (r == c ? 4.0 : 0.0);
        return m;
    };

    Data d;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c) d.transform.m[r][c] = c == 3 ? coord(engine) : entry(engine);
    d.eTransform = ToEigen(d.transform);
    for (int i = 0; i < kKernels; ++i) {
        const Point3d p(coord(engine), coord(engine), coord(engine));
        d.points.push_back(p);
        d.ePoints.emplace_back(p.x, p.y, p.z, 1.0);
        d.a.push_back(randomMatrix());
        d.b.push_back(randomMatrix());
        d.eA.push_back(ToEigen(d.a.back()));
        d.eB.push_back(ToEigen(d.b.back()));
    }

    for (int i = 0; i < kKernels; ++i) {
        const Point3d p = d.transform * d.points[i];
        const Eigen::Vector4d v = d.eTransform * d.ePoints[i];
        const bool point = Close(p.x, v(0)) && Close(p.y, v(1)) && Close(p.z, v(2));
        const bool product = Close(d.a[i] * d.b[i], d.eA[i] * d.eB[i]);
        const bool inverse = Close(Matrix3d(d.a[i]).inverse(), d.eA[i].inverse());
        if (!point || !product || !inverse) d.consistent = false;
    }
    return d;
}

const Data& TheData() {
    static const Data data = MakeData();
    return data;
}

bool Ready(benchmark::State& state) {
    if (TheData().consistent) return true;
    state.SkipWithError("Matrix3d and Eigen disagree on the benchmark data");
    return false;
}

// Times one kernel over the batch: out[i] = kernel(i) for every input i, the
// results kept in a vector of Out (the kernel inlined into the loop).
template <typename Out, typename Kernel>
void TimeBatch(benchmark::State& state, Kernel kernel) {
    if (!Ready(state)) return;
    std::vector<Out> out(kKernels);
    for (auto _ : state) {
        for (int i = 0; i < kKernels; ++i) out[i] = kernel(i);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kKernels));
}

// --- Point transform -------------------------------------------------------

void BM_Matrix3d_TimesPoint3d(benchmark::State& state) {
    const Data& d = TheData();
    const Matrix3d m = d.transform;
    TimeBatch<Point3d>(state, [&](int i) { return m * d.points[i]; });
}

void BM_Eigen_Matrix4d_TimesVector4d(benchmark::State& state) {
    const Data& d = TheData();
    const Eigen::Matrix4d m = d.eTransform;
    TimeBatch<Eigen::Vector4d>(state, [&](int i) { return m * d.ePoints[i]; });
}

// --- Matrix product --------------------------------------------------------

void BM_Matrix3d_TimesMatrix3d(benchmark::State& state) {
    const Data& d = TheData();
    TimeBatch<Matrix3d>(state, [&](int i) { return d.a[i] * d.b[i]; });
}

void BM_Eigen_Matrix4d_TimesMatrix4d(benchmark::State& state) {
    const Data& d = TheData();
    TimeBatch<Eigen::Matrix4d>(state, [&](int i) { return d.eA[i] * d.eB[i]; });
}

// --- Inverse ---------------------------------------------------------------

void BM_Matrix3d_Inverse(benchmark::State& state) {
    std::vector<Matrix3d> in = TheData().a;  // inverse() is not const
    TimeBatch<Matrix3d>(state, [&](int i) { return in[i].inverse(); });
}

void BM_Eigen_Matrix4d_Inverse(benchmark::State& state) {
    const Data& d = TheData();
    TimeBatch<Eigen::Matrix4d>(state, [&](int i) { return d.eA[i].inverse(); });
}

}  // namespace

BENCHMARK(BM_Matrix3d_TimesPoint3d)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_Eigen_Matrix4d_TimesVector4d)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_Matrix3d_TimesMatrix3d)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_Eigen_Matrix4d_TimesMatrix4d)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_Matrix3d_Inverse)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_Eigen_Matrix4d_Inverse)->Unit(benchmark::kMicrosecond)->UseRealTime();

BENCHMARK_MAIN();
