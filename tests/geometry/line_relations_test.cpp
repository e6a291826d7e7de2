// Tests of the Line relations: point distances and projections, line
// intersections, end-point tests, distances, angles, collinearity and
// projected lengths.
//
// Expected doubles were computed with python3 (IEEE doubles, no fused
// multiply-add) from the same formulas in the same order: the direction as
// (e - s) * (1.0 / |e - s|) with the 2.5e-9 snap, dot products as (x + y) + z,
// t = (u . w) / (u . u), cross products component by component.
#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <stdexcept>

#include "selvora/selvora.h"
#include "support/exact.h"
#include "support/platform.h"

namespace {

using selvora_test::ExpectPoint;

Line MakeLine(double sx, double sy, double sz, double ex, double ey, double ez) {
    Point3d s(sx, sy, sz), e(ex, ey, ez);
    return Line(s, e);
}

// A = (0.1, 0.2, 0.3) -> (1.7, -2.9, 4.1), B = (2, 1, -1.5) -> (-0.4, 0.6, 0.9).
Line LineA() { return MakeLine(0.1, 0.2, 0.3, 1.7, -2.9, 4.1); }
Line LineB() { return MakeLine(2.0, 1.0, -1.5, -0.4, 0.6, 0.9); }
// Along x from the origin, length 10: Findt of (x, ., .) is x / 10.
Line AxisTen() { return MakeLine(0.0, 0.0, 0.0, 10.0, 0.0, 0.0); }

double Below(double x) { return std::nextafter(x, -std::numeric_limits<double>::infinity()); }
double Above(double x) { return std::nextafter(x, std::numeric_limits<double>::infinity()); }

// x.ProjectedUnion of a container holding these entries in this order.
double ProjectedUnionOf(Line& x, std::initializer_list<Line*> entries) {
    CArray<Line*, Line*> lines;
    for (Line* l : entries) lines.Add(l);
    return x.ProjectedUnion(lines);
}

// A line that empties the caller's container when its start is read, so that
// the next indexed read fails.
class ShrinkingLine : public Line {
  public:
    ShrinkingLine(Point3d& s, Point3d& e, CArray<Line*, Line*>* owner)
        : Line(s, e), owner_(owner) {}
    Point3d GetStart() const override {
        owner_->RemoveAll();
        return Line::GetStart();
    }

  private:
    CArray<Line*, Line*>* owner_;
};

}  // namespace

// ---- Point relations ----

TEST(LineRelationsTest, PointDistanceIsToTheInfiniteLineIn3D) {
    Line a = LineA();
    Point3d p(2.0, 1.0, -1.5);
    EXPECT_SAME_DOUBLE(2.4511039471919323, a.Point2DCurveDistance(p));
    EXPECT_SAME_DOUBLE(2.4511039471919323, a.distanceTo(p));
    Point3d m(0.9, -1.3499999999999999, 2.1999999999999997);  // the midpoint
    EXPECT_SAME_DOUBLE(0.0, a.Point2DCurveDistance(m));
    // A zero-length line has no direction: 0/0.
    Point3d q(1.0, 1.0, 1.0);
    Line z(q, q);
    EXPECT_TRUE(std::isnan(z.Point2DCurveDistance(p)));
}

TEST(LineRelationsTest, Project3DPoint) {
    Line a = LineA();
    Point3d p(2.0, 1.0, -1.5), out(9.0, 9.0, 9.0);
    a.Project3DPoint(p, out);
    ExpectPoint(out, -0.27760240511086043, 0.9316046599022927, -0.5968057121382939);
}

TEST(LineRelationsTest, Project2DPointUsesTheXYPartOnly) {
    Line a = LineA();
    double ox = 9.0, oy = 9.0;
    a.Project2DPoint(2.0, 1.0, ox, oy);
    EXPECT_SAME_DOUBLE(0.17362366474938373, ox);
    EXPECT_SAME_DOUBLE(0.05735414954806917, oy);
}

