// Tests of GArc, the circular arc, and of the circle frame it shares with Circle.
//
// Expected doubles were computed with python3 (IEEE doubles, no fused
// multiply-add, sin/cos/acos/atan2 of the same C library) by a replica of the
// arc written step by step in the library's order: the frame matrix as
// translation * (rotation * scaling), with the rotation by -acos(n.z / |n|)
// about the twice-normalised axis (n.y, -n.x, 0); matrix products summed
// k = 0..3 from the first term; a point mapped as ((m00*x + m01*y) + m02*z) +
// m03; angles as atan2 wrapped by 6.2831854820251465; the inverse by
// Gauss-Jordan elimination with partial pivoting.
#include <gtest/gtest.h>

#ifndef _WIN32
#include <sys/resource.h>
#include <unistd.h>
#endif

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "geometry/geometry_checks.h"
#include "selvora/selvora.h"
#include "support/address_space.h"
#include "support/exact.h"
#include "support/platform.h"
#include "support/streams.h"

namespace {

using namespace selvora_test;

constexpr double kTwoPiF = 6.2831854820251465;
constexpr double kHalfPi = 1.5707963267948966;

void ExpectMatrix(const double (&expected)[16], const Matrix3d& m) {
    for (int i = 0; i < 16; ++i) {
        SCOPED_TRACE(::testing::Message() << "entry " << i / 4 << "," << i % 4);
        EXPECT_SAME_DOUBLE(expected[i], m.m[i / 4][i % 4]);
    }
}

// Centre (1, -2, 3), radius 2.5, normal (1, 2, 2) (length 3), from the
// direction (0.6, 0.8) to the direction (-1, 0.5).
GArc TiltedArc() {
    Vector3d normal(1.0, 2.0, 2.0);
    return GArc(Point3d(1.0, -2.0, 3.0), 2.5, normal, Vector3d(0.6, 0.8, 0.0),
                Vector3d(-1.0, 0.5, 0.0));
}

OvPnt3dArray Filled(int n) {
    OvPnt3dArray points;
    for (int i = 0; i < n; ++i) points.Add(Point3d(i, i, i));
    return points;
}

// A GArc whose function handle can be set, as a user's derived class would.
class ArcWithHandle : public GArc {
  public:
    using GArc::SetFunction;
};

// ---- construction and accessors ----

TEST(GArcConstruction, DefaultIsQuarterArcAboutOrigin) {
    GArc arc;
    // The Curve part keeps Curve's defaults.
    ExpectDefaultCircularCurve(arc, "GArc");
    EXPECT_SAME_XYZ(1.0, 0.0, 0.0, arc.GetStartV());
    EXPECT_SAME_XYZ(0.0, 1.0, 0.0, arc.GetEndV());
}

TEST(GArcConstruction, DefaultAnglesLengthAndPoints) {
    GArc arc;
    EXPECT_SAME_DOUBLE(0.0, arc.GetStartAngle());
    EXPECT_SAME_DOUBLE(kHalfPi, arc.GetEndAngle());  // atan2(1, 0)
    EXPECT_SAME_DOUBLE(kHalfPi, arc.GetLength());
    EXPECT_SAME_XYZ(1.0, 0.0, 0.0, arc.GetStart());
    // cos(pi/2) as computed, not 0.
    EXPECT_SAME_XYZ(6.123233995736766e-17, 1.0, 0.0, arc.GetEnd());
    // cos(pi/4), sin(pi/4).
    EXPECT_SAME_XYZ(0.7071067811865476, 0.7071067811865475, 0.0, arc.GetMidPoint());
}

TEST(GArcConstruction, ValueConstructorStoresVectorsAsGiven) {
    Vector3d normal(0.0, 3.0, 4.0);
    GArc arc(Point3d(1.5, -2.25, 3.0), 2.5, normal, Vector3d(2.0, 0.0, 5.0),
             Vector3d(0.0, -3.0, 7.0));
    EXPECT_STREQ("GArc", static_cast<const char*>(arc.className()));
    EXPECT_SAME_XYZ(1.5, -2.25, 3.0, arc.GetCenter());
    EXPECT_SAME_XYZ(2.5, 2.5, 2.5, arc.GetSize());
    EXPECT_SAME_XYZ(0.0, 3.0, 4.0, arc.GetNormal());
    EXPECT_SAME_XYZ(2.0, 0.0, 5.0, arc.GetStartV());
    EXPECT_SAME_XYZ(0.0, -3.0, 7.0, arc.GetEndV());
    EXPECT_EQ(nullptr, arc.GetFunction());
    EXPECT_SAME_XYZ(0.0, 0.0, 0.0, arc.GetStartPoint());
}

TEST(GArcAccessors, SettersChangeOneMemberEach) {
    GArc arc;
    arc.SetSize(2.0, 3.0, 4.0);
    EXPECT_SAME_XYZ(2.0, 3.0, 4.0, arc.GetSize());
    EXPECT_SAME_DOUBLE(2.0, arc.GetRadius());  // the radius is size.x
    arc.SetSize(Vector3d(-1.0, 0.5, 0.25));
    EXPECT_SAME_XYZ(-1.0, 0.5, 0.25, arc.GetSize());
    arc.SetRadius(7.5);
    EXPECT_SAME_XYZ(7.5, 7.5, 7.5, arc.GetSize());

    arc.SetCenter(Point3d(1.0, 2.0, 3.0));
    EXPECT_SAME_XYZ(1.0, 2.0, 3.0, arc.GetLocation());
    arc.SetLocation(Point3d(-4.0, 5.0, -6.0));
    EXPECT_SAME_XYZ(-4.0, 5.0, -6.0, arc.GetCenter());
    arc.SetLocation(0.5, -0.0, 8.0);
    EXPECT_SAME_XYZ(0.5, -0.0, 8.0, arc.GetCenter());

    arc.SetNormal(Vector3d(0.0, 0.0, -2.0));
    EXPECT_SAME_XYZ(0.0, 0.0, -2.0, arc.GetNormal());
    arc.SetStart(Vector3d(0.0, 0.0, 0.0));
    EXPECT_SAME_XYZ(0.0, 0.0, 0.0, arc.GetStartV());
    arc.SetEnd(Vector3d(3.0, -4.0, 1.0));
    EXPECT_SAME_XYZ(3.0, -4.0, 1.0, arc.GetEndV());

    // Nothing else moved.
    EXPECT_SAME_XYZ(7.5, 7.5, 7.5, arc.GetSize());
    EXPECT_SAME_XYZ(0.5, -0.0, 8.0, arc.GetCenter());
    EXPECT_SAME_XYZ(0.0, 0.0, -2.0, arc.GetNormal());
}

TEST(GArcAccessors, AngleSettersStoreCosAndSin) {
    GArc arc;
    arc.SetStartAngle(-0.5);
    EXPECT_SAME_XYZ(0.8775825618903728, -0.479425538604203, 0.0, arc.GetStartV());
    arc.SetEndAngle(4.71238898038469);  // 3pi/2 as a double
    EXPECT_SAME_XYZ(-1.8369701987210297e-16, -1.0, 0.0, arc.GetEndV());
}

// ---- angles and length ----

TEST(GArcAngles, NegativeDirectionWrapsBySinglePrecisionTurn) {
    GArc arc;
    arc.SetStartAngle(-0.5);
    // atan2 gives back -0.5, then 6.2831854820251465 is added.
    EXPECT_SAME_DOUBLE(kTwoPiF - 0.5, arc.GetStartAngle());
    EXPECT_SAME_DOUBLE(5.7831854820251465, arc.GetStartAngle());
}

TEST(GArcAngles, EndBelowStartGoesOnceMoreAround) {
    GArc arc;
    arc.SetStart(Vector3d(0.0, -1.0, 0.0));  // 3pi/2: -pi/2 + 2pi'
    arc.SetEnd(Vector3d(0.0, 1.0, 0.0));     // pi/2, below the start
    EXPECT_SAME_DOUBLE(4.71238915523025, arc.GetStartAngle());
    EXPECT_SAME_DOUBLE(7.853981808820043, arc.GetEndAngle());  // pi/2 + 2pi'
    EXPECT_SAME_DOUBLE(kHalfPi + kTwoPiF, arc.GetEndAngle());
    EXPECT_SAME_DOUBLE(3.141592653589793, arc.GetLength());  // the sweep, radius 1
}

TEST(GArcAngles, StartAngleSetterAtThreeHalvesPi) {
    GArc arc;
    arc.SetStartAngle(4.71238898038469);
    // atan2(-1, -1.8e-16) rounds to -pi/2; the wrap adds 2pi'.
    EXPECT_SAME_DOUBLE(4.71238915523025, arc.GetStartAngle());
    EXPECT_SAME_DOUBLE(7.853981808820043, arc.GetEndAngle());
}

TEST(GArcAngles, EqualDirectionsGiveZeroSweep) {
    GArc arc;
    arc.SetRadius(3.0);
    arc.SetStart(Vector3d(0.3, -0.4, 0.0));
    arc.SetEnd(Vector3d(0.3, -0.4, 0.0));
    EXPECT_SAME_DOUBLE(arc.GetStartAngle(), arc.GetEndAngle());
    EXPECT_SAME_DOUBLE(0.0, arc.GetLength());
}

TEST(GArcAngles, ZeroDirectionReadsAsAngleZero) {
    GArc arc;
    arc.SetStart(Vector3d(0.0, 0.0, 0.0));
    arc.SetEnd(Vector3d(0.0, 0.0, 5.0));  // only x and y count
    EXPECT_SAME_DOUBLE(0.0, arc.GetStartAngle());
    EXPECT_SAME_DOUBLE(0.0, arc.GetEndAngle());
}

TEST(GArcAngles, LengthOfTiltedArc) {
    GArc arc = TiltedArc();
    EXPECT_SAME_DOUBLE(0.9272952180016123, arc.GetStartAngle());
    EXPECT_SAME_DOUBLE(2.677945044588987, arc.GetEndAngle());
    EXPECT_SAME_DOUBLE(4.376624566468436, arc.GetLength());  // (e - s) * 2.5
}

// ---- transformation matrix and points ----

TEST(GArcTransformation, TiltedNormal) {
    GArc arc = TiltedArc();
    // clang-format off
    const double expected[16] = {2.3333333333333335, -0.33333333333333354, 0.8333333333333336, 1.0,
                                 -0.33333333333333354, 1.8333333333333335, 1.6666666666666672, -2.0,
                                 -0.8333333333333336, -1.6666666666666672, 1.6666666666666665, 3.0,
                                 0.0, 0.0, 0.0, 1.0};
    // clang-format on
    ExpectMatrix(expected, arc.GetTransformation());
}

TEST(GArcTransformation, NormalAlongZOrZeroIsNotTilted) {
    // clang-format off
    const double expected[16] = {2.0, 0.0, 0.0, 1.0,
                                 0.0, 2.0, 0.0, -2.0,
                                 0.0, 0.0, 2.0, 3.0,
                                 0.0, 0.0, 0.0, 1.0};
    // clang-format on
    for (const Vector3d& n : {Vector3d(0.0, 0.0, 1.0), Vector3d(0.0, 0.0, -1.0),
                              Vector3d(0.0, 0.0, 0.0), Vector3d(-0.0, 0.0, 7.0)}) {
        SCOPED_TRACE(::testing::Message() << "normal z " << n.z);
        Vector3d normal = n;
        GArc arc(Point3d(1.0, -2.0, 3.0), 2.0, normal, Vector3d(1.0, 0.0, 0.0),
                 Vector3d(0.0, 1.0, 0.0));
        ExpectMatrix(expected, arc.GetTransformation());
    }
}

TEST(GArcTransformation, OnlySizeXScales) {
    GArc arc;
    arc.SetSize(3.0, 100.0, -5.0);
    // clang-format off
    const double expected[16] = {3.0, 0.0, 0.0, 0.0,
                                 0.0, 3.0, 0.0, 0.0,
                                 0.0, 0.0, 3.0, 0.0,
                                 0.0, 0.0, 0.0, 1.0};
    // clang-format on
    ExpectMatrix(expected, arc.GetTransformation());
}

TEST(GArcPoints, TiltedStartEndAndMid) {
    GArc arc = TiltedArc();
    EXPECT_SAME_XYZ(2.1333333333333333, -0.7333333333333334, 1.166666666666666, arc.GetStart());
    EXPECT_SAME_XYZ(-1.2360679774997898, -0.8819660112501047, 3.0, arc.GetEnd());
    EXPECT_SAME_XYZ(0.13949352223358036, -0.1391258791267076, 1.5693791180099168,
                    arc.GetMidPoint());
}

TEST(GArcPoints, CurveAccessorsStillReachStoredEndPoints) {
    GArc arc;
    Curve& curve = arc;
    // Through a Curve reference the virtual accessors of the Curve part answer.
    EXPECT_SAME_XYZ(0.0, 0.0, 0.0, curve.GetStart());
    EXPECT_SAME_XYZ(0.0, 0.0, 0.0, curve.GetEnd());
    curve.SetStart(Point3d(5.0, 6.0, 7.0));
    curve.SetEnd(Point3d(-1.0, -2.0, -3.0));
    EXPECT_SAME_XYZ(5.0, 6.0, 7.0, curve.GetStart());
    EXPECT_SAME_XYZ(-1.0, -2.0, -3.0, curve.GetEnd());
    // The arc's own members still compute from the angles.
    EXPECT_SAME_XYZ(1.0, 0.0, 0.0, arc.GetStart());
    EXPECT_SAME_XYZ(6.123233995736766e-17, 1.0, 0.0, arc.GetEnd());
}

TEST(GArcPoints, TangentQueriesAreCurves) {
    GArc arc = TiltedArc();
    Vector3d v(1.0, 0.0, 0.0);
    EXPECT_SAME_DOUBLE(-99999.0, arc.GetTangentAtPoint(v));
    EXPECT_SAME_DOUBLE(-99999.0, arc.GetTangentAtStart());
    EXPECT_SAME_DOUBLE(-99999.0, arc.GetTangentAtEnd());
}

// ---- sampling ----

TEST(GArcSampling, ByCountOnTiltedArc) {
    GArc arc = TiltedArc();
    OvPnt3dArray points = Filled(3);
    arc.PointSample(5, points);
    ExpectPoints(points, {Point3d(2.1333333333333333, -0.7333333333333334, 1.166666666666666),
                          Point3d(1.150609113505545, -0.27349787657432034, 1.1981933198215475),
                          Point3d(0.13949352223358036, -0.1391258791267076, 1.5693791180099168),
                          Point3d(-0.7094077217672485, -0.3555478485702408, 2.210251709453865),
                          Point3d(-1.2360679774997898, -0.8819660112501047, 3.0)});
}

TEST(GArcSampling, LastSampleIsTheFormulasNotTheEndPoint) {
    GArc arc;
    arc.SetStart(Vector3d(0.3, 0.1, 0.0));
    arc.SetEnd(Vector3d(0.1, 1.0, 0.0));
    OvPnt3dArray points;
    arc.PointSample(3, points);
    ASSERT_EQ(3, points.GetSize());
    // s + 2 * ((e - s) / 2) is not e here, so the last x differs from the end point's.
    EXPECT_SAME_XYZ(0.09950371902099925, 0.9950371902099892, 0.0, points[2]);
    EXPECT_SAME_XYZ(0.09950371902099903, 0.9950371902099892, 0.0, arc.GetEnd());
    EXPECT_SAME_XYZ(arc.GetStart().x, arc.GetStart().y, arc.GetStart().z, points[0]);
}

TEST(GArcSampling, ZeroSweepGivesEqualPoints) {
    GArc arc = TiltedArc();
    arc.SetEnd(arc.GetStartV());
    OvPnt3dArray points;
    arc.PointSample(5, points);
    ASSERT_EQ(5, points.GetSize());
    for (int i = 0; i < 5; ++i) {
        SCOPED_TRACE(i);
        EXPECT_SAME_XYZ(2.1333333333333333, -0.7333333333333334, 1.166666666666666, points[i]);
    }
}

TEST(GArcSampling, CountBelowTwoLeavesPointsEmpty) {
    GArc arc;
    for (int count : {1, 0, -3, INT_MIN}) {
        SCOPED_TRACE(count);
        OvPnt3dArray points = Filled(4);
        arc.PointSample(count, points);
        EXPECT_EQ(0, points.GetSize());
    }
}

TEST(GArcSampling, BySpacingUsesCurveSampleCount) {
    GArc arc;  // length pi/2
    OvPnt3dArray points = Filled(2);
    arc.PointSample(0.5, points);  // floor(3.14) + 1 = 4 samples
    OvPnt3dArray byCount;
    arc.PointSample(4, byCount);
    ASSERT_EQ(4, points.GetSize());
    ASSERT_EQ(4, byCount.GetSize());
    for (int i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        EXPECT_SAME_XYZ(byCount[i].x, byCount[i].y, byCount[i].z, points[i]);
    }
    // The second of the four samples, at angle pi/6.
    EXPECT_SAME_XYZ(0.8660254037844387, 0.49999999999999994, 0.0, points[1]);
}

TEST(GArcSampling, ZeroSpacingGivesStartAndEnd) {
    GArc arc;
    OvPnt3dArray points;
    arc.PointSample(0.0, points);
    ExpectPoints(points, {Point3d(1.0, 0.0, 0.0), Point3d(6.123233995736766e-17, 1.0, 0.0)});
}

TEST(GArcSampling, SpacingWithFewerThanTwoSamplesLeavesPointsEmpty) {
    GArc arc;                              // length pi/2
    for (double spacing : {10.0, -0.5}) {  // NSamples 1 and -1
        SCOPED_TRACE(spacing);
        OvPnt3dArray points = Filled(3);
        arc.PointSample(spacing, points);
        EXPECT_EQ(0, points.GetSize());
    }
}

// ---- point test and distance ----

TEST(GArcPointOnCurve, DefaultArcBoundaries) {
    GArc arc;
    EXPECT_EQ(1, arc.PointOnCurve(arc.GetStart()));
    EXPECT_EQ(1, arc.PointOnCurve(arc.GetEnd()));
    EXPECT_EQ(1, arc.PointOnCurve(arc.GetMidPoint()));
    EXPECT_EQ(1, arc.PointOnCurve(Point3d(0.0, 1.0, 0.0)));  // atan2 gives exactly pi/2
    // On the circle, outside the angular range.
    EXPECT_EQ(0, arc.PointOnCurve(Point3d(-1.0, 0.0, 0.0)));
    EXPECT_EQ(0, arc.PointOnCurve(Point3d(0.0, -1.0, 0.0)));
    EXPECT_EQ(0, arc.PointOnCurve(Point3d(std::cos(-1e-9), std::sin(-1e-9), 0.0)));
}

TEST(GArcPointOnCurve, DistanceAndPlaneTolerances) {
    GArc arc;
    // Right distance from the centre (| |p| - 1 | is 0), 1e-3 off the plane.
    EXPECT_EQ(0, arc.PointOnCurve(Point3d(std::sqrt(1.0 - 1e-6), 0.0, 1e-3)));
    // | |p| - 1 | = 2.0000000000575113e-06 and 5.00000000069889e-07.
    EXPECT_EQ(0, arc.PointOnCurve(Point3d(1.0 + 2e-6, 0.0, 0.0)));
    EXPECT_EQ(1, arc.PointOnCurve(Point3d(1.0 + 5e-7, 0.0, 0.0)));
    // Local z of 5e-7 passes, 2e-6 does not.
    EXPECT_EQ(1, arc.PointOnCurve(Point3d(1.0, 0.0, 5e-7)));
    EXPECT_EQ(0, arc.PointOnCurve(Point3d(1.0, 0.0, 2e-6)));
}

TEST(GArcPointOnCurve, RangeAcrossAngleZero) {
    GArc arc;
    arc.SetStart(Vector3d(0.0, -1.0, 0.0));
    arc.SetEnd(Vector3d(0.0, 1.0, 0.0));
    EXPECT_EQ(1, arc.PointOnCurve(Point3d(1.0, 0.0, 0.0)));  // 0 + 2pi' is in range
    EXPECT_EQ(1, arc.PointOnCurve(Point3d(0.0, -1.0, 0.0)));
    EXPECT_EQ(1, arc.PointOnCurve(Point3d(0.0, 1.0, 0.0)));
    EXPECT_EQ(0, arc.PointOnCurve(Point3d(-1.0, 0.0, 0.0)));
}

TEST(GArcPointOnCurve, TiltedArc) {
    GArc arc = TiltedArc();
    EXPECT_EQ(1, arc.PointOnCurve(arc.GetStart()));
    EXPECT_EQ(1, arc.PointOnCurve(arc.GetEnd()));
    OvPnt3dArray points;
    arc.PointSample(9, points);
    ASSERT_EQ(9, points.GetSize());
    for (int i = 0; i < 9; ++i) EXPECT_EQ(1, arc.PointOnCurve(points[i])) << i;
    // Local angles pi, 4.5 and 0.5 lie on the circle but outside [0.927, 2.678].
    EXPECT_EQ(
        0, arc.PointOnCurve(Point3d(-1.3333333333333335, -1.6666666666666663, 3.8333333333333335)));
    EXPECT_EQ(
        0, arc.PointOnCurve(Point3d(0.8339865072165465, -3.7218732825757517, 4.804880028967479)));
    EXPECT_EQ(0,
              arc.PointOnCurve(Point3d(2.887884131542802, -1.413580699855752, 1.4696386340843506)));
}

TEST(GArcPointOnCurve, ZeroRadiusWorksOnTheIdentity) {
    // The singular frame inverts to the identity, so the point itself is
    // taken as the local point.
    Vector3d normal(0.0, 0.0, 1.0);
    GArc a(Point3d(1.0, 2.0, 0.0), 0.0, normal, Vector3d(1.0, 0.0, 0.0), Vector3d(0.0, 1.0, 0.0));
    EXPECT_EQ(1, a.PointOnCurve(Point3d(1.0, 2.0, 0.0)));  // angle 1.107 in [0, pi/2]
    GArc b(Point3d(-1.0, 2.0, 0.0), 0.0, normal, Vector3d(1.0, 0.0, 0.0), Vector3d(0.0, 1.0, 0.0));
    EXPECT_EQ(0, b.PointOnCurve(Point3d(-1.0, 2.0, 0.0)));  // angle 2.03
    GArc c(Point3d(1.0, 2.0, 3.0), 0.0, normal, Vector3d(1.0, 0.0, 0.0), Vector3d(0.0, 1.0, 0.0));
    EXPECT_EQ(0, c.PointOnCurve(Point3d(1.0, 2.0, 3.0)));  // local z 3
}

TEST(GArcDistance, ToTheSphereOfTheRadius) {
    Vector3d normal(1.0, 2.0, 2.0);
    GArc arc(Point3d(1.0, 2.0, 3.0), 2.0, normal, Vector3d(1.0, 0.0, 0.0), Vector3d(0.0, 1.0, 0.0));
    Point3d center(1.0, 2.0, 3.0), far(4.0, 6.0, 3.0), opposite(-1.0, 2.0, 3.0),
        above(1.0, 2.0, 5.0);
    EXPECT_SAME_DOUBLE(2.0, arc.distanceToPt(center));
    EXPECT_SAME_DOUBLE(3.0, arc.distanceToPt(far));  // |(3, 4, 0)| - 2
    EXPECT_SAME_DOUBLE(0.0, arc.distanceToPt(opposite));
    EXPECT_SAME_DOUBLE(0.0, arc.distanceToPt(above));  // off the plane, on the sphere
    Curve& curve = arc;
    EXPECT_SAME_DOUBLE(3.0, curve.distanceToPt(far));
}

TEST(GArcDistance, PointsOfTheWholeCircle) {
    GArc arc;
    for (Point3d p : {Point3d(1.0, 0.0, 0.0), Point3d(0.0, 1.0, 0.0), Point3d(-1.0, 0.0, 0.0),
                      Point3d(0.0, -1.0, 0.0)}) {
        EXPECT_SAME_DOUBLE(0.0, arc.distanceToPt(p));
    }
}

// ---- transformBy ----

TEST(GArcTransform, MirrorSwapsStartAndEnd) {
    GArc arc;
    Matrix3d mirror;
    mirror.setToScaling(-1.0, 1.0, 1.0);
    arc.transformBy(mirror);
    EXPECT_SAME_XYZ(0.0, 0.0, 0.0, arc.GetCenter());
    EXPECT_SAME_XYZ(0.0, 0.0, 1.0, arc.GetNormal());
    EXPECT_SAME_XYZ(1.0, 1.0, 1.0, arc.GetSize());
    // startV became (-1, 0, 0) and endV (0, 1, 0); the mid point of that
    // reading lands opposite the image of the old one, so they were swapped.
    EXPECT_SAME_XYZ(0.0, 1.0, 0.0, arc.GetStartV());
    EXPECT_SAME_XYZ(-1.0, 0.0, 0.0, arc.GetEndV());
    EXPECT_SAME_DOUBLE(kHalfPi, arc.GetStartAngle());
    EXPECT_SAME_DOUBLE(3.141592653589793, arc.GetEndAngle());
    // The arc covers the image of the old quarter: the mirror of (cos pi/4, sin pi/4).
    EXPECT_SAME_XYZ(-0.7071067811865475, 0.7071067811865476, 0.0, arc.GetMidPoint());
    EXPECT_SAME_XYZ(-1.0, 1.2246467991473532e-16, 0.0, arc.GetEnd());
}

TEST(GArcTransform, RotationAndTranslationKeepTheSense) {
    GArc arc = TiltedArc();
    arc.GetStartPoint() = Point3d(1.0, 2.0, 3.0);
    arc.transformBy(RotationThenTranslation());
    ExpectTiltedFrameAfterRotationThenTranslation(arc);
    EXPECT_SAME_XYZ(0.6235157812715512, 0.7764842187284489, 0.09110613904121717, arc.GetStartV());
    EXPECT_SAME_XYZ(-0.8236316404633663, 0.32363164046336634, 0.6832960428091285, arc.GetEndV());
    // The Curve part moved as points.
    EXPECT_SAME_XYZ(2.9841709919760127, -0.4841709919760129, 4.7500572570595505,
                    arc.GetStartPoint());
    EXPECT_SAME_XYZ(0.5, -1.0, 2.0, arc.GetEndPoint());
}

TEST(GArcTransform, GeneralLinearMapSetsUniformRadiusAndMaySwap) {
    GArc arc = TiltedArc();
    arc.GetStartPoint() = Point3d(2.0, 0.0, -1.0);
    arc.transformBy(GeneralLinearMap());
    ExpectTiltedFrameAfterGeneralLinearMap(arc);
    // m * startV = (1, 1.75, 0.06) and m * endV = (-0.75, 0.75, -0.1); the
    // mid point test swapped them although m keeps orientation.
    EXPECT_SAME_XYZ(-0.75, 0.75, -0.1, arc.GetStartV());
    EXPECT_SAME_XYZ(1.0, 1.75, 0.06, arc.GetEndV());
    EXPECT_SAME_XYZ(3.0, 0.5, -2.8, arc.GetStartPoint());
    EXPECT_SAME_XYZ(1.0, 0.0, 0.0, arc.GetEndPoint());
}

TEST(GArcTransform, MirrorOfTiltedArc) {
    GArc arc = TiltedArc();
    arc.transformBy(MirrorInY());
    ExpectTiltedFrameAfterMirrorInY(arc);
    EXPECT_SAME_XYZ(-1.0, -0.5, 0.0, arc.GetStartV());
    EXPECT_SAME_XYZ(0.6, -0.8, 0.0, arc.GetEndV());
    // Close to the image of the old mid point (0.1395, 0.1391, 1.5694).
    EXPECT_SAME_XYZ(0.13949390590245248, 0.13912586220214762, 1.5693789092509212,
                    arc.GetMidPoint());
}

TEST(GArcTransform, ThroughGeometryReference) {
    GArc arc;
    Geometry& g = arc;
    Matrix3d m;
    m.setToScaling(2.0, 2.0, 2.0);
    g.transformBy(m);
    EXPECT_SAME_XYZ(2.0, 2.0, 2.0, arc.GetSize());
    EXPECT_SAME_XYZ(0.0, 0.0, 2.0, arc.GetNormal());
    EXPECT_SAME_XYZ(2.0, 0.0, 0.0, arc.GetStartV());
}

// ---- comparison ----

TEST(GArcEquality, FieldByField) {
    GArc a = TiltedArc(), b = TiltedArc();
    EXPECT_EQ(1, a == b);
    b.SetSize(2.5, 9.0, -1.0);  // only size.x is compared
    EXPECT_EQ(1, a == b);
    b.SetRadius(-0.0);
    a.SetRadius(0.0);
    EXPECT_EQ(1, a == b);  // exact double comparison: 0.0 == -0.0

    GArc c = TiltedArc();
    c.SetRadius(2.5000000000000004);
    EXPECT_EQ(0, TiltedArc() == c);
    c = TiltedArc();
    c.SetCenter(Point3d(1.0, -2.0, 3.0000000000000004));
    EXPECT_EQ(0, TiltedArc() == c);
    c = TiltedArc();
    c.SetNormal(Vector3d(1.0, 2.0, 2.0000000000000004));
    EXPECT_EQ(0, TiltedArc() == c);
    c = TiltedArc();
    c.SetStart(Vector3d(0.6, 0.8, 1.0));  // z does not enter the angles, but is compared
    EXPECT_EQ(0, TiltedArc() == c);
    c = TiltedArc();
    c.SetEnd(Vector3d(-2.0, 1.0, 0.0));  // same direction, other vector
    EXPECT_EQ(0, TiltedArc() == c);
}

TEST(GArcEquality, SameObjectEvenWithNaN) {
    GArc a;
    a.SetRadius(std::numeric_limits<double>::quiet_NaN());
    ExpectEqualToItselfOnly(a);
}

TEST(GArcEquality, CurvePartIsNotCompared) {
    GArc a, b;
    b.GetStartPoint() = Point3d(9.0, 9.0, 9.0);
    b.SetPeriodic(1);
    EXPECT_EQ(1, a == b);
}

TEST(GArcEquality, AgainstGeometry) {
    GArc a = TiltedArc(), b = TiltedArc();
    Vector3d normal(1.0, 2.0, 2.0);
    Circle circle(Point3d(1.0, -2.0, 3.0), 2.5, normal, Point3d(), Point3d());
    // A plain Geometry and a Curve can carry the name "GArc" after assignment;
    // they are still not arcs.
    ExpectEqualOnlyToItsClass<Curve>(a, b, circle, "GArc");
}

// ---- copying ----

TEST(GArcCopy, CopyReturnsAnEqualArc) {
    GArc arc = TiltedArc();
    arc.GetStartPoint() = Point3d(1.0, 2.0, 3.0);
    ExpectEqualCopy(arc, "GArc", Point3d(1.0, 2.0, 3.0));
}

TEST(GArcCopy, FunctionHandleIsNeverCopied) {
    CheckCircularHandleIsNeverCopied<GArc, ArcWithHandle>(4.0);
}

TEST(GArcCopy, AssignmentCopiesEveryMemberAndTheName) {
    GArc source = TiltedArc();
    source.GetEndPoint() = Point3d(4.0, 5.0, 6.0);
    source.SetPeriodic(7);
    GArc target;
    target = source;
    EXPECT_EQ(1, target == source);
    EXPECT_SAME_XYZ(4.0, 5.0, 6.0, target.GetEndPoint());
    EXPECT_EQ(7, target.IsPeriodic());
    EXPECT_TRUE(target.isA("GArc"));
}

// ---- records ----

// The 15 doubles of the record of RecordArc(), as IEEE 754 bit patterns.
constexpr std::uint64_t kRecordBits[15] = {
    0x3ff8000000000000, 0xc002000000000000, 0x4008000000000000,  // center 1.5, -2.25, 3
    0x4004000000000000, 0x401c000000000000, 0x8000000000000000,  // size 2.5, 7, -0
    0x0000000000000000, 0xbfe3333333333333, 0x3fe999999999999a,  // normal 0, -0.6, 0.8
    0x3fe3333333333333, 0x3fe999999999999a, 0x0000000000000000,  // startV 0.6, 0.8, 0
    0xbff0000000000000, 0x3fe0000000000000, 0x3fc0000000000000,  // endV -1, 0.5, 0.125
};

GArc RecordArc() {
    GArc arc = WithRecordFrame(GArc());
    arc.SetStart(Vector3d(0.6, 0.8, 0.0));
    arc.SetEnd(Vector3d(-1.0, 0.5, 0.125));
    return arc;
}

TEST(GArcRecord, GoldenBytes) {
    GArc arc = RecordArc();
    arc.GetStartPoint() = Point3d(9.0, 9.0, 9.0);  // not part of the record
    ExpectLittleEndianDoubles(SavedRecord(arc, 120), kRecordBits, 15);
}

TEST(GArcRecord, RoundTripIsBitForBit) {
    const double nan = FromBits(0x7ff8000000000123);
    const double inf = std::numeric_limits<double>::infinity();
    Vector3d normal(-0.0, 5e-324, nan);
    GArc source(Point3d(-0.0, inf, 1e300), 2.5, normal, Vector3d(nan, -inf, 0.1),
                Vector3d(1.0 / 3.0, -2.0, -0.0));
    source.SetSize(2.5, -0.0, nan);
    GArc loaded;
    ASSERT_NO_FATAL_FAILURE(SaveAndLoad(source, loaded, 120));
    EXPECT_SAME_XYZ(-0.0, inf, 1e300, loaded.GetCenter());
    EXPECT_SAME_XYZ(2.5, -0.0, nan, loaded.GetSize());
    EXPECT_SAME_XYZ(-0.0, 5e-324, nan, loaded.GetNormal());
    EXPECT_SAME_XYZ(nan, -inf, 0.1, loaded.GetStartV());
    EXPECT_SAME_XYZ(1.0 / 3.0, -2.0, -0.0, loaded.GetEndV());
}

TEST(GArcRecord, LoadIntoDefaultArcRestoresAllMembers) {
    GArc source = RecordArc();
    source.GetStartPoint() = Point3d(9.0, 9.0, 9.0);
    GArc loaded;
    ASSERT_NO_FATAL_FAILURE(SaveAndLoad(source, loaded, 120));
    EXPECT_EQ(1, loaded == source);
    EXPECT_SAME_XYZ(2.5, 7.0, -0.0, loaded.GetSize());
    EXPECT_SAME_XYZ(-1.0, 0.5, 0.125, loaded.GetEndV());
    ExpectNameAndCurvePartNotLoaded(loaded, "GArc");
}

TEST(GArcRecord, TruncatedStreamKeepsFieldsNotReached) {
    const std::vector<unsigned char> bytes = SavedRecord(RecordArc(), 120);
    ASSERT_EQ(120u, bytes.size());

    // 72 bytes: center, size and normal; startV and endV are not reached.
    GArc arc = TiltedArc();
    ASSERT_NO_FATAL_FAILURE(LoadFirst(arc, bytes, 72));
    EXPECT_SAME_XYZ(1.5, -2.25, 3.0, arc.GetCenter());
    EXPECT_SAME_XYZ(2.5, 7.0, -0.0, arc.GetSize());
    EXPECT_SAME_XYZ(0.0, -0.6, 0.8, arc.GetNormal());
    EXPECT_SAME_XYZ(0.6, 0.8, 0.0, arc.GetStartV());  // TiltedArc's own
    EXPECT_SAME_XYZ(-1.0, 0.5, 0.0, arc.GetEndV());

    // An empty stream changes nothing.
    GArc untouched = TiltedArc();
    ASSERT_NO_FATAL_FAILURE(LoadFirst(untouched, bytes, 0));
    GArc expected = TiltedArc();
    EXPECT_EQ(1, untouched == expected);
}

TEST(GArcRecord, NullStreamIsIgnored) { ExpectNullStreamIsIgnored(RecordArc); }

TEST(GArcRecord, SequenceOfObjectsStaysAligned) {
    FILE* f = std::tmpfile();
    ASSERT_NE(nullptr, f);
    GArc first = RecordArc();
    Vector3d normal(0.0, 1.0, 0.0);
    Circle middle(Point3d(4.0, 5.0, 6.0), 0.5, normal, Point3d(), Point3d());
    GArc last = TiltedArc();
    Geometry* objects[3] = {&first, &middle, &last};
    for (Geometry* g : objects) g->Save(f);
    EXPECT_EQ(312L, std::ftell(f));  // 120 + 72 + 120
    std::rewind(f);
    GArc a, c;
    Circle b;
    a.Load(f);
    b.Load(f);
    c.Load(f);
    EXPECT_EQ(1, a == first);
    EXPECT_EQ(1, b == middle);
    EXPECT_EQ(1, c == last);
    std::fclose(f);
}

// ---- refused allocations (both curve classes share the sampling) ----

#if defined(__SANITIZE_ADDRESS__)
#define SELVORA_TEST_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SELVORA_TEST_ASAN 1
#endif
#endif

#ifndef _WIN32
// Caps the address space at 1 GiB above what the process uses now, so that a
// block of tens of gigabytes is refused on any machine; restores the old
// limit when it goes.
class AddressSpaceCap {
  public:
    AddressSpaceCap() {
        ok_ = getrlimit(RLIMIT_AS, &old_) == 0;
        long pages = 0;
        if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
            if (std::fscanf(statm, "%ld", &pages) != 1) pages = 0;
            std::fclose(statm);
        }
        ok_ = ok_ && pages > 0;
        if (!ok_) return;
        rlimit capped = old_;
        capped.rlim_cur = static_cast<rlim_t>(pages) * sysconf(_SC_PAGESIZE) + (rlim_t{1} << 30);
        if (old_.rlim_max != RLIM_INFINITY && capped.rlim_cur > old_.rlim_max)
            capped.rlim_cur = old_.rlim_max;
        ok_ = setrlimit(RLIMIT_AS, &capped) == 0;
    }
    ~AddressSpaceCap() {
        if (ok_) setrlimit(RLIMIT_AS, &old_);
    }
    bool ok() const { return ok_; }

