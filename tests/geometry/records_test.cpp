// Tests of the binary records of all geometry classes together: objects of
// different classes written one after another to one stream, each record in
// its place with its own size and no header, read back in the same order, and
// a stream cut short in the middle of the sequence.
//
// The expected bytes are the test objects' own field values; the mixed
// doubles of the partial reads are assembled here from the two values' bit
// patterns (the low bytes from the record, the high bytes as they were).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "selvora/selvora.h"
#include "support/exact.h"
#include "support/streams.h"

namespace {

using selvora_test::DoubleAt;
using selvora_test::FromBits;
using selvora_test::StreamBytes;
using selvora_test::StreamOf;

using selvora_test::Bits;

// The low n bytes of the record's double over the high bytes of the old one.
double Mixed(double old, double record, int n) {
    const std::uint64_t low = n >= 8 ? ~0ull : (1ull << (8 * n)) - 1;
    return FromBits((Bits(old) & ~low) | (Bits(record) & low));
}

template <class P>
void ExpectXyz(const P& p, double x, double y, double z) {
    EXPECT_SAME_DOUBLE(x, p.x);
    EXPECT_SAME_DOUBLE(y, p.y);
    EXPECT_SAME_DOUBLE(z, p.z);
}

template <class P>
void ExpectSameXyz(const P& expected, const P& actual) {
    ExpectXyz(actual, expected.x, expected.y, expected.z);
}

std::int32_t IntAt(const std::vector<unsigned char>& bytes, std::size_t offset) {
    std::int32_t i;
    std::memcpy(&i, bytes.data() + offset, sizeof i);
    return i;
}

// Record sizes and where each record starts in the sequence written below:
// Curve, ImplicitCurve, Line, GArc, Circle, Triangle.
constexpr long kCurveAt = 0;
constexpr long kLineAt = 60;  // the ImplicitCurve in between writes nothing
constexpr long kArcAt = kLineAt + 48;
constexpr long kCircleAt = kArcAt + 120;
constexpr long kTriangleAt = kCircleAt + 72;
constexpr long kTotal = kTriangleAt + 72;

// One object of each class, in the order of the sequence.
struct OneOfEach {
    Curve curve;
    ImplicitCurve implicit;
    Line line;
    GArc arc;
    Circle circle;
    Triangle triangle;

    std::vector<Geometry*> All() { return {&curve, &implicit, &line, &arc, &circle, &triangle}; }
};

// Every saved field away from the defaults and holding a few awkward values
// (-0.0, subnormals, a NaN with a payload).
struct Sources : OneOfEach {
    Sources() {
        curve.SetStart(1.5, -2.25, 1e-310);
        curve.SetEnd(-0.0, 0.1, 6.02e23);
        curve.SetSymmetry(Curve::NotSymmetric);
        curve.SetExtent(Curve::Bounded);
        curve.SetPeriodic(-7);

        implicit.SetStart(9.0, 9.0, 9.0);
        implicit.SetPeriodic(1);

        Point3d s(0.3, -1.7, 2.9), e(-4.4, 5.05, -0.0);
        line = Line(s, e);

        Vector3d n(0.2, -0.3, 0.9);
        arc = GArc(Point3d(1.25, -3.5, 0.7), 2.5, n, Vector3d(0.6, 0.8, 0.1),
                   Vector3d(-0.8, 0.6, -0.2));
        arc.SetSize(2.5, 3.25, 4.75);  // stored as given, not kept uniform

        Vector3d cn(FromBits(0x7FF800000000ABCDull), 1e-320, -1.0);
        circle = Circle(Point3d(-6.5, 7.125, 0.01), 2.7, cn, Point3d(1, 2, 3), Point3d(4, 5, 6));

        triangle.Set(Point3d(0.1, 0.2, 0.3), Point3d(1.7, -2.9, 4.4), Point3d(3.3, 0.05, -1.25));
    }

