// Tests of the geometry base classes Geometry, Curve and ImplicitCurve: class
// names and identity, copying and assignment, the fixed answers of the base
// curve, the sampling arithmetic, equality and the Curve record.
//
// Expected doubles were computed with python3 (IEEE doubles, no fused
// multiply-add) in the library's order of operations. The sampling values use
// this replica, for a curve of length L:
//   k = int(floor(L / step)); epsilon = (L - k*step) * 0.5   (0 for step 0)
//   count = k + 1 (0 for step 0); nsamples = count if step*0.5 > epsilon else count + 2
//   delta(n) = L * 0.5 if n - 1 <= 0 else L / (n - 1)
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>
#include <typeinfo>
#include <vector>

#include "geometry/geometry_checks.h"
#include "selvora/selvora.h"
#include "support/exact.h"
#include "support/streams.h"

namespace {

using selvora_test::CopyOf;
using selvora_test::ExpectCopyIs;
using selvora_test::ExpectEqualToItselfOnly;
using selvora_test::ExpectPoint;
using selvora_test::ExpectSamePoint;
using selvora_test::ExpectVector;
using selvora_test::FromBits;
using selvora_test::LoadFirst;
using selvora_test::SaveAndLoad;
using selvora_test::SavedRecord;
using selvora_test::StreamOf;

using selvora_test::Bits;

// Every field of a curve: points bit for bit, the three attributes exactly.
void ExpectCurveFields(Curve& c, const Point3d& s, const Point3d& e, int symmetry, int extent,
                       int periodic) {
    ExpectSamePoint(s, c.GetStartPoint());
    ExpectSamePoint(e, c.GetEndPoint());
    EXPECT_EQ(symmetry, static_cast<int>(c.GetSymmetry()));
    EXPECT_EQ(extent, static_cast<int>(c.GetExtent()));
    EXPECT_EQ(periodic, c.IsPeriodic());
}

// Raw storage filled with a non-zero pattern, so that a field a constructor
// forgets to set shows up.
template <class T>
struct DirtyStorage {
    alignas(T) unsigned char bytes[sizeof(T)];
    DirtyStorage() { std::memset(bytes, 0xAB, sizeof bytes); }
};

// A curve of a chosen length that counts how often its length is asked for.
class LengthCurve : public Curve {
  public:
    explicit LengthCurve(double length) : m_length(length) {}
    double GetLength() override {
        ++calls;
        return m_length;
    }
    int calls = 0;

  private:
    double m_length;
};

// Opens the protected initialisation of Curve.
class InitCurve : public Curve {
  public:
    using Curve::Init;
};

// Opens the protected members of ImplicitCurve.
class HandleCurve : public ImplicitCurve {
  public:
    HandleCurve() = default;
    HandleCurve(Point3d& s, Point3d& e) : ImplicitCurve(s, e) {}
    using ImplicitCurve::Init;
    using ImplicitCurve::SetFunction;
};

int g_handleTarget;
int g_otherTarget;

// A curve with every field away from its default.
Curve MakeCurve() {
    Point3d s(1.5, -2.0, 0.25), e(-0.75, 4.0, 2.5);
    Curve c(s, e);
    c.SetSymmetry(Curve::NotSymmetric);
    c.SetExtent(Curve::Bounded);
    c.SetPeriodic(-7);
    return c;
}

}  // namespace

// ---- Geometry ----

TEST(Geometry, DefaultNameIsNoclass) {
    Geometry g;
    EXPECT_STREQ("NOCLASS", g.className());
    EXPECT_EQ(1, g.isA("NOCLASS"));
}

TEST(Geometry, IsAComparesTheNameExactly) {
    Geometry g;
    EXPECT_EQ(0, g.isA("noclass"));
    EXPECT_EQ(0, g.isA("NOCLAS"));
    EXPECT_EQ(0, g.isA("NOCLASS "));
    EXPECT_EQ(0, g.isA(""));
    EXPECT_EQ(0, g.isA(nullptr));
    EXPECT_EQ(0, g.isA("GCurve"));
}

TEST(Geometry, ClassNameReturnsACopy) {
    Geometry g;
    OvString name = g.className();
    name = "CHANGED";
    EXPECT_STREQ("NOCLASS", g.className());
    EXPECT_EQ(1, g.isA("NOCLASS"));
}

TEST(Geometry, CopyConstructorAndAssignmentCopyTheName) {
    Curve c;
    Geometry g(c);
    EXPECT_STREQ("GCurve", g.className());
    EXPECT_TRUE(typeid(g) == typeid(Geometry));

    Geometry h;
    Geometry& r = (h = c);
    EXPECT_EQ(&h, &r);
    EXPECT_STREQ("GCurve", h.className());
    EXPECT_EQ(1, h.isA("GCurve"));
    EXPECT_EQ(0, h.isA("NOCLASS"));

    Geometry fresh;
    h = fresh;
    EXPECT_STREQ("NOCLASS", h.className());
}

TEST(Geometry, CopyReturnsAPlainGeometryWithTheName) {
    Geometry g;
    ExpectCopyIs<Geometry>(g, "NOCLASS");

    Geometry named;
    named = Curve();
    ExpectCopyIs<Geometry>(named, "GCurve");
}

