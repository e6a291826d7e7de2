#include "tessellation/triangle_program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <sstream>
#include <utility>

#ifndef _WIN32
#include <sys/wait.h>
#endif

#include "common/whole_file.h"
#include "support/platform.h"
#include "support/scratch_dir.h"

namespace selvora_test {

using selvora_common::PolyText;
using selvora_common::ReadWholeFile;

namespace {

double Orientation(double ax, double ay, double bx, double by, double cx, double cy) {
    return (bx - ax) * (cy - ay) - (cx - ax) * (by - ay);
}

// Whether segments p and q cross at a point inside both (not at a shared end).
bool Cross(const PlanarGraph& g, int p0, int p1, int q0, int q1) {
    if (p0 == q0 || p0 == q1 || p1 == q0 || p1 == q1) return false;
    const double a = Orientation(g.X(p0), g.Y(p0), g.X(p1), g.Y(p1), g.X(q0), g.Y(q0));
    const double b = Orientation(g.X(p0), g.Y(p0), g.X(p1), g.Y(p1), g.X(q1), g.Y(q1));
    const double c = Orientation(g.X(q0), g.Y(q0), g.X(q1), g.Y(q1), g.X(p0), g.Y(p0));
    const double d = Orientation(g.X(q0), g.Y(q0), g.X(q1), g.Y(q1), g.X(p1), g.Y(p1));
    return ((a > 0 && b < 0) || (a < 0 && b > 0)) && ((c > 0 && d < 0) || (c < 0 && d > 0));
}

// The lines of a Triangle input or output file, comments ('#' to the end of
// the line) and blank lines left out, each split into its fields.
std::vector<std::vector<std::string>> FileLines(const std::string& path) {
    std::vector<std::vector<std::string>> lines;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        line = line.substr(0, line.find('#'));
        std::istringstream fields(line);
        std::vector<std::string> words{std::istream_iterator<std::string>(fields),
                                       std::istream_iterator<std::string>()};
        if (!words.empty()) lines.push_back(std::move(words));
    }
    return lines;
}

// The command line that runs `triangle -<switches>` on the .poly file, its
// output going to the log.
std::string TriangleCommand(const std::string& switches, const std::string& poly,
                            const std::string& log) {
#ifdef _WIN32
    // cmd.exe takes double quotes, and strips the outer pair of a line that
    // starts with one: the whole line is quoted once more.
    const std::string program = BesideThisProgram("triangle.exe");
    return "\"\"" + program + "\" -" + switches + " \"" + poly + "\" >\"" + log + "\" 2>&1\"";
#else
    return std::string(SELVORA_TRIANGLE_PROGRAM) + " -" + switches + " '" + poly + "' >'" + log +
           "' 2>&1";
#endif
}

// The triangles of the .ele file in `dir`, as zero-based indices
// (firstNumber is the number of the file's first vertex), or a message in
// *failure.
bool ReadTriangles(const std::filesystem::path& dir, int firstNumber,
                   std::vector<TriangleCorners>* triangles, std::string* failure) {
    const auto lines = FileLines((dir / "input.1.ele").string());
    triangles->clear();
    if (lines.empty() || lines[0].size() < 2 || std::stoi(lines[0][1]) != 3) {
        *failure = "no complete input.1.ele";
        return false;
    }
    const int count = std::stoi(lines[0][0]);
    if (lines.size() != static_cast<size_t>(count) + 1) {
        *failure = "input.1.ele has fewer triangles than it says";
        return false;
    }
    for (int k = 0; k < count; ++k) {
        const auto& f = lines[static_cast<size_t>(k) + 1];
        if (f.size() < 4 || std::stoi(f[0]) != k + firstNumber) {
            *failure = "input.1.ele has a bad line";
            return false;
        }
        triangles->push_back({std::stoi(f[1]) - firstNumber, std::stoi(f[2]) - firstNumber,
                              std::stoi(f[3]) - firstNumber});
    }
    return true;
}

}  // namespace

std::vector<TriangleCorners> Canonical(std::vector<TriangleCorners> triangles) {
    for (TriangleCorners& t : triangles)
        std::rotate(t.begin(), std::min_element(t.begin(), t.end()), t.end());
    std::sort(triangles.begin(), triangles.end());
    return triangles;
}

void RunTriangleProgram(const std::string& polyText, const std::string& switches, int firstNumber,
                        std::vector<TriangleCorners>* triangles) {
    const ScratchDir dir("selvora-tessellation");
    ASSERT_FALSE(dir.Path().empty()) << "cannot create a scratch directory";
    const std::string poly = (dir.Path() / "input.poly").string();
    const std::string log = (dir.Path() / "triangle.log").string();
    std::ofstream(poly) << polyText;
    const std::string command = TriangleCommand(switches, poly, log);
    ASSERT_EQ(std::system(command.c_str()), 0) << command << '\n'
                                               << ReadWholeFile(log).value_or("");
    std::string failure;
    ASSERT_TRUE(ReadTriangles(dir.Path(), firstNumber, triangles, &failure))
        << failure << " from: " << command;
}

