// Tests of Triangle: construction, vertex access, centroid, rigid moves,
// transformation, tolerant equality, copying and the 72-byte record.
//
// Expected doubles were computed with python3 (IEEE doubles, no fused
// multiply-add), evaluating each formula in the library's order: the centroid
// as ((v0 + v1) + v2) / 3.0 per coordinate, a transformed coordinate as
// ((m0*x + m1*y) + m2*z) + m3.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <typeinfo>
#include <vector>

#include "geometry/geometry_checks.h"
#include "selvora/selvora.h"
#include "support/exact.h"
#include "support/streams.h"

namespace {

using selvora_test::DoubleAt;
using selvora_test::ExpectCopyIs;
using selvora_test::ExpectEqualToItselfOnly;
using selvora_test::ExpectPoint;
using selvora_test::ExpectSamePoint;
using selvora_test::FromBits;
using selvora_test::LoadFirst;
using selvora_test::SaveAndLoad;
using selvora_test::SavedRecord;

using selvora_test::Bits;

void ExpectVertices(const Triangle& t, const Point3d& a, const Point3d& b, const Point3d& c) {
    ExpectSamePoint(a, t.GetPointN(0));
    ExpectSamePoint(b, t.GetPointN(1));
    ExpectSamePoint(c, t.GetPointN(2));
}

const Point3d kA(0.1, 0.2, 0.3);
const Point3d kB(1.7, -2.9, 4.4);
const Point3d kC(3.3, 0.05, -1.25);

}  // namespace

// ---- Construction and vertex access ----

TEST(Triangle, DefaultHasOriginVerticesAndName) {
    Triangle t;
    ExpectVertices(t, Point3d(), Point3d(), Point3d());
    EXPECT_STREQ("GTriangle", t.className());
    EXPECT_EQ(1, t.isA("GTriangle"));
    EXPECT_EQ(0, t.isA("NOCLASS"));
    EXPECT_EQ(0, t.isA("GTRIANGLE"));
    EXPECT_EQ(0, t.isA("Triangle"));
}

TEST(Triangle, ThreePointConstructorStoresVerticesInOrder) {
    Triangle t(kA, kB, kC);
    ExpectVertices(t, kA, kB, kC);
    EXPECT_STREQ("GTriangle", t.className());
}

TEST(Triangle, CoincidentAndNonFiniteVerticesAreAccepted) {
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Triangle t(Point3d(1, 1, 1), Point3d(1, 1, 1), Point3d(inf, -0.0, nan));
    ExpectVertices(t, Point3d(1, 1, 1), Point3d(1, 1, 1), Point3d(inf, -0.0, nan));
}

TEST(Triangle, CopyConstructorCopiesVerticesAndName) {
    Triangle src(kA, kB, kC);
    Triangle copy(src);
    ExpectVertices(copy, kA, kB, kC);
    EXPECT_STREQ("GTriangle", copy.className());

    // The name is taken from the source, whatever it is: here the source was
    // renamed through Geometry's assignment.
    Geometry plain;
    static_cast<Geometry&>(src) = plain;
    EXPECT_STREQ("NOCLASS", src.className());
    Triangle renamed(src);
    EXPECT_STREQ("NOCLASS", renamed.className());
    ExpectVertices(renamed, kA, kB, kC);
}

TEST(Triangle, AssignmentCopiesVerticesAndNameAndReturnsObject) {
    Triangle src(kA, kB, kC);
    Triangle dst(Point3d(9, 9, 9), Point3d(8, 8, 8), Point3d(7, 7, 7));
    Triangle& r = (dst = src);
    EXPECT_EQ(&dst, &r);
    ExpectVertices(dst, kA, kB, kC);
    EXPECT_STREQ("GTriangle", dst.className());

    Geometry plain;
    static_cast<Geometry&>(src) = plain;
    dst = src;
    EXPECT_STREQ("NOCLASS", dst.className());

    dst = dst;  // self-assignment keeps everything
    ExpectVertices(dst, kA, kB, kC);
    EXPECT_STREQ("NOCLASS", dst.className());
}

