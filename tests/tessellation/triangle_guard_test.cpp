// The guard around Triangle, tested from its sources: each fatal condition
// named from what Triangle's source reports for it, runs past a bound
// abandoned with everything they allocated released, and the bounds of one
// run never carried into the next.
#include "tessellation/triangle_guard.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>
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

TEST(TriangleGuardDeathTest, EachInternalErrorOfTheSourceShowsItsTexts) {
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
        EXPECT_EXIT(ReportInternalError(call), ::testing::ExitedWithCode(1), "^" + expected + "$");
        ++checked;
    }
    EXPECT_GE(checked, 7);
}

TEST(TriangleGuardDeathTest, ExitsAfterTheirReportsShowTheirTexts) {
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
        EXPECT_EXIT(
            {
                selvora_triangle_report(c.function, 100, "report");
                selvora_triangle_exit(1);
            },
            ::testing::ExitedWithCode(1), std::string("^") + c.texts + "$");
    }
}

// A planar graph handed to the guarded triangulator as it is.
using Graph = selvora_common::PlanarGraph;

// Triangulates g: the triangle count, or -1 when the run was abandoned.
int Triangulated(Graph g) {
    selvora_triangulation result{};
    if (!selvora_triangulate(g.xy.data(), g.Points(), g.segments.data(), g.Segments(),
                             g.holes.data(), g.Holes(), 1u << 20, &result)) {
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

using selvora_test::RectangleOverPointsInALine;

TEST(TriangleGuard, ADeepRunIsAbandonedWhenTheStackRunsShort) {
    // Room for the triangulator's entry and a little more: enough for a
    // square, not for a recursion through 5,000 points. The square next
    // needs its own room only.
    const std::size_t room = (96u << 10) + (16u << 10);
    selvora_triangulation result{};
    Graph square = UnitSquare();
    ASSERT_EQ(1, selvora_triangulate(square.xy.data(), square.Points(), square.segments.data(),
                                     square.Segments(), nullptr, 0, room, &result));
    EXPECT_EQ(2, result.count);
    selvora_triangulation_release();
    Graph g = RectangleOverPointsInALine(5000);
    EXPECT_EQ(0, selvora_triangulate(g.xy.data(), g.Points(), g.segments.data(), g.Segments(),
                                     nullptr, 0, room, &result));
    EXPECT_EQ(2, Triangulated(UnitSquare()));
}

TEST(TriangleGuard, LessRoomThanTheTriangulatorsEntryTakesIsRefused) {
    // The triangulator's entry alone takes about 81 KiB of stack: with less
    // room even a square is abandoned before it starts, and the stack of the
    // thread, were it that short, is never touched below it.
    selvora_triangulation result{};
    Graph square = UnitSquare();
    for (std::size_t room : {std::size_t{0}, std::size_t{64}, std::size_t{80u << 10}}) {
        EXPECT_EQ(0, selvora_triangulate(square.xy.data(), square.Points(), square.segments.data(),
                                         square.Segments(), nullptr, 0, room, &result))
            << room;
        EXPECT_EQ(
            SELVORA_RUN_ABANDONED,
            selvora_triangulate_checked(square.xy.data(), square.Points(), square.segments.data(),
                                        square.Segments(), nullptr, 0, room, &result))
            << room;
    }
    EXPECT_EQ(2, Triangulated(UnitSquare()));
}

#if !defined(__SANITIZE_ADDRESS__)
// The bytes the C runtime's heap has handed out and not taken back.
std::size_t BytesInUse() {
#ifdef _WIN32
    _HEAPINFO entry{};
    std::size_t used = 0;
    while (_heapwalk(&entry) == _HEAPOK)
        if (entry._useflag == _USEDENTRY) used += entry._size;
    return used;
#else
    return mallinfo2().uordblks;
#endif
}

TEST(TriangleGuard, AnAbandonedRunReleasesAllItAllocated) {
    // One of each first, for what the process sets up once (the guard's and
    // the C library's own first allocations).
    Triangulated(UnitSquare());
    Triangulated(EndlessRecursion());
    Triangulated(EndlessSearch());
    const std::size_t before = BytesInUse();
    {
        // The count sees a block that is held (allocated through a pointer
        // the compiler cannot see through, so that the block is not elided).
        void* (*volatile allocate)(std::size_t) = std::malloc;
        void* held = allocate(1 << 16);
        ASSERT_GE(BytesInUse(), before + (1 << 16));
        std::free(held);
    }
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(-1, Triangulated(EndlessRecursion()));
        ASSERT_EQ(-1, Triangulated(EndlessSearch()));
    }
    EXPECT_EQ(before, BytesInUse());
}
#endif

}  // namespace
