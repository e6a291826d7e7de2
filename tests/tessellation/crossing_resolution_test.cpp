// The resolution of crossings before a second triangulation: crossings
// rounded from their exact values, and graphs that leave it free of
// crossings and of points inside segments, decided with exact predicates.
#include "tessellation/crossing_resolution.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include "selvora/tessellation/tessellation.h"
#include "tessellation/exact_crossing.h"
#include "tessellation/orientation.h"

namespace {

using selvora::CrossProperly;
using selvora::ExactCrossing;
using selvora::Resolution;
using selvora::ResolveCrossings;
using selvora::ResolvedGraph;
using selvora::Turn;

// p strictly between a and b on their segment.
bool InsideSegment(const double* a, const double* b, const double* p) {
    if (Turn(a, b, p) != 0) return false;
    if ((p[0] == a[0] && p[1] == a[1]) || (p[0] == b[0] && p[1] == b[1])) return false;
    return std::fmin(a[0], b[0]) <= p[0] && p[0] <= std::fmax(a[0], b[0]) &&
           std::fmin(a[1], b[1]) <= p[1] && p[1] <= std::fmax(a[1], b[1]);
}

// The double `steps` places above (or below, for negative steps) v.
double Step(double v, int steps) {
    for (; steps > 0; --steps) v = std::nextafter(v, HUGE_VAL);
    for (; steps < 0; ++steps) v = std::nextafter(v, -HUGE_VAL);
    return v;
}

// True when the segment from a to b passes through the box of `steps`
// doubles around p each way: not all four corners strictly on one side.
bool PassesNear(const double* a, const double* b, const double* p, int steps) {
    const double x0 = Step(p[0], -steps), x1 = Step(p[0], steps);
    const double y0 = Step(p[1], -steps), y1 = Step(p[1], steps);
    const double corners[4][2] = {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}};
    int left = 0, right = 0;
    for (const auto& c : corners) {
        const int side = Turn(a, b, c);
        left += side > 0;
        right += side < 0;
    }
    return left < 4 && right < 4;
}

TEST(ExactCrossing, TheDiagonalsOfASquareCrossAtItsCentre) {
    const double a[2] = {0, 0}, b[2] = {4, 4}, c[2] = {0, 4}, d[2] = {4, 0};
    double p[2];
    ExactCrossing(a, b, c, d, p);
    EXPECT_EQ(p[0], 2.0);
    EXPECT_EQ(p[1], 2.0);
}

TEST(ExactCrossing, ASmallCrossingOfALongSegmentKeepsItsOwnPrecision) {
    // The line from (-1e20, -1) to (1e20, 1) is y = x / 1e20 exactly (1e20
    // is a double), so at the vertical x = 0.001 the crossing's y is the
    // quotient of two doubles, which one division rounds correctly. Formed
    // as a + t (b - a), it would come out with an error near 1e-16.
    const double x = 0.001;
    const double a[2] = {-1e20, -1}, b[2] = {1e20, 1}, c[2] = {x, -1}, d[2] = {x, 1};
    double p[2];
    ExactCrossing(a, b, c, d, p);
    EXPECT_EQ(p[0], x);
    const double expected = x / 1e20;
    EXPECT_LE(std::fabs(p[1] - expected), 2 * (std::nextafter(expected, 1.0) - expected))
        << p[1] << " against " << expected;
}

// A coordinate of every magnitude the triangulation takes.
double MixedCoordinate(std::mt19937& random) {
    const std::uint32_t kind = random() % 8;
    if (kind == 0) return 0;
    if (kind == 1) return static_cast<double>(random() % 8);
    const int exponent = -60 + static_cast<int>(random() % 136);
    const double v = (1 + (random() % 256) / 256.0) * std::pow(10.0, exponent);
    const double clamped =
        std::fmin(std::fmax(v, OV_TESSELLATION_MIN_COORDINATE), OV_TESSELLATION_MAX_COORDINATE);
    return random() % 2 ? -clamped : clamped;
}

TEST(ExactCrossing, RoundedCrossingsLieOnBothSegmentsWithinTwoSteps) {
    std::mt19937 random(7);
    int crossings = 0;
    for (int trial = 0; trial < 200000 && crossings < 2000; ++trial) {
        double q[4][2];
        for (auto& point : q) {
            point[0] = MixedCoordinate(random);
            point[1] = MixedCoordinate(random);
        }
        if (!CrossProperly(q[0], q[1], q[2], q[3])) continue;
        ++crossings;
        double p[2];
        ExactCrossing(q[0], q[1], q[2], q[3], p);
        ASSERT_TRUE(std::isfinite(p[0]) && std::isfinite(p[1]));
        EXPECT_TRUE(PassesNear(q[0], q[1], p, 2)) << trial;
        EXPECT_TRUE(PassesNear(q[2], q[3], p, 2)) << trial;
    }
    EXPECT_EQ(crossings, 2000);
}

struct Graph {
    std::vector<double> xy;
    std::vector<int> segments;
    int Points() const { return static_cast<int>(xy.size() / 2); }
};

// Segments between random points of the unit square on a 0.01 grid: the
// drawings on which the triangulator fails most often.
Graph GridSegments(std::mt19937& random, int count) {
    Graph g;
    for (int k = 0; k < 2 * count; ++k) {
        g.xy.push_back(static_cast<double>(random() % 101) / 100.0);
        g.xy.push_back(static_cast<double>(random() % 101) / 100.0);
        if (k % 2) {
            g.segments.push_back(k - 1);
            g.segments.push_back(k);
        }
    }
    return g;
}

