#include <cstdio>

#include "module/module.h"

namespace selvora {

void ShowMessageBox(const char* text) {
    std::fprintf(stderr, "%s\n", text);
    std::fflush(stderr);
}

}  // namespace selvora
