// The three exchanges, each a sink for the shared request path.
#include "selvora/net/net.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "net/exchanges.h"
#include "net/http.h"
#include "net/scratch_file.h"

namespace {

using selvora::net::BodySink;
using selvora::net::Request;

// The page as text: fixed 1023-byte slices from the start of the body, each
// cut at its first NUL. The text goes straight into the caller's string, whose
// buffer grows by doubling (no further than the declared length, when there is
// one), so a large page costs one copy of its bytes.
class PageSink : public BodySink {
  public:
    explicit PageSink(OvString* out) : out_(out) {}

    bool Take(const char* bytes, std::size_t length) override {
        if (!started_) Start();
        while (length > 0) {
            const std::size_t n = std::min(length, kSlice - inSlice_);
            if (!cut_) {
                const char* nul = static_cast<const char*>(std::memchr(bytes, '\0', n));
                if (!Append(bytes, nul ? static_cast<std::size_t>(nul - bytes) : n)) return false;
                cut_ = nul != nullptr;
            }
            inSlice_ += n;
            bytes += n;
            length -= n;
            if (inSlice_ == kSlice) {
                inSlice_ = 0;
                cut_ = false;
            }
        }
        return true;
    }

    void Expect(std::size_t length) override { declared_ = length; }

    // A 2xx answer: the text is what the body gave, empty when it gave nothing.
    void Finish() {
        if (!started_) Start();
    }

  private:
    static constexpr std::size_t kSlice = 1023;

    void Start() {
        started_ = true;
        out_->Empty();
    }
    bool Append(const char* bytes, std::size_t n) {
        if (n == 0) return true;
        const std::size_t needed = length_ + n + 1;
        if (needed > static_cast<std::size_t>(INT_MAX)) return false;
        const std::size_t allocated = static_cast<std::size_t>(out_->GetAllocLength());
        if (needed > allocated) {
            std::size_t grown = std::min<std::size_t>(2 * allocated, INT_MAX);
            // Room for the whole declared body is enough; a body longer than
            // it declared is cut off by the transfer anyway.
            if (declared_ < grown) grown = declared_ + 1;
            out_->AllocBuffer(static_cast<int>(std::max(needed, grown)));
            if (static_cast<std::size_t>(out_->GetAllocLength()) < needed) return false;
        }
        char* text = reinterpret_cast<char*>(&(*out_)[0]);
        std::memcpy(text + length_, bytes, n);
        length_ += n;
        text[length_] = '\0';
        return true;
    }

    OvString* out_;
    bool started_ = false;
    bool cut_ = false;                 // the current slice has met its NUL
    std::size_t inSlice_ = 0;          // bytes of the current slice seen so far
    std::size_t length_ = 0;           // length of the text
    std::size_t declared_ = SIZE_MAX;  // the body length the response declared
};

// The body into a new file beside the target, put in its place only when the
// whole body arrived, so that a failed transfer never damages the old file.
class FileSink : public BodySink {
  public:
    explicit FileSink(const char* path) : path_(path) {}

    bool Take(const char* bytes, std::size_t length) override {
        return Open() && file_.Write(bytes, length);
    }

    // Moves the finished file into place (an empty body still makes a file).
    bool Commit() { return Open() && file_.Replace(path_); }

  private:
    bool Open() { return file_.IsOpen() || file_.Create(path_); }

    std::string path_;
    selvora::net::ScratchFile file_;
};

// A 2xx answer whose body is not wanted: stopping at once is success.
class DiscardSink : public BodySink {
  public:
    bool Take(const char*, std::size_t) override { return false; }
    bool StoppedEarlyIsSuccess() const override { return true; }
};

// The first 128 bytes of the body; the rest is not needed.
class MatrixSink : public BodySink {
  public:
    bool Take(const char* bytes, std::size_t length) override {
        const std::size_t n = std::min(length, sizeof bytes_ - filled_);
        std::memcpy(bytes_ + filled_, bytes, n);
        filled_ += n;
        return filled_ < sizeof bytes_;
    }
    bool StoppedEarlyIsSuccess() const override { return Complete(); }
    bool Complete() const { return filled_ == sizeof bytes_; }

    // The 16 doubles, little-endian, row by row.
    void FillMatrix(Matrix3d* m) const {
        for (int i = 0; i < 16; ++i) {
            std::uint64_t bits = 0;
            for (int k = 7; k >= 0; --k) bits = bits << 8 | bytes_[8 * i + k];
            std::memcpy(&m->m[i / 4][i % 4], &bits, sizeof bits);
        }
    }

  private:
    unsigned char bytes_[128];
    std::size_t filled_ = 0;
};

}  // namespace

// Only http:// and https:// URLs are requested; any other is refused before
// a file or a connection is touched. No exception leaves these functions: a
// failure to allocate is a failed exchange.
namespace selvora {
namespace net {

int GetHtml(const char* url, OvString* out, const Conditions& conditions) {
    if (!IsWebUrl(url) || !out) return 0;
    try {
        Request request;
        request.url = url;
        // On a 2xx status the text is what arrived, even when the transfer was
        // cut short; on any other status the sink sees nothing and *out stays.
        PageSink page(out);
        bool statusOk = false;
        const int result = Perform(request, &page, &statusOk, conditions);
        if (statusOk) page.Finish();
        return result;
    } catch (...) {
        return 0;
    }
}

int LoadSymbol(char* onlineUrl, char* url, const char* filePath, const Conditions& conditions) {
    if (!IsWebUrl(url)) return 0;
    if (!EnsureInternetOnline(onlineUrl, *conditions.connectivity)) return 0;
    try {
        Request request;
        request.url = url;
        if (!filePath) {
            DiscardSink discard;
            return Perform(request, &discard, nullptr, conditions);
        }
        FileSink file(filePath);
        if (!Perform(request, &file, nullptr, conditions)) return 0;
        return file.Commit() ? 1 : 0;
    } catch (...) {
        return 0;
    }
}

int GetMatrix(char* onlineUrl, char* url, unsigned char* data, int dataLength, Matrix3d* result,
              const Conditions& conditions) {
    if (!IsWebUrl(url)) return 0;
    if (!EnsureInternetOnline(onlineUrl, *conditions.connectivity)) return 0;
    if (!result || dataLength < 0 || (dataLength > 0 && !data)) return 0;
    static const unsigned char kBoundary[] = {'1', '1', '2', '2', '3', '3', '4', '4', '5', '5'};
    Request request;
    request.url = url;
    request.post = true;
    request.contentType = "Content-Type: multipart/form-data; boundary=1122334455";
    request.prefix = kBoundary;
    request.prefixLength = sizeof kBoundary;
    request.data = data;
    request.dataLength = static_cast<std::size_t>(dataLength);
    MatrixSink matrix;
    if (!Perform(request, &matrix, nullptr, conditions) || !matrix.Complete()) return 0;
    matrix.FillMatrix(result);
    return 1;
}

}  // namespace net
}  // namespace selvora

int OV_GetHtml(const char* url, OvString* out) {
    return selvora::net::GetHtml(url, out, selvora::net::Conditions());
}

int LoadSymbolInternet(char* onlineUrl, char* url, const char* filePath) {
    return selvora::net::LoadSymbol(onlineUrl, url, filePath, selvora::net::Conditions());
}

int GetMatrixInternet(char* onlineUrl, char* url, unsigned char* data, int dataLength,
                      Matrix3d* result) {
    return selvora::net::GetMatrix(onlineUrl, url, data, dataLength, result,
                                   selvora::net::Conditions());
}
