// Tests of Line: construction, derived quantities, mutators, parameters and
// tangents, equality, sampling and the 48-byte record.
//
// Expected doubles were computed with python3 (IEEE doubles, no fused
// multiply-add), evaluating each formula in the library's order: the midpoint
// as (s + e) * 0.5, the half length as 0.5 * sqrt((dx*dx + dy*dy) + dz*dz),
// the direction as (e - s) * (1.0 / (h * 2.0)) with the 2.5e-9 snap, dot
// products as (x + y) + z.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "geometry/geometry_checks.h"
#include "selvora/selvora.h"
#include "support/exact.h"
#include "support/streams.h"

namespace {

using selvora_test::CopyOf;
using selvora_test::ExpectEqualToItselfOnly;
using selvora_test::ExpectPoint;
using selvora_test::ExpectPoints;
using selvora_test::ExpectSamePoint;
using selvora_test::ExpectVector;
using selvora_test::LoadFirst;
using selvora_test::SaveAndLoad;
using selvora_test::SavedRecord;

using selvora_test::Bits;

void ExpectEnds(const Line& l, const Point3d& s, const Point3d& e) {
    {
        SCOPED_TRACE("start");
        ExpectSamePoint(s, l.GetStart());
    }
    {
        SCOPED_TRACE("end");
        ExpectSamePoint(e, l.GetEnd());
    }
}

// A line from s to e that is Bounded, has these symmetry and periodic flag, is
// named "GLine" and carries no function handle.
void ExpectBoundedLine(Line& l, const Point3d& s, const Point3d& e, Curve::SymmetryType symmetry,
                       int periodic) {
    ExpectEnds(l, s, e);
    EXPECT_EQ(Curve::Bounded, l.GetExtent());
    EXPECT_EQ(symmetry, l.GetSymmetry());
    EXPECT_EQ(periodic, l.IsPeriodic());
    EXPECT_STREQ("GLine", l.className());
    EXPECT_EQ(nullptr, l.GetFunction());
}

// The general line most tests use: S = (0.1, 0.2, 0.3), E = (1.7, -2.9, 4.1).
Line GeneralLine() {
    Point3d s(0.1, 0.2, 0.3), e(1.7, -2.9, 4.1);
    return Line(s, e);
}

// Opens the protected members for the tests.
class ProbeLine : public Line {
  public:
    using Line::Line;
    using Line::SetMidpointX;
    using Line::SetMidpointY;
    using Line::SetMidpointZ;
    void SetFn(void* f) { SetFunction(f); }
};

// A line whose tangent slot answers a fixed value.
class FixedTangentLine : public Line {
  public:
    using Line::Line;
    double GetTangentAtStart() override { return 42.5; }
};

// A line whose virtual end getters report points other than the stored ones.
class ShiftedEndsLine : public Line {
  public:
    using Line::Line;
    Point3d GetStart() const override { return Point3d(-1.0, -2.0, -3.0); }
    Point3d GetEnd() const override { return Point3d(5.0, 6.0, 7.0); }
};

// The 48 record bytes expected for these six doubles.
std::vector<unsigned char> RecordOf(const double (&v)[6]) {
    std::vector<unsigned char> bytes(48);
    std::memcpy(bytes.data(), v, 48);
    return bytes;
}

void FillMarker(OvPnt3dArray& pts, int n) {
    pts.SetSize(n, -1);
    for (int i = 0; i < n; ++i) pts[i] = Point3d(100.0 + i, -1.0, -2.0);
}

void ExpectMarker(OvPnt3dArray& pts, int n) {
    ASSERT_EQ(n, pts.GetSize());
    for (int i = 0; i < n; ++i) ExpectPoint(pts.GetAt(i), 100.0 + i, -1.0, -2.0);
}

// Sampling l by a step or a count (the type of `by` chooses) must leave an
// array of n marker points as it was.
template <class By>
void ExpectSamplingLeavesMarkers(Line& l, By by, int n) {
    SCOPED_TRACE(::testing::Message() << "sampling by " << by);
    OvPnt3dArray pts;
    FillMarker(pts, n);
    l.PointSample(by, pts);
    ExpectMarker(pts, n);
}

}  // namespace

// ---- Construction ----

TEST(LineTest, DefaultConstructor) {
    Line l;
    EXPECT_STREQ("GLine", l.className());
    EXPECT_EQ(1, l.isA("GLine"));
    EXPECT_EQ(0, l.isA("GImplictCurve"));
    ExpectEnds(l, Point3d(0.0, 0.0, 0.0), Point3d(0.0, 0.0, 0.0));
    EXPECT_EQ(Curve::Unbounded, l.GetExtent());  // not set by this constructor
    EXPECT_EQ(Curve::Symmetric, l.GetSymmetry());
    EXPECT_EQ(0, l.IsPeriodic());
    EXPECT_EQ(nullptr, l.GetFunction());
}

