// A whole file read into memory.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace selvora_common {

// The bytes of the file at path as they stand (no line ends translated), or
// nothing when it cannot be opened or read to its end; then `failure`, when
// given, says which: "cannot open" or "cannot read".
std::optional<std::string> ReadWholeFile(const std::filesystem::path& path,
                                         std::string* failure = nullptr);

}  // namespace selvora_common
