// OV_doTessellationChecked: the codes of what it refuses, with the buffers
// left as they were; the vertices it adds where segments cross; agreement
// with the `triangle` program wherever that succeeds; valid triangulations of
// the graphs the triangulator alone fails on. And the check of a
// triangulation itself (common/triangulation_check.h), on hand-made faulty
// ones, so that a check that passes means something.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "common/graph_families.h"
#include "common/planar_graph.h"
#include "common/triangulation_check.h"
#include "selvora/tessellation/tessellation.h"
#include "support/address_space.h"
#include "support/platform.h"
#include "support/reported_graphs.h"
#include "tessellation/tessellation_buffers.h"
#include "tessellation/triangle_program.h"

namespace {

using selvora_common::CheckedTriangulation;
using selvora_common::CheckTriangulation;
using selvora_common::GridSnappedSegments;
using selvora_common::HalfGridSegments;
using selvora_common::MixedMagnitudes;
using selvora_common::PlanarGraph;
using selvora_common::PolyText;
using selvora_common::RandomCrossings;
using selvora_common::TessellateCheckedInBuffers;
using selvora_common::TriangleCorners;
using selvora_common::WriteToBuffers;
using selvora_test::Buffers;
using selvora_test::Canonical;
using selvora_test::GetBuffers;

using Triangles = std::vector<TriangleCorners>;
const std::vector<double> kNoneAdded;

// Twice the signed area of a triangle, in doubles: exact for the small
// integer coordinates the tests that use it have.
double Area2(const PlanarGraph& g, const std::vector<double>& added, const TriangleCorners& t) {
    auto x = [&](int v) { return v < g.Points() ? g.X(v) : added[2 * size_t(v - g.Points())]; };
    auto y = [&](int v) { return v < g.Points() ? g.Y(v) : added[2 * size_t(v - g.Points()) + 1]; };
    return (x(t[1]) - x(t[0])) * (y(t[2]) - y(t[0])) - (x(t[2]) - x(t[0])) * (y(t[1]) - y(t[0]));
}

// --- The check itself --------------------------------------------------------

// The square [0, 2]^2 as a loop of segments (points 0 to 3, counter-clockwise
// from the origin) and a point inside it (4).
PlanarGraph SquareWithPoint(double x, double y) {
    PlanarGraph g;
    g.AddRectangle(0, 0, 2, 2);
    g.AddPoint(x, y);
    return g;
}

// The fan of four triangles around point 4.
const Triangles kFan = {{0, 1, 4}, {1, 2, 4}, {2, 3, 4}, {3, 0, 4}};

TEST(CheckedTessellationCheck, AcceptsAValidFan) {
    EXPECT_EQ("", CheckTriangulation(SquareWithPoint(1, 0.5), kNoneAdded, kFan));
}

TEST(CheckedTessellationCheck, RejectsAClockwiseTriangle) {
    Triangles t = kFan;
    std::swap(t[1][0], t[1][1]);
    const std::string fault = CheckTriangulation(SquareWithPoint(1, 0.5), kNoneAdded, t);
    EXPECT_NE(fault.find("clockwise"), std::string::npos) << fault;
}

TEST(CheckedTessellationCheck, RejectsAMissingTriangle) {
    for (size_t missing = 0; missing < kFan.size(); ++missing) {
        Triangles t = kFan;
        t.erase(t.begin() + static_cast<long>(missing));
        EXPECT_NE("", CheckTriangulation(SquareWithPoint(1, 0.5), kNoneAdded, t)) << missing;
    }
}

TEST(CheckedTessellationCheck, RejectsAnOverlappingTriangle) {
    const PlanarGraph g = SquareWithPoint(1, 0.5);
    for (const TriangleCorners& extra :
         {TriangleCorners{0, 1, 2}, TriangleCorners{1, 2, 4}, TriangleCorners{0, 2, 3}}) {
        Triangles t = kFan;
        t.push_back(extra);
        EXPECT_NE("", CheckTriangulation(g, kNoneAdded, t)) << extra[0] << extra[1] << extra[2];
    }
}

// Triangles with a segment along every side, the hull not all segments (so
// the triangles need not cover it).
PlanarGraph Outlined(const std::vector<double>& xy, const Triangles& triangles) {
    PlanarGraph g{xy, {}, {}};
    for (const TriangleCorners& t : triangles) {
        g.AddSegment(t[0], t[1]);
        g.AddSegment(t[1], t[2]);
        g.AddSegment(t[2], t[0]);
    }
    return g;
}

TEST(CheckedTessellationCheck, RejectsTrianglesOverlappingAtACorner) {
    // Two triangles at the origin, the wedge of the second inside the first's.
    const Triangles t = {{0, 1, 2}, {0, 3, 4}};
    const std::vector<double> xy = {0, 0, 1, 0, 0, 1, 3, 1, 1, 3};
    EXPECT_EQ("", CheckTriangulation(Outlined(xy, {t[0]}), kNoneAdded, {t[0]}));
    const PlanarGraph g = Outlined(xy, t);
    const std::string fault = CheckTriangulation(g, kNoneAdded, t);
    EXPECT_NE(fault.find("overlap"), std::string::npos) << fault;
}

TEST(CheckedTessellationCheck, RejectsTrianglesCrossingWithoutSharingAnything) {
    // A six-pointed star: each triangle's corners lie outside the other.
    const Triangles t = {{0, 1, 2}, {3, 4, 5}};
    const std::vector<double> xy = {0, 0, 4, 0, 2, 3.5, 0, 2.5, 2, -1, 4, 2.5};
    EXPECT_EQ("", CheckTriangulation(Outlined(xy, {t[1]}), kNoneAdded, {t[1]}));
    const PlanarGraph g = Outlined(xy, t);
    const std::string fault = CheckTriangulation(g, kNoneAdded, t);
    EXPECT_NE(fault.find("crosses"), std::string::npos) << fault;
}

TEST(CheckedTessellationCheck, RejectsASegmentCutAcross) {
    // The diagonal from 0 to 2 is a segment; the triangles use the other one.
    PlanarGraph g;
    g.AddRectangle(0, 0, 2, 2);
    g.AddSegment(0, 2);
    const Triangles across = {{0, 1, 3}, {1, 2, 3}};
    EXPECT_EQ("", CheckTriangulation(g, kNoneAdded, {{0, 1, 2}, {0, 2, 3}}));
    EXPECT_NE("", CheckTriangulation(g, kNoneAdded, across));
    // With a hole seed outside (so the hull need not be all triangulated),
    // the cut is what is left to find.
    g.AddHole(5, 5);
    const std::string fault = CheckTriangulation(g, kNoneAdded, across);
    EXPECT_NE(fault.find("cut"), std::string::npos) << fault;
}

TEST(CheckedTessellationCheck, RejectsAnUnusedVertex) {
    // The point at (1, 0.5) lies inside the first triangle.
    const std::string fault =
        CheckTriangulation(SquareWithPoint(1, 0.5), kNoneAdded, {{0, 1, 2}, {0, 2, 3}});
    EXPECT_NE(fault.find("inside"), std::string::npos) << fault;
    // On the diagonal: on an edge of both.
    EXPECT_NE("", CheckTriangulation(SquareWithPoint(1, 1), kNoneAdded, {{0, 1, 2}, {0, 2, 3}}));
}

TEST(CheckedTessellationCheck, RejectsBadCorners) {
    const PlanarGraph g = SquareWithPoint(1, 0.5);
    Triangles t = kFan;
    t[0][2] = 5;  // no such vertex
    EXPECT_NE("", CheckTriangulation(g, kNoneAdded, t));
    t[0][2] = -1;
    EXPECT_NE("", CheckTriangulation(g, kNoneAdded, t));
    // Corner 5 exists as an added vertex, but at the place of corner 4.
    t[0] = {0, 4, 5};
    EXPECT_NE("", CheckTriangulation(g, {1, 0.5}, t));
}

TEST(CheckedTessellationCheck, RejectsATriangleOverAHoleSeed) {
    PlanarGraph g = SquareWithPoint(1, 0.5);
    EXPECT_EQ("", CheckTriangulation(g, kNoneAdded, kFan));
    g.AddHole(1, 1.5);
    const std::string fault = CheckTriangulation(g, kNoneAdded, kFan);
    EXPECT_NE(fault.find("hole seed"), std::string::npos) << fault;
}

// The shape # without a frame: two segments across, two up, crossing at the
// corners of the square [1, 2]^2, which are added vertices 8 to 11.
PlanarGraph Hash() {
    PlanarGraph g;
    for (double y : {1.0, 2.0}) g.AddSegment(g.AddPoint(0, y), g.AddPoint(3, y));
    for (double x : {1.0, 2.0}) g.AddSegment(g.AddPoint(x, 0), g.AddPoint(x, 3));
    return g;
}
const std::vector<double> kHashCrossings = {1, 1, 2, 1, 2, 2, 1, 2};
const Triangles kHashMiddle = {{8, 9, 10}, {8, 10, 11}};

TEST(CheckedTessellationCheck, AcceptsOnlyTheRegionTheSegmentsEnclose) {
    // The triangulator eats everything outside the middle square.
    const PlanarGraph g = Hash();
    EXPECT_EQ("", CheckTriangulation(g, kHashCrossings, kHashMiddle));
    EXPECT_EQ("", CheckTriangulation(g, kHashCrossings, {}));  // cannot tell it from eaten
    // A triangle outside it has edges on no segment.
    Triangles more = kHashMiddle;
    more.push_back({4, 8, 0});  // (1, 0), (1, 1), (0, 1)
    EXPECT_NE("", CheckTriangulation(g, kHashCrossings, more));
    // Framed, the whole hull is enclosed: the middle alone is too little.
    PlanarGraph framed = Hash();
    framed.AddRectangle(-1, -1, 4, 4);
    EXPECT_NE("", CheckTriangulation(framed, kHashCrossings, {{12, 13, 14}, {12, 14, 15}}));
}

TEST(CheckedTessellationCheck, RejectsAnAddedVertexAwayFromCrossings) {
    std::vector<double> added = kHashCrossings;
    added.insert(added.end(), {2.5, 0.25});  // near no segment
    const std::string fault = CheckTriangulation(Hash(), added, kHashMiddle);
    EXPECT_NE(fault.find("added vertex"), std::string::npos) << fault;
}

// --- Refusals ----------------------------------------------------------------

constexpr int kUntouched = -123456789;
constexpr size_t kWatched = 3 * 4096;  // triangle entries watched for writes

// Writes g, marks the start of the triangles buffer, calls with the given
// counts and expects `code`, *addedPoints 0 and the buffers as they were.
void ExpectCode(const PlanarGraph& g, int numPoints, int numSegments, int numHoles, int code) {
    SCOPED_TRACE(testing::Message() << "OV_doTessellationChecked(" << numPoints << ", "
                                    << numSegments << ", " << numHoles << ")");
    WriteToBuffers(g);
    const Buffers b = GetBuffers();
    std::fill(b.triangles, b.triangles + kWatched, kUntouched);
    // The points written and a few beyond them, within the buffer.
    const size_t watchedPoints =
        std::min(2 * size_t(g.Points()) + 64, 2 * size_t(OV_TESSELLATION_MAX_POINTS));
    const std::vector<double> points(b.points, b.points + watchedPoints);
    int added = 12345;
    EXPECT_EQ(code, OV_doTessellationChecked(numPoints, numSegments, numHoles, &added));
    EXPECT_EQ(0, added);
    EXPECT_TRUE(
        std::all_of(b.triangles, b.triangles + kWatched, [](int v) { return v == kUntouched; }));
    EXPECT_TRUE(std::equal(points.begin(), points.end(), b.points,
                           [](double p, double q) { return std::memcmp(&p, &q, sizeof p) == 0; }));
}

void ExpectCode(const PlanarGraph& g, int code) {
    ExpectCode(g, g.Points(), g.Segments(), g.Holes(), code);
}

// A triangle with one segment per side and a hole seed inside it.
PlanarGraph SmallTriangle() {
    PlanarGraph g;
    g.AddPoint(0, 0);
    g.AddPoint(4, 0);
    g.AddPoint(1, 3);
    g.AddLoop(0, 3);
    g.AddHole(1.5, 1);
    return g;
}

TEST(CheckedTessellationCodes, CoordinatesTheTriangulatorDoesNotTake) {
    const double inf = std::numeric_limits<double>::infinity();
    for (double v :
         {std::numeric_limits<double>::quiet_NaN(), inf, -inf, 1e80, -1e80, 1e-70, -1e-70}) {
        for (int coordinate = 0; coordinate < 6; ++coordinate) {
            SCOPED_TRACE(testing::Message() << v << " at " << coordinate);
            PlanarGraph g = SmallTriangle();
            g.xy[size_t(coordinate)] = v;
            ExpectCode(g, OV_TESSELLATION_BAD_COORDINATE);
        }
        for (int coordinate = 0; coordinate < 2; ++coordinate) {
            PlanarGraph g = SmallTriangle();
            g.holes[size_t(coordinate)] = v;  // the hole seed's
            ExpectCode(g, OV_TESSELLATION_BAD_COORDINATE);
        }
    }
}

TEST(CheckedTessellationCodes, FewerThanThreePoints) {
    const PlanarGraph g = SmallTriangle();
    for (int n : {2, 1, 0, -1, INT_MIN}) ExpectCode(g, n, 0, 0, OV_TESSELLATION_TOO_FEW_POINTS);
    PlanarGraph two;
    two.AddPoint(0, 0);
    two.AddPoint(1, 1);
    two.AddSegment(0, 1);
    ExpectCode(two, OV_TESSELLATION_TOO_FEW_POINTS);
}

TEST(CheckedTessellationCodes, BadCounts) {
    const PlanarGraph g = SmallTriangle();
    ExpectCode(g, 3, -1, 0, OV_TESSELLATION_BAD_COUNT);
    ExpectCode(g, 3, 3, -1, OV_TESSELLATION_BAD_COUNT);
    ExpectCode(g, 3, INT_MIN, INT_MIN, OV_TESSELLATION_BAD_COUNT);
    ExpectCode(g, OV_TESSELLATION_MAX_POINTS + 1, 3, 0, OV_TESSELLATION_BAD_COUNT);
    ExpectCode(g, 3, OV_TESSELLATION_MAX_SEGMENTS + 1, 0, OV_TESSELLATION_BAD_COUNT);
    ExpectCode(g, 3, 3, OV_TESSELLATION_MAX_HOLES + 1, OV_TESSELLATION_BAD_COUNT);
    ExpectCode(g, INT_MAX, INT_MAX, INT_MAX, OV_TESSELLATION_BAD_COUNT);
}

TEST(CheckedTessellationCodes, SegmentEndsNamingNoPoint) {
    for (int end : {-1, 3, INT_MIN, INT_MAX}) {
        for (int side = 0; side < 2; ++side) {
            SCOPED_TRACE(testing::Message() << end << " at " << side);
            PlanarGraph g = SmallTriangle();
            g.segments[2 + size_t(side)] = end;
            ExpectCode(g, OV_TESSELLATION_BAD_SEGMENT);
        }
    }
}

// 32,772 points with four on the hull: 65,538 triangles, two more than fit.
TEST(CheckedTessellationCodes, TrianglesBeyondTheBuffer) {
    ExpectCode(selvora_test::SquareWithInteriorPoints(32768, 11), OV_TESSELLATION_TRIANGLES_FULL);
}

// The points (i, i * i) for i = 0 .. 65,535, a convex polygon, with its
// outline but for two sides, and two chords that cross: the crossing would
// be the 65,537th point. (The polygon with one vertex inside has exactly
// 65,536 triangles, which would fit.)
TEST(CheckedTessellationCodes, AddedVerticesBeyondTheBuffer) {
    constexpr int n = OV_TESSELLATION_MAX_POINTS;
    PlanarGraph g;
    for (int i = 0; i < n; ++i) g.AddPoint(i, double(i) * i);
    for (int i = 0; i + 2 < n; ++i) g.AddSegment(i, i + 1);
    g.AddSegment(50, 30000);
    g.AddSegment(100, 60000);  // 50 < 100 < 30000 < 60000: the chords cross
    ASSERT_EQ(g.Segments(), OV_TESSELLATION_MAX_SEGMENTS);
    ExpectCode(g, OV_TESSELLATION_POINTS_FULL);
}

TEST(CheckedTessellationCodes, AddedPointsMayBeNull) {
    // Both diagonals of a square: they cross at its centre.
    PlanarGraph g;
    g.AddRectangle(0, 0, 2, 2);
    g.AddSegment(0, 2);
    g.AddSegment(1, 3);
    WriteToBuffers(g);
    EXPECT_EQ(4, OV_doTessellationChecked(g.Points(), g.Segments(), 0, nullptr));
    EXPECT_EQ(OV_TESSELLATION_TOO_FEW_POINTS, OV_doTessellationChecked(2, 0, 0, nullptr));
    EXPECT_EQ(OV_TESSELLATION_BAD_COUNT, OV_doTessellationChecked(4, -1, 0, nullptr));
}

using selvora_test::RectangleOverPointsInALine;

// With 30,000 points, on a thread with a stack of 128 KiB: the run is
// abandoned, with the buffers as they were, or (when the library finds the
// room for the try with the side split at its points) the graph triangulated
// as with room. Which of the two depends on how much stack the library
// measures as left; both occur.
// On threads whose stacks are shorter than the triangulator's entry alone
// takes (about 81 KiB), the run is abandoned before it starts (or, where the
// stack came out larger than asked, the graph triangulated).
TEST(CheckedTessellationCodes, TinyThreadStacks) {
    const PlanarGraph g = RectangleOverPointsInALine(10);
    for (std::size_t kib : {48u, 64u}) {
        struct Call {
            const PlanarGraph* graph;
            int result, added;
        } call{&g, 0, 12345};
        WriteToBuffers(g);
        selvora_test::RunOnThreadWithStack(
            kib << 10,
            [](void* c) {
                Call& call = *static_cast<Call*>(c);
                call.result = OV_doTessellationChecked(call.graph->Points(), call.graph->Segments(),
                                                       0, &call.added);
            },
            &call);
        if (selvora_test::ThreadStacksAreAsAsked()) {
            EXPECT_EQ(OV_TESSELLATION_ABANDONED, call.result) << kib;
        } else {  // the stack came out larger than asked: room to triangulate
            EXPECT_TRUE(call.result == OV_TESSELLATION_ABANDONED || call.result == 10)
                << kib << ": " << call.result;
        }
        EXPECT_EQ(0, call.added) << kib;
    }
    EXPECT_EQ(10, TessellateCheckedInBuffers(g).result);
}

TEST(CheckedTessellationCodes, StackTooShort) {
    const int n = 30000;
    const PlanarGraph g = RectangleOverPointsInALine(n);
    struct Call {
        const PlanarGraph* graph;
        int result, added;
    } call{&g, 0, 12345};
    WriteToBuffers(g);
    const Buffers b = GetBuffers();
    std::fill(b.triangles, b.triangles + kWatched, kUntouched);
    selvora_test::RunOnThreadWithStack(
        128u << 10,
        [](void* c) {
            Call& call = *static_cast<Call*>(c);
            call.result = OV_doTessellationChecked(call.graph->Points(), call.graph->Segments(), 0,
                                                   &call.added);
        },
        &call);
    std::printf("on a stack of 128 KiB: %d\n", call.result);
    ASSERT_TRUE(call.result == OV_TESSELLATION_ABANDONED || call.result == n) << call.result;
    EXPECT_EQ(0, call.added);
    if (call.result < 0) {
        EXPECT_TRUE(std::all_of(b.triangles, b.triangles + kWatched,
                                [](int v) { return v == kUntouched; }));
    }
    // With room, the same graph is triangulated: a convex polygon of n + 2
    // corners. (Checked for 3,000 points: the check of such a fan of long thin
    // triangles takes time in proportion to the square of their number.)
    EXPECT_EQ(n, TessellateCheckedInBuffers(g).result);
    const PlanarGraph smaller = RectangleOverPointsInALine(3000);
    const CheckedTriangulation r = TessellateCheckedInBuffers(smaller);
    EXPECT_EQ(3000, r.result);
    EXPECT_EQ("", CheckTriangulation(smaller, r.added, r.triangles));
}

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__)
// Memory running out is a result, not the end of the process: in a child
// whose address space is capped just above what it uses.
TEST(CheckedTessellationCodesDeathTest, MemoryRunningOut) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    PlanarGraph g;
    const int n = 60000;
    for (int i = 0; i < n; ++i) {
        const double angle = 6.283185307179586 * i / n;
        g.AddPoint(std::cos(angle), std::sin(angle));
    }
    g.AddLoop(0, n);
    EXPECT_EXIT(
        {
            WriteToBuffers(g);
            selvora_test::CapAddressSpace(2 << 20);
            int added = 1;
            const int result = OV_doTessellationChecked(g.Points(), g.Segments(), 0, &added);
            std::fprintf(stderr, "result %d, added %d\n", result, added);
            std::exit(result == OV_TESSELLATION_OUT_OF_MEMORY && added == 0 ? 0 : 2);
        },
        ::testing::ExitedWithCode(0), "");
}
#endif

