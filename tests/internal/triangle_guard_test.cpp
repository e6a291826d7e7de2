// The guard around Triangle, tested from its sources: each fatal condition
// named from what Triangle's source reports for it, runs past a bound
// abandoned with everything they allocated released, and the bounds of one
// run never carried into the next.
#include "tessellation/triangle_guard.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "support/reported_graphs.h"

namespace {

// One of Triangle's calls of internalerror(): the function it stands in, its
// position among that function's calls, and the line of the last report
// printed before it.
struct ErrorCall {
    std::string function;
    int ordinal;
    int reportLine;
};

// Reads Triangle's source as compiled into the library and lists its calls of
// internalerror(), each with the report printed before it.
std::vector<ErrorCall> ErrorCallsOfTheSource() {
    std::ifstream source(SELVORA_TRIANGLE_SOURCE);
    EXPECT_TRUE(source) << SELVORA_TRIANGLE_SOURCE;
    const std::regex definition(R"(^[A-Za-z_][A-Za-z0-9_ *]*[ *]([A-Za-z_][A-Za-z0-9_]*)\()");
    std::vector<ErrorCall> calls;
    std::string line, function;
    int number = 0, lastPrintf = 0, ordinal = 0;
    while (std::getline(source, line)) {
        ++number;
        std::smatch match;
        if (line.find(';') == std::string::npos && std::regex_search(line, match, definition)) {
            function = match[1];
            ordinal = 0;
        } else if (line.find("printf(") != std::string::npos) {
            lastPrintf = number;
        } else if (line.find("internalerror();") != std::string::npos && line[0] == ' ') {
            calls.push_back({function, ++ordinal, lastPrintf});
        }
    }
    return calls;
}

// Runs `body` in a child process and returns what it wrote to stderr, with
// its exit status (or -signal).
std::pair<std::string, int> InChild(void (*body)(const ErrorCall&), const ErrorCall& call) {
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) return {"", -1};
    const pid_t child = fork();
    if (child == 0) {
        dup2(pipeEnds[1], 2);
        close(pipeEnds[0]);
        body(call);
        _exit(0);
    }
    close(pipeEnds[1]);
    std::string text;
    char buffer[256];
    for (ssize_t n; (n = read(pipeEnds[0], buffer, sizeof buffer)) > 0;) text.append(buffer, n);
    close(pipeEnds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return {text, WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status)};
}

// What Triangle does for an internal error: the report of the failing
// function, then internalerror() with its own report and its exit.
void ReportInternalError(const ErrorCall& call) {
    selvora_triangle_report(call.function.c_str(), call.reportLine, "Internal error in %s()\n",
                            call.function.c_str());
    selvora_triangle_report("internalerror", 2769, "  Please report this bug to %s\n", "...");
    selvora_triangle_exit(1);
}

TEST(TriangleGuard, TheSourceHasTheSevenNumberedErrors) {
    const std::vector<ErrorCall> calls = ErrorCallsOfTheSource();
    int finddirection = 0, segmentintersection = 0, insertsegment = 0;
    for (const ErrorCall& c : calls) {
        finddirection += c.function == "finddirection";
        segmentintersection += c.function == "segmentintersection";
        insertsegment += c.function == "insertsegment";
    }
    EXPECT_EQ(2, finddirection);
    EXPECT_EQ(3, segmentintersection);
    EXPECT_EQ(2, insertsegment);
}

TEST(TriangleGuard, EachInternalErrorOfTheSourceShowsItsTexts) {
    const std::vector<std::pair<std::string, std::vector<const char*>>> numbered = {
        {"finddirection", {"内部错误 001", "内部错误 002"}},
        {"segmentintersection", {"内部错误 003", "内部错误 004", "内部错误 005"}},
        {"insertsegment", {"内部错误 006", "内部错误 007"}},
    };
    int checked = 0;
    for (const ErrorCall& call : ErrorCallsOfTheSource()) {
        SCOPED_TRACE(call.function + " #" + std::to_string(call.ordinal));
        std::string expected = "网格重组错误\n";  // an internal error without a number
        for (const auto& [function, texts] : numbered) {
            if (function == call.function) {
                ASSERT_LE(call.ordinal, static_cast<int>(texts.size()));
                expected = std::string(texts[call.ordinal - 1]) + "\n" + expected;
            }
        }
        const auto [text, status] = InChild(ReportInternalError, call);
        EXPECT_EQ(1, status);
        EXPECT_EQ(expected, text);
        ++checked;
    }
    EXPECT_GE(checked, 7);
}