TEST(Geometry, SaveWritesNothingAndLoadReadsNothing) {
    Geometry g;
    FILE* f = std::tmpfile();
    ASSERT_NE(nullptr, f);
    g.Save(f);
    EXPECT_EQ(0L, std::ftell(f));
    std::fputs("abc", f);
    std::rewind(f);
    g.Load(f);
    EXPECT_EQ(0L, std::ftell(f));
    EXPECT_EQ('a', std::fgetc(f));
    std::fclose(f);
    g.Save(nullptr);
    g.Load(nullptr);
    EXPECT_STREQ("NOCLASS", g.className());
}

TEST(Geometry, BaseTransformDoesNothing) {
    Curve c = MakeCurve();
    Matrix3d m;
    m.setToTranslation(Vector3d(1.0, 2.0, 3.0));
    c.Geometry::transformBy(m);
    ExpectCurveFields(c, Point3d(1.5, -2.0, 0.25), Point3d(-0.75, 4.0, 2.5), 0, 2, -7);
    EXPECT_STREQ("GCurve", c.className());
}

// ---- Curve: construction, names, copying ----

TEST(Curve, DefaultState) {
    DirtyStorage<Curve> storage;
    Curve* c = new (storage.bytes) Curve();
    ExpectCurveFields(*c, Point3d(0, 0, 0), Point3d(0, 0, 0), 2, 0, 0);
    EXPECT_STREQ("GCurve", c->className());
    EXPECT_EQ(1, c->isA("GCurve"));
    EXPECT_EQ(0, c->isA("NOCLASS"));
    EXPECT_EQ(0, c->isA("GCURVE"));
    c->~Curve();
}

TEST(Curve, TwoPointConstructor) {
    DirtyStorage<Curve> storage;
    Point3d s(1.5, -2.0, 0.25), e(-0.75, 4.0, 2.5);
    Curve* c = new (storage.bytes) Curve(s, e);
    ExpectCurveFields(*c, s, e, 2, 0, 0);
    EXPECT_STREQ("GCurve", c->className());
    c->~Curve();
}

TEST(Curve, CopyConstructorCopiesEveryFieldAndTheName) {
    Curve src = MakeCurve();
    Curve copy(src);
    ExpectCurveFields(copy, Point3d(1.5, -2.0, 0.25), Point3d(-0.75, 4.0, 2.5), 0, 2, -7);
    EXPECT_STREQ("GCurve", copy.className());

    Geometry plain;
    static_cast<Geometry&>(src) = plain;
    Curve renamed(src);
    EXPECT_STREQ("NOCLASS", renamed.className());
    ExpectCurveFields(renamed, Point3d(1.5, -2.0, 0.25), Point3d(-0.75, 4.0, 2.5), 0, 2, -7);
}

TEST(Curve, AssignmentCopiesEveryFieldAndTheName) {
    Curve src = MakeCurve();
    Point3d s(9, 9, 9), e(8, 8, 8);
    Curve dst(s, e);
    Curve& r = (dst = src);
    EXPECT_EQ(&dst, &r);
    ExpectCurveFields(dst, Point3d(1.5, -2.0, 0.25), Point3d(-0.75, 4.0, 2.5), 0, 2, -7);
    EXPECT_STREQ("GCurve", dst.className());

    ImplicitCurve ic;
    dst = ic;
    EXPECT_STREQ("GImplictCurve", dst.className());
    ExpectCurveFields(dst, Point3d(0, 0, 0), Point3d(0, 0, 0), 2, 0, 0);
}

TEST(Curve, AssignmentThroughGeometryCopiesOnlyTheName) {
    Curve dst = MakeCurve();
    ImplicitCurve ic;
    Geometry& g = dst;
    g = ic;
    EXPECT_STREQ("GImplictCurve", dst.className());
    ExpectCurveFields(dst, Point3d(1.5, -2.0, 0.25), Point3d(-0.75, 4.0, 2.5), 0, 2, -7);
}

TEST(Curve, CopyReturnsANewCurve) {
    Curve src = MakeCurve();
    const std::unique_ptr<Curve> c = CopyOf<Curve>(src, "GCurve");
    ASSERT_NE(nullptr, c);
    ExpectCurveFields(*c, Point3d(1.5, -2.0, 0.25), Point3d(-0.75, 4.0, 2.5), 0, 2, -7);

    // Through the base pointer, and carrying a foreign name.
    Geometry plain;
    static_cast<Geometry&>(src) = plain;
    ExpectCopyIs<Curve>(src, "NOCLASS");
}

TEST(Curve, InitRestoresTheDefaultsOnly) {
    InitCurve c;
    c.SetStart(1.0, 2.0, 3.0);
    c.SetEnd(4.0, 5.0, 6.0);
    c.SetSymmetry(Curve::NotSymmetric);
    c.SetExtent(Curve::Bounded);
    c.SetPeriodic(5);
    c.Init();
    ExpectCurveFields(c, Point3d(1.0, 2.0, 3.0), Point3d(4.0, 5.0, 6.0), 2, 0, 0);
    EXPECT_STREQ("GCurve", c.className());
}

// ---- Curve: accessors ----

TEST(Curve, PointSettersReturnOneAndStore) {
    Curve c;
    EXPECT_EQ(1, c.SetStart(Point3d(1.0, 2.0, 3.0)));
    EXPECT_EQ(1, c.SetEnd(Point3d(-4.0, -5.0, -6.0)));
    ExpectPoint(c.GetStart(), 1.0, 2.0, 3.0);
    ExpectPoint(c.GetEnd(), -4.0, -5.0, -6.0);
    EXPECT_EQ(1, c.SetStart(0.1, -0.0, 1e-310));
    EXPECT_EQ(1, c.SetEnd(7.5, 8.5, -9.5));
    ExpectPoint(c.GetStart(), 0.1, -0.0, 1e-310);
    ExpectPoint(c.GetEnd(), 7.5, 8.5, -9.5);
}