TEST(LineRelationsTest, IntersectsLineAndIntersects) {
    Line a = LineA();
    Point3d inside = a.evaluate_at(1.0);  // 1.2e-16 from the line
    Point3d beyond = a.evaluate_at(5.0);  // on the line, past the end
    Point3d off(2.0, 1.0, -1.5);
    EXPECT_EQ(1, a.IntersectsLine(inside));
    EXPECT_EQ(1, a.Intersects(inside));
    EXPECT_EQ(1, a.IntersectsLine(beyond));
    EXPECT_EQ(0, a.Intersects(beyond));
    EXPECT_EQ(0, a.IntersectsLine(off));
    EXPECT_EQ(0, a.Intersects(off));
}

TEST(LineRelationsTest, IntersectsAtAnEndPoint) {
    // The dot product (S - p) . (E - p) is 0 there, below 2.5e-9.
    Line a = LineA();
    Point3d s(0.1, 0.2, 0.3), e(1.7, -2.9, 4.1);
    EXPECT_EQ(1, a.Intersects(s));
    EXPECT_EQ(1, a.Intersects(e));
    Line x = AxisTen();
    Point3d end(10.0, 0.0, 0.0), past(10.000001, 0.0, 0.0);
    EXPECT_EQ(1, x.Intersects(end));
    EXPECT_EQ(0, x.Intersects(past));
}

// ---- Intersections of two lines ----

TEST(LineRelationsTest, SlopeIntersection) {
    Line p = MakeLine(-1.3, 0.4, 0.0, 2.2, 1.9, 0.0);
    Line q = MakeLine(0.5, -2.0, 0.0, 1.1, 3.3, 0.0);
    ExpectPoint(p.intersect(q), 0.8773371104815865, 1.33314447592068, 0.0);
}

TEST(LineRelationsTest, SlopeIntersectionOfAVerticalLineIsNaN) {
    Line h = MakeLine(-1.0, 0.0, 0.0, 1.0, 0.0, 0.0);
    Line v = MakeLine(0.0, -1.0, 0.0, 0.0, 1.0, 0.0);
    Point3d r = h.intersect(v);  // slope 2/0 is infinite, its intercept NaN
    EXPECT_TRUE(std::isnan(r.x));
    EXPECT_TRUE(std::isnan(r.y));
    EXPECT_SAME_DOUBLE(0.0, r.z);
}

TEST(LineRelationsTest, CoefficientIntersection) {
    Line p = MakeLine(-1.3, 0.4, 0.0, 2.2, 1.9, 0.0);
    Line q = MakeLine(0.5, -2.0, 0.0, 1.1, 3.3, 0.0);
    Point3d out;
    EXPECT_EQ(1, p.Intersect(q, out));
    // The slope version gives 0.8773371104815865, 1.33314447592068.
    ExpectPoint(out, 0.8773371104815862, 1.3331444759206796, 0.0);
}

TEST(LineRelationsTest, CoefficientIntersectionOfCrossingAxes) {
    Line h = MakeLine(-1.0, 0.0, 0.0, 1.0, 0.0, 0.0);
    Line v = MakeLine(0.0, -1.0, 0.0, 0.0, 1.0, 0.0);
    Point3d out(5.0, 5.0, 5.0);
    EXPECT_EQ(1, h.Intersect(v, out));
    // The origin; x and y come out as -0.0 ((-0*0 - 0*-1) * -1).
    ExpectPoint(out, -0.0, -0.0, 0.0);
    EXPECT_EQ(1, out == Point3d(0.0, 0.0, 0.0));
}

TEST(LineRelationsTest, CoefficientIntersectionOfParallelLinesLeavesOutAlone) {
    Line p = MakeLine(0.0, 0.0, 0.0, 2.0, 1.0, 0.0);
    Line q = MakeLine(0.0, 3.0, 0.0, 4.0, 5.0, 0.0);
    Line r = MakeLine(4.0, 5.0, 0.0, 0.0, 3.0, 0.0);  // reversed, still parallel
    Point3d out(5.0, 6.0, 7.0);
    EXPECT_EQ(0, p.Intersect(q, out));
    EXPECT_EQ(0, p.Intersect(r, out));
    ExpectPoint(out, 5.0, 6.0, 7.0);
}

