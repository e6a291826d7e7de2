// Tests of Circle, the full circle.
//
// Expected doubles were computed with python3 (IEEE doubles, no fused
// multiply-add, sin/cos/acos/atan of the same C library) by a replica of the
// circle frame written step by step in the library's order: translation *
// (rotation * scaling), the rotation by -acos(n.z / |n|) about the
// twice-normalised axis (n.y, -n.x, 0), products summed k = 0..3 from the
// first term, a point mapped as ((m00*x + m01*y) + m02*z) + m03, samples at
// i * (8 * atan(1) / count).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "geometry/geometry_checks.h"
#include "selvora/selvora.h"
#include "support/exact.h"
#include "support/platform.h"
#include "support/streams.h"

namespace {

using namespace selvora_test;

constexpr double kTwoPiF = 6.2831854820251465;

// Centre (1, -2, 3), radius 2.5, normal (1, 2, 2): the frame of the tilted
// arc of the GArc tests.
Circle TiltedCircle() {
    Vector3d normal(1.0, 2.0, 2.0);
    return Circle(Point3d(1.0, -2.0, 3.0), 2.5, normal, Point3d(), Point3d());
}

OvPnt3dArray Filled(int n) {
    OvPnt3dArray points;
    for (int i = 0; i < n; ++i) points.Add(Point3d(-i, i, 2 * i));
    return points;
}

class CircleWithHandle : public Circle {
  public:
    using Circle::SetFunction;
};

// ---- construction and accessors ----

TEST(CircleConstruction, Default) {
    Circle c;
    ExpectDefaultCircularCurve(c, "GCircle");
    EXPECT_SAME_DOUBLE(6.2831854820251465, c.GetLength());
}

TEST(CircleConstruction, FromCoordinates) {
    Vector3d normal(0.0, -3.0, 4.0);
    Circle c(1.5, -2.25, 3.0, 0.75, normal, Point3d(1.0, 2.0, 3.0), Point3d(-4.0, 5.0, -6.0));
    EXPECT_TRUE(c.isA("GCircle"));
    EXPECT_SAME_XYZ(1.5, -2.25, 3.0, c.GetCenter());
    EXPECT_SAME_XYZ(0.75, 0.75, 0.75, c.GetSize());
    EXPECT_SAME_XYZ(0.0, -3.0, 4.0, c.GetNormal());  // not normalised
    // The two points go to the Curve part.
    EXPECT_SAME_XYZ(1.0, 2.0, 3.0, c.GetStartPoint());
    EXPECT_SAME_XYZ(-4.0, 5.0, -6.0, c.GetEndPoint());
    EXPECT_EQ(nullptr, c.GetFunction());
}

TEST(CircleConstruction, FromCenterPoint) {
    Vector3d normal(2.0, 0.0, 0.0);
    Circle c(Point3d(-1.0, 0.5, 8.0), 3.0, normal, Point3d(7.0, 8.0, 9.0), Point3d(0.0, -1.0, 2.0));
    EXPECT_STREQ("GCircle", static_cast<const char*>(c.className()));
    EXPECT_SAME_XYZ(-1.0, 0.5, 8.0, c.GetCenter());
    EXPECT_SAME_XYZ(3.0, 3.0, 3.0, c.GetSize());
    EXPECT_SAME_XYZ(2.0, 0.0, 0.0, c.GetNormal());
    EXPECT_SAME_XYZ(7.0, 8.0, 9.0, c.GetStartPoint());
    EXPECT_SAME_XYZ(0.0, -1.0, 2.0, c.GetEndPoint());
    EXPECT_EQ(Curve::Symmetric, c.GetSymmetry());
}

TEST(CircleAccessors, SharedAndOwnSetters) {
    Circle c;
    c.SetSize(2.0, 3.0, 4.0);
    EXPECT_SAME_DOUBLE(2.0, c.GetRadius());
    EXPECT_SAME_XYZ(2.0, 3.0, 4.0, c.GetSize());
    c.SetSize(Vector3d(5.0, 6.0, 7.0));
    EXPECT_SAME_XYZ(5.0, 6.0, 7.0, c.GetSize());
    c.SetRadius(-1.25);
    EXPECT_SAME_XYZ(-1.25, -1.25, -1.25, c.GetSize());
    c.SetLocation(1.0, 2.0, 3.0);
    EXPECT_SAME_XYZ(1.0, 2.0, 3.0, c.GetLocation());
    c.SetLocation(Point3d(4.0, 5.0, 6.0));
    EXPECT_SAME_XYZ(4.0, 5.0, 6.0, c.GetCenter());
    c.SetCenter(Point3d(7.0, 8.0, 9.0));
    EXPECT_SAME_XYZ(7.0, 8.0, 9.0, c.GetLocation());
    c.SetNormal(Vector3d(0.0, 0.0, 0.0));
    EXPECT_SAME_XYZ(0.0, 0.0, 0.0, c.GetNormal());

    c.SetCenterX(-0.5);
    EXPECT_SAME_DOUBLE(-0.5, c.GetCenterX());
    EXPECT_SAME_XYZ(-0.5, 8.0, 9.0, c.GetCenter());
    c.SetCenterY(-0.0);
    EXPECT_SAME_DOUBLE(-0.0, c.GetCenterY());
    c.SetCenterZ(1e300);
    EXPECT_SAME_DOUBLE(1e300, c.GetCenterZ());
    EXPECT_SAME_XYZ(-0.5, -0.0, 1e300, c.GetCenter());
    EXPECT_SAME_XYZ(-1.25, -1.25, -1.25, c.GetSize());
}

TEST(CircleAccessors, LengthUsesSinglePrecisionTurn) {
    Circle c = TiltedCircle();
    EXPECT_SAME_DOUBLE(15.707963705062866, c.GetLength());  // 2.5 * 6.2831854820251465
    c.SetSize(3.0, 1.0, 1.0);
    EXPECT_SAME_DOUBLE(3.0 * kTwoPiF, c.GetLength());
}

TEST(CircleAccessors, TransformationIsTheArcFrames) {
    Circle c = TiltedCircle();
    Vector3d normal(1.0, 2.0, 2.0);
    GArc arc(Point3d(1.0, -2.0, 3.0), 2.5, normal, Vector3d(1.0, 0.0, 0.0),
             Vector3d(0.0, 1.0, 0.0));
    // clang-format off
    const double expected[16] = {2.3333333333333335, -0.33333333333333354, 0.8333333333333336, 1.0,
                                 -0.33333333333333354, 1.8333333333333335, 1.6666666666666672, -2.0,
                                 -0.8333333333333336, -1.6666666666666672, 1.6666666666666665, 3.0,
                                 0.0, 0.0, 0.0, 1.0};
    // clang-format on
    const Matrix3d m = c.GetTransformation(), a = arc.GetTransformation();
    for (int i = 0; i < 16; ++i) {
        EXPECT_SAME_DOUBLE(expected[i], m.m[i / 4][i % 4]) << i;
        EXPECT_SAME_DOUBLE(expected[i], a.m[i / 4][i % 4]) << i;
    }
}

TEST(CircleAccessors, TangentQueriesAndCurveAccessorsAreCurves) {
    Vector3d normal(0.0, 0.0, 1.0);
    Circle c(Point3d(), 2.0, normal, Point3d(1.0, 1.0, 1.0), Point3d(2.0, 2.0, 2.0));
    Vector3d v;
    EXPECT_SAME_DOUBLE(-99999.0, c.GetTangentAtPoint(v));
    EXPECT_SAME_DOUBLE(-99999.0, c.GetTangentAtStart());
    EXPECT_SAME_DOUBLE(-99999.0, c.GetTangentAtEnd());
    EXPECT_SAME_XYZ(1.0, 1.0, 1.0, c.GetStart());
    EXPECT_SAME_XYZ(2.0, 2.0, 2.0, c.GetEnd());
}

// ---- sampling ----

TEST(CircleSampling, DefaultByCountFour) {
    Circle c;
    OvPnt3dArray points = Filled(2);
    c.PointSample(4, points);
    ExpectPoints(points, {Point3d(1.0, 0.0, 0.0), Point3d(6.123233995736766e-17, 1.0, 0.0),
                          Point3d(-1.0, 1.2246467991473532e-16, 0.0),
                          Point3d(-1.8369701987210297e-16, -1.0, 0.0)});
}

TEST(CircleSampling, TiltedByCount) {
    Circle c = TiltedCircle();
    OvPnt3dArray points;
    c.PointSample(3, points);
    ExpectPoints(points, {Point3d(3.3333333333333335, -2.3333333333333335, 2.1666666666666665),
                          Point3d(-0.4553418012614794, -0.24562009306186217, 1.9732909936926015),
                          Point3d(0.12200846792814513, -3.4210465736048032, 4.8600423396407315)});
}

TEST(CircleSampling, CountOneGivesTheAngleZeroPoint) {
    Circle c = TiltedCircle();
    OvPnt3dArray points = Filled(5);
    c.PointSample(1, points);
    ExpectPoints(points, {Point3d(3.3333333333333335, -2.3333333333333335, 2.1666666666666665)});
}

TEST(CircleSampling, CountZeroOrNegativeLeavesPointsEmpty) {
    Circle c;
    for (int count : {0, -3}) {
        SCOPED_TRACE(count);
        OvPnt3dArray points = Filled(3);
        c.PointSample(count, points);
        EXPECT_EQ(0, points.GetSize());
    }
}

TEST(CircleSampling, BySpacing) {
    Circle c;  // length 2pi'
    OvPnt3dArray points = Filled(1);
    c.PointSample(1.0, points);  // floor(6.28) + 1 = 7 samples, 2pi / 7 apart
    ASSERT_EQ(7, points.GetSize());
    EXPECT_SAME_XYZ(1.0, 0.0, 0.0, points[0]);
    EXPECT_SAME_XYZ(-0.900968867902419, 0.43388373911755823, 0.0, points[3]);

    c.PointSample(0.0, points);  // two samples, half a turn apart
    ExpectPoints(points, {Point3d(1.0, 0.0, 0.0), Point3d(-1.0, 1.2246467991473532e-16, 0.0)});
}

TEST(CircleSampling, SpacingGivingZeroOrNegativeCountLeavesPointsEmpty) {
    Circle c;
    c.SetRadius(-1.0);  // length -2pi'
    ASSERT_EQ(0, c.NSamples(10.0));
    ASSERT_EQ(-6, c.NSamples(1.0));
    for (double spacing : {10.0, 1.0}) {
        SCOPED_TRACE(spacing);
        OvPnt3dArray points = Filled(3);
        c.PointSample(spacing, points);
        EXPECT_EQ(0, points.GetSize());
    }
}

// ---- point test and distance ----

TEST(CirclePointOnCurve, AlwaysZero) {
    Circle c = TiltedCircle();
    OvPnt3dArray points;
    c.PointSample(6, points);
    ASSERT_EQ(6, points.GetSize());
    for (int i = 0; i < 6; ++i) EXPECT_EQ(0, c.PointOnCurve(points[i])) << i;
    Circle unit;
    EXPECT_EQ(0, unit.PointOnCurve(Point3d(1.0, 0.0, 0.0)));  // centre + (r, 0, 0)
    EXPECT_EQ(0, unit.PointOnCurve(Point3d(0.0, 0.0, 0.0)));
}

TEST(CircleDistance, ToTheSphereOfTheRadius) {
    Circle c = TiltedCircle();
    Point3d center(1.0, -2.0, 3.0), far(4.0, 2.0, 3.0), onCircle(-1.5, -2.0, 3.0),
        inside(1.0, -2.0, 4.0);
    EXPECT_SAME_DOUBLE(2.5, c.distanceToPt(center));
    EXPECT_SAME_DOUBLE(2.5, c.distanceToPt(far));  // |(3, 4, 0)| - 2.5
    EXPECT_SAME_DOUBLE(0.0, c.distanceToPt(onCircle));
    EXPECT_SAME_DOUBLE(1.5, c.distanceToPt(inside));  // | 1 - 2.5 |
    Curve& curve = c;
    EXPECT_SAME_DOUBLE(2.5, curve.distanceToPt(far));
}

// ---- transformBy ----

TEST(CircleTransform, UniformScalingDoublesRadiusAndCenterDistance) {
    Vector3d normal(0.0, 0.0, 1.0);
    Circle c(Point3d(1.0, -2.0, 3.0), 1.5, normal, Point3d(1.0, 1.0, 0.0), Point3d());
    Matrix3d m;
    m.setToScaling(2.0, 2.0, 2.0);
    c.transformBy(m);
    EXPECT_SAME_XYZ(2.0, -4.0, 6.0, c.GetCenter());
    EXPECT_SAME_XYZ(3.0, 3.0, 3.0, c.GetSize());
    EXPECT_SAME_XYZ(0.0, 0.0, 2.0, c.GetNormal());  // scaled too: stored unnormalised
    EXPECT_SAME_XYZ(2.0, 2.0, 0.0, c.GetStartPoint());
    Point3d origin;
    Vector3d fromOrigin = c.GetCenter() - origin;
    EXPECT_SAME_DOUBLE(7.483314773547883, fromOrigin.length());  // 2 * 3.7416573867739413
}

TEST(CircleTransform, RotationAndTranslation) {
    Circle c = TiltedCircle();
    Geometry& g = c;
    g.transformBy(RotationThenTranslation());
    ExpectTiltedFrameAfterRotationThenTranslation(c);
    EXPECT_SAME_XYZ(0.5, -1.0, 2.0, c.GetStartPoint());
}

TEST(CircleTransform, GeneralLinearMapAndMirrorHaveNoFixUp) {
    Circle c = TiltedCircle();
    c.transformBy(GeneralLinearMap());
    ExpectTiltedFrameAfterGeneralLinearMap(c);

    Circle mirrored = TiltedCircle();
    mirrored.transformBy(MirrorInY());
    ExpectTiltedFrameAfterMirrorInY(mirrored);
}

// ---- comparison ----

TEST(CircleEquality, RadiusCenterNormal) {
    Circle a = TiltedCircle(), b = TiltedCircle();
    EXPECT_EQ(1, a == b);
    b.SetSize(2.5, 0.0, 0.0);  // only size.x is compared
    EXPECT_EQ(1, a == b);
    b.GetStartPoint() = Point3d(3.0, 3.0, 3.0);  // the Curve part is not compared
    EXPECT_EQ(1, a == b);

    Circle c = TiltedCircle();
    c.SetRadius(2.4999999999999996);
    EXPECT_EQ(0, a == c);
    c = TiltedCircle();
    c.SetCenterZ(3.0000000000000004);
    EXPECT_EQ(0, a == c);
    c = TiltedCircle();
    c.SetNormal(Vector3d(2.0, 4.0, 4.0));  // same direction, other vector
    EXPECT_EQ(0, a == c);
}

TEST(CircleEquality, SameObjectEvenWithNaN) {
    Circle a;
    a.SetCenterX(std::numeric_limits<double>::quiet_NaN());
    ExpectEqualToItselfOnly(a);
}

TEST(CircleEquality, AgainstGeometry) {
    Circle a = TiltedCircle(), b = TiltedCircle();
    Vector3d normal(1.0, 2.0, 2.0);
    GArc arc(Point3d(1.0, -2.0, 3.0), 2.5, normal, Vector3d(1.0, 0.0, 0.0),
             Vector3d(0.0, 1.0, 0.0));
    ExpectEqualOnlyToItsClass<ImplicitCurve>(a, b, arc, "GCircle");
}

// ---- copying ----

TEST(CircleCopy, CopyReturnsAnEqualCircle) {
    Vector3d normal(0.0, 1.0, 1.0);
    Circle c(Point3d(1.0, 2.0, 3.0), 4.0, normal, Point3d(5.0, 6.0, 7.0), Point3d());
    ExpectEqualCopy(c, "GCircle", Point3d(5.0, 6.0, 7.0));
}

TEST(CircleCopy, FunctionHandleIsNeverCopied) {
    CheckCircularHandleIsNeverCopied<Circle, CircleWithHandle>(3.0);
}

// ---- records ----

// The nine doubles of the record of RecordCircle(), as IEEE 754 bit patterns.
constexpr std::uint64_t kRecordBits[9] = {
    0x3ff8000000000000, 0xc002000000000000, 0x4008000000000000,  // center 1.5, -2.25, 3
    0x4004000000000000, 0x401c000000000000, 0x8000000000000000,  // size 2.5, 7, -0
    0x0000000000000000, 0xbfe3333333333333, 0x3fe999999999999a,  // normal 0, -0.6, 0.8
};

Circle RecordCircle() { return WithRecordFrame(Circle()); }

TEST(CircleRecord, GoldenBytes) {
    Circle c = RecordCircle();
    c.GetEndPoint() = Point3d(9.0, 9.0, 9.0);  // not part of the record
    ExpectLittleEndianDoubles(SavedRecord(c, 72), kRecordBits, 9);
}

TEST(CircleRecord, RoundTripIntoDefaultCircle) {
    std::uint64_t nanBits = 0xfff0000000000abc;
    double nan;
    std::memcpy(&nan, &nanBits, sizeof nan);
    Circle source;
    source.SetCenter(Point3d(nan, -0.0, 5e-324));
    source.SetSize(1.0 / 3.0, -std::numeric_limits<double>::infinity(), 0.1);
    source.SetNormal(Vector3d(1e-300, -7.0, nan));
    source.GetStartPoint() = Point3d(1.0, 1.0, 1.0);
    Circle loaded;
    ASSERT_NO_FATAL_FAILURE(SaveAndLoad(source, loaded, 72));
    EXPECT_SAME_XYZ(nan, -0.0, 5e-324, loaded.GetCenter());
    EXPECT_SAME_XYZ(1.0 / 3.0, -std::numeric_limits<double>::infinity(), 0.1, loaded.GetSize());
    EXPECT_SAME_XYZ(1e-300, -7.0, nan, loaded.GetNormal());
    ExpectNameAndCurvePartNotLoaded(loaded, "GCircle");
}

TEST(CircleRecord, TruncatedStreamKeepsFieldsNotReached) {
    const std::vector<unsigned char> bytes = SavedRecord(RecordCircle(), 72);
    ASSERT_EQ(72u, bytes.size());

    Circle c = TiltedCircle();
    ASSERT_NO_FATAL_FAILURE(LoadFirst(c, bytes, 24));  // center only
    EXPECT_SAME_XYZ(1.5, -2.25, 3.0, c.GetCenter());
    EXPECT_SAME_XYZ(2.5, 2.5, 2.5, c.GetSize());
    EXPECT_SAME_XYZ(1.0, 2.0, 2.0, c.GetNormal());
}

TEST(CircleRecord, NullStreamIsIgnored) { ExpectNullStreamIsIgnored(RecordCircle); }

}  // namespace
