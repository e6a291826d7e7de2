// The request path over WinINet (Windows), in the order of the exchanges'
// common request sequence: a session with the agent "Orvek" and the system's
// pre-configured access, the connect time-out, the URL split, the connection,
// the request with its flags, the header block added if new, the send (with
// its body for a POST), the status, reads of at most 1023 bytes, and the
// handles closed request first, session last. What WinINet decides by itself
// (proxies, certificates, redirects, the receive time-out) stays Windows'.
// Only the tests, through the conditions, shorten the receive time-out.
#include <windows.h>
#include <wininet.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "net/http.h"

namespace selvora {
namespace net {
namespace {

constexpr const char* kAgent = "Orvek";
constexpr const char* kHeaderBlock = "Accept: */*\r\nUser-Agent: Orvek\r\n";
constexpr DWORD kGetFlags = 0xC00;        // INTERNET_FLAG_RESYNCHRONIZE | INTERNET_FLAG_HYPERLINK
constexpr DWORD kPostFlags = 0x80000000;  // INTERNET_FLAG_RELOAD
constexpr DWORD kReadSize = 1023;

struct HandleCloser {
    void operator()(void* handle) const { InternetCloseHandle(static_cast<HINTERNET>(handle)); }
};
using Handle = std::unique_ptr<void, HandleCloser>;

// The parts of a URL the connection and the request need.
struct Target {
    std::string host;
    INTERNET_PORT port = 0;
    std::string object;  // path and query
    bool secure = false;
};

bool Split(const char* url, Target* target) {
    char host[INTERNET_MAX_HOST_NAME_LENGTH + 1] = {};
    std::vector<char> path(std::strlen(url) + 1), extra(std::strlen(url) + 1);
    URL_COMPONENTSA parts = {};
    parts.dwStructSize = sizeof parts;
    parts.lpszHostName = host;
    parts.dwHostNameLength = sizeof host;
    parts.lpszUrlPath = path.data();
    parts.dwUrlPathLength = static_cast<DWORD>(path.size());
    parts.lpszExtraInfo = extra.data();
    parts.dwExtraInfoLength = static_cast<DWORD>(extra.size());
    if (!InternetCrackUrlA(url, 0, 0, &parts)) return false;
    if (parts.nScheme != INTERNET_SCHEME_HTTP && parts.nScheme != INTERNET_SCHEME_HTTPS)
        return false;
    target->host = host;
    target->port = parts.nPort;
    target->object = std::string(path.data()) + extra.data();
    if (target->object.empty()) target->object = "/";
    target->secure = parts.nScheme == INTERNET_SCHEME_HTTPS;
    return !target->host.empty();
}

bool WriteAll(HINTERNET request, const unsigned char* bytes, std::size_t length) {
    while (length > 0) {
        const DWORD chunk = length > 0x10000000u ? 0x10000000u : static_cast<DWORD>(length);
        DWORD written = 0;
        if (!InternetWriteFile(request, bytes, chunk, &written) || written == 0) return false;
        bytes += written;
        length -= written;
    }
    return true;
}

// Sends the request: a GET as it is, a POST with its declared total and the
// two writes (prefix, then data).
bool Send(HINTERNET request, const Request& r) {
    if (!r.post) return HttpSendRequestA(request, nullptr, 0, nullptr, 0) != FALSE;
    INTERNET_BUFFERSA buffers = {};
    buffers.dwStructSize = sizeof buffers;
    buffers.dwBufferTotal = static_cast<DWORD>(r.prefixLength + r.dataLength);
    if (!HttpSendRequestExA(request, &buffers, nullptr, HSR_INITIATE, 1)) return false;
    if (!WriteAll(request, r.prefix, r.prefixLength) || !WriteAll(request, r.data, r.dataLength))
        return false;
    return HttpEndRequestA(request, nullptr, 0, 1) != FALSE;
}

long Status(HINTERNET request) {
    DWORD status = 0, size = sizeof status;
    if (!HttpQueryInfoA(request, HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status, &size,
                        nullptr))
        return 0;
    return static_cast<long>(status);
}

// The body length the response's Content-Length fields declare, every field
// of the head read in turn.
DeclaredLength LengthOf(HINTERNET request) {
    DeclaredLength length;
    std::string value(64, '\0');
    DWORD index = 0;
    while (!length.ambiguous) {
        DWORD size = static_cast<DWORD>(value.size());
        DWORD next = index;
        if (HttpQueryInfoA(request, HTTP_QUERY_CONTENT_LENGTH, &value[0], &size, &next)) {
            length.Take(value.data(), size);
            if (next <= index) break;  // WinINet moves on to the next field
            index = next;
        } else if (GetLastError() == ERROR_INSUFFICIENT_BUFFER && size >= value.size()) {
            value.resize(size + 1);
        } else {
            break;  // no more fields
        }
    }
    return length;
}

// Reads the body into the sink. 1 when it all arrived (as much as the response
// declared), or when the sink stopped early and counts that as success.
int ReadBody(HINTERNET request, const DeclaredLength& length, BodySink* sink) {
    if (length.seen && length.bytes <= SIZE_MAX)
        sink->Expect(static_cast<std::size_t>(length.bytes));
    std::uint64_t received = 0;
    char buffer[kReadSize];
    for (;;) {
        DWORD read = 0;
        if (!InternetReadFile(request, buffer, kReadSize, &read)) return 0;
        if (read == 0) break;
        received += read;
        if (!sink->Take(buffer, read)) return sink->StoppedEarlyIsSuccess() ? 1 : 0;
    }
    return !length.seen || received >= length.bytes ? 1 : 0;
}

int PerformOrThrow(const Request& r, BodySink* sink, bool* statusOk, const Conditions& conditions) {
    Handle session(InternetOpenA(kAgent, INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
    if (!session) return 0;
    Target target;
    if (!Split(r.url, &target)) return 0;
    DWORD timeout = static_cast<DWORD>(conditions.connectTimeoutMs);
    InternetSetOptionA(session.get(), INTERNET_OPTION_CONNECT_TIMEOUT, &timeout, sizeof timeout);
    Handle connection(InternetConnectA(session.get(), target.host.c_str(), target.port, nullptr,
                                       nullptr, INTERNET_SERVICE_HTTP, 0, 0));
    if (!connection) return 0;
    const DWORD flags =
        (r.post ? kPostFlags : kGetFlags) | (target.secure ? INTERNET_FLAG_SECURE : 0);
    Handle request(HttpOpenRequestA(connection.get(), r.post ? "POST" : "GET",
                                    target.object.c_str(), nullptr, nullptr, nullptr, flags, 0));
    if (!request) return 0;
    // The exported exchanges leave the receive time-out as Windows sets it; a
    // caller that changes the stall limit (the tests) sets it to that limit.
    if (conditions.stallSeconds != kDefaultStallSeconds) {
        DWORD stall = static_cast<DWORD>(conditions.stallSeconds * 1000);
        InternetSetOptionA(request.get(), INTERNET_OPTION_RECEIVE_TIMEOUT, &stall, sizeof stall);
    }
    const DWORD addIfNew = HTTP_ADDREQ_FLAG_ADD_IF_NEW;
    if (!HttpAddRequestHeadersA(request.get(), kHeaderBlock, static_cast<DWORD>(-1), addIfNew))
        return 0;
    if (r.post && r.contentType) {
        const std::string line = std::string(r.contentType) + "\r\n";
        if (!HttpAddRequestHeadersA(request.get(), line.c_str(), static_cast<DWORD>(-1), addIfNew))
            return 0;
    }
    if (!Send(request.get(), r)) return 0;
    const long status = Status(request.get());
    if (status < 200 || status > 299) return 0;
    const DeclaredLength length = LengthOf(request.get());
    if (length.ambiguous) return 0;
    if (statusOk) *statusOk = true;
    return sink ? ReadBody(request.get(), length, sink) : 1;
}

}  // namespace

const Connectivity& PlatformConnectivity() {
    // The system's connected state, and its request to leave offline mode.
    class WinInetConnectivity : public Connectivity {
      public:
        bool IsOffline() const override {
            DWORD state = 0, size = sizeof state;
            if (!InternetQueryOptionA(nullptr, INTERNET_OPTION_CONNECTED_STATE, &state, &size))
                return true;
            return (state & (INTERNET_STATE_DISCONNECTED_BY_USER | INTERNET_STATE_DISCONNECTED)) !=
                   0;
        }
        bool GoOnline(const char* url) const override {
            std::string copy = url ? url : "";  // the call takes a writable text
            return InternetGoOnlineA(url ? &copy[0] : nullptr, nullptr, 1) != FALSE;
        }
    };
    static const WinInetConnectivity kMachine;
    return kMachine;
}

int PlatformPerform(const Request& request, BodySink* sink, bool* statusOk,
                    const Conditions& conditions) {
    return PerformOrThrow(request, sink, statusOk, conditions);
}

}  // namespace net
}  // namespace selvora
