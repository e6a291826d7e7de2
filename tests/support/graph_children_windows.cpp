#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "common/whole_file.h"
#include "support/graph_children.h"
#include "support/platform.h"
#include "support/scratch_dir.h"

namespace selvora_test {

using selvora_common::PlanarGraph;

namespace {

namespace fs = std::filesystem;

// The switch that makes the test program a child triangulating graphs.
constexpr const char* kChildSwitch = "--selvora-tessellate-graphs";
// Written on stderr before each graph, so that the parent knows whose
// messages follow.
constexpr const char* kGraphMark = "\x1egraph\x1e";

void Append(std::string& bytes, const void* data, std::size_t size) {
    bytes.append(static_cast<const char*>(data), size);
}

// Each graph as its three counts (32 bits each), then its values.
std::string Encoded(const std::vector<PlanarGraph>& graphs, std::size_t from) {
    std::string bytes;
    for (std::size_t i = from; i < graphs.size(); ++i) {
        const PlanarGraph& g = graphs[i];
        const std::int32_t counts[3] = {static_cast<std::int32_t>(g.xy.size()),
                                        static_cast<std::int32_t>(g.segments.size()),
                                        static_cast<std::int32_t>(g.holes.size())};
        Append(bytes, counts, sizeof counts);
        Append(bytes, g.xy.data(), g.xy.size() * sizeof(double));
        Append(bytes, g.segments.data(), g.segments.size() * sizeof(int));
        Append(bytes, g.holes.data(), g.holes.size() * sizeof(double));
    }
    return bytes;
}

template <typename T>
bool ReadValues(std::FILE* in, std::vector<T>* values, std::int32_t count) {
    if (count < 0) return false;
    values->resize(static_cast<std::size_t>(count));
    return std::fread(values->data(), sizeof(T), values->size(), in) == values->size();
}

bool ReadGraph(std::FILE* in, PlanarGraph* g) {
    std::int32_t counts[3];
    return std::fread(counts, sizeof counts, 1, in) == 1 && ReadValues(in, &g->xy, counts[0]) &&
           ReadValues(in, &g->segments, counts[1]) && ReadValues(in, &g->holes, counts[2]);
}

// The child: triangulates the graphs on its standard input one after
// another, each result on a line of standard output as soon as it is known.
int TriangulateTheGraphsOfStandardInput() {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);  // the messages as they are written
    PlanarGraph g;
    while (ReadGraph(stdin, &g)) {
        std::fputs(kGraphMark, stderr);
        std::fflush(stderr);
        const int result = selvora_common::TessellateInBuffers(g);
        std::printf("%d\n", result);
        std::fflush(stdout);
    }
    return 0;
}

// A file handle the child inherits as one of its standard streams.
HANDLE Inherited(const fs::path& path, bool write) {
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    return CreateFileW(path.c_str(), write ? GENERIC_WRITE : GENERIC_READ,
                       FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                       write ? CREATE_ALWAYS : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// What one child made of the graphs from `from` on.
struct ChildRun {
    std::vector<int> results;           // of the graphs it finished
    std::vector<std::string> messages;  // on stderr, for each graph it began
    bool started = false;
    DWORD startError = 0;  // when it did not start
    bool ranOn = false;
    DWORD exitCode = 0;
};

ChildRun RunChild(const std::string& input, const fs::path& dir, int seconds) {
    ChildRun run;
    // Files of this run's own: the last child's may still be closing.
    static int runs = 0;
    const std::string n = std::to_string(++runs);
    const fs::path in = dir / ("graphs-" + n + ".bin"), out = dir / ("results-" + n + ".txt"),
                   err = dir / ("stderr-" + n + ".txt");
    {
        std::ofstream file(in, std::ios::binary | std::ios::trunc);
        file.write(input.data(), static_cast<std::streamsize>(input.size()));
    }
    std::wstring command = L"\"" + ThisProgram().wstring() + L"\" ";
    command += std::wstring(kChildSwitch, kChildSwitch + std::strlen(kChildSwitch));
    PROCESS_INFORMATION process{};
    // A start that fails (seen under Wine, with other programs starting at
    // the same time) is tried again.
    bool started = false;
    for (int attempt = 0; attempt < 5 && !started; ++attempt) {
        if (attempt > 0) Sleep(200);
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = Inherited(in, false);
        startup.hStdOutput = Inherited(out, true);
        startup.hStdError = Inherited(err, true);
        started = CreateProcessW(nullptr, &command[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                                 &startup, &process);
        run.startError = started ? 0 : GetLastError();
        for (HANDLE h : {startup.hStdInput, startup.hStdOutput, startup.hStdError})
            if (h != INVALID_HANDLE_VALUE) CloseHandle(h);
    }
    if (!started) return run;
    run.started = true;
    // Stopped once no result has come for `seconds`.
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    std::uintmax_t reported = 0;
    while (WaitForSingleObject(process.hProcess, 20) == WAIT_TIMEOUT) {
        std::error_code error;
        const std::uintmax_t size = fs::file_size(out, error);
        if (!error && size != reported) {
            reported = size;
            deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
        } else if (std::chrono::steady_clock::now() > deadline) {
            TerminateProcess(process.hProcess, 0xDEAD);
            WaitForSingleObject(process.hProcess, INFINITE);
            run.ranOn = true;
        }
    }
    GetExitCodeProcess(process.hProcess, &run.exitCode);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);

    std::istringstream results(selvora_common::ReadWholeFile(out).value_or(""));
    for (int r; results >> r;) run.results.push_back(r);
    const std::string messages = selvora_common::ReadWholeFile(err).value_or("");
    const std::size_t markLength = std::strlen(kGraphMark);
    for (std::size_t at = messages.find(kGraphMark); at != std::string::npos;) {
        const std::size_t next = messages.find(kGraphMark, at + markLength);
        run.messages.push_back(messages.substr(at + markLength, next == std::string::npos
                                                                    ? std::string::npos
                                                                    : next - at - markLength));
        at = next;
    }
    std::error_code ignored;
    for (const fs::path& file : {in, out, err}) fs::remove(file, ignored);
    return run;
}

}  // namespace

std::vector<Ending> TessellatedInChildren(const std::vector<PlanarGraph>& graphs, int seconds) {
    std::vector<Ending> endings(graphs.size());
    const ScratchDir dir("selvora-graph-children");
    for (std::size_t next = 0; next < graphs.size();) {
        const ChildRun run = RunChild(Encoded(graphs, next), dir.Path(), seconds);
        const std::size_t finished = std::min(run.results.size(), graphs.size() - next);
        for (std::size_t k = 0; k <= finished && next + k < graphs.size(); ++k) {
            Ending& e = endings[next + k];
            if (k < run.messages.size()) e.messages = run.messages[k];
            if (k < finished) {
                e.returned = true;
                e.result = run.results[k];
                e.exitStatus = 0;
            } else if (!run.started) {
                e.crash = "the child did not start (error " + std::to_string(run.startError) + ")";
            } else if (run.ranOn) {
                e.ranOn = true;
            } else if (run.exitCode >= 0xC0000000) {
                char code[16];
                std::snprintf(code, sizeof code, "0x%08lx",
                              static_cast<unsigned long>(run.exitCode));
                e.crash = std::string("exception ") + code;
            } else {
                e.exitStatus = static_cast<int>(run.exitCode);
            }
        }
        next += finished + 1;
    }
    return endings;
}

}  // namespace selvora_test

// The test program's entry: a child when started with the switch, else
// GoogleTest's run of the tests.
int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], selvora_test::kChildSwitch) == 0)
        return selvora_test::TriangulateTheGraphsOfStandardInput();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
