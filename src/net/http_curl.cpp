// The request path over libcurl (Linux): one exchange with its redirects, the
// framing checks, the stall limit, the trust settings; the platform's connectivity.
#include "net/http.h"

#include <curl/curl.h>

#include <cctype>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

namespace selvora {
namespace net {
namespace {

constexpr const char* kAgent = "Orvek";
constexpr int kMaxRedirects = 30;  // a redirect loop ends instead of running on

void InitCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

using Clock = std::chrono::steady_clock;

// The head of one response, as far as the exchange needs it.
struct Head {
    long status = 0;
    bool complete = false;  // ended with its empty line
    DeclaredLength length;
    std::string location;  // the first Location header's value
};

struct Transfer {
    CURL* curl = nullptr;
    BodySink* sink = nullptr;
    const Request* request = nullptr;
    long stallSeconds = kDefaultStallSeconds;
    // Per response.
    Head head;
    bool statusOk = false;
    bool statusKnown = false;
    bool stoppedBySink = false;
    std::size_t sent = 0;  // POST body bytes handed to libcurl so far
    // For the stall rule: when a byte last moved either way.
    Clock::time_point lastByte;
    curl_off_t seen = 0;

    void StartRequest() {
        head = Head();
        statusOk = statusKnown = stoppedBySink = false;
        sent = 0;
        lastByte = Clock::now();
        seen = 0;
    }
};

long Status(CURL* curl) {
    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    return status;
}

size_t OnBody(char* bytes, size_t size, size_t count, void* context) {
    Transfer& t = *static_cast<Transfer*>(context);
    const size_t length = size * count;
    t.lastByte = Clock::now();
    if (!t.statusKnown) {
        const long status = Status(t.curl);
        t.statusOk = status >= 200 && status <= 299;
        t.statusKnown = true;
        curl_off_t declared = -1;
        if (t.statusOk && t.sink &&
            curl_easy_getinfo(t.curl, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &declared) == CURLE_OK &&
            declared >= 0)
            t.sink->Expect(static_cast<std::size_t>(declared));
    }
    // Only a 2xx body is wanted; a redirect's goes unread, as does a failure's.
    if (!t.statusOk) return 0;
    if (t.sink && !t.sink->Take(bytes, length)) {
        t.stoppedBySink = true;
        return 0;
    }
    return length;
}

// A status line starts a response's head (a redirect's, an interim one's,
// then the final one's); the empty line ends it. A head cut short leaves its
// status unconfirmed. A head whose body length is ambiguous ends the exchange.
size_t OnHeader(char* bytes, size_t size, size_t count, void* context) {
    Transfer& t = *static_cast<Transfer*>(context);
    const size_t length = size * count;
    t.lastByte = Clock::now();
    std::size_t end = length;
    while (end > 0 && (bytes[end - 1] == '\n' || bytes[end - 1] == '\r')) --end;
    if (StartsWithNoCase(bytes, length, "http/")) {
        t.head = Head();
    } else if (end == 0) {
        t.head.complete = true;
        t.head.status = Status(t.curl);
    } else if (StartsWithNoCase(bytes, end, "content-length:")) {
        t.head.length.Take(bytes + 15, end - 15);
        if (t.head.length.ambiguous) return 0;
    } else if (StartsWithNoCase(bytes, end, "location:") && t.head.location.empty()) {
        std::size_t from = 9;
        while (from < end && IsOws(bytes[from])) ++from;
        std::size_t to = end;
        while (to > from && IsOws(bytes[to - 1])) --to;
        try {
            t.head.location.assign(bytes + from, to - from);
        } catch (...) {  // no memory for it: the exchange ends here
            return 0;
        }
    }
    return length;
}

// Feeds the POST body: the prefix, then the caller's data, without copying them.
size_t OnSend(char* buffer, size_t size, size_t count, void* context) {
    Transfer& t = *static_cast<Transfer*>(context);
    const Request& r = *t.request;
    const size_t room = size * count;
    size_t written = 0;
    while (written < room) {
        const unsigned char* from;
        size_t left;
        if (t.sent < r.prefixLength) {
            from = r.prefix + t.sent;
            left = r.prefixLength - t.sent;
        } else if (t.sent < r.prefixLength + r.dataLength) {
            from = r.data + (t.sent - r.prefixLength);
            left = r.prefixLength + r.dataLength - t.sent;
        } else {
            break;
        }
        const size_t n = left < room - written ? left : room - written;
        std::memcpy(buffer + written, from, n);
        written += n;
        t.sent += n;
    }
    if (written) t.lastByte = Clock::now();
    return written;
}

// Rewinds the POST body, for a retry on a fresh connection.
int OnSeek(void* context, curl_off_t offset, int origin) {
    Transfer& t = *static_cast<Transfer*>(context);
    const Request& r = *t.request;
    if (origin != SEEK_SET || offset < 0 ||
        static_cast<std::size_t>(offset) > r.prefixLength + r.dataLength)
        return CURL_SEEKFUNC_CANTSEEK;
    t.sent = static_cast<std::size_t>(offset);
    return CURL_SEEKFUNC_OK;
}

// The stall rule: the exchange fails once no byte has moved, either way, for
// stallSeconds. A slow but steady transfer goes on as long as it takes.
int OnProgress(void* context, curl_off_t downloaded, curl_off_t, curl_off_t, curl_off_t uploaded) {
    Transfer& t = *static_cast<Transfer*>(context);
    const Clock::time_point now = Clock::now();
    if (downloaded + uploaded != t.seen) {
        t.seen = downloaded + uploaded;
        t.lastByte = now;
    }
    return now - t.lastByte >= std::chrono::seconds(t.stallSeconds) ? 1 : 0;
}

// Where a redirect leads: the Location resolved against the URL that gave it.
std::string RedirectTarget(const std::string& from, const std::string& location) {
    std::string target;
    CURLU* url = curl_url();
    char* text = nullptr;
    if (url && curl_url_set(url, CURLUPART_URL, from.c_str(), 0) == CURLUE_OK &&
        curl_url_set(url, CURLUPART_URL, location.c_str(),
                     CURLU_URLENCODE | CURLU_ALLOW_SPACE | CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK &&
        curl_url_get(url, CURLUPART_URL, &text, 0) == CURLUE_OK)
        target = text;
    curl_free(text);
    curl_url_cleanup(url);
    return target;
}

const char* Variable(const char* name) {
    const char* value = std::getenv(name);
    return value && *value ? value : nullptr;
}

// The certificates to trust, as the curl tool and OpenSSL take them from the
// environment: CURL_CA_BUNDLE alone when set, else SSL_CERT_FILE and
// SSL_CERT_DIR; without any, libcurl's own store.
template <typename Set>
void TrustFromEnvironment(Set set) {
    if (const char* bundle = Variable("CURL_CA_BUNDLE")) {
        set(CURLOPT_CAINFO, bundle);
        return;
    }
    if (const char* file = Variable("SSL_CERT_FILE")) set(CURLOPT_CAINFO, file);
    if (const char* dir = Variable("SSL_CERT_DIR")) set(CURLOPT_CAPATH, dir);
}

bool IsRedirect(long status) { return status >= 300 && status <= 399; }

}  // namespace

const Connectivity& PlatformConnectivity() {
    class AlwaysOnline : public Connectivity {
      public:
        bool IsOffline() const override { return false; }
        bool GoOnline(const char*) const override { return true; }
    };
    static const AlwaysOnline kOnline;
    return kOnline;
}

namespace {

// The libcurl handle and the two header lists of one exchange.
struct Easy {
    CURL* curl = curl_easy_init();
    // libcurl's own Accept and Content-Type are replaced by these; an empty
    // Expect keeps it from waiting for "100 Continue". A GET, the follow-up
    // of a redirected POST included, carries neither.
    curl_slist* getHeaders = curl_slist_append(nullptr, "Accept: */*");
    curl_slist* postHeaders = curl_slist_append(nullptr, "Accept: */*");