    void SaveAll(FILE* f, std::vector<long>* positions) {
        for (Geometry* g : All()) {
            g->Save(f);
            if (positions) positions->push_back(std::ftell(f));
        }
    }
};

// Fresh objects of the same classes, read in the same order.
struct Targets : OneOfEach {
    void LoadAll(FILE* f, std::vector<long>* positions) {
        for (Geometry* g : All()) {
            g->Load(f);
            if (positions) positions->push_back(std::ftell(f));
        }
    }

    // Loads all from a stream holding only the first n bytes of a sequence;
    // returns the stream position after each object.
    std::vector<long> LoadFirst(const std::vector<unsigned char>& sequence, std::size_t n) {
        std::vector<long> positions;
        FILE* f = StreamOf(sequence, n);
        EXPECT_NE(nullptr, f);
        if (f == nullptr) return positions;
        LoadAll(f, &positions);
        std::fclose(f);
        return positions;
    }
};

void ExpectArcFields(const GArc& expected, const GArc& actual) {
    ExpectSameXyz(expected.GetCenter(), actual.GetCenter());
    ExpectSameXyz(expected.GetSize(), actual.GetSize());
    ExpectSameXyz(expected.GetNormal(), actual.GetNormal());
    ExpectSameXyz(expected.GetStartV(), actual.GetStartV());
    ExpectSameXyz(expected.GetEndV(), actual.GetEndV());
}

void ExpectCircleFields(const Circle& expected, const Circle& actual) {
    ExpectSameXyz(expected.GetCenter(), actual.GetCenter());
    ExpectSameXyz(expected.GetSize(), actual.GetSize());
    ExpectSameXyz(expected.GetNormal(), actual.GetNormal());
}

void ExpectTriangleVertices(const Triangle& expected, const Triangle& actual) {
    for (int n = 0; n < 3; ++n) ExpectSameXyz(expected.GetPointN(n), actual.GetPointN(n));
}

std::vector<unsigned char> SavedSequence() {
    Sources src;
    FILE* f = std::tmpfile();
    src.SaveAll(f, nullptr);
    std::vector<unsigned char> bytes = StreamBytes(f);
    std::fclose(f);
    return bytes;
}

}  // namespace

TEST(Records, SequenceSizeIsTheSumOfTheRecords) {
    Sources src;
    FILE* f = std::tmpfile();
    ASSERT_NE(nullptr, f);
    std::vector<long> positions;
    src.SaveAll(f, &positions);
    const std::vector<long> expected = {60, 60, 108, 228, 300, 372};
    EXPECT_EQ(expected, positions);
    EXPECT_EQ(static_cast<std::size_t>(kTotal), StreamBytes(f).size());
    std::fclose(f);
}