TEST(LineRelationsTest, IsIntersectChecksOnlyThisSegment) {
    Line base = MakeLine(0.0, 0.0, 0.0, 2.0, 0.0, 0.0);
    Line shortUp = MakeLine(1.0, 1.0, 0.0, 1.0, 2.0, 0.0);  // crossing (1, 0) lies outside it
    Line atThree = MakeLine(3.0, 1.0, 0.0, 3.0, 2.0, 0.0);
    Line parallel = MakeLine(0.0, 1.0, 0.0, 2.0, 1.0, 0.0);
    EXPECT_EQ(1, base.IsIntersect(shortUp));
    EXPECT_EQ(0, base.IsIntersect(atThree));
    EXPECT_EQ(0, base.IsIntersect(parallel));
    Line p = MakeLine(-1.3, 0.4, 0.0, 2.2, 1.9, 0.0);
    Line q = MakeLine(0.5, -2.0, 0.0, 1.1, 3.3, 0.0);
    EXPECT_EQ(1, p.IsIntersect(q));
    EXPECT_EQ(1, q.IsIntersect(p));
}

TEST(LineRelationsTest, IsIntersectMeasuresAlongYOnATie) {
    // |dx| = |dy| = 3.75. The crossing is (-1.0, 7.500000000000001): along x
    // it sits at t = 1.0, along y at t = 1.0000000000000002.
    Line s = MakeLine(-4.75, 3.75, 0.0, -1.0, 7.5, 0.0);
    Line o = MakeLine(0.2, 4.4, 0.0, 3.8, -4.9, 0.0);
    Point3d p;
    ASSERT_EQ(1, s.Intersect(o, p));
    ExpectPoint(p, -1.0, 7.500000000000001, 0.0);
    EXPECT_EQ(0, s.IsIntersect(o));

    // And the other way round: (4.625000000000001, 3.875) is t = 1.0000000000000002
    // along x but t = 1.0 along y.
    Line s2 = MakeLine(0.625, -0.125, 0.0, 4.625, 3.875, 0.0);
    Line o2 = MakeLine(1.7, -1.3, 0.0, 4.3, 3.3, 0.0);
    ASSERT_EQ(1, s2.Intersect(o2, p));
    ExpectPoint(p, 4.625000000000001, 3.875, 0.0);
    EXPECT_EQ(1, s2.IsIntersect(o2));
}

// ---- End-point measures and tests ----

TEST(LineRelationsTest, EndPointsDistanceIsTheNearestPair) {
    Line a = LineA(), b = LineB();
    // The four distances: 2.7367864366808017, 0.8774964387392122 (S0-E1),
    // 6.830812543175226, 5.186520991955976.
    EXPECT_SAME_DOUBLE(0.8774964387392122, a.EndPointsDistance(&b));
    EXPECT_SAME_DOUBLE(0.8774964387392122, b.EndPointsDistance(&a));
    EXPECT_SAME_DOUBLE(0.0, a.EndPointsDistance(&a));
}

TEST(LineRelationsTest, EndPointsCloseComparesWithTheSquaredTolerance) {
    Line x = MakeLine(0.0, 0.0, 0.0, 1.0, 0.0, 0.0);
    Line far = MakeLine(1.05, 0.0, 0.0, 2.0, 0.0, 0.0);    // 0.050000000000000044 apart
    Line near = MakeLine(1.005, 0.0, 0.0, 2.0, 0.0, 0.0);  // 0.004999999999999893 apart
    EXPECT_EQ(0, x.EndPointsClose(&far, 0.1));             // 0.05 > 0.1 * 0.1
    EXPECT_EQ(1, x.EndPointsClose(&near, 0.1));
    EXPECT_EQ(1, x.EndPointsClose(&far, 0.3));  // 0.05 <= 0.09
}

TEST(LineRelationsTest, EqWithinTolAcceptsAReversedCopyWithZeroTolerance) {
    Line a = LineA();
    Line reversed = LineA();
    reversed.NegateDirection();
    EXPECT_EQ(1, a.EqWithinTol(&reversed, 0.0));
    EXPECT_EQ(1, a.EqWithinTol(&a, 0.0));
    Line b = LineB();
    EXPECT_EQ(0, a.EqWithinTol(&b, 1.0));
}