// --- Added vertices ------------------------------------------------------------

TEST(CheckedTessellationAdded, CrossingDiagonalsAddTheCentre) {
    PlanarGraph g;
    g.AddRectangle(0, 0, 2, 2);
    g.AddSegment(0, 2);
    g.AddSegment(1, 3);
    const CheckedTriangulation r = TessellateCheckedInBuffers(g);
    ASSERT_EQ(4, r.result);
    ASSERT_EQ(2u, r.added.size());
    // The diagonals of an axis-parallel square meet at its centre, exactly.
    EXPECT_EQ((g.X(0) + g.X(2)) / 2, r.added[0]);
    EXPECT_EQ((g.Y(0) + g.Y(2)) / 2, r.added[1]);
    int added = -1;
    WriteToBuffers(g);
    ASSERT_EQ(4, OV_doTessellationChecked(g.Points(), g.Segments(), 0, &added));
    EXPECT_EQ(1, added);
    for (const TriangleCorners& t : r.triangles) {
        EXPECT_NE(std::find(t.begin(), t.end(), 4), t.end()) << "every triangle has the centre";
    }
    EXPECT_EQ("", CheckTriangulation(g, r.added, r.triangles));
}

// --- Agreement with the triangle program -------------------------------------

// The triangles with every corner that names an input point renamed to the
// first input point at its place: the program and the library may name
// different twins.
Triangles ByPlace(const PlanarGraph& g, Triangles triangles) {
    std::map<std::pair<double, double>, int> first;
    for (int i = g.Points() - 1; i >= 0; --i) first[{g.X(i) + 0.0, g.Y(i) + 0.0}] = i;
    for (TriangleCorners& t : triangles) {
        for (int& v : t) {
            if (v >= 0 && v < g.Points()) v = first[{g.X(v) + 0.0, g.Y(v) + 0.0}];
        }
    }
    return Canonical(triangles);
}

