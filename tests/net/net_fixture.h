// What the network tests share: the requests as the server saw them, bodies,
// files and matrices, and the fixture that makes the exchanges against a
// loopback server.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "common/loopback_http.h"
#include "common/whole_file.h"
#include "net/exchanges.h"
#include "net/http.h"
#include "selvora/net/net.h"
#include "support/platform.h"
#include "support/scratch_dir.h"

namespace selvora_test {

namespace fs = std::filesystem;

// ---------------------------------------------------------------------------
// Requests as the server saw them

struct Message {
    std::string start;  // the request line
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
};

inline std::string Lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

inline Message Parse(const std::string& raw) {
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

inline int Count(const Message& m, const std::string& name) {
    return static_cast<int>(std::count_if(m.headers.begin(), m.headers.end(), [&](const auto& h) {
        return Lower(h.first) == Lower(name);
    }));
}

inline std::string Value(const Message& m, const std::string& name) {
    for (const auto& h : m.headers)
        if (Lower(h.first) == Lower(name)) return h.second;
    return "(absent)";
}

// The agent and accept lines that every exchange sends, once each.
inline void ExpectCommonHeaders(const Message& m) {
    EXPECT_EQ(1, Count(m, "User-Agent"));
    EXPECT_EQ("Orvek", Value(m, "User-Agent"));
    EXPECT_EQ(1, Count(m, "Accept"));
    EXPECT_EQ("*/*", Value(m, "Accept"));
}

inline void ExpectPlainGet(const std::string& raw, const std::string& path) {
    const Message m = Parse(raw);
    EXPECT_EQ("GET " + path + " HTTP/1.1", m.start);
    ExpectCommonHeaders(m);
    EXPECT_EQ(0, Count(m, "Content-Length"));
    EXPECT_EQ(0, Count(m, "Transfer-Encoding"));
    EXPECT_EQ("", m.body);
}

// ---------------------------------------------------------------------------
// Bodies and files

inline std::string RandomBytes(std::size_t n, unsigned seed) {
    std::mt19937 generator(seed);
    std::string bytes(n, '\0');
    for (char& c : bytes) c = static_cast<char>(generator() & 0xFF);
    return bytes;
}

// Printable characters and line breaks, no NUL.
inline std::string RandomText(std::size_t n, unsigned seed) {
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
inline std::string ExpectedPage(const std::string& body) {
    std::string text;
    for (std::size_t at = 0; at < body.size(); at += 1023) {
        const std::string slice = body.substr(at, 1023);
        text += slice.substr(0, slice.find('\0'));
    }
    return text;
}

inline std::string Text(const OvString& s) {
    return std::string(static_cast<const char*>(s), static_cast<std::size_t>(s.GetLength()));
}

inline void WriteFile(const fs::path& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::vector<std::string> Names(const fs::path& dir) {
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
inline const std::vector<std::uint64_t> kWords = {
    0x3FF0000000000000, 0x3FB999999999999A, 0xC000000000000000, 0x3FD5555555555555,
    0x400921FB54442D18, 0x7E37E43C8800759C, 0x8000000000000000, 0x0000000000000001,
    0x4004000000000000, 0xC01F000000000000, 0x40FE240C9FBE76C9, 0x3DDB7CDFD9D7BDBB,
    0x3FE0000000000000, 0x7FF0000000000000, 0x44DFE185CA57C517, 0xFFEFFFFFFFFFFFFF};

// Each word as 8 bytes, least significant first.
inline std::string LittleEndian(const std::vector<std::uint64_t>& words) {
    std::string bytes;
    for (std::uint64_t w : words)
        for (int k = 0; k < 8; ++k) bytes.push_back(static_cast<char>((w >> (8 * k)) & 0xFF));
    return bytes;
}

inline std::uint64_t Bits(double d) {
    std::uint64_t bits;
    std::memcpy(&bits, &d, sizeof bits);
    return bits;
}

inline void ExpectMatrixWords(const Matrix3d& m, const std::vector<std::uint64_t>& words) {
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(words[i], Bits(m.m[i / 4][i % 4])) << "element " << i / 4 << "," << i % 4;
}

// A matrix no exchange would produce: element i holds 1000 + i.
inline Matrix3d Sentinel() {
    Matrix3d m;
    for (int i = 0; i < 16; ++i) m.m[i / 4][i % 4] = 1000.0 + i;
    return m;
}

inline void ExpectSentinel(const Matrix3d& m) {
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
            UnsetEnv(name);
        SetEnv("no_proxy", "*");
        SetEnv("NO_PROXY", "*");
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
        return Load(path, filePath.string().c_str());
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

    // Page, download and matrix from the server at `base` ("https://host:port"),
    // which serves "secure page" at /page, "secure symbol" at /symbol and
    // `matrix` (16 doubles, little-endian) at /matrix: true when the three give
    // 1 and those, or, with `expected` 0, give 0 and change nothing. What did
    // not is written on stderr; nothing is asserted, so that a death test's
    // child can use it too.
    bool ExchangesGive(const std::string& base, int expected,
                       const std::vector<std::uint64_t>& matrix) {
        bool all = true;
        auto check = [&](bool ok, const char* what) {
            if (!ok)
                std::fprintf(stderr, "%s: the %s did not give %d\n", base.c_str(), what, expected);
            all = all && ok;
        };
        OvString out("keep");
        check(OV_GetHtml((base + "/page").c_str(), &out) == expected &&
                  Text(out) == (expected ? "secure page" : "keep"),
              "page");

        const fs::path file = dir_.Path() / "symbol.sym";
        WriteFile(file, "old symbol");
        std::string online = base + "/";
        std::string url = base + "/symbol";
        check(
            LoadSymbolInternet(online.data(), url.data(), file.string().c_str()) == expected &&
                selvora_common::ReadWholeFile(file) == (expected ? "secure symbol" : "old symbol"),
            "download");
        fs::remove(file);

        url = base + "/matrix";
        unsigned char data[3] = {'a', 'b', 'c'};
        Matrix3d m = Sentinel();
        bool same = GetMatrixInternet(online.data(), url.data(), data, 3, &m) == expected;
        for (int i = 0; i < 16; ++i)
            same = same && (expected ? Bits(m.m[i / 4][i % 4]) == matrix[i]
                                     : m.m[i / 4][i % 4] == 1000.0 + i);
        check(same, "matrix");
        return all;
    }

    // A page and a binary file put in `served`, then fetched and downloaded
    // from `base`: the address of an HTTP server of that folder that nobody
    // here wrote.
    void ExpectThePageAndFileOf(const fs::path& served, const std::string& base) {
        const std::string page = "<html><body>" + RandomText(40000, 41) + "</body></html>\n";
        std::string binary = RandomBytes(1500000, 42);
        binary[0] = '\0';
        WriteFile(served / "index.html", page);
        WriteFile(served / "symbol.bin", binary);

        OvString out;
        EXPECT_EQ(1, OV_GetHtml((base + "/index.html").c_str(), &out));
        EXPECT_TRUE(Text(out) == page);
        EXPECT_EQ(1, OV_GetHtml((base + "/symbol.bin").c_str(), &out));
        EXPECT_TRUE(Text(out) == ExpectedPage(binary));
        out = "keep";
        EXPECT_EQ(0, OV_GetHtml((base + "/no-such-file").c_str(), &out));
        EXPECT_EQ("keep", Text(out));

        std::string online = base + "/";
        std::string url = base + "/symbol.bin";
        const fs::path file = dir_.Path() / "symbol.bin";
        EXPECT_EQ(1, LoadSymbolInternet(online.data(), url.data(), file.string().c_str()));
        EXPECT_TRUE(selvora_common::ReadWholeFile(file) == binary);
        std::string missing = base + "/no-such-file";
        const fs::path never = dir_.Path() / "never.bin";
        EXPECT_EQ(0, LoadSymbolInternet(online.data(), missing.data(), never.string().c_str()));
        EXPECT_EQ(Listing{"symbol.bin"}, Names(dir_.Path()));
    }

    struct OfflineMachine : selvora::net::Connectivity {
        bool goingOnlineWorks = false;
        bool IsOffline() const override { return true; }
        bool GoOnline(const char*) const override { return goingOnlineWorks; }
    };

    selvora_common::Server server_;
    selvora_test::ScratchDir dir_{"selvora-net"};
    OfflineMachine machine_;
    selvora::net::Conditions conditions_;
};

}  // namespace selvora_test