TEST(LineRelationsTest, EqWithinTolPairsTheEnds) {
    // Shifted by 0.01 in x: dSS = 0.009999999999999995, dEE = 0.010000000000000009.
    Line a = LineA();
    Line shifted = MakeLine(0.11, 0.2, 0.3, 1.71, -2.9, 4.1);
    EXPECT_EQ(1, a.EqWithinTol(&shifted, 0.010000000000000009));
    EXPECT_EQ(0, a.EqWithinTol(&shifted, Below(0.010000000000000009)));
    EXPECT_EQ(0, a.EqWithinTol(&shifted, 0.01));
}

TEST(LineRelationsTest, EqWithinTolTieUsesTheReversedPairing) {
    // dSS = dSE = sqrt(2); dES = 1.118033988749895, dEE = 1.8027756377319946.
    // The tie pairs S0 with E1 and E0 with S1, so tol 1.5 is enough.
    Line t0 = MakeLine(0.0, 0.0, 0.0, 0.0, 0.5, 0.0);
    Line t1 = MakeLine(1.0, 1.0, 0.0, 1.0, -1.0, 0.0);
    EXPECT_EQ(1, t0.EqWithinTol(&t1, 1.5));
    EXPECT_EQ(0, t0.EqWithinTol(&t1, 1.4));
}

TEST(LineRelationsTest, BothEndsCloseToLine) {
    // B's ends lie 2.4511039471919323 and 0.8762621755076954 from A.
    Line a = LineA(), b = LineB();
    EXPECT_EQ(1, a.BothEndsCloseToLine(&b, 2.4511039471919323));
    EXPECT_EQ(0, a.BothEndsCloseToLine(&b, Below(2.4511039471919323)));
    EXPECT_EQ(0, a.BothEndsCloseToLine(&b, 1.0));
    // A's own ends come out 2.220446049250313e-16 and 1.1102230246251565e-16
    // from A (ideally 0).
    EXPECT_EQ(0, a.BothEndsCloseToLine(&a, 0.0));
    EXPECT_EQ(1, a.BothEndsCloseToLine(&a, 2.220446049250313e-16));
    EXPECT_EQ(0, a.BothEndsCloseToLine(&a, Below(2.220446049250313e-16)));
}

TEST(LineRelationsTest, BothEndsCloseToLineFailsOnNaNDistances) {
    Point3d q(1.0, 1.0, 1.0);
    Line zero(q, q);  // its distances are 0/0
    Line b = LineB();
    EXPECT_EQ(0, zero.BothEndsCloseToLine(&b, 1e300));
    EXPECT_EQ(0, zero.BothEndsCloseToLine(&b, std::numeric_limits<double>::infinity()));
}

TEST(LineRelationsTest, EndPointsWithinLine) {
    Line x = AxisTen();
    const struct {
        Line other;
        int within;
    } cases[] = {
        {MakeLine(2.0, 0.0, 0.0, 5.0, 0.0, 0.0), 1},
        {MakeLine(12.0, 0.0, 0.0, -3.0, 0.0, 0.0), 1},  // off the segment, on the line
        {MakeLine(2.0, 0.0, 0.0, 5.0, 1e-8, 0.0), 0},   // the end is off
        {MakeLine(2.0, 0.0, 1e-8, 5.0, 0.0, 0.0), 0},   // the start is off
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << "other from " << c.other.GetStartX());
        EXPECT_EQ(c.within, x.EndPointsWithinLine(&c.other));
    }
}

// ---- Distances between lines ----

TEST(LineRelationsTest, DistanceToParallelUsesTheOtherMidpoint) {
    Line a = LineA(), b = LineB();
    EXPECT_SAME_DOUBLE(0.9312661651883698, a.distanceToParallel(&b));
    EXPECT_SAME_DOUBLE(2.670282936114469, b.distanceToParallel(&a));
}

TEST(LineRelationsTest, DistanceFromThePlaneThroughTheOrigin) {
    Line a = LineA(), b = LineB();
    EXPECT_SAME_DOUBLE(0.8973760571383781, a.DistanceFrom(b));
    EXPECT_SAME_DOUBLE(2.5123342143154215, b.DistanceFrom(a));
}

