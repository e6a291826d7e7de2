#include "common/whole_file.h"

#include <fstream>

namespace selvora_common {

std::optional<std::string> ReadWholeFile(const std::filesystem::path& path, std::string* failure) {
    // A path, not a narrow string: on Windows the file opens by its UTF-16
    // name, whatever the code page.
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        if (failure) *failure = "cannot open";
        return std::nullopt;
    }
    std::string contents;
    char chunk[1 << 16];
    // Reads in chunks, so that pipes and files whose size is not known ahead
    // are read whole too; the last chunk sets eof (and fail) where it ends.
    do {
        in.read(chunk, sizeof chunk);
        contents.append(chunk, static_cast<std::size_t>(in.gcount()));
    } while (in);
    if (in.bad() || !in.eof()) {
        if (failure) *failure = "cannot read";
        return std::nullopt;
    }
    return contents;
}

}  // namespace selvora_common
