// Input that crashed or hung the triangulator: graphs whose coordinates are
// all in the accepted range but mix very different magnitudes. Each call must
// end with a result or with one of the fatal exits the interface defines
// (its message boxes on stderr and status 1), within seconds.
#include <gtest/gtest.h>
#include <pthread.h>
#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "selvora/selvora.h"
#include "support/address_space.h"
#include "support/platform.h"
#include "support/reported_graphs.h"

namespace {

using Graph = selvora_test::PlanarGraph;
using selvora_test::TessellateInBuffers;

#ifndef _WIN32  // the children are forked
std::string AsPoly(const Graph& g) {
    const int n = static_cast<int>(g.xy.size() / 2), s = static_cast<int>(g.segments.size() / 2),
              h = static_cast<int>(g.holes.size() / 2);
    std::ostringstream poly;
    poly.precision(17);
    poly << n << " 2 0 0\n";
    for (int i = 0; i < n; ++i) poly << i << ' ' << g.xy[2 * i] << ' ' << g.xy[2 * i + 1] << '\n';
    poly << s << " 0\n";
    for (int i = 0; i < s; ++i)
        poly << i << ' ' << g.segments[2 * i] << ' ' << g.segments[2 * i + 1] << '\n';
    poly << h << '\n';
    for (int i = 0; i < h; ++i)
        poly << i << ' ' << g.holes[2 * i] << ' ' << g.holes[2 * i + 1] << '\n';
    return poly.str();
}

// How a call in a child process ended: its result (exit status 0), or a
// fatal exit with what it wrote on stderr.
struct Ending {
    bool returned = false;
    int result = 0;
    int exitStatus = -1;  // when it did not return
    int signal = 0;
    std::string messages;
};

Ending InChild(const Graph& g) {
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) std::abort();
    int resultPipe[2];
    if (pipe(resultPipe) != 0) std::abort();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        alarm(10);
        dup2(pipeEnds[1], 2);
        close(pipeEnds[0]);
        close(resultPipe[0]);
        const int result = TessellateInBuffers(g);
        if (write(resultPipe[1], &result, sizeof result) != sizeof result) _exit(3);
        _exit(0);
    }
    close(pipeEnds[1]);
    close(resultPipe[1]);
    Ending ending;
    char buffer[256];
    for (ssize_t n; (n = read(pipeEnds[0], buffer, sizeof buffer)) > 0;)
        ending.messages.append(buffer, n);
    ending.returned = read(resultPipe[0], &ending.result, sizeof ending.result) ==
                      static_cast<ssize_t>(sizeof ending.result);
    close(pipeEnds[0]);
    close(resultPipe[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status)) ending.exitStatus = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) ending.signal = WTERMSIG(status);
    return ending;
}

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
           << (e.signal ? "signal " + std::to_string(e.signal)
                        : "exit status " + std::to_string(e.exitStatus))
           << ", stderr \"" << e.messages << "\", on\n"
           << AsPoly(g);
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

#endif  // the children are forked

TEST(TessellationRobustness, GraphThatOverflowedTheStack) {
#ifdef _WIN32
    SELVORA_SKIP_WITHOUT_FORK();
#else
    const Graph g = selvora_test::GraphThatOverflowedTheStack();
    const Ending e = InChild(g);
    ASSERT_TRUE(EndedAsDefined(g, e));
    EXPECT_TRUE(e.returned);
    EXPECT_EQ(0, e.result);  // open segments enclose nothing
#endif
}

TEST(TessellationRobustness, GraphThatNeverReturned) {
#ifdef _WIN32
    SELVORA_SKIP_WITHOUT_FORK();
#else
    const Graph g = selvora_test::GraphThatNeverReturned();
    const Ending e = InChild(g);
    ASSERT_TRUE(EndedAsDefined(g, e));
    EXPECT_TRUE(e.returned);
    EXPECT_EQ(0, e.result);
#endif
}

TEST(TessellationRobustness, ThousandsOfMixedMagnitudeGraphsEndAsDefined) {
#ifdef _WIN32
    SELVORA_SKIP_WITHOUT_FORK();
#else
    int results = 0, triangulated = 0, fatal = 0;
    auto sweep = [&](unsigned first, unsigned count, int points, int segments, int holes) {
        for (unsigned seed = first; seed < first + count; ++seed) {
            const Graph g = MixedGraph(seed, points, segments, holes);
            const Ending e = InChild(g);
            ASSERT_TRUE(EndedAsDefined(g, e)) << "seed " << seed;
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
#endif
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

// A rectangle whose bottom side passes through n points: inserting that
// side recurses once per point.
Graph RectangleOverPointsInALine(int n) {
    Graph g;
    for (int i = 0; i < n; ++i) g.xy.insert(g.xy.end(), {double(i), 0.0});
    g.xy.insert(g.xy.end(), {double(n - 1), 1.0, 0.0, 1.0});
    g.segments = {0, n - 1, n - 1, n, n, n + 1, n + 1, 0};
    return g;
}

// Runs TessellateInBuffers(g) on a thread with a stack of `bytes`.
int TessellateOnAThread(const Graph& g, std::size_t bytes) {
    struct Call {
        const Graph* graph;
        int result;
    } call{&g, -1};
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, bytes);
    pthread_t thread;
    const auto body = [](void* c) -> void* {
        static_cast<Call*>(c)->result = TessellateInBuffers(*static_cast<Call*>(c)->graph);
        return nullptr;
    };
    if (pthread_create(&thread, &attributes, body, &call) != 0) std::abort();
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
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