// The checked triangulation of g has the reference's triangles, no added
// vertex that the reference lacks, and passes the check.
void ExpectAgreement(const PlanarGraph& g, const Triangles& reference) {
    const CheckedTriangulation r = TessellateCheckedInBuffers(g);
    ASSERT_EQ(static_cast<int>(reference.size()), r.result);
    EXPECT_EQ(ByPlace(g, reference), ByPlace(g, r.triangles));
    int largest = -1;
    for (const TriangleCorners& t : reference) largest = std::max({largest, t[0], t[1], t[2]});
    EXPECT_EQ(std::max(0, largest + 1 - g.Points()), static_cast<int>(r.added.size() / 2));
    EXPECT_EQ("", CheckTriangulation(g, r.added, r.triangles));
}

TEST(CheckedTessellationAgreement, TheLetterA) {
    selvora_test::PolyFile a;
    ASSERT_NO_FATAL_FAILURE(selvora_test::ReadPoly("/usr/share/doc/triangle-bin/A.poly", &a))
        << "the example comes with triangle-bin";
    ASSERT_EQ(a.graph.Holes(), 1);
    Triangles reference;
    ASSERT_NO_FATAL_FAILURE(selvora_test::Reference(a.graph, &reference));
    ExpectAgreement(a.graph, reference);
}

