// The arguments at which the tests check the library's trigonometric
// functions (kernel/math.h) against GNU MPFR: families of arguments, each a
// range that matters to the functions' argument reduction or rounding, drawn
// by a deterministic generator (splitmix64 with a seed of the family's name),
// and the hard cases of tests/data/math_hard_cases.txt. The same code builds
// into the Linux test, the Windows test and the Linux program that computes
// the Windows test's expected values (math_table.cpp), so the three see the
// same arguments, bit for bit: they are made from integers and exact
// operations only, never from a math library.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace selvora_test {

enum class MathFunction { kSin, kCos, kAcos, kAtan, kAtan2 };

const char* MathFunctionName(MathFunction f);

// One argument: x for the functions of one variable, (y, x) for atan2.
struct MathArgs {
    double y = 0.0;
    double x = 0.0;
};

// One line of the hard-cases file: the functions it is for (a bit per
// MathFunction), its kind and its argument.
struct HardCase {
    unsigned functions = 0;
    std::string kind;
    MathArgs args;
};

// Reads tests/data/math_hard_cases.txt; false with a message on error.
bool ReadHardCases(const std::string& path, std::vector<HardCase>* cases, std::string* error);

// How many arguments a family draws: kFull for the Linux test, which computes
// the expected values with MPFR as it runs; kTable for the Windows test,
// whose expected values are a table file computed on Linux and so is kept
// to a few hundred thousand arguments in all.
enum class MathSize { kFull, kTable };

struct MathFamily {
    MathFunction function;
    const char* name;  // unique over all functions, e.g. "sin_tiny"
    int count;         // arguments drawn at MathSize::kFull (0: the hard cases as listed)
};

// Every family of every function.
const std::vector<MathFamily>& MathFamilies();

// The family's arguments, the same on every platform.
std::vector<MathArgs> MathArguments(const MathFamily& family, MathSize size,
                                    const std::vector<HardCase>& hard);

// An endless stream of a random family's arguments (count > 0), for the
// long checks of bench/math_mpfr_check.cpp: stream 0 begins with the tests'
// arguments; stream k starts its generator k 2^60 steps further on, so the
// streams 0..15 never meet within their first 2^60 steps.
class MathArgumentStream {
  public:
    MathArgumentStream(const MathFamily& family, const std::vector<HardCase>& hard,
                       unsigned stream);
    MathArgs Next();

  private:
    MathFunction function_;
    std::string name_;
    std::vector<double> centres_;
    std::uint64_t state_;
};

// A 64-bit FNV-1a hash of the arguments' bits: the table file carries it to
// show that it was computed for the same arguments.
std::uint64_t HashOfArguments(const std::vector<MathArgs>& args);

// Bits and formatting for the messages.
std::uint64_t DoubleBits(double d);
double DoubleFromBits(std::uint64_t u);
std::string HexDouble(double d);  // printf's %a
std::string DescribeArgs(MathFunction f, const MathArgs& args);

}  // namespace selvora_test