TEST(LineTest, VectorAndMidpointConstructor) {
    Line l(2, 0, 0, 5, 5, 5);
    ExpectEnds(l, Point3d(4.0, 5.0, 5.0), Point3d(6.0, 5.0, 5.0));
    EXPECT_EQ(Curve::Bounded, l.GetExtent());
    EXPECT_STREQ("GLine", l.className());
    EXPECT_EQ(nullptr, l.GetFunction());

    // start = m - d*0.5, end = m + d*0.5 per coordinate.
    Line g(0.3, -1.7, 2.9, 0.1, 0.2, 0.7);
    ExpectEnds(g, Point3d(-0.04999999999999999, 1.05, -0.75),
               Point3d(0.25, -0.6499999999999999, 2.15));
}

TEST(LineTest, TwoPointConstructor) {
    Point3d s(0.1, 0.2, 0.3), e(1.7, -2.9, 4.1);
    Line l(s, e);
    ExpectBoundedLine(l, s, e, Curve::Symmetric, 0);
}

TEST(LineTest, ImplicitCoefficientConstructor) {
    // 3x + 4y - 10 = 0: foot (1.2, 1.6), direction (-4, 3)/5, half length 2.5.
    Vector3d abc(3.0, 4.0, -10.0);
    Line l(abc, 2.5);
    ExpectEnds(l, Point3d(3.2, 0.10000000000000009, 0.0), Point3d(-0.8, 3.1, 0.0));
    EXPECT_STREQ("GLine", l.className());
    EXPECT_EQ(Curve::Unbounded, l.GetExtent());  // not set by this constructor

    // s = a*a + b*b, n = sqrt(s), F = (-(c*a/s), -(c*b/s)),
    // start = (F.x + (b/n)*d, F.y - (a/n)*d, 0), end = (F.x - (b/n)*d, F.y + (a/n)*d, 0).
    Vector3d abc2(0.7, -1.3, 2.2);
    Line g(abc2, 1.9);
    ExpectEnds(g, Point3d(-2.379317108200757, 0.41113694173805426, 0.0),
               Point3d(0.9664730715035093, 2.2127162692711204, 0.0));
    // a and b of the result are a/n = 0.4740998230350174 and b/n =
    // -0.8804710999221753 in exact arithmetic; recomputed from the rounded
    // ends they come out one unit in the last place smaller in magnitude.
    EXPECT_SAME_DOUBLE(0.4740998230350173, g.a());
    EXPECT_SAME_DOUBLE(-0.8804710999221752, g.b());
    // Length 2d = 3.8 ideally.
    EXPECT_SAME_DOUBLE(3.8000000000000007, g.GetLength());
}

TEST(LineTest, ImplicitCoefficientConstructorWithoutDirectionGivesNaN) {
    // a = b = 0: s and n are 0, so every XY coordinate is 0/0.
    Vector3d abc(0.0, 0.0, 5.0);
    Line l(abc, 1.0);
    EXPECT_TRUE(std::isnan(l.GetStartX()));
    EXPECT_TRUE(std::isnan(l.GetStartY()));
    EXPECT_TRUE(std::isnan(l.GetEndX()));
    EXPECT_TRUE(std::isnan(l.GetEndY()));
    EXPECT_SAME_DOUBLE(0.0, l.GetStartZ());
    EXPECT_SAME_DOUBLE(0.0, l.GetEndZ());
}

TEST(LineTest, CopyConstructorCopiesEverythingButTheFunction) {
    int token = 0;
    Point3d s(0.1, 0.2, 0.3), e(1.7, -2.9, 4.1);
    ProbeLine src(s, e);
    src.SetSymmetry(Curve::NotSymmetric);
    src.SetPeriodic(7);
    src.SetFn(&token);
    ASSERT_EQ(&token, src.GetFunction());

    Line copy(src);
    ExpectBoundedLine(copy, s, e, Curve::NotSymmetric, 7);
}

TEST(LineTest, AssignmentKeepsTheTargetsFunction) {
    int mine = 0, theirs = 0;
    Point3d s(0.1, 0.2, 0.3), e(1.7, -2.9, 4.1);
    ProbeLine src(s, e);
    src.SetPeriodic(3);
    src.SetFn(&theirs);
    ProbeLine dst;
    dst.SetFn(&mine);

    Line& result = (static_cast<Line&>(dst) = src);
    EXPECT_EQ(&dst, &result);
    ExpectEnds(dst, s, e);
    EXPECT_EQ(Curve::Bounded, dst.GetExtent());
    EXPECT_EQ(3, dst.IsPeriodic());
    EXPECT_EQ(&mine, dst.GetFunction());

    Line fresh;
    fresh = src;
    EXPECT_EQ(nullptr, fresh.GetFunction());
}

TEST(LineTest, CopyMakesANewLineWithoutTheFunction) {
    int token = 0;
    Point3d s(0.1, 0.2, 0.3), e(1.7, -2.9, 4.1);
    ProbeLine src(s, e);
    src.SetFn(&token);
    const std::unique_ptr<Line> l = CopyOf<Line>(src, "GLine");
    ASSERT_NE(nullptr, l);
    ExpectBoundedLine(*l, s, e, Curve::Symmetric, 0);
}

// ---- Derived quantities ----

