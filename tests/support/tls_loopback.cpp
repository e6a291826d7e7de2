#include "tls_loopback.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <random>
#include <stdexcept>
#include <utility>

#include "common/sockets.h"

namespace selvora_test {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kIdleLimit = std::chrono::seconds(30);

struct Free {
    void operator()(BIO* p) const { BIO_free(p); }
    void operator()(EVP_PKEY* p) const { EVP_PKEY_free(p); }
    void operator()(X509* p) const { X509_free(p); }
    void operator()(SSL* p) const { SSL_free(p); }
};
using BioPtr = std::unique_ptr<BIO, Free>;
using KeyPtr = std::unique_ptr<EVP_PKEY, Free>;
using CertPtr = std::unique_ptr<X509, Free>;
using SslPtr = std::unique_ptr<SSL, Free>;

[[noreturn]] void Fail(const char* what) {
    char reason[256];
    ERR_error_string_n(ERR_get_error(), reason, sizeof reason);
    ERR_clear_error();
    throw std::runtime_error(std::string(what) + ": " + reason);
}

// Whatever `write` puts into a memory BIO.
template <typename Write>
std::string PemText(Write write) {
    BioPtr bio(BIO_new(BIO_s_mem()));
    if (!bio || write(bio.get()) != 1) Fail("writing PEM");
    char* data = nullptr;
    const long n = BIO_get_mem_data(bio.get(), &data);
    return std::string(data, static_cast<size_t>(n));
}

std::string CertText(X509* cert) {
    return PemText([cert](BIO* bio) { return PEM_write_bio_X509(bio, cert); });
}

std::string KeyText(EVP_PKEY* key) {
    return PemText([key](BIO* bio) {
        return PEM_write_bio_PKCS8PrivateKey(bio, key, nullptr, nullptr, 0, nullptr, nullptr);
    });
}

KeyPtr NewKey() {
    KeyPtr key(EVP_EC_gen("P-256"));
    if (!key) Fail("EVP_EC_gen");
    return key;
}

BioPtr PemBio(const std::string& pem) {
    return BioPtr(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
}

// Serials count up from a random start: distinct within a run, unlikely to repeat across runs.
std::uint64_t NextSerial() {
    static std::atomic<std::uint64_t> next{std::uint64_t{std::random_device{}()} << 24};
    return ++next;
}

// Extensions are made against `issuer`, so the authority key id can come from its key id.
bool AddExt(X509* cert, X509* issuer, int nid, const std::string& value) {
    X509V3_CTX ctx;
    X509V3_set_ctx_nodb(&ctx);
    X509V3_set_ctx(&ctx, issuer, cert, nullptr, nullptr, 0);
    X509_EXTENSION* ext = X509V3_EXT_conf_nid(nullptr, &ctx, nid, value.c_str());
    const bool ok = ext && X509_add_ext(cert, ext, -1) == 1;
    X509_EXTENSION_free(ext);
    return ok;
}

using Extensions = std::vector<std::pair<int, std::string>>;

// A certificate for `key`, signed by `signer`; a null `issuer` makes it self-signed.
CertPtr MakeCert(EVP_PKEY* key, const std::string& commonName, X509* issuer, EVP_PKEY* signer,
                 long notBefore, long notAfter, const Extensions& exts) {
    CertPtr owned(X509_new());
    X509* cert = owned.get();
    if (!cert) Fail("X509_new");
    X509_NAME* name = X509_get_subject_name(cert);
    bool ok = X509_set_version(cert, X509_VERSION_3) &&
              ASN1_INTEGER_set_uint64(X509_get_serialNumber(cert), NextSerial()) &&
              X509_gmtime_adj(X509_getm_notBefore(cert), notBefore) &&
              X509_gmtime_adj(X509_getm_notAfter(cert), notAfter) && X509_set_pubkey(cert, key) &&
              X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                                         reinterpret_cast<const unsigned char*>(commonName.c_str()),
                                         -1, -1, 0) &&
              X509_set_issuer_name(cert, issuer ? X509_get_subject_name(issuer) : name);
    for (const auto& ext : exts)
        ok = ok && AddExt(cert, issuer ? issuer : cert, ext.first, ext.second);
    if (!ok || X509_sign(cert, signer, EVP_sha256()) <= 0) Fail("making a certificate");
    return owned;
}

Leaf MakeLeaf(const std::string& commonName, const std::vector<std::string>& ipSans,
              const std::vector<std::string>& dnsSans, X509* issuer, EVP_PKEY* issuerKey,
              long notBefore, long notAfter) {
    std::string sans;
    for (const auto& ip : ipSans) sans += (sans.empty() ? "IP:" : ",IP:") + ip;
    for (const auto& dns : dnsSans) sans += (sans.empty() ? "DNS:" : ",DNS:") + dns;
    Extensions exts = {{NID_basic_constraints, "critical,CA:FALSE"},
                       {NID_key_usage, "critical,digitalSignature"},
                       {NID_ext_key_usage, "serverAuth"},
                       {NID_subject_key_identifier, "hash"}};
    if (issuer) exts.push_back({NID_authority_key_identifier, "keyid:always"});
    if (!sans.empty()) exts.push_back({NID_subject_alt_name, sans});

    KeyPtr key = NewKey();
    CertPtr cert = MakeCert(key.get(), commonName, issuer, issuer ? issuerKey : key.get(),
                            notBefore, notAfter, exts);
    return {CertText(cert.get()), KeyText(key.get()), issuer ? CertText(issuer) : ""};
}

// Waits until `fd` is ready for `events`, in short steps so that `stop` is noticed promptly.
bool WaitFd(int fd, short events, Clock::time_point deadline, const std::atomic<bool>& stop) {
    while (!stop && Clock::now() < deadline) {
        pollfd p{fd, events, 0};
        const int n = poll(&p, 1, 50);
        if (n > 0) return true;
        if (n < 0 && errno != EINTR) return false;
    }
    return false;
}

// True when a non-blocking SSL call only has to wait; notes which way it waits.
bool SslRetry(int error, bool* wantsRead, bool* wantsWrite) {
    *wantsRead |= error == SSL_ERROR_WANT_READ;
    *wantsWrite |= error == SSL_ERROR_WANT_WRITE;
    return error == SSL_ERROR_WANT_READ || error == SSL_ERROR_WANT_WRITE;
}

bool SocketRetry() { return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR; }

}  // namespace

