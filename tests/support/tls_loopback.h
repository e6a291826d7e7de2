// Certificates made in memory and an HTTPS front on 127.0.0.1, for the network tests.
#pragma once

#include <openssl/types.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace selvora_test {

// A server certificate with its key, all in PEM.
struct Leaf {
    std::string certPem;
    std::string keyPem;    // PKCS#8
    std::string chainPem;  // issuer certificates the server sends after the leaf; may be empty
};

// Writes `pem` to `path`, replacing the file.
bool WritePem(const std::string& path, const std::string& pem);

// A throwaway certificate authority. Throws std::runtime_error if OpenSSL fails.
class TestCa {
  public:
    // An empty name gives "Selvora Test CA <n>", distinct for every CA of the process.
    explicit TestCa(const std::string& commonName = "");
    ~TestCa();
    TestCa(const TestCa&) = delete;
    TestCa& operator=(const TestCa&) = delete;

    // Offsets are seconds from now: (-7200, -3600) makes a certificate that has expired.
    Leaf Issue(const std::string& commonName, const std::vector<std::string>& ipSans,
               const std::vector<std::string>& dnsSans, long notBeforeOffsetSeconds = -3600,
               long notAfterOffsetSeconds = 86400) const;
    // A leaf signed by its own key, valid from an hour ago for a day.
    static Leaf SelfSigned(const std::string& commonName, const std::vector<std::string>& ipSans,
                           const std::vector<std::string>& dnsSans);

    std::string CertPem() const;
    bool WritePem(const std::string& path) const { return selvora_test::WritePem(path, CertPem()); }
    // The file name OpenSSL looks up in a hashed certificate directory ("%08lx.0").
    std::string SubjectHashName() const;

  private:
    EVP_PKEY* key_ = nullptr;
    X509* cert_ = nullptr;
};

// Terminates TLS on 127.0.0.1 and forwards the plain bytes to a TCP backend on 127.0.0.1.
// Connections are served one at a time on a background thread.
class TlsFront {
  public:
    TlsFront(const Leaf& leaf, std::uint16_t backendPort);
    ~TlsFront();
    TlsFront(const TlsFront&) = delete;
    TlsFront& operator=(const TlsFront&) = delete;

    bool Running() const { return thread_.joinable() && !stop_; }
    std::uint16_t Port() const { return port_; }
    std::string Url(const std::string& path) const;
    int Handshakes() const { return handshakes_; }
    int Connections() const { return connections_; }

  private:
    void Loop();
    void Serve(int client);

    SSL_CTX* ctx_ = nullptr;
    int listenFd_ = -1;
    std::uint16_t port_ = 0, backendPort_ = 0;
    std::atomic<bool> stop_{false};
    std::atomic<int> handshakes_{0}, connections_{0};
    std::thread thread_;
};

}  // namespace selvora_test