TEST(LineTest, DerivedQuantitiesOfAGeneralLine) {
    Line l = GeneralLine();
    EXPECT_SAME_DOUBLE(0.9, l.GetMidpointX());
    EXPECT_SAME_DOUBLE(-1.3499999999999999, l.GetMidpointY());
    EXPECT_SAME_DOUBLE(2.1999999999999997, l.GetMidpointZ());
    ExpectPoint(l.GetMidpoint(), 0.9, -1.3499999999999999, 2.1999999999999997);
    ExpectPoint(l.GetLocation(), 0.9, -1.3499999999999999, 2.1999999999999997);

    EXPECT_SAME_DOUBLE(2.579244075305786, l.GetHalfLength());
    EXPECT_SAME_DOUBLE(5.158488150611572, l.GetLength());
    ExpectVector(l.GetSize(), 2.579244075305786, 2.579244075305786, 2.579244075305786);

    ExpectVector(l.GetDirection(), 0.3101683968800645, -0.600951268955125, 0.7366499425901532);
    ExpectVector(l.GetOrientation(), 0.3101683968800645, -0.600951268955125, 0.7366499425901532);
    EXPECT_SAME_DOUBLE(0.3101683968800645, l.GetDirX());
    EXPECT_SAME_DOUBLE(-0.600951268955125, l.GetDirY());
    EXPECT_SAME_DOUBLE(0.7366499425901532, l.GetDirZ());

    // a = u.y, b = -u.x, c = u.x*M.y - u.y*M.x.
    EXPECT_SAME_DOUBLE(-0.600951268955125, l.a());
    EXPECT_SAME_DOUBLE(-0.3101683968800645, l.b());
    EXPECT_SAME_DOUBLE(0.1221288062715255, l.c());
    EXPECT_SAME_DOUBLE(-4.9206349206349165, l.GetAoverC());
    EXPECT_SAME_DOUBLE(-2.5396825396825373, l.GetBoverC());
}

TEST(LineTest, ZeroLengthLine) {
    Point3d p(1.5, -2.5, 3.5);
    Line l(p, p);
    EXPECT_SAME_DOUBLE(0.0, l.GetLength());
    EXPECT_SAME_DOUBLE(0.0, l.GetHalfLength());
    ExpectVector(l.GetDirection(), 0.0, 0.0, 0.0);  // factor 1.0 instead of 1/0
    EXPECT_SAME_DOUBLE(0.5, l.Findt(0.0, 0.0, 0.0));
    EXPECT_SAME_DOUBLE(0.5, l.Findt(1.5, -2.5, 3.5));
    EXPECT_SAME_DOUBLE(0.5, l.Findt(-7.0, 8.0, 1e300));
    l.SetSize(4.0, 1.0, 1.0);
    ExpectEnds(l, p, p);
    l.SetSize(-2.0, 0.0, 0.0);
    ExpectEnds(l, p, p);
}

TEST(LineTest, TinyDirectionComponentsSnapToZero) {
    Point3d o(0.0, 0.0, 0.0), e(1.0, 1e-10, 0.0);
    Line l(o, e);
    ExpectVector(l.GetDirection(), 1.0, 0.0, 0.0);
    EXPECT_SAME_DOUBLE(0.0, l.GetDirY());
    EXPECT_SAME_DOUBLE(0.0, l.a());

    // Negative components snap to +0.0 as well.
    Point3d e2(-1.0, -1e-10, -2e-9);
    Line n(o, e2);
    ExpectVector(n.GetDirection(), -1.0, 0.0, 0.0);

    // The snap is strict: a component of exactly 2.5e-9 stays.
    Point3d e3(1.0, 2.5e-9, 0.0);
    Line k(o, e3);
    ExpectVector(k.GetDirection(), 1.0, 2.5e-9, 0.0);
}

TEST(LineTest, CoefficientsDivideWithoutGuard) {
    // Through the origin along x: a = 0, c = 0.
    Point3d s(-1.0, 0.0, 0.0), e(1.0, 0.0, 0.0);
    Line l(s, e);
    EXPECT_SAME_DOUBLE(0.0, l.c());
    EXPECT_TRUE(std::isnan(l.GetAoverC()));                                       // 0 / 0
    EXPECT_SAME_DOUBLE(-std::numeric_limits<double>::infinity(), l.GetBoverC());  // -1 / 0
}

// ---- Mutators ----

TEST(LineTest, SetMidpointMovesBothEnds) {
    Line l = GeneralLine();
    l.SetMidpoint(-3.3, 0.45, 7.0);
    ExpectEnds(l, Point3d(-4.1, 2.0, 5.1), Point3d(-2.5, -1.0999999999999999, 8.9));
    ExpectPoint(l.GetMidpoint(), -3.3, 0.45000000000000007, 7.0);

    Line a = GeneralLine();
    a.SetLocation(-3.3, 0.45, 7.0);
    ExpectEnds(a, Point3d(-4.1, 2.0, 5.1), Point3d(-2.5, -1.0999999999999999, 8.9));

    Line b = GeneralLine();
    Point3d to(-3.3, 0.45, 7.0);
    b.SetLocation(to);
    ExpectEnds(b, Point3d(-4.1, 2.0, 5.1), Point3d(-2.5, -1.0999999999999999, 8.9));
}