TEST(LineRelationsTest, DistanceFromOfParallelXYLinesIsZero) {
    Line l1 = MakeLine(0.0, 1.0, 0.0, 10.0, 1.0, 0.0);
    Line l2 = MakeLine(0.0, 3.0, 0.0, 10.0, 3.0, 0.0);
    EXPECT_SAME_DOUBLE(0.0, l1.DistanceFrom(l2));
    EXPECT_SAME_DOUBLE(0.0, l2.DistanceFrom(l1));
}

TEST(LineRelationsTest, DistanceFromALineThroughTheOriginIsTheMidpointDistance) {
    // u x M is zero: |M0 - M1| = |(0,0,0) - (3,3,4)| = sqrt(34).
    Line through = MakeLine(-1.0, 0.0, 0.0, 1.0, 0.0, 0.0);
    Line other = MakeLine(2.0, 3.0, 4.0, 4.0, 3.0, 4.0);
    EXPECT_SAME_DOUBLE(5.830951894845301, through.DistanceFrom(other));
}

// ---- Direction tests ----

TEST(LineRelationsTest, ParallelNeedsTheSameUnitDirection) {
    Line a = LineA();
    const Vector3d u = a.GetDirection();
    struct {
        Vector3d v;
        int parallel;
    } cases[] = {
        {u, 1},
        {Vector3d(-u.x, -u.y, -u.z), 0},
        {Vector3d(u.x + 1e-9, u.y, u.z - 1e-9), 1},  // close
        {Vector3d(u.x * 2.0, u.y * 2.0, u.z * 2.0), 0},
    };
    for (auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << "v = " << c.v.x << ", " << c.v.y << ", " << c.v.z);
        EXPECT_EQ(c.parallel, a.parallel(c.v));
    }
}

TEST(LineRelationsTest, AngleBetweenXYDirections) {
    Line a = LineA(), b = LineB();
    Line reversed = LineA();
    reversed.NegateDirection();
    EXPECT_SAME_DOUBLE(0.0, a.Angle(&a));
    // pi * 57.2957763671875, not 180.
    EXPECT_SAME_DOUBLE(179.99999011687993, a.Angle(&reversed));
    EXPECT_SAME_DOUBLE(107.83724408237114, a.Angle(&b));
    EXPECT_SAME_DOUBLE(107.83724408237114, b.Angle(&a));
}

// ---- Collinearity ----

TEST(LineRelationsTest, CoLinearAngleThreshold) {
    // The angle between A and B comes out as 72.1627529975376 degrees;
    // B's midpoint is 0.9312661651883698 from A, A's is 2.670282936114469 from B.
    Line a = LineA(), b = LineB();
    EXPECT_EQ(1, a.CoLinear(&b, 72.1627529975376, 3.0));
    EXPECT_EQ(0, a.CoLinear(&b, Below(72.1627529975376), 3.0));
    EXPECT_EQ(0, a.CoLinear(&b, 45.0, 3.0));
}

TEST(LineRelationsTest, CoLinearDistanceTestsAreStrictAndBothWays) {
    Line a = LineA(), b = LineB();
    EXPECT_EQ(1, a.CoLinear(&b, 80.0, Below(3.0)));
    EXPECT_EQ(0, a.CoLinear(&b, 80.0, 2.0));                // second test fails
    EXPECT_EQ(0, a.CoLinear(&b, 80.0, 0.9));                // first test fails
    EXPECT_EQ(0, a.CoLinear(&b, 80.0, 2.670282936114469));  // strict
    EXPECT_EQ(1, a.CoLinear(&b, 80.0, Above(2.670282936114469)));
}

TEST(LineRelationsTest, CoLinearClampsACosineJustPastOne) {
    // p and q are 0.039391929857917014 apart at both midpoints; their cosine
    // is 1.0000000000000002, pulled back to 1, so the angle is 0.
    Line p = MakeLine(-1.3, 0.4, 0.0, 2.2, 1.9, 0.0);
    Line q = MakeLine(-0.7, 0.7, 0.0, 3.5, 2.5, 0.0);
    EXPECT_EQ(1, p.CoLinear(&q, 0.0, 0.04));
    EXPECT_EQ(0, p.CoLinear(&q, 0.0, 0.039391929857917014));
    EXPECT_EQ(1, p.CoLinear(&p, 0.0, 1e-12));
}