TEST(Curve, CoordinateSettersAndGetters) {
    Curve c;
    c.SetStartX(1.25);
    c.SetStartY(-2.5);
    c.SetStartZ(3.75);
    c.SetEndX(-4.125);
    c.SetEndY(5.0625);
    c.SetEndZ(-0.0);
    EXPECT_SAME_DOUBLE(1.25, c.GetStartX());
    EXPECT_SAME_DOUBLE(-2.5, c.GetStartY());
    EXPECT_SAME_DOUBLE(3.75, c.GetStartZ());
    EXPECT_SAME_DOUBLE(-4.125, c.GetEndX());
    EXPECT_SAME_DOUBLE(5.0625, c.GetEndY());
    EXPECT_SAME_DOUBLE(-0.0, c.GetEndZ());
    ExpectPoint(c.GetStart(), 1.25, -2.5, 3.75);
    ExpectPoint(c.GetEnd(), -4.125, 5.0625, -0.0);
}

TEST(Curve, PointReferencesAreTheStoredPoints) {
    Curve c;
    c.GetStartPoint().x = 3.5;
    c.GetEndPoint().z = -1.5;
    EXPECT_SAME_DOUBLE(3.5, c.GetStartX());
    EXPECT_SAME_DOUBLE(-1.5, c.GetEndZ());
    const Curve& cc = c;
    EXPECT_EQ(&c.GetStartPoint(), &cc.GetStartPoint());
    EXPECT_EQ(&c.GetEndPoint(), &cc.GetEndPoint());
    EXPECT_NE(&cc.GetStartPoint(), &cc.GetEndPoint());
    ExpectPoint(cc.GetStartPoint(), 3.5, 0.0, 0.0);
    ExpectPoint(cc.GetEndPoint(), 0.0, 0.0, -1.5);
}

TEST(Curve, AttributesAreStoredAsGiven) {
    Curve c;
    c.SetSymmetry(Curve::NotSymmetric);
    EXPECT_EQ(0, static_cast<int>(c.GetSymmetry()));
    c.SetSymmetry(Curve::Symmetric);
    EXPECT_EQ(2, static_cast<int>(c.GetSymmetry()));
    c.SetExtent(Curve::Bounded);
    EXPECT_EQ(2, static_cast<int>(c.GetExtent()));
    c.SetExtent(Curve::Unbounded);
    EXPECT_EQ(0, static_cast<int>(c.GetExtent()));
    c.SetPeriodic(7);
    EXPECT_EQ(7, c.IsPeriodic());
    c.SetPeriodic(-3);
    EXPECT_EQ(-3, c.IsPeriodic());
    c.SetPeriodic(0);
    EXPECT_EQ(0, c.IsPeriodic());
}

TEST(Curve, EnumerationValuesAreFixed) {
    EXPECT_EQ(0, static_cast<int>(Curve::NotSymmetric));
    EXPECT_EQ(2, static_cast<int>(Curve::Symmetric));
    EXPECT_EQ(0, static_cast<int>(Curve::Unbounded));
    EXPECT_EQ(2, static_cast<int>(Curve::Bounded));
    EXPECT_EQ(4u, sizeof(Curve::SymmetryType));
    EXPECT_EQ(4u, sizeof(Curve::CurveExtent));
}

// ---- Curve: the fixed answers of the base class ----

TEST(Curve, VirtualQueriesGiveNeutralAnswers) {
    Curve c = MakeCurve();
    Curve& v = c;
    Vector3d dir(1.0, 0.0, 0.0);
    Point3d p(1.5, -2.0, 0.25);  // the start point itself
    EXPECT_SAME_DOUBLE(-99999.0, v.GetTangentAtPoint(dir));
    EXPECT_SAME_DOUBLE(-99999.0, v.GetTangentAtStart());
    EXPECT_SAME_DOUBLE(-99999.0, v.GetTangentAtEnd());
    EXPECT_SAME_DOUBLE(0.0, v.GetLength());
    EXPECT_SAME_DOUBLE(-1.0, v.distanceToPt(p));
    EXPECT_EQ(0, v.PointOnCurve(p));
    EXPECT_EQ(0, v.PointOnCurve(Point3d(-0.75, 4.0, 2.5)));
}

TEST(Curve, PointSampleLeavesTheArrayUntouched) {
    Curve c = MakeCurve();
    OvPnt3dArray out;
    out.Add(Point3d(4.0, 5.0, 6.0));
    const int n = 5;
    c.PointSample(n, out);
    const double step = 0.5;
    c.PointSample(step, out);
    ASSERT_EQ(1, out.GetSize());
    ExpectPoint(out.GetAt(0), 4.0, 5.0, 6.0);

    OvPnt3dArray empty;
    c.PointSample(n, empty);
    c.PointSample(step, empty);
    EXPECT_EQ(0, empty.GetSize());
}

