// A message box on Windows: MessageBoxW with the text, converted from UTF-8.
// The same text also goes to OutputDebugStringW, which a debugger (or Wine,
// with WINEDEBUG=+debugstr) shows; a caller sees nothing else of it.
#include <windows.h>

#include <string>

#include "tessellation/message_box.h"

namespace selvora {

namespace {

std::wstring Wide(const char* text) {
    const int n = MultiByteToWideChar(CP_UTF8, 0, text, -1, nullptr, 0);
    if (n <= 0) return std::wstring();
    std::wstring wide(static_cast<std::size_t>(n), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text, -1, &wide[0], n);
    wide.resize(static_cast<std::size_t>(n - 1));  // without the terminator
    return wide;
}

}  // namespace

void ShowMessageBox(const char* text) {
    try {
        const std::wstring wide = Wide(text);
        OutputDebugStringW((wide + L"\n").c_str());
        MessageBoxW(nullptr, wide.c_str(), L"Selvora100_64", MB_OK | MB_ICONERROR | MB_TASKMODAL);
    } catch (...) {  // no memory for the text: the box cannot be shown
    }
}

}  // namespace selvora