Graph MixedSegments(std::mt19937& random, int points, int count) {
    Graph g;
    for (int k = 0; k < 2 * points; ++k) g.xy.push_back(MixedCoordinate(random));
    for (int k = 0; k < 2 * count; ++k) g.segments.push_back(static_cast<int>(random() % points));
    return g;
}

// Resolves g and checks the result: no two pieces cross, no vertex lies
// inside a piece, no piece repeats, and every added vertex is a new place.
void ExpectResolved(const Graph& g) {
    ResolvedGraph out;
    ASSERT_EQ(
        ResolveCrossings(g.xy.data(), g.Points(), g.segments.data(),
                         static_cast<int>(g.segments.size() / 2), OV_TESSELLATION_MAX_POINTS, out),
        Resolution::kDone);
    std::vector<double> xy = g.xy;
    xy.insert(xy.end(), out.added.begin(), out.added.end());
    const int n = static_cast<int>(xy.size() / 2);
    auto at = [&](int i) { return &xy[2 * static_cast<std::size_t>(i)]; };
    std::set<std::pair<double, double>> places;
    for (int i = 0; i < g.Points(); ++i) places.insert({at(i)[0], at(i)[1]});
    for (int i = g.Points(); i < n; ++i) {
        ASSERT_TRUE(OV_isTessellationCoordinate(at(i)[0]) && OV_isTessellationCoordinate(at(i)[1]));
        ASSERT_TRUE(places.insert({at(i)[0], at(i)[1]}).second) << "added twice: " << i;
    }
    const std::size_t pieces = out.segments.size() / 2;
    std::set<std::pair<int, int>> seen;
    for (std::size_t s = 0; s < pieces; ++s) {
        const int a = out.segments[2 * s], b = out.segments[2 * s + 1];
        ASSERT_TRUE(a >= 0 && a < n && b >= 0 && b < n && a != b);
        ASSERT_TRUE(seen.insert({std::min(a, b), std::max(a, b)}).second);
        for (int v = 0; v < n; ++v) {
            ASSERT_FALSE(InsideSegment(at(a), at(b), at(v))) << "vertex " << v << " on a piece";
        }
        for (std::size_t t = s + 1; t < pieces; ++t) {
            const int c = out.segments[2 * t], d = out.segments[2 * t + 1];
            ASSERT_FALSE(CrossProperly(at(a), at(b), at(c), at(d))) << "pieces cross";
        }
    }
}

TEST(CrossingResolution, GridDrawingsComeOutFreeOfCrossings) {
    std::mt19937 random(11);
    for (int drawing = 0; drawing < 40; ++drawing) {
        SCOPED_TRACE(drawing);
        ASSERT_NO_FATAL_FAILURE(ExpectResolved(GridSegments(random, 20 + drawing)));
    }
}

TEST(CrossingResolution, MixedMagnitudesComeOutFreeOfCrossings) {
    std::mt19937 random(12);
    for (int drawing = 0; drawing < 200; ++drawing) {
        SCOPED_TRACE(drawing);
        ASSERT_NO_FATAL_FAILURE(
            ExpectResolved(MixedSegments(random, 3 + drawing % 40, drawing % 50)));
    }
}

TEST(CrossingResolution, OverlapsAndPointsOnSegmentsSplitWithoutAddingVertices) {
    // Two collinear overlapping segments, a third through a point of the
    // first, and the same segment twice.
    Graph g;
    g.xy = {0, 0, 4, 0, 2, 0, 6, 0, 3, 0, 3, 3};
    g.segments = {0, 1, 2, 3, 4, 5, 0, 1};
    ResolvedGraph out;
    ASSERT_EQ(ResolveCrossings(g.xy.data(), g.Points(), g.segments.data(), 4, 100, out),
              Resolution::kDone);
    EXPECT_TRUE(out.added.empty());
    std::set<std::pair<int, int>> pieces;
    for (std::size_t s = 0; s < out.segments.size(); s += 2) {
        pieces.insert({std::min(out.segments[s], out.segments[s + 1]),
                       std::max(out.segments[s], out.segments[s + 1])});
    }
    // 0 (0,0), 2 (2,0), 4 (3,0), 1 (4,0), 3 (6,0) along the line, and 4-5.
    const std::set<std::pair<int, int>> expected = {{0, 2}, {2, 4}, {1, 4}, {1, 3}, {4, 5}};
    EXPECT_EQ(pieces, expected);
    ASSERT_NO_FATAL_FAILURE(ExpectResolved(g));
}

TEST(CrossingResolution, TooManyAddedVerticesAreReported) {
    // Ten horizontal and ten vertical segments cross a hundred times.
    Graph g;
    for (int k = 0; k < 10; ++k) {
        const double at = 1 + k;
        g.xy.insert(g.xy.end(), {0, at, 11, at, at, 0, at, 11});
        const int first = 4 * k;
        g.segments.insert(g.segments.end(), {first, first + 1, first + 2, first + 3});
    }
    ResolvedGraph out;
    EXPECT_EQ(ResolveCrossings(g.xy.data(), g.Points(), g.segments.data(), 20, 40 + 99, out),
              Resolution::kTooManyPoints);
    EXPECT_EQ(ResolveCrossings(g.xy.data(), g.Points(), g.segments.data(), 20, 40 + 100, out),
              Resolution::kDone);
    EXPECT_EQ(out.added.size(), 200u);
}

}  // namespace
