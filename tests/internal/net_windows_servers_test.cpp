// The exchanges over WinINet against servers of the Linux side, which the
// test program under Wine cannot start itself: the scripts in tests/support
// start them and run it beside them.
//
// HTTPS, against the servers of the Linux build's selvora_tls_fronts
// (with_tls_fronts.py). WinINet checks a server's certificate against Windows'
// certificate store, and the exchanges leave those checks on: a private
// authority, one's own signature, a certificate for another host or one that
// has expired are all refused.
//
// Winsock before windows.h, as the loopback server's sockets need it.
#include <winsock2.h>

#include <windows.h>
#include <wininet.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "internal/net_fixture.h"

namespace {

using namespace selvora_test;

// The page of an HTTPS server fetched through WinINet directly, with the
// checks of the certificate's authority and name turned off (Wine's WinINet
// does not match a certificate's IP address to the host; Windows' does): the
// TLS path itself works.
std::string PageIgnoringTheAuthority(const std::string& host, INTERNET_PORT port) {
    std::string page;
    HINTERNET session = InternetOpenA("test", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0);
    HINTERNET connection = session ? InternetConnectA(session, host.c_str(), port, nullptr, nullptr,
                                                      INTERNET_SERVICE_HTTP, 0, 0)
                                   : nullptr;
    HINTERNET request = connection ? HttpOpenRequestA(connection, "GET", "/page", nullptr, nullptr,
                                                      nullptr, INTERNET_FLAG_SECURE, 0)
                                   : nullptr;
    if (request) {
        DWORD flags = 0, size = sizeof flags;
        InternetQueryOptionA(request, INTERNET_OPTION_SECURITY_FLAGS, &flags, &size);
        flags |= SECURITY_FLAG_IGNORE_UNKNOWN_CA | SECURITY_FLAG_IGNORE_CERT_CN_INVALID;
        InternetSetOptionA(request, INTERNET_OPTION_SECURITY_FLAGS, &flags, sizeof flags);
        if (HttpSendRequestA(request, nullptr, 0, nullptr, 0)) {
            char buffer[256];
            for (DWORD n = 0; InternetReadFile(request, buffer, sizeof buffer, &n) && n > 0;)
                page.append(buffer, n);
        }
    }
    for (HINTERNET h : {request, connection, session})
        if (h) InternetCloseHandle(h);
    return page;
}

class HttpsThroughWinInet : public Net {
  protected:
    void SetUp() override {
        Net::SetUp();
        const char* ports = std::getenv("SELVORA_TLS_PORTS");
        if (!ports) GTEST_SKIP() << "needs the servers of tests/support/with_tls_fronts.py";
        std::istringstream list(ports);
        for (std::string item; std::getline(list, item, ',');)
            ports_[item.substr(0, item.find('='))] = item.substr(item.find('=') + 1);
        ASSERT_EQ(6u, ports_.size());
    }

    std::string At(const std::string& server, const std::string& path) const {
        const auto port = ports_.find(server);
        return (server == "plain" ? "http" : "https") + std::string("://127.0.0.1:") +
               (port == ports_.end() ? "0" : port->second) + path;
    }

    // Page, download and matrix from one server: true when they give 1 each
    // and what the server sent, or (expected 0) 0 each and nothing changed.
    // Written on stderr where one does not.
    bool ExchangesGive(const std::string& server, int expected) {
        bool as = true;
        auto check = [&](bool ok, const char* what) {
            if (!ok) std::fprintf(stderr, "%s: %s not as expected\n", server.c_str(), what);
            as = as && ok;
        };
        OvString out("keep");
        check(OV_GetHtml(At(server, "/page").c_str(), &out) == expected &&
                  Text(out) == (expected ? "secure page" : "keep"),
              "page");

        const fs::path file = dir_.Path() / "symbol.sym";
        WriteFile(file, "old symbol");
        std::string online = At("plain", "/");
        std::string url = At(server, "/symbol");
        check(LoadSymbolInternet(online.data(), url.data(), file.string().c_str()) == expected &&
                  ReadFile(file) == (expected ? "secure symbol" : "old symbol"),
              "download");

        url = At(server, "/matrix");
        unsigned char data[3] = {'a', 'b', 'c'};
        Matrix3d m = Sentinel();
        bool matrix = GetMatrixInternet(online.data(), url.data(), data, 3, &m) == expected;
        for (int i = 0; i < 16; ++i)
            matrix = matrix && m.m[i / 4][i % 4] == (expected ? i + 1.0 : 1000.0 + i);
        check(matrix, "matrix");
        return as;
    }

    // Every refused server refused.
    bool RefusedAreRefused() {
        bool all = true;
        for (const char* server : {"other-authority", "self-signed", "wrong-host", "expired"})
            all = ExchangesGive(server, 0) && all;
        return all;
    }

    std::map<std::string, std::string> ports_;
};

TEST_F(HttpsThroughWinInet, APrivateAuthorityIsNotTrustedByDefault) {
    EXPECT_TRUE(ExchangesGive("trusted", 0));
    EXPECT_TRUE(RefusedAreRefused());
}

TEST_F(HttpsThroughWinInet, TheRefusalIsTheCertificateCheck) {
    // The same server answers once its certificate goes unchecked.
    EXPECT_EQ("secure page",
              PageIgnoringTheAuthority("127.0.0.1", std::stoi(ports_.at("trusted"))));
}

// python3 -m http.server, a server nobody here wrote
// (with_python_http_server.py), serving a folder the test fills.
class PythonHttpServerBeside : public Net {};

TEST_F(PythonHttpServerBeside, PageAndBinaryFile) {
    const char* folder = std::getenv("SELVORA_PYTHON_HTTP_DIR");
    const char* base = std::getenv("SELVORA_PYTHON_HTTP_URL");
    if (!folder || !base) GTEST_SKIP() << "needs the server of with_python_http_server.py";
    ExpectThePageAndFileOf(folder, base);
}

}  // namespace