TEST(LineTest, SetMidpointXMovesStartThenEnd) {
    Point3d s(0.0, 0.0, 0.0), e(2.0, 0.0, 0.0);
    ProbeLine l(s, e);
    l.SetMidpointX(10.0);
    ExpectEnds(l, Point3d(9.0, 0.0, 0.0), Point3d(6.5, 0.0, 0.0));
    EXPECT_SAME_DOUBLE(7.75, l.GetMidpointX());  // three quarters of the way to 10
}

TEST(LineTest, SetMidpointYAndZ) {
    Point3d s(0.1, 0.2, 0.3), e(1.7, -2.9, 4.1);
    ProbeLine y(s, e);
    y.SetMidpointY(5.3);
    ExpectEnds(y, Point3d(0.1, 6.85, 0.3), Point3d(1.7, 0.42500000000000004, 4.1));

    ProbeLine z(s, e);
    z.SetMidpointZ(-0.7);
    ExpectEnds(z, Point3d(0.1, 0.2, -2.5999999999999996), Point3d(1.7, -2.9, 2.6499999999999995));
}

TEST(LineTest, SetDirNormalisesAndKeepsMidpointAndLength) {
    Line l = GeneralLine();
    l.SetDir(3.0, 4.0, 12.0);  // normalised by sqrt(169) = 13
    ExpectEnds(l, Point3d(0.3047898287755878, -2.1436135616325496, -0.18084068489764915),
               Point3d(1.4952101712244121, -0.5563864383674503, 4.580840684897648));
    EXPECT_SAME_DOUBLE(5.158488150611572, l.GetLength());

    Line a = GeneralLine();
    a.SetOrientation(3.0, 4.0, 12.0);
    ExpectEnds(a, Point3d(0.3047898287755878, -2.1436135616325496, -0.18084068489764915),
               Point3d(1.4952101712244121, -0.5563864383674503, 4.580840684897648));

    Line b = GeneralLine();
    Vector3d v(3.0, 4.0, 12.0);
    b.SetOrientation(v);
    ExpectEnds(b, Point3d(0.3047898287755878, -2.1436135616325496, -0.18084068489764915),
               Point3d(1.4952101712244121, -0.5563864383674503, 4.580840684897648));
}

TEST(LineTest, SetDirUsesANearUnitVectorUnchanged) {
    // s = 1.00000020000001 is within 1e-6 of 1, so (1.0000001, 0, 0) is used
    // as it is and the length grows by that factor.
    Line l = GeneralLine();
    l.SetDir(1.0000001, 0.0, 0.0);
    ExpectEnds(l, Point3d(-1.6792443332301938, -1.3499999999999999, 2.1999999999999997),
               Point3d(3.4792443332301937, -1.3499999999999999, 2.1999999999999997));
    EXPECT_SAME_DOUBLE(5.1584886664603875, l.GetLength());
}

TEST(LineTest, SetDirWithZeroVectorDoesNothing) {
    Line l = GeneralLine();
    l.SetDir(0.0, 0.0, 0.0);
    ExpectEnds(l, Point3d(0.1, 0.2, 0.3), Point3d(1.7, -2.9, 4.1));
    l.SetDir(0.0, -0.0, 0.0);
    ExpectEnds(l, Point3d(0.1, 0.2, 0.3), Point3d(1.7, -2.9, 4.1));
}

TEST(LineTest, SetSizeFromTheOldEnds) {
    // k = x / h; new start = S*((1+k)*0.5) + E*((1-k)*0.5), new end likewise
    // with S and E exchanged, both from the ends as they were.
    Line l = GeneralLine();
    l.SetSize(3.7, 99.0, -99.0);  // y and z are ignored
    ExpectEnds(l, Point3d(-0.2476230684562386, 0.8735196951339624, -0.5256047875835667),
               Point3d(2.047623068456239, -3.573519695133963, 4.925604787583567));
    EXPECT_SAME_DOUBLE(3.7000000000000006, l.GetHalfLength());  // ideally 3.7

    Line v = GeneralLine();
    Vector3d size(3.7, 0.0, 0.0);
    v.SetSize(size);
    ExpectEnds(v, Point3d(-0.2476230684562386, 0.8735196951339624, -0.5256047875835667),
               Point3d(2.047623068456239, -3.573519695133963, 4.925604787583567));
}

TEST(LineTest, SetSizeWithNegativeHalfLengthSwapsTheEnds) {
    Line l = GeneralLine();
    l.SetSize(-1.1, 0.0, 0.0);
    ExpectEnds(l, Point3d(1.2411852365680707, -2.0110463958506375, 3.010314936849168),
               Point3d(0.558814763431929, -0.6889536041493626, 1.3896850631508315));
    EXPECT_SAME_DOUBLE(1.0999999999999999, l.GetHalfLength());
}

TEST(LineTest, NegateDirectionExchangesTheEnds) {
    Line l = GeneralLine();
    l.NegateDirection();
    ExpectEnds(l, Point3d(1.7, -2.9, 4.1), Point3d(0.1, 0.2, 0.3));
    l.NegateDirection();
    ExpectEnds(l, Point3d(0.1, 0.2, 0.3), Point3d(1.7, -2.9, 4.1));
}

