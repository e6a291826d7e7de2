// Tests of the kernel's point and vector value types and OV_angle.
//
// Expected doubles were computed with python3 (IEEE doubles, no fused
// multiply-add), evaluating each formula in the same order as the library:
// sums left to right, normalisation as one reciprocal and three products.
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <limits>
#include <sstream>
#include <type_traits>
#include <utility>

#include "kernel/test_matrices.h"
#include "selvora/selvora.h"
#include "support/exact.h"

namespace {

constexpr double kTwoPiF = 6.2831854820251465;  // 2*pi rounded to float, widened

using selvora_test::Bits;
using selvora_test::MatA;
using selvora_test::ScaleTranslateWithW;

void ExpectXyz(double x, double y, double z, double ax, double ay, double az) {
    EXPECT_SAME_DOUBLE(x, ax);
    EXPECT_SAME_DOUBLE(y, ay);
    EXPECT_SAME_DOUBLE(z, az);
}

void ExpectPoint(const Point3d& p, double x, double y, double z) {
    ExpectXyz(x, y, z, p.x, p.y, p.z);
}
void ExpectVector(const Vector3d& v, double x, double y, double z) {
    ExpectXyz(x, y, z, v.x, v.y, v.z);
}

// The coordinate and copy constructors of a Point3d or a Vector3d.
template <class T>
void ExpectConstructorsCopyCoordinates() {
    T p(1.5, -2.25, 3.125);
    ExpectXyz(1.5, -2.25, 3.125, p.x, p.y, p.z);
    T q(p);
    ExpectXyz(1.5, -2.25, 3.125, q.x, q.y, q.z);
}

// *=, /=, += and -= of a Point3d or a Vector3d, each on a freshly set value.
template <class T>
void ExpectCompoundAssignment() {
    T p(1.0, 2.0, 3.0);
    p *= 0.1;
    ExpectXyz(0.1, 0.2, 0.30000000000000004, p.x, p.y, p.z);
    p.set(1.0, 2.0, 3.0);
    p /= 0.1;
    ExpectXyz(10.0, 20.0, 30.0, p.x, p.y, p.z);
    p.set(0.1, 0.2, 0.3);
    p += Vector3d(0.2, 0.4, 0.5);
    ExpectXyz(0.30000000000000004, 0.6000000000000001, 0.8, p.x, p.y, p.z);
    p.set(0.1, 0.2, 0.3);
    p -= Vector3d(0.2, 0.4, 0.5);
    ExpectXyz(-0.1, -0.2, -0.2, p.x, p.y, p.z);
}

}  // namespace

// ---- Point3d ----

TEST(Point3d, DefaultIsOrigin) {
    Point3d p;
    ExpectPoint(p, 0.0, 0.0, 0.0);
}

TEST(Point3d, ConstructorsCopyCoordinates) { ExpectConstructorsCopyCoordinates<Point3d>(); }

TEST(Point3d, LayoutIsThreePackedDoubles) {
    static_assert(sizeof(Point3d) == 24, "a point is three doubles");
    static_assert(sizeof(Vector3d) == 24, "a vector is three doubles");
    static_assert(std::is_standard_layout<Point3d>::value, "plain data");
    static_assert(std::is_standard_layout<Vector3d>::value, "plain data");
    static_assert(
        offsetof(Point3d, x) == 0 && offsetof(Point3d, y) == 8 && offsetof(Point3d, z) == 16,
        "x, y, z in order");
    static_assert(
        offsetof(Vector3d, x) == 0 && offsetof(Vector3d, y) == 8 && offsetof(Vector3d, z) == 16,
        "x, y, z in order");

    // An array of points is a packed array of coordinate triples.
    Point3d pts[2] = {Point3d(1.0, 2.0, 3.0), Point3d(4.0, 5.0, 6.0)};
    double raw[6];
    std::memcpy(raw, static_cast<const void*>(pts), sizeof raw);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(static_cast<double>(i + 1), raw[i]);

    const double in[6] = {-1.0, -2.0, -3.0, 7.0, 8.0, 9.0};
    std::memcpy(static_cast<void*>(pts), in, sizeof in);
    ExpectPoint(pts[0], -1.0, -2.0, -3.0);
    ExpectPoint(pts[1], 7.0, 8.0, 9.0);
}

