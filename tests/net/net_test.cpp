// The three HTTP exchanges against loopback servers: what they send, what
// they make of every kind of answer, and what they leave behind when an
// exchange fails. The same cases hold on every platform.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "net/net_fixture.h"

namespace {

using namespace std::chrono_literals;
using namespace selvora_common;
using namespace selvora_test;

class PageFetch : public Net {};
class SymbolDownload : public Net {};
class MatrixPost : public Net {};
class OnlineCheck : public Net {};

// Responses whose status line (or head) is not HTTP that a client can accept.
const std::vector<std::string> kMalformed = {
    "HTTP/1.1 abc Broken\r\nContent-Length: 4\r\nConnection: close\r\n\r\nbody",
    "HTTP/1.1 2000 OK\r\nContent-Length: 4\r\nConnection: close\r\n\r\nbody",
    "HTTP/1.1200 OK\r\nContent-Length: 4\r\nConnection: close\r\n\r\nbody",
    "",  // closed without a word
};

// More of them, which Wine's WinINet takes for answers.
const std::vector<std::string> kMalformedButTakenByWine = {
    "HTTP/7.1 200 OK\r\nContent-Length: 4\r\nConnection: close\r\n\r\nbody",
    "SMTP ready 200\r\n\r\nbody",
    "HTTP/1.1 200 OK\r\nContent-Length: 4\r\nConne",  // closed inside the head
};

const char* const kWinInetReadsTheResponse =
    "WinINet reads the response itself; Wine's takes an unknown HTTP version, a response "
    "without a status line (as HTTP/0.9, status 200) and a head cut short for answers";

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
    SELVORA_SKIP_UNDER_WINE(
        "WinINet follows a redirect loop without end; Windows' gives up "
        "with ERROR_HTTP_REDIRECT_FAILED, and redirects are WinINet's");
    server_.On("/loop", Redirect(302, "/loop"));
    OvString out("keep");
    EXPECT_EQ(0, OV_GetHtml(Url("/loop").c_str(), &out));
    EXPECT_EQ("keep", Text(out));
    // The first request and at most 30 redirects.
    EXPECT_LE(server_.Requests().size(), 31u);
}

void ExpectPageFetchesFail(Server& server, const std::vector<std::string>& responses) {
    for (std::size_t i = 0; i < responses.size(); ++i) {
        const std::string path = "/malformed" + std::to_string(i);
        server.On(path, Raw(responses[i]));
        OvString out("keep");
        EXPECT_EQ(0, OV_GetHtml(server.Url(path).c_str(), &out)) << responses[i];
        EXPECT_EQ("keep", Text(out)) << responses[i];
    }
}

TEST_F(PageFetch, MalformedResponsesFail) { ExpectPageFetchesFail(server_, kMalformed); }

TEST_F(PageFetch, MoreMalformedResponsesFail) {
    SELVORA_SKIP_ON_WINDOWS(kWinInetReadsTheResponse);
    ExpectPageFetchesFail(server_, kMalformedButTakenByWine);
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
    const Socket closed = BoundSocket(&port);  // bound, never listening: refused
    ASSERT_NE(kNoSocket, closed);
    OvString out("keep");
    EXPECT_EQ(0, OV_GetHtml(("http://127.0.0.1:" + std::to_string(port) + "/").c_str(), &out));
    EXPECT_EQ("keep", Text(out));
    CloseSocket(closed);
}

TEST_F(PageFetch, ConnectTimeOutFails) {
    SELVORA_SKIP_UNDER_WINE(
        "WinINet connects through a blocking socket (its switch to a "
        "non-blocking one is skipped) and so ignores the connect time-out");
    // A listener whose one-place queue is already taken by a connection it
    // never accepts: a further connection attempt goes unanswered.
    std::uint16_t port = 0;
    const Socket listener = BoundSocket(&port);
    ASSERT_NE(kNoSocket, listener);
    ASSERT_TRUE(Listen(listener, 0));
    const Socket filler = ConnectedSocket(port);
    ASSERT_NE(kNoSocket, filler);
    std::this_thread::sleep_for(50ms);

    conditions_.connectTimeoutMs = 300;
    OvString out("keep");
    EXPECT_EQ(0, Fetch(("http://127.0.0.1:" + std::to_string(port) + "/"), &out));
    EXPECT_EQ("keep", Text(out));
    CloseSocket(filler);
    CloseSocket(listener);
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
        EXPECT_TRUE(ReadWholeFile(file) == body) << size;
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
    EXPECT_TRUE(ReadWholeFile(file) == body);
    EXPECT_EQ(Listing{"sym.dat"}, Names(dir_.Path()));

    server_.On("/empty", Reply(200, ""));
    EXPECT_EQ(1, Load("/empty", file));
    EXPECT_EQ("", ReadWholeFile(file));
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
    EXPECT_EQ("old symbol", ReadWholeFile(existing));
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
        EXPECT_EQ("the old symbol", ReadWholeFile(file)) << path;
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
    EXPECT_EQ("the old symbol", ReadWholeFile(file));
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
    EXPECT_TRUE(ReadWholeFile(file) == body);
    fs::remove(file);
    EXPECT_EQ(1, Load("/moved", file));
    EXPECT_TRUE(ReadWholeFile(file) == body);
    EXPECT_EQ(Listing{"chunked.sym"}, Names(dir_.Path()));
}

