// Fetching a 20 MB resource from a server on 127.0.0.1: OV_GetHtml into an
// OvString and LoadSymbolInternet into a file, against the curl command-line
// program fetching the same address to /dev/null (its process start included).
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>

#include "common/loopback_http.h"
#include "selvora/foundation/ov_string.h"
#include "selvora/net/net.h"

extern char** environ;

namespace {

constexpr std::size_t kSize = 20 * 1024 * 1024;

// A fixed text resource of kSize bytes (no NUL), served by the tests' loopback
// server to any GET of /resource.txt.
class Server {
  public:
    Server() : body_(kSize, ' ') {
        std::mt19937 generator(2024);
        for (char& c : body_) {
            const unsigned r = generator() % 96;
            c = r == 95 ? '\n' : static_cast<char>(' ' + r);  // text, no NUL
        }
        const std::string head = "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: " +
                                 std::to_string(kSize) + "\r\nConnection: close\r\n\r\n";
        server_.On("/resource.txt", selvora_common::Raw(head + body_));
        url_ = server_.Url("/resource.txt");
    }

    bool Running() const { return server_.Running(); }
    const std::string& Body() const { return body_; }
    const std::string& Url() const { return url_; }

  private:
    std::string body_;
    std::string url_;
    selvora_common::Server server_;
};

// The server and a scratch directory, shared by the benchmarks; both go away
// when the program ends.
struct Setting {
    Setting() {
        // Straight to the local server, whatever proxies the environment names.
        for (const char* name :
             {"http_proxy", "HTTP_PROXY", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
            ::unsetenv(name);
        ::setenv("no_proxy", "*", 1);
        char pattern[] = "/tmp/selvora-net-bench-XXXXXX";
        if (::mkdtemp(pattern)) dir = pattern;
    }
    ~Setting() {
        if (dir.empty()) return;
        ::unlink((dir + "/resource.txt").c_str());
        ::rmdir(dir.c_str());
    }
    Server server;
    std::string dir;
};

Setting& Shared() {
    static Setting setting;
    return setting;
}

// A fresh string each time, as a caller fetching one page has.
void BM_OvGetHtml(benchmark::State& state) {
    Setting& s = Shared();
    if (!s.server.Running()) return state.SkipWithError("no server");
    for (auto _ : state) {
        OvString page;
        // The last character in place and nothing after it; the whole text is
        // compared once below.
        if (OV_GetHtml(s.server.Url().c_str(), &page) != 1 ||
            page.GetAt(static_cast<int>(kSize) - 1) == 0 ||
            page.GetAt(static_cast<int>(kSize)) != 0) {
            state.SkipWithError("OV_GetHtml failed");
            break;
        }
        benchmark::DoNotOptimize(static_cast<const char*>(page));
    }
    OvString page;
    if (OV_GetHtml(s.server.Url().c_str(), &page) != 1 ||
        s.server.Body() != static_cast<const char*>(page))
        state.SkipWithError("OV_GetHtml gave the wrong text");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}

// A new file each time: the one from the time before is removed untimed, so
// that replacing (and the file system freeing) an old download is not counted.
void BM_LoadSymbolInternet(benchmark::State& state) {
    Setting& s = Shared();
    if (!s.server.Running() || s.dir.empty()) return state.SkipWithError("no server or directory");
    std::string url = s.server.Url();
    const std::string file = s.dir + "/resource.txt";
    for (auto _ : state) {
        state.PauseTiming();
        ::unlink(file.c_str());
        state.ResumeTiming();
        struct stat info;
        if (LoadSymbolInternet(url.data(), url.data(), file.c_str()) != 1 ||
            ::stat(file.c_str(), &info) != 0 || static_cast<std::size_t>(info.st_size) != kSize) {
            state.SkipWithError("LoadSymbolInternet failed");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}

// curl -q (no .curlrc) -s -f --noproxy '*' -o /dev/null URL, one process per fetch.
void BM_CurlToDevNull(benchmark::State& state) {
    Setting& s = Shared();
    if (!s.server.Running()) return state.SkipWithError("no server");
    const char* argv[] = {
        "curl", "-q", "-s", "-f", "--noproxy", "*", "-o", "/dev/null", s.server.Url().c_str(),
        nullptr};
    for (auto _ : state) {
        pid_t pid = -1;
        int status = 0;
        if (posix_spawnp(&pid, "curl", nullptr, nullptr, const_cast<char* const*>(argv), environ) !=
                0 ||
            ::waitpid(pid, &status, 0) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            state.SkipWithError("curl failed");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}

}  // namespace

BENCHMARK(BM_OvGetHtml)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_LoadSymbolInternet)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_CurlToDevNull)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
