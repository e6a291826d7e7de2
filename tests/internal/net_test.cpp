// The HTTP exchanges against servers on 127.0.0.1 that the tests start
// themselves: a small scripted server that records every request byte and
// answers canned responses, the same behind TLS with certificates the tests
// make, and python3's http.server.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "net/exchanges.h"
#include "net/http.h"
#include "selvora/net/net.h"
#include "support/loopback_http.h"
#include "support/scratch_dir.h"
#include "support/tls_loopback.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using namespace selvora_test;

// ---------------------------------------------------------------------------
// python3 -m http.server, serving a directory on 127.0.0.1

class PythonServer {
  public:
    explicit PythonServer(const fs::path& directory) {
        const int probe = BoundSocket(&port_);
        if (probe < 0) return;
        ::close(probe);  // the port is free; the server takes it next
        const std::string port = std::to_string(port_);
        const std::string dir = directory.string();
        const char* argv[] = {"python3",   "-m",          "http.server", port.c_str(), "--bind",
                              "127.0.0.1", "--directory", dir.c_str(),   nullptr};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
        const int spawned = posix_spawnp(&pid_, "python3", &actions, nullptr,
                                         const_cast<char* const*>(argv), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (spawned != 0) {
            pid_ = -1;
            return;
        }
        // Up to 15 s for it to start listening.
        for (int attempt = 0; attempt < 300 && !ready_; ++attempt) {
            if (::waitpid(pid_, nullptr, WNOHANG) == pid_) {
                pid_ = -1;
                return;
            }
            ready_ = CanConnect(port_);
            if (!ready_) std::this_thread::sleep_for(50ms);
        }
    }
    ~PythonServer() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGTERM);
        ::waitpid(pid_, nullptr, 0);
    }
    PythonServer(const PythonServer&) = delete;
    PythonServer& operator=(const PythonServer&) = delete;

    bool Ready() const { return ready_; }
    std::string Url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(port_) + path;
    }

  private:
    pid_t pid_ = -1;
    std::uint16_t port_ = 0;
    bool ready_ = false;
};

// ---------------------------------------------------------------------------
// Requests as the server saw them

struct Message {
    std::string start;  // the request line
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
};

std::string Lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

Message Parse(const std::string& raw) {
    Message m;
    const std::size_t end = raw.find("\r\n\r\n");
    if (end == std::string::npos) return m;
    m.body = raw.substr(end + 4);
    const std::string head = raw.substr(0, end + 2);
    std::size_t at = head.find("\r\n");
    m.start = head.substr(0, at);
    for (at += 2; at < head.size();) {
        const std::size_t next = head.find("\r\n", at);
        const std::string line = head.substr(at, next - at);
        const std::size_t colon = line.find(':');
        std::string value = colon == std::string::npos ? "" : line.substr(colon + 1);
        value.erase(0, value.find_first_not_of(' '));
        m.headers.emplace_back(line.substr(0, colon), value);
        at = next + 2;
    }
    return m;
}

int Count(const Message& m, const std::string& name) {
    return static_cast<int>(std::count_if(m.headers.begin(), m.headers.end(), [&](const auto& h) {
        return Lower(h.first) == Lower(name);
    }));
}

std::string Value(const Message& m, const std::string& name) {
    for (const auto& h : m.headers)
        if (Lower(h.first) == Lower(name)) return h.second;
    return "(absent)";
}

// The agent and accept lines that every exchange sends, once each.
void ExpectCommonHeaders(const Message& m) {
    EXPECT_EQ(1, Count(m, "User-Agent"));
    EXPECT_EQ("Orvek", Value(m, "User-Agent"));
    EXPECT_EQ(1, Count(m, "Accept"));
    EXPECT_EQ("*/*", Value(m, "Accept"));
}

void ExpectPlainGet(const std::string& raw, const std::string& path) {
    const Message m = Parse(raw);
    EXPECT_EQ("GET " + path + " HTTP/1.1", m.start);
    ExpectCommonHeaders(m);
    EXPECT_EQ(0, Count(m, "Content-Length"));
    EXPECT_EQ(0, Count(m, "Transfer-Encoding"));
    EXPECT_EQ("", m.body);
}

// ---------------------------------------------------------------------------
// Bodies and files

std::string RandomBytes(std::size_t n, unsigned seed) {
    std::mt19937 generator(seed);
    std::string bytes(n, '\0');
    for (char& c : bytes) c = static_cast<char>(generator() & 0xFF);
    return bytes;
}

// Printable characters and line breaks, no NUL.
std::string RandomText(std::size_t n, unsigned seed) {
    std::mt19937 generator(seed);
    std::string text(n, ' ');
    for (char& c : text) {
        const unsigned r = generator() % 96;
        c = r == 95 ? '\n' : static_cast<char>(' ' + r);
    }
    return text;
}

// The text a page must become: the body in 1023-byte slices from its start,
// each slice up to its first NUL.
std::string ExpectedPage(const std::string& body) {
    std::string text;
    for (std::size_t at = 0; at < body.size(); at += 1023) {
        const std::string slice = body.substr(at, 1023);
        text += slice.substr(0, slice.find('\0'));
    }
    return text;
}

