// What every platform's request path shares: the URL rule, the guard around
// the platform's exchange and the online check.
#include <cctype>
#include <cstring>

#include "net/http.h"

namespace selvora {
namespace net {

bool StartsWithNoCase(const char* text, std::size_t length, const char* prefix) {
    const std::size_t n = std::strlen(prefix);
    if (length < n) return false;
    for (std::size_t i = 0; i < n; ++i)
        if (std::tolower(static_cast<unsigned char>(text[i])) != prefix[i]) return false;
    return true;
}

bool IsWebUrl(const char* url) {
    if (!url) return false;
    const std::size_t length = std::strlen(url);
    return StartsWithNoCase(url, length, "http://") || StartsWithNoCase(url, length, "https://");
}

int Perform(const Request& request, BodySink* sink, bool* statusOk, const Conditions& conditions) {
    if (statusOk) *statusOk = false;
    if (!IsWebUrl(request.url)) return 0;
    try {
        return PlatformPerform(request, sink, statusOk, conditions);
    } catch (...) {  // out of memory for a URL or a header: no exchange
        if (statusOk) *statusOk = false;
        return 0;
    }
}

int EnsureInternetOnline(const char* url, const Connectivity& connectivity) {
    if (!connectivity.IsOffline()) return 1;
    return connectivity.GoOnline(url) ? 1 : 0;
}

}  // namespace net
}  // namespace selvora
