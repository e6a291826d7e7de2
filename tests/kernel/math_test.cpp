// Tests of the library's trigonometric functions (kernel/math.h): every result
// must be the exact value rounded to the nearest double, ties to even, the
// same bits on every platform. The expected values come from GNU MPFR
// (math_reference.h): on Linux computed as the test runs, on Windows read
// from a table the Linux build computed for the same arguments.
//
// The special arguments follow C's Annex F (F.10.1): signed zeros, infinities,
// NaN, acos outside [-1, 1] and every case of atan2 on the axes and at
// infinity; the only values they name that are not exact (pi, pi/2, pi/4,
// 3pi/4) are MPFR's, rounded to nearest. The other arguments are families
// (math_arguments.h): random ones across every range where the functions'
// argument reduction or rounding changes, neighbours of the doubles nearest
// to multiples of pi/4 and pi/2, and the hard cases of
// tests/data/math_hard_cases.txt: published worst cases, arguments whose
// exact value lies within 2^-20 ulp of a midpoint between two doubles, and
// in every binade the doubles closest to a multiple of pi/2.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "kernel/math.h"
#include "kernel/math_arguments.h"
#include "kernel/math_reference.h"

#ifndef SELVORA_MATH_HARD_CASES
#error "SELVORA_MATH_HARD_CASES names tests/data/math_hard_cases.txt"
#endif

namespace selvora_test {

// GoogleTest prints a family by its name.
void PrintTo(const MathFamily& family, std::ostream* os) { *os << family.name; }

}  // namespace selvora_test

namespace {

using selvora_test::DescribeArgs;
using selvora_test::DoubleBits;
using selvora_test::HardCase;
using selvora_test::HexDouble;
using selvora_test::MathArgs;
using selvora_test::MathFamily;
using selvora_test::MathFunction;
using selvora_test::MathSize;

namespace math = selvora::math;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kTiny = std::numeric_limits<double>::denorm_min();
constexpr double kHuge = std::numeric_limits<double>::max();

// Finite positive arguments for the special cases: the extremes, a
// subnormal, and ordinary ones.
const double kPositives[] = {kTiny, 0x1.8p-1060, 0x1p-1022, 1e-300, 0.5, 1.0, 3.0, 1e300, kHuge};

const std::vector<HardCase>& HardCases() {
    static std::string error;
    static const std::vector<HardCase> cases = [] {
        std::vector<HardCase> c;
        if (!selvora_test::ReadHardCases(SELVORA_MATH_HARD_CASES, &c, &error)) c.clear();
        return c;
    }();
    if (cases.empty()) ADD_FAILURE() << error;
    return cases;
}

double Evaluate(MathFunction f, const MathArgs& a) {
    switch (f) {
        case MathFunction::kSin:
            return math::Sin(a.x);
        case MathFunction::kCos:
            return math::Cos(a.x);
        case MathFunction::kAcos:
            return math::Acos(a.x);
        case MathFunction::kAtan:
            return math::Atan(a.x);
        case MathFunction::kAtan2:
            return math::Atan2(a.y, a.x);
    }
    return kNaN;
}

bool Same(double expected, double actual) {
    if (std::isnan(expected)) return std::isnan(actual);
    return DoubleBits(expected) == DoubleBits(actual);
}

std::string Mismatch(MathFunction f, const MathArgs& a, double expected, double actual) {
    return DescribeArgs(f, a) + " = " + HexDouble(actual) + ", expected " + HexDouble(expected);
}

// Compares actual(i) with expected[i] for every argument; returns how many
// differ and describes the first few in *report.
int CountMismatches(MathFunction f, const std::vector<MathArgs>& args,
                    const std::vector<double>& expected, const std::function<double(int)>& actual,
                    std::string* report) {
    constexpr int kShown = 20;
    int wrong = 0;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const double got = actual(static_cast<int>(i));
        if (Same(expected[i], got)) continue;
        if (++wrong <= kShown) *report += "  " + Mismatch(f, args[i], expected[i], got) + "\n";
    }
    if (wrong > kShown) *report += "  ... and " + std::to_string(wrong - kShown) + " more\n";
    return wrong;
}

// One special case with its value named by the rules.
void ExpectSpecial(MathFunction f, const MathArgs& a, double expected) {
    const double got = Evaluate(f, a);
    EXPECT_TRUE(Same(expected, got)) << Mismatch(f, a, expected, got);
}

