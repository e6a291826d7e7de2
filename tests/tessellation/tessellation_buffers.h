// The four process-wide buffers of the tessellation interface, fetched once
// per test.
#pragma once

#include "selvora/tessellation/tessellation.h"

namespace selvora_test {

struct Buffers {
    double* points = nullptr;
    int* segments = nullptr;
    int* triangles = nullptr;
    double* holes = nullptr;
};

inline Buffers GetBuffers() {
    Buffers b;
    OV_getTessellationBuffer(&b.points, &b.segments, &b.triangles, &b.holes);
    return b;
}

}  // namespace selvora_test
