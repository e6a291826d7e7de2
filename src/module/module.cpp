#include "module/module.h"

#include "selvora/foundation/ov_string.h"

namespace selvora {
namespace {

// Built at library load, destroyed at unload. Members are constructed in
// declaration order and destroyed in reverse.
struct Module {
    OvString formatBuffer;
};

Module g_module;

}  // namespace

OvString& FormatBuffer() { return g_module.formatBuffer; }

}  // namespace selvora