TEST(Records, EachRecordStartsWhereThePreviousEnds) {
    Sources src;
    const std::vector<unsigned char> bytes = SavedSequence();
    ASSERT_EQ(static_cast<std::size_t>(kTotal), bytes.size());

    // Curve: start, end, then the three 32-bit attributes.
    EXPECT_SAME_DOUBLE(1.5, DoubleAt(bytes, kCurveAt));
    EXPECT_SAME_DOUBLE(-0.0, DoubleAt(bytes, kCurveAt + 24));
    EXPECT_SAME_DOUBLE(6.02e23, DoubleAt(bytes, kCurveAt + 40));
    EXPECT_EQ(0, IntAt(bytes, kCurveAt + 48));
    EXPECT_EQ(2, IntAt(bytes, kCurveAt + 52));
    EXPECT_EQ(-7, IntAt(bytes, kCurveAt + 56));

    // Line: start and end only.
    EXPECT_SAME_DOUBLE(0.3, DoubleAt(bytes, kLineAt));
    EXPECT_SAME_DOUBLE(2.9, DoubleAt(bytes, kLineAt + 16));
    EXPECT_SAME_DOUBLE(-4.4, DoubleAt(bytes, kLineAt + 24));
    EXPECT_SAME_DOUBLE(-0.0, DoubleAt(bytes, kLineAt + 40));

    // GArc: center, size, normal, startV, endV.
    EXPECT_SAME_DOUBLE(1.25, DoubleAt(bytes, kArcAt));
    EXPECT_SAME_DOUBLE(2.5, DoubleAt(bytes, kArcAt + 24));
    EXPECT_SAME_DOUBLE(3.25, DoubleAt(bytes, kArcAt + 32));
    EXPECT_SAME_DOUBLE(4.75, DoubleAt(bytes, kArcAt + 40));
    EXPECT_SAME_DOUBLE(0.2, DoubleAt(bytes, kArcAt + 48));
    EXPECT_SAME_DOUBLE(0.6, DoubleAt(bytes, kArcAt + 72));
    EXPECT_SAME_DOUBLE(-0.8, DoubleAt(bytes, kArcAt + 96));
    EXPECT_SAME_DOUBLE(-0.2, DoubleAt(bytes, kArcAt + 112));

    // Circle: center, size, normal.
    EXPECT_SAME_DOUBLE(-6.5, DoubleAt(bytes, kCircleAt));
    EXPECT_SAME_DOUBLE(2.7, DoubleAt(bytes, kCircleAt + 24));
    EXPECT_SAME_DOUBLE(2.7, DoubleAt(bytes, kCircleAt + 40));
    EXPECT_EQ(0x7FF800000000ABCDull, Bits(DoubleAt(bytes, kCircleAt + 48)));
    EXPECT_SAME_DOUBLE(1e-320, DoubleAt(bytes, kCircleAt + 56));
    EXPECT_SAME_DOUBLE(-1.0, DoubleAt(bytes, kCircleAt + 64));

    // Triangle: the three vertices.
    EXPECT_SAME_DOUBLE(0.1, DoubleAt(bytes, kTriangleAt));
    EXPECT_SAME_DOUBLE(1.7, DoubleAt(bytes, kTriangleAt + 24));
    EXPECT_SAME_DOUBLE(3.3, DoubleAt(bytes, kTriangleAt + 48));
    EXPECT_SAME_DOUBLE(-1.25, DoubleAt(bytes, kTriangleAt + 64));
}

TEST(Records, ReadBackInOrderRestoresEveryField) {
    Sources src;
    FILE* f = std::tmpfile();
    ASSERT_NE(nullptr, f);
    src.SaveAll(f, nullptr);
    std::rewind(f);

    Targets dst;
    std::vector<long> positions;
    dst.LoadAll(f, &positions);
    const std::vector<long> expected = {60, 60, 108, 228, 300, 372};
    EXPECT_EQ(expected, positions);
    EXPECT_EQ(EOF, std::fgetc(f));
    std::fclose(f);

    // Curve: every field of the record.
    ExpectSameXyz(src.curve.GetStartPoint(), dst.curve.GetStartPoint());
    ExpectSameXyz(src.curve.GetEndPoint(), dst.curve.GetEndPoint());
    EXPECT_EQ(0, static_cast<int>(dst.curve.GetSymmetry()));
    EXPECT_EQ(2, static_cast<int>(dst.curve.GetExtent()));
    EXPECT_EQ(-7, dst.curve.IsPeriodic());
    EXPECT_EQ(1, dst.curve == src.curve);

    // ImplicitCurve: nothing was read, the fresh object keeps its defaults.
    ExpectXyz(dst.implicit.GetStartPoint(), 0.0, 0.0, 0.0);
    EXPECT_EQ(0, dst.implicit.IsPeriodic());

    // Line: both end points; the extent is not part of the record.
    ExpectSameXyz(src.line.GetStartPoint(), dst.line.GetStartPoint());
    ExpectSameXyz(src.line.GetEndPoint(), dst.line.GetEndPoint());
    EXPECT_EQ(2, static_cast<int>(src.line.GetExtent()));
    EXPECT_EQ(0, static_cast<int>(dst.line.GetExtent()));

    ExpectArcFields(src.arc, dst.arc);
    ExpectCircleFields(src.circle, dst.circle);
    EXPECT_EQ(0x7FF800000000ABCDull, Bits(dst.circle.GetNormal().x));
    ExpectTriangleVertices(src.triangle, dst.triangle);

    // The class names are not part of any record and stay the targets' own.
    EXPECT_STREQ("GCurve", dst.curve.className());
    EXPECT_STREQ("GImplictCurve", dst.implicit.className());
    EXPECT_STREQ("GLine", dst.line.className());
    EXPECT_STREQ("GArc", dst.arc.className());
    EXPECT_STREQ("GCircle", dst.circle.className());
    EXPECT_STREQ("GTriangle", dst.triangle.className());
}