bool WritePem(const std::string& path, const std::string& pem) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << pem;
    return static_cast<bool>(out.flush());
}

TestCa::TestCa(const std::string& commonName) {
    static std::atomic<int> count{0};
    const std::string name =
        commonName.empty() ? "Selvora Test CA " + std::to_string(++count) : commonName;
    KeyPtr key = NewKey();
    CertPtr cert = MakeCert(key.get(), name, nullptr, key.get(), -3600, 86400,
                            {{NID_basic_constraints, "critical,CA:TRUE"},
                             {NID_key_usage, "critical,keyCertSign,cRLSign"},
                             {NID_subject_key_identifier, "hash"}});
    key_ = key.release();
    cert_ = cert.release();
}

TestCa::~TestCa() {
    X509_free(cert_);
    EVP_PKEY_free(key_);
}

Leaf TestCa::Issue(const std::string& commonName, const std::vector<std::string>& ipSans,
                   const std::vector<std::string>& dnsSans, long notBeforeOffsetSeconds,
                   long notAfterOffsetSeconds) const {
    return MakeLeaf(commonName, ipSans, dnsSans, cert_, key_, notBeforeOffsetSeconds,
                    notAfterOffsetSeconds);
}

Leaf TestCa::SelfSigned(const std::string& commonName, const std::vector<std::string>& ipSans,
                        const std::vector<std::string>& dnsSans) {
    return MakeLeaf(commonName, ipSans, dnsSans, nullptr, nullptr, -3600, 86400);
}

std::string TestCa::CertPem() const { return CertText(cert_); }

std::string TestCa::SubjectHashName() const {
    char name[32];
    std::snprintf(name, sizeof name, "%08lx.0", X509_subject_name_hash(cert_));
    return name;
}

TlsFront::TlsFront(const Leaf& leaf, std::uint16_t backendPort) : backendPort_(backendPort) {
    ctx_ = SSL_CTX_new(TLS_server_method());
    if (!ctx_) return;
    SSL_CTX_set_min_proto_version(ctx_, TLS1_2_VERSION);
    SSL_CTX_set_mode(ctx_, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    // No resumption: every connection does a full handshake and so checks the certificate again.
    SSL_CTX_set_session_cache_mode(ctx_, SSL_SESS_CACHE_OFF);
    SSL_CTX_set_num_tickets(ctx_, 0);

    // The leaf first, then the chain that the server sends after it.
    const std::string pems = leaf.certPem + leaf.chainPem;  // a memory BIO only borrows its buffer
    BioPtr certs = PemBio(pems);
    CertPtr cert(PEM_read_bio_X509(certs.get(), nullptr, nullptr, nullptr));
    bool ok = cert && SSL_CTX_use_certificate(ctx_, cert.get()) == 1;
    while (CertPtr extra{PEM_read_bio_X509(certs.get(), nullptr, nullptr, nullptr)})
        ok = ok && SSL_CTX_add1_chain_cert(ctx_, extra.get()) == 1;
    KeyPtr key(PEM_read_bio_PrivateKey(PemBio(leaf.keyPem).get(), nullptr, nullptr, nullptr));
    ok = ok && key && SSL_CTX_use_PrivateKey(ctx_, key.get()) == 1 &&
         SSL_CTX_check_private_key(ctx_) == 1;
    ERR_clear_error();  // the end of the chain shows up as a "no start line" error
    if (!ok) return;

    listenFd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_in addr = selvora_common::Loopback(0);
    socklen_t len = sizeof addr;
    if (listenFd_ < 0 || bind(listenFd_, reinterpret_cast<sockaddr*>(&addr), len) != 0 ||
        listen(listenFd_, 16) != 0 ||
        getsockname(listenFd_, reinterpret_cast<sockaddr*>(&addr), &len) != 0)
        return;
    port_ = ntohs(addr.sin_port);
    thread_ = std::thread(&TlsFront::Loop, this);
}

TlsFront::~TlsFront() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
    if (listenFd_ >= 0) close(listenFd_);
    SSL_CTX_free(ctx_);
}

