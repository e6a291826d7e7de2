#include "support/platform.h"

#ifdef _WIN32
#include <windows.h>

#include <filesystem>
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

#ifdef _WIN32
std::string BesideThisProgram(const std::string& fileName) {
    std::wstring self(MAX_PATH, L'\0');
    DWORD n;
    while ((n = GetModuleFileNameW(nullptr, &self[0], static_cast<DWORD>(self.size()))) ==
           self.size())
        self.resize(2 * self.size());
    self.resize(n);
    return (std::filesystem::path(self).parent_path() / fileName).string();
}
#endif

}  // namespace selvora_test