TEST(TriangleGuard, ExitsAfterTheirReportsShowTheirTexts) {
    struct Case {
        const char* function;
        const char* format;
        const char* texts;
    } cases[] = {
        {"transfernodes", "Error:  Input must have at least three input vertices.\n",
         "错误: 顶点数小于3\n"},
        {"trimalloc", "Error:  Out of memory.\n", "错误:  内存不足\n"},
        {"sweeplinedelaunay", "Error:  Input vertices are all identical.\n", "网格重组错误\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.function);
        const auto [text, status] = InChild(
            [](const ErrorCall& call) {
                selvora_triangle_report(call.function.c_str(), call.reportLine, "report");
                selvora_triangle_exit(1);
            },
            ErrorCall{c.function, 0, 100});
        EXPECT_EQ(1, status);
        EXPECT_EQ(c.texts, text);
    }
}

// A planar graph handed to the guarded triangulator as it is.
using Graph = selvora_test::PlanarGraph;

// Triangulates g: the triangle count, or -1 when the run was abandoned.
int Triangulated(Graph g) {
    selvora_triangulation result{};
    if (!selvora_triangulate(g.xy.data(), static_cast<int>(g.xy.size() / 2), g.segments.data(),
                             static_cast<int>(g.segments.size() / 2), g.holes.data(),
                             static_cast<int>(g.holes.size() / 2), 1u << 20, &result)) {
        return -1;
    }
    const int count = result.count;
    selvora_triangulation_release();
    return count;
}

Graph UnitSquare() { return {{0, 0, 1, 0, 1, 1, 0, 1}, {0, 1, 1, 2, 2, 3, 3, 0}, {}}; }

Graph EndlessRecursion() { return selvora_test::GraphThatOverflowedTheStack(); }
Graph EndlessSearch() { return selvora_test::GraphThatNeverReturned(); }

// A square grid of k x k points with its outline as segments.
Graph Grid(int k) {
    Graph g;
    for (int i = 0; i < k * k; ++i) {
        g.xy.push_back(i % k);
        g.xy.push_back(i / k);
    }
    for (int i = 0; i + 1 < k; ++i) {
        g.segments.insert(g.segments.end(), {i, i + 1});
        g.segments.insert(g.segments.end(), {(k - 1) * k + i, (k - 1) * k + i + 1});
        g.segments.insert(g.segments.end(), {i * k, (i + 1) * k});
        g.segments.insert(g.segments.end(), {i * k + k - 1, (i + 1) * k + k - 1});
    }
    return g;
}

TEST(TriangleGuard, RunsPastABoundAreAbandoned) {
    EXPECT_EQ(-1, Triangulated(EndlessRecursion()));
    EXPECT_EQ(-1, Triangulated(EndlessSearch()));
    EXPECT_EQ(2, Triangulated(UnitSquare()));
}

TEST(TriangleGuard, ABoundCountedInOneRunNeverCarriesIntoTheNext) {
    // An abandoned run leaves its depth and work behind it; the square after
    // it is triangulated whole, again and again.
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(-1, Triangulated(EndlessRecursion()));
        EXPECT_EQ(2, Triangulated(UnitSquare()));
        EXPECT_EQ(-1, Triangulated(EndlessSearch()));
        EXPECT_EQ(2, Triangulated(UnitSquare()));
    }
    // A large run does work far beyond what the square's bounds allow; none
    // of it is counted against the square.
    const int large = Triangulated(Grid(200));
    EXPECT_EQ(2 * 199 * 199, large);
    EXPECT_EQ(2, Triangulated(UnitSquare()));
    EXPECT_EQ(large, Triangulated(Grid(200)));
}

TEST(TriangleGuard, ADeepRunIsAbandonedWhenTheStackRunsShort) {
    // The grid needs more than a few bytes of stack; the square next needs
    // its own room only.
    selvora_triangulation result{};
    Graph g = Grid(20);
    EXPECT_EQ(
        0, selvora_triangulate(g.xy.data(), static_cast<int>(g.xy.size() / 2), g.segments.data(),
                               static_cast<int>(g.segments.size() / 2), nullptr, 0, 64, &result));
    EXPECT_EQ(2, Triangulated(UnitSquare()));
}

#if !defined(__SANITIZE_ADDRESS__)
TEST(TriangleGuard, AnAbandonedRunReleasesAllItAllocated) {
    // One of each first, for what the process sets up once (the guard's and
    // the C library's own first allocations).
    Triangulated(UnitSquare());
    Triangulated(EndlessRecursion());
    Triangulated(EndlessSearch());
    const std::size_t before = mallinfo2().uordblks;
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(-1, Triangulated(EndlessRecursion()));
        ASSERT_EQ(-1, Triangulated(EndlessSearch()));
    }
    EXPECT_EQ(before, mallinfo2().uordblks);
}
#endif

}  // namespace