TEST(Curve, NonVirtualQueriesGiveFixedAnswers) {
    Curve c = MakeCurve();
    Point3d p(5.0, 6.0, 7.0);
    ExpectPoint(c.ClosestPtOnCurve(p), 0.0, 0.0, 0.0);
    ExpectVector(c.GetTangent(p), 1.0, 0.0, 0.0);
    ExpectVector(c.GetCurvatureVector(p), 1.0, 0.0, 0.0);
    ExpectVector(c.GetTorsion(p), 1.0, 0.0, 0.0);
    EXPECT_SAME_DOUBLE(0.0, c.GetArcLength(p));
    EXPECT_SAME_DOUBLE(0.0, c.GetScalarCurvature(p));
    EXPECT_EQ(1, c.IsPlanar());
    Curve other = MakeCurve();
    EXPECT_EQ(0, c.Intersects(other));
    EXPECT_EQ(0, c.Intersects(c));
    Point3d start = c.GetStart();
    EXPECT_EQ(0, c.Intersects(start));
    ExpectPoint(p, 5.0, 6.0, 7.0);

    // A curve of real length answers the same.
    LengthCurve l(10.0);
    ExpectPoint(l.ClosestPtOnCurve(p), 0.0, 0.0, 0.0);
    EXPECT_SAME_DOUBLE(0.0, l.GetArcLength(p));
    EXPECT_EQ(1, l.IsPlanar());
}

// ---- Curve: transformation ----

TEST(Curve, TransformByMovesBothEndPoints) {
    // The bottom row is not (0, 0, 0, 1): a point transform ignores it.
    // clang-format off
    const Matrix3d m(0.1, 0.2, 0.3, 0.4,
                     1.5, -2.0, 0.25, 3.0,
                     -0.7, 0.6, 1.1, -0.9,
                     0.0, 0.5, 0.0, 1.0);
    // clang-format on
    Curve c = MakeCurve();
    c.transformBy(m);
    // ((m0*x + m1*y) + m2*z) + m3 per row.
    ExpectCurveFields(c, Point3d(0.22500000000000003, 9.3125, -2.875),
                      Point3d(1.875, -5.5, 4.7749999999999995), 0, 2, -7);

    // The same through the virtual table, on an ImplicitCurve that inherits it.
    Point3d s(1.5, -2.0, 0.25), e(-0.75, 4.0, 2.5);
    ImplicitCurve ic(s, e);
    Geometry& g = ic;
    g.transformBy(m);
    ExpectSamePoint(Point3d(0.22500000000000003, 9.3125, -2.875), ic.GetStart());
    ExpectSamePoint(Point3d(1.875, -5.5, 4.7749999999999995), ic.GetEnd());
    EXPECT_STREQ("GImplictCurve", ic.className());
}

// ---- Curve: sampling arithmetic ----

TEST(Curve, StepZeroGivesTwoSamplesWithoutAskingTheLength) {
    LengthCurve c(10.0);
    EXPECT_SAME_DOUBLE(0.0, c.Epsilon(0.0));
    EXPECT_EQ(0, c.calls);
    EXPECT_EQ(2, c.NSamples(0.0));
    EXPECT_EQ(0, c.calls);
    const double negZero = -0.0;
    EXPECT_SAME_DOUBLE(0.0, c.Epsilon(negZero));
    EXPECT_EQ(2, c.NSamples(negZero));
    EXPECT_EQ(0, c.calls);

    Curve plain;
    EXPECT_EQ(2, plain.NSamples(0.0));
    EXPECT_SAME_DOUBLE(0.0, plain.Epsilon(0.0));
    ImplicitCurve ic;
    EXPECT_EQ(2, ic.NSamples(0.0));
}

TEST(Curve, SamplingOfLengthTen) {
    LengthCurve c(10.0);
    EXPECT_EQ(4, c.NSamples(3.0));
    EXPECT_EQ(2, c.calls);  // once for the count, once inside Epsilon
    EXPECT_SAME_DOUBLE(0.5, c.Epsilon(3.0));
    EXPECT_EQ(3, c.calls);
    EXPECT_SAME_DOUBLE(2.5, c.Delta(5));
    EXPECT_EQ(4, c.calls);
    EXPECT_SAME_DOUBLE(5.0, c.Delta(1));
    EXPECT_SAME_DOUBLE(5.0, c.Delta(0));
    EXPECT_SAME_DOUBLE(5.0, c.Delta(-3));
    EXPECT_SAME_DOUBLE(10.0, c.Delta(2));
    EXPECT_SAME_DOUBLE(3.3333333333333335, c.Delta(4));  // 10 / 3

    EXPECT_EQ(3, c.NSamples(4.0));  // leftover 2, epsilon 1.0 < 2.0
    EXPECT_SAME_DOUBLE(1.0, c.Epsilon(4.0));
    EXPECT_EQ(5, c.NSamples(2.5));  // exact division: epsilon 0.0
    EXPECT_SAME_DOUBLE(0.0, c.Epsilon(2.5));
    EXPECT_EQ(2, c.NSamples(10.0));
    EXPECT_EQ(1, c.NSamples(20.0));  // one step longer than the curve
    EXPECT_SAME_DOUBLE(5.0, c.Epsilon(20.0));
    EXPECT_EQ(1, c.NSamples(1e300));
}