void ExpectSpecial(MathFunction f, double x, double expected) {
    MathArgs a;
    a.x = x;
    ExpectSpecial(f, a, expected);
}

void ExpectAtan2(double y, double x, double expected) {
    MathArgs a;
    a.y = y;
    a.x = x;
    ExpectSpecial(MathFunction::kAtan2, a, expected);
}

selvora_test::RoundedConstants Constants() {
    selvora_test::RoundedConstants c;
    std::string error;
    if (!selvora_test::ReferenceConstants(&c, &error)) ADD_FAILURE() << error;
    return c;
}

// F.10.1.6, F.10.1.5: sin(+-0) = +-0, cos(+-0) = 1; both NaN at an infinity.
TEST(MathSpecialCases, SinAndCos) {
    ExpectSpecial(MathFunction::kSin, 0.0, 0.0);
    ExpectSpecial(MathFunction::kSin, -0.0, -0.0);
    ExpectSpecial(MathFunction::kCos, 0.0, 1.0);
    ExpectSpecial(MathFunction::kCos, -0.0, 1.0);
    for (double x : {kInf, -kInf, kNaN, -kNaN}) {
        ExpectSpecial(MathFunction::kSin, x, kNaN);
        ExpectSpecial(MathFunction::kCos, x, kNaN);
    }
}

// F.10.1.1: acos(1) = +0, NaN for |x| > 1; acos(-1) = pi and acos(+-0) = pi/2
// rounded.
TEST(MathSpecialCases, Acos) {
    const selvora_test::RoundedConstants c = Constants();
    ExpectSpecial(MathFunction::kAcos, 1.0, 0.0);
    ExpectSpecial(MathFunction::kAcos, -1.0, c.pi);
    ExpectSpecial(MathFunction::kAcos, 0.0, c.halfPi);
    ExpectSpecial(MathFunction::kAcos, -0.0, c.halfPi);
    for (double x : {0x1.0000000000001p+0, 1.5, 2.0, 1e300, kHuge, kInf}) {
        ExpectSpecial(MathFunction::kAcos, x, kNaN);
        ExpectSpecial(MathFunction::kAcos, -x, kNaN);
    }
    ExpectSpecial(MathFunction::kAcos, kNaN, kNaN);
    ExpectSpecial(MathFunction::kAcos, -kNaN, kNaN);
}

// F.10.1.3: atan(+-0) = +-0, atan(+-inf) = +-pi/2 rounded.
TEST(MathSpecialCases, Atan) {
    const selvora_test::RoundedConstants c = Constants();
    ExpectSpecial(MathFunction::kAtan, 0.0, 0.0);
    ExpectSpecial(MathFunction::kAtan, -0.0, -0.0);
    ExpectSpecial(MathFunction::kAtan, kInf, c.halfPi);
    ExpectSpecial(MathFunction::kAtan, -kInf, -c.halfPi);
    ExpectSpecial(MathFunction::kAtan, kNaN, kNaN);
    ExpectSpecial(MathFunction::kAtan, -kNaN, kNaN);
}

// F.10.1.4, every case, with y and x over the finite positive values above.
TEST(MathSpecialCases, Atan2) {
    const selvora_test::RoundedConstants c = Constants();
    for (double s : {1.0, -1.0}) {
        const double zero = s * 0.0;  // +-0 with the sign of s
        ExpectAtan2(zero, -0.0, s * c.pi);
        ExpectAtan2(zero, 0.0, zero);
        ExpectAtan2(zero, -kInf, s * c.pi);
        ExpectAtan2(zero, kInf, zero);
        ExpectAtan2(s * kInf, -kInf, s * c.threeQuarterPi);
        ExpectAtan2(s * kInf, kInf, s * c.quarterPi);
        ExpectAtan2(s * kInf, 0.0, s * c.halfPi);
        ExpectAtan2(s * kInf, -0.0, s * c.halfPi);
        for (double p : kPositives) {
            ExpectAtan2(zero, -p, s * c.pi);  // x < 0
            ExpectAtan2(zero, p, zero);       // x > 0
            ExpectAtan2(s * p, 0.0, s * c.halfPi);
            ExpectAtan2(s * p, -0.0, s * c.halfPi);
            ExpectAtan2(s * p, -kInf, s * c.pi);
            ExpectAtan2(s * p, kInf, zero);
            ExpectAtan2(s * kInf, p, s * c.halfPi);
            ExpectAtan2(s * kInf, -p, s * c.halfPi);
        }
    }
    for (double v : {0.0, -0.0, 1.0, -1.0, kTiny, kHuge, kInf, -kInf, kNaN}) {
        ExpectAtan2(kNaN, v, kNaN);
        ExpectAtan2(v, kNaN, kNaN);
        ExpectAtan2(-kNaN, v, kNaN);
        ExpectAtan2(v, -kNaN, kNaN);
    }
}