TEST(Triangle, AssignmentThroughGeometryCopiesOnlyTheName) {
    Triangle dst(kA, kB, kC);
    Triangle src(Point3d(9, 9, 9), Point3d(8, 8, 8), Point3d(7, 7, 7));
    Curve c;
    Geometry& g = dst;
    g = c;
    EXPECT_STREQ("GCurve", dst.className());
    ExpectVertices(dst, kA, kB, kC);
    g = src;
    EXPECT_STREQ("GTriangle", dst.className());
    ExpectVertices(dst, kA, kB, kC);
}

TEST(Triangle, SetReplacesAllThreeVertices) {
    Triangle t;
    t.Set(kC, kA, kB);
    ExpectVertices(t, kC, kA, kB);
    EXPECT_STREQ("GTriangle", t.className());
}

TEST(Triangle, SetPointNSetsOneVertex) {
    Triangle t(kA, kB, kC);
    const Point3d p(-4.5, 6.25, 1e-300);
    t.SetPointN(p, 1);
    ExpectVertices(t, kA, p, kC);
    t.SetPointN(p, 0);
    ExpectVertices(t, p, p, kC);
    t.SetPointN(kA, 2);
    ExpectVertices(t, p, p, kA);
}

TEST(Triangle, SetPointNIgnoresIndicesOutsideZeroToTwo) {
    Triangle t(kA, kB, kC);
    const Point3d p(-4.5, 6.25, 1e-300);
    for (int n : {3, -1, 4, -3, 100, INT_MAX, INT_MIN}) {
        t.SetPointN(p, n);
        ExpectVertices(t, kA, kB, kC);
    }
}

TEST(Triangle, GetPointNGivesOriginForBadIndex) {
    Triangle t(kA, kB, kC);
    for (int n : {3, -1, INT_MAX, INT_MIN}) ExpectSamePoint(Point3d(), t.GetPointN(n));
}

// ---- Centroid and rigid moves ----

TEST(Triangle, MidpointOfRightTriangle) {
    Triangle t(Point3d(0, 0, 0), Point3d(3, 0, 0), Point3d(0, 3, 0));
    ExpectPoint(t.GetMidpoint(), 1.0, 1.0, 0.0);
    t.SetMidpoint(Point3d(0, 0, 0));
    ExpectVertices(t, Point3d(-1, -1, 0), Point3d(2, -1, 0), Point3d(-1, 2, 0));
    ExpectPoint(t.GetMidpoint(), 0.0, 0.0, 0.0);
}

TEST(Triangle, MidpointSumsInVertexOrderThenDivides) {
    Triangle t(kA, kB, kC);
    // ((0.1 + 1.7) + 3.3) / 3.0 etc.
    ExpectPoint(t.GetMidpoint(), 1.7, -0.8833333333333333, 1.1500000000000001);

    // Here summing v0 + (v1 + v2), or multiplying by 1/3, gives other values
    // (0.19999999999999998 or 0.2; 3333333333333334.0 or 3333333333333333.0).
    Triangle u(Point3d(0.1, 0.7, 1e16), Point3d(0.2, 0.1, 1.0), Point3d(0.3, 0.2, 1.0));
    ExpectPoint(u.GetMidpoint(), 0.20000000000000004, 0.3333333333333333, 3333333333333333.5);
}

