// selvora_tls_fronts: HTTPS servers on 127.0.0.1 for the network tests of the
// Windows build, which has no TLS server of its own to test WinINet against.
//
//   selvora_tls_fronts DIR
//
// Makes a certificate authority (its certificate in DIR/ca.pem) and serves,
// each behind TLS with its own certificate, one plain HTTP server:
//   /page    200 "secure page"      /symbol  200 "secure symbol"
//   /matrix  200, the doubles 1 to 16, little-endian
//   /up      302 to the trusted front's /page (from http to https)
//   /down    301 to the plain server's /page (from https to http)
// Prints "plain PORT", then "NAME PORT" for each front (trusted,
// other-authority, self-signed, wrong-host, expired), then "ready", and
// serves until its standard input closes. The fronts are reached as
// https://localhost:PORT.
#include <cstdint>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "common/loopback_http.h"
#include "support/tls_loopback.h"

using namespace selvora_common;
using namespace selvora_test;

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: selvora_tls_fronts DIR\n";
        return 2;
    }
    const std::string dir = argv[1];
    Server plain;
    if (!plain.Running()) return 1;
    TestCa ca, other;
    if (!ca.WritePem(dir + "/ca.pem")) return 1;

    // All for the name localhost (Wine's WinINet matches a certificate's
    // names, not its addresses), but for wrong-host.
    std::vector<std::pair<std::string, Leaf>> leaves = {
        {"trusted", ca.Issue("localhost", {}, {"localhost"})},
        {"other-authority", other.Issue("localhost", {}, {"localhost"})},
        {"self-signed", TestCa::SelfSigned("localhost", {}, {"localhost"})},
        {"wrong-host", ca.Issue("wrong.example", {}, {"wrong.example"})},
        {"expired", ca.Issue("localhost", {}, {"localhost"}, -7200, -3600)},
    };
    std::vector<std::unique_ptr<TlsFront>> fronts;
    for (const auto& [name, leaf] : leaves) {
        fronts.push_back(std::make_unique<TlsFront>(leaf, plain.Port()));
        if (!fronts.back()->Running()) return 1;
    }

    std::string matrix;
    for (int i = 1; i <= 16; ++i) {
        const double value = i;
        matrix.append(reinterpret_cast<const char*>(&value), sizeof value);
    }
    plain.On("/page", Reply(200, "secure page"));
    plain.On("/symbol", Reply(200, "secure symbol"));
    plain.On("/matrix", Reply(200, matrix));
    plain.On("/up",
             Redirect(302, "https://localhost:" + std::to_string(fronts[0]->Port()) + "/page"));
    plain.On("/down", Redirect(301, plain.Url("/page")));

    std::cout << "plain " << plain.Port() << "\n";
    for (std::size_t i = 0; i < fronts.size(); ++i)
        std::cout << leaves[i].first << " " << fronts[i]->Port() << "\n";
    std::cout << "ready" << std::endl;
    std::string line;
    while (std::getline(std::cin, line)) {
    }
    return 0;
}