TEST(CheckedTessellationAgreement, RandomGraphsWithoutCrossings) {
    for (unsigned seed : {21u, 22u}) {
        SCOPED_TRACE(seed);
        const PlanarGraph g = selvora_test::RandomNonCrossingGraph(seed);
        Triangles reference;
        ASSERT_NO_FATAL_FAILURE(selvora_test::Reference(g, &reference));
        ExpectAgreement(g, reference);
    }
}

TEST(CheckedTessellationAgreement, RandomGraphsWithCrossings) {
    for (unsigned seed : {31u, 32u}) {
        SCOPED_TRACE(seed);
        int crossings = 0;
        const PlanarGraph g = selvora_test::RandomCrossingGraph(seed, 40, &crossings);
        Triangles reference;
        ASSERT_NO_FATAL_FAILURE(selvora_test::Reference(g, &reference));
        ExpectAgreement(g, reference);
        const CheckedTriangulation r = TessellateCheckedInBuffers(g);
        EXPECT_EQ(size_t(crossings), r.added.size() / 2);
    }
}

#ifndef _WIN32  // the program is stopped after a time by coreutils' timeout
// The graph as the library triangulates it, for the program: segment ends at
// the first point of their place, each segment once, none from a place to
// itself (the program would insert a repeated segment twice, and compute its
// crossings twice). Points at one place are left in: the program keeps the
// first of them.
PlanarGraph AsTheLibraryTakesIt(const PlanarGraph& g) {
    std::map<std::pair<double, double>, int> first;
    for (int i = g.Points() - 1; i >= 0; --i) first[{g.X(i) + 0.0, g.Y(i) + 0.0}] = i;
    PlanarGraph out{g.xy, {}, g.holes};
    std::set<std::pair<int, int>> seen;
    for (int s = 0; s < g.Segments(); ++s) {
        const int a = g.segments[2 * size_t(s)], b = g.segments[2 * size_t(s) + 1];
        const int p = first[{g.X(a) + 0.0, g.Y(a) + 0.0}], q = first[{g.X(b) + 0.0, g.Y(b) + 0.0}];
        if (p != q && seen.insert({std::min(p, q), std::max(p, q)}).second) out.AddSegment(p, q);
    }
    return out;
}

