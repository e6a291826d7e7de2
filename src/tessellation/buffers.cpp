#include "tessellation/buffers.h"

#include <cstddef>
#include <cstdlib>

#include "selvora/tessellation/tessellation.h"

namespace selvora {
namespace {

// The buffers' sizes in bytes, as they have always been allocated: exactly
// the capacities the tessellation header promises, x, y pairs of doubles for
// the points and the hole seeds, index pairs and triples of ints for the
// segments and the triangles.
constexpr std::size_t kPointsBytes = 0x100000;
constexpr std::size_t kHolesBytes = 0xBB80;
constexpr std::size_t kSegmentsBytes = 0x80000;
constexpr std::size_t kTrianglesBytes = 0xC0000;
static_assert(kPointsBytes == OV_TESSELLATION_MAX_POINTS * 2 * sizeof(double), "points");
static_assert(kHolesBytes == OV_TESSELLATION_MAX_HOLES * 2 * sizeof(double), "hole seeds");
static_assert(kSegmentsBytes == OV_TESSELLATION_MAX_SEGMENTS * 2 * sizeof(int), "segments");
static_assert(kTrianglesBytes == OV_TESSELLATION_MAX_TRIANGLES * 3 * sizeof(int), "triangles");

TessellationBuffers g_buffers{};

}  // namespace

const TessellationBuffers& Buffers() { return g_buffers; }

void AllocateTessellationBuffers() {
    g_buffers.points = static_cast<double*>(std::malloc(kPointsBytes));
    g_buffers.holes = static_cast<double*>(std::malloc(kHolesBytes));
    g_buffers.segments = static_cast<int*>(std::malloc(kSegmentsBytes));
    g_buffers.triangles = static_cast<int*>(std::malloc(kTrianglesBytes));
}

void ReleaseTessellationBuffers() {
    std::free(g_buffers.points);
    std::free(g_buffers.holes);
    std::free(g_buffers.segments);
    std::free(g_buffers.triangles);
    g_buffers = TessellationBuffers{};
}

}  // namespace selvora
