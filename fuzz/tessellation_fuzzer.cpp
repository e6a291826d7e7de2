// Feeds OV_doTessellation graphs made from arbitrary bytes (graph_decoder.h):
// points of every magnitude the interface accepts, points on a small grid,
// raw doubles it refuses, segments naming any vertex or none, hole seeds
// anywhere.
//
// A fatal exit the interface defines (its message boxes on stderr, then
// status 1) is a normal end of a call; a crash, a hang, a sanitizer report or
// a leak is a finding. So each input is run first in a child process: when
// the child ends with a defined fatal exit, the input is done; otherwise it is
// run again here, where libFuzzer sees its coverage and the sanitizers its
// memory, and where a crash of the child happens again.
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "common/planar_graph.h"
#include "graph_decoder.h"
#include "selvora/selvora.h"

namespace {

using Graph = selvora_common::PlanarGraph;
using selvora_common::TessellateInBuffers;
using selvora_fuzz::Decode;

// The message boxes of the fatal conditions, as one call writes them.
bool IsDefinedFatalMessage(const std::string& text) {
    if (text == "错误: 顶点数小于3\n" || text == "错误:  内存不足\n" || text == "网格重组错误\n")
        return true;
    for (int k = 1; k <= 7; ++k) {
        if (text == "内部错误 00" + std::to_string(k) + "\n网格重组错误\n") return true;
    }
    return false;
}

// True when the call ends in a child process with a defined fatal exit.
bool EndsWithDefinedFatalExit(const Graph& g) {
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) return false;
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) return false;
    if (child == 0) {
        alarm(30);
        dup2(pipeEnds[1], 2);
        close(pipeEnds[0]);
        // The child ends with the status the library exits with; libFuzzer's
        // own exit handler, inherited from this process, would take it for a
        // finding.
        on_exit([](int exitStatus, void*) { _exit(exitStatus); }, nullptr);
        TessellateInBuffers(g);
        _exit(0);
    }
    close(pipeEnds[1]);
    // libFuzzer's timer interrupts the waits here: they are taken up again.
    std::string text;
    char buffer[512];
    for (;;) {
        const ssize_t n = read(pipeEnds[0], buffer, sizeof buffer);
        if (n > 0) {
            text.append(buffer, n);
        } else if (n == 0 || errno != EINTR) {
            break;
        }
    }
    close(pipeEnds[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return false;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 1) {
        // Not a defined end: said here, then run again in this process.
        std::fprintf(stderr, "the child process ended with %s %d:\n%s\n",
                     WIFEXITED(status) ? "status" : "signal",
                     WIFEXITED(status) ? WEXITSTATUS(status) : WTERMSIG(status), text.c_str());
        return false;
    }
    if (!IsDefinedFatalMessage(text)) {
        std::fprintf(stderr, "a fatal exit with other messages:\n%s", text.c_str());
        std::abort();
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Graph g = Decode(data, size);
    if (EndsWithDefinedFatalExit(g)) return 0;
    if (TessellateInBuffers(g) < 0) std::abort();  // a count is never negative
    return 0;
}
