// Fetching a 20 MB resource from a server on 127.0.0.1: OV_GetHtml into an
// OvString and LoadSymbolInternet into a file, against the curl command-line
// program fetching the same address to /dev/null (its process start included).
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <thread>

#include "selvora/foundation/ov_string.h"
#include "selvora/net/net.h"

extern char** environ;

namespace {

constexpr std::size_t kSize = 20 * 1024 * 1024;

// Serves one fixed text resource on 127.0.0.1, one connection at a time, to
// any GET; stops when destroyed.
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
        response_ = head + body_;

        listen_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (listen_ < 0 || ::bind(listen_, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
            ::listen(listen_, 16) != 0 ||
            ::getsockname(listen_, reinterpret_cast<sockaddr*>(&address), &size) != 0)
            return;
        url_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/resource.txt";
        thread_ = std::thread([this] { Run(); });
    }
    ~Server() {
        stop_ = true;
        if (thread_.joinable()) thread_.join();
        if (listen_ >= 0) ::close(listen_);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    bool Running() const { return thread_.joinable(); }
    const std::string& Body() const { return body_; }
    const std::string& Url() const { return url_; }

  private:
    void Run() {
        while (!stop_) {
            pollfd p{listen_, POLLIN, 0};
            if (::poll(&p, 1, 50) <= 0) continue;
            const int fd = ::accept4(listen_, nullptr, nullptr, SOCK_CLOEXEC);
            if (fd < 0) continue;
            if (ReadHead(fd)) Send(fd);
            ::close(fd);
        }
    }
    // Up to the blank line that ends a GET; gives up after 5 s of silence.
    bool ReadHead(int fd) {
        std::string head;
        char buffer[4096];
        while (head.find("\r\n\r\n") == std::string::npos) {
            pollfd p{fd, POLLIN, 0};
            if (stop_ || ::poll(&p, 1, 5000) <= 0) return false;
            const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
            if (n <= 0) return false;
            head.append(buffer, static_cast<std::size_t>(n));
        }
        return true;
    }
    void Send(int fd) {
        std::size_t done = 0;
        while (done < response_.size()) {
            const ssize_t n =
                ::send(fd, response_.data() + done, response_.size() - done, MSG_NOSIGNAL);
            if (n <= 0) return;
            done += static_cast<std::size_t>(n);
        }
    }

    std::string body_;
    std::string response_;
    std::string url_;
    int listen_ = -1;
    std::atomic<bool> stop_{false};
    std::thread thread_;
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
