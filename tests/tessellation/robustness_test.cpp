// Input that crashed or hung the triangulator: graphs whose coordinates are
// all in the accepted range but mix very different magnitudes. Each call must
// end with a result or with one of the fatal exits the interface defines
// (its message boxes on stderr and status 1), within seconds.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "common/planar_graph.h"
#include "selvora/selvora.h"
#include "support/address_space.h"
#include "support/graph_children.h"
#include "support/platform.h"
#include "support/reported_graphs.h"

namespace {

using Graph = selvora_common::PlanarGraph;
using selvora_common::TessellateInBuffers;
using selvora_test::Ending;

// The message boxes of every fatal condition, as they come out on stderr.
const std::set<std::string>& FatalMessages() {
    static const std::set<std::string> messages = [] {
        std::set<std::string> m = {"错误: 顶点数小于3\n", "错误:  内存不足\n", "网格重组错误\n"};
        for (int k = 1; k <= 7; ++k)
            m.insert("内部错误 00" + std::to_string(k) + "\n网格重组错误\n");
        return m;
    }();
    return messages;
}

// The call ended as the interface allows: a result, or a defined fatal exit.
::testing::AssertionResult EndedAsDefined(const Graph& g, const Ending& e) {
    if (e.returned && e.exitStatus == 0 && e.result >= 0 && e.messages.empty())
        return ::testing::AssertionSuccess();
    if (!e.returned && e.exitStatus == 1 && FatalMessages().count(e.messages))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << (e.ranOn            ? std::string("ran on past the time limit")
               : !e.crash.empty() ? e.crash
                                  : "exit status " + std::to_string(e.exitStatus))
           << ", stderr \"" << e.messages << "\", on\n"
           << selvora_common::PolyText(g);
}

// A coordinate of any magnitude the interface accepts, or 0.
double MixedCoordinate(std::mt19937_64& rng) {
    if (rng() % 5 == 0) return 0;
    std::uniform_real_distribution<double> exponent(-60, 75), mantissa(1, 10);
    const double v = std::fmin(std::fmax(std::pow(10.0, std::floor(exponent(rng))) * mantissa(rng),
                                         OV_TESSELLATION_MIN_COORDINATE),
                               OV_TESSELLATION_MAX_COORDINATE);
    return rng() % 2 ? v : -v;
}

Graph MixedGraph(unsigned seed, int maxPoints, int maxSegments, int maxHoles) {
    std::mt19937_64 rng(seed);
    Graph g;
    const int n = 3 + static_cast<int>(rng() % (maxPoints - 2));
    const int s = static_cast<int>(rng() % (maxSegments + 1));
    const int h = static_cast<int>(rng() % (maxHoles + 1));
    for (int i = 0; i < 2 * n; ++i) g.xy.push_back(MixedCoordinate(rng));
    for (int i = 0; i < 2 * s; ++i) g.segments.push_back(static_cast<int>(rng() % n));
    for (int i = 0; i < 2 * h; ++i) g.holes.push_back(MixedCoordinate(rng));
    return g;
}

// The call on g in a child process, allowed 10 s.
Ending InChild(const Graph& g) { return selvora_test::TessellatedInChildren({g}, 10)[0]; }

// The call on g, in a child process, returns 0.
void ExpectNoTriangleInChild(const Graph& g) {
    const Ending e = InChild(g);
    ASSERT_TRUE(EndedAsDefined(g, e));
    EXPECT_TRUE(e.returned);
    EXPECT_EQ(0, e.result);
}

TEST(TessellationRobustness, GraphThatOverflowedTheStack) {
    ExpectNoTriangleInChild(selvora_test::GraphThatOverflowedTheStack());  // encloses nothing
}

TEST(TessellationRobustness, GraphThatNeverReturned) {
    ExpectNoTriangleInChild(selvora_test::GraphThatNeverReturned());  // encloses nothing
}

TEST(TessellationRobustness, GraphWhoseMeshCameApart) {
    ExpectNoTriangleInChild(selvora_test::GraphWhoseMeshCameApart());  // the run is abandoned
}

TEST(TessellationRobustness, ThousandsOfMixedMagnitudeGraphsEndAsDefined) {
    int results = 0, triangulated = 0, fatal = 0;
    auto sweep = [&](unsigned first, unsigned count, int points, int segments, int holes) {
        std::vector<Graph> graphs;
        for (unsigned seed = first; seed < first + count; ++seed)
            graphs.push_back(MixedGraph(seed, points, segments, holes));
        const std::vector<Ending> endings = selvora_test::TessellatedInChildren(graphs, 10);
        for (unsigned k = 0; k < count; ++k) {
            const Ending& e = endings[k];
            ASSERT_TRUE(EndedAsDefined(graphs[k], e)) << "seed " << first + k;
            results += e.returned;
            triangulated += e.returned && e.result > 0;
            fatal += !e.returned;
        }
    };
    sweep(0, 1200, 12, 7, 2);     // small graphs, few segments
    sweep(5000, 600, 42, 39, 4);  // crossings everywhere
    // Both kinds of ending occur: the sweep reaches the triangulator's
    // failures, and still triangulates many of the graphs.
    EXPECT_GT(triangulated, 200);
    EXPECT_GT(fatal, 100);
    EXPECT_EQ(1800, results + fatal);
}

TEST(TessellationRobustness, AbandonedCallLeavesNothingForTheNext) {
    // The graph that overflowed the stack, then the unit square, in one
    // process: the square's triangles come out whole.
    const Graph endless = selvora_test::GraphThatOverflowedTheStack();
    const Graph square{{0, 0, 1, 0, 1, 1, 0, 1}, {0, 1, 1, 2, 2, 3, 3, 0}, {}};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(0, TessellateInBuffers(endless));
        EXPECT_EQ(2, TessellateInBuffers(square));
    }
}