std::string TlsFront::Url(const std::string& path) const {
    return "https://127.0.0.1:" + std::to_string(port_) + path;
}

void TlsFront::Loop() {
    // OpenSSL writes with write(2); a client that has gone must not kill the test with SIGPIPE.
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
    while (WaitFd(listenFd_, POLLIN, Clock::time_point::max(), stop_)) {
        const int client = accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (client < 0) continue;
        ++connections_;
        Serve(client);
        close(client);
    }
}

void TlsFront::Serve(int client) {
    SslPtr owned(SSL_new(ctx_));
    SSL* ssl = owned.get();
    if (!ssl || SSL_set_fd(ssl, client) != 1) return;
    const auto handshakeDeadline = Clock::now() + kIdleLimit;
    for (int r; (r = SSL_accept(ssl)) != 1;) {
        bool wantsRead = false, wantsWrite = false;
        if (!SslRetry(SSL_get_error(ssl, r), &wantsRead, &wantsWrite) ||
            !WaitFd(client, wantsRead ? POLLIN : POLLOUT, handshakeDeadline, stop_)) {
            ERR_clear_error();  // e.g. the client refused the certificate
            return;
        }
    }
    ++handshakes_;

    const int backend = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_in addr = selvora_common::Loopback(backendPort_);
    int soError = 0;
    socklen_t len = sizeof soError;
    const bool ok =
        backend >= 0 &&
        (connect(backend, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0 ||
         (errno == EINPROGRESS && WaitFd(backend, POLLOUT, Clock::now() + kIdleLimit, stop_) &&
          getsockopt(backend, SOL_SOCKET, SO_ERROR, &soError, &len) == 0 && soError == 0));

    std::string up, down;  // client to backend, backend to client
    bool clientDone = false, backendDone = false, fatal = false;
    auto lastBytes = Clock::now();
    char buf[16384];
    // SSL_read runs before every poll, so bytes already inside SSL (SSL_pending) never wait on
    // a socket that stays quiet.
    while (ok && !stop_ && !fatal) {
        bool moved = false, sslWantsRead = false, sslWantsWrite = false;
        if (!clientDone && up.empty()) {
            const int n = SSL_read(ssl, buf, sizeof buf);
            const int e = SSL_get_error(ssl, n);
            if (n > 0) up.assign(buf, n);
            moved |= n > 0;
            clientDone = n <= 0 && !SslRetry(e, &sslWantsRead, &sslWantsWrite);
            fatal = clientDone && e != SSL_ERROR_ZERO_RETURN;  // no close_notify after an error
        }
        if (!up.empty()) {
            const ssize_t n = send(backend, up.data(), up.size(), MSG_NOSIGNAL);
            if (n < 0 && !SocketRetry()) break;
            if (n > 0) up.erase(0, n);
            moved |= n > 0;
        }
        if (!backendDone && down.empty()) {
            const ssize_t n = recv(backend, buf, sizeof buf, 0);
            if (n > 0) down.assign(buf, n);
            moved |= n > 0;
            backendDone = n == 0 || (n < 0 && !SocketRetry());
        }
        if (!down.empty() && !fatal) {
            const int n = SSL_write(ssl, down.data(), static_cast<int>(down.size()));
            if (n > 0) down.erase(0, n);
            moved |= n > 0;
            fatal = n <= 0 && !SslRetry(SSL_get_error(ssl, n), &sslWantsRead, &sslWantsWrite);
        }
        // Either side closing ends the connection, once what it sent has been passed on.
        if ((clientDone && up.empty()) || (backendDone && down.empty())) break;
        if (moved) {
            lastBytes = Clock::now();
            continue;
        }
        if (Clock::now() - lastBytes > kIdleLimit) break;
        pollfd fds[2] = {{client, 0, 0}, {backend, 0, 0}};
        if ((!clientDone && up.empty()) || sslWantsRead) fds[0].events |= POLLIN;
        if (sslWantsWrite) fds[0].events |= POLLOUT;
        if (!backendDone && down.empty()) fds[1].events |= POLLIN;
        if (!up.empty()) fds[1].events |= POLLOUT;
        poll(fds, 2, 50);
    }
    if (!fatal) SSL_shutdown(ssl);  // one close_notify attempt; the client need not answer
    ERR_clear_error();
    if (backend >= 0) close(backend);
}

}  // namespace selvora_test
