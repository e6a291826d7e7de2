// selvora fetch and selvora matrix: the library's HTTP exchanges.
#include <sys/stat.h>
#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

#include <selvora/selvora.h>
#include <climits>
#include <cstdio>
#include <optional>
#include <utility>
#include <vector>

#include "commands.h"
#include "common/whole_file.h"

namespace selvora_tool {

namespace {

// The library's download and post functions take writable address strings.
std::vector<char> Writable(const std::string& text) {
    return std::vector<char>(text.c_str(), text.c_str() + text.size() + 1);
}

// The request body: the file's bytes, or false with a message in error.
bool ReadBody(const std::string& path, std::string& bytes, std::string& error) {
    struct stat info;
    if (stat(path.c_str(), &info) != 0 || (info.st_mode & S_IFMT) != S_IFREG) {
        error = path + ": no such file";
        return false;
    }
    if (info.st_size > INT_MAX) {
        error = path + ": larger than the 2 GiB a request body can carry";
        return false;
    }
    std::string failure;
    std::optional<std::string> contents = selvora_common::ReadWholeFile(path, &failure);
    if (!contents) {
        error = path + ": " + failure;
        return false;
    }
    bytes = std::move(*contents);
    return true;
}

}  // namespace

int RunFetch(const std::string& url, const std::string& outPath) {
    if (outPath.empty()) {
        OvString page;
        if (!OV_GetHtml(url.c_str(), &page)) {
            return Fail(url +
                        ": no page (not an http:// or https:// URL, no answer, or a status other "
                        "than 2xx)");
        }
#ifdef _WIN32
        // The page's bytes as they came: no line ends translated.
        _setmode(_fileno(stdout), _O_BINARY);
#endif
        std::fwrite((const char*)page, 1, size_t(page.GetLength()), stdout);
        return 0;
    }
    std::vector<char> address = Writable(url);
    if (!LoadSymbolInternet(address.data(), address.data(), outPath.c_str())) {
        return Fail(
            url + ": not downloaded to " + outPath +
            " (not an http:// or https:// URL, no answer, a status other than 2xx, or the file"
            " cannot be written)");
    }
    struct stat info;
    const long long size = stat(outPath.c_str(), &info) == 0 ? info.st_size : -1;
    std::printf("%s: %lld bytes written to %s\n", url.c_str(), size, outPath.c_str());
    return 0;
}

int RunMatrix(const std::string& url, const std::string& dataPath) {
    std::string data;
    std::string error;
    if (!ReadBody(dataPath, data, error)) return Fail(error);
    unsigned char none = 0;  // an empty body still needs a valid address
    std::vector<char> address = Writable(url);
    Matrix3d matrix;
    unsigned char* body = data.empty() ? &none : reinterpret_cast<unsigned char*>(&data[0]);
    if (!GetMatrixInternet(address.data(), address.data(), body, int(data.size()), &matrix)) {
        return Fail(url +
                    ": no matrix (not an http:// or https:// URL, no answer, a status other "
                    "than 2xx, or fewer than 128 bytes)");
    }
    for (const auto& row : matrix.m) {
        std::printf("%.17g %.17g %.17g %.17g\n", row[0], row[1], row[2], row[3]);
    }
    return 0;
}

}  // namespace selvora_tool