// The graphs of the families below, small enough for many runs of the
// program. Where the program succeeds with a valid triangulation, the library
// runs the same triangulation and must give the same triangles when nothing
// crosses. Where it fails (an error, a crash, or no end within 2 s, where it
// has looped on such small graphs) or comes back with triangles that are no
// triangulation (it rounds crossings and may put two added vertices at one
// place), the checked result must be valid. Where the program's crossings
// cannot be confirmed, the library resolves the graph anew: then only its
// validity is required. (The program runs with the library's switches but
// for N, so that it writes the vertices it adds.)
TEST(CheckedTessellationAgreement, RandomFamilyGraphs) {
    int agreed = 0, programFailed = 0, programInvalid = 0, withCrossings = 0, departed = 0;
    for (unsigned seed = 1; seed <= 20; ++seed) {
        const PlanarGraph graphs[] = {
            GridSnappedSegments(seed, 10 + int(seed) * 2, seed % 2 == 0),
            HalfGridSegments(seed, 5 + int(seed)),
            MixedMagnitudes(seed, 8 + int(seed), 4 + int(seed) / 2),
            RandomCrossings(seed, 5 + int(seed), 1, seed % 2 == 0),
            RandomCrossings(seed, 5 + int(seed), 1000, seed % 2 == 0),
            RandomCrossings(seed, 5 + int(seed), 1e6, seed % 2 == 0),
        };
        for (size_t family = 0; family < std::size(graphs); ++family) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", family " << family);
            const PlanarGraph& g = graphs[family];
            const PlanarGraph taken = AsTheLibraryTakesIt(g);
            Triangles reference;
            std::vector<double> referenceAdded;
            std::string failure;
            const bool ran = selvora_test::TryTriangleProgram(taken, "pzPBQ", 2, &reference,
                                                              &referenceAdded, &failure);
            const std::string referenceFault =
                ran ? CheckTriangulation(taken, referenceAdded, reference) : "";
            const CheckedTriangulation r = TessellateCheckedInBuffers(g);
            if (ran && referenceFault.empty()) {
                ++agreed;
                const bool same = static_cast<int>(reference.size()) == r.result &&
                                  ByPlace(g, reference) == ByPlace(g, r.triangles) &&
                                  (r.result == 0 || referenceAdded == r.added);
                if (referenceAdded.empty()) {
                    // No crossing: the triangulator computed nothing inexact,
                    // and its answer is taken as it is.
                    EXPECT_TRUE(same);
                } else if (!same) {
                    // Its crossings are taken only where they can be confirmed
                    // (each added vertex near its two segments, with nothing
                    // between it and the exact crossing); elsewhere the graph
                    // is resolved anew, and the result must be valid.
                    ++departed;
                    ASSERT_GE(r.result, 0);
                    EXPECT_EQ("", CheckTriangulation(g, r.added, r.triangles));
                }
                withCrossings += referenceAdded.empty() ? 0 : 1;
                continue;
            }
            ++(ran ? programInvalid : programFailed);
            std::printf("seed %u, family %zu: the program %s\n", seed, family,
                        (ran ? "gave no triangulation: " + referenceFault
                             : "failed: " + failure.substr(0, 60))
                            .c_str());
            ASSERT_GE(r.result, 0);
            EXPECT_EQ("", CheckTriangulation(g, r.added, r.triangles));
        }
    }
    std::printf(
        "the program triangulated %d graphs, failed on %d, gave no triangulation for %d; of "
        "the %d triangulated with crossings, %d were resolved anew\n",
        agreed, programFailed, programInvalid, withCrossings, departed);
    // Confirming the triangulator's crossings fails on few graphs.
    EXPECT_LE(10 * departed, withCrossings);
    RecordProperty("program_triangulated", agreed);
    RecordProperty("program_failed", programFailed);
    RecordProperty("program_invalid", programInvalid);
    RecordProperty("resolved_anew", departed);
}
#endif