std::string Text(const OvString& s) {
    return std::string(static_cast<const char*>(s), static_cast<std::size_t>(s.GetLength()));
}

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteFile(const fs::path& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::vector<std::string> Names(const fs::path& dir) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

using Listing = std::vector<std::string>;

// ---------------------------------------------------------------------------
// Matrices

// Sixteen doubles with distinct bit patterns, row by row (python3:
// struct.unpack('<Q', struct.pack('<d', x)) of 1.0, 0.1, -2.0, 1/3,
// 3.141592653589793, 1e300, -0.0, 5e-324, 2.5, -7.75, 123456.789, 1e-10, 0.5,
// inf, 6.02214076e23, -1.7976931348623157e308).
const std::vector<std::uint64_t> kWords = {
    0x3FF0000000000000, 0x3FB999999999999A, 0xC000000000000000, 0x3FD5555555555555,
    0x400921FB54442D18, 0x7E37E43C8800759C, 0x8000000000000000, 0x0000000000000001,
    0x4004000000000000, 0xC01F000000000000, 0x40FE240C9FBE76C9, 0x3DDB7CDFD9D7BDBB,
    0x3FE0000000000000, 0x7FF0000000000000, 0x44DFE185CA57C517, 0xFFEFFFFFFFFFFFFF};

// Each word as 8 bytes, least significant first.
std::string LittleEndian(const std::vector<std::uint64_t>& words) {
    std::string bytes;
    for (std::uint64_t w : words)
        for (int k = 0; k < 8; ++k) bytes.push_back(static_cast<char>((w >> (8 * k)) & 0xFF));
    return bytes;
}

std::uint64_t Bits(double d) {
    std::uint64_t bits;
    std::memcpy(&bits, &d, sizeof bits);
    return bits;
}

void ExpectMatrixWords(const Matrix3d& m, const std::vector<std::uint64_t>& words) {
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(words[i], Bits(m.m[i / 4][i % 4])) << "element " << i / 4 << "," << i % 4;
}

// A matrix no exchange would produce: element i holds 1000 + i.
Matrix3d Sentinel() {
    Matrix3d m;
    for (int i = 0; i < 16; ++i) m.m[i / 4][i % 4] = 1000.0 + i;
    return m;
}

void ExpectSentinel(const Matrix3d& m) {
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(1000.0 + i, m.m[i / 4][i % 4]) << "element " << i / 4 << "," << i % 4;
}

// ---------------------------------------------------------------------------
// Fixtures

class Net : public ::testing::Test {
  protected:
    void SetUp() override {
        // The exchanges honour the environment's proxy settings; nothing may
        // stand between them and the local servers.
        for (const char* name :
             {"http_proxy", "HTTP_PROXY", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
            ::unsetenv(name);
        ::setenv("no_proxy", "*", 1);
        ::setenv("NO_PROXY", "*", 1);
        ASSERT_TRUE(server_.Running());
        ASSERT_FALSE(dir_.Path().empty());
    }
    std::string Url(const std::string& path) const { return server_.Url(path); }

    // The exchanges as a caller makes them; once a test has changed the
    // conditions (the machine offline, shorter limits), the same exchanges
    // under those.
    bool Changed() const {
        const selvora::net::Conditions defaults;
        return conditions_.connectivity != defaults.connectivity ||
               conditions_.stallSeconds != defaults.stallSeconds ||
               conditions_.connectTimeoutMs != defaults.connectTimeoutMs;
    }
    int Fetch(const std::string& url, OvString* out) {
        if (Changed()) return selvora::net::GetHtml(url.c_str(), out, conditions_);
        return OV_GetHtml(url.c_str(), out);
    }
    // The file exchange with the server's own address as the online address.
    int Load(const std::string& path, const char* filePath) {
        std::string online = Url("/");
        std::string url = Url(path);
        if (Changed())
            return selvora::net::LoadSymbol(online.data(), url.data(), filePath, conditions_);
        return LoadSymbolInternet(online.data(), url.data(), filePath);
    }
    int Load(const std::string& path, const fs::path& filePath) {
        return Load(path, filePath.c_str());
    }
    int PostMatrix(const std::string& path, const std::string& data, Matrix3d* result) {
        std::string online = Url("/");
        std::string url = Url(path);
        std::string copy = data;  // the exchange takes non-const bytes
        unsigned char* bytes = reinterpret_cast<unsigned char*>(copy.data());
        const int length = static_cast<int>(copy.size());
        if (Changed())
            return selvora::net::GetMatrix(online.data(), url.data(), bytes, length, result,
                                           conditions_);
        return GetMatrixInternet(online.data(), url.data(), bytes, length, result);
    }

    // The machine offline; asked to go online, it does or does not.
    void GoOffline(bool goingOnlineWorks) {
        machine_.goingOnlineWorks = goingOnlineWorks;
        conditions_.connectivity = &machine_;
    }

    struct OfflineMachine : selvora::net::Connectivity {
        bool goingOnlineWorks = false;
        bool IsOffline() const override { return true; }
        bool GoOnline(const char*) const override { return goingOnlineWorks; }
    };

    Server server_;
    selvora_test::ScratchDir dir_{"selvora-net"};
    OfflineMachine machine_;
    selvora::net::Conditions conditions_;
};

class PageFetch : public Net {};
class SymbolDownload : public Net {};
class MatrixPost : public Net {};
class OnlineCheck : public Net {};
class PythonHttpServer : public Net {};

// Responses whose status line (or head) is not HTTP that a client can accept.
const std::vector<std::string> kMalformed = {
    "HTTP/1.1 abc Broken\r\nContent-Length: 4\r\nConnection: close\r\n\r\nbody",
    "HTTP/1.1 2000 OK\r\nContent-Length: 4\r\nConnection: close\r\n\r\nbody",
    "HTTP/1.1200 OK\r\nContent-Length: 4\r\nConnection: close\r\n\r\nbody",
    "HTTP/7.1 200 OK\r\nContent-Length: 4\r\nConnection: close\r\n\r\nbody",
    "SMTP ready 200\r\n\r\nbody",
    "",                                               // closed without a word
    "HTTP/1.1 200 OK\r\nContent-Length: 4\r\nConne",  // closed inside the head
};

// ---------------------------------------------------------------------------
// OV_GetHtml

TEST_F(PageFetch, GetsTheBodyWithOneAgentAndOneAcceptLine) {
    server_.On("/page.html", Reply(200, "<html>hello</html>"));
    OvString out("before");
    EXPECT_EQ(1, OV_GetHtml(Url("/page.html").c_str(), &out));
    EXPECT_EQ("<html>hello</html>", Text(out));
    const auto requests = server_.Requests();
    ASSERT_EQ(1u, requests.size());
    ExpectPlainGet(requests[0], "/page.html");
}

TEST_F(PageFetch, ReplacesALongerOldText) {
    server_.On("/short", Reply(200, "abc"));
    server_.On("/empty", Reply(200, ""));
    OvString out(std::string(5000, 'z').c_str());
    EXPECT_EQ(1, OV_GetHtml(Url("/short").c_str(), &out));
    EXPECT_EQ("abc", Text(out));
    out = std::string(3000, 'q').c_str();
    EXPECT_EQ(1, OV_GetHtml(Url("/empty").c_str(), &out));
    EXPECT_EQ("", Text(out));
}

TEST_F(PageFetch, FailedStatusLeavesTheTextAlone) {
    server_.On("/missing", Reply(404, "no such page"));
    server_.On("/broken", Reply(500, "server trouble"));
    OvString out("keep me");
    EXPECT_EQ(0, OV_GetHtml(Url("/missing").c_str(), &out));
    EXPECT_EQ("keep me", Text(out));
    EXPECT_EQ(0, OV_GetHtml(Url("/broken").c_str(), &out));
    EXPECT_EQ("keep me", Text(out));
    EXPECT_EQ(0, OV_GetHtml(Url("/unrouted").c_str(), &out));  // the server's own 404
    EXPECT_EQ("keep me", Text(out));
}

TEST_F(PageFetch, EmptyBodyGivesEmptyText) {
    server_.On("/empty", Reply(200, ""));
    server_.On("/nothing", Reply(204, ""));
    OvString out("not empty");
    EXPECT_EQ(1, OV_GetHtml(Url("/empty").c_str(), &out));
    EXPECT_EQ("", Text(out));
    out = "not empty either";
    EXPECT_EQ(1, OV_GetHtml(Url("/nothing").c_str(), &out));
    EXPECT_EQ("", Text(out));
}

TEST_F(PageFetch, NullArgumentsFail) {
    server_.On("/page", Reply(200, "text"));
    EXPECT_EQ(0, OV_GetHtml(Url("/page").c_str(), nullptr));
    OvString out("keep");
    EXPECT_EQ(0, OV_GetHtml(nullptr, &out));
    EXPECT_EQ("keep", Text(out));
}

TEST_F(PageFetch, TextBodiesAroundTheSliceSize) {
    for (std::size_t size :
         {std::size_t{1}, std::size_t{1022}, std::size_t{1023}, std::size_t{1024},
          std::size_t{2046}, std::size_t{2047}, std::size_t{5000000}}) {
        const std::string body = RandomText(size, static_cast<unsigned>(size));
        const std::string path = "/text" + std::to_string(size);
        server_.On(path, Reply(200, body));
        OvString out("old");
        EXPECT_EQ(1, OV_GetHtml(Url(path).c_str(), &out)) << size;
        EXPECT_TRUE(Text(out) == body) << size << " bytes came back as " << out.GetLength();
    }
}

TEST_F(PageFetch, EachSliceEndsAtItsFirstNul) {
    struct Case {
        std::string body;
        std::string text;  // written out by hand
    };
    const std::vector<Case> cases = {
        // NUL early in the first slice; the second slice starts at byte 1023.
        {std::string("ab\0", 3) + std::string(1020, 'x') + std::string("cd\0ef", 5), "abcd"},
        // NUL as the last byte of the first slice.
        {std::string(1022, 'y') + std::string("\0z", 2), std::string(1022, 'y') + "z"},
        // NUL as the first byte of the second slice.
        {std::string(1023, 'w') + std::string("\0tail", 5), std::string(1023, 'w')},
        // A body of exactly one slice, NUL first.
        {std::string("\0", 1) + std::string(1022, 'v'), ""},
        // NULs only.
        {std::string(3000, '\0'), ""},
    };
    int index = 0;
    for (const Case& c : cases) {
        const std::string path = "/nul" + std::to_string(index++);
        server_.On(path, Reply(200, c.body));
        OvString out("old");
        EXPECT_EQ(1, OV_GetHtml(Url(path).c_str(), &out)) << path;
        EXPECT_EQ(c.text, Text(out)) << path;
    }
}

TEST_F(PageFetch, BinaryBodiesFollowTheSliceRule) {
    for (std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{1023}, std::size_t{1024},
                             std::size_t{5000000}}) {
        std::string body = RandomBytes(size, 7u + static_cast<unsigned>(size));
        if (size >= 1024) {
            body[5] = '\0';    // sure to cut the first slice
            body[1023] = 'N';  // and to keep the first byte of the second
        }
        const std::string path = "/binary" + std::to_string(size);
        server_.On(path, Reply(200, body));
        OvString out("old");
        EXPECT_EQ(1, OV_GetHtml(Url(path).c_str(), &out)) << size;
        const std::string expected = ExpectedPage(body);
        EXPECT_TRUE(Text(out) == expected)
            << size << ": " << out.GetLength() << " characters, expected " << expected.size();
    }
}

TEST_F(PageFetch, ChunkedResponseIsSlicedByBodyOffset) {
    // The transport delivers "ab\0c" and "de" separately; both lie in the first
    // 1023-byte slice, so the text ends at the NUL.
    server_.On("/small", Chunked({std::string("ab\0c", 4), "de"}));
    OvString out("old");
    EXPECT_EQ(1, OV_GetHtml(Url("/small").c_str(), &out));
    EXPECT_EQ("ab", Text(out));

    const std::vector<std::string> chunks = {"x",
                                             RandomText(700, 1),
                                             RandomBytes(2000, 2),
                                             std::string("\0\0", 2),
                                             RandomText(1500, 3),
                                             RandomBytes(5000, 4)};
    std::string body;
    for (const std::string& c : chunks) body += c;
    server_.On("/large", Chunked(chunks));
    EXPECT_EQ(1, OV_GetHtml(Url("/large").c_str(), &out));
    EXPECT_EQ(ExpectedPage(body), Text(out));
}

TEST_F(PageFetch, BodySplitAcrossWrites) {
    const std::string body = RandomText(3000, 11);
    server_.On("/split",
               Pieces(Head(200, Length(body.size())), {body.substr(0, 1), body.substr(1, 1100),
                                                       body.substr(1101, 10), body.substr(1111)}));
    OvString out;
    EXPECT_EQ(1, OV_GetHtml(Url("/split").c_str(), &out));
    EXPECT_EQ(body, Text(out));
}

TEST_F(PageFetch, BodyEndedByClosingTheConnection) {
    server_.On("/old", Raw("HTTP/1.0 200 OK\r\n\r\nno length given"));
    OvString out;
    EXPECT_EQ(1, OV_GetHtml(Url("/old").c_str(), &out));
    EXPECT_EQ("no length given", Text(out));
}

TEST_F(PageFetch, FollowsRedirects) {
    server_.On("/permanent", Redirect(301, "/target"));
    server_.On("/found", Redirect(302, Url("/target")));
    server_.On("/target", Reply(200, "arrived"));
    OvString out;
    EXPECT_EQ(1, OV_GetHtml(Url("/permanent").c_str(), &out));
    EXPECT_EQ("arrived", Text(out));
    out = "";
    EXPECT_EQ(1, OV_GetHtml(Url("/found").c_str(), &out));
    EXPECT_EQ("arrived", Text(out));
    const auto requests = server_.Requests();
    ASSERT_EQ(4u, requests.size());
    ExpectPlainGet(requests[0], "/permanent");
    ExpectPlainGet(requests[1], "/target");
    ExpectPlainGet(requests[2], "/found");
    ExpectPlainGet(requests[3], "/target");
}

TEST_F(PageFetch, RedirectToAMissingPageFails) {
    server_.On("/away", Redirect(302, "/gone"));
    OvString out("keep");
    EXPECT_EQ(0, OV_GetHtml(Url("/away").c_str(), &out));
    EXPECT_EQ("keep", Text(out));
}

TEST_F(PageFetch, EndlessRedirectsFail) {
    server_.On("/loop", Redirect(302, "/loop"));
    OvString out("keep");
    EXPECT_EQ(0, OV_GetHtml(Url("/loop").c_str(), &out));
    EXPECT_EQ("keep", Text(out));
    // The first request and at most 30 redirects.
    EXPECT_LE(server_.Requests().size(), 31u);
}

TEST_F(PageFetch, MalformedResponsesFail) {
    for (std::size_t i = 0; i < kMalformed.size(); ++i) {
        const std::string path = "/malformed" + std::to_string(i);
        server_.On(path, Raw(kMalformed[i]));
        OvString out("keep");
        EXPECT_EQ(0, OV_GetHtml(Url(path).c_str(), &out)) << kMalformed[i];
        EXPECT_EQ("keep", Text(out)) << kMalformed[i];
    }
}

TEST_F(PageFetch, ResetInTheBodyFails) {
    const std::string body = RandomText(200000, 5);
    server_.On("/reset", ResetAfter(body.size(), body.substr(0, 50000)));
    server_.On("/short", CloseAfter(body.size(), body.substr(0, 50000)));
    for (const char* path : {"/reset", "/short"}) {
        OvString out;
        EXPECT_EQ(0, OV_GetHtml(Url(path).c_str(), &out)) << path;
        // Whatever text was set is the start of the body.
        EXPECT_EQ(0u, body.compare(0, static_cast<std::size_t>(out.GetLength()), Text(out)))
            << path;
    }
}

TEST_F(PageFetch, StalledTransferFails) {
    conditions_.stallSeconds = 2;
    server_.On("/stall", StallAfter(10000, "abc"));
    OvString out;
    EXPECT_EQ(0, Fetch(Url("/stall"), &out));
}

TEST_F(PageFetch, ClosedPortFails) {
    std::uint16_t port = 0;
    const int closed = BoundSocket(&port);  // bound, never listening: refused
    ASSERT_GE(closed, 0);
    OvString out("keep");
    EXPECT_EQ(0, OV_GetHtml(("http://127.0.0.1:" + std::to_string(port) + "/").c_str(), &out));
    EXPECT_EQ("keep", Text(out));
    ::close(closed);
}

TEST_F(PageFetch, ConnectTimeOutFails) {
    // A listener whose one-place queue is already taken by a connection it
    // never accepts: a further connection attempt goes unanswered.
    std::uint16_t port = 0;
    const int listener = BoundSocket(&port);
    ASSERT_GE(listener, 0);
    ASSERT_EQ(0, ::listen(listener, 0));
    const int filler = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = Loopback(port);
    ASSERT_EQ(0, ::connect(filler, reinterpret_cast<sockaddr*>(&address), sizeof address));
    std::this_thread::sleep_for(50ms);

    conditions_.connectTimeoutMs = 300;
    OvString out("keep");
    EXPECT_EQ(0, Fetch(("http://127.0.0.1:" + std::to_string(port) + "/"), &out));
    EXPECT_EQ("keep", Text(out));
    ::close(filler);
    ::close(listener);
}

TEST_F(PageFetch, LargePage) {
    const std::string body = RandomText(20 * 1024 * 1024, 20);
    server_.On("/large", Reply(200, body));
    OvString out;
    EXPECT_EQ(1, OV_GetHtml(Url("/large").c_str(), &out));
    EXPECT_EQ(body.size(), static_cast<std::size_t>(out.GetLength()));
    EXPECT_TRUE(Text(out) == body);
}

TEST_F(PageFetch, MakesNoOnlineCheck) {
    GoOffline(false);
    server_.On("/page", Reply(200, "still here"));
    OvString out;
    EXPECT_EQ(1, Fetch(Url("/page"), &out));
    EXPECT_EQ("still here", Text(out));
}

// ---------------------------------------------------------------------------
// LoadSymbolInternet

TEST_F(SymbolDownload, WritesTheBodyByteForByte) {
    for (std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{1023}, std::size_t{1024},
                             std::size_t{5000000}}) {
        const std::string body = RandomBytes(size, 100u + static_cast<unsigned>(size));
        const std::string path = "/symbol" + std::to_string(size);
        server_.On(path, Reply(200, body));
        const fs::path file = dir_.Path() / ("symbol" + std::to_string(size) + ".bin");
        EXPECT_EQ(1, Load(path, file)) << size;
        EXPECT_TRUE(ReadFile(file) == body) << size;
    }
    // Bodies with NULs arrived whole, and nothing else was left behind.
    EXPECT_EQ((Listing{"symbol0.bin", "symbol1.bin", "symbol1023.bin", "symbol1024.bin",
                       "symbol5000000.bin"}),
              Names(dir_.Path()));
    const auto requests = server_.Requests();
    ASSERT_EQ(5u, requests.size());
    ExpectPlainGet(requests[0], "/symbol0");
    ExpectPlainGet(requests[4], "/symbol5000000");
}

TEST_F(SymbolDownload, ReplacesAnExistingFile) {
    const fs::path file = dir_.Path() / "sym.dat";
    WriteFile(file, std::string(10000, 'o'));
    const std::string body = RandomBytes(3000, 9);
    server_.On("/sym", Reply(200, body));
    EXPECT_EQ(1, Load("/sym", file));
    EXPECT_TRUE(ReadFile(file) == body);
    EXPECT_EQ(Listing{"sym.dat"}, Names(dir_.Path()));

    server_.On("/empty", Reply(200, ""));
    EXPECT_EQ(1, Load("/empty", file));
    EXPECT_EQ("", ReadFile(file));
    EXPECT_TRUE(fs::is_regular_file(file));
}

TEST_F(SymbolDownload, NoContentMakesAnEmptyFile) {
    server_.On("/none", Reply(204, ""));
    const fs::path file = dir_.Path() / "none.sym";
    EXPECT_EQ(1, Load("/none", file));
    EXPECT_TRUE(fs::is_regular_file(file));
    EXPECT_EQ(0u, fs::file_size(file));
}

TEST_F(SymbolDownload, NullPathWritesNothing) {
    server_.On("/sym", Reply(200, RandomBytes(100000, 3)));
    EXPECT_EQ(1, Load("/sym", nullptr));
    EXPECT_EQ(Listing{}, Names(dir_.Path()));
    const auto requests = server_.Requests();
    ASSERT_EQ(1u, requests.size());
    ExpectPlainGet(requests[0], "/sym");

    server_.On("/missing", Reply(404, "no"));
    EXPECT_EQ(0, Load("/missing", nullptr));
}

TEST_F(SymbolDownload, FailedStatusCreatesNoFile) {
    server_.On("/missing", Reply(404, "not found body"));
    server_.On("/broken", Reply(500, "trouble"));
    const fs::path file = dir_.Path() / "never.sym";
    EXPECT_EQ(0, Load("/missing", file));
    EXPECT_EQ(0, Load("/broken", file));
    EXPECT_EQ(Listing{}, Names(dir_.Path()));

    const fs::path existing = dir_.Path() / "existing.sym";
    WriteFile(existing, "old symbol");
    EXPECT_EQ(0, Load("/missing", existing));
    EXPECT_EQ("old symbol", ReadFile(existing));
    EXPECT_EQ(Listing{"existing.sym"}, Names(dir_.Path()));
}

TEST_F(SymbolDownload, UnwritablePathsFail) {
    server_.On("/sym", Reply(200, "symbol data"));
    server_.On("/empty", Reply(200, ""));
    const fs::path sub = dir_.Path() / "sub";
    fs::create_directory(sub);
    EXPECT_EQ(0, Load("/sym", sub));
    EXPECT_EQ(0, Load("/empty", sub));
    EXPECT_TRUE(fs::is_directory(sub));
    EXPECT_EQ(Listing{"sub"}, Names(dir_.Path()));
    EXPECT_EQ(Listing{}, Names(sub));

    const fs::path nowhere = dir_.Path() / "missing" / "file.sym";
    EXPECT_EQ(0, Load("/sym", nowhere));
    EXPECT_EQ(0, Load("/empty", nowhere));
    EXPECT_EQ(Listing{"sub"}, Names(dir_.Path()));
}

TEST_F(SymbolDownload, InterruptedTransferKeepsTheOldFile) {
    const std::string body = RandomBytes(300000, 12);
    server_.On("/reset", ResetAfter(body.size(), body.substr(0, 100000)));
    server_.On("/short", CloseAfter(body.size(), body.substr(0, 100000)));
    const fs::path file = dir_.Path() / "kept.sym";
    WriteFile(file, "the old symbol");
    for (const char* path : {"/reset", "/short"}) {
        EXPECT_EQ(0, Load(path, file)) << path;
        EXPECT_EQ("the old symbol", ReadFile(file)) << path;
        EXPECT_EQ(Listing{"kept.sym"}, Names(dir_.Path())) << path;
    }
    const fs::path fresh = dir_.Path() / "fresh.sym";
    EXPECT_EQ(0, Load("/reset", fresh));
    EXPECT_EQ(Listing{"kept.sym"}, Names(dir_.Path()));
}

TEST_F(SymbolDownload, StalledTransferKeepsTheOldFile) {
    conditions_.stallSeconds = 2;
    server_.On("/stall", StallAfter(10000, "abc"));
    const fs::path file = dir_.Path() / "kept.sym";
    WriteFile(file, "the old symbol");
    EXPECT_EQ(0, Load("/stall", file));
    EXPECT_EQ("the old symbol", ReadFile(file));
    EXPECT_EQ(Listing{"kept.sym"}, Names(dir_.Path()));
}

TEST_F(SymbolDownload, ChunkedAndRedirectedBodies) {
    const std::vector<std::string> chunks = {RandomBytes(1, 1), RandomBytes(4000, 2),
                                             std::string("\0\0\0", 3), RandomBytes(70000, 3)};
    std::string body;
    for (const std::string& c : chunks) body += c;
    server_.On("/chunked", Chunked(chunks));
    server_.On("/moved", Redirect(301, "/chunked"));
    const fs::path file = dir_.Path() / "chunked.sym";
    EXPECT_EQ(1, Load("/chunked", file));
    EXPECT_TRUE(ReadFile(file) == body);
    fs::remove(file);
    EXPECT_EQ(1, Load("/moved", file));
    EXPECT_TRUE(ReadFile(file) == body);
    EXPECT_EQ(Listing{"chunked.sym"}, Names(dir_.Path()));
}

TEST_F(SymbolDownload, MalformedResponsesFail) {
    const fs::path file = dir_.Path() / "never.sym";
    for (std::size_t i = 0; i < kMalformed.size(); ++i) {
        const std::string path = "/malformed" + std::to_string(i);
        server_.On(path, Raw(kMalformed[i]));
        EXPECT_EQ(0, Load(path, file)) << kMalformed[i];
    }
    EXPECT_EQ(Listing{}, Names(dir_.Path()));
}

TEST_F(SymbolDownload, ClosedPortAndNullUrlFail) {
    std::uint16_t port = 0;
    const int closed = BoundSocket(&port);
    ASSERT_GE(closed, 0);
    std::string url = "http://127.0.0.1:" + std::to_string(port) + "/sym";
    const fs::path file = dir_.Path() / "never.sym";
    EXPECT_EQ(0, LoadSymbolInternet(url.data(), url.data(), file.c_str()));
    EXPECT_EQ(0, LoadSymbolInternet(url.data(), nullptr, file.c_str()));
    EXPECT_EQ(Listing{}, Names(dir_.Path()));
    ::close(closed);
}

// ---------------------------------------------------------------------------
// GetMatrixInternet

TEST_F(MatrixPost, PostsTheBlockBehindTheBoundary) {
    // A caller's block with its own multipart framing, NULs and line breaks.
    const std::string data = "--1122334455\r\nContent-Disposition: form-data; name=\"f\"\r\n\r\n" +
                             RandomBytes(500, 77) + "\r\n--1122334455--\r\n";
    server_.On("/matrix", Reply(200, LittleEndian(kWords)));
    Matrix3d m = Sentinel();
    EXPECT_EQ(1, PostMatrix("/matrix", data, &m));
    ExpectMatrixWords(m, kWords);

    const auto requests = server_.Requests();
    ASSERT_EQ(1u, requests.size());
    const Message request = Parse(requests[0]);
    EXPECT_EQ("POST /matrix HTTP/1.1", request.start);
    ExpectCommonHeaders(request);
    EXPECT_EQ(1, Count(request, "Content-Type"));
    EXPECT_EQ("multipart/form-data; boundary=1122334455", Value(request, "Content-Type"));
    EXPECT_EQ(1, Count(request, "Content-Length"));
    EXPECT_EQ(std::to_string(data.size() + 10), Value(request, "Content-Length"));
    EXPECT_EQ(0, Count(request, "Expect"));
    EXPECT_EQ(0, Count(request, "Transfer-Encoding"));
    EXPECT_TRUE(request.body == "1122334455" + data);
}

TEST_F(MatrixPost, EmptyBlockSendsTheBoundaryAlone) {
    server_.On("/matrix", Reply(200, LittleEndian(kWords)));
    std::string online = Url("/");
    std::string url = Url("/matrix");
    unsigned char unused = 0xAB;
    Matrix3d m = Sentinel();
    EXPECT_EQ(1, GetMatrixInternet(online.data(), url.data(), nullptr, 0, &m));
    ExpectMatrixWords(m, kWords);
    m = Sentinel();
    EXPECT_EQ(1, GetMatrixInternet(online.data(), url.data(), &unused, 0, &m));
    ExpectMatrixWords(m, kWords);

    const auto requests = server_.Requests();
    ASSERT_EQ(2u, requests.size());
    for (const std::string& raw : requests) {
        const Message request = Parse(raw);
        EXPECT_EQ("POST /matrix HTTP/1.1", request.start);
        ExpectCommonHeaders(request);
        EXPECT_EQ("10", Value(request, "Content-Length"));
        EXPECT_EQ(1, Count(request, "Content-Type"));
        EXPECT_EQ(0, Count(request, "Expect"));
        EXPECT_EQ("1122334455", request.body);
    }
}

TEST_F(MatrixPost, LargeBlockGoesInOnePlainBody) {
    const std::string data = RandomBytes(3 * 1024 * 1024, 33);
    server_.On("/matrix", Reply(200, LittleEndian(kWords)));
    Matrix3d m = Sentinel();
    EXPECT_EQ(1, PostMatrix("/matrix", data, &m));
    ExpectMatrixWords(m, kWords);

    const auto requests = server_.Requests();
    ASSERT_EQ(1u, requests.size());
    const Message request = Parse(requests[0]);
    ExpectCommonHeaders(request);
    EXPECT_EQ(1, Count(request, "Content-Type"));
    EXPECT_EQ(std::to_string(data.size() + 10), Value(request, "Content-Length"));
    EXPECT_EQ(0, Count(request, "Expect"));
    EXPECT_EQ(0, Count(request, "Transfer-Encoding"));
    EXPECT_EQ(data.size() + 10, request.body.size());
    EXPECT_TRUE(request.body == "1122334455" + data);
}

TEST_F(MatrixPost, DoublesAreLittleEndianRowByRow) {
    // 1.0, 0.1 and -2.0 written out byte by byte, the rest of the matrix zero.
    std::string body = std::string("\x00\x00\x00\x00\x00\x00\xF0\x3F", 8) +
                       std::string("\x9A\x99\x99\x99\x99\x99\xB9\x3F", 8) + std::string(104, '\0') +
                       std::string("\x00\x00\x00\x00\x00\x00\x00\xC0", 8);
    server_.On("/matrix", Reply(200, body));
    Matrix3d m = Sentinel();
    EXPECT_EQ(1, PostMatrix("/matrix", "x", &m));
    EXPECT_EQ(1.0, m.m[0][0]);
    EXPECT_EQ(0.1, m.m[0][1]);
    EXPECT_EQ(0.0, m.m[0][2]);
    EXPECT_EQ(0.0, m.m[2][3]);
    EXPECT_EQ(-2.0, m.m[3][3]);
}

TEST_F(MatrixPost, BodyLengthDecides) {
    const std::string words = LittleEndian(kWords);
    server_.On("/127", Reply(200, words.substr(0, 127)));
    server_.On("/128", Reply(200, words));
    server_.On("/200", Reply(200, words + RandomBytes(72, 5)));
    server_.On("/0", Reply(200, ""));
    Matrix3d m = Sentinel();
    EXPECT_EQ(0, PostMatrix("/127", "data", &m));
    EXPECT_EQ(0, PostMatrix("/0", "data", &m));
    m = Sentinel();
    EXPECT_EQ(1, PostMatrix("/128", "data", &m));
    ExpectMatrixWords(m, kWords);
    m = Sentinel();
    EXPECT_EQ(1, PostMatrix("/200", "data", &m));
    ExpectMatrixWords(m, kWords);
}

TEST_F(MatrixPost, BodyInPiecesStillCounts) {
    const std::string words = LittleEndian(kWords);
    server_.On("/pieces",
               Pieces(Head(200, Length(128)), {words.substr(0, 1), words.substr(1, 40),
                                               words.substr(41, 80), words.substr(121)}));
    server_.On("/chunked", Chunked({words.substr(0, 100), words.substr(100, 27), words.substr(127),
                                    "trailing bytes beyond the matrix"}));
    // Only 127 bytes, however they come.
    server_.On("/short",
               Pieces(Head(200, Length(127)), {words.substr(0, 64), words.substr(64, 63)}));
    Matrix3d m = Sentinel();
    EXPECT_EQ(1, PostMatrix("/pieces", "data", &m));
    ExpectMatrixWords(m, kWords);
    m = Sentinel();
    EXPECT_EQ(1, PostMatrix("/chunked", "data", &m));
    ExpectMatrixWords(m, kWords);
    EXPECT_EQ(0, PostMatrix("/short", "data", &m));
}

TEST_F(MatrixPost, FollowsRedirects) {
    const std::string data = RandomBytes(70000, 71);
    server_.On("/again", Redirect(307, "/matrix"));
    server_.On("/elsewhere", Redirect(302, "/matrix"));
    server_.On("/matrix", Reply(200, LittleEndian(kWords)));
    Matrix3d m = Sentinel();
    EXPECT_EQ(1, PostMatrix("/again", data, &m));
    ExpectMatrixWords(m, kWords);
    m = Sentinel();
    EXPECT_EQ(1, PostMatrix("/elsewhere", data, &m));
    ExpectMatrixWords(m, kWords);

    // A 307 repeats the POST, body and all.
    const auto requests = server_.Requests();
    ASSERT_EQ(4u, requests.size());
    for (int i : {0, 1}) {
        const Message request = Parse(requests[i]);
        EXPECT_EQ(i == 0 ? "POST /again HTTP/1.1" : "POST /matrix HTTP/1.1", request.start);
        ExpectCommonHeaders(request);
        EXPECT_EQ(1, Count(request, "Content-Type"));
        EXPECT_EQ(std::to_string(data.size() + 10), Value(request, "Content-Length"));
        EXPECT_TRUE(request.body == "1122334455" + data) << i;
    }
}

TEST_F(MatrixPost, StopsReadingAfterTheMatrix) {
    // 128 of 1000 declared bytes, then silence: the matrix is all that is read.
    server_.On("/matrix", StallAfter(1000, LittleEndian(kWords)));
    Matrix3d m = Sentinel();
    EXPECT_EQ(1, PostMatrix("/matrix", "data", &m));
    ExpectMatrixWords(m, kWords);
}

TEST_F(MatrixPost, FailedStatusLeavesTheMatrixAlone) {
    const std::string words = LittleEndian(kWords);
    server_.On("/missing", Reply(404, words));
    server_.On("/broken", Reply(500, words + words));
    Matrix3d m = Sentinel();
    EXPECT_EQ(0, PostMatrix("/missing", "data", &m));
    ExpectSentinel(m);
    EXPECT_EQ(0, PostMatrix("/broken", "data", &m));
    ExpectSentinel(m);
    for (std::size_t i = 0; i < kMalformed.size(); ++i) {
        const std::string path = "/malformed" + std::to_string(i);
        server_.On(path, Raw(kMalformed[i]));
        EXPECT_EQ(0, PostMatrix(path, "data", &m)) << kMalformed[i];
        ExpectSentinel(m);
    }
}

TEST_F(MatrixPost, BrokenTransfersFail) {
    const std::string words = LittleEndian(kWords);
    server_.On("/reset", ResetAfter(128, words.substr(0, 64)));
    server_.On("/short", CloseAfter(128, words.substr(0, 100)));
    Matrix3d m = Sentinel();
    EXPECT_EQ(0, PostMatrix("/reset", "data", &m));
    EXPECT_EQ(0, PostMatrix("/short", "data", &m));

    conditions_.stallSeconds = 2;
    server_.On("/stall", StallAfter(128, words.substr(0, 3)));
    EXPECT_EQ(0, PostMatrix("/stall", "data", &m));
}

TEST_F(MatrixPost, BadArgumentsFail) {
    server_.On("/matrix", Reply(200, LittleEndian(kWords)));
    std::string online = Url("/");
    std::string url = Url("/matrix");
    unsigned char data[4] = {1, 2, 3, 4};
    EXPECT_EQ(0, GetMatrixInternet(online.data(), url.data(), data, 4, nullptr));
    Matrix3d m = Sentinel();
    EXPECT_EQ(0, GetMatrixInternet(online.data(), url.data(), data, -1, &m));
    ExpectSentinel(m);
    EXPECT_EQ(0, GetMatrixInternet(online.data(), nullptr, data, 4, &m));
    ExpectSentinel(m);
}

TEST_F(MatrixPost, ClosedPortFails) {
    std::uint16_t port = 0;
    const int closed = BoundSocket(&port);
    ASSERT_GE(closed, 0);
    std::string url = "http://127.0.0.1:" + std::to_string(port) + "/matrix";
    unsigned char data[3] = {0, 1, 2};
    Matrix3d m = Sentinel();
    EXPECT_EQ(0, GetMatrixInternet(url.data(), url.data(), data, 3, &m));
    ExpectSentinel(m);
    ::close(closed);
}

// ---------------------------------------------------------------------------
// The online check

TEST_F(OnlineCheck, LinuxCountsAsOnline) {
    const selvora::net::Connectivity& machine = selvora::net::PlatformConnectivity();
    EXPECT_FALSE(machine.IsOffline());
    EXPECT_EQ(1, selvora::net::EnsureInternetOnline("http://127.0.0.1/", machine));
    EXPECT_EQ(1, selvora::net::EnsureInternetOnline(nullptr, machine));
    // The conditions the exported exchanges run with.
    const selvora::net::Conditions defaults;
    EXPECT_EQ(&machine, defaults.connectivity);
    EXPECT_EQ(15000, defaults.connectTimeoutMs);
    EXPECT_EQ(60, defaults.stallSeconds);
}

TEST_F(OnlineCheck, OfflineAndRefusedSendsNothing) {
    server_.On("/sym", Reply(200, "symbol"));
    server_.On("/matrix", Reply(200, LittleEndian(kWords)));
    server_.On("/page", Reply(200, "page"));
    GoOffline(false);
    EXPECT_TRUE(machine_.IsOffline());
    EXPECT_EQ(0, selvora::net::EnsureInternetOnline("http://127.0.0.1/", machine_));

    const fs::path file = dir_.Path() / "sym.dat";
    EXPECT_EQ(0, Load("/sym", file));
    EXPECT_EQ(0, Load("/sym", nullptr));
    Matrix3d m = Sentinel();
    EXPECT_EQ(0, PostMatrix("/matrix", "data", &m));
    ExpectSentinel(m);
    EXPECT_EQ(Listing{}, Names(dir_.Path()));

    // The page fetch makes no such check. The server records a request before
    // answering it, so once this returns it has seen everything sent so far.
    OvString out;
    EXPECT_EQ(1, Fetch(Url("/page"), &out));
    EXPECT_EQ("page", Text(out));
    const auto requests = server_.Requests();
    ASSERT_EQ(1u, requests.size());
    ExpectPlainGet(requests[0], "/page");
    EXPECT_EQ(1, server_.Connections());
}

TEST_F(OnlineCheck, OfflineButGoingOnlineWorks) {
    const std::string body = RandomBytes(5000, 8);
    server_.On("/sym", Reply(200, body));
    server_.On("/matrix", Reply(200, LittleEndian(kWords)));
    GoOffline(true);
    EXPECT_TRUE(machine_.IsOffline());
    EXPECT_EQ(1, selvora::net::EnsureInternetOnline("http://127.0.0.1/", machine_));

    const fs::path file = dir_.Path() / "sym.dat";
    EXPECT_EQ(1, Load("/sym", file));
    EXPECT_TRUE(ReadFile(file) == body);
    Matrix3d m = Sentinel();
    EXPECT_EQ(1, PostMatrix("/matrix", "data", &m));
    ExpectMatrixWords(m, kWords);
    EXPECT_EQ(2u, server_.Requests().size());
}

// ---------------------------------------------------------------------------
// A server nobody here wrote

TEST_F(PythonHttpServer, PageAndBinaryFile) {
    const selvora_test::ScratchDir served("selvora-net-served");
    ASSERT_FALSE(served.Path().empty());
    const std::string page = "<html><body>" + RandomText(40000, 41) + "</body></html>\n";
    std::string binary = RandomBytes(1500000, 42);
    binary[0] = '\0';
    WriteFile(served.Path() / "index.html", page);
    WriteFile(served.Path() / "symbol.bin", binary);

    PythonServer python(served.Path());
    ASSERT_TRUE(python.Ready()) << "python3 -m http.server did not start";

    OvString out;
    EXPECT_EQ(1, OV_GetHtml(python.Url("/index.html").c_str(), &out));
    EXPECT_TRUE(Text(out) == page);
    EXPECT_EQ(1, OV_GetHtml(python.Url("/symbol.bin").c_str(), &out));
    EXPECT_TRUE(Text(out) == ExpectedPage(binary));
    out = "keep";
    EXPECT_EQ(0, OV_GetHtml(python.Url("/no-such-file").c_str(), &out));
    EXPECT_EQ("keep", Text(out));

    std::string online = python.Url("/");
    std::string url = python.Url("/symbol.bin");
    const fs::path file = dir_.Path() / "symbol.bin";
    EXPECT_EQ(1, LoadSymbolInternet(online.data(), url.data(), file.c_str()));
    EXPECT_TRUE(ReadFile(file) == binary);
    std::string missing = python.Url("/no-such-file");
    const fs::path never = dir_.Path() / "never.bin";
    EXPECT_EQ(0, LoadSymbolInternet(online.data(), missing.data(), never.c_str()));
    EXPECT_EQ(Listing{"symbol.bin"}, Names(dir_.Path()));
}

// ---------------------------------------------------------------------------
// Only http and https, requested or redirected to

// Every scheme libcurl knows besides the two, and URLs without one.
const std::vector<std::string> kOtherSchemes = {
    "file", "ftp",  "ftps",   "smtp", "smtps", "gopher", "gophers", "dict", "scp",
    "sftp", "tftp", "telnet", "ldap", "ldaps", "imap",   "imaps",   "pop3", "pop3s",
    "rtsp", "rtmp", "mqtt",   "smb",  "smbs",  "ws",     "wss"};

class Schemes : public Net {
  protected:
    // URLs of every other scheme, aimed at a server that counts connections.
    std::vector<std::string> OtherUrls(const Server& trap) const {
        const std::string authority = "127.0.0.1:" + std::to_string(trap.Port());
        std::vector<std::string> urls;
        for (const std::string& scheme : kOtherSchemes)
            urls.push_back(scheme + "://" + authority + "/x");
        urls.push_back(authority + "/x");  // no scheme: libcurl would guess http
        urls.push_back("//" + authority + "/x");
        urls.push_back(" http://" + authority + "/x");
        urls.push_back("http:/" + authority + "/x");
        urls.push_back("httpx://" + authority + "/x");
        return urls;
    }
    Server trap_;
};

TEST_F(Schemes, OtherSchemesAreRefusedBeforeAnyConnection) {
    ASSERT_TRUE(trap_.Running());
    trap_.On("/x", Reply(200, LittleEndian(kWords)));
    const fs::path file = dir_.Path() / "never.sym";
    for (std::string url : OtherUrls(trap_)) {
        OvString out("keep");
        EXPECT_EQ(0, OV_GetHtml(url.c_str(), &out)) << url;
        EXPECT_EQ("keep", Text(out)) << url;
        std::string online = Url("/");
        EXPECT_EQ(0, LoadSymbolInternet(online.data(), url.data(), file.c_str())) << url;
        EXPECT_EQ(0, LoadSymbolInternet(online.data(), url.data(), nullptr)) << url;
        Matrix3d m = Sentinel();
        unsigned char data[4] = {1, 2, 3, 4};
        EXPECT_EQ(0, GetMatrixInternet(online.data(), url.data(), data, 4, &m)) << url;
        ExpectSentinel(m);
    }
    EXPECT_EQ(0, trap_.Connections());
    EXPECT_EQ(0, server_.Connections());
    EXPECT_EQ(Listing{}, Names(dir_.Path()));
}

TEST_F(Schemes, SchemeCaseDoesNotMatter) {
    server_.On("/page", Reply(200, "any case"));
    const std::string rest = "://127.0.0.1:" + std::to_string(server_.Port()) + "/page";
    for (const char* scheme : {"HTTP", "Http", "hTTp"}) {
        OvString out;
        EXPECT_EQ(1, OV_GetHtml((scheme + rest).c_str(), &out)) << scheme;
        EXPECT_EQ("any case", Text(out)) << scheme;
    }
}

TEST_F(Schemes, LocalFilesAreNeitherReadNorOpened) {
    const fs::path secret = dir_.Path() / "secret.txt";
    WriteFile(secret, "not for the network");
    const fs::path fifo = dir_.Path() / "fifo";
    ASSERT_EQ(0, ::mkfifo(fifo.c_str(), 0600));
    const fs::path target = dir_.Path() / "copy.sym";
    // Opening the FIFO would block until a writer came; a writer is brought
    // in only if an exchange has not returned within 10 s.
    auto guarded = [&](const std::string& what, std::function<bool()> exchange) {
        auto done = std::async(std::launch::async, exchange);
        if (done.wait_for(10s) != std::future_status::ready) {
            ADD_FAILURE() << what << " opened the FIFO";
            const int writer = ::open(fifo.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
            if (writer >= 0) ::close(writer);
        }
        EXPECT_TRUE(done.get()) << what;
    };
    for (const fs::path& path : {secret, fifo}) {
        const std::string url = "file://" + path.string();
        guarded("OV_GetHtml " + url, [url] {
            OvString out("keep");
            return OV_GetHtml(url.c_str(), &out) == 0 && Text(out) == "keep";
        });
        guarded("LoadSymbolInternet " + url, [this, url, &target] {
            std::string online = Url("/");
            std::string address = url;
            return LoadSymbolInternet(online.data(), address.data(), target.c_str()) == 0;
        });
    }
    EXPECT_EQ((Listing{"fifo", "secret.txt"}), Names(dir_.Path()));
}

TEST_F(Schemes, RedirectsToOtherSchemesAreNotFollowed) {
    ASSERT_TRUE(trap_.Running());
    trap_.On("/x", Reply(200, LittleEndian(kWords)));
    const fs::path file = dir_.Path() / "kept.sym";
    WriteFile(file, "the old symbol");
    int n = 0;
    std::vector<std::string> targets;
    for (const std::string& scheme : kOtherSchemes)
        targets.push_back(scheme + "://127.0.0.1:" + std::to_string(trap_.Port()) + "/x");
    targets.push_back("file://" + file.string());
    for (const std::string& target : targets) {
        for (int status : {301, 302, 303, 307, 308}) {
            const std::string path = "/away" + std::to_string(n++);
            server_.On(path, Redirect(status, target));
            OvString out("keep");
            EXPECT_EQ(0, OV_GetHtml(Url(path).c_str(), &out)) << status << " " << target;
            EXPECT_EQ("keep", Text(out));
            EXPECT_EQ(0, Load(path, file)) << status << " " << target;
            Matrix3d m = Sentinel();
            EXPECT_EQ(0, PostMatrix(path, "data", &m)) << status << " " << target;
            ExpectSentinel(m);
        }
    }
    EXPECT_EQ(0, trap_.Connections());
    EXPECT_EQ("the old symbol", ReadFile(file));
    EXPECT_EQ(Listing{"kept.sym"}, Names(dir_.Path()));
}

// ---------------------------------------------------------------------------
// Framing: a body whose length is ambiguous is no body

std::string WithLengths(int status, const std::vector<std::string>& lengths,
                        const std::string& body, const std::string& more = "") {
    std::string head = "HTTP/1.1 " + std::to_string(status) + " Status\r\n" + more;
    for (const std::string& length : lengths) head += "Content-Length:" + length + "\r\n";
    return head + "Connection: close\r\n\r\n" + body;
}

class Framing : public Net {};

TEST_F(Framing, ConflictingOrMalformedLengthsFail) {
    const std::string body = "0123456789";
    const std::vector<std::vector<std::string>> bad = {
        {" 10", " 5"}, {" 5", " 10"},     {" 5, 10"}, {" 10, 5"},
        {" 10,10,5"},  {" 10", " 10, 5"}, {" abc"},   {" -5"},
        {" 5x"},       {" +5"},           {" "},      {" 5,"},
        {" ,5"},       {" 5 5"},          {" 0x0A"},  {" 99999999999999999999999"}};
    const fs::path file = dir_.Path() / "kept.sym";
    WriteFile(file, "the old symbol");
    int n = 0;
    for (const auto& lengths : bad) {
        std::string what;
        for (const std::string& l : lengths) what += "[" + l + "]";
        const std::string path = "/bad" + std::to_string(n++);
        server_.On(path, Raw(WithLengths(200, lengths, body)));
        OvString out("keep");
        EXPECT_EQ(0, OV_GetHtml(Url(path).c_str(), &out)) << what;
        EXPECT_EQ("keep", Text(out)) << what;
        EXPECT_EQ(0, Load(path, file)) << what;
        EXPECT_EQ(0, Load(path, nullptr)) << what;
        EXPECT_EQ("the old symbol", ReadFile(file)) << what;
        Matrix3d m = Sentinel();
        server_.On(path + "m", Raw(WithLengths(200, lengths, LittleEndian(kWords))));
        EXPECT_EQ(0, PostMatrix(path + "m", "data", &m)) << what;
        ExpectSentinel(m);
    }
    EXPECT_EQ(Listing{"kept.sym"}, Names(dir_.Path()));
}

TEST_F(Framing, TheSameLengthRepeatedIsOneLength) {
    const std::string body = "0123456789";
    const std::vector<std::vector<std::string>> same = {
        {" 10"}, {"10"}, {" 10 "}, {"\t10"}, {" 10", " 10"}, {" 10, 10"}, {" 10,10 , 10"}};
    int n = 0;
    for (const auto& lengths : same) {
        const std::string path = "/same" + std::to_string(n++);
        server_.On(path, Raw(WithLengths(200, lengths, body)));
        OvString out;
        EXPECT_EQ(1, OV_GetHtml(Url(path).c_str(), &out)) << lengths[0];
        EXPECT_EQ(body, Text(out)) << lengths[0];
        const fs::path file = dir_.Path() / ("same" + std::to_string(n) + ".sym");
        EXPECT_EQ(1, Load(path, file)) << lengths[0];
        EXPECT_EQ(body, ReadFile(file)) << lengths[0];
    }
}

TEST_F(Framing, ConflictingLengthsInARedirectFail) {
    server_.On("/target", Reply(200, "arrived"));
    server_.On("/away", Raw(WithLengths(302, {" 5", " 6"}, "moved",
                                        "Location: " + Url("/target") + "\r\n")));
    OvString out("keep");
    EXPECT_EQ(0, OV_GetHtml(Url("/away").c_str(), &out));
    EXPECT_EQ("keep", Text(out));
    EXPECT_EQ(1u, server_.Requests().size());
}

// ---------------------------------------------------------------------------
// The stall rule: no byte for the stall time, not a low average

// The head, then one body byte every `pause`, declared in advance.
Responder Trickle(std::string body, std::chrono::milliseconds pause) {
    return [=](int fd, const std::atomic<bool>& stop) {
        NoDelay(fd);
        SendAll(fd, Head(200, Length(body.size())));
        for (char c : body) {
            for (auto waited = 0ms; waited < pause && !stop; waited += 10ms)
                std::this_thread::sleep_for(10ms);
            if (stop) return;
            SendAll(fd, std::string(1, c));
        }
    };
}

class Stall : public Net {};

TEST_F(Stall, OneByteEveryTwoSecondsForSeventySecondsSucceeds) {
    ASSERT_FALSE(Changed());  // the library's own limit, 60 s
    const std::string body = RandomText(35, 35);
    server_.On("/slow", Trickle(body, 2000ms));
    const auto start = std::chrono::steady_clock::now();
    OvString out;
    EXPECT_EQ(1, OV_GetHtml(Url("/slow").c_str(), &out));
    EXPECT_EQ(body, Text(out));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 68s);
}

TEST_F(Stall, ASteadyTrickleOutlivesTheStallTime) {
    conditions_.stallSeconds = 2;
    const std::string body = RandomText(8, 8);
    server_.On("/slow", Trickle(body, 700ms));
    const fs::path file = dir_.Path() / "slow.sym";
    EXPECT_EQ(1, Load("/slow", file));
    EXPECT_EQ(body, ReadFile(file));
}

TEST_F(Stall, ASilentServerFailsAfterTheStallTime) {
    conditions_.stallSeconds = 2;
    // Accepted, request read, never a word back.
    server_.On("/silent",
               [](int fd, const std::atomic<bool>& stop) { WaitForClientClose(fd, stop); });
    const auto start = std::chrono::steady_clock::now();
    OvString out("keep");
    EXPECT_EQ(0, Fetch(Url("/silent"), &out));
    EXPECT_EQ("keep", Text(out));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 20s);
}