// The hard-cases file holds every kind of case for every function it should.
TEST(MathHardCases, EveryKindIsThere) {
    const std::vector<HardCase>& cases = HardCases();
    const struct {
        MathFunction f;
        const char* kind;
        int least;
    } expected[] = {
        {MathFunction::kSin, "published", 5},    {MathFunction::kCos, "published", 5},
        {MathFunction::kAcos, "published", 3},   {MathFunction::kAtan, "published", 5},
        {MathFunction::kSin, "midpoint", 50},    {MathFunction::kCos, "midpoint", 50},
        {MathFunction::kAcos, "midpoint", 50},   {MathFunction::kAtan, "midpoint", 50},
        {MathFunction::kAtan2, "midpoint", 50},  {MathFunction::kSin, "reduction", 1000},
        {MathFunction::kCos, "reduction", 1000}, {MathFunction::kSin, "multiple", 100},
        {MathFunction::kCos, "multiple", 100},
    };
    for (const auto& e : expected) {
        int n = 0;
        for (const HardCase& c : cases)
            if ((c.functions & (1u << static_cast<unsigned>(e.f))) && c.kind == e.kind) ++n;
        EXPECT_GE(n, e.least) << selvora_test::MathFunctionName(e.f) << " " << e.kind;
    }
}

// The comparison itself: it finds every wrong result, a wrong sign of zero
// and a number where a NaN is due among them, and nothing else.
TEST(MathComparison, FindsEveryWrongResult) {
    for (const char* name : {"sin_small", "acos_outside", "atan2_ratio_small"}) {
        const MathFamily* family = nullptr;
        for (const MathFamily& f : selvora_test::MathFamilies())
            if (std::string(f.name) == name) family = &f;
        ASSERT_NE(family, nullptr) << name;
        const std::vector<MathArgs> args =
            selvora_test::MathArguments(*family, MathSize::kTable, HardCases());
        std::vector<double> expected;
        std::string error, report;
        ASSERT_TRUE(selvora_test::ReferenceValues(*family, args, &expected, &error)) << error;
        ASSERT_FALSE(args.empty());
        EXPECT_EQ(
            0, CountMismatches(
                   family->function, args, expected, [&](int i) { return expected[i]; }, &report))
            << report;
        // Every 7th result one ulp away, or its zero's sign flipped, or a NaN
        // replaced with 0.
        const auto wrong = [&](int i) {
            const double e = expected[i];
            if (i % 7 != 3) return e;
            if (std::isnan(e)) return 0.0;
            if (e == 0.0) return -e;
            return std::nextafter(e, kInf);
        };
        const int planted = static_cast<int>((args.size() + 3) / 7);
        report.clear();
        EXPECT_EQ(planted, CountMismatches(family->function, args, expected, wrong, &report));
        EXPECT_NE(report.find("expected"), std::string::npos);
    }
}

// Every argument of a family against the reference.
class MathCorrectlyRounded : public ::testing::TestWithParam<MathFamily> {};

TEST_P(MathCorrectlyRounded, AgreesWithMpfr) {
    const MathFamily& family = GetParam();
    const std::vector<MathArgs> args =
        selvora_test::MathArguments(family, selvora_test::ReferenceSize(), HardCases());
    ASSERT_FALSE(args.empty()) << family.name;
    std::vector<double> expected;
    std::string error;
    ASSERT_TRUE(selvora_test::ReferenceValues(family, args, &expected, &error)) << error;
    std::string report;
    const int wrong = CountMismatches(
        family.function, args, expected, [&](int i) { return Evaluate(family.function, args[i]); },
        &report);
    EXPECT_EQ(0, wrong) << wrong << " of " << args.size() << " " << family.name
                        << " results are not the ones of " << selvora_test::ReferenceName() << ":\n"
                        << report;
}

INSTANTIATE_TEST_SUITE_P(Families, MathCorrectlyRounded,
                         ::testing::ValuesIn(selvora_test::MathFamilies()),
                         [](const ::testing::TestParamInfo<MathFamily>& info) {
                             return std::string(info.param.name);
                         });

}  // namespace