// --- Graphs the triangulator alone fails on -------------------------------------

// Checks the result for g; `enclosed` when the segments enclose some area
// (so that there must be triangles).
void ExpectValid(const PlanarGraph& g, bool enclosed, const std::string& name) {
    const CheckedTriangulation r = TessellateCheckedInBuffers(g);
    if (enclosed) {
        EXPECT_GT(r.result, 0) << name;
    } else {
        EXPECT_GE(r.result, 0) << name;
    }
    if (r.result >= 0) {
        EXPECT_EQ("", CheckTriangulation(g, r.added, r.triangles)) << name;
    }
}

// Seeds 1 to 50 of each family (about 4 s in a Release build, the check
// itself taking about half of it; 3 to 4 times as long unoptimised). The
// unframed ones may enclose nothing: the triangulator then eats every
// triangle, and 0 is right.
TEST(CheckedTessellationFamilies, ValidOnEveryDrawing) {
    for (unsigned seed = 1; seed <= 50; ++seed) {
        const int segments = 20 + int(seed * 7919 % 181);  // 20 .. 200
        const std::string s = " seed " + std::to_string(seed);
        ExpectValid(GridSnappedSegments(seed, segments, true), true, "grid, framed" + s);
        ExpectValid(GridSnappedSegments(seed, segments, false), false, "grid" + s);
        ExpectValid(HalfGridSegments(seed, 5 + int(seed % 40)), true, "half grid" + s);
        ExpectValid(MixedMagnitudes(seed, 10 + int(seed % 50), 5 + int(seed % 40)), false,
                    "mixed magnitudes" + s);
        for (double size : {1.0, 1000.0, 1e6}) {
            for (bool snapped : {false, true}) {
                ExpectValid(
                    RandomCrossings(seed, 10 + int(seed % 40), size, snapped), true,
                    "crossings at " + std::to_string(size) + (snapped ? " snapped" : "") + s);
            }
        }
    }
}