TEST(Curve, RoundingOfTheQuotientCanAddTwoSamples) {
    // 0.59 / 0.01 is 58.99999999999999, so k = 58 and the leftover
    // 0.59 - 0.58 = 0.010000000000000009 is a whole step: epsilon
    // 0.0050000000000000044 is not below 0.005, and the count 59 becomes 61.
    LengthCurve c(0.59);
    EXPECT_EQ(61, c.NSamples(0.01));
    EXPECT_SAME_DOUBLE(0.0050000000000000044, c.Epsilon(0.01));
    EXPECT_SAME_DOUBLE(0.295, c.Delta(3));
    EXPECT_SAME_DOUBLE(0.295, c.Delta(1));

    // 0.3 / 0.1 is 2.9999999999999996: k = 2, epsilon 0.04999999999999999 is
    // below 0.05, so the count stays 3.
    LengthCurve d(0.3);
    EXPECT_EQ(3, d.NSamples(0.1));
    EXPECT_SAME_DOUBLE(0.04999999999999999, d.Epsilon(0.1));

    // 1.0 / 0.1 is exactly 10.0.
    LengthCurve e(1.0);
    EXPECT_EQ(11, e.NSamples(0.1));
    EXPECT_SAME_DOUBLE(0.0, e.Epsilon(0.1));
}

TEST(Curve, NegativeStepFollowsTheFormulas) {
    // floor(10 / -3) = -4: count -3, epsilon (10 - 12) * 0.5 = -1.0, and
    // -1.5 > -1.0 fails, so -3 + 2.
    LengthCurve c(10.0);
    EXPECT_EQ(-1, c.NSamples(-3.0));
    EXPECT_SAME_DOUBLE(-1.0, c.Epsilon(-3.0));
}

TEST(Curve, PlainCurveHasLengthZero) {
    Curve c = MakeCurve();
    EXPECT_EQ(1, c.NSamples(1.0));
    EXPECT_SAME_DOUBLE(0.0, c.Epsilon(1.0));
    EXPECT_SAME_DOUBLE(0.0, c.Delta(5));
    EXPECT_SAME_DOUBLE(0.0, c.Delta(1));
}

// ---- Curve: equality ----

TEST(Curve, EqualWithItselfEvenWithNaN) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Curve c;
    c.SetStart(nan, 0.0, 0.0);
    c.SetEnd(0.0, nan, nan);
    EXPECT_EQ(1, c == static_cast<Geometry&>(c));
    ExpectEqualToItselfOnly(c);
}

TEST(Curve, EqualWhenEveryFieldIsEqual) {
    Curve a = MakeCurve();
    Curve b = MakeCurve();
    EXPECT_EQ(1, a == b);
    EXPECT_EQ(1, a == static_cast<Geometry&>(b));

    // Point comparison is exact, and -0.0 equals 0.0.
    Curve z1, z2;
    z2.SetStart(-0.0, -0.0, -0.0);
    EXPECT_EQ(1, z1 == z2);
}

TEST(Curve, UnequalWhenAnyFieldDiffers) {
    Curve a = MakeCurve();
    {
        Curve b = MakeCurve();
        b.SetPeriodic(0);
        EXPECT_EQ(0, a == b);
        b.SetPeriodic(1);
        EXPECT_EQ(0, a == b);
    }
    {
        Curve b = MakeCurve();
        b.SetSymmetry(Curve::Symmetric);
        EXPECT_EQ(0, a == b);
    }
    {
        Curve b = MakeCurve();
        b.SetExtent(Curve::Unbounded);
        EXPECT_EQ(0, a == b);
    }
    {
        Curve b = MakeCurve();
        b.SetStartZ(0.25000000000000006);  // the next double above 0.25
        EXPECT_EQ(0, a == b);
        EXPECT_EQ(0, a == static_cast<Geometry&>(b));
    }
    {
        Curve b = MakeCurve();
        b.SetEndX(-0.7500000000000001);
        EXPECT_EQ(0, a == b);
    }
    {
        // Same points swapped.
        Curve b = MakeCurve();
        b.SetStart(a.GetEnd());
        b.SetEnd(a.GetStart());
        EXPECT_EQ(0, a == b);
    }
}

namespace {

// A Curve and an ImplicitCurve with the same end points.
struct TwinCurves {
    Point3d s{1.0, 2.0, 3.0}, e{4.0, 5.0, 6.0};
    Curve curve{s, e};
    ImplicitCurve implicit{s, e};
};

}  // namespace

TEST(Curve, CurveComparisonIgnoresTheClassName) {
    TwinCurves twins;
    EXPECT_EQ(1, twins.curve == static_cast<Curve&>(twins.implicit));
    EXPECT_EQ(1, twins.implicit == twins.curve);
}

TEST(Curve, GeometryComparisonRequiresTheCurveName) {
    TwinCurves twins;
    Curve& c = twins.curve;
    EXPECT_EQ(0, c == static_cast<Geometry&>(twins.implicit));

    Curve renamed(twins.s, twins.e);
    Geometry plain;
    static_cast<Geometry&>(renamed) = plain;
    EXPECT_EQ(1, c == renamed);
    EXPECT_EQ(0, c == static_cast<Geometry&>(renamed));

    // A plain Geometry named "GCurve" is no curve at all.
    Geometry named;
    named = c;
    EXPECT_EQ(1, named.isA("GCurve"));
    EXPECT_EQ(0, c == named);
    EXPECT_EQ(0, c == plain);

    Triangle t;
    EXPECT_EQ(0, c == static_cast<Geometry&>(t));
}

// ---- Curve: record ----