TEST(LineTest, ScaleAboutTheOrigin) {
    Line l = GeneralLine();
    EXPECT_EQ(1, l.Scale(2.0));
    ExpectEnds(l, Point3d(0.2, 0.4, 0.6), Point3d(3.4, -5.8, 8.2));
    EXPECT_EQ(1, l.Scale(-1.5));
    // 0.2*-1.5, 0.4*-1.5, ... each one product.
    ExpectEnds(l, Point3d(-0.30000000000000004, -0.6000000000000001, -0.8999999999999999),
               Point3d(-5.1, 8.7, -12.299999999999999));
}

TEST(LineTest, ScaleRefusesZeroFactorAndUnboundedExtent) {
    Line l = GeneralLine();
    EXPECT_EQ(0, l.Scale(0.0));
    EXPECT_EQ(0, l.Scale(-0.0));
    ExpectEnds(l, Point3d(0.1, 0.2, 0.3), Point3d(1.7, -2.9, 4.1));

    Line d;  // extent never set to 2
    EXPECT_EQ(0, d.Scale(2.0));

    Vector3d abc(3.0, 4.0, -10.0);
    Line k(abc, 2.5);
    EXPECT_EQ(0, k.Scale(2.0));
    ExpectEnds(k, Point3d(3.2, 0.10000000000000009, 0.0), Point3d(-0.8, 3.1, 0.0));

    k.SetExtent(Curve::Bounded);
    EXPECT_EQ(1, k.Scale(2.0));
    ExpectEnds(k, Point3d(6.4, 0.20000000000000018, 0.0), Point3d(-1.6, 6.2, 0.0));
}

TEST(LineTest, TransformByMovesBothEnds) {
    // The inherited Curve transformation: each end is m applied as a point,
    // ((m0*x + m1*y) + m2*z) + m3 per row.
    Line l = GeneralLine();
    Matrix3d m;
    m.setToTranslation(Vector3d(1.5, -2.0, 0.25));
    l.transformBy(m);
    ExpectEnds(l, Point3d(1.6, -1.8, 0.55), Point3d(3.2, -4.9, 4.35));
    EXPECT_EQ(Curve::Bounded, l.GetExtent());
}

// ---- Parameters and tangents ----

TEST(LineTest, EvaluateAtIsSignedDistanceFromTheMidpoint) {
    Line l = GeneralLine();
    ExpectPoint(l.evaluate_at(0.0), 0.9, -1.3499999999999999, 2.1999999999999997);
    ExpectPoint(l.evaluate_at(1.25), 1.2877104961000807, -2.101189086193906, 3.1208124282376914);
    // The ends up to rounding: M + u*(-h) and M + u*h.
    ExpectPoint(l.evaluate_at(-l.GetHalfLength()), 0.09999999999999998, 0.20000000000000018,
                0.2999999999999998);
    ExpectPoint(l.evaluate_at(l.GetHalfLength()), 1.7000000000000002, -2.9, 4.1);
}

TEST(LineTest, FindtIsTheFractionFromTheStart) {
    Line l = GeneralLine();
    EXPECT_SAME_DOUBLE(0.0, l.Findt(0.1, 0.2, 0.3));
    EXPECT_SAME_DOUBLE(1.0, l.Findt(1.7, -2.9, 4.1));
    EXPECT_SAME_DOUBLE(0.43667794062382564, l.Findt(1.0, -1.0, 2.0));
}

TEST(LineTest, TangentAtStartInDegrees) {
    Point3d o(0.0, 0.0, 0.0);
    Point3d east(1.0, 0.0, 0.0), west(-1.0, 0.0, 0.0), south(0.0, -1.0, 0.0), north(0.0, 1.0, 0.0);
    EXPECT_SAME_DOUBLE(0.0, Line(o, east).GetTangentAtStart());
    // atan2 * 57.29577791868205, not 180/pi: never exactly 180, 270 or 90.
    EXPECT_SAME_DOUBLE(179.99999499104382, Line(o, west).GetTangentAtStart());
    EXPECT_SAME_DOUBLE(270.00000250447806, Line(o, south).GetTangentAtStart());
    EXPECT_SAME_DOUBLE(89.99999749552191, Line(o, north).GetTangentAtStart());

    Point3d s(1.0, 2.0, 0.0), e(-3.0, 5.0, 7.0);  // z plays no part
    EXPECT_SAME_DOUBLE(143.13009837119813, Line(s, e).GetTangentAtStart());
    EXPECT_SAME_DOUBLE(297.2995739561311, GeneralLine().GetTangentAtStart());
}

TEST(LineTest, TangentOfATinyNegativeAngleIsExactly360) {
    Point3d o(0.0, 0.0, 0.0), e(1.0, -1e-300, 0.0);
    EXPECT_SAME_DOUBLE(360.0, Line(o, e).GetTangentAtStart());
}