TEST(Point3d, AssignmentReturnsCopyByValue) {
    static_assert(
        std::is_same<decltype(std::declval<Point3d&>() = std::declval<Point3d>()), Point3d>::value,
        "Point3d::operator= returns a copy");
    Point3d a(1.0, 2.0, 3.0);
    Point3d b(4.0, 5.0, 6.0);
    Point3d r = (a = b);
    ExpectPoint(a, 4.0, 5.0, 6.0);
    ExpectPoint(r, 4.0, 5.0, 6.0);
    // Writing through the result touches only the returned copy.
    auto&& result = (a = Point3d(7.0, 8.0, 9.0));
    result.x = 99.0;
    ExpectPoint(a, 7.0, 8.0, 9.0);
}

TEST(Point3d, SetReturnsCopyByValue) {
    static_assert(
        std::is_same<decltype(std::declval<Point3d&>().set(0.0, 0.0, 0.0)), Point3d>::value,
        "Point3d::set returns a copy");
    Point3d p;
    Point3d r = p.set(0.5, -1.5, 2.5);
    ExpectPoint(p, 0.5, -1.5, 2.5);
    ExpectPoint(r, 0.5, -1.5, 2.5);
    auto&& result = p.set(1.0, 1.0, 1.0);
    result.y = 42.0;
    ExpectPoint(p, 1.0, 1.0, 1.0);
}

TEST(Point3d, EqualityIsExact) {
    Point3d p(1.0, 2.0, 3.0);
    EXPECT_EQ(1, p == Point3d(1.0, 2.0, 3.0));
    EXPECT_EQ(0, p != Point3d(1.0, 2.0, 3.0));
    const double above3 = std::nextafter(3.0, 4.0);
    EXPECT_EQ(0, p == Point3d(1.0, 2.0, above3));
    EXPECT_EQ(1, p != Point3d(1.0, 2.0, above3));
    EXPECT_EQ(0, p == Point3d(1.0, 2.5, 3.0));
    EXPECT_EQ(0, p == Point3d(0.0, 2.0, 3.0));
    // IEEE comparison: signed zeros are equal, a NaN is never equal.
    EXPECT_EQ(1, Point3d(0.0, 0.0, 0.0) == Point3d(-0.0, -0.0, -0.0));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Point3d n(1.0, nan, 3.0);
    EXPECT_EQ(0, n == n);
    EXPECT_EQ(1, n != n);
}

TEST(Point3d, GreaterIsLexicographic) {
    EXPECT_EQ(0, Point3d(1, 2, 3) > Point3d(1, 2, 3));
    EXPECT_EQ(1, Point3d(1, 2, 4) > Point3d(1, 2, 3));
    EXPECT_EQ(0, Point3d(1, 2, 3) > Point3d(1, 2, 4));
    EXPECT_EQ(1, Point3d(2, 0, 0) > Point3d(1, 9, 9));
    EXPECT_EQ(0, Point3d(1, 9, 9) > Point3d(2, 0, 0));
    // Equal x: y decides, whatever z.
    EXPECT_EQ(1, Point3d(1, 3, -5) > Point3d(1, 2, 5));
    EXPECT_EQ(0, Point3d(1, 2, 5) > Point3d(1, 3, -5));
}

TEST(Point3d, EqualUsesInclusiveL1Distance) {
    Point3d p(1.0, 2.0, 3.0);
    Point3d q(1.5, 1.25, 3.125);
    // |-0.5| + |0.75| + |-0.125| = 1.375, all exact.
    EXPECT_EQ(1, p.equal(q, 1.375));
    EXPECT_EQ(0, p.equal(q, std::nextafter(1.375, 0.0)));
    EXPECT_EQ(1, p.equal(q, 2.0));
    EXPECT_EQ(1, p.equal(p, 0.0));
    // A negative tolerance fails even for the same point.
    EXPECT_EQ(0, p.equal(p, -1e-300));

    // The distance is summed left to right: (0.1 + 0.2) + 0.3 = 0.6000000000000001.
    Point3d o;
    EXPECT_EQ(0, o.equal(Point3d(0.1, 0.2, 0.3), 0.6));
    EXPECT_EQ(1, o.equal(Point3d(0.1, 0.2, 0.3), 0.6000000000000001));
    EXPECT_EQ(0, o.equal(Point3d(-0.1, 0.2, -0.3), 0.6));
}

