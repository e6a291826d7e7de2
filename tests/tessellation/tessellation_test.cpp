// The tessellation interface: the four shared buffers, the triangulation of
// small shapes whose result follows from geometry, the capacities, agreement
// with the `triangle` program (Debian package triangle-bin) run on the same
// input, and calls made from two threads at once.
#include "selvora/tessellation/tessellation.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <stdlib.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "common/planar_graph.h"
#include "common/whole_file.h"
#include "support/graph_children.h"
#include "support/platform.h"
#include "support/scratch_dir.h"
#include "tessellation/tessellation_buffers.h"
#include "tessellation/triangle_program.h"

namespace {

constexpr double kPi = 3.141592653589793;

// The graph, its hand-over through the buffers and its triangles there.
using selvora_common::PlanarGraph;
using selvora_common::PolyText;
using selvora_common::ReadWholeFile;
using selvora_common::TessellateInBuffers;
using selvora_common::TriangleCorners;
using selvora_common::TrianglesInBuffer;
using selvora_common::WriteToBuffers;
// The triangle program and the graphs the agreement tests share with the
// checked triangulation's.
using selvora_test::Canonical;
using selvora_test::PolyFile;
using selvora_test::RandomCrossingGraph;
using selvora_test::RandomNonCrossingGraph;
using selvora_test::ReadPoly;
using selvora_test::Reference;
using selvora_test::RunTriangleProgram;
using selvora_test::SquareWithInteriorPoints;
// The buffers themselves.
using selvora_test::Buffers;
using selvora_test::GetBuffers;

// Byte sizes of the buffers: what their capacities take.
constexpr size_t kPointsBytes = 0x100000;
constexpr size_t kSegmentsBytes = 0x80000;
constexpr size_t kTrianglesBytes = 0xC0000;
constexpr size_t kHolesBytes = 0xBB80;

// Twice the signed area of a triangle: positive when counter-clockwise.
double Area2(const PlanarGraph& g, const TriangleCorners& t) {
    const double ax = g.X(t[0]), ay = g.Y(t[0]);
    return (g.X(t[1]) - ax) * (g.Y(t[2]) - ay) - (g.X(t[2]) - ax) * (g.Y(t[1]) - ay);
}

void Centroid(const PlanarGraph& g, const TriangleCorners& t, double* x, double* y) {
    *x = (g.X(t[0]) + g.X(t[1]) + g.X(t[2])) / 3;
    *y = (g.Y(t[0]) + g.Y(t[1]) + g.Y(t[2])) / 3;
}

bool StrictlyInside(double x, double y, double x0, double y0, double x1, double y1) {
    return x > x0 && x < x1 && y > y0 && y < y1;
}

// The triangle of the three corners in this order, one segment per side.
PlanarGraph Triangle(double x0, double y0, double x1, double y1, double x2, double y2) {
    PlanarGraph g;
    g.AddPoint(x0, y0);
    g.AddPoint(x1, y1);
    g.AddPoint(x2, y2);
    g.AddLoop(0, 3);
    return g;
}

// Triangulates g, which must give one triangle, counter-clockwise, with the
// corners `expected` (starting from the smallest index).
void ExpectOneTriangle(const PlanarGraph& g, const TriangleCorners& expected) {
    ASSERT_EQ(TessellateInBuffers(g), 1);
    const TriangleCorners t = TrianglesInBuffer(1)[0];
    EXPECT_GT(Area2(g, t), 0);
    EXPECT_EQ(Canonical({t}), std::vector<TriangleCorners>{expected});
}

// Fills the whole triangles buffer with a pattern that no call writes.
constexpr int kUntouched = -123456789;
void MarkTriangles() {
    int* t = GetBuffers().triangles;
    std::fill(t, t + kTrianglesBytes / sizeof(int), kUntouched);
}
bool TrianglesUntouched() {
    const int* t = GetBuffers().triangles;
    return std::all_of(t, t + kTrianglesBytes / sizeof(int), [](int v) { return v == kUntouched; });
}

// --- Inputs -----------------------------------------------------------------

// The four square holes of the graph with holes: [c - 60, c + 60]^2 around
// these centres.
constexpr double kHoleCentres[4][2] = {{300, 300}, {700, 300}, {300, 700}, {700, 700}};
constexpr double kHoleHalfSide = 60;
constexpr int kBoundaryVertices = 64;

// A star-shaped boundary polygon around (500, 500), four square holes with a
// seed at each centre, and random points all over the square [0, 1000]^2
// (some fall outside the boundary or inside a hole).
PlanarGraph RandomGraphWithHoles(unsigned seed) {
    PlanarGraph g;
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> radius(420, 490);
    for (int k = 0; k < kBoundaryVertices; ++k) {
        const double angle = 2 * kPi * k / kBoundaryVertices;
        const double r = radius(rng);
        g.AddPoint(500 + r * std::cos(angle), 500 + r * std::sin(angle));
    }
    g.AddLoop(0, kBoundaryVertices);
    for (const auto& c : kHoleCentres) {
        g.AddRectangle(c[0] - kHoleHalfSide, c[1] - kHoleHalfSide, c[0] + kHoleHalfSide,
                       c[1] + kHoleHalfSide);
        g.AddHole(c[0], c[1]);
    }
    std::uniform_real_distribution<double> coordinate(0, 1000);
    for (int k = 0; k < 3000; ++k) {
        const double x = coordinate(rng);
        g.AddPoint(x, coordinate(rng));
    }
    return g;
}

// Whether (x, y) is inside the polygon of the first `count` vertices (even-odd rule).
bool InsidePolygon(const PlanarGraph& g, int count, double x, double y) {
    bool inside = false;
    for (int i = 0, j = count - 1; i < count; j = i++) {
        if ((g.Y(i) > y) != (g.Y(j) > y) &&
            x < (g.X(j) - g.X(i)) * (y - g.Y(i)) / (g.Y(j) - g.Y(i)) + g.X(i)) {
            inside = !inside;
        }
    }
    return inside;
}

// Triangulates g with the library and requires the same triangles as the
// triangle program gives; *result receives the library's triangles.
void ExpectAgreement(const PlanarGraph& g, std::vector<TriangleCorners>* result) {
    std::vector<TriangleCorners> expected;
    ASSERT_NO_FATAL_FAILURE(Reference(g, &expected));
    const int count = TessellateInBuffers(g);
    ASSERT_EQ(count, static_cast<int>(expected.size()));
    *result = TrianglesInBuffer(count);
    EXPECT_EQ(Canonical(*result), Canonical(expected));
}

// --- Small shapes ------------------------------------------------------------

TEST(TessellationShapes, TriangleGivesItselfCounterClockwise) {
    // (0, 1, 2) is counter-clockwise for these points.
    ExpectOneTriangle(Triangle(0, 0, 4, 0, 1, 3), {0, 1, 2});
}

TEST(TessellationShapes, ClockwiseInputComesOutCounterClockwise) {
    ExpectOneTriangle(Triangle(0, 0, 1, 3, 4, 0), {0, 2, 1});
}

TEST(TessellationShapes, UnitSquareGivesTwoTriangles) {
    PlanarGraph g;
    g.AddRectangle(0, 0, 1, 1);
    ASSERT_EQ(TessellateInBuffers(g), 2);
    double area2 = 0;
    for (const TriangleCorners& t : TrianglesInBuffer(2)) {
        EXPECT_GT(Area2(g, t), 0);
        for (int v : t) EXPECT_TRUE(v >= 0 && v < 4) << v;
        area2 += Area2(g, t);
    }
    EXPECT_EQ(area2, 2.0);  // twice the area of the unit square
}

// An outer square [0, 10]^2 and an inner square [4, 6]^2, both as loops.
PlanarGraph TwoSquares() {
    PlanarGraph g;
    g.AddRectangle(0, 0, 10, 10);
    g.AddRectangle(4, 4, 6, 6);
    return g;
}

TEST(TessellationShapes, HoleLeavesTheRingOfEightTriangles) {
    PlanarGraph g = TwoSquares();
    g.AddHole(5, 5);
    // 8 vertices, all on the boundary of a domain with one hole: 8 + 2 - 2.
    ASSERT_EQ(TessellateInBuffers(g), 8);
    double area2 = 0;
    for (const TriangleCorners& t : TrianglesInBuffer(8)) {
        EXPECT_GT(Area2(g, t), 0);
        double x, y;
        Centroid(g, t, &x, &y);
        EXPECT_TRUE(StrictlyInside(x, y, 0, 0, 10, 10)) << x << ", " << y;
        EXPECT_FALSE(StrictlyInside(x, y, 4, 4, 6, 6)) << x << ", " << y;
        area2 += Area2(g, t);
    }
    EXPECT_EQ(area2, 2.0 * (100 - 4));
    std::vector<TriangleCorners> result;
    ExpectAgreement(g, &result);
}

TEST(TessellationShapes, NoHolesMeansNoHoleListWhateverTheBufferHolds) {
    const PlanarGraph g = TwoSquares();
    std::vector<TriangleCorners> expected;
    ASSERT_NO_FATAL_FAILURE(Reference(g, &expected));
    // 8 vertices, 4 of them on the hull: 2 * 8 - 4 - 2.
    ASSERT_EQ(expected.size(), 10u);

    WriteToBuffers(g);
    double* holes = GetBuffers().holes;
    for (size_t k = 0; k < kHolesBytes / sizeof(double); k += 2) {
        holes[k] = 5;  // a seed inside the inner square, everywhere
        holes[k + 1] = 5;
    }
    ASSERT_EQ(OV_doTessellation(g.Points(), g.Segments(), 0), 10);
    EXPECT_EQ(Canonical(TrianglesInBuffer(10)), Canonical(expected));
    // The same seed counted as one hole does carve the inner square.
    EXPECT_EQ(OV_doTessellation(g.Points(), g.Segments(), 1), 8);
}

TEST(TessellationShapes, InputBuffersAreLeftForTheNextCall) {
    const PlanarGraph g = SquareWithInteriorPoints(500, 7);
    const int expected = 2 * g.Points() - 4 - 2;
    ASSERT_EQ(TessellateInBuffers(g), expected);
    const std::vector<TriangleCorners> first = Canonical(TrianglesInBuffer(expected));
    MarkTriangles();
    // No rewrite of the input: the buffers still hold it.
    ASSERT_EQ(OV_doTessellation(g.Points(), g.Segments(), 0), expected);
    EXPECT_EQ(Canonical(TrianglesInBuffer(expected)), first);
    const Buffers b = GetBuffers();
    EXPECT_TRUE(std::equal(g.xy.begin(), g.xy.end(), b.points));
    EXPECT_TRUE(std::equal(g.segments.begin(), g.segments.end(), b.segments));
}

// --- Input the triangulator cannot take ----------------------------------------

// A triangle whose vertex `bad` gets coordinate value v in x or y.
PlanarGraph TriangleWith(int bad, bool inY, double v) {
    PlanarGraph g = Triangle(0, 0, 4, 0, 1, 3);
    g.xy[2 * static_cast<size_t>(bad) + (inY ? 1 : 0)] = v;
    return g;
}

TEST(TessellationRefusals, NonFiniteCoordinatesGiveZero) {
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (double v : {nan, inf, -inf}) {
        for (int bad = 0; bad < 3; ++bad) {
            for (bool inY : {false, true}) {
                SCOPED_TRACE(testing::Message() << v << " at " << bad << (inY ? " y" : " x"));
                MarkTriangles();
                EXPECT_EQ(TessellateInBuffers(TriangleWith(bad, inY, v)), 0);
                EXPECT_TRUE(TrianglesUntouched());
            }
        }
    }
}

TEST(TessellationRefusals, CoordinatesBeyondTheLimitGiveZero) {
    EXPECT_EQ(OV_TESSELLATION_MAX_COORDINATE, 1e75);
    const double above = std::nextafter(1e75, 2e75);
    for (double v : {above, -above, 1e300, -std::numeric_limits<double>::max()}) {
        SCOPED_TRACE(v);
        EXPECT_EQ(TessellateInBuffers(TriangleWith(2, false, v)), 0);
        EXPECT_EQ(TessellateInBuffers(TriangleWith(1, true, v)), 0);
    }
}

TEST(TessellationRefusals, CoordinatesAtTheLimitAreTriangulated) {
    PlanarGraph g;
    g.AddPoint(-1e75, -1e75);
    g.AddPoint(1e75, -1e75);
    g.AddPoint(1e75, 1e75);
    g.AddPoint(-1e75, 1e75);
    g.AddLoop(0, 4);
    ASSERT_EQ(TessellateInBuffers(g), 2);
    for (const TriangleCorners& t : TrianglesInBuffer(2)) EXPECT_GT(Area2(g, t), 0);
}

// Random points and crossing segments spread over the whole allowed range,
// inside the square of the limit: the triangulator must come back with a
// valid result every time (beyond the limit such graphs crash it).
TEST(TessellationRefusals, RandomGraphsAtTheLimitAreTriangulated) {
    for (unsigned seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937_64 rng(seed);
        std::uniform_real_distribution<double> unit(-1, 1);
        PlanarGraph g;
        g.AddRectangle(-1e75, -1e75, 1e75, 1e75);
        for (int i = 0; i < 40; ++i) g.AddPoint(unit(rng) * 1e75, unit(rng) * 1e75);
        for (int i = 0; i < 10; ++i) g.AddSegment(4 + int(rng() % 40), 4 + int(rng() % 40));
        const int count = TessellateInBuffers(g);
        ASSERT_GE(count, 2 * g.Points() - 6);  // crossings only add triangles
        for (const TriangleCorners& t : TrianglesInBuffer(count)) {
            for (int v : t) ASSERT_GE(v, 0);
        }
    }
}

TEST(TessellationRefusals, AllPointsAtOnePlaceGiveZero) {
    for (int n : {3, 4, 100}) {
        for (double x : {0.0, -0.0, 5.0, -1e-300}) {
            SCOPED_TRACE(testing::Message() << n << " points at " << x);
            PlanarGraph g;
            for (int i = 0; i < n; ++i) g.AddPoint(i % 2 ? x : -x, x);  // -0 == 0
            g.AddLoop(0, 3);
            MarkTriangles();
            EXPECT_EQ(TessellateInBuffers(g), 0);
            EXPECT_TRUE(TrianglesUntouched());
        }
    }
}

// --- Points at the same place ------------------------------------------------

TEST(TessellationTwins, RepeatedPointsBesideOthersAreTaken) {
    // Five copies of the origin and two more corners, the loop closed through
    // two different copies: one triangle, named by the first copy.
    PlanarGraph g;
    for (int i = 0; i < 5; ++i) g.AddPoint(0, 0);
    g.AddPoint(1, 0);
    g.AddPoint(0, 1);
    g.AddSegment(0, 5);
    g.AddSegment(5, 6);
    g.AddSegment(6, 4);
    ExpectOneTriangle(g, {0, 5, 6});
}

TEST(TessellationTwins, TwoPlacesAmongThreePointsGiveZeroEveryTime) {
    // Segments ending at both copies of a place: before merging, this crashed
    // the triangulator once a previous call had left memory behind.
    const PlanarGraph h = Triangle(0, 0, 0, 0, 0, 1);
    for (int round = 0; round < 50; ++round) {
        ASSERT_EQ(TessellateInBuffers(SquareWithInteriorPoints(20, round)), 2 * 24 - 6);
        ASSERT_EQ(TessellateInBuffers(h), 0);
    }
}

TEST(TessellationTwins, ClosedOutlineRepeatingItsFirstPoint) {
    // A square written as a closed polyline: the last point repeats the first.
    PlanarGraph g;
    g.AddPoint(0, 0);
    g.AddPoint(10, 0);
    g.AddPoint(10, 10);
    g.AddPoint(0, 10);
    g.AddPoint(0, 0);
    for (int i = 0; i < 4; ++i) g.AddSegment(i, i + 1);
    // A square hole the same way, at -0 in one coordinate of its repeat.
    const int hole = g.AddPoint(3, 3);
    g.AddPoint(7, 3);
    g.AddPoint(7, 7);
    g.AddPoint(3, 7);
    g.AddPoint(3, 3);
    for (int i = 0; i < 4; ++i) g.AddSegment(hole + i, hole + i + 1);
    g.AddHole(5, 5);

    PlanarGraph plain;  // the same rings without the repeats
    plain.AddRectangle(0, 0, 10, 10);
    plain.AddRectangle(3, 3, 7, 7);
    plain.AddHole(5, 5);
    const int expected = TessellateInBuffers(plain);
    ASSERT_EQ(expected, 8);
    std::vector<TriangleCorners> renumbered = TrianglesInBuffer(expected);
    for (TriangleCorners& t : renumbered) {
        for (int& v : t) v = v < 4 ? v : v + 1;  // plain's inner corners sit one later in g
    }

    ASSERT_EQ(TessellateInBuffers(g), expected);
    EXPECT_EQ(Canonical(TrianglesInBuffer(expected)), Canonical(renumbered));
}

TEST(TessellationTwins, MinusZeroIsTheSamePlace) {
    PlanarGraph g;
    g.AddPoint(0, 0);
    g.AddPoint(-0.0, 0);
    g.AddPoint(1, 0);
    g.AddPoint(0, -0.0 + 1);
    g.AddSegment(1, 2);
    g.AddSegment(2, 3);
    g.AddSegment(3, 0);
    ExpectOneTriangle(g, {0, 2, 3});
}

TEST(TessellationTwins, AddedPointsFollowTheInputPoints) {
    // A square with its first corner repeated and both diagonals: they cross
    // at the centre, which the triangulator adds and numbers after all five
    // input points.
    PlanarGraph g;
    g.AddRectangle(0, 0, 2, 2);
    g.AddPoint(0, 0);
    g.AddSegment(4, 2);  // a diagonal from the repeated corner
    g.AddSegment(1, 3);
    ASSERT_EQ(TessellateInBuffers(g), 4);
    std::set<int> corners;
    for (const TriangleCorners& t : TrianglesInBuffer(4)) corners.insert(t.begin(), t.end());
    EXPECT_EQ(corners, (std::set<int>{0, 1, 2, 3, 5}));
}

TEST(TessellationTwins, SegmentEndsNamingNoPointAreStillSkipped) {
    PlanarGraph g;
    g.AddRectangle(0, 0, 1, 1);
    g.AddPoint(1, 1);  // a twin of corner 2, so the input is merged
    g.AddSegment(4, 0);
    g.AddSegment(0, 99);
    g.AddSegment(-1, 2);
    ASSERT_EQ(TessellateInBuffers(g), 2);
    for (const TriangleCorners& t : TrianglesInBuffer(2)) {
        for (int v : t) EXPECT_TRUE(v >= 0 && v < 4) << v;
    }
}

// --- Graphs the triangulator mishandles ----------------------------------------

TEST(TessellationRefusals, CoordinateRangeAsTheHeaderStatesIt) {
    const double inf = std::numeric_limits<double>::infinity();
    for (double v : {0.0, -0.0, 1e-60, -1e-60, 1.0, 1e75, -1e75}) {
        EXPECT_TRUE(OV_isTessellationCoordinate(v)) << v;
    }
    for (double v : {std::nextafter(1e-60, 0.0), 5e-324, std::nextafter(1e75, inf), inf, -inf,
                     std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_FALSE(OV_isTessellationCoordinate(v)) << v;
    }
}

TEST(TessellationRefusals, CoordinatesNearerToZeroThanTheLimitGiveZero) {
    EXPECT_EQ(OV_TESSELLATION_MIN_COORDINATE, 1e-60);
    const double below = std::nextafter(1e-60, 0.0);
    for (double v : {below, -below, 1e-300, 5e-324}) {
        SCOPED_TRACE(v);
        EXPECT_EQ(TessellateInBuffers(TriangleWith(2, false, v)), 0);
    }
    // Zero and the limit itself are taken.
    EXPECT_EQ(TessellateInBuffers(Triangle(0, 0, 1e-60, -0.0, 0, 1e-60)), 1);
}

TEST(TessellationMishandled, RepeatedSegmentIsTakenOnce) {
    // Crossing segments with one given twice: the triangulator alone loops
    // forever on this graph.
    const std::vector<double> xy = {0, 2, 2, 0, 2, 3, 3, 3, 0, 3, 2, 1};
    const PlanarGraph twice{xy, {3, 0, 2, 1, 1, 4, 1, 4}, {}};
    const PlanarGraph once{xy, {3, 0, 2, 1, 1, 4}, {}};
    const int expected = TessellateInBuffers(once);
    ASSERT_GT(expected, 0);
    const std::vector<TriangleCorners> triangles = Canonical(TrianglesInBuffer(expected));
    ASSERT_EQ(TessellateInBuffers(twice), expected);
    EXPECT_EQ(Canonical(TrianglesInBuffer(expected)), triangles);
    // Reversed, and a segment from a point to itself, change nothing either.
    ASSERT_EQ(TessellateInBuffers(PlanarGraph{xy, {3, 0, 2, 1, 1, 4, 4, 1, 5, 5}, {}}), expected);
    EXPECT_EQ(Canonical(TrianglesInBuffer(expected)), triangles);
}

TEST(TessellationMishandled, HoleSeedOutsideTheHullIsDropped) {
    // Three points, one segment and a seed just outside the hull edge from
    // point 0 to point 2: the triangulator alone crashes while locating it.
    const std::vector<double> xy = {0.5801450915347408,  -0.46754211316073424, -0.3971185579086963,
                                    -0.9642334020563316, -0.4473769072282633,  -0.5448036483671042};
    const int expected = TessellateInBuffers(PlanarGraph{xy, {0, 1}, {}});
    for (double x : {0.2900725457673704, 0.4, 0.5}) {
        SCOPED_TRACE(x);
        const double y = x == 0.4 ? -0.48 : x == 0.5 ? -0.47 : -0.4821167010281658;
        EXPECT_EQ(TessellateInBuffers(PlanarGraph{xy, {0, 1}, {x, y}}), expected);
        // Beside seeds that stay, in either order.
        EXPECT_EQ(TessellateInBuffers(PlanarGraph{xy, {0, 1}, {x, y, 5, 5}}), expected);
        EXPECT_EQ(TessellateInBuffers(PlanarGraph{xy, {0, 1}, {5, 5, x, y, 6, 6}}), expected);
    }
}

TEST(TessellationMishandled, SeedsInsideTheHullStillCarve) {
    // The ring of eight triangles, with seeds outside the hull mixed in.
    PlanarGraph g;
    g.AddRectangle(0, 0, 10, 10);
    g.AddRectangle(3, 3, 7, 7);
    g.AddHole(-5, 5);
    g.AddHole(5, 5);
    g.AddHole(20, 20);
    EXPECT_EQ(TessellateInBuffers(g), 8);
}

TEST(TessellationMishandledDeathTest, EndlessWalkIsAnInternalError) {
    // Segments crossing one another at a point that a third passes through:
    // the triangulator alone turns around that point forever.
    const PlanarGraph g{
        {2, 2, 1, 1, 3, 0, 0, 1, 1, 2, 3, 1, 0, 2, 2, 0}, {7, 1, 3, 0, 7, 4, 5, 3, 3, 2, 6, 7}, {}};
    EXPECT_EXIT(TessellateInBuffers(g), ::testing::ExitedWithCode(1),
                "^内部错误 001\n网格重组错误\n$");
}

// Random graphs of every kind the guards cover: points on a small grid (many
// repeats, overlapping and crossing segments), spread over any allowed scale,
// or mixing the largest and smallest allowed magnitudes; random segments,
// some naming no point; hole seeds anywhere. Each call must end normally or
// as an internal error of the triangulator (exit status 1), never by a signal
// or by running on.
TEST(TessellationMishandledDeathTest, RandomGraphsNeverCrashOrHang) {
    std::vector<PlanarGraph> graphs;
    for (unsigned seed = 0; seed < 300; ++seed) {
        std::mt19937_64 rng(seed);
        std::uniform_real_distribution<double> unit(-1, 1);
        const int n = 3 + int(rng() % 60), ns = int(rng() % 40), nh = int(rng() % 4);
        const int kind = int(rng() % 3);
        const double scale = std::pow(10.0, double(int(rng() % 121)) - 60);
        PlanarGraph g;
        for (int i = 0; i < n; ++i) {
            if (kind == 0) {
                g.AddPoint(double(rng() % 4), double(rng() % 4));
            } else if (kind == 1) {
                g.AddPoint(unit(rng) * scale, unit(rng) * scale);
            } else {
                const double big = (rng() % 2 ? 1e75 : -1e75) * double(rng() % 3) / 2;
                g.AddPoint(big, (rng() % 2 ? 1e-60 : 1e75) * (1 + std::fabs(unit(rng))));
            }
        }
        for (int i = 0; i < ns; ++i) g.AddSegment(int(rng() % (n + 2)) - 1, int(rng() % n));
        for (int i = 0; i < nh; ++i) g.AddHole(g.X(int(rng() % n)) / 2, g.Y(int(rng() % n)) / 2);
        graphs.push_back(g);
    }
    const auto endings = selvora_test::TessellatedInChildren(graphs, 30);
    for (unsigned seed = 0; seed < 300; ++seed) {
        const selvora_test::Ending& e = endings[seed];
        ASSERT_FALSE(e.ranOn) << "seed " << seed << " ran on";
        ASSERT_EQ("", e.crash) << "seed " << seed;
        ASSERT_TRUE((e.returned && e.result >= 0) || e.exitStatus == 1)
            << "seed " << seed << ": exit status " << e.exitStatus << ", result " << e.result;
    }
}

// --- Buffers and capacities --------------------------------------------------

// The usable size of a block from malloc (the library's and the test's C
// runtime share one heap).
std::size_t AllocatedBytes(void* block) {
#ifdef _WIN32
    return _msize(block);
#else
    return malloc_usable_size(block);
#endif
}

TEST(TessellationBuffers, ExistWithTheirSizes) {
    const Buffers b = GetBuffers();
    ASSERT_NE(b.points, nullptr);
    ASSERT_NE(b.segments, nullptr);
    ASSERT_NE(b.triangles, nullptr);
    ASSERT_NE(b.holes, nullptr);
    EXPECT_GE(AllocatedBytes(b.points), kPointsBytes);
    EXPECT_GE(AllocatedBytes(b.segments), kSegmentsBytes);
    EXPECT_GE(AllocatedBytes(b.triangles), kTrianglesBytes);
    EXPECT_GE(AllocatedBytes(b.holes), kHolesBytes);
    // The capacities are what these sizes hold.
    EXPECT_EQ(static_cast<size_t>(OV_TESSELLATION_MAX_POINTS) * 2 * sizeof(double), kPointsBytes);
    EXPECT_EQ(static_cast<size_t>(OV_TESSELLATION_MAX_SEGMENTS) * 2 * sizeof(int), kSegmentsBytes);
    EXPECT_EQ(static_cast<size_t>(OV_TESSELLATION_MAX_TRIANGLES) * 3 * sizeof(int),
              kTrianglesBytes);
    EXPECT_EQ(static_cast<size_t>(OV_TESSELLATION_MAX_HOLES) * 2 * sizeof(double), kHolesBytes);
}

TEST(TessellationBuffers, KeepTheirAddresses) {
    const Buffers first = GetBuffers();
    const Buffers second = GetBuffers();
    EXPECT_EQ(second.points, first.points);
    EXPECT_EQ(second.segments, first.segments);
    EXPECT_EQ(second.triangles, first.triangles);
    EXPECT_EQ(second.holes, first.holes);

    PlanarGraph g = TwoSquares();
    g.AddHole(5, 5);
    ASSERT_EQ(TessellateInBuffers(g), 8);
    ASSERT_EQ(TessellateInBuffers(SquareWithInteriorPoints(100, 3)), 2 * 104 - 6);
    const Buffers after = GetBuffers();
    EXPECT_EQ(after.points, first.points);
    EXPECT_EQ(after.segments, first.segments);
    EXPECT_EQ(after.triangles, first.triangles);
    EXPECT_EQ(after.holes, first.holes);
}

TEST(TessellationBuffers, NullOutParametersAreSkipped) {
    const Buffers all = GetBuffers();
    double* points = nullptr;
    int* triangles = nullptr;
    OV_getTessellationBuffer(&points, nullptr, &triangles, nullptr);
    EXPECT_EQ(points, all.points);
    EXPECT_EQ(triangles, all.triangles);
}

// Makes one call with counts that must be refused, in a child process: a call
// that ended the process or ran the triangulator on them fails here instead of
// taking the other tests down. The input is a valid triangle, so a call that
// went ahead would write to the triangles buffer.
void ExpectRefused(int numPoints, int numSegments, int numHoles) {
    EXPECT_EXIT(
        {
            PlanarGraph g = Triangle(0, 0, 1, 0, 0, 1);
            g.AddHole(0.25, 0.25);
            WriteToBuffers(g);
            MarkTriangles();
            const int result = OV_doTessellation(numPoints, numSegments, numHoles);
            std::exit(result == 0 && TrianglesUntouched() ? 0 : 2);
        },
        ::testing::ExitedWithCode(0), "")
        << "OV_doTessellation(" << numPoints << ", " << numSegments << ", " << numHoles << ")";
}

TEST(TessellationCountsDeathTest, AboveTheCapacitiesAreRefused) {
    ExpectRefused(OV_TESSELLATION_MAX_POINTS + 1, 3, 0);
    ExpectRefused(3, OV_TESSELLATION_MAX_SEGMENTS + 1, 0);
    ExpectRefused(3, 3, OV_TESSELLATION_MAX_HOLES + 1);
    ExpectRefused(INT_MAX, INT_MAX, INT_MAX);
}

TEST(TessellationCountsDeathTest, NegativeCountsAreRefused) {
    ExpectRefused(3, -1, 0);
    ExpectRefused(3, 3, -1);
    ExpectRefused(3, INT_MIN, INT_MIN);
}

// A negative point count is fewer than three vertices: the message and exit 1.
TEST(TessellationCountsDeathTest, NegativePointCountIsFewerThanThree) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(OV_doTessellation(-1, 3, 0), ::testing::ExitedWithCode(1), "^错误: 顶点数小于3\n$");
    EXPECT_EXIT(OV_doTessellation(INT_MIN, 0, 0), ::testing::ExitedWithCode(1),
                "^错误: 顶点数小于3\n$");
}

// The points (i, i * i) for i = 0 .. 65,535 closed by 65,536 segments: a
// convex polygon (all on a parabola) with every vertex on the hull, so
// 65,534 triangles.
TEST(TessellationCapacity, FullPointsAndSegments) {
    constexpr int n = OV_TESSELLATION_MAX_POINTS;
    PlanarGraph g;
    for (int i = 0; i < n; ++i) g.AddPoint(i, static_cast<double>(i) * i);
    g.AddLoop(0, n);
    ASSERT_EQ(g.Segments(), OV_TESSELLATION_MAX_SEGMENTS);
    MarkTriangles();
    ASSERT_EQ(TessellateInBuffers(g), n - 2);

    // Exact integer checks: every triangle counter-clockwise, and together
    // they cover the polygon exactly.
    auto area2 = [](const TriangleCorners& t) {
        auto y = [](std::int64_t i) { return i * i; };
        const std::int64_t a = t[0], b = t[1], c = t[2];
        return (b - a) * (y(c) - y(a)) - (c - a) * (y(b) - y(a));
    };
    std::int64_t total = 0;
    for (const TriangleCorners& t : TrianglesInBuffer(n - 2)) {
        for (int v : t) ASSERT_TRUE(v >= 0 && v < n) << v;
        ASSERT_GT(area2(t), 0);
        total += area2(t);
    }
    // Twice the polygon's area by the shoelace formula: the edge from i to
    // i + 1 adds i * (i + 1)^2 - (i + 1) * i^2 = i * (i + 1), the closing edge 0.
    std::int64_t polygon = 0;
    for (std::int64_t i = 0; i + 1 < n; ++i) polygon += i * (i + 1);
    EXPECT_EQ(total, polygon);
    // The rest of the buffer is as it was.
    const int* t = GetBuffers().triangles;
    EXPECT_TRUE(std::all_of(t + 3 * (n - 2), t + kTrianglesBytes / sizeof(int),
                            [](int v) { return v == kUntouched; }));
}

// 3,000 square holes of side 2 on a 60 x 50 grid inside the rectangle
// [0, 600] x [0, 500], a seed in each.
TEST(TessellationCapacity, FullHoles) {
    PlanarGraph g;
    g.AddRectangle(0, 0, 600, 500);
    for (int i = 0; i < 60; ++i) {
        for (int j = 0; j < 50; ++j) {
            g.AddRectangle(10 * i + 4, 10 * j + 4, 10 * i + 6, 10 * j + 6);
            g.AddHole(10 * i + 5, 10 * j + 5);
        }
    }
    ASSERT_EQ(g.Holes(), OV_TESSELLATION_MAX_HOLES);
    // Every vertex is on the boundary of a domain with 3,000 holes: n + 2 * 3000 - 2.
    const int expected = g.Points() + 2 * g.Holes() - 2;
    ASSERT_EQ(TessellateInBuffers(g), expected);
    double area2 = 0;
    for (const TriangleCorners& t : TrianglesInBuffer(expected)) {
        ASSERT_GT(Area2(g, t), 0);
        area2 += Area2(g, t);
        double x, y;
        Centroid(g, t, &x, &y);
        const double i = std::floor(x / 10), j = std::floor(y / 10);
        ASSERT_FALSE(StrictlyInside(x, y, 10 * i + 4, 10 * j + 4, 10 * i + 6, 10 * j + 6))
            << "triangle inside a hole at " << x << ", " << y;
    }
    EXPECT_EQ(area2, 2.0 * (600 * 500 - 3000 * 4));  // integers: exact
    std::vector<TriangleCorners> result;
    ExpectAgreement(g, &result);
}

// 32,771 points with four on the hull: 2 * 32,771 - 4 - 2 = 65,536 triangles,
// exactly the capacity.
TEST(TessellationCapacity, FullTriangles) {
    const PlanarGraph g = SquareWithInteriorPoints(32767, 11);
    MarkTriangles();
    std::vector<TriangleCorners> result;
    ExpectAgreement(g, &result);
    EXPECT_EQ(result.size(), static_cast<size_t>(OV_TESSELLATION_MAX_TRIANGLES));
}

// One point more gives 65,538 triangles, which do not fit: nothing is written.
TEST(TessellationCapacity, OneTriangleTooManyIsRefused) {
    const PlanarGraph g = SquareWithInteriorPoints(32768, 11);
    MarkTriangles();
    EXPECT_EQ(TessellateInBuffers(g), 0);
    EXPECT_TRUE(TrianglesUntouched());
}

// 60,000 points within the point capacity, four of them on the hull:
// 2 * 60,000 - 4 - 2 = 119,994 triangles, far more than fit.
TEST(TessellationCapacity, ResultAboveTheCapacityIsRefused) {
    const PlanarGraph g = SquareWithInteriorPoints(60000 - 4, 5);
    std::vector<TriangleCorners> reference;
    ASSERT_NO_FATAL_FAILURE(Reference(g, &reference));
    ASSERT_EQ(reference.size(), 119994u);
    MarkTriangles();
    EXPECT_EQ(TessellateInBuffers(g), 0);
    EXPECT_TRUE(TrianglesUntouched());
    // The next call that fits works as usual.
    EXPECT_EQ(TessellateInBuffers(SquareWithInteriorPoints(10, 5)), 2 * 14 - 6);
}

// --- Agreement with the triangle program -------------------------------------

TEST(TessellationAgreement, TheLetterA) {
    const std::string path = "/usr/share/doc/triangle-bin/A.poly";
    PolyFile a;
    ASSERT_NO_FATAL_FAILURE(ReadPoly(path, &a)) << "the example comes with triangle-bin";
    ASSERT_EQ(a.firstNumber, 1);
    ASSERT_EQ(a.graph.Points(), 29);
    ASSERT_EQ(a.graph.Segments(), 29);
    ASSERT_EQ(a.graph.Holes(), 1);

    std::vector<TriangleCorners> result;
    ExpectAgreement(a.graph, &result);  // the zero-based copy
    // Every vertex is on the outline or on the hole's: 29 + 2 * 1 - 2.
    EXPECT_EQ(result.size(), 29u);
    for (const TriangleCorners& t : result) EXPECT_GT(Area2(a.graph, t), 0);

    // The file itself, numbered from one, gives the same triangles.
    std::vector<TriangleCorners> original;
    ASSERT_NO_FATAL_FAILURE(
        RunTriangleProgram(ReadWholeFile(path).value_or(""), "pNPBQ", 1, &original));
    EXPECT_EQ(Canonical(original), Canonical(result));
}

TEST(TessellationAgreement, RandomGraphWithoutCrossings) {
    for (unsigned seed : {21u, 22u}) {
        SCOPED_TRACE(seed);
        const PlanarGraph g = RandomNonCrossingGraph(seed);
        ASSERT_GT(g.Segments(), 500);
        std::vector<TriangleCorners> result;
        ExpectAgreement(g, &result);
        // Nothing crosses, so no vertex is added.
        for (const TriangleCorners& t : result) {
            for (int v : t) ASSERT_TRUE(v >= 0 && v < g.Points()) << v;
            ASSERT_GT(Area2(g, t), 0);
        }
        EXPECT_EQ(result.size(), static_cast<size_t>(2 * g.Points() - 6));
    }
}

TEST(TessellationAgreement, RandomGraphWithCrossings) {
    for (unsigned seed : {31u, 32u}) {
        SCOPED_TRACE(seed);
        int crossings = 0;
        const PlanarGraph g = RandomCrossingGraph(seed, 40, &crossings);
        ASSERT_GT(crossings, 50);
        std::vector<TriangleCorners> result;
        ExpectAgreement(g, &result);
        // Each crossing adds one vertex, numbered after the input ones.
        std::set<int> added;
        for (const TriangleCorners& t : result) {
            for (int v : t) {
                ASSERT_GE(v, 0);
                if (v >= g.Points()) added.insert(v);
            }
        }
        ASSERT_EQ(added.size(), static_cast<size_t>(crossings));
        EXPECT_EQ(*added.begin(), g.Points());
        EXPECT_EQ(*added.rbegin(), g.Points() + crossings - 1);
        // All vertices are still in a square with four on the hull.
        EXPECT_EQ(result.size(), static_cast<size_t>(2 * (g.Points() + crossings) - 6));
    }
}

TEST(TessellationAgreement, RandomGraphWithHoles) {
    for (unsigned seed : {41u, 42u}) {
        SCOPED_TRACE(seed);
        const PlanarGraph g = RandomGraphWithHoles(seed);
        std::vector<TriangleCorners> result;
        ExpectAgreement(g, &result);
        ASSERT_GT(result.size(), 3000u);
        for (const TriangleCorners& t : result) {
            for (int v : t) ASSERT_TRUE(v >= 0 && v < g.Points()) << v;
            ASSERT_GT(Area2(g, t), 0);
            double x, y;
            Centroid(g, t, &x, &y);
            ASSERT_TRUE(InsidePolygon(g, kBoundaryVertices, x, y)) << x << ", " << y;
            for (const auto& c : kHoleCentres) {
                ASSERT_FALSE(StrictlyInside(x, y, c[0] - kHoleHalfSide, c[1] - kHoleHalfSide,
                                            c[0] + kHoleHalfSide, c[1] + kHoleHalfSide))
                    << x << ", " << y;
            }
        }
    }
}

// --- Calls from two threads --------------------------------------------------

TEST(TessellationConcurrency, TwoThreadsEachGetTheRightCountEveryTime) {
    const PlanarGraph g = SquareWithInteriorPoints(2000, 51);
    const int expected = 2 * g.Points() - 4 - 2;
    std::vector<TriangleCorners> reference;
    ASSERT_NO_FATAL_FAILURE(Reference(g, &reference));
    ASSERT_EQ(reference.size(), static_cast<size_t>(expected));

    // Both threads use the one input in the shared buffers.
    WriteToBuffers(g);
    constexpr int kCalls = 40;
    std::vector<int> counts[2];
    auto work = [&](std::vector<int>* out) {
        for (int k = 0; k < kCalls; ++k) {
            out->push_back(OV_doTessellation(g.Points(), g.Segments(), g.Holes()));
        }
    };
    std::thread first(work, &counts[0]);
    std::thread second(work, &counts[1]);
    first.join();
    second.join();
    for (const std::vector<int>& c : counts) {
        ASSERT_EQ(c.size(), static_cast<size_t>(kCalls));
        for (int count : c) EXPECT_EQ(count, expected);
    }
    EXPECT_EQ(Canonical(TrianglesInBuffer(expected)), Canonical(reference));
}

}  // namespace
