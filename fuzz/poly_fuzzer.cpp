// Feeds arbitrary bytes to the selvora tool's .poly reader as a file, then
// checks what it accepted: every segment names an existing vertex and every
// coordinate is finite, as the triangulation step relies on.
#include <unistd.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "poly_file.h"

namespace {

std::string ScratchPath() {
    const char* tmp = std::getenv("TMPDIR");
    return std::string(tmp && *tmp ? tmp : "/tmp") + "/poly_fuzzer." + std::to_string(getpid()) +
           ".poly";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = ScratchPath();
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) return 0;
    const bool written = std::fwrite(data, 1, size, file) == size;
    if (std::fclose(file) != 0 || !written) return 0;

    selvora_common::PlanarGraph graph;
    std::string error;
    if (selvora_tool::ReadPolyFile(path, graph, error)) {
        for (const std::vector<double>* list : {&graph.xy, &graph.holes}) {
            for (double v : *list) {
                if (!std::isfinite(v)) std::abort();
            }
        }
        for (int end : graph.segments) {
            if (end < 0 || end >= graph.Points()) std::abort();
        }
    } else if (error.empty()) {
        std::abort();  // a refusal always says why
    }
    std::remove(path.c_str());
    return 0;
}
