// The four process-wide buffers of the tessellation interface, which
// OV_getTessellationBuffer hands out. The module shell allocates them when the
// library loads and releases them when it unloads.
#pragma once

namespace selvora {

// Null only before allocation, after release, or if an allocation failed.
struct TessellationBuffers {
    double* points;
    double* holes;
    int* segments;
    int* triangles;
};

const TessellationBuffers& Buffers();

// Allocates the four buffers with malloc, in this order: points, holes,
// segments, triangles, with exactly the capacities the tessellation header
// promises; a failed allocation leaves its pointer null.
void AllocateTessellationBuffers();

// Frees the four buffers in the same order and sets their pointers to null.
void ReleaseTessellationBuffers();

}  // namespace selvora