// ---------------------------------------------------------------------------
// A POST redirected to a GET leaves its body and Content-Type behind

TEST_F(MatrixPost, RedirectedToAGetTheRequestIsAPlainGet) {
    const std::string data = RandomBytes(5000, 77);
    server_.On("/matrix", Reply(200, LittleEndian(kWords)));
    for (int status : {301, 302, 303})
        server_.On("/r" + std::to_string(status), Redirect(status, "/matrix"));
    for (int status : {301, 302, 303}) {
        Matrix3d m = Sentinel();
        EXPECT_EQ(1, PostMatrix("/r" + std::to_string(status), data, &m)) << status;
        ExpectMatrixWords(m, kWords);
    }
    const auto requests = server_.Requests();
    ASSERT_EQ(6u, requests.size());
    for (std::size_t i = 0; i < 6; i += 2) {
        EXPECT_EQ(1, Count(Parse(requests[i]), "Content-Type")) << i;
        ExpectPlainGet(requests[i + 1], "/matrix");
        EXPECT_EQ(0, Count(Parse(requests[i + 1]), "Content-Type")) << i;
    }
}

TEST_F(MatrixPost, RedirectedWithTheMethodKeptTheRequestIsTheSamePost) {
    const std::string data = RandomBytes(5000, 78);
    server_.On("/matrix", Reply(200, LittleEndian(kWords)));
    for (int status : {307, 308})
        server_.On("/r" + std::to_string(status), Redirect(status, "/matrix"));
    for (int status : {307, 308}) {
        Matrix3d m = Sentinel();
        EXPECT_EQ(1, PostMatrix("/r" + std::to_string(status), data, &m)) << status;
        ExpectMatrixWords(m, kWords);
    }
    const auto requests = server_.Requests();
    ASSERT_EQ(4u, requests.size());
    for (std::size_t i = 0; i < 4; ++i) {
        const Message m = Parse(requests[i]);
        EXPECT_EQ(i % 2 ? "POST /matrix HTTP/1.1"
                        : "POST /r" + std::to_string(i < 2 ? 307 : 308) + " HTTP/1.1",
                  m.start);
        ExpectCommonHeaders(m);
        EXPECT_EQ(1, Count(m, "Content-Type"));
        EXPECT_EQ("multipart/form-data; boundary=1122334455", Value(m, "Content-Type"));
        EXPECT_TRUE(m.body == "1122334455" + data) << i;
    }
}

