// A message box on a headless POSIX system: its text, UTF-8, as one line on
// standard error.
#include <cstdio>

#include "tessellation/message_box.h"

namespace selvora {

void ShowMessageBox(const char* text) {
    std::fprintf(stderr, "%s\n", text);
    std::fflush(stderr);
}

}  // namespace selvora
