// The exchanges where they meet the POSIX platform: libcurl's online state,
// a server nobody here wrote, FIFOs, and HTTPS trusted through the
// environment variables libcurl and OpenSSL read.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <future>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "net/net_fixture.h"
#include "support/tls_loopback.h"

namespace {

using namespace std::chrono_literals;
using namespace selvora_common;
using namespace selvora_test;

// ---------------------------------------------------------------------------
// python3 -m http.server, serving a directory on 127.0.0.1

class PythonServer {
  public:
    explicit PythonServer(const fs::path& directory) {
        const Socket probe = BoundSocket(&port_);
        if (probe == kNoSocket) return;
        CloseSocket(probe);  // the port is free; the server takes it next
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

class PythonHttpServer : public Net {};
class PlatformOnlineCheck : public Net {};
class LocalFiles : public Net {};

TEST_F(PlatformOnlineCheck, LinuxCountsAsOnline) {
    const selvora::net::Connectivity& machine = selvora::net::PlatformConnectivity();
    EXPECT_FALSE(machine.IsOffline());
    EXPECT_EQ(1, selvora::net::EnsureInternetOnline("http://127.0.0.1/", machine));
    EXPECT_EQ(1, selvora::net::EnsureInternetOnline(nullptr, machine));
}

// ---------------------------------------------------------------------------
// A server nobody here wrote

TEST_F(PythonHttpServer, PageAndBinaryFile) {
    const selvora_test::ScratchDir served("selvora-net-served");
    ASSERT_FALSE(served.Path().empty());
    PythonServer python(served.Path());
    ASSERT_TRUE(python.Ready()) << "python3 -m http.server did not start";
    ExpectThePageAndFileOf(served.Path(), python.Url(""));
}

// The scheme is checked before anything is opened: a FIFO would block an
// exchange that opened it until a writer came.
TEST_F(LocalFiles, AFifoIsNeverOpened) {
    const fs::path fifo = dir_.Path() / "fifo";
    ASSERT_EQ(0, ::mkfifo(fifo.c_str(), 0600));
    const fs::path target = dir_.Path() / "copy.sym";
    // A writer is brought in only if an exchange has not returned within 10 s.
    auto guarded = [&](const std::string& what, std::function<bool()> exchange) {
        auto done = std::async(std::launch::async, exchange);
        if (done.wait_for(10s) != std::future_status::ready) {
            ADD_FAILURE() << what << " opened the FIFO";
            const int writer = ::open(fifo.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
            if (writer >= 0) ::close(writer);
        }
        EXPECT_TRUE(done.get()) << what;
    };
    const std::string url = "file://" + fifo.string();
    guarded("OV_GetHtml " + url, [url] {
        OvString out("keep");
        return OV_GetHtml(url.c_str(), &out) == 0 && Text(out) == "keep";
    });
    guarded("LoadSymbolInternet " + url, [this, url, &target] {
        std::string online = Url("/");
        std::string address = url;
        return LoadSymbolInternet(online.data(), address.data(), target.c_str()) == 0;
    });
    EXPECT_EQ(Listing{"fifo"}, Names(dir_.Path()));
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
            UnsetEnv(name);
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
                SetEnv(name, *value);
            else
                UnsetEnv(name);
        }
        Net::TearDown();
    }

    // Page, download and matrix through the given front: 1 each when all work,
    // 0 each when all fail (nothing changed then).
    void ExpectExchanges(const TlsFront& front, int expected) {
        server_.On("/page", Reply(200, "secure page"));
        server_.On("/symbol", Reply(200, "secure symbol"));
        server_.On("/matrix", Reply(200, LittleEndian(kWords)));
        EXPECT_TRUE(ExchangesGive(front.Url(""), expected, kWords));
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
    SetEnv("CURL_CA_BUNDLE", caFile_);
    ExpectExchanges(front, 1);
    EXPECT_EQ(3u, server_.Requests().size());
    EXPECT_EQ(3, front.Handshakes());
}

TEST_F(Https, SslCertFileIsTrusted) {
    TlsFront front(good_, server_.Port());
    SetEnv("SSL_CERT_FILE", caFile_);
    ExpectExchanges(front, 1);
}

TEST_F(Https, SslCertDirIsTrusted) {
    TlsFront front(good_, server_.Port());
    const fs::path certs = dir_.Path() / "certs";
    fs::create_directory(certs);
    ASSERT_TRUE(ca_.WritePem((certs / ca_.SubjectHashName()).string()));
    SetEnv("SSL_CERT_DIR", certs.string());
    ExpectExchanges(front, 1);
    fs::remove_all(certs);
}

TEST_F(Https, CurlCaBundleComesBeforeTheOpenSslVariables) {
    TlsFront front(good_, server_.Port());
    const fs::path certs = dir_.Path() / "certs";
    fs::create_directory(certs);
    ASSERT_TRUE(ca_.WritePem((certs / ca_.SubjectHashName()).string()));
    SetEnv("CURL_CA_BUNDLE", otherFile_);
    SetEnv("SSL_CERT_FILE", caFile_);
    SetEnv("SSL_CERT_DIR", certs.string());
    ExpectExchanges(front, 0);
    // An empty variable counts as unset.
    ::setenv("CURL_CA_BUNDLE", "", 1);
    ExpectExchanges(front, 1);
    fs::remove_all(certs);
}

TEST_F(Https, UntrustedSelfSignedWrongHostAndExpiredCertificatesFail) {
    SetEnv("CURL_CA_BUNDLE", caFile_);
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
    SetEnv("CURL_CA_BUNDLE", caFile_);
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
        EXPECT_EQ("either way", ReadWholeFile(file)) << url;
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
