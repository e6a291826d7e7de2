// Process-wide state created when the library loads and released when it unloads.
#pragma once

class OvString;

namespace selvora {

// The shared target of OvString::Format.
OvString& FormatBuffer();

// The four tessellation buffers: null only if their allocation failed.
struct TessellationBuffers {
    double* points;
    double* holes;
    int* segments;
    int* triangles;
};
const TessellationBuffers& Buffers();

// Shows a message box: on this headless platform its text, UTF-8, as one line
// on standard error.
void ShowMessageBox(const char* text);

}  // namespace selvora
