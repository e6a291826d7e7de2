// What every platform's request path shares: the URL rule, the body length a
// head declares, the guard around the platform's exchange and the online
// check.
#include <cctype>
#include <cstdint>
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

void DeclaredLength::Take(const char* value, std::size_t length) {
    std::size_t i = 0;
    while (!ambiguous) {
        while (i < length && IsOws(value[i])) ++i;
        const std::size_t digits = i;
        std::uint64_t n = 0;
        for (; i < length && value[i] >= '0' && value[i] <= '9'; ++i) {
            if (n > (UINT64_MAX - 9) / 10) {
                ambiguous = true;
                return;
            }
            n = n * 10 + static_cast<std::uint64_t>(value[i] - '0');
        }
        if (i == digits || (seen && n != bytes)) {
            ambiguous = true;
            return;
        }
        seen = true;
        bytes = n;
        while (i < length && IsOws(value[i])) ++i;
        if (i == length) return;
        if (value[i++] != ',') ambiguous = true;
    }
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