TEST(Curve, SaveWritesThe60ByteRecord) {
    Curve c;
    c.SetStart(1.5, -2.25, 1e-310);
    c.SetEnd(-0.0, 0.1, 6.02e23);
    c.SetSymmetry(Curve::NotSymmetric);
    c.SetExtent(Curve::Bounded);
    c.SetPeriodic(-7);
    const std::vector<unsigned char> bytes = SavedRecord(c, 60);
    ASSERT_EQ(60u, bytes.size());

    // 1.5 = 0x3FF8000000000000 and -0.0 = 0x8000000000000000, little-endian.
    const unsigned char start[8] = {0, 0, 0, 0, 0, 0, 0xF8, 0x3F};
    EXPECT_EQ(0, std::memcmp(start, bytes.data() + 0, 8));
    const unsigned char end[8] = {0, 0, 0, 0, 0, 0, 0, 0x80};
    EXPECT_EQ(0, std::memcmp(end, bytes.data() + 24, 8));
    const unsigned char symmetry[4] = {0, 0, 0, 0};
    EXPECT_EQ(0, std::memcmp(symmetry, bytes.data() + 48, 4));
    const unsigned char extent[4] = {2, 0, 0, 0};
    EXPECT_EQ(0, std::memcmp(extent, bytes.data() + 52, 4));
    const unsigned char periodic[4] = {0xF9, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(0, std::memcmp(periodic, bytes.data() + 56, 4));

    const double coords[6] = {1.5, -2.25, 1e-310, -0.0, 0.1, 6.02e23};
    for (int i = 0; i < 6; ++i) {
        double d;
        std::memcpy(&d, bytes.data() + 8 * i, sizeof d);
        EXPECT_SAME_DOUBLE(coords[i], d) << i;
    }
}

TEST(Curve, SaveThenLoadRestoresEveryField) {
    const double nan = FromBits(0xFFF4000000000123ull);  // a signalling NaN with a payload
    Curve c;
    c.SetStart(nan, -0.0, 4.9e-324);
    c.SetEnd(-std::numeric_limits<double>::infinity(), 0.1, -1e300);
    c.SetSymmetry(Curve::NotSymmetric);
    c.SetExtent(Curve::Bounded);
    c.SetPeriodic(123456789);
    Curve r;
    ASSERT_NO_FATAL_FAILURE(SaveAndLoad(c, r, 60));
    EXPECT_EQ(0xFFF4000000000123ull, Bits(r.GetStartX()));
    ExpectCurveFields(r, c.GetStartPoint(), c.GetEndPoint(), 0, 2, 123456789);
    EXPECT_STREQ("GCurve", r.className());
}

TEST(Curve, LoadThroughTheVirtualTable) {
    Curve c = MakeCurve();
    FILE* f = std::tmpfile();
    ASSERT_NE(nullptr, f);
    Geometry& src = c;
    src.Save(f);
    EXPECT_EQ(60L, std::ftell(f));
    std::rewind(f);
    Curve r;
    Geometry& dst = r;
    dst.Load(f);
    std::fclose(f);
    EXPECT_EQ(1, r == c);
}

TEST(Curve, ShortReadKeepsWhatItDidNotReach) {
    const std::vector<unsigned char> bytes = SavedRecord(MakeCurve(), 60);
    ASSERT_EQ(60u, bytes.size());

    // A curve away from the defaults loads the first n bytes of the record;
    // then it must hold these fields.
    auto expectAfterLoading = [&bytes](std::size_t n, const Point3d& s, const Point3d& e,
                                       int symmetry, int extent, int periodic) {
        SCOPED_TRACE(::testing::Message() << n << " bytes");
        Curve c;
        c.SetStart(11.0, 12.0, 13.0);
        c.SetEnd(21.0, 22.1, 23.0);
        ASSERT_NO_FATAL_FAILURE(LoadFirst(c, bytes, n));
        ExpectCurveFields(c, s, e, symmetry, extent, periodic);
    };

    // 36 bytes: the start, the end's x, and the low half of the end's y.
    const double y =
        FromBits((Bits(22.1) & 0xFFFFFFFF00000000ull) | (Bits(4.0) & 0x00000000FFFFFFFFull));
    ASSERT_NE(Bits(22.1), Bits(y));
    expectAfterLoading(36, Point3d(1.5, -2.0, 0.25), Point3d(-0.75, y, 23.0), 2, 0, 0);
    // 56 bytes: everything but the periodic flag.
    expectAfterLoading(56, Point3d(1.5, -2.0, 0.25), Point3d(-0.75, 4.0, 2.5), 0, 2, 0);
    // 58 bytes: the flag gets the low two bytes of -7 (F9 FF) over its old 0.
    expectAfterLoading(58, Point3d(1.5, -2.0, 0.25), Point3d(-0.75, 4.0, 2.5), 0, 2, 0xFFF9);
    // Nothing at all.
    expectAfterLoading(0, Point3d(11.0, 12.0, 13.0), Point3d(21.0, 22.1, 23.0), 2, 0, 0);
}

TEST(Curve, NullStreamIsIgnored) {
    Curve c = MakeCurve();
    c.Save(nullptr);
    c.Load(nullptr);
    ExpectCurveFields(c, Point3d(1.5, -2.0, 0.25), Point3d(-0.75, 4.0, 2.5), 0, 2, -7);
}

// ---- ImplicitCurve ----

TEST(ImplicitCurve, DefaultState) {
    DirtyStorage<ImplicitCurve> storage;
    ImplicitCurve* c = new (storage.bytes) ImplicitCurve();
    EXPECT_STREQ("GImplictCurve", c->className());
    EXPECT_EQ(1, c->isA("GImplictCurve"));
    EXPECT_EQ(0, c->isA("GImplicitCurve"));
    EXPECT_EQ(0, c->isA("GCurve"));
    EXPECT_EQ(0, c->isA("NOCLASS"));
    EXPECT_EQ(nullptr, c->GetFunction());
    ExpectCurveFields(*c, Point3d(0, 0, 0), Point3d(0, 0, 0), 2, 0, 0);
    c->~ImplicitCurve();
}

TEST(ImplicitCurve, TwoPointConstructor) {
    DirtyStorage<ImplicitCurve> storage;
    Point3d s(1.5, -2.0, 0.25), e(-0.75, 4.0, 2.5);
    ImplicitCurve* c = new (storage.bytes) ImplicitCurve(s, e);
    EXPECT_STREQ("GImplictCurve", c->className());
    EXPECT_EQ(nullptr, c->GetFunction());
    ExpectCurveFields(*c, s, e, 2, 0, 0);
    c->~ImplicitCurve();
}

TEST(ImplicitCurve, FunctionHandleIsStoredAndInitClearsIt) {
    HandleCurve h;
    EXPECT_EQ(nullptr, h.GetFunction());
    h.SetFunction(&g_handleTarget);
    EXPECT_EQ(&g_handleTarget, h.GetFunction());

    h.SetSymmetry(Curve::NotSymmetric);
    h.SetExtent(Curve::Bounded);
    h.SetPeriodic(3);
    h.SetStart(1.0, 2.0, 3.0);
    h.Init();  // the handle only; the Curve fields stay
    EXPECT_EQ(nullptr, h.GetFunction());
    ExpectCurveFields(h, Point3d(1.0, 2.0, 3.0), Point3d(0, 0, 0), 0, 2, 3);
}

TEST(ImplicitCurve, CopyConstructorDoesNotCopyTheHandle) {
    Point3d s(1.5, -2.0, 0.25), e(-0.75, 4.0, 2.5);
    HandleCurve src(s, e);
    src.SetFunction(&g_handleTarget);
    src.SetExtent(Curve::Bounded);
    src.SetPeriodic(9);

    DirtyStorage<ImplicitCurve> storage;
    ImplicitCurve* c = new (storage.bytes) ImplicitCurve(src);
    EXPECT_EQ(nullptr, c->GetFunction());
    EXPECT_STREQ("GImplictCurve", c->className());
    ExpectCurveFields(*c, s, e, 2, 2, 9);
    c->~ImplicitCurve();
    EXPECT_EQ(&g_handleTarget, src.GetFunction());
}

TEST(ImplicitCurve, AssignmentKeepsTheTargetsHandle) {
    Point3d s(1.5, -2.0, 0.25), e(-0.75, 4.0, 2.5);
    HandleCurve a, b(s, e);
    a.SetFunction(&g_handleTarget);
    b.SetFunction(&g_otherTarget);
    b.SetPeriodic(4);
    ImplicitCurve& r = (static_cast<ImplicitCurve&>(a) = b);
    EXPECT_EQ(&a, &r);
    EXPECT_EQ(&g_handleTarget, a.GetFunction());
    EXPECT_EQ(&g_otherTarget, b.GetFunction());
    ExpectCurveFields(a, s, e, 2, 0, 4);

    // A null source handle does not clear the target's.
    HandleCurve c;
    static_cast<ImplicitCurve&>(a) = c;
    EXPECT_EQ(&g_handleTarget, a.GetFunction());
    ExpectCurveFields(a, Point3d(0, 0, 0), Point3d(0, 0, 0), 2, 0, 0);

    // And a null target stays null.
    ImplicitCurve plain;
    plain = b;
    EXPECT_EQ(nullptr, plain.GetFunction());
    ExpectCurveFields(plain, s, e, 2, 0, 4);

    // The name comes from the source.
    Geometry g;
    static_cast<Geometry&>(b) = g;
    plain = b;
    EXPECT_STREQ("NOCLASS", plain.className());
}

TEST(ImplicitCurve, CopyReturnsANewImplicitCurveWithoutTheHandle) {
    Point3d s(1.5, -2.0, 0.25), e(-0.75, 4.0, 2.5);
    HandleCurve src(s, e);
    src.SetFunction(&g_handleTarget);
    src.SetSymmetry(Curve::NotSymmetric);

    Curve& asCurve = src;
    const std::unique_ptr<ImplicitCurve> ic = CopyOf<ImplicitCurve>(asCurve, "GImplictCurve");
    ASSERT_NE(nullptr, ic);
    EXPECT_EQ(nullptr, ic->GetFunction());
    ExpectCurveFields(*ic, s, e, 0, 0, 0);

    ImplicitCurve plain(s, e);
    ExpectCopyIs<ImplicitCurve>(plain, "GImplictCurve");
}

TEST(ImplicitCurve, SaveWritesNothingAndLoadConsumesNothing) {
    Point3d s(1.5, -2.0, 0.25), e(-0.75, 4.0, 2.5);
    ImplicitCurve ic(s, e);
    FILE* f = std::tmpfile();
    ASSERT_NE(nullptr, f);
    ic.Save(f);
    EXPECT_EQ(0L, std::ftell(f));
    static_cast<Geometry&>(ic).Save(f);
    static_cast<Curve&>(ic).Save(f);
    EXPECT_EQ(0L, std::ftell(f));

    // A Curve record follows; loading the ImplicitCurve first must leave it.
    Curve c = MakeCurve();
    c.Save(f);
    std::rewind(f);
    ImplicitCurve target;
    static_cast<Geometry&>(target).Load(f);
    EXPECT_EQ(0L, std::ftell(f));
    ExpectCurveFields(target, Point3d(0, 0, 0), Point3d(0, 0, 0), 2, 0, 0);
    Curve r;
    r.Load(f);
    EXPECT_EQ(60L, std::ftell(f));
    std::fclose(f);
    EXPECT_EQ(1, r == c);

    ic.Save(nullptr);
    ic.Load(nullptr);
}

TEST(ImplicitCurve, CurveGeometryComparisonIsZeroButCurveComparisonWorks) {
    Point3d s(1.5, -2.0, 0.25), e(-0.75, 4.0, 2.5);
    ImplicitCurve a(s, e), b(s, e);
    EXPECT_EQ(0, a == static_cast<Geometry&>(b));
    EXPECT_EQ(0, a == static_cast<Geometry&>(a));
    EXPECT_EQ(1, a == static_cast<Curve&>(b));
    b.SetPeriodic(1);
    EXPECT_EQ(0, a == static_cast<Curve&>(b));
}

// ---- With a Line ----

TEST(Curve, AssignedFromALineTakesItsName) {
    Point3d s(1.0, 2.0, 3.0), e(4.0, 6.0, 8.0);
    Line line(s, e);
    Curve c;
    c = line;
    EXPECT_STREQ("GLine", c.className());
    EXPECT_EQ(1, c.isA("GLine"));
    EXPECT_EQ(0, c.isA("GCurve"));
    // The Curve fields come along, the line's extent 2 among them.
    ExpectCurveFields(c, s, e, 2, 2, 0);

    Curve copied(line);
    EXPECT_STREQ("GLine", copied.className());
    EXPECT_TRUE(typeid(copied) == typeid(Curve));

    // Through a Geometry reference only the name is copied.
    Curve d = MakeCurve();
    Geometry& g = d;
    g = line;
    EXPECT_STREQ("GLine", d.className());
    ExpectCurveFields(d, Point3d(1.5, -2.0, 0.25), Point3d(-0.75, 4.0, 2.5), 0, 2, -7);
}

TEST(Curve, LineIsNeverEqualToACurveThroughGeometry) {
    Point3d s(1.0, 2.0, 3.0), e(4.0, 6.0, 8.0);
    Line line(s, e);
    Curve c(s, e);
    c.SetExtent(Curve::Bounded);
    EXPECT_EQ(1, c == static_cast<Curve&>(line));
    EXPECT_EQ(0, c == static_cast<Geometry&>(line));
    EXPECT_EQ(1, line.isA("GLine"));
    EXPECT_EQ(0, line.isA("GCurve"));
    EXPECT_EQ(0, line.isA("GImplictCurve"));
}

namespace {

// A concrete curve class with its function handle opened to the test.
template <class C>
class WithHandle : public C {
  public:
    using C::C;
    using ImplicitCurve::SetFunction;
};

// New objects, copies and assignments of a concrete curve class never carry a
// function handle over.
template <class C>
void CheckHandleIsNeverCopied() {
    DirtyStorage<C> storage;
    C* fresh = new (storage.bytes) C();
    EXPECT_EQ(nullptr, fresh->GetFunction());
    fresh->~C();

    WithHandle<C> src;
    src.SetFunction(&g_handleTarget);
    C* copied = new (storage.bytes) C(src);
    EXPECT_EQ(nullptr, copied->GetFunction());
    copied->~C();

    Geometry* g = static_cast<Curve&>(src).copy();
    ASSERT_NE(nullptr, g);
    EXPECT_TRUE(typeid(*g) == typeid(C));
    C* c = dynamic_cast<C*>(g);
    ASSERT_NE(nullptr, c);
    EXPECT_EQ(nullptr, c->GetFunction());
    delete c;

    WithHandle<C> dst;
    dst.SetFunction(&g_otherTarget);
    static_cast<C&>(dst) = src;
    EXPECT_EQ(&g_otherTarget, dst.GetFunction());
    C plain;
    plain = src;
    EXPECT_EQ(nullptr, plain.GetFunction());
}

}  // namespace

TEST(ImplicitCurve, ConcreteCurvesNeverCopyTheHandle) {
    {
        SCOPED_TRACE("Line");
        CheckHandleIsNeverCopied<Line>();
    }
    {
        SCOPED_TRACE("GArc");
        CheckHandleIsNeverCopied<GArc>();
    }
    {
        SCOPED_TRACE("Circle");
        CheckHandleIsNeverCopied<Circle>();
    }
}

TEST(ImplicitCurve, NewLineFromTwoPointsHasNoFunctionHandle) {
    DirtyStorage<Line> storage;
    Point3d s(1.0, 2.0, 3.0), e(4.0, 6.0, 8.0);
    Line* m = new (storage.bytes) Line(s, e);
    EXPECT_EQ(nullptr, m->GetFunction());
    m->~Line();
}

// A sample count that no int can hold is refused with 0 instead of
// overflowing; one below that limit still comes out exactly.
TEST(Curve, NSamplesBeyondTheIntRangeIsZero) {
    LengthCurve c(2147483647.0);  // k = 2147483647, count 2147483648
    EXPECT_EQ(0, c.NSamples(1.0));
    EXPECT_SAME_DOUBLE(0.0, c.Epsilon(1.0));
    LengthCurve fits(2147483646.0);  // k = 2147483646, leftover 0 < 0.5
    EXPECT_EQ(2147483647, fits.NSamples(1.0));
}
