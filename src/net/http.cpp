#include "net/http.h"

#include <curl/curl.h>

#include <cstdio>
#include <cstring>
#include <mutex>

namespace selvora {
namespace net {
namespace {

constexpr const char* kAgent = "Orvek";

void InitCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

struct Transfer {
    CURL* curl = nullptr;
    BodySink* sink = nullptr;
    bool statusOk = false;
    bool statusKnown = false;
    bool headComplete = false;  // the latest response's head ended with its empty line
    bool stoppedBySink = false;
    const Request* request = nullptr;
    std::size_t sent = 0;  // POST body bytes handed to libcurl so far
};

long Status(CURL* curl) {
    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    return status;
}

size_t OnBody(char* bytes, size_t size, size_t count, void* context) {
    Transfer& t = *static_cast<Transfer*>(context);
    const size_t length = size * count;
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
    if (!t.statusOk) return 0;  // a failed status: the body is not wanted
    if (t.sink && !t.sink->Take(bytes, length)) {
        t.stoppedBySink = true;
        return 0;
    }
    return length;
}

// A status line starts a response's head (a redirect's, then the next one's);
// the empty line ends it. A head cut short leaves its status unconfirmed.
size_t OnHeader(char* bytes, size_t size, size_t count, void* context) {
    Transfer& t = *static_cast<Transfer*>(context);
    const size_t length = size * count;
    if (length >= 5 && std::memcmp(bytes, "HTTP/", 5) == 0)
        t.headComplete = false;
    else if ((length == 2 && bytes[0] == '\r' && bytes[1] == '\n') ||
             (length == 1 && bytes[0] == '\n'))
        t.headComplete = true;
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
    return written;
}

// Rewinds the POST body, for a redirect that repeats the POST.
int OnSeek(void* context, curl_off_t offset, int origin) {
    Transfer& t = *static_cast<Transfer*>(context);
    const Request& r = *t.request;
    if (origin != SEEK_SET || offset < 0 ||
        static_cast<std::size_t>(offset) > r.prefixLength + r.dataLength)
        return CURL_SEEKFUNC_CANTSEEK;
    t.sent = static_cast<std::size_t>(offset);
    return CURL_SEEKFUNC_OK;
}

}  // namespace

Settings& TestSettings() {
    static Settings settings;
    return settings;
}

int IsInternetOffline() {
    // Linux has no offline mode: the machine counts as online, with nothing probed.
    return TestSettings().simulateOffline ? 1 : 0;
}

int EnsureInternetOnline(const char*) {
    if (!IsInternetOffline()) return 1;
    return TestSettings().goOnlineSucceeds ? 1 : 0;
}

int Perform(const Request& request, BodySink* sink, bool* statusOk) {
    if (statusOk) *statusOk = false;
    if (!request.url) return 0;
    InitCurlOnce();
    CURL* curl = curl_easy_init();
    if (!curl) return 0;

    Transfer t;
    t.curl = curl;
    t.sink = sink;
    t.request = &request;
    const Settings& settings = TestSettings();

    // libcurl's own Accept and Content-Type are replaced by these; an empty
    // Expect keeps it from waiting for "100 Continue".
    curl_slist* headers = curl_slist_append(nullptr, "Accept: */*");
    curl_slist* more = headers;
    if (more && request.post) {
        if (request.contentType) more = curl_slist_append(headers, request.contentType);
        if (more) more = curl_slist_append(headers, "Expect:");
    }
    CURLcode code = headers && more ? CURLE_OK : CURLE_OUT_OF_MEMORY;

    auto set = [&](auto option, auto value) {
        if (code == CURLE_OK) code = curl_easy_setopt(curl, option, value);
    };
    set(CURLOPT_URL, request.url);
    set(CURLOPT_USERAGENT, kAgent);
    set(CURLOPT_HTTPHEADER, headers);
    set(CURLOPT_CONNECTTIMEOUT_MS, settings.connectTimeoutMs);
    set(CURLOPT_LOW_SPEED_LIMIT, 1L);                    // fewer than 1 byte per second ...
    set(CURLOPT_LOW_SPEED_TIME, settings.stallSeconds);  // ... for this long fails
    set(CURLOPT_FOLLOWLOCATION, 1L);
    set(CURLOPT_MAXREDIRS, 30L);  // a redirect loop ends instead of running on
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_WRITEFUNCTION, OnBody);
    set(CURLOPT_WRITEDATA, &t);
    set(CURLOPT_HEADERFUNCTION, OnHeader);
    set(CURLOPT_HEADERDATA, &t);
    if (request.post) {
        set(CURLOPT_POST, 1L);
        set(CURLOPT_READFUNCTION, OnSend);
        set(CURLOPT_READDATA, &t);
        set(CURLOPT_SEEKFUNCTION, OnSeek);
        set(CURLOPT_SEEKDATA, &t);
        set(CURLOPT_POSTFIELDSIZE_LARGE,
            static_cast<curl_off_t>(request.prefixLength + request.dataLength));
    }
    // Large reads keep the per-read overhead of a big body small; a libcurl
    // that refuses this size keeps its default.
    curl_easy_setopt(curl, CURLOPT_BUFFERSIZE, 1024L * 1024L);
    if (code == CURLE_OK) code = curl_easy_perform(curl);

    // A body that carried nothing still has a status to check, once its head
    // arrived whole.
    if (!t.statusKnown) {
        const long status = Status(curl);
        t.statusOk = t.headComplete && status >= 200 && status <= 299;
    }
    int result = 0;
    if (code == CURLE_OK)
        result = t.statusOk ? 1 : 0;
    else if (code == CURLE_WRITE_ERROR && t.stoppedBySink && sink->StoppedEarlyIsSuccess())
        result = 1;
    if (statusOk) *statusOk = t.statusOk;

    curl_slist_free_all(headers);
    curl_easy_cleanup(curl);
    return result;
}

}  // namespace net
}  // namespace selvora