TEST(LineTest, TangentAtEndAndAtPointRepeatTheStartSlot) {
    Line l = GeneralLine();
    Point3d anywhere(50.0, -50.0, 3.0);
    EXPECT_SAME_DOUBLE(297.2995739561311, l.GetTangentAtEnd());
    EXPECT_SAME_DOUBLE(297.2995739561311, l.GetTangentAtPoint(anywhere));

    // The base's Vector3d slot is not replaced.
    Vector3d v(1.0, 0.0, 0.0);
    EXPECT_SAME_DOUBLE(-99999.0, l.GetTangentAtPoint(v));

    // A subclass's tangent slot is what the other two report.
    Point3d s(0.1, 0.2, 0.3), e(1.7, -2.9, 4.1);
    FixedTangentLine f(s, e);
    Line& asLine = f;
    EXPECT_SAME_DOUBLE(42.5, asLine.GetTangentAtEnd());
    EXPECT_SAME_DOUBLE(42.5, asLine.GetTangentAtPoint(anywhere));
    Curve& asCurve = f;
    EXPECT_SAME_DOUBLE(42.5, asCurve.GetTangentAtEnd());
}

TEST(LineTest, VirtualsDispatchThroughTheBase) {
    Line l = GeneralLine();
    Curve& c = l;
    EXPECT_SAME_DOUBLE(5.158488150611572, c.GetLength());
    EXPECT_SAME_DOUBLE(297.2995739561311, c.GetTangentAtStart());
    // Curve's sampling arithmetic sees the line's length.
    EXPECT_EQ(8, c.NSamples(0.7));
}

TEST(LineTest, WholeEndPointsComeFromTheVirtualGetters) {
    // The half length uses GetStart/GetEnd; the midpoint uses the stored
    // coordinates.
    Point3d s(0.0, 0.0, 0.0), e(2.0, 0.0, 0.0);
    ShiftedEndsLine l(s, e);
    EXPECT_SAME_DOUBLE(7.0710678118654755, l.GetHalfLength());  // 0.5 * sqrt(200)
    EXPECT_SAME_DOUBLE(1.0, l.GetMidpointX());
}

// ---- Equality ----

TEST(LineTest, EqualityWithinTolerancePerCoordinate) {
    Line l = GeneralLine();
    EXPECT_EQ(1, l == l);

    Point3d s(0.1 + 2e-9, 0.2 - 2e-9, 0.3), e(1.7, -2.9, 4.1 + 2e-9);
    Line near(s, e);
    EXPECT_EQ(1, l == near);

    // Strict: a difference of exactly 2.5e-9 is too much.
    Point3d o(0.0, 0.0, 0.0), x(1.0, 0.0, 0.0);
    Point3d oFar(2.5e-9, 0.0, 0.0), oNear(2.4999999999999998e-09, 0.0, 0.0);
    Line base(o, x), far(oFar, x), close(oNear, x);
    EXPECT_EQ(0, base == far);
    EXPECT_EQ(1, base == close);
    Point3d xFar(1.0, 0.0, -2.5e-9);
    Line farEnd(o, xFar);
    EXPECT_EQ(0, base == farEnd);
}

TEST(LineTest, EqualityIgnoresExtentAndNamesButNotTheOrder) {
    Line l = GeneralLine();
    Line other = GeneralLine();
    other.SetExtent(Curve::Unbounded);
    other.SetSymmetry(Curve::NotSymmetric);
    other.SetPeriodic(1);
    EXPECT_EQ(1, l == other);

    Line reversed = GeneralLine();
    reversed.NegateDirection();
    EXPECT_EQ(0, l == reversed);
    EXPECT_EQ(0, reversed == l);
}

TEST(LineTest, EqualityWithItselfEvenWithNaN) {
    double nan = std::numeric_limits<double>::quiet_NaN();
    Point3d s(nan, 0.0, 0.0), e(1.0, 0.0, 0.0);
    Line l(s, e);
    ExpectEqualToItselfOnly(l);
}

TEST(LineTest, EqualityAgainstAGeometry) {
    Line l = GeneralLine();
    Line same = GeneralLine();
    Geometry& g = same;
    EXPECT_EQ(1, l == g);
    Geometry& self = l;
    EXPECT_EQ(1, l == self);

    Circle circle;
    ASSERT_EQ(1, circle.isA("GCircle"));
    EXPECT_EQ(0, l == static_cast<Geometry&>(circle));

    Curve curve;
    EXPECT_EQ(0, l == static_cast<Geometry&>(curve));

    // A plain Geometry that took the name "GLine" by assignment is no line.
    Geometry plain;
    plain = l;
    ASSERT_EQ(1, plain.isA("GLine"));
    EXPECT_EQ(0, l == plain);
}

// ---- Sampling by step ----

TEST(LinePointSampleTest, ByStepCentresTheInnerSamples) {
    Line l = GeneralLine();
    OvPnt3dArray pts;
    const double step = 0.7;
    l.PointSample(step, pts);
    ASSERT_EQ(8, pts.GetSize());
    const double expected[8][3] = {
        {0.1, 0.2, 0.3},
        {0.35720530545988716, -0.2983352793285314, 0.910862600467232},
        {0.5743231832759323, -0.7190011675971189, 1.426517560280339},
        {0.7914410610919775, -1.1396670558657063, 1.9421725200934463},
        {1.0085589389080227, -1.5603329441342937, 2.4578274799065536},
        {1.225676816724068, -1.980998832402881, 2.973482439719661},
        {1.442794694540113, -2.4016647206714685, 3.489137399532768},
        {1.7, -2.9, 4.1},
    };
    for (int i = 0; i < 8; ++i) {
        SCOPED_TRACE(i);
        ExpectPoint(pts.GetAt(i), expected[i][0], expected[i][1], expected[i][2]);
    }
}

