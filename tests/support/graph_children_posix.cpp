#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "support/graph_children.h"

namespace selvora_test {

using selvora_common::PlanarGraph;

namespace {

Ending InChild(const PlanarGraph& g, int seconds) {
    int messages[2];
    int result[2];
    if (pipe(messages) != 0 || pipe(result) != 0) std::abort();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        alarm(static_cast<unsigned>(seconds));
        dup2(messages[1], 2);
        close(messages[0]);
        close(result[0]);
        const int r = selvora_common::TessellateInBuffers(g);
        if (write(result[1], &r, sizeof r) != sizeof r) _exit(3);
        _exit(0);
    }
    close(messages[1]);
    close(result[1]);
    Ending ending;
    char buffer[256];
    for (ssize_t n; (n = read(messages[0], buffer, sizeof buffer)) > 0;)
        ending.messages.append(buffer, static_cast<std::size_t>(n));
    ending.returned = read(result[0], &ending.result, sizeof ending.result) ==
                      static_cast<ssize_t>(sizeof ending.result);
    close(messages[0]);
    close(result[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status)) ending.exitStatus = WEXITSTATUS(status);
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) ending.ranOn = true;
    if (WIFSIGNALED(status) && WTERMSIG(status) != SIGALRM)
        ending.crash = "signal " + std::to_string(WTERMSIG(status));
    if (ending.returned && ending.exitStatus != 0) ending.returned = false;
    return ending;
}

}  // namespace

std::vector<Ending> TessellatedInChildren(const std::vector<PlanarGraph>& graphs, int seconds) {
    std::vector<Ending> endings;
    endings.reserve(graphs.size());
    for (const PlanarGraph& g : graphs) endings.push_back(InChild(g, seconds));
    return endings;
}

}  // namespace selvora_test