TEST(Triangle, SetMidpointMovesEachVertexByTheSameOffset) {
    Triangle t(kA, kB, kC);
    t.SetMidpoint(Point3d(10.5, -7.25, 0.125));
    // d = m - centroid = (8.8, -6.366666666666667, -1.0250000000000001); vertex + d.
    ExpectVertices(t, Point3d(8.9, -6.166666666666667, -0.7250000000000001),
                   Point3d(10.5, -9.266666666666667, 3.375),
                   Point3d(12.100000000000001, -6.316666666666667, -2.2750000000000004));

    Triangle u(Point3d(0.1, 0.7, 1e16), Point3d(0.2, 0.1, 1.0), Point3d(0.3, 0.2, 1.0));
    u.SetMidpoint(Point3d(1.0, -2.0, 5.0));
    // d = (0.7999999999999999, -2.3333333333333335, -3333333333333328.5)
    ExpectVertices(u, Point3d(0.8999999999999999, -1.6333333333333335, 6666666666666672.0),
                   Point3d(1.0, -2.2333333333333334, -3333333333333327.5),
                   Point3d(1.0999999999999999, -2.1333333333333333, -3333333333333327.5));
    EXPECT_STREQ("GTriangle", u.className());
}

// ---- Transformation ----

TEST(Triangle, TransformByAppliesMatrixToEachVertex) {
    // The bottom row is not (0, 0, 0, 1): a point transform ignores it.
    // clang-format off
    const Matrix3d m(0.1, 0.2, 0.3, 0.4,
                     1.5, -2.0, 0.25, 3.0,
                     -0.7, 0.6, 1.1, -0.9,
                     0.0, 0.5, 0.0, 1.0);
    // clang-format on
    Triangle t(kA, kB, kC);
    t.transformBy(m);
    ExpectVertices(t, Point3d(0.54, 2.825, -0.52), Point3d(1.31, 12.45, 1.0100000000000011),
                   Point3d(0.36500000000000005, 7.5375, -4.555));
    EXPECT_STREQ("GTriangle", t.className());

    // The same through the virtual table.
    Triangle u(kA, kB, kC);
    Geometry& g = u;
    g.transformBy(m);
    EXPECT_EQ(1, u == t);
    ExpectSamePoint(t.GetPointN(1), u.GetPointN(1));
}

TEST(Triangle, TransformByIdentityKeepsVerticesBitForBit) {
    Triangle t(Point3d(-0.0, 1e-310, 5.5), kB, kC);
    t.transformBy(Matrix3d());
    // -0.0 * 1 + 1e-310 * 0 + ... = 0.0: the identity turns -0.0 into +0.0.
    ExpectVertices(t, Point3d(0.0, 1e-310, 5.5), kB, kC);
}

// ---- Equality ----

TEST(Triangle, EqualWithItselfEvenWithNaN) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Triangle t(Point3d(nan, 0, 0), kB, kC);
    ExpectEqualToItselfOnly(t);
}

TEST(Triangle, EqualityToleratesSmallDifferences) {
    Triangle t(kA, kB, kC);
    Triangle u(t);
    EXPECT_EQ(1, t == u);

    u.SetPointN(Point3d(kB.x + 1e-9, kB.y, kB.z), 1);
    EXPECT_EQ(1, t == u);
    EXPECT_EQ(1, u == t);

    u.SetPointN(Point3d(kB.x + 1e-8, kB.y, kB.z), 1);
    EXPECT_EQ(0, t == u);
    EXPECT_EQ(0, u == t);
}

TEST(Triangle, EqualityToleranceIsStrictPerCoordinate) {
    // |0 - 2.5e-9| is exactly 2.5e-9: not below the tolerance.
    const Point3d o(0, 0, 0);
    Triangle t(o, o, o);
    for (int n = 0; n < 3; ++n) {
        for (int axis = 0; axis < 3; ++axis) {
            Point3d at(0, 0, 0), below(0, 0, 0);
            (axis == 0 ? at.x : axis == 1 ? at.y : at.z) = 2.5e-9;
            (axis == 0 ? below.x : axis == 1 ? below.y : below.z) = -2.4999999999999996e-9;
            Triangle u(o, o, o);
            u.SetPointN(at, n);
            EXPECT_EQ(0, t == u) << "vertex " << n << " axis " << axis;
            u.SetPointN(below, n);
            EXPECT_EQ(1, t == u) << "vertex " << n << " axis " << axis;
        }
    }
    // Differences within the tolerance on every coordinate of every vertex.
    Triangle near(Point3d(2e-9, -2e-9, 2e-9), Point3d(-2e-9, 2e-9, -2e-9),
                  Point3d(2e-9, 2e-9, 2e-9));
    EXPECT_EQ(1, t == near);
}