TEST(LinePointSampleTest, ByStepOnAnAxisLine) {
    Point3d o(0.0, 0.0, 0.0), e(10.0, 0.0, 0.0);
    Line l(o, e);
    OvPnt3dArray pts;
    l.PointSample(3.0, pts);  // 4 samples; the leftover 1 is split at both ends
    ExpectPoints(pts, {Point3d(0.0, 0.0, 0.0), Point3d(3.5, 0.0, 0.0), Point3d(6.5, 0.0, 0.0),
                       Point3d(10.0, 0.0, 0.0)});
}

TEST(LinePointSampleTest, ByStepKeepsTheCountQuirk) {
    // floor(0.59 / 0.01) is 58 (0.59/0.01 = 58.99999999999999), the leftover
    // half 0.0050000000000000044 is not below half a step, so the count is
    // 58 + 1 + 2 = 61 rather than 60.
    Point3d o(0.0, 0.0, 0.0), e(0.59, 0.0, 0.0);
    Line l(o, e);
    OvPnt3dArray pts;
    l.PointSample(0.01, pts);
    ASSERT_EQ(61, pts.GetSize());
    ExpectPoint(pts.GetAt(0), 0.0, 0.0, 0.0);
    ExpectPoint(pts.GetAt(1), 0.0050000000000000044, 0.0, 0.0);  // the first offset is e
    ExpectPoint(pts.GetAt(30), 0.2950000000000001, 0.0, 0.0);
    ExpectPoint(pts.GetAt(59), 0.5850000000000003, 0.0, 0.0);
    ExpectPoint(pts.GetAt(60), 0.59, 0.0, 0.0);
}

TEST(LinePointSampleTest, ZeroStepGivesTheTwoEnds) {
    Line l = GeneralLine();
    OvPnt3dArray pts;
    l.PointSample(0.0, pts);
    ExpectPoints(pts, {Point3d(0.1, 0.2, 0.3), Point3d(1.7, -2.9, 4.1)});
}

TEST(LinePointSampleTest, StepLongerThanTheLineGivesTheEndOnly) {
    Line l = GeneralLine();
    OvPnt3dArray pts;
    l.PointSample(100.0, pts);
    ExpectPoints(pts, {Point3d(1.7, -2.9, 4.1)});
}

TEST(LinePointSampleTest, ByStepResizesAFilledArray) {
    Line l = GeneralLine();
    OvPnt3dArray pts;
    FillMarker(pts, 20);
    l.PointSample(0.0, pts);
    ExpectPoints(pts, {Point3d(0.1, 0.2, 0.3), Point3d(1.7, -2.9, 4.1)});
}

TEST(LinePointSampleTest, NegativeStepLeavesTheArrayUntouched) {
    // NSamples(-0.7) is -5: the array refuses a negative size and nothing is written.
    Line l = GeneralLine();
    ASSERT_EQ(-5, l.NSamples(-0.7));
    ExpectSamplingLeavesMarkers(l, -0.7, 3);

    OvPnt3dArray empty;
    l.PointSample(-0.7, empty);
    EXPECT_EQ(0, empty.GetSize());
}

TEST(LinePointSampleTest, ArrayThatCannotGrowIsLeftAlone) {
    // A growth step of INT_MAX makes every enlargement exceed the largest
    // size, so SetSize refuses and nothing may be written.
    Line l = GeneralLine();
    OvPnt3dArray pts;
    pts.SetSize(1, INT_MAX);
    pts[0] = Point3d(100.0, -1.0, -2.0);
    l.PointSample(0.7, pts);
    ExpectMarker(pts, 1);
    l.PointSample(5, pts);
    ExpectMarker(pts, 1);
}

// ---- Sampling by count ----

TEST(LinePointSampleTest, ByCountAccumulatesToTheEnd) {
    Line l = GeneralLine();
    OvPnt3dArray pts;
    l.PointSample(5, pts);
    // The last is reached by accumulation, so not bit-equal to the end (1.7, -2.9, 4.1).
    ExpectPoints(pts, {Point3d(0.1, 0.2, 0.3), Point3d(0.5, -0.575, 1.25), Point3d(0.9, -1.35, 2.2),
                       Point3d(1.3, -2.125, 3.1500000000000004),
                       Point3d(1.7000000000000002, -2.9, 4.1000000000000005)});

    l.PointSample(2, pts);
    ExpectPoints(pts, {Point3d(0.1, 0.2, 0.3), Point3d(1.7000000000000002, -2.9, 4.1)});
}

TEST(LinePointSampleTest, CountOneLiesAQuarterFromTheStart) {
    Point3d o(0.0, 0.0, 0.0), e(4.0, 0.0, 0.0);
    Line l(o, e);
    OvPnt3dArray pts;
    l.PointSample(1, pts);
    ExpectPoints(pts, {Point3d(1.0, 0.0, 0.0)});

    Line g = GeneralLine();
    g.PointSample(1, pts);
    ExpectPoints(pts, {Point3d(0.5, -0.575, 1.25)});
}