  private:
    rlimit old_;
    bool ok_;
};

#endif

TEST(GArcCircleSampling, RefusedBlockLeavesPointsEmpty) {
#ifdef SELVORA_TEST_ASAN
    GTEST_SKIP() << "the address sanitizer ends the process instead of refusing a huge block";
#elif defined(_WIN32)
    SELVORA_SKIP_WITHOUT_ADDRESS_SPACE_CAP();
#else
    GArc arc;
    Circle circle;
    OvPnt3dArray arcByCount = Filled(3), arcBySpacing = Filled(3), circleByCount = Filled(3),
                 circleBySpacing = Filled(3);
    {
        AddressSpaceCap cap;
        ASSERT_TRUE(cap.ok());
        arc.PointSample(INT_MAX, arcByCount);
        arc.PointSample(kHalfPi / 2.0e9, arcBySpacing);  // about 2e9 samples
        circle.PointSample(INT_MAX, circleByCount);
        circle.PointSample(kTwoPiF / 2.0e9, circleBySpacing);
    }
    EXPECT_EQ(0, arcByCount.GetSize());
    EXPECT_EQ(0, arcBySpacing.GetSize());
    EXPECT_EQ(0, circleByCount.GetSize());
    EXPECT_EQ(0, circleBySpacing.GetSize());
    // The arrays are still usable afterwards.
    arc.PointSample(3, arcByCount);
    EXPECT_EQ(3, arcByCount.GetSize());
#endif
}

}  // namespace
