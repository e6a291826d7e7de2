// The library's trigonometric functions (kernel/math.h) checked against GNU
// MPFR on many random arguments: every result must be MPFR's correctly
// rounded value, bit for bit (any NaN for a NaN). Built and run by
// bench/check-math-mpfr.sh.
//
//   math_mpfr_check HARD_CASES COUNT [THREADS [FUNCTION...]]
//
// COUNT arguments per function, drawn in turn from each random family of
// tests/kernel/math_arguments.h (tiny, small, large arguments, neighbours of
// multiples of pi/4 and pi/2, near 1, extreme quotients, any bits...), each
// thread from its own stream of every family (streams 1, 2, ...: disjoint from
// each other and from the tests' stream 0). sin and cos are checked on the
// same arguments with one MPFR evaluation of both. FUNCTION: sin cos acos atan
// atan2 (all by default). Exit status 1 if any result is wrong.
#include <atomic>
#include <chrono>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "kernel/math.h"
#include "kernel/math_arguments.h"
#include "kernel/math_mpfr.h"

namespace {

using selvora_test::DescribeArgs;
using selvora_test::HexDouble;
using selvora_test::MathArgs;
using selvora_test::MathFamily;
using selvora_test::MathFunction;

constexpr int kShown = 10;  // wrong arguments printed per function

bool Same(double expected, double actual) {
    if (std::isnan(expected)) return std::isnan(actual);
    return selvora_test::DoubleBits(expected) == selvora_test::DoubleBits(actual);
}

struct Tally {
    std::atomic<std::uint64_t> checked{0};
    std::atomic<std::uint64_t> wrong{0};
    std::mutex mutex;
    std::vector<std::string> shown;

