#include "support/platform.h"

#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#else
#include <pthread.h>
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

namespace {

struct ThreadCall {
    void (*body)(void*);
    void* argument;
};

}  // namespace

bool ThreadStacksAreAsAsked() { return !RunningUnderWine(); }

void RunOnThreadWithStack(std::size_t bytes, void (*body)(void*), void* argument) {
    ThreadCall call{body, argument};
#ifdef _WIN32
    const auto start = [](void* c) -> DWORD {
        static_cast<ThreadCall*>(c)->body(static_cast<ThreadCall*>(c)->argument);
        return 0;
    };
    HANDLE thread =
        CreateThread(nullptr, bytes, start, &call, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    if (!thread) std::abort();
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
#else
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, bytes);
    pthread_t thread;
    const auto start = [](void* c) -> void* {
        static_cast<ThreadCall*>(c)->body(static_cast<ThreadCall*>(c)->argument);
        return nullptr;
    };
    if (pthread_create(&thread, &attributes, start, &call) != 0) std::abort();
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
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