// ---------------------------------------------------------------------------
// HTTPS with a private certificate authority, trusted through the environment

using selvora_test::Leaf;
using selvora_test::TestCa;
using selvora_test::TlsFront;

const char* const kTrustVariables[] = {"CURL_CA_BUNDLE", "SSL_CERT_FILE", "SSL_CERT_DIR"};

class Https : public Net {
  protected:
    void SetUp() override {
        Net::SetUp();
        for (const char* name : kTrustVariables) {
            const char* value = std::getenv(name);
            saved_.emplace_back(name, value ? std::optional<std::string>(value) : std::nullopt);
            ::unsetenv(name);
        }
        caFile_ = (dir_.Path() / "ca.pem").string();
        ASSERT_TRUE(ca_.WritePem(caFile_));
        otherFile_ = (dir_.Path() / "other.pem").string();
        ASSERT_TRUE(other_.WritePem(otherFile_));
        good_ = ca_.Issue("127.0.0.1", {"127.0.0.1"}, {"localhost"});
    }
    void TearDown() override {
        for (const auto& [name, value] : saved_) {
            if (value)
                ::setenv(name.c_str(), value->c_str(), 1);
            else
                ::unsetenv(name.c_str());
        }
        Net::TearDown();
    }

    // Page, download and matrix through the given front: 1 each when all work,
    // 0 each when all fail (nothing changed then).
    void ExpectExchanges(const TlsFront& front, int expected) {
        server_.On("/page", Reply(200, "secure page"));
        server_.On("/symbol", Reply(200, "secure symbol"));
        server_.On("/matrix", Reply(200, LittleEndian(kWords)));
        OvString out("keep");
        EXPECT_EQ(expected, OV_GetHtml(front.Url("/page").c_str(), &out));
        EXPECT_EQ(expected ? "secure page" : "keep", Text(out));

        const fs::path file = dir_.Path() / "symbol.sym";
        WriteFile(file, "old symbol");
        std::string online = front.Url("/");
        std::string url = front.Url("/symbol");
        EXPECT_EQ(expected, LoadSymbolInternet(online.data(), url.data(), file.c_str()));
        EXPECT_EQ(expected ? "secure symbol" : "old symbol", ReadFile(file));
        fs::remove(file);

        url = front.Url("/matrix");
        unsigned char data[3] = {'a', 'b', 'c'};
        Matrix3d m = Sentinel();
        EXPECT_EQ(expected, GetMatrixInternet(online.data(), url.data(), data, 3, &m));
        if (expected)
            ExpectMatrixWords(m, kWords);
        else
            ExpectSentinel(m);
    }

