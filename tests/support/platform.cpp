#include "support/platform.h"

#include <cstdlib>

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

// Windows removes a variable set to the empty text.
void SetEnv(const std::string& name, const std::string& value) {
#ifdef _WIN32
    _putenv_s(name.c_str(), value.c_str());
#else
    setenv(name.c_str(), value.c_str(), 1);
#endif
}

void UnsetEnv(const std::string& name) {
#ifdef _WIN32
    _putenv_s(name.c_str(), "");
#else
    unsetenv(name.c_str());
#endif
}

#ifdef _WIN32
std::filesystem::path ThisProgram() {
    std::wstring self(MAX_PATH, L'\0');
    DWORD n;
    while ((n = GetModuleFileNameW(nullptr, &self[0], static_cast<DWORD>(self.size()))) ==
           self.size())
        self.resize(2 * self.size());
    self.resize(n);
    return self;
}

std::string BesideThisProgram(const std::string& fileName) {
    return (ThisProgram().parent_path() / fileName).string();
}
#endif

}  // namespace selvora_test
