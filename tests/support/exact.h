// Bit-exact comparison of doubles for the tests: 0.0 and -0.0 are told apart,
// and a NaN equals the same NaN.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <iomanip>
#include <sstream>

namespace selvora_test {

inline std::uint64_t Bits(double d) {
    std::uint64_t u;
    std::memcpy(&u, &d, sizeof u);
    return u;
}

inline ::testing::AssertionResult SameDouble(const char* eExpr, const char* aExpr, double e,
                                             double a) {
    if (Bits(e) == Bits(a)) return ::testing::AssertionSuccess();
    std::ostringstream os;
    os << std::setprecision(17) << aExpr << " is " << a << ", expected " << eExpr << " = " << e;
    return ::testing::AssertionFailure() << os.str();
}

}  // namespace selvora_test

#define EXPECT_SAME_DOUBLE(e, a) EXPECT_PRED_FORMAT2(::selvora_test::SameDouble, e, a)