TEST(Triangle, SameVerticesInAnotherOrderAreUnequal) {
    Triangle t(kA, kB, kC);
    Triangle rotated(kB, kC, kA);
    Triangle reversed(kC, kB, kA);
    EXPECT_EQ(0, t == rotated);
    EXPECT_EQ(0, t == reversed);
    Triangle back(kA, kB, kC);
    EXPECT_EQ(1, t == back);
}

TEST(Triangle, EqualityIgnoresTheClassName) {
    Triangle t(kA, kB, kC);
    Triangle u(kA, kB, kC);
    Geometry plain;
    static_cast<Geometry&>(u) = plain;
    EXPECT_EQ(1, t == u);
}

TEST(Triangle, GeometryEqualityRequiresATriangle) {
    Triangle t(kA, kB, kC);
    Triangle u(kA, kB, kC);
    EXPECT_EQ(1, t == static_cast<Geometry&>(u));
    EXPECT_EQ(1, t == static_cast<Geometry&>(t));

    Triangle far(kA, kB, Point3d(0, 0, 0));
    EXPECT_EQ(0, t == static_cast<Geometry&>(far));

    // Same vertices but no longer named "GTriangle".
    Geometry plain;
    static_cast<Geometry&>(u) = plain;
    EXPECT_EQ(0, t == static_cast<Geometry&>(u));

    Curve c;
    EXPECT_EQ(0, t == static_cast<Geometry&>(c));
    EXPECT_EQ(0, t == plain);

    Point3d s(0.1, 0.2, 0.3), e(1.7, -2.9, 4.4);
    Line line(s, e);
    EXPECT_EQ(0, t == static_cast<Geometry&>(line));
}

TEST(Triangle, GeometryEqualityWithPlainGeometryNamedTriangleIsZero) {
    // A plain Geometry that carries "GTriangle" has no vertices to compare.
    Triangle t(kA, kB, kC);
    Geometry* g = t.copy();
    ASSERT_NE(nullptr, g);
    EXPECT_EQ(1, g->isA("GTriangle"));
    EXPECT_EQ(0, t == *g);
    delete g;

    Geometry named;
    named = t;
    EXPECT_EQ(1, named.isA("GTriangle"));
    EXPECT_EQ(0, t == named);
}

// ---- copy() ----

TEST(Triangle, CopyYieldsPlainGeometryWithTheName) {
    Triangle t(kA, kB, kC);
    Geometry* g = t.copy();
    ASSERT_NE(nullptr, g);
    EXPECT_TRUE(typeid(*g) == typeid(Geometry));
    EXPECT_EQ(nullptr, dynamic_cast<Triangle*>(g));
    EXPECT_STREQ("GTriangle", g->className());
    EXPECT_EQ(1, g->isA("GTriangle"));

    // It holds no vertices: its record is empty.
    EXPECT_TRUE(SavedRecord(*g, 0).empty());
    delete g;

    // Through a Geometry reference the result is the same.
    ExpectCopyIs<Geometry>(t, "GTriangle");
}

// ---- Record ----

TEST(Triangle, SaveWritesTheThreeVerticesIn72Bytes) {
    Triangle t(Point3d(1.5, -2.0, 0.1), Point3d(-0.0, 1e-310, 3.0), Point3d(7.0, -8.5, 1e300));
    const std::vector<unsigned char> bytes = SavedRecord(t, 72);
    ASSERT_EQ(72u, bytes.size());

    // 1.5 is 0x3FF8000000000000, stored little-endian.
    const unsigned char first[8] = {0, 0, 0, 0, 0, 0, 0xF8, 0x3F};
    EXPECT_EQ(0, std::memcmp(first, bytes.data(), 8));
    const double expected[9] = {1.5, -2.0, 0.1, -0.0, 1e-310, 3.0, 7.0, -8.5, 1e300};
    for (int i = 0; i < 9; ++i) EXPECT_SAME_DOUBLE(expected[i], DoubleAt(bytes, 8 * i)) << i;
    // Vertices start at offsets 0, 24 and 48.
    EXPECT_SAME_DOUBLE(1.5, DoubleAt(bytes, 0));
    EXPECT_SAME_DOUBLE(-0.0, DoubleAt(bytes, 24));
    EXPECT_SAME_DOUBLE(7.0, DoubleAt(bytes, 48));
}