TEST(LineRelationsTest, CoLinearOfALineWithItselfCanLeaveARoundingAngle) {
    // For A the cosine with itself rounds to 0.9999999999999999, an angle of
    // 8.537736224931784e-07 degrees (ideally 0).
    Line a = LineA();
    EXPECT_EQ(1, a.CoLinear(&a, 8.537736224931784e-07, 1e-12));
    EXPECT_EQ(0, a.CoLinear(&a, Below(8.537736224931784e-07), 1e-12));
}

TEST(LineRelationsTest, CoLinearOppositeLinesGiveTheSinglePrecisionPiResidue) {
    // The cosine is -1.0000000000000002, pulled back to -1; acos(-1) * 180 /
    // 3.1415927410125732 is 179.99999499104382, so the angle left is
    // 5.008956179608504e-06 rather than 0.
    Line p = MakeLine(-1.3, 0.4, 0.0, 2.2, 1.9, 0.0);
    Line q = MakeLine(8.45, 2.55, 0.0, 1.8, -0.3, 0.0);  // midpoint 1.86455134660806 from p
    EXPECT_EQ(1, p.CoLinear(&q, 5.008956179608504e-06, 2.0));
    EXPECT_EQ(0, p.CoLinear(&q, Below(5.008956179608504e-06), 2.0));
    EXPECT_EQ(0, p.CoLinear(&q, 1e-6, 2.0));
}

TEST(LineRelationsTest, CoLinearOfAxisParallelLinesDecidesOnDistanceAlone) {
    // a = 0 makes A/C zero and the cosine inf/inf = NaN, which passes the
    // angle test. The midpoints are 9.99999993922529e-09 from the other line.
    Line h1 = MakeLine(0.0, 1.0, 0.0, 4.0, 1.0, 0.0);
    Line h2 = MakeLine(1.0, 1.00000001, 0.0, 6.0, 1.00000001, 0.0);
    EXPECT_SAME_DOUBLE(0.0, h1.GetAoverC());
    EXPECT_SAME_DOUBLE(9.99999993922529e-09, h1.distanceToParallel(&h2));
    EXPECT_EQ(1, h1.CoLinear(&h2, 0.0, 1e-6));
    EXPECT_EQ(0, h1.CoLinear(&h2, 0.0, 1e-9));
}

// ---- Projected lengths ----

TEST(LineRelationsTest, ProjectedLengthOntoItself) {
    Line a = LineA();
    EXPECT_SAME_DOUBLE(5.158488150611572, a.ProjectedLength(a));
    Line x = AxisTen();
    EXPECT_SAME_DOUBLE(10.0, x.ProjectedLength(x));
}

TEST(LineRelationsTest, ProjectedLengthBranches) {
    Line x = AxisTen();
    Line beyond = MakeLine(12.0, 1.0, 0.0, 15.0, -1.0, 0.0);
    Line before = MakeLine(-3.0, 1.0, 0.0, -1.0, -1.0, 0.0);
    Line overEnd = MakeLine(2.0, 1.0, 0.0, 15.0, -1.0, 0.0);
    Line inside = MakeLine(7.0, 1.0, 0.0, 2.0, -1.0, 0.0);
    Line covering = MakeLine(-3.0, 1.0, 0.0, 15.0, -1.0, 0.0);
    Line overStart = MakeLine(-5.0, 1.0, 0.0, 2.5, -1.0, 0.0);  // [-0.5, 0.25]
    EXPECT_SAME_DOUBLE(0.0, x.ProjectedLength(beyond));
    EXPECT_SAME_DOUBLE(0.0, x.ProjectedLength(before));
    EXPECT_SAME_DOUBLE(8.0, x.ProjectedLength(overEnd));               // (1 - 0.2) * 10
    EXPECT_SAME_DOUBLE(4.999999999999999, x.ProjectedLength(inside));  // (0.7 - 0.2) * 10
    EXPECT_SAME_DOUBLE(10.0, x.ProjectedLength(covering));
    EXPECT_SAME_DOUBLE(2.5, x.ProjectedLength(overStart));  // 0.25 * 10
}