TEST(CheckedTessellationFamilies, PointsExactlyOnSegments) {
    // A framed square with both diagonals through points on them, and points
    // on its sides: every crossing is an input point.
    PlanarGraph g;
    g.AddRectangle(0, 0, 4, 4);
    for (int i = 1; i <= 3; ++i) g.AddPoint(i, i);      // 4 .. 6
    for (int i = 1; i <= 3; ++i) g.AddPoint(i, 4 - i);  // 7 .. 9 (2, 2 twice)
    g.AddPoint(2, 0);
    g.AddPoint(4, 2);
    g.AddSegment(0, 2);
    g.AddSegment(1, 3);
    g.AddSegment(10, 8);  // from a side to the centre
    g.AddSegment(11, 8);
    g.AddSegment(4, 10);
    const CheckedTriangulation r = TessellateCheckedInBuffers(g);
    EXPECT_GT(r.result, 0);
    EXPECT_EQ("", CheckTriangulation(g, r.added, r.triangles));
    EXPECT_TRUE(r.added.empty()) << "every crossing is an input point";
}

TEST(CheckedTessellationFamilies, CollinearOverlappingSegments) {
    PlanarGraph g;
    g.AddRectangle(0, 0, 8, 8);
    auto segment = [&](double x0, double y0, double x1, double y1) {
        g.AddSegment(g.AddPoint(x0, y0), g.AddPoint(x1, y1));
    };
    segment(1, 1, 5, 5);
    segment(3, 3, 7, 7);
    segment(2, 2, 4, 4);
    segment(0, 0, 8, 8);  // over all three, corner to corner
    segment(1, 4, 6, 4);
    segment(3, 4, 8, 4);  // to a side
    segment(6, 4, 2, 4);  // reversed, inside the others
    const CheckedTriangulation r = TessellateCheckedInBuffers(g);
    EXPECT_GT(r.result, 0);
    EXPECT_EQ("", CheckTriangulation(g, r.added, r.triangles));
}

