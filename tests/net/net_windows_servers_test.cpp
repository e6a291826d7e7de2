// The exchanges over WinINet against servers of the Linux side, which the
// test program under Wine cannot start itself: the scripts in tests/support
// start them and run it beside them.
//
// HTTPS, against the servers of the Linux build's selvora_tls_fronts
// (with_tls_fronts.py). WinINet checks a server's certificate against
// Windows' certificate store, and the exchanges leave those checks on: a
// certificate from an authority the store does not hold, a self-signed one,
// one for another host or one that has expired is refused; one from an
// authority the store holds is taken.

// Winsock before windows.h, as the loopback server's sockets need it.
#include <winsock2.h>

#include <wincrypt.h>
#include <windows.h>
#include <wininet.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "net/net_fixture.h"

namespace {

using namespace selvora_test;
using selvora_common::ReadWholeFile;

// The authority (PEM) in the current user's root store while this lives.
class TrustedAuthority {
  public:
    explicit TrustedAuthority(const std::string& pem) {
        DWORD size = 0;
        if (!CryptStringToBinaryA(pem.c_str(), 0, CRYPT_STRING_BASE64HEADER, nullptr, &size,
                                  nullptr, nullptr))
            return;
        std::vector<BYTE> der(size);
        if (!CryptStringToBinaryA(pem.c_str(), 0, CRYPT_STRING_BASE64HEADER, der.data(), &size,
                                  nullptr, nullptr))
            return;
        store_ = CertOpenSystemStoreW(0, L"ROOT");
        if (store_ && CertAddEncodedCertificateToStore(store_, X509_ASN_ENCODING, der.data(), size,
                                                       CERT_STORE_ADD_REPLACE_EXISTING, &added_))
            CertControlStore(store_, 0, CERT_STORE_CTRL_COMMIT, nullptr);
    }
    ~TrustedAuthority() {
        if (added_) CertDeleteCertificateFromStore(added_);
        if (store_) CertCloseStore(store_, 0);
    }
    TrustedAuthority(const TrustedAuthority&) = delete;
    TrustedAuthority& operator=(const TrustedAuthority&) = delete;

    bool Added() const { return added_ != nullptr; }

    // Whether a store opened now holds the authority, waiting up to a few
    // seconds for it: a process started just after the authority was stored
    // has been seen, under load, not to find it at once.
    bool VisibleToThisProcess() const {
        if (!added_) return false;
        for (int attempt = 0; attempt < 50; ++attempt) {
            HCERTSTORE store = CertOpenSystemStoreW(0, L"ROOT");
            PCCERT_CONTEXT found =
                store ? CertFindCertificateInStore(store, X509_ASN_ENCODING, 0, CERT_FIND_EXISTING,
                                                   added_, nullptr)
                      : nullptr;
            if (found) CertFreeCertificateContext(found);
            if (store) CertCloseStore(store, 0);
            if (found) return true;
            Sleep(100);
        }
        return false;
    }

  private:
    HCERTSTORE store_ = nullptr;
    PCCERT_CONTEXT added_ = nullptr;
};

// The page of an HTTPS server fetched through WinINet directly, with the
// checks of the certificate's authority and dates turned off: the TLS path
// itself works.
std::string PageWithoutTheChecks(INTERNET_PORT port) {
    std::string page;
    HINTERNET session = InternetOpenA("test", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0);
    HINTERNET connection = session ? InternetConnectA(session, "localhost", port, nullptr, nullptr,
                                                      INTERNET_SERVICE_HTTP, 0, 0)
                                   : nullptr;
    HINTERNET request = connection ? HttpOpenRequestA(connection, "GET", "/page", nullptr, nullptr,
                                                      nullptr, INTERNET_FLAG_SECURE, 0)
                                   : nullptr;
    if (request) {
        DWORD flags = 0, size = sizeof flags;
        InternetQueryOptionA(request, INTERNET_OPTION_SECURITY_FLAGS, &flags, &size);
        flags |= SECURITY_FLAG_IGNORE_UNKNOWN_CA | SECURITY_FLAG_IGNORE_CERT_DATE_INVALID;
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
        const char* ca = std::getenv("SELVORA_TLS_CA");
        if (!ports || !ca) GTEST_SKIP() << "needs the servers of with_tls_fronts.py";
        std::istringstream list(ports);
        for (std::string item; std::getline(list, item, ',');)
            ports_[item.substr(0, item.find('='))] = item.substr(item.find('=') + 1);
        ASSERT_EQ(6u, ports_.size());
        caPem_ = ReadWholeFile(ca).value_or("");
        ASSERT_FALSE(caPem_.empty());
    }

    std::string At(const std::string& server, const std::string& path) const {
        const std::string port = ports_.count(server) ? ports_.at(server) : "0";
        return server == "plain" ? "http://127.0.0.1:" + port + path
                                 : "https://localhost:" + port + path;
    }

    // Page, download and matrix from one of the servers (their matrix is the
    // doubles 1 to 16).
    bool ExchangesGive(const std::string& server, int expected) {
        std::vector<std::uint64_t> oneToSixteen;
        for (int i = 1; i <= 16; ++i) oneToSixteen.push_back(Bits(i));
        return Net::ExchangesGive(At(server, ""), expected, oneToSixteen);
    }

    bool TheOthersAreRefused() {
        bool all = true;
        for (const char* server : {"other-authority", "self-signed", "wrong-host", "expired"})
            all = ExchangesGive(server, 0) && all;
        return all;
    }

    std::map<std::string, std::string> ports_;
    std::string caPem_;
};

TEST_F(HttpsThroughWinInet, AnAuthorityOutsideTheStoreIsNotTrusted) {
    EXPECT_TRUE(ExchangesGive("trusted", 0));
    EXPECT_TRUE(TheOthersAreRefused());
    // The same servers answer once their certificates go unchecked: the
    // refusal is the certificate check.
    EXPECT_EQ("secure page", PageWithoutTheChecks(std::stoi(ports_.at("trusted"))));
    EXPECT_EQ("secure page", PageWithoutTheChecks(std::stoi(ports_.at("expired"))));
}

// Wine keeps what it found of a server's certificate for the rest of the
// process, where Windows looks at the store again: the exchanges after the
// authority is stored run in a process of their own (a death test's, which
// ends with status 0 when all went as expected).
TEST_F(HttpsThroughWinInet, TheStoresAuthorityIsTrustedForItsHostWhileValid) {
    const TrustedAuthority trust(caPem_);
    ASSERT_TRUE(trust.Added());
    EXPECT_EXIT(std::exit(trust.VisibleToThisProcess() && ExchangesGive("trusted", 1) &&
                                  TheOthersAreRefused()
                              ? 0
                              : 1),
                ::testing::ExitedWithCode(0), "");
}

TEST_F(HttpsThroughWinInet, RedirectsGoBetweenHttpAndHttps) {
    const TrustedAuthority trust(caPem_);
    ASSERT_TRUE(trust.Added());
    EXPECT_EXIT(
        {
            bool all = trust.VisibleToThisProcess();
            if (!all) std::fprintf(stderr, "the authority is not in the store\n");
            for (const std::string& url : {At("plain", "/up"), At("trusted", "/down")}) {
                OvString out;
                const bool ok = OV_GetHtml(url.c_str(), &out) == 1 && Text(out) == "secure page";
                if (!ok) std::fprintf(stderr, "%s was not followed\n", url.c_str());
                all = all && ok;
            }
            std::exit(all ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
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
