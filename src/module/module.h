// Process-wide state created when the library loads and released when it unloads.
#pragma once

class OvString;

namespace selvora {

// The shared target of OvString::Format.
OvString& FormatBuffer();

}  // namespace selvora
