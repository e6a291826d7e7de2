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

#include "selvora/kernel/point3d.h"

namespace selvora_test {

inline double FromBits(std::uint64_t u) {
    double d;
    std::memcpy(&d, &u, sizeof d);
    return d;
}

inline void ExpectPoint(const Point3d& p, double x, double y, double z) {
    EXPECT_SAME_DOUBLE(x, p.x);
    EXPECT_SAME_DOUBLE(y, p.y);
    EXPECT_SAME_DOUBLE(z, p.z);
}

inline void ExpectVector(const Vector3d& v, double x, double y, double z) {
    EXPECT_SAME_DOUBLE(x, v.x);
    EXPECT_SAME_DOUBLE(y, v.y);
    EXPECT_SAME_DOUBLE(z, v.z);
}

inline void ExpectSamePoint(const Point3d& expected, const Point3d& actual) {
    ExpectPoint(actual, expected.x, expected.y, expected.z);
}

}  // namespace selvora_test