TEST(LineRelationsTest, ProjectedLengthInThreeDimensions) {
    Line a = LineA(), b = LineB();
    EXPECT_SAME_DOUBLE(0.04652525953200981, a.ProjectedLength(b));
    Line c = MakeLine(0.5, -0.5, 1.0, 1.0, -2.0, 3.0);
    Line d = MakeLine(3.0, -4.0, 6.0, 1.2, -2.0, 3.5);
    EXPECT_SAME_DOUBLE(2.5298109870530263, a.ProjectedLength(c));
    EXPECT_SAME_DOUBLE(1.137930306053736, a.ProjectedLength(d));
}

TEST(LineRelationsTest, ProjectedUnionOfOverlappingIntervals) {
    // [0.1, 0.3], [0.2, 0.5], [0.7, 1.4]: (0.4 + 0.3) * 10, ideally 7.0.
    Line x = AxisTen();
    Line l1 = MakeLine(1.0, 0.0, 0.0, 3.0, 0.0, 0.0);
    Line l2 = MakeLine(5.0, 2.0, 0.0, 2.0, -1.0, 0.0);
    Line l3 = MakeLine(14.0, 0.0, 0.0, 7.0, 0.0, 0.0);
    EXPECT_SAME_DOUBLE(7.000000000000001, ProjectedUnionOf(x, {&l3, &l1, &l2}));
}

TEST(LineRelationsTest, ProjectedUnionOfAnEmptyContainerIsZero) {
    Line x = AxisTen();
    EXPECT_SAME_DOUBLE(0.0, ProjectedUnionOf(x, {}));
}

TEST(LineRelationsTest, ProjectedUnionSweepCases) {
    Line x = AxisTen();
    {
        // [0.1, 0.6] holds [0.2, 0.3]; then [0.5, 0.8] adds 0.2.
        Line l1 = MakeLine(1.0, 0.0, 0.0, 6.0, 0.0, 0.0);
        Line l2 = MakeLine(2.0, 0.0, 0.0, 3.0, 0.0, 0.0);
        Line l3 = MakeLine(5.0, 0.0, 0.0, 8.0, 0.0, 0.0);
        EXPECT_SAME_DOUBLE(7.000000000000001, ProjectedUnionOf(x, {&l1, &l2, &l3}));
    }
    {
        // Wholly below 0 and wholly above 1.
        Line l1 = MakeLine(-5.0, 0.0, 0.0, -1.0, 0.0, 0.0);
        Line l2 = MakeLine(11.0, 0.0, 0.0, 12.0, 0.0, 0.0);
        EXPECT_SAME_DOUBLE(0.0, ProjectedUnionOf(x, {&l2, &l1}));
    }
    {
        // [-0.5, 0.3] is clipped at 0, [0.9, 1.2] at 1, [2, 3] is past the end.
        Line l1 = MakeLine(-5.0, 0.0, 0.0, 3.0, 0.0, 0.0);
        Line l2 = MakeLine(9.0, 0.0, 0.0, 12.0, 0.0, 0.0);
        Line l3 = MakeLine(20.0, 0.0, 0.0, 30.0, 0.0, 0.0);
        EXPECT_SAME_DOUBLE(3.9999999999999996, ProjectedUnionOf(x, {&l3, &l2, &l1}));
    }
    {
        // [0.3, 0.6] then [0.4, 1.2], which overlaps and reaches past the end.
        Line l1 = MakeLine(4.0, 0.0, 0.0, 12.0, 0.0, 0.0);
        Line l2 = MakeLine(6.0, 0.0, 0.0, 3.0, 0.0, 0.0);
        EXPECT_SAME_DOUBLE(7.0, ProjectedUnionOf(x, {&l1, &l2}));
    }
}

