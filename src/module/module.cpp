// The module shell: the library's process-wide state, created when it loads
// and released when it unloads, in a fixed order. The format buffer of
// OvString::Format comes first, then the application object, whose instance
// start allocates the tessellation buffers and whose instance end frees them;
// at unload they go in the reverse order. Each piece of state belongs to its
// subsystem; only the order is decided here.
#include "foundation/format_buffer.h"
#include "tessellation/buffers.h"

namespace selvora {
namespace {

class CSelvoraApp {
  public:
    CSelvoraApp() { InitInstance(); }
    ~CSelvoraApp() { ExitInstance(); }

    int InitInstance() {
        AllocateTessellationBuffers();
        return 1;
    }

    int ExitInstance() {
        ReleaseTessellationBuffers();
        return 0;
    }
};

// Members are built in the order they are declared and destroyed in reverse.
struct Module {
    FormatBufferHolder formatBuffer;
    CSelvoraApp app;
};

Module g_module;

}  // namespace
}  // namespace selvora