    void Check(MathFunction f, const MathArgs& a, double expected, double actual) {
        if (Same(expected, actual)) return;
        if (wrong.fetch_add(1) < kShown) {
            std::lock_guard<std::mutex> lock(mutex);
            shown.push_back(DescribeArgs(f, a) + " = " + HexDouble(actual) +
                            ", MPFR: " + HexDouble(expected));
        }
    }
};

// The functions of one argument, by MPFR and by the library.
struct OneArgument {
    MathFunction function;
    double (selvora_test::MpfrDoubles::*expected)(double);
    double (*actual)(double);
};

const OneArgument kOneArgument[] = {
    {MathFunction::kSin, &selvora_test::MpfrDoubles::Sin, selvora::math::Sin},
    {MathFunction::kCos, &selvora_test::MpfrDoubles::Cos, selvora::math::Cos},
    {MathFunction::kAcos, &selvora_test::MpfrDoubles::Acos, selvora::math::Acos},
    {MathFunction::kAtan, &selvora_test::MpfrDoubles::Atan, selvora::math::Atan},
};

// One phase: the functions checked on the same arguments (sin with cos, or
// one function alone), the arguments from the families of `source`.
struct Phase {
    MathFunction source;
    std::vector<MathFunction> functions;
};

void Work(const Phase& phase, const std::vector<selvora_test::HardCase>& hard, unsigned stream,
          std::uint64_t count, Tally* tallies, std::atomic<unsigned>* finished) {
    std::vector<selvora_test::MathArgumentStream> streams;
    for (const MathFamily& family : selvora_test::MathFamilies())
        if (family.function == phase.source && family.count > 0)
            streams.emplace_back(family, hard, stream);
    selvora_test::MpfrDoubles mpfr;
    const bool sinAndCos = phase.functions.size() == 2;
    const MathFunction alone = phase.functions[0];  // when not sin and cos
    const OneArgument* one = nullptr;               // null for atan2
    for (const OneArgument& entry : kOneArgument)
        if (entry.function == alone) one = &entry;
    std::uint64_t pending = 0;
    const auto flush = [&] {
        for (MathFunction f : phase.functions)
            tallies[static_cast<int>(f)].checked.fetch_add(pending);
        pending = 0;
    };
    std::size_t next = 0;
    for (std::uint64_t i = 0; i < count; ++i) {
        const MathArgs a = streams[next].Next();
        next = next + 1 == streams.size() ? 0 : next + 1;
        if (sinAndCos) {
            double s, c;
            mpfr.SinCos(a.x, &s, &c);
            tallies[static_cast<int>(MathFunction::kSin)].Check(MathFunction::kSin, a, s,
                                                                selvora::math::Sin(a.x));
            tallies[static_cast<int>(MathFunction::kCos)].Check(MathFunction::kCos, a, c,
                                                                selvora::math::Cos(a.x));
        } else if (one != nullptr) {
            tallies[static_cast<int>(alone)].Check(alone, a, (mpfr.*one->expected)(a.x),
                                                   one->actual(a.x));
        } else {
            tallies[static_cast<int>(alone)].Check(alone, a, mpfr.Atan2(a.y, a.x),
                                                   selvora::math::Atan2(a.y, a.x));
        }
        if (++pending == 4096) flush();
    }
    flush();
    finished->fetch_add(1);
}

bool ParseFunction(const std::string& name, MathFunction* f) {
    for (MathFunction g : {MathFunction::kSin, MathFunction::kCos, MathFunction::kAcos,
                           MathFunction::kAtan, MathFunction::kAtan2}) {
        if (name == selvora_test::MathFunctionName(g)) {
            *f = g;
            return true;
        }
    }
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s HARD_CASES COUNT [THREADS [FUNCTION...]]\n", argv[0]);
        return 2;
    }
    if (!mpfr_buildopt_tls_p()) {
        std::fprintf(stderr, "this MPFR keeps its state in globals: no threads\n");
        return 2;
    }
    std::vector<selvora_test::HardCase> hard;
    std::string error;
    if (!selvora_test::ReadHardCases(argv[1], &hard, &error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 2;
    }
    char* end = nullptr;
    const double countValue = std::strtod(argv[2], &end);  // 1e9 or 1000000000
    if (*end != '\0' || !(countValue >= 1) || countValue > 1e15) {
        std::fprintf(stderr, "not a count: %s\n", argv[2]);
        return 2;
    }
    const std::uint64_t count = static_cast<std::uint64_t>(countValue);
    const unsigned threads = argc > 3 ? static_cast<unsigned>(std::atoi(argv[3])) : 2;
    if (threads < 1 || threads > 15) {
        std::fprintf(stderr, "threads: 1 to 15\n");
        return 2;
    }
    bool wanted[5] = {argc <= 4, argc <= 4, argc <= 4, argc <= 4, argc <= 4};
    for (int i = 4; i < argc; ++i) {
        MathFunction f;
        if (!ParseFunction(argv[i], &f)) {
            std::fprintf(stderr, "not a function: %s\n", argv[i]);
            return 2;
        }
        wanted[static_cast<int>(f)] = true;
    }
    std::vector<Phase> phases;
    const auto want = [&](MathFunction f) { return wanted[static_cast<int>(f)]; };
    if (want(MathFunction::kSin) && want(MathFunction::kCos)) {
        phases.push_back({MathFunction::kSin, {MathFunction::kSin, MathFunction::kCos}});
    } else if (want(MathFunction::kSin) || want(MathFunction::kCos)) {
        const MathFunction f = want(MathFunction::kSin) ? MathFunction::kSin : MathFunction::kCos;
        phases.push_back({f, {f}});
    }
    for (MathFunction f : {MathFunction::kAcos, MathFunction::kAtan, MathFunction::kAtan2})
        if (want(f)) phases.push_back({f, {f}});

    Tally tallies[5];
    double seconds[5] = {};
    for (const Phase& phase : phases) {
        const auto start = std::chrono::steady_clock::now();
        std::vector<std::thread> workers;
        std::atomic<unsigned> finished{0};
        for (unsigned t = 0; t < threads; ++t) {
            const std::uint64_t share = count / threads + (t < count % threads ? 1 : 0);
            workers.emplace_back(Work, std::cref(phase), std::cref(hard), t + 1, share, tallies,
                                 &finished);
        }
        // Progress every minute on stderr.
        std::string names;
        for (MathFunction f : phase.functions)
            names += std::string(names.empty() ? "" : "+") + selvora_test::MathFunctionName(f);
        const Tally& first = tallies[static_cast<int>(phase.functions[0])];
        auto reported = start;
        while (finished.load() < threads) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            const auto now = std::chrono::steady_clock::now();
            if (now - reported >= std::chrono::minutes(1)) {
                reported = now;
                std::fprintf(stderr, "  %s: %" PRIu64 " of %" PRIu64 " in %.0f s\n", names.c_str(),
                             first.checked.load(), count,
                             std::chrono::duration<double>(now - start).count());
            }
        }
        for (std::thread& w : workers) w.join();
        const double elapsed =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        for (MathFunction f : phase.functions) seconds[static_cast<int>(f)] = elapsed;
    }

    std::uint64_t allWrong = 0;
    const bool together = phases.front().functions.size() == 2;
    std::printf("%-6s %14s %8s %10s %14s\n", "", "checked", "wrong", "seconds", "args/s");
    for (int i = 0; i < 5; ++i) {
        if (!wanted[i]) continue;
        const Tally& t = tallies[i];
        const char* shared = together && i <= 1 ? "  (sin and cos together)" : "";
        std::printf("%-6s %14" PRIu64 " %8" PRIu64 " %10.1f %14.0f%s\n",
                    selvora_test::MathFunctionName(static_cast<MathFunction>(i)), t.checked.load(),
                    t.wrong.load(), seconds[i], t.checked.load() / seconds[i], shared);
        allWrong += t.wrong.load();
    }
    for (int i = 0; i < 5; ++i) {
        for (const std::string& s : tallies[i].shown) std::printf("WRONG %s\n", s.c_str());
        if (tallies[i].wrong.load() > tallies[i].shown.size())
            std::printf("WRONG ... %" PRIu64 " more for %s\n",
                        tallies[i].wrong.load() - tallies[i].shown.size(),
                        selvora_test::MathFunctionName(static_cast<MathFunction>(i)));
    }
    std::printf("%s\n", allWrong == 0 ? "all correctly rounded" : "SOME RESULTS ARE WRONG");
    return allWrong == 0 ? 0 : 1;
}
