#include "module/module.h"

#include <cstdlib>

#include "selvora/foundation/ov_string.h"

namespace selvora {
namespace {

// The application object: its instance start creates the tessellation
// buffers and its instance end releases them.
class CSelvoraApp {
  public:
    CSelvoraApp() { InitInstance(); }
    ~CSelvoraApp() { ExitInstance(); }

    int InitInstance() {
        buffers.points = static_cast<double*>(std::malloc(0x100000));
        buffers.holes = static_cast<double*>(std::malloc(0xBB80));
        buffers.segments = static_cast<int*>(std::malloc(0x80000));
        buffers.triangles = static_cast<int*>(std::malloc(0xC0000));
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