TEST(Point3d, ToleranceIsL1MagnitudeTimesT) {
    // ((0.1 + 0.2) + 0.3) * 2 in doubles.
    EXPECT_SAME_DOUBLE(1.2000000000000002, Point3d(0.1, -0.2, 0.3).tolerance(2.0));
    EXPECT_SAME_DOUBLE(0.006, Point3d(1.0, -2.0, 3.0).tolerance(1e-3));
    EXPECT_SAME_DOUBLE(0.0, Point3d().tolerance(5.0));
    // No clamping: a negative t gives a negative tolerance.
    EXPECT_SAME_DOUBLE(-6.0, Point3d(1.0, -2.0, 3.0).tolerance(-1.0));
}

TEST(Point3d, ArithmeticOperators) {
    Point3d a(0.1, 0.2, 0.3);
    ExpectPoint(a + Point3d(0.2, 0.4, 0.5), 0.30000000000000004, 0.6000000000000001, 0.8);
    ExpectPoint(a + Vector3d(0.2, 0.4, 0.5), 0.30000000000000004, 0.6000000000000001, 0.8);
    ExpectPoint(a - Vector3d(0.2, 0.4, 0.5), -0.1, -0.2, -0.2);
    Vector3d d = a - Point3d(0.2, 0.4, 0.5);
    ExpectVector(d, -0.1, -0.2, -0.2);
    ExpectPoint(a * 3.0, 0.30000000000000004, 0.6000000000000001, 0.8999999999999999);
    ExpectPoint(a / 3.0, 0.03333333333333333, 0.06666666666666667, 0.09999999999999999);
    // Division is a real division, not a product with the reciprocal.
    ExpectPoint(a / 10.0, 0.01, 0.02, 0.03);
    ExpectPoint(a * 0.1, 0.010000000000000002, 0.020000000000000004, 0.03);
    ExpectPoint(a, 0.1, 0.2, 0.3);  // operands unchanged
}

TEST(Point3d, DivisionByZeroFollowsIeee) {
    Point3d r = Point3d(1.0, -1.0, 0.0) / 0.0;
    EXPECT_EQ(std::numeric_limits<double>::infinity(), r.x);
    EXPECT_EQ(-std::numeric_limits<double>::infinity(), r.y);
    EXPECT_TRUE(std::isnan(r.z));
    Point3d p(2.0, 0.0, -3.0);
    p /= 0.0;
    EXPECT_EQ(std::numeric_limits<double>::infinity(), p.x);
    EXPECT_TRUE(std::isnan(p.y));
    EXPECT_EQ(-std::numeric_limits<double>::infinity(), p.z);
}

TEST(Point3d, CompoundAssignment) { ExpectCompoundAssignment<Point3d>(); }

TEST(Point3d, PtminAndPtmax) {
    Point3d lo(1.0, 5.0, -2.0);
    lo.ptmin(Point3d(2.0, 3.0, -2.0));
    ExpectPoint(lo, 1.0, 3.0, -2.0);
    Point3d hi(1.0, 5.0, -2.0);
    hi.ptmax(Point3d(2.0, 3.0, -1.0));
    ExpectPoint(hi, 2.0, 5.0, -1.0);

    // Replacement happens only on a strict difference, so a zero keeps its sign.
    Point3d z(0.0, -0.0, 0.0);
    z.ptmin(Point3d(-0.0, 0.0, -0.0));
    ExpectPoint(z, 0.0, -0.0, 0.0);
    z.ptmax(Point3d(-0.0, 0.0, -0.0));
    ExpectPoint(z, 0.0, -0.0, 0.0);
}