    TestCa ca_;
    TestCa other_;
    std::string caFile_, otherFile_;
    Leaf good_;
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

TEST_F(Https, PrivateCaIsNotTrustedByDefault) {
    TlsFront front(good_, server_.Port());
    ASSERT_TRUE(front.Running());
    ExpectExchanges(front, 0);
    EXPECT_EQ(0u, server_.Requests().size());
}

TEST_F(Https, CurlCaBundleIsTrusted) {
    TlsFront front(good_, server_.Port());
    ASSERT_TRUE(front.Running());
    ::setenv("CURL_CA_BUNDLE", caFile_.c_str(), 1);
    ExpectExchanges(front, 1);
    EXPECT_EQ(3u, server_.Requests().size());
    EXPECT_EQ(3, front.Handshakes());
}

TEST_F(Https, SslCertFileIsTrusted) {
    TlsFront front(good_, server_.Port());
    ::setenv("SSL_CERT_FILE", caFile_.c_str(), 1);
    ExpectExchanges(front, 1);
}

TEST_F(Https, SslCertDirIsTrusted) {
    TlsFront front(good_, server_.Port());
    const fs::path certs = dir_.Path() / "certs";
    fs::create_directory(certs);
    ASSERT_TRUE(ca_.WritePem((certs / ca_.SubjectHashName()).string()));
    ::setenv("SSL_CERT_DIR", certs.c_str(), 1);
    ExpectExchanges(front, 1);
    fs::remove_all(certs);
}

TEST_F(Https, CurlCaBundleComesBeforeTheOpenSslVariables) {
    TlsFront front(good_, server_.Port());
    const fs::path certs = dir_.Path() / "certs";
    fs::create_directory(certs);
    ASSERT_TRUE(ca_.WritePem((certs / ca_.SubjectHashName()).string()));
    ::setenv("CURL_CA_BUNDLE", otherFile_.c_str(), 1);
    ::setenv("SSL_CERT_FILE", caFile_.c_str(), 1);
    ::setenv("SSL_CERT_DIR", certs.c_str(), 1);
    ExpectExchanges(front, 0);
    // An empty variable counts as unset.
    ::setenv("CURL_CA_BUNDLE", "", 1);
    ExpectExchanges(front, 1);
    fs::remove_all(certs);
}

TEST_F(Https, UntrustedSelfSignedWrongHostAndExpiredCertificatesFail) {
    ::setenv("CURL_CA_BUNDLE", caFile_.c_str(), 1);
    const std::pair<const char*, Leaf> leaves[] = {
        {"issued by another authority", other_.Issue("127.0.0.1", {"127.0.0.1"}, {})},
        {"self-signed", TestCa::SelfSigned("127.0.0.1", {"127.0.0.1"}, {})},
        {"for another host", ca_.Issue("wrong.example", {}, {"wrong.example"})},
        {"for another address", ca_.Issue("127.0.0.2", {"127.0.0.2"}, {})},
        {"expired", ca_.Issue("127.0.0.1", {"127.0.0.1"}, {}, -7200, -3600)},
        {"not yet valid", ca_.Issue("127.0.0.1", {"127.0.0.1"}, {}, 3600, 7200)},
    };
    for (const auto& [what, leaf] : leaves) {
        SCOPED_TRACE(what);
        TlsFront front(leaf, server_.Port());
        ASSERT_TRUE(front.Running());
        ExpectExchanges(front, 0);
        EXPECT_EQ(3, front.Connections());
    }
    // Not one request got through to the server.
    EXPECT_EQ(0u, server_.Requests().size());
    EXPECT_EQ((Listing{"ca.pem", "other.pem"}), Names(dir_.Path()));
}

TEST_F(Https, RedirectsGoBetweenHttpAndHttps) {
    ::setenv("CURL_CA_BUNDLE", caFile_.c_str(), 1);
    TlsFront front(good_, server_.Port());  // the same routes, behind TLS
    ASSERT_TRUE(front.Running());
    server_.On("/page", Reply(200, "either way"));
    server_.On("/matrix", Reply(200, LittleEndian(kWords)));
    server_.On("/up", Redirect(302, front.Url("/page")));
    server_.On("/down", Redirect(301, server_.Url("/page")));
    server_.On("/up-post", Redirect(307, front.Url("/matrix")));
    server_.On("/down-post", Redirect(308, server_.Url("/matrix")));

    for (const std::string& url : {server_.Url("/up"), front.Url("/down")}) {
        OvString out;
        EXPECT_EQ(1, OV_GetHtml(url.c_str(), &out)) << url;
        EXPECT_EQ("either way", Text(out)) << url;
        const fs::path file = dir_.Path() / "page.sym";
        std::string online = server_.Url("/");
        std::string target = url;
        EXPECT_EQ(1, LoadSymbolInternet(online.data(), target.data(), file.c_str())) << url;
        EXPECT_EQ("either way", ReadFile(file)) << url;
    }
    for (const std::string& url : {server_.Url("/up-post"), front.Url("/down-post")}) {
        std::string online = server_.Url("/");
        std::string target = url;
        unsigned char data[3] = {'x', 'y', 'z'};
        Matrix3d m = Sentinel();
        EXPECT_EQ(1, GetMatrixInternet(online.data(), target.data(), data, 3, &m)) << url;
        ExpectMatrixWords(m, kWords);
    }
    const auto requests = server_.Requests();
    ASSERT_EQ(12u, requests.size());
    EXPECT_EQ("POST /matrix HTTP/1.1", Parse(requests[9]).start);
    EXPECT_EQ("1122334455xyz", Parse(requests[9]).body);
    EXPECT_EQ("POST /matrix HTTP/1.1", Parse(requests[11]).start);
    EXPECT_EQ(6, front.Handshakes());  // one per request made over TLS
}

}  // namespace
