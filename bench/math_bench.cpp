// The library's own trigonometric functions (src/kernel/math.h) against the C
// runtime's, glibc's on Linux, on the same arguments. For each function and
// range there is one array of kArguments arguments, drawn once from a
// fixed-seed generator; every benchmark iteration calls the function on all of
// them, and both sides read the very same array.
//
// Throughput (BM_Selvora_Sin_TwoPi, BM_Glibc_Sin_TwoPi, ...): the calls are
// independent and their results are summed, so the processor overlaps
// consecutive calls, as in the library's curve sampling.
// Latency (..._Latency): each argument depends on the previous result,
// x[i] + r * zero with an opaque zero, so the calls run one after the other.
// The multiply and the add of that chain cost the same on both sides;
// BM_LatencyChain times them alone (an identity function in the same loop)
// and bench/run.sh subtracts its time before comparing.
//
// Both sides are called through a function pointer the compiler cannot see
// through: neither is inlined, folded or specialised, and both pay the same
// indirect call. Before timing, the library's results are checked against
// glibc's: both are within an ulp of the exact value, so they may differ by
// at most a couple of ulps; more means the function is broken and the
// benchmark stops with an error rather than time a wrong answer.
//
// The glibc side exists only where glibc is the C runtime. On Windows the
// program times the library's functions alone, and bench/run-windows.sh
// compares those times with Linux's.
#include <benchmark/benchmark.h>
#include <math.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "kernel/math.h"

#if defined(__GLIBC__)
#define SELVORA_BENCH_GLIBC 1
#else
#define SELVORA_BENCH_GLIBC 0
#endif

namespace {

// Arguments per range: 32 KiB per array, which stays in the level-1 or level-2
// cache, so that the loads cost next to nothing.
constexpr int kArguments = 4096;

constexpr double kTwoPi = 6.283185307179586;     // 2 pi rounded to double
constexpr double kPiOver4 = 0.7853981633974483;  // pi / 4 rounded to double

using Unary = double (*)(double);
using Binary = double (*)(double, double);
using Arguments = std::shared_ptr<const std::vector<double>>;

// SplitMix64 (Steele, Lea and Flood, 2014). Its own arithmetic on uint64_t
// gives the same arguments on every platform and with every standard library,
// which std::uniform_real_distribution does not promise; the Windows times are
// compared with the Linux ones on the same arguments.
class Random {
  public:
    explicit Random(uint64_t seed) : state_(seed) {}

    uint64_t Next() {
        uint64_t z = (state_ += 0x9e3779b97f4a7c15ULL);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
        return z ^ (z >> 31);
    }

    // Uniform in [-r, r): a multiple of 2^-52 in [-1, 1), times r.
    double Symmetric(double r) {
        const double u = static_cast<double>(Next() >> 11) * 0x1p-52;  // [0, 2), exact
        return (u - 1.0) * r;
    }

    // +-(1 + f) * 2^e with a random sign, e uniform in [emin, emax] and f
    // uniform in [0, 1) with 52 random bits: every binade of the range is as
    // likely as any other.
    double Magnitude(int emin, int emax) {
        const uint64_t span = static_cast<uint64_t>(emax - emin + 1);
        const int e = emin + static_cast<int>(Next() % span);
        const double m = 1.0 + static_cast<double>(Next() >> 12) * 0x1p-52;  // [1, 2), exact
        const double v = std::ldexp(m, e);
        return (Next() >> 63) ? -v : v;
    }