TEST(Point3d, Distances) {
    Point3d p(1.0, 2.0, 3.0);
    Point3d q(0.1, 0.2, 0.3);
    // 0.9^2 + 1.8^2 + 2.7^2 in doubles, left to right; then its square root.
    EXPECT_SAME_DOUBLE(11.340000000000002, p.sqrdistanceTo(q));
    EXPECT_SAME_DOUBLE(3.3674916480965473, p.distanceTo(q));
    // (0.04000000000000001 + 0.09) + 0.48999999999999994; grouped the other way it is 0.62.
    EXPECT_SAME_DOUBLE(0.6199999999999999, Point3d().sqrdistanceTo(Point3d(0.2, 0.3, 0.7)));
    EXPECT_SAME_DOUBLE(0.787400787401181, Point3d().distanceTo(Point3d(0.2, 0.3, 0.7)));
    EXPECT_SAME_DOUBLE(25.0, Point3d(3.0, 0.0, 0.0).sqrdistanceTo(Point3d(0.0, 4.0, 0.0)));
    EXPECT_SAME_DOUBLE(5.0, Point3d(3.0, 0.0, 0.0).distanceTo(Point3d(0.0, 4.0, 0.0)));
}

TEST(Point3d, RoundFloorsOntoGrid) {
    // floor(100 * 1.239) / 100 and floor(100 * -1.231) / 100.
    Point3d p(1.239, -1.231, 0.29);
    p.round(100.0);
    // 100 * 0.29 is 28.999999999999996, so the floor gives 0.28.
    ExpectPoint(p, 1.23, -1.24, 0.28);

    Point3d q(0.19, -0.11, 2.0);
    q.round(10.0);
    ExpectPoint(q, 0.1, -0.2, 2.0);
}

TEST(Point3d, PolarLeavesPointUnchanged) {
    Point3d p(1.5, -2.0, 7.0);
    Point3d r = p.polar(0.5, 2.0);
    // 1.5 + 2*cos(0.5), -2 + 2*sin(0.5).
    ExpectPoint(r, 3.2551651237807455, -1.041148922791594, 7.0);
    ExpectPoint(p, 1.5, -2.0, 7.0);
}

// polar() from the origin at distance 1 gives cos and sin themselves. Their
// arguments are reduced exactly, also near multiples of pi/2 and for huge
// angles: the x87 fsin/fcos instructions would give cos(pi/2) =
// 6.1230317691118863e-17, sin(pi) = 1.2246063538223773e-16 and
// cos(1e22) = -0.886 (Windows builds must not use them).
TEST(Point3d, PolarReducesItsAngleExactly) {
    const Point3d origin(0.0, 0.0, 0.0);
    ExpectPoint(Point3d(origin).polar(1.5707963267948966, 1.0), 6.123233995736766e-17, 1.0, 0.0);
    ExpectPoint(Point3d(origin).polar(3.141592653589793, 1.0), -1.0, 1.2246467991473532e-16, 0.0);
    ExpectPoint(Point3d(origin).polar(1e22, 1.0), 0.523214785395139, -0.8522008497671888, 0.0);
}

TEST(Point3d, TransformByChangesPointAndReturnsCopy) {
    Point3d p(1.5, -2.0, 0.25);
    Point3d r = p.transformBy(MatA());
    // Rows 0..2 of the matrix with the translation, summed left to right.
    ExpectPoint(p, 0.22500000000000003, 9.3125, -2.875);
    ExpectPoint(r, 0.22500000000000003, 9.3125, -2.875);
    static_assert(std::is_same<decltype(p.transformBy(Matrix3d())), Point3d>::value,
                  "returns a copy");
}

TEST(Point3d, MatrixTimesPointIgnoresBottomRow) {
    // The bottom row gives w = 0 for this point; nothing is divided by it.
    Point3d r = MatA() * Point3d(1.5, -2.0, 0.25);
    ExpectPoint(r, 0.22500000000000003, 9.3125, -2.875);
    // ((m00*x + m01*y) + m02*z) + m03 per row; other groupings round differently here.
    ExpectPoint(MatA() * Point3d(1.0, 1.0, 1.0), 1.0, 2.75, 0.09999999999999998);

    const Matrix3d w = ScaleTranslateWithW(1.0, Vector3d(1.0, 2.0, 3.0), 4.0);
    ExpectPoint(w * Point3d(1.0, 1.0, 1.0), 2.0, 3.0, 4.0);
}