class SymbolDownloadOfMalformedResponses : public Net {
  protected:
    void ExpectEachFails(const std::vector<std::string>& responses) {
        const fs::path file = dir_.Path() / "never.sym";
        for (std::size_t i = 0; i < responses.size(); ++i) {
            const std::string path = "/malformed" + std::to_string(i);
            server_.On(path, Raw(responses[i]));
            EXPECT_EQ(0, Load(path, file)) << responses[i];
        }
        EXPECT_EQ(Listing{}, Names(dir_.Path()));
    }
};

TEST_F(SymbolDownloadOfMalformedResponses, Fails) { ExpectEachFails(kMalformed); }

TEST_F(SymbolDownloadOfMalformedResponses, MoreFail) {
    SELVORA_SKIP_ON_WINDOWS(kWinInetReadsTheResponse);
    ExpectEachFails(kMalformedButTakenByWine);
}

TEST_F(SymbolDownload, ClosedPortAndNullUrlFail) {
    std::uint16_t port = 0;
    const Socket closed = BoundSocket(&port);
    ASSERT_NE(kNoSocket, closed);
    std::string url = "http://127.0.0.1:" + std::to_string(port) + "/sym";
    const fs::path file = dir_.Path() / "never.sym";
    EXPECT_EQ(0, LoadSymbolInternet(url.data(), url.data(), file.string().c_str()));
    EXPECT_EQ(0, LoadSymbolInternet(url.data(), nullptr, file.string().c_str()));
    EXPECT_EQ(Listing{}, Names(dir_.Path()));
    CloseSocket(closed);
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

const char* const kWinInetRepeatsThePost =
    "WinINet follows redirects itself; Wine's repeats a POST redirected by 307 or 308 "
    "without its body and Content-Type (Content-Length: 0)";

TEST_F(MatrixPost, FollowsRedirects) {
    SELVORA_SKIP_ON_WINDOWS(kWinInetRepeatsThePost);
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
    const Socket closed = BoundSocket(&port);
    ASSERT_NE(kNoSocket, closed);
    std::string url = "http://127.0.0.1:" + std::to_string(port) + "/matrix";
    unsigned char data[3] = {0, 1, 2};
    Matrix3d m = Sentinel();
    EXPECT_EQ(0, GetMatrixInternet(url.data(), url.data(), data, 3, &m));
    ExpectSentinel(m);
    CloseSocket(closed);
}

// ---------------------------------------------------------------------------
// The online check

TEST_F(OnlineCheck, TheExportedExchangesAskThePlatform) {
    const selvora::net::Conditions defaults;
    EXPECT_EQ(&selvora::net::PlatformConnectivity(), defaults.connectivity);
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
    EXPECT_TRUE(ReadWholeFile(file) == body);
    Matrix3d m = Sentinel();
    EXPECT_EQ(1, PostMatrix("/matrix", "data", &m));
    ExpectMatrixWords(m, kWords);
    EXPECT_EQ(2u, server_.Requests().size());
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
        EXPECT_EQ(0, LoadSymbolInternet(online.data(), url.data(), file.string().c_str())) << url;
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

TEST_F(Schemes, LocalFilesAreNotRead) {
    const fs::path secret = dir_.Path() / "secret.txt";
    WriteFile(secret, "not for the network");
    const fs::path target = dir_.Path() / "copy.sym";
    for (const std::string& url :
         {"file://" + secret.string(), "file:///" + secret.generic_string(),
          "FILE://" + secret.generic_string()}) {
        OvString out("keep");
        EXPECT_EQ(0, OV_GetHtml(url.c_str(), &out)) << url;
        EXPECT_EQ("keep", Text(out)) << url;
        std::string online = Url("/");
        std::string address = url;
        EXPECT_EQ(0, LoadSymbolInternet(online.data(), address.data(), target.string().c_str()))
            << url;
    }
    EXPECT_EQ(Listing{"secret.txt"}, Names(dir_.Path()));
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
    EXPECT_EQ("the old symbol", ReadWholeFile(file));
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
        EXPECT_EQ("the old symbol", ReadWholeFile(file)) << what;
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
        EXPECT_EQ(body, ReadWholeFile(file)) << lengths[0];
    }
}

TEST_F(Framing, ConflictingLengthsInARedirectFail) {
    SELVORA_SKIP_ON_WINDOWS(
        "WinINet follows redirects itself: the exchange sees the last "
        "response's head only");
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
    return [=](Socket fd, const std::atomic<bool>& stop) {
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
    EXPECT_EQ(body, ReadWholeFile(file));
}

TEST_F(Stall, ASilentServerFailsAfterTheStallTime) {
    conditions_.stallSeconds = 2;
    // Accepted, request read, never a word back.
    server_.On("/silent",
               [](Socket fd, const std::atomic<bool>& stop) { WaitForClientClose(fd, stop); });
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
    SELVORA_SKIP_ON_WINDOWS(kWinInetRepeatsThePost);
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

}  // namespace
