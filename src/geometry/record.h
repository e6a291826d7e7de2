// Raw field I/O for the binary records: each field is written and read as its
// in-memory bytes with one fwrite/fread of one item. A null stream is ignored;
// a short read leaves what it did not reach as it was.
#pragma once

#include <cstdio>

namespace selvora {

template <class T>
void WriteField(FILE* stream, const T& field) {
    if (stream) std::fwrite(static_cast<const void*>(&field), sizeof(T), 1, stream);
}

template <class T>
void ReadField(FILE* stream, T& field) {
    if (stream) (void)std::fread(static_cast<void*>(&field), sizeof(T), 1, stream);
}

}  // namespace selvora