TEST(Point3d, AsVector3dCopiesCoordinates) {
    Point3d p(1.0, -2.0, 0.5);
    ExpectVector(p.asVector3d(), 1.0, -2.0, 0.5);
    ExpectVector(Point3d().asVector3d(), 0.0, 0.0, 0.0);
}

// ---- Vector3d ----

TEST(Vector3d, DefaultIsUnitZ) {
    Vector3d v;
    ExpectVector(v, 0.0, 0.0, 1.0);
}

TEST(Vector3d, ConstructorsCopyCoordinates) { ExpectConstructorsCopyCoordinates<Vector3d>(); }

TEST(Vector3d, AssignmentAndSetReturnReference) {
    static_assert(std::is_same<decltype(std::declval<Vector3d&>() = std::declval<Vector3d>()),
                               Vector3d&>::value,
                  "Vector3d::operator= returns a reference");
    static_assert(
        std::is_same<decltype(std::declval<Vector3d&>().set(0.0, 0.0, 0.0)), Vector3d&>::value,
        "Vector3d::set returns a reference");
    Vector3d v;
    Vector3d& r = (v = Vector3d(1.0, 2.0, 3.0));
    EXPECT_EQ(&v, &r);
    ExpectVector(v, 1.0, 2.0, 3.0);
    Vector3d& s = v.set(4.0, 5.0, 6.0);
    EXPECT_EQ(&v, &s);
    ExpectVector(v, 4.0, 5.0, 6.0);
    v.set(7.0, 8.0, 9.0).y = 42.0;
    ExpectVector(v, 7.0, 42.0, 9.0);
}

TEST(Vector3d, EqualityAndTolerance) {
    Vector3d v(1.0, 2.0, 3.0);
    EXPECT_EQ(1, v == Vector3d(1.0, 2.0, 3.0));
    EXPECT_EQ(0, v != Vector3d(1.0, 2.0, 3.0));
    EXPECT_EQ(0, v == Vector3d(1.0, std::nextafter(2.0, 0.0), 3.0));
    EXPECT_EQ(1, v != Vector3d(1.0, std::nextafter(2.0, 0.0), 3.0));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Vector3d n(nan, 0.0, 0.0);
    EXPECT_EQ(0, n == n);
    EXPECT_EQ(1, n != n);

    EXPECT_EQ(1, v.equal(Vector3d(1.5, 1.25, 3.125), 1.375));
    EXPECT_EQ(0, v.equal(Vector3d(1.5, 1.25, 3.125), std::nextafter(1.375, 0.0)));
    EXPECT_EQ(0, v.equal(v, -1.0));
    Vector3d zero(0.0, 0.0, 0.0);
    EXPECT_EQ(0, zero.equal(Vector3d(0.1, 0.2, 0.3), 0.6));
    EXPECT_EQ(1, zero.equal(Vector3d(0.1, 0.2, 0.3), 0.6000000000000001));
}

TEST(Vector3d, ArithmeticOperators) {
    Vector3d a(0.1, 0.2, 0.3);
    Vector3d b(0.2, 0.4, 0.5);
    ExpectVector(a + b, 0.30000000000000004, 0.6000000000000001, 0.8);
    ExpectVector(a - b, -0.1, -0.2, -0.2);
    ExpectVector(-a, -0.1, -0.2, -0.3);
    ExpectVector(-Vector3d(0.0, -1.0, 0.0), -0.0, 1.0, -0.0);
    ExpectVector(a * 3.0, 0.30000000000000004, 0.6000000000000001, 0.8999999999999999);
    ExpectVector(3.0 * a, 0.30000000000000004, 0.6000000000000001, 0.8999999999999999);
    ExpectVector(a / 3.0, 0.03333333333333333, 0.06666666666666667, 0.09999999999999999);
    ExpectVector(a / 10.0, 0.01, 0.02, 0.03);
    ExpectVector(a * 0.1, 0.010000000000000002, 0.020000000000000004, 0.03);
    ExpectVector(0.1 * a, 0.010000000000000002, 0.020000000000000004, 0.03);
    ExpectVector(a, 0.1, 0.2, 0.3);
}