TEST(LinePointSampleTest, NonPositiveCountLeavesTheArrayUntouched) {
    Line l = GeneralLine();
    for (int count : {0, -4, INT_MIN}) ExpectSamplingLeavesMarkers(l, count, 3);
}

// ---- Record ----

TEST(LineRecordTest, SaveWritesTheTwoEndsAs48Bytes) {
    Line l = GeneralLine();
    const std::vector<unsigned char> bytes = SavedRecord(l, 48);
    ASSERT_EQ(48u, bytes.size());

    const double sx = 0.1, ex = 1.7;
    EXPECT_EQ(0, std::memcmp(bytes.data(), &sx, 8));
    EXPECT_EQ(0, std::memcmp(bytes.data() + 24, &ex, 8));
    const double all[6] = {0.1, 0.2, 0.3, 1.7, -2.9, 4.1};
    EXPECT_EQ(RecordOf(all), bytes);
}

TEST(LineRecordTest, SaveWritesWhatTheVirtualGettersReport) {
    Point3d s(0.0, 0.0, 0.0), e(2.0, 0.0, 0.0);
    ShiftedEndsLine l(s, e);
    const double all[6] = {-1.0, -2.0, -3.0, 5.0, 6.0, 7.0};
    EXPECT_EQ(RecordOf(all), SavedRecord(l, 48));
}

TEST(LineRecordTest, RoundTripIsBitExactButDropsTheExtent) {
    const double nanPayload = [] {
        std::uint64_t u = 0x7ff800000000abcdULL;
        double d;
        std::memcpy(&d, &u, sizeof d);
        return d;
    }();
    Point3d s(-0.0, 1e-310, nanPayload), e(std::numeric_limits<double>::infinity(), 0.1, -2.9);
    Line src(s, e);
    src.SetSymmetry(Curve::NotSymmetric);
    src.SetPeriodic(5);
    ASSERT_EQ(Curve::Bounded, src.GetExtent());

    Line dst;
    ASSERT_NO_FATAL_FAILURE(SaveAndLoad(src, dst, 48));

    EXPECT_EQ(Bits(-0.0), Bits(dst.GetStartX()));
    EXPECT_EQ(Bits(1e-310), Bits(dst.GetStartY()));
    EXPECT_EQ(0x7ff800000000abcdULL, Bits(dst.GetStartZ()));
    ExpectPoint(dst.GetEnd(), std::numeric_limits<double>::infinity(), 0.1, -2.9);
    EXPECT_EQ(Curve::Unbounded, dst.GetExtent());  // not part of the record
    EXPECT_EQ(Curve::Symmetric, dst.GetSymmetry());
    EXPECT_EQ(0, dst.IsPeriodic());
    EXPECT_STREQ("GLine", dst.className());
}

TEST(LineRecordTest, RecordsFollowOneAnotherInAStream) {
    Point3d a(1.0, 2.0, 3.0), b(4.0, 5.0, 6.0), c(-7.5, 8.25, 0.125);
    Line first(a, b), second(c, a);
    ImplicitCurve silent;  // writes nothing, reads nothing
    FILE* f = std::tmpfile();
    ASSERT_NE(nullptr, f);
    first.Save(f);
    static_cast<Geometry&>(silent).Save(f);
    second.Save(f);
    EXPECT_EQ(96L, std::ftell(f));
    std::rewind(f);
    Line r1, r2;
    ImplicitCurve r0;
    r1.Load(f);
    static_cast<Geometry&>(r0).Load(f);
    r2.Load(f);
    std::fclose(f);
    ExpectEnds(r1, a, b);
    ExpectEnds(r2, c, a);
}

TEST(LineRecordTest, TruncatedRecordLeavesUnreadCoordinatesZero) {
    const double all[6] = {0.1, 0.2, 0.3, 1.7, -2.9, 4.1};
    const std::vector<unsigned char> record = RecordOf(all);
    Point3d s(7.0, 7.0, 7.0), e(8.0, 8.0, 8.0);

    // 30 bytes: the start and six bytes of end.x. The partly read end.x is
    // whatever fread left there; end.y and end.z were never reached.
    Line l(s, e);
    ASSERT_NO_FATAL_FAILURE(LoadFirst(l, record, 30));
    ExpectPoint(l.GetStart(), 0.1, 0.2, 0.3);
    EXPECT_SAME_DOUBLE(0.0, l.GetEndY());
    EXPECT_SAME_DOUBLE(0.0, l.GetEndZ());

    // 24 bytes: the whole end is unread.
    Line m(s, e);
    ASSERT_NO_FATAL_FAILURE(LoadFirst(m, record, 24));
    ExpectEnds(m, Point3d(0.1, 0.2, 0.3), Point3d(0.0, 0.0, 0.0));

    // An empty stream: both ends become the origin.
    Line n(s, e);
    ASSERT_NO_FATAL_FAILURE(LoadFirst(n, record, 0));
    ExpectEnds(n, Point3d(0.0, 0.0, 0.0), Point3d(0.0, 0.0, 0.0));
}

TEST(LineRecordTest, NullStreamIsIgnored) {
    Line l = GeneralLine();
    l.Save(nullptr);
    l.Load(nullptr);
    ExpectEnds(l, Point3d(0.1, 0.2, 0.3), Point3d(1.7, -2.9, 4.1));
}
