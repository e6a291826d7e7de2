// Input that crashed or hung the triangulator: graphs whose coordinates are
// all in the accepted range but mix very different magnitudes. Each call must
// end with a result or with one of the fatal exits the interface defines
// (its message boxes on stderr and status 1), within seconds.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "selvora/selvora.h"

namespace {

struct Graph {
    std::vector<double> xy;
    std::vector<int> segments;
    std::vector<double> holes;

    int Points() const { return static_cast<int>(xy.size() / 2); }
    int Segments() const { return static_cast<int>(segments.size() / 2); }
    int Holes() const { return static_cast<int>(holes.size() / 2); }

    std::string AsPoly() const {
        std::ostringstream poly;
        poly.precision(17);
        poly << Points() << " 2 0 0\n";
        for (int i = 0; i < Points(); ++i)
            poly << i << ' ' << xy[2 * i] << ' ' << xy[2 * i + 1] << '\n';
        poly << Segments() << " 0\n";
        for (int i = 0; i < Segments(); ++i)
            poly << i << ' ' << segments[2 * i] << ' ' << segments[2 * i + 1] << '\n';
        poly << Holes() << '\n';
        for (int i = 0; i < Holes(); ++i)
            poly << i << ' ' << holes[2 * i] << ' ' << holes[2 * i + 1] << '\n';
        return poly.str();
    }
};

int Tessellate(const Graph& g) {
    double *points, *holes;
    int *segments, *triangles;
    OV_getTessellationBuffer(&points, &segments, &triangles, &holes);
    std::copy(g.xy.begin(), g.xy.end(), points);
    std::copy(g.segments.begin(), g.segments.end(), segments);
    std::copy(g.holes.begin(), g.holes.end(), holes);
    return OV_doTessellation(g.Points(), g.Segments(), g.Holes());
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
        const int result = Tessellate(g);
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
           << g.AsPoly();
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

TEST(TessellationRobustness, GraphThatOverflowedTheStack) {
    const Graph g{{0, -1.2941292465998752e+28, 1.3587408959707088e-29, -3.8660621547136084e+38,
                   -3.3683428388781001e-60, 1.4948846787902541e-56, 2.7377315004511858e-39,
                   8.0004819043127064e+66, 0, -1.6130322312245683e-35, 0, 3.0450987669205505e-21,
                   -1.9881506878951213e+56, 2915486063.6075978},
                  {0, 3, 1, 2, 4, 5},
                  {}};
    const Ending e = InChild(g);
    ASSERT_TRUE(EndedAsDefined(g, e));
    EXPECT_TRUE(e.returned);
    EXPECT_EQ(0, e.result);  // three open segments enclose nothing
}

TEST(TessellationRobustness, GraphThatNeverReturned) {
    const Graph g{{-8.6909167050185145e-22,
                   4.2891091351342634e-41,
                   1.6165020916813824e+19,
                   -2.9082726589422338e+27,
                   -1.1216397993296759e+46,
                   -6.9418515846465801e+31,
                   4.4826806458074009e-16,
                   0.0010496918020760631,
                   -2.6458402205562758e+67,
                   0,
                   -2.6727918095709251e-59,
                   -9.3944415402986377e-18,
                   -1.1494876931947593e+50,
                   3.5903351697383424e-24,
                   17136449614570766,
                   1.9538223842012274e-19,
                   0,
                   4.518070398663148e-53,
                   2.1954684179104103e+37,
                   -5.9577330350022111e+24},
                  {6, 8, 5, 9, 0, 1, 2, 4},
                  {}};
    const Ending e = InChild(g);
    ASSERT_TRUE(EndedAsDefined(g, e));
    EXPECT_TRUE(e.returned);
    EXPECT_EQ(0, e.result);
}

TEST(TessellationRobustness, ThousandsOfMixedMagnitudeGraphsEndAsDefined) {
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
}

TEST(TessellationRobustness, AbandonedCallLeavesNothingForTheNext) {
    // The graph that overflowed the stack, then the unit square, in one
    // process: the square's triangles come out whole.
    const Graph endless{{0, -1.2941292465998752e+28, 1.3587408959707088e-29,
                         -3.8660621547136084e+38, -3.3683428388781001e-60, 1.4948846787902541e-56,
                         2.7377315004511858e-39, 8.0004819043127064e+66, 0, -1.6130322312245683e-35,
                         0, 3.0450987669205505e-21, -1.9881506878951213e+56, 2915486063.6075978},
                        {0, 3, 1, 2, 4, 5},
                        {}};
    const Graph square{{0, 0, 1, 0, 1, 1, 0, 1}, {0, 1, 1, 2, 2, 3, 3, 0}, {}};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(0, Tessellate(endless));
        EXPECT_EQ(2, Tessellate(square));
    }
}

#if !defined(__SANITIZE_ADDRESS__)
// Caps the address space at what the process uses now plus 2 MiB.
void CapAddressSpace() {
    long pages = 0;
    FILE* statm = std::fopen("/proc/self/statm", "r");
    if (!statm || std::fscanf(statm, "%ld", &pages) != 1) std::abort();
    std::fclose(statm);
    const rlim_t limit = static_cast<rlim_t>(pages) * 4096 + (2u << 20);
    const rlimit cap{limit, limit};
    if (setrlimit(RLIMIT_AS, &cap) != 0) std::abort();
}
#endif

TEST(TessellationRobustnessDeathTest, OutOfMemoryPreparingTheInputExits) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the address sanitizer needs more address space than the cap leaves";
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
            CapAddressSpace();
            Tessellate(g);
        },
        ::testing::ExitedWithCode(1), "^错误:  内存不足\n$");
#endif
}

}  // namespace
