// The request path shared by the HTTP exchanges, and the online check.
#pragma once

#include <cstddef>
#include <cstdint>

namespace selvora {
namespace net {

// Receives the body of a 2xx response. Return false to stop the transfer
// early (Take then reports whether that stop still counts as success).
class BodySink {
  public:
    virtual ~BodySink() = default;
    virtual bool Take(const char* bytes, std::size_t length) = 0;
    // The length the response declares for its body, told before the first
    // bytes when there is one. Only a hint: the body may end sooner.
    virtual void Expect(std::size_t length) { (void)length; }
    virtual bool StoppedEarlyIsSuccess() const { return false; }
};

struct Request {
    const char* url = nullptr;
    bool post = false;
    const char* contentType = nullptr;  // POST only
    // The POST body: prefix, then data.
    const unsigned char* prefix = nullptr;
    std::size_t prefixLength = 0;
    const unsigned char* data = nullptr;
    std::size_t dataLength = 0;
};

// True for an http:// or https:// URL (scheme in any case): the only ones
// the exchanges request or follow.
bool IsWebUrl(const char* url);
// True when text (length bytes) starts with prefix, a lowercase ASCII text,
// in any case.
bool StartsWithNoCase(const char* text, std::size_t length, const char* prefix);

// True for optional white space in a header field: a space or a tab.
inline bool IsOws(char c) { return c == ' ' || c == '\t'; }

// The body length the Content-Length fields of one response head declare. A
// field's value is one decimal number, or a list of the same number
// repeated; any other value, or another number in another field, leaves the
// length ambiguous, and a response with an ambiguous length has no body.
struct DeclaredLength {
    bool seen = false;
    bool ambiguous = false;
    std::uint64_t bytes = 0;
    // Takes one field's value (length bytes, the name left out).
    void Take(const char* value, std::size_t length);
};

// The machine's connection as the online check sees it.
class Connectivity {
  public:
    virtual ~Connectivity() = default;
    // The connected state reads as disconnected.
    virtual bool IsOffline() const = 0;
    // Asks the machine to go online for url; true when it did.
    virtual bool GoOnline(const char* url) const = 0;
};

// The platform's own. Linux has no offline mode: always online, nothing probed.
const Connectivity& PlatformConnectivity();

// The stall limit the exported exchanges run with.
constexpr long kDefaultStallSeconds = 60;

// What an exchange depends on besides its arguments: the connection the
// online check asks and the time limits. The exported functions run with the
// defaults; the tests pass their own.
struct Conditions {
    const Connectivity* connectivity = &PlatformConnectivity();
    // A transfer with no byte for this long fails. On Windows the exported
    // exchanges keep WinINet's own receive time-out; another value sets it.
    long stallSeconds = kDefaultStallSeconds;
    long connectTimeoutMs = 15000;
};

// Runs one exchange, following redirects. Returns 1 when the status was 2xx
// and the whole body (or as much as the sink wanted) arrived, else 0. The sink sees body bytes only
// of a 2xx response. *statusOk tells whether a 2xx status was received.
int Perform(const Request& request, BodySink* sink, bool* statusOk, const Conditions& conditions);

// The platform's exchange behind Perform, given a web URL; may throw
// std::bad_alloc (Perform turns that into 0).
int PlatformPerform(const Request& request, BodySink* sink, bool* statusOk,
                    const Conditions& conditions);

// 1 when the machine is online or could be brought online for url.
int EnsureInternetOnline(const char* url, const Connectivity& connectivity);

}  // namespace net
}  // namespace selvora
