// On Windows the library shows a fatal condition's text in a message box,
// which a test cannot read, and writes the same text with OutputDebugStringW.
// A test program linked with this file echoes every debug string of its
// process on standard error, UTF-8, so that a death test reads the texts as
// it does on Linux, where the library writes them there itself.
//
// OutputDebugStringW raises a first-chance exception carrying the text: the
// wide text (DBG_PRINTEXCEPTION_WIDE_C) on Windows 10 and later, followed by
// the text in the ANSI code page (DBG_PRINTEXCEPTION_C), the only one Wine
// raises. A vectored handler sees both before any debugger would, and lets
// them go on. For the ANSI text to keep the library's Chinese texts, run
// under Wine with a Chinese code page (LC_ALL=zh_CN.UTF-8 gives 936).
#include <windows.h>

#include <cstdio>
#include <string>

namespace {

constexpr DWORD kWideDebugString = 0x4001000A;  // DBG_PRINTEXCEPTION_WIDE_C

std::string Utf8(const wchar_t* text, int length) {
    const int n = WideCharToMultiByte(CP_UTF8, 0, text, length, nullptr, 0, nullptr, nullptr);
    if (n <= 0) return std::string();
    std::string utf8(static_cast<std::size_t>(n), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, length, &utf8[0], n, nullptr, nullptr);
    return utf8;
}

std::string Utf8FromAnsi(const char* text) {
    const int n = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
    if (n <= 1) return std::string();
    std::wstring wide(static_cast<std::size_t>(n), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text, -1, &wide[0], n);
    return Utf8(wide.c_str(), n - 1);
}

// The ANSI exception that follows a wide one carries the same text again.
thread_local bool echoedWide = false;

LONG CALLBACK EchoDebugString(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.NumberParameters < 2) return EXCEPTION_CONTINUE_SEARCH;
    std::string text;
    if (record.ExceptionCode == kWideDebugString) {
        const auto* wide = reinterpret_cast<const wchar_t*>(record.ExceptionInformation[1]);
        text = Utf8(wide, static_cast<int>(wcslen(wide)));
        echoedWide = true;
    } else if (record.ExceptionCode == DBG_PRINTEXCEPTION_C) {
        if (!echoedWide)
            text = Utf8FromAnsi(reinterpret_cast<const char*>(record.ExceptionInformation[1]));
        echoedWide = false;
    } else {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
    return EXCEPTION_CONTINUE_SEARCH;
}

const PVOID echoHandler = AddVectoredExceptionHandler(1, EchoDebugString);

}  // namespace
