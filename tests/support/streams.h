// Temporary binary streams for the record tests.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace selvora_test {

// The whole content of a stream, read from its start.
inline std::vector<unsigned char> StreamBytes(FILE* f) {
    std::fflush(f);
    std::rewind(f);
    std::vector<unsigned char> bytes;
    int c;
    while ((c = std::fgetc(f)) != EOF) bytes.push_back(static_cast<unsigned char>(c));
    return bytes;
}

// A fresh temporary stream holding the first n bytes, positioned at its start.
inline FILE* StreamOf(const unsigned char* bytes, std::size_t n) {
    FILE* f = std::tmpfile();
    if (!f) return nullptr;
    if (n > 0) std::fwrite(bytes, 1, n, f);
    std::fflush(f);
    std::rewind(f);
    return f;
}

inline FILE* StreamOf(const std::vector<unsigned char>& bytes, std::size_t n) {
    return StreamOf(bytes.data(), n);
}

inline FILE* StreamOf(const std::vector<unsigned char>& bytes) {
    return StreamOf(bytes.data(), bytes.size());
}

// The double stored at a byte offset.
inline double DoubleAt(const std::vector<unsigned char>& bytes, std::size_t offset) {
    double d;
    std::memcpy(&d, bytes.data() + offset, sizeof d);
    return d;
}

// Expects bytes to hold exactly the doubles of these bit patterns, each as 8
// little-endian bytes, one after the other.
inline void ExpectLittleEndianDoubles(const std::vector<unsigned char>& bytes,
                                      const std::uint64_t* bits, int count) {
    ASSERT_EQ(static_cast<std::size_t>(count) * 8, bytes.size());
    for (int field = 0; field < count; ++field) {
        for (int k = 0; k < 8; ++k) {
            const unsigned expected = static_cast<unsigned>((bits[field] >> (8 * k)) & 0xff);
            EXPECT_EQ(expected, bytes[8 * field + k]) << "offset " << 8 * field + k;
        }
    }
}

}  // namespace selvora_test
