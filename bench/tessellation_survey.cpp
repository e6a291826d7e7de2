// A survey of OV_doTessellationChecked over many random graphs of the kinds
// the triangulator alone fails on (common/graph_families.h): each result is
// checked with CheckTriangulation, and a table per family says how many
// graphs were triangulated, gave no triangle, gave each negative code, or
// came back invalid, and how many vertices were added.
//
//   tessellation_survey COUNT [FIRST_SEED]
//
// Graph k (0 <= k < COUNT) is of family k % 8 with seed FIRST_SEED + k / 8.
// Exits with status 1 when a graph gave a negative result or an invalid
// triangulation (the first few are named with their seeds), 2 on bad
// arguments.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "common/graph_families.h"
#include "common/planar_graph.h"
#include "common/triangulation_check.h"

namespace {

using selvora_common::PlanarGraph;

struct Family {
    const char* name;
    PlanarGraph (*make)(unsigned seed);
};

// Sizes vary with the seed, as in the tests.
const Family kFamilies[] = {
    {"grid, framed",
     [](unsigned s) { return selvora_common::GridSnappedSegments(s, 20 + int(s % 181), true); }},
    {"grid",
     [](unsigned s) { return selvora_common::GridSnappedSegments(s, 20 + int(s % 181), false); }},
    {"half grid", [](unsigned s) { return selvora_common::HalfGridSegments(s, 5 + int(s % 60)); }},
    {"mixed magnitudes",
     [](unsigned s) {
         return selvora_common::MixedMagnitudes(s, 10 + int(s % 60), 5 + int(s % 50));
     }},
    {"crossings at 1",
     [](unsigned s) { return selvora_common::RandomCrossings(s, 10 + int(s % 50), 1, s % 2); }},
    {"crossings at 1000",
     [](unsigned s) { return selvora_common::RandomCrossings(s, 10 + int(s % 50), 1000, s % 2); }},
    {"crossings at 1e6",
     [](unsigned s) { return selvora_common::RandomCrossings(s, 10 + int(s % 50), 1e6, s % 2); }},
    {"crossings at 1, dense",
     [](unsigned s) { return selvora_common::RandomCrossings(s, 100 + int(s % 100), 1, s % 2); }},
};
constexpr int kFamilyCount = int(sizeof kFamilies / sizeof kFamilies[0]);

struct Tally {
    long graphs = 0, triangulated = 0, empty = 0, invalid = 0, added = 0;
    std::map<int, long> negative;  // code -> graphs
    double seconds = 0;
};

bool ParseCount(const char* text, unsigned long* value) {
    char* end = nullptr;
    *value = std::strtoul(text, &end, 10);
    return end != text && *end == '\0';
}

}  // namespace

int main(int argc, char** argv) {
    unsigned long count = 0, first = 1;
    if (argc < 2 || argc > 3 || !ParseCount(argv[1], &count) ||
        (argc == 3 && !ParseCount(argv[2], &first))) {
        std::fprintf(stderr, "usage: %s COUNT [FIRST_SEED]\n", argv[0]);
        return 2;
    }
    Tally tally[kFamilyCount];
    std::vector<std::string> faults;
    long faultCount = 0;
    for (unsigned long k = 0; k < count; ++k) {
        const int family = int(k % kFamilyCount);
        const unsigned seed = unsigned(first + k / kFamilyCount);
        const PlanarGraph g = kFamilies[family].make(seed);
        Tally& t = tally[family];
        ++t.graphs;
        const auto start = std::chrono::steady_clock::now();
        const selvora_common::CheckedTriangulation r =
            selvora_common::TessellateCheckedInBuffers(g);
        t.seconds +=
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        std::string fault;
        if (r.result < 0) {
            ++t.negative[r.result];
            fault = "result " + std::to_string(r.result);
        } else {
            (r.result > 0 ? t.triangulated : t.empty) += 1;
            t.added += long(r.added.size() / 2);
            fault = selvora_common::CheckTriangulation(g, r.added, r.triangles);
            if (!fault.empty()) ++t.invalid;
        }
        if (!fault.empty()) {
            ++faultCount;
            if (faults.size() < 20) {
                faults.push_back(std::string(kFamilies[family].name) + ", seed " +
                                 std::to_string(seed) + ": " + fault);
            }
        }
    }

    std::printf("%-22s %8s %12s %8s %8s %10s %10s  %s\n", "family", "graphs", "triangulated",
                "empty", "invalid", "added", "ms/graph", "negative results by code");
    Tally total;
    for (int f = 0; f < kFamilyCount; ++f) {
        const Tally& t = tally[f];
        std::string codes;
        for (const auto& c : t.negative) {
            codes += (codes.empty() ? "" : ", ") + std::to_string(c.first) + ": " +
                     std::to_string(c.second);
            total.negative[c.first] += c.second;
        }
        std::printf("%-22s %8ld %12ld %8ld %8ld %10ld %10.2f  %s\n", kFamilies[f].name, t.graphs,
                    t.triangulated, t.empty, t.invalid, t.added,
                    t.graphs ? 1000 * t.seconds / double(t.graphs) : 0.0,
                    codes.empty() ? "none" : codes.c_str());
        total.graphs += t.graphs;
        total.triangulated += t.triangulated;
        total.empty += t.empty;
        total.invalid += t.invalid;
        total.added += t.added;
        total.seconds += t.seconds;
    }
    std::string codes;
    for (const auto& c : total.negative) {
        codes +=
            (codes.empty() ? "" : ", ") + std::to_string(c.first) + ": " + std::to_string(c.second);
    }
    std::printf("%-22s %8ld %12ld %8ld %8ld %10ld %10.2f  %s\n", "all", total.graphs,
                total.triangulated, total.empty, total.invalid, total.added,
                total.graphs ? 1000 * total.seconds / double(total.graphs) : 0.0,
                codes.empty() ? "none" : codes.c_str());
    for (const std::string& f : faults) std::printf("FAULT %s\n", f.c_str());
    if (faultCount > long(faults.size())) {
        std::printf("... and %ld more\n", faultCount - long(faults.size()));
    }
    return faultCount > 0 ? 1 : 0;
}