bool TryTriangleProgram(const PlanarGraph& g, const std::string& switches, int seconds,
                        std::vector<TriangleCorners>* triangles, std::vector<double>* added,
                        std::string* failure) {
    const ScratchDir dir("selvora-tessellation");
    if (dir.Path().empty()) {
        *failure = "cannot create a scratch directory";
        return false;
    }
    const std::string poly = (dir.Path() / "input.poly").string();
    const std::string log = (dir.Path() / "triangle.log").string();
    std::ofstream(poly) << PolyText(g);
#ifdef _WIN32
    static_cast<void>(seconds);
    const std::string command = TriangleCommand(switches, poly, log);
#else
    // coreutils' timeout ends a run that goes on; the program is known to
    // loop forever on some graphs.
    const std::string command =
        "timeout " + std::to_string(seconds) + " " + TriangleCommand(switches, poly, log);
#endif
    const int status = std::system(command.c_str());
    if (status != 0) {
#ifndef _WIN32
        if (WIFEXITED(status) && WEXITSTATUS(status) == 124) {
            *failure = "no end within " + std::to_string(seconds) + " s";
            return false;
        }
#endif
        *failure = "exit status " + std::to_string(status) + ": " +
                   ReadWholeFile(log).value_or("").substr(0, 200);
        return false;
    }
    if (!ReadTriangles(dir.Path(), 0, triangles, failure)) return false;
    added->clear();
    if (switches.find('N') != std::string::npos) return true;
    // The .node file lists every vertex, the graph's first.
    const auto lines = FileLines((dir.Path() / "input.1.node").string());
    if (lines.empty() || lines.size() < static_cast<size_t>(std::stoi(lines[0][0])) + 1 ||
        std::stoi(lines[0][0]) < g.Points()) {
        *failure = "no complete input.1.node";
        return false;
    }
    for (int i = g.Points(); i < std::stoi(lines[0][0]); ++i) {
        const auto& f = lines[static_cast<size_t>(i) + 1];
        if (f.size() < 3) {
            *failure = "input.1.node has a bad line";
            return false;
        }
        added->push_back(std::strtod(f[1].c_str(), nullptr));
        added->push_back(std::strtod(f[2].c_str(), nullptr));
    }
    return true;
}

void Reference(const PlanarGraph& g, std::vector<TriangleCorners>* triangles) {
    RunTriangleProgram(PolyText(g), "pzNPBQ", 0, triangles);
}

void ReadPoly(const std::string& path, PolyFile* out) {
    const auto lines = FileLines(path);
    size_t at = 0;
    auto next = [&]() -> const std::vector<std::string>& { return lines.at(at++); };
    ASSERT_FALSE(lines.empty()) << "cannot read " << path;
    const int vertices = std::stoi(next()[0]);
    for (int i = 0; i < vertices; ++i) {
        const auto& f = next();
        ASSERT_GE(f.size(), 3u);
        if (i == 0) out->firstNumber = std::stoi(f[0]) == 0 ? 0 : 1;
        ASSERT_EQ(std::stoi(f[0]), i + out->firstNumber);
        out->graph.AddPoint(std::strtod(f[1].c_str(), nullptr), std::strtod(f[2].c_str(), nullptr));
    }
    const int segments = std::stoi(next()[0]);
    for (int i = 0; i < segments; ++i) {
        const auto& f = next();
        ASSERT_GE(f.size(), 3u);
        out->graph.AddSegment(std::stoi(f[1]) - out->firstNumber,
                              std::stoi(f[2]) - out->firstNumber);
    }
    const int holes = std::stoi(next()[0]);
    for (int i = 0; i < holes; ++i) {
        const auto& f = next();
        ASSERT_GE(f.size(), 3u);
        out->graph.AddHole(std::strtod(f[1].c_str(), nullptr), std::strtod(f[2].c_str(), nullptr));
    }
}

PlanarGraph SquareWithInteriorPoints(int count, unsigned seed) {
    PlanarGraph g;
    g.AddRectangle(0, 0, 1000, 1000);
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> coordinate(1, 999);
    std::set<std::pair<double, double>> seen;
    while (static_cast<int>(seen.size()) < count) {
        const double x = coordinate(rng);
        const double y = coordinate(rng);
        if (seen.insert({x, y}).second) g.AddPoint(x, y);
    }
    return g;
}

PlanarGraph RandomNonCrossingGraph(unsigned seed) {
    PlanarGraph g = SquareWithInteriorPoints(3000, seed);
    std::mt19937 rng(seed + 1000);
    std::uniform_int_distribution<int> pick(4, g.Points() - 1);
    std::vector<std::pair<int, int>> kept;
    for (int attempt = 0; attempt < 1500; ++attempt) {
        const int a = pick(rng);
        std::vector<int> near;
        for (int j = 4; j < g.Points(); ++j) {
            const double dx = g.X(j) - g.X(a), dy = g.Y(j) - g.Y(a);
            if (j != a && dx * dx + dy * dy < 50.0 * 50.0) near.push_back(j);
        }
        if (near.empty()) continue;
        const int b = near[std::uniform_int_distribution<size_t>(0, near.size() - 1)(rng)];
        const bool crosses = std::any_of(kept.begin(), kept.end(), [&](const auto& s) {
            return Cross(g, a, b, s.first, s.second);
        });
        if (!crosses) kept.push_back({a, b});
    }
    for (const auto& s : kept) g.AddSegment(s.first, s.second);
    return g;
}

PlanarGraph RandomCrossingGraph(unsigned seed, int segments, int* crossings) {
    PlanarGraph g = SquareWithInteriorPoints(3000, seed);
    std::mt19937 rng(seed + 2000);
    std::uniform_int_distribution<int> pick(4, g.Points() - 1);
    std::vector<std::pair<int, int>> added;
    while (static_cast<int>(added.size()) < segments) {
        const int a = pick(rng), b = pick(rng);
        if (a != b) added.push_back({a, b});
    }
    *crossings = 0;
    for (size_t i = 0; i < added.size(); ++i) {
        for (size_t j = i + 1; j < added.size(); ++j) {
            if (Cross(g, added[i].first, added[i].second, added[j].first, added[j].second)) {
                ++*crossings;
            }
        }
    }
    for (const auto& s : added) g.AddSegment(s.first, s.second);
    return g;
}

}  // namespace selvora_test
