#include "support/platform.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace selvora_test {

// Wine's ntdll.dll exports wine_get_version; Windows' does not.
bool RunningUnderWine() {
#ifdef _WIN32
    const HMODULE ntdll = GetModuleHandleA("ntdll.dll");
    return ntdll && GetProcAddress(ntdll, "wine_get_version");
#else
    return false;
#endif
}

}  // namespace selvora_test
