#include "module/module.h"

#include <cstddef>
#include <cstdlib>

#include "selvora/foundation/ov_string.h"
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

// The application object: its instance start creates the tessellation
// buffers and its instance end releases them.
class CSelvoraApp {
  public:
    CSelvoraApp() { InitInstance(); }
    ~CSelvoraApp() { ExitInstance(); }

    int InitInstance() {
        buffers.points = static_cast<double*>(std::malloc(kPointsBytes));
        buffers.holes = static_cast<double*>(std::malloc(kHolesBytes));
        buffers.segments = static_cast<int*>(std::malloc(kSegmentsBytes));
        buffers.triangles = static_cast<int*>(std::malloc(kTrianglesBytes));
        return 1;
    }

    int ExitInstance() {
        std::free(buffers.points);
        std::free(buffers.holes);
        std::free(buffers.segments);
        std::free(buffers.triangles);
        buffers = TessellationBuffers{};
        return 0;
    }

    TessellationBuffers buffers{};
};

// Built at library load in this order (the format buffer first, then the
// application object and its buffers) and destroyed in reverse at unload.
struct Module {
    OvString formatBuffer;
    CSelvoraApp app;
};

Module g_module;

}  // namespace

OvString& FormatBuffer() { return g_module.formatBuffer; }

const TessellationBuffers& Buffers() { return g_module.app.buffers; }

}  // namespace selvora
