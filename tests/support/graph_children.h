// Graphs triangulated each in a process of its own, for the calls that may
// end their process (a fatal exit, a crash) or run on: how each call ended.
// On POSIX systems each call runs in a forked child. On Windows the test
// program starts itself again to triangulate the graphs one after another,
// reporting each result as it comes, and a new child takes over after the
// graph that ended the last one.
#pragma once

#include <string>
#include <vector>

#include "common/planar_graph.h"

namespace selvora_test {

struct Ending {
    bool returned = false;  // the call returned, with
    int result = 0;         // this result
    int exitStatus = -1;    // otherwise the process exited with this status,
    std::string crash;      // or crashed ("signal 11", "exception 0xc0000005"),
    bool ranOn = false;     // or ran past the time limit and was stopped
    std::string messages;   // what the call wrote on stderr
};

// How selvora_common::TessellateInBuffers(g) ended for each graph, each
// allowed `seconds`.
std::vector<Ending> TessellatedInChildren(const std::vector<selvora_common::PlanarGraph>& graphs,
                                          int seconds);

}  // namespace selvora_test