using selvora_test::RectangleOverPointsInALine;

// Runs TessellateInBuffers(g) on a thread with a stack of `bytes`.
int TessellateOnAThread(const Graph& g, std::size_t bytes) {
    struct Call {
        const Graph* graph;
        int result;
    } call{&g, -1};
    selvora_test::RunOnThreadWithStack(
        bytes,
        [](void* c) {
            static_cast<Call*>(c)->result = TessellateInBuffers(*static_cast<Call*>(c)->graph);
        },
        &call);
    return call.result;
}

TEST(TessellationRobustness, RecursionDeeperThanTheThreadsStackIsAbandoned) {
    const int n = 30000;
    const Graph g = RectangleOverPointsInALine(n);
    // A convex polygon of n + 2 corners: n triangles.
    EXPECT_EQ(n, TessellateOnAThread(g, 64u << 20));
    EXPECT_EQ(0, TessellateOnAThread(g, 256u << 10));
    // The same small stack is enough for a small graph.
    EXPECT_EQ(10, TessellateOnAThread(RectangleOverPointsInALine(10), 256u << 10));
}

// Threads whose stacks are shorter than the triangulator's entry alone takes
// (about 81 KiB): the call comes back with 0 instead of overflowing the
// stack (or, where the stack came out larger than asked, triangulates).
TEST(TessellationRobustness, ThreadsWithTinyStacksGetNoTriangles) {
    for (std::size_t kib : {48u, 64u}) {
        const int result = TessellateOnAThread(RectangleOverPointsInALine(10), kib << 10);
        if (selvora_test::ThreadStacksAreAsAsked()) {
            EXPECT_EQ(0, result) << kib;
        } else {
            EXPECT_TRUE(result == 0 || result == 10) << kib << ": " << result;
        }
    }
    EXPECT_EQ(10, TessellateOnAThread(RectangleOverPointsInALine(10), 256u << 10));
}

TEST(TessellationRobustnessDeathTest, OutOfMemoryPreparingTheInputExits) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the address sanitizer needs more address space than the cap leaves";
#elif defined(_WIN32)
    SELVORA_SKIP_WITHOUT_ADDRESS_SPACE_CAP();
#else
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // A convex polygon of 60,000 points with its outline: checking its
    // segment ends takes megabytes before the triangulator runs.
    Graph g;
    const int n = 60000;
    for (int i = 0; i < n; ++i) {
        const double angle = 6.283185307179586 * i / n;
        g.xy.push_back(std::cos(angle));
        g.xy.push_back(std::sin(angle));
        g.segments.push_back(i);
        g.segments.push_back((i + 1) % n);
    }
    EXPECT_EXIT(
        {
            selvora_test::CapAddressSpace(2 << 20);
            TessellateInBuffers(g);
        },
        ::testing::ExitedWithCode(1), "^错误:  内存不足\n$");
#endif
}

}  // namespace