TEST(Vector3d, CompoundAssignment) { ExpectCompoundAssignment<Vector3d>(); }

TEST(Vector3d, DotProductSumsLeftToRight) {
    // (0.1 + 0.2) + 0.3; the other grouping would give 0.6.
    EXPECT_SAME_DOUBLE(0.6000000000000001, Vector3d(1.0, 1.0, 1.0) * Vector3d(0.1, 0.2, 0.3));
    EXPECT_SAME_DOUBLE(2.0, Vector3d(1.0, 2.0, 3.0) * Vector3d(-2.0, 0.5, 1.0));
    EXPECT_SAME_DOUBLE(0.0, Vector3d(1.0, 0.0, 0.0) * Vector3d(0.0, 1.0, 0.0));
}

TEST(Vector3d, CrossProduct) {
    ExpectVector(Vector3d(1.0, 2.0, 3.0) / Vector3d(-2.0, 0.5, 1.0), 0.5, -7.0, 4.5);
    ExpectVector(Vector3d(1.0, 0.0, 0.0) / Vector3d(0.0, 1.0, 0.0), 0.0, 0.0, 1.0);
    ExpectVector(Vector3d(0.0, 1.0, 0.0) / Vector3d(1.0, 0.0, 0.0), 0.0, 0.0, -1.0);
}

TEST(Vector3d, Lengths) {
    Vector3d v(0.1, 0.2, 0.3);
    // 0.01 + 0.04 + 0.09 in doubles, then the square root.
    EXPECT_SAME_DOUBLE(0.14, v.sqrLength());
    EXPECT_SAME_DOUBLE(0.37416573867739417, v.length());
    // Summed left to right; x*x + (y*y + z*z) would give 0.62.
    EXPECT_SAME_DOUBLE(0.6199999999999999, Vector3d(0.2, 0.3, 0.7).sqrLength());
    EXPECT_SAME_DOUBLE(0.787400787401181, Vector3d(0.2, 0.3, 0.7).length());
    EXPECT_SAME_DOUBLE(25.0, Vector3d(3.0, 0.0, 4.0).sqrLength());
    EXPECT_SAME_DOUBLE(5.0, Vector3d(3.0, 0.0, 4.0).length());
}

TEST(Vector3d, NormalizeMultipliesByReciprocal) {
    Vector3d v(3.0, 0.0, 4.0);
    EXPECT_SAME_DOUBLE(5.0, v.normalize());
    // 3 * (1/5), not 3 / 5 = 0.6.
    ExpectVector(v, 0.6000000000000001, 0.0, 0.8);
}

TEST(Vector3d, NormalizeZeroVectorLeavesIt) {
    Vector3d v(0.0, 0.0, 0.0);
    EXPECT_SAME_DOUBLE(0.0, v.normalize());
    ExpectVector(v, 0.0, 0.0, 0.0);
    Vector3d s(-0.0, 0.0, -0.0);
    EXPECT_SAME_DOUBLE(0.0, s.normalize());
    ExpectVector(s, -0.0, 0.0, -0.0);
}

TEST(Vector3d, NormalizeTinyVectors) {
    // No tolerance: a tiny vector is normalised as long as its length is not 0.
    Vector3d t(1e-150, 0.0, 0.0);
    EXPECT_SAME_DOUBLE(1e-150, t.normalize());
    ExpectVector(t, 1.0, 0.0, 0.0);
    // Here x*x underflows to 0, so the length is exactly 0 and nothing changes.
    Vector3d u(1e-200, 0.0, 0.0);
    EXPECT_SAME_DOUBLE(0.0, u.normalize());
    ExpectVector(u, 1e-200, 0.0, 0.0);
}