TEST(Records, SavingTheReadObjectsAgainGivesTheSameBytes) {
    const std::vector<unsigned char> first = SavedSequence();
    Targets dst;
    dst.LoadFirst(first, first.size());

    FILE* g = std::tmpfile();
    ASSERT_NE(nullptr, g);
    for (Geometry* p : dst.All()) p->Save(g);
    const std::vector<unsigned char> second = StreamBytes(g);
    std::fclose(g);
    EXPECT_EQ(first, second);
}

TEST(Records, StreamCutAtARecordBoundary) {
    Sources src;
    Targets dst;
    const Targets fresh;
    const std::vector<long> expected = {60, 60, 108, 228, 228, 228};
    EXPECT_EQ(expected, dst.LoadFirst(SavedSequence(), kCircleAt));  // Curve, Line and GArc only

    EXPECT_EQ(1, dst.curve == src.curve);
    ExpectSameXyz(src.line.GetEndPoint(), dst.line.GetEndPoint());
    ExpectArcFields(src.arc, dst.arc);
    // Not reached: as they were.
    ExpectCircleFields(fresh.circle, dst.circle);
    ExpectXyz(dst.circle.GetSize(), 1.0, 1.0, 1.0);
    ExpectTriangleVertices(fresh.triangle, dst.triangle);
}

TEST(Records, StreamCutInsideACircleRecord) {
    Sources src;
    Targets dst;
    dst.triangle.Set(Point3d(11, 12, 13), Point3d(21, 22, 23), Point3d(31, 32, 33));
    // The circle's center and the low six bytes of its size.x.
    dst.LoadFirst(SavedSequence(), kCircleAt + 30);

    ExpectArcFields(src.arc, dst.arc);
    ExpectSameXyz(src.circle.GetCenter(), dst.circle.GetCenter());
    const double x = Mixed(1.0, 2.7, 6);
    ASSERT_NE(Bits(1.0), Bits(x));
    ASSERT_NE(Bits(2.7), Bits(x));
    ExpectXyz(dst.circle.GetSize(), x, 1.0, 1.0);
    ExpectXyz(dst.circle.GetNormal(), 0.0, 0.0, 1.0);
    ExpectXyz(dst.triangle.GetPointN(0), 11.0, 12.0, 13.0);
    ExpectXyz(dst.triangle.GetPointN(2), 31.0, 32.0, 33.0);
}

TEST(Records, StreamCutInsideALineRecord) {
    Sources src;
    Targets dst;
    dst.line.SetStart(7.0, 7.0, 7.0);
    dst.line.SetEnd(8.0, 8.0, 8.0);
    // The line's start and the low six bytes of its end's x. A Line reads
    // into zeroed temporaries and then sets both ends, so what was not read
    // is 0.0, not the old coordinate.
    const std::vector<long> expected = {60, 60, 90, 90, 90, 90};
    EXPECT_EQ(expected, dst.LoadFirst(SavedSequence(), kLineAt + 30));

    EXPECT_EQ(1, dst.curve == src.curve);
    ExpectSameXyz(src.line.GetStartPoint(), dst.line.GetStartPoint());
    const double x = Mixed(0.0, -4.4, 6);
    ASSERT_NE(Bits(-4.4), Bits(x));
    ExpectXyz(dst.line.GetEndPoint(), x, 0.0, 0.0);

    const Targets fresh;
    ExpectArcFields(fresh.arc, dst.arc);
    ExpectCircleFields(fresh.circle, dst.circle);
    ExpectTriangleVertices(fresh.triangle, dst.triangle);
}
