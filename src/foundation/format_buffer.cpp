#include "foundation/format_buffer.h"

namespace selvora {
namespace {

OvString* g_formatBuffer = nullptr;

}  // namespace

FormatBufferHolder::FormatBufferHolder() { g_formatBuffer = &buffer; }

FormatBufferHolder::~FormatBufferHolder() { g_formatBuffer = nullptr; }

OvString& FormatBuffer() { return *g_formatBuffer; }

}  // namespace selvora
