// The process-wide buffer that OvString::Format writes into: one OvString
// shared by every call, alive while the library is loaded. The module shell
// builds the one FormatBufferHolder at load, before anything else that needs
// it, and destroys it at unload.
#pragma once

#include "selvora/foundation/ov_string.h"

namespace selvora {

// While it exists, FormatBuffer() is its buffer.
struct FormatBufferHolder {
    FormatBufferHolder();
    ~FormatBufferHolder();

    OvString buffer;
};

OvString& FormatBuffer();

}  // namespace selvora