    explicit Easy(const char* contentType) {
        curl_slist* more = postHeaders;
        if (more && contentType) more = curl_slist_append(postHeaders, contentType);
        if (more) more = curl_slist_append(postHeaders, "Expect:");
        complete_ = curl && getHeaders && more;
    }
    ~Easy() {
        curl_slist_free_all(getHeaders);
        curl_slist_free_all(postHeaders);
        curl_easy_cleanup(curl);
    }
    Easy(const Easy&) = delete;
    Easy& operator=(const Easy&) = delete;
    bool Complete() const { return complete_; }

  private:
    bool complete_ = false;
};

// The options every request of the exchange shares.
CURLcode Configure(CURL* curl, Transfer& t, const Conditions& conditions) {
    CURLcode code = CURLE_OK;
    auto set = [&](auto option, auto value) {
        if (code == CURLE_OK) code = curl_easy_setopt(curl, option, value);
    };
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    set(CURLOPT_USERAGENT, kAgent);
    set(CURLOPT_CONNECTTIMEOUT_MS, conditions.connectTimeoutMs);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_WRITEFUNCTION, OnBody);
    set(CURLOPT_WRITEDATA, &t);
    set(CURLOPT_HEADERFUNCTION, OnHeader);
    set(CURLOPT_HEADERDATA, &t);
    set(CURLOPT_NOPROGRESS, 0L);
    set(CURLOPT_XFERINFOFUNCTION, OnProgress);
    set(CURLOPT_XFERINFODATA, &t);
    set(CURLOPT_READFUNCTION, OnSend);
    set(CURLOPT_READDATA, &t);
    set(CURLOPT_SEEKFUNCTION, OnSeek);
    set(CURLOPT_SEEKDATA, &t);
    TrustFromEnvironment(set);
    // Large reads keep the per-read overhead of a big body small; a libcurl
    // that refuses this size keeps its default.
    curl_easy_setopt(curl, CURLOPT_BUFFERSIZE, 1024L * 1024L);
    return code;
}

// One request of the exchange: GET, or POST with the request's body.
CURLcode RequestOnce(Easy& easy, Transfer& t, const std::string& url, bool post) {
    const Request& request = *t.request;
    CURLcode code = CURLE_OK;
    auto set = [&](auto option, auto value) {
        if (code == CURLE_OK) code = curl_easy_setopt(easy.curl, option, value);
    };
    t.StartRequest();
    set(CURLOPT_URL, url.c_str());
    if (post) {
        set(CURLOPT_POST, 1L);
        set(CURLOPT_POSTFIELDSIZE_LARGE,
            static_cast<curl_off_t>(request.prefixLength + request.dataLength));
        set(CURLOPT_HTTPHEADER, easy.postHeaders);
    } else {
        set(CURLOPT_HTTPGET, 1L);
        set(CURLOPT_HTTPHEADER, easy.getHeaders);
    }
    return code == CURLE_OK ? curl_easy_perform(easy.curl) : code;
}

int PerformOrThrow(const Request& request, BodySink* sink, bool* statusOk,
                   const Conditions& conditions) {
    InitCurlOnce();
    Easy easy(request.contentType);
    if (!easy.Complete()) return 0;
    Transfer t;
    t.curl = easy.curl;
    t.sink = sink;
    t.request = &request;
    t.stallSeconds = conditions.stallSeconds;
    CURLcode code = Configure(easy.curl, t, conditions);

    // Redirects are followed here rather than by libcurl, so that each hop's
    // target is checked and a POST turned GET drops its Content-Type.
    std::string url = request.url;
    bool post = request.post;
    for (int redirects = 0; code == CURLE_OK; ++redirects) {
        code = RequestOnce(easy, t, url, post);
        // A redirect's body is cut off unread: its head says all there is.
        const bool redirected = t.head.complete && !t.head.length.ambiguous &&
                                IsRedirect(t.head.status) && !t.head.location.empty() &&
                                (code == CURLE_OK || code == CURLE_WRITE_ERROR);
        if (!redirected) break;
        const std::string target = RedirectTarget(url, t.head.location);
        if (redirects == kMaxRedirects || !IsWebUrl(target.c_str())) {
            code = CURLE_TOO_MANY_REDIRECTS;
            break;
        }
        // 301, 302 and 303 turn a POST into a GET; 307 and 308 repeat it.
        if (t.head.status == 301 || t.head.status == 302 || t.head.status == 303) post = false;
        url = target;
        code = CURLE_OK;
    }

    // A body that carried nothing still has a status to check, once its head
    // arrived whole.
    if (!t.statusKnown) {
        const long status = Status(easy.curl);
        t.statusOk = t.head.complete && status >= 200 && status <= 299;
    }
    if (t.head.length.ambiguous || code == CURLE_TOO_MANY_REDIRECTS) t.statusOk = false;
    if (statusOk) *statusOk = t.statusOk;
    if (code == CURLE_OK) return t.statusOk ? 1 : 0;
    if (code == CURLE_WRITE_ERROR && t.stoppedBySink && sink->StoppedEarlyIsSuccess()) return 1;
    return 0;
}

}  // namespace

int PlatformPerform(const Request& request, BodySink* sink, bool* statusOk,
                    const Conditions& conditions) {
    return PerformOrThrow(request, sink, statusOk, conditions);
}

}  // namespace net
}  // namespace selvora