TEST(Vector3d, AngleToIsUnsignedAndLeavesOperands) {
    Vector3d a(1.0, 2.0, 3.0);
    Vector3d b(-2.0, 0.5, 1.0);
    // acos of the dot product of the two normalised copies.
    EXPECT_SAME_DOUBLE(1.3353420651805243, a.angleTo(b));
    EXPECT_SAME_DOUBLE(1.3353420651805243, b.angleTo(a));
    ExpectVector(a, 1.0, 2.0, 3.0);
    ExpectVector(b, -2.0, 0.5, 1.0);
    EXPECT_SAME_DOUBLE(1.5707963267948966,
                       Vector3d(1.0, 0.0, 0.0).angleTo(Vector3d(0.0, 2.0, 0.0)));
    EXPECT_SAME_DOUBLE(3.141592653589793,
                       Vector3d(0.0, 0.0, 2.0).angleTo(Vector3d(0.0, 0.0, -3.0)));
}

TEST(Vector3d, AngleToClampsRoundedCosine) {
    Vector3d a(1.0, 1.0, 1.0);
    Vector3d b(2.0, 2.0, 2.0);
    Vector3d c(-2.0, -2.0, -2.0);
    // The normalised dot products round to +-1.0000000000000002; unclamped,
    // acos would give NaN.
    Vector3d na = a, nb = b, nc = c;
    na.normalize();
    nb.normalize();
    nc.normalize();
    EXPECT_SAME_DOUBLE(1.0000000000000002, na * nb);
    EXPECT_SAME_DOUBLE(-1.0000000000000002, na * nc);

    EXPECT_SAME_DOUBLE(0.0, a.angleTo(b));
    EXPECT_SAME_DOUBLE(0.0, a.angleTo(a));
    EXPECT_SAME_DOUBLE(3.141592653589793, a.angleTo(c));
}

TEST(Vector3d, AngleToOfZeroVectorsIsHalfPi) {
    Vector3d z(0.0, 0.0, 0.0);
    EXPECT_SAME_DOUBLE(1.5707963267948966, z.angleTo(Vector3d(0.0, 0.0, 0.0)));
    EXPECT_SAME_DOUBLE(1.5707963267948966, z.angleTo(Vector3d(1.0, 2.0, 3.0)));
}

TEST(Vector3d, AngleToWithReference) {
    // this x v = (0,0,-1): against ref (0,0,1) the angle is measured the long way.
    EXPECT_SAME_DOUBLE(4.71238915523025,
                       Vector3d(0.0, 1.0, 0.0).angleTo(Vector3d(1.0, 0.0, 0.0), Vector3d()));
    EXPECT_SAME_DOUBLE(kTwoPiF - 1.5707963267948966,
                       Vector3d(0.0, 1.0, 0.0).angleTo(Vector3d(1.0, 0.0, 0.0), Vector3d()));
    EXPECT_SAME_DOUBLE(1.5707963267948966,
                       Vector3d(0.0, -1.0, 0.0).angleTo(Vector3d(1.0, 0.0, 0.0), Vector3d()));

    Vector3d a(1.0, 2.0, 3.0);
    Vector3d b(-2.0, 0.5, 1.0);  // a x b = (0.5, -7, 4.5)
    EXPECT_SAME_DOUBLE(1.3353420651805243, a.angleTo(b, Vector3d(0.0, 0.0, 1.0)));
    // 6.2831854820251465 - 1.3353420651805243.
    EXPECT_SAME_DOUBLE(4.947843416844622, a.angleTo(b, Vector3d(0.0, 0.0, -1.0)));
    // ref . (a x b) exactly 0 leaves the angle as it is.
    EXPECT_SAME_DOUBLE(1.3353420651805243, a.angleTo(b, Vector3d(14.0, 1.0, 0.0)));
    // Anti-parallel: the cross product is zero, so the result stays pi.
    EXPECT_SAME_DOUBLE(
        3.141592653589793,
        Vector3d(1.0, 0.0, 0.0).angleTo(Vector3d(-1.0, 0.0, 0.0), Vector3d(0, 0, -1)));
    EXPECT_SAME_DOUBLE(0.0,
                       Vector3d(1.0, 1.0, 1.0).angleTo(Vector3d(2.0, 2.0, 2.0), Vector3d(1, 0, 0)));
}

