// Raw field I/O for the binary records: each field is written and read as its
// in-memory bytes with one fwrite/fread of one item. A null stream is ignored;
// a short read leaves what it did not reach as it was.
#pragma once

#include <cstdio>

#include "selvora/geometry/geometry.h"  // declares RecordFields

namespace selvora {

template <class T>
void WriteField(FILE* stream, const T& field) {
    if (stream) std::fwrite(static_cast<const void*>(&field), sizeof(T), 1, stream);
}

template <class T>
void ReadField(FILE* stream, T& field) {
    if (stream) (void)std::fread(static_cast<void*>(&field), sizeof(T), 1, stream);
}

// Walkers of a record's field list (RecordFields<T>::Walk): one writes each
// field, the other reads it.
struct FieldWriter {
    FILE* stream;
    template <class T>
    void operator()(const T& field) const {
        WriteField(stream, field);
    }
};

struct FieldReader {
    FILE* stream;
    template <class T>
    void operator()(T& field) const {
        ReadField(stream, field);
    }
};

// Save and Load of a class with a field list.
template <class T>
void WriteRecord(FILE* stream, const T& object) {
    RecordFields<T>::Walk(FieldWriter{stream}, object);
}

template <class T>
void ReadRecord(FILE* stream, T& object) {
    RecordFields<T>::Walk(FieldReader{stream}, object);
}

}  // namespace selvora
