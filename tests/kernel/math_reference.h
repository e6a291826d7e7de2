// The expected results of the trigonometric functions' tests: the exact value
// rounded to the nearest double (ties to even, subnormals with their reduced
// precision), as GNU MPFR computes it. On Linux the test calls MPFR itself
// (math_reference_mpfr.cpp); on Windows, where there is no MPFR, it reads the
// values that a program of the Linux build (math_table.cpp) computed with MPFR
// for the same arguments (math_reference_table.cpp).
//
// The table file, in this order:
//   the line "selvora math table 1\n";
//   the rounded constants: pi, pi/2, pi/4, 3pi/4, each as 8 bytes;
//   for each family of MathFamilies(), in order: its name, a NUL, the count
//   of its arguments (8 bytes), HashOfArguments() of them (8 bytes), then
//   the expected result for each argument (8 bytes each).
// Integers and doubles' bits are little-endian.
#pragma once

#include <string>
#include <vector>

#include "kernel/math_arguments.h"

namespace selvora_test {

constexpr char kMathTableMagic[] = "selvora math table 1\n";

// The constants the special cases of C's Annex F name, rounded to nearest.
struct RoundedConstants {
    double pi = 0.0;
    double halfPi = 0.0;
    double quarterPi = 0.0;
    double threeQuarterPi = 0.0;
};

// False with a message when the reference cannot give them (a missing or
// stale table).
bool ReferenceConstants(RoundedConstants* constants, std::string* error);

// The expected result for each of the family's arguments.
bool ReferenceValues(const MathFamily& family, const std::vector<MathArgs>& args,
                     std::vector<double>* values, std::string* error);

// Which size of families the reference serves: kFull with MPFR at hand,
// kTable from the table.
MathSize ReferenceSize();

// Where the expected values come from, for the messages.
const char* ReferenceName();

}  // namespace selvora_test