TEST(Triangle, SaveThenLoadRestoresVerticesBitForBit) {
    const double nan = FromBits(0x7FF800000000BEEFull);
    const double inf = std::numeric_limits<double>::infinity();
    Triangle t(Point3d(nan, -0.0, 4.9e-324), Point3d(-inf, 0.1, -1e-300),
               Point3d(3.0, 1.7976931348623157e308, -2.5));
    Triangle u;
    ASSERT_NO_FATAL_FAILURE(SaveAndLoad(t, u, 72));
    EXPECT_EQ(0x7FF800000000BEEFull, Bits(u.GetPointN(0).x));
    for (int n = 0; n < 3; ++n) ExpectSamePoint(t.GetPointN(n), u.GetPointN(n));
    EXPECT_STREQ("GTriangle", u.className());
}

TEST(Triangle, RecordsFollowOneAnotherInAStream) {
    Triangle a(kA, kB, kC), b(kC, kA, kB);
    FILE* f = std::tmpfile();
    ASSERT_NE(nullptr, f);
    a.Save(f);
    b.Save(f);
    EXPECT_EQ(144L, std::ftell(f));
    std::rewind(f);
    Triangle ra, rb;
    ra.Load(f);
    EXPECT_EQ(72L, std::ftell(f));
    rb.Load(f);
    EXPECT_EQ(144L, std::ftell(f));
    std::fclose(f);
    ExpectVertices(ra, kA, kB, kC);
    ExpectVertices(rb, kC, kA, kB);
}

TEST(Triangle, ShortReadKeepsWhatItDidNotReach) {
    Triangle src(Point3d(1.5, -2.0, 0.1), Point3d(-0.0, 1e-310, 3.3), Point3d(7.0, -8.5, 1e300));
    const std::vector<unsigned char> bytes = SavedRecord(src, 72);
    ASSERT_EQ(72u, bytes.size());

    const Point3d old0(11.0, 12.0, 13.0), old1(21.0, 22.0, 23.1), old2(31.0, 32.0, 33.0);

    // 48 bytes: vertices 0 and 1 read, vertex 2 untouched.
    Triangle t48(old0, old1, old2);
    ASSERT_NO_FATAL_FAILURE(LoadFirst(t48, bytes, 48));
    ExpectVertices(t48, src.GetPointN(0), src.GetPointN(1), old2);
    // 44 bytes: vertex 1 is read only partly, its z gets the record's low four
    // bytes and keeps its own high four.
    Triangle t44(old0, old1, old2);
    ASSERT_NO_FATAL_FAILURE(LoadFirst(t44, bytes, 44));
    const double z =
        FromBits((Bits(old1.z) & 0xFFFFFFFF00000000ull) | (Bits(3.3) & 0x00000000FFFFFFFFull));
    ASSERT_NE(Bits(23.1), Bits(z));
    ASSERT_NE(Bits(3.3), Bits(z));
    ExpectVertices(t44, src.GetPointN(0), Point3d(-0.0, 1e-310, z), old2);
    // An empty stream changes nothing.
    Triangle t0(old0, old1, old2);
    ASSERT_NO_FATAL_FAILURE(LoadFirst(t0, bytes, 0));
    ExpectVertices(t0, old0, old1, old2);
}

TEST(Triangle, NullStreamIsIgnored) {
    Triangle t(kA, kB, kC);
    t.Save(nullptr);
    t.Load(nullptr);
    ExpectVertices(t, kA, kB, kC);
}