TEST(Vector3d, AngleToWithReferenceCanExceedDoubleTwoPi) {
    // The normalised dot product rounds to 1, so the angle is 0, but the cross
    // product (0, 0, 1e-9) points against ref: the result is the float 2*pi.
    double r = Vector3d(1.0, 0.0, 0.0).angleTo(Vector3d(1.0, 1e-9, 0.0), Vector3d(0.0, 0.0, -1.0));
    EXPECT_SAME_DOUBLE(6.2831854820251465, r);
    EXPECT_GT(r, 6.283185307179586);
}

TEST(Vector3d, TransformByIgnoresTranslation) {
    Vector3d v(1.5, -2.0, 0.25);
    Vector3d r = v.transformBy(MatA());
    // Upper-left 3x3 block only, summed left to right.
    ExpectVector(v, -0.175, 6.3125, -1.975);
    ExpectVector(r, -0.175, 6.3125, -1.975);
    static_assert(std::is_same<decltype(v.transformBy(Matrix3d())), Vector3d>::value,
                  "returns a copy");
    Matrix3d t;
    t.setToTranslation(Vector3d(10.0, 20.0, 30.0));
    ExpectVector(t * Vector3d(1.0, 2.0, 3.0), 1.0, 2.0, 3.0);
}

TEST(Vector3d, MatrixTimesVector) {
    ExpectVector(MatA() * Vector3d(1.5, -2.0, 0.25), -0.175, 6.3125, -1.975);
    ExpectVector(MatA() * Vector3d(1.0, 1.0, 1.0), 0.6000000000000001, -0.25, 1.0);
}

TEST(Vector3d, AsPoint3dCopiesCoordinates) {
    Vector3d v(1.0, -2.0, 0.5);
    ExpectPoint(v.asPoint3d(), 1.0, -2.0, 0.5);
    ExpectPoint(Vector3d().asPoint3d(), 0.0, 0.0, 1.0);
}

// ---- OV_angle ----

TEST(OvAngle, NegativeAnglesWrapWithFloatTwoPi) {
    // atan2(-1, 0) + 6.2831854820251465.
    EXPECT_SAME_DOUBLE(4.71238915523025, OV_angle(Point3d(0, 0, 0), Point3d(0, -1, 0)));
    EXPECT_SAME_DOUBLE(kTwoPiF - 1.5707963267948966, OV_angle(Point3d(0, 0, 0), Point3d(0, -1, 0)));
    // atan2(-4, -3) + 6.2831854820251465.
    EXPECT_SAME_DOUBLE(4.068888046436966, OV_angle(Point3d(1, 2, 0), Point3d(-2, -2, 0)));
}

TEST(OvAngle, NonNegativeAnglesAsAtan2) {
    EXPECT_SAME_DOUBLE(0.9272952180016122, OV_angle(Point3d(1, 2, 0), Point3d(4, 6, 0)));
    EXPECT_SAME_DOUBLE(3.141592653589793, OV_angle(Point3d(0, 0, 0), Point3d(-1, 0, 0)));
    EXPECT_SAME_DOUBLE(1.5707963267948966, OV_angle(Point3d(0, 0, 0), Point3d(0, 2, 0)));
}

TEST(OvAngle, IgnoresZ) {
    EXPECT_SAME_DOUBLE(0.0, OV_angle(Point3d(1, 1, 5), Point3d(1, 1, -5)));
    EXPECT_SAME_DOUBLE(0.9272952180016122, OV_angle(Point3d(1, 2, -7), Point3d(4, 6, 100)));
}

TEST(OvAngle, EqualPointsGiveZero) {
    double a = OV_angle(Point3d(2, 3, 4), Point3d(2, 3, 4));
    EXPECT_SAME_DOUBLE(0.0, a);
    EXPECT_FALSE(std::signbit(a));
}

TEST(OvAngle, NegativeZeroIsReturnedAsIs) {
    // dy = -0.0 - 0.0 = -0.0 and atan2(-0.0, 1) = -0.0, which is not < 0.
    double a = OV_angle(Point3d(0, 0, 0), Point3d(1, -0.0, 0));
    EXPECT_EQ(0.0, a);
    EXPECT_TRUE(std::signbit(a));
}