  private:
    uint64_t state_;
};

// kArguments values of one range; each range has its own seed, so that
// adding a range does not change the others' arguments.
template <typename Generator>
Arguments Draw(uint64_t seed, Generator draw) {
    Random random(seed);
    auto values = std::make_shared<std::vector<double>>(kArguments);
    for (double& v : *values) v = draw(random);
    return values;
}

// The distance in ulps between two finite doubles: the difference of their
// places in the ordered sequence of doubles (-0 and +0 being one place).
uint64_t UlpDistance(double a, double b) {
    auto place = [](double d) {
        uint64_t bits;
        std::memcpy(&bits, &d, sizeof bits);
        const uint64_t magnitude = bits & 0x7fffffffffffffffULL;
        // Negative numbers below 2^63, positive ones from 2^63 up.
        return (bits >> 63) ? 0x8000000000000000ULL - magnitude : 0x8000000000000000ULL + magnitude;
    };
    const uint64_t pa = place(a), pb = place(b);
    return pa > pb ? pa - pb : pb - pa;
}

// Both sides within an ulp of the exact value (glibc's documented bound for
// these functions, half an ulp for the library's correctly rounded ones):
// they can be two ulps apart where the result crosses a power of two.
constexpr uint64_t kAgreementUlps = 2;

// An argument on which the two sides disagree, or an empty string.
template <typename Call>
std::string Disagreement(Call call) {
    for (int i = 0; i < kArguments; ++i) {
        double mine = 0.0, reference = 0.0;
        std::string argument = call(i, mine, reference);
        if (!(std::isfinite(mine) && std::isfinite(reference)) ||
            UlpDistance(mine, reference) > kAgreementUlps) {
            char text[160];
            std::snprintf(text, sizeof text, "%s: the library gives %.17g, glibc %.17g",
                          argument.c_str(), mine, reference);
            return text;
        }
    }
    return std::string();
}

std::string ArgumentText(double x) {
    char text[40];
    std::snprintf(text, sizeof text, "x = %.17g", x);
    return text;
}

std::string ArgumentText(double y, double x) {
    char text[64];
    std::snprintf(text, sizeof text, "y = %.17g, x = %.17g", y, x);
    return text;
}

void SetPerCall(benchmark::State& state) {
    state.counters["time_per_call"] = benchmark::Counter(
        kArguments, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// The calls of a function of one argument on a range: f(x[i]), in the
// latency loop f(x[i] + d). A plain pointer, held in a register by the loops;
// the benchmark keeps the arguments alive.
struct OnX {
    explicit OnX(const Arguments& xs) : x(xs->data()) {}
    double operator()(Unary f, int i) const { return f(x[i]); }
    double operator()(Unary f, int i, double d) const { return f(x[i] + d); }
    std::string Text(int i) const { return ArgumentText(x[i]); }

    const double* x;
};

// The same for atan2: f(y[i], x[i]), in the latency loop f(y[i] + d, x[i]).
struct OnYX {
    OnYX(const Arguments& ys, const Arguments& xs) : y(ys->data()), x(xs->data()) {}
    double operator()(Binary f, int i) const { return f(y[i], x[i]); }
    double operator()(Binary f, int i, double d) const { return f(y[i] + d, x[i]); }
    std::string Text(int i) const { return ArgumentText(y[i], x[i]); }

    const double* y;
    const double* x;
};

// f on every argument of `on`, the calls independent and their results
// summed; first f is checked against `check`, when there is one.
template <typename F, typename On>
void Throughput(benchmark::State& state, F f, F check, On on) {
    if (check != nullptr) {
        const std::string wrong = Disagreement([&](int i, double& mine, double& reference) {
            mine = on(f, i);
            reference = on(check, i);
            return on.Text(i);
        });
        if (!wrong.empty()) {
            state.SkipWithError(wrong.c_str());
            return;
        }
    }
    benchmark::DoNotOptimize(f);
    for (auto _ : state) {
        double sum = 0.0;
        for (int i = 0; i < kArguments; ++i) sum += on(f, i);
        benchmark::DoNotOptimize(sum);
    }
    SetPerCall(state);
}

// f on every argument of `on`, each call's first argument depending on the
// previous result.
template <typename F, typename On>
void Latency(benchmark::State& state, F f, On on) {
    benchmark::DoNotOptimize(f);
    double zero = 0.0;
    benchmark::DoNotOptimize(zero);
    // r * zero is +-0 for the finite results of these ranges: every call gets
    // its argument unchanged, but only once the previous call has returned.
    double r = 0.0;
    for (auto _ : state) {
        for (int i = 0; i < kArguments; ++i) r = on(f, i, r * zero);
    }
    benchmark::DoNotOptimize(r);
    SetPerCall(state);
}

double Identity(double x) { return x; }

// The C runtime's functions as plain function pointers (math.h's, not the
// overloads of <cmath>).
#if SELVORA_BENCH_GLIBC
const Unary kGlibcSin = static_cast<Unary>(&::sin);
const Unary kGlibcCos = static_cast<Unary>(&::cos);
const Unary kGlibcAtan = static_cast<Unary>(&::atan);
const Unary kGlibcAcos = static_cast<Unary>(&::acos);
const Binary kGlibcAtan2 = static_cast<Binary>(&::atan2);
#else
const Unary kGlibcSin = nullptr;
const Unary kGlibcCos = nullptr;
const Unary kGlibcAtan = nullptr;
const Unary kGlibcAcos = nullptr;
const Binary kGlibcAtan2 = nullptr;
#endif

void Configure(benchmark::internal::Benchmark* b) {
    b->Unit(benchmark::kMicrosecond)->UseRealTime();
}

// BM_Selvora_<name> and BM_Selvora_<name>_Latency, and the same with glibc,
// on the ranges' arguments (one range, or y and x for atan2).
template <typename On, typename F, typename... Ranges>
void Register(const std::string& name, F mine, F glibc, const Ranges&... ranges) {
    Configure(benchmark::RegisterBenchmark(
        ("BM_Selvora_" + name).c_str(),
        [=](benchmark::State& state) { Throughput(state, mine, glibc, On(ranges...)); }));
    Configure(benchmark::RegisterBenchmark(
        ("BM_Selvora_" + name + "_Latency").c_str(),
        [=](benchmark::State& state) { Latency(state, mine, On(ranges...)); }));
    if (glibc == nullptr) return;
    Configure(
        benchmark::RegisterBenchmark(("BM_Glibc_" + name).c_str(), [=](benchmark::State& state) {
            Throughput(state, glibc, static_cast<F>(nullptr), On(ranges...));
        }));
    Configure(benchmark::RegisterBenchmark(
        ("BM_Glibc_" + name + "_Latency").c_str(),
        [=](benchmark::State& state) { Latency(state, glibc, On(ranges...)); }));
}

void RegisterAll() {
    using selvora::math::Acos;
    using selvora::math::Atan;
    using selvora::math::Atan2;
    using selvora::math::Cos;
    using selvora::math::Sin;

    // sin and cos: a period either side of zero (reduced by a multiple of
    // pi/2), |x| <= pi/4 (no reduction), and huge arguments +-[2^20, 2^996),
    // about 1e6 to 7e299, with every binary exponent equally likely (reduced
    // with the long table of 2/pi's bits).
    const Arguments period = Draw(1, [](Random& r) { return r.Symmetric(kTwoPi); });
    const Arguments quarter = Draw(2, [](Random& r) { return r.Symmetric(kPiOver4); });
    const Arguments huge = Draw(3, [](Random& r) { return r.Magnitude(20, 995); });
    Register<OnX>("Sin_TwoPi", Sin, kGlibcSin, period);
    Register<OnX>("Sin_PiOver4", Sin, kGlibcSin, quarter);
    Register<OnX>("Sin_Huge", Sin, kGlibcSin, huge);
    Register<OnX>("Cos_TwoPi", Cos, kGlibcCos, period);
    Register<OnX>("Cos_PiOver4", Cos, kGlibcCos, quarter);
    Register<OnX>("Cos_Huge", Cos, kGlibcCos, huge);

    // atan: +-[2^-30, 2^31) with every binary exponent equally likely, and
    // uniform in [-1, 1].
    const Arguments exponents = Draw(4, [](Random& r) { return r.Magnitude(-30, 30); });
    const Arguments unit = Draw(5, [](Random& r) { return r.Symmetric(1.0); });
    Register<OnX>("Atan_Exp30", Atan, kGlibcAtan, exponents);
    Register<OnX>("Atan_Unit", Atan, kGlibcAtan, unit);

    // atan2 in all four quadrants: points uniform in the square [-1, 1]^2, and
    // points whose coordinates have independent random exponents in
    // [-30, 30], so that |y/x| ranges from 2^-61 to 2^61.
    const Arguments boxY = Draw(6, [](Random& r) { return r.Symmetric(1.0); });
    const Arguments boxX = Draw(7, [](Random& r) { return r.Symmetric(1.0); });
    const Arguments spreadY = Draw(8, [](Random& r) { return r.Magnitude(-30, 30); });
    const Arguments spreadX = Draw(9, [](Random& r) { return r.Magnitude(-30, 30); });
    Register<OnYX>("Atan2_Box", Atan2, kGlibcAtan2, boxY, boxX);
    Register<OnYX>("Atan2_Exp30", Atan2, kGlibcAtan2, spreadY, spreadX);

    // acos: uniform in [-1, 1].
    Register<OnX>("Acos_Unit", Acos, kGlibcAcos, unit);

    // The dependency chain of the latency loops alone.
    Configure(benchmark::RegisterBenchmark("BM_LatencyChain", [=](benchmark::State& state) {
        Latency(state, Identity, OnX(period));
    }));
}

}  // namespace

int main(int argc, char** argv) {
    RegisterAll();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