TEST(CheckedTessellationFamilies, DuplicatePoints) {
    // Every corner of a framed square given five times, segments between
    // different copies, the diagonals among them crossing.
    PlanarGraph g;
    for (int copy = 0; copy < 5; ++copy) g.AddRectangle(0, 0, 3, 3);
    g.AddSegment(0, 6);
    g.AddSegment(5, 11);
    g.AddSegment(17, 3);  // the same side as segment 3, other copies
    for (int k = 0; k < 5; ++k) g.AddPoint(1, 1);
    g.AddSegment(20, 24);  // a segment from a place to itself
    const CheckedTriangulation r = TessellateCheckedInBuffers(g);
    EXPECT_GT(r.result, 0);
    EXPECT_EQ("", CheckTriangulation(g, r.added, r.triangles));
}

// Found by the fuzzer: the triangulator's vertex at the crossing of two
// segments 10^59 long lies near both of them, within their reach, yet folds
// the mesh over a segment 5 long far below them: an edge from that vertex
// cuts it. The checks must look at every segment, not only those near the
// vertices the triangulator added.
TEST(CheckedTessellationFamilies, SmallSegmentBelowLargeCrossings) {
    PlanarGraph g;
    g.AddPoint(1.8320312500000001e+44, 5);                         // 0
    g.AddPoint(3, 5);                                              // 1
    g.AddPoint(1, -1.99609375e+59);                                // 2
    g.AddPoint(-1.99609375e+59, -1.99609375e+59);                  // 3
    g.AddPoint(-1.12890625e+51, 3);                                // 4
    g.AddPoint(5, -1.7304687500000001e-09);                        // 5
    g.AddPoint(-1.7304687500000001e-09, -1.7304687499999999e-21);  // 6
    for (const auto& [a, b] :
         std::vector<std::pair<int, int>>{{1, 2}, {6, 5}, {6, 2}, {4, 6}, {2, 4}, {0, 4}}) {
        g.AddSegment(a, b);
    }
    const CheckedTriangulation r = TessellateCheckedInBuffers(g);
    EXPECT_GE(r.result, 0);
    if (r.result >= 0) {
        EXPECT_EQ("", CheckTriangulation(g, r.added, r.triangles));
    }
}

// Found by the fuzzer: the first run's mesh came apart, and its search for a
// segment's end stepped out of it (the process died). That run is
// abandoned, and the resolved graph triangulates.
TEST(CheckedTessellationFamilies, GraphWhoseMeshCameApart) {
    const PlanarGraph g = selvora_test::GraphWhoseMeshCameApart();
    const CheckedTriangulation r = TessellateCheckedInBuffers(g);
    EXPECT_GT(r.result, 0);
    if (r.result >= 0) {
        EXPECT_EQ("", CheckTriangulation(g, r.added, r.triangles));
    }
}

// 50 segments through one point, at angles k * pi / 50, in a frame: through
// the origin (the crossing is exact), and through (0.3, 0.7), where the
// rounded ends leave 1,225 crossings close together.
TEST(CheckedTessellationFamilies, StarOfFiftySegments) {
    for (const auto& centre : {std::array<double, 2>{0, 0}, std::array<double, 2>{0.3, 0.7}}) {
        SCOPED_TRACE(testing::Message() << centre[0] << ", " << centre[1]);
        PlanarGraph g;
        g.AddRectangle(-2, -2, 2, 2);
        for (int k = 0; k < 50; ++k) {
            const double angle = 3.141592653589793 * k / 50;
            const double c = std::cos(angle), s = std::sin(angle);
            g.AddSegment(g.AddPoint(centre[0] + c, centre[1] + s),
                         g.AddPoint(centre[0] - c, centre[1] - s));
        }
        const CheckedTriangulation r = TessellateCheckedInBuffers(g);
        EXPECT_GT(r.result, 0);
        if (r.result >= 0) {
            EXPECT_EQ("", CheckTriangulation(g, r.added, r.triangles));
        }
    }
}

// The square [0, 10]^2 with the hole [3, 7]^2, two segments crossing at
// (1, 5) in the ring and one that runs from (2, 5) into the hole: every
// vertex, the added ones too, has integer coordinates, so the doubled areas
// add up exactly to twice the ring's area.
TEST(CheckedTessellationFamilies, SquareWithASquareHole) {
    PlanarGraph g;
    g.AddRectangle(0, 0, 10, 10);
    g.AddRectangle(3, 3, 7, 7);
    g.AddHole(6, 6);
    const PlanarGraph plain = g;
    g.AddSegment(g.AddPoint(0, 4), g.AddPoint(2, 6));
    g.AddSegment(g.AddPoint(0, 6), g.AddPoint(2, 4));
    g.AddSegment(g.AddPoint(2, 5), g.AddPoint(5, 5));
    for (const PlanarGraph* graph : std::array<const PlanarGraph*, 2>{&plain, &g}) {
        const CheckedTriangulation r = TessellateCheckedInBuffers(*graph);
        ASSERT_GT(r.result, 0);
        EXPECT_EQ("", CheckTriangulation(*graph, r.added, r.triangles));
        double area2 = 0;
        for (const TriangleCorners& t : r.triangles) area2 += Area2(*graph, r.added, t);
        EXPECT_EQ(2.0 * (10 * 10 - 4 * 4), area2);
    }
}

}  // namespace