TEST(LineRelationsTest, ProjectedUnionKeepsTheContainerOrderOfEqualStarts) {
    // [0.01, 0.02] and [0.01, 0.08] start together. Taken in the container's
    // order, the sweep adds (0.02 - 0.01) + (0.08 - 0.02) or 0.08 - 0.01, and
    // the two sums differ in the last bit (python3: 10 * ((0.2/10 - 0.1/10) +
    // (0.8/10 - 0.2/10)) = 0.7, 10 * (0.8/10 - 0.1/10) = 0.7000000000000001).
    Line x = AxisTen();
    Line shorter = MakeLine(0.1, 0.0, 0.0, 0.2, 0.0, 0.0);
    Line longer = MakeLine(0.1, 0.0, 0.0, 0.8, 0.0, 0.0);
    EXPECT_SAME_DOUBLE(0.7, ProjectedUnionOf(x, {&shorter, &longer}));
    EXPECT_SAME_DOUBLE(0.7000000000000001, ProjectedUnionOf(x, {&longer, &shorter}));
}

TEST(LineRelationsTest, ProjectedUnionInThreeDimensions) {
    // Intervals on A: [-0.236, 0.009], [0.206, 0.696], [0.779, 1.478], [-0.198, -0.112].
    Line a = LineA(), b = LineB();
    Line c = MakeLine(0.5, -0.5, 1.0, 1.0, -2.0, 3.0);
    Line d = MakeLine(3.0, -4.0, 6.0, 1.2, -2.0, 3.5);
    Line e = MakeLine(-2.0, -2.0, -2.0, -1.0, -1.0, -1.0);
    EXPECT_SAME_DOUBLE(3.7142665526387724, ProjectedUnionOf(a, {&b, &c, &d, &e}));

    EXPECT_SAME_DOUBLE(a.ProjectedLength(c), ProjectedUnionOf(a, {&c}));
    EXPECT_SAME_DOUBLE(2.5298109870530263, ProjectedUnionOf(a, {&c}));
}

TEST(LineRelationsTest, ProjectedUnionSkipsNullEntries) {
    Line a = LineA(), b = LineB();
    Line c = MakeLine(0.5, -0.5, 1.0, 1.0, -2.0, 3.0);
    Line d = MakeLine(3.0, -4.0, 6.0, 1.2, -2.0, 3.5);
    Line e = MakeLine(-2.0, -2.0, -2.0, -1.0, -1.0, -1.0);
    EXPECT_SAME_DOUBLE(3.7142665526387724, ProjectedUnionOf(a, {nullptr, &b, nullptr, &c, &d, &e}));

    EXPECT_SAME_DOUBLE(0.0, ProjectedUnionOf(a, {nullptr}));
}

TEST(LineRelationsTest, ProjectedUnionLetsTheContainerExceptionEscape) {
    // The first line empties the container while it is read, so reading the
    // second entry throws; the interval array is released on the way out
    // (the sanitizer build checks for leaks).
    Line x = AxisTen();
    CArray<Line*, Line*> lines;
    Point3d s(1.0, 0.0, 0.0), e(3.0, 0.0, 0.0);
    ShrinkingLine shrinking(s, e, &lines);
    Line plain = MakeLine(5.0, 0.0, 0.0, 8.0, 0.0, 0.0);
    lines.Add(&shrinking);
    lines.Add(&plain);
    EXPECT_THROW(x.ProjectedUnion(lines), std::invalid_argument);
    EXPECT_EQ(0, lines.GetSize());
}

// ---- Null line pointers ----

TEST(LineRelationsTest, NullLinePointersAreRefused) {
    Line a = LineA();
    EXPECT_SAME_DOUBLE(-1.0, a.EndPointsDistance(nullptr));
    EXPECT_EQ(0, a.EndPointsClose(nullptr, 10.0));
    EXPECT_EQ(0, a.EqWithinTol(nullptr, 10.0));
    EXPECT_EQ(0, a.BothEndsCloseToLine(nullptr, 10.0));
    EXPECT_EQ(0, a.EndPointsWithinLine(nullptr));
    EXPECT_SAME_DOUBLE(-1.0, a.distanceToParallel(nullptr));
    EXPECT_SAME_DOUBLE(-99999.0, a.Angle(nullptr));
    EXPECT_EQ(0, a.CoLinear(nullptr, 180.0, 10.0));
}
