// The stack cookie of Microsoft's /GS, which code built by clang-cl or by
// Microsoft's compiler checks before a function with a buffer on its stack
// returns: one value per module, made unpredictable when the module starts.
#include <windows.h>

#include "module.h"

// Microsoft's documented initial value, replaced at start-up.
UINT_PTR __security_cookie = 0x00002B992DDFA232;
UINT_PTR __security_cookie_complement = ~(UINT_PTR)0x00002B992DDFA232;

void selvora_init_security_cookie(void) {
    FILETIME time;
    LARGE_INTEGER counter;
    GetSystemTimeAsFileTime(&time);
    QueryPerformanceCounter(&counter);
    UINT_PTR cookie = ((UINT_PTR)time.dwHighDateTime << 32) ^ time.dwLowDateTime;
    cookie ^= (UINT_PTR)GetCurrentThreadId() << 16 ^ GetCurrentProcessId();
    cookie ^= (UINT_PTR)counter.QuadPart << 32 ^ (UINT_PTR)counter.QuadPart;
    cookie ^= (UINT_PTR)&cookie;
    cookie &= 0x0000FFFFFFFFFFFF;  // Microsoft's: the top bytes stay zero
    if (cookie == 0x00002B992DDFA232 || cookie == 0) cookie = 0x00002B992DDFA233;
    __security_cookie = cookie;
    __security_cookie_complement = ~cookie;
}

// Called by __security_check_cookie (security_check.S) on a mismatch: the
// stack was overwritten, and the process ends at once.
void selvora_report_gs_failure(void) {
    TerminateProcess(GetCurrentProcess(), (UINT)STATUS_STACK_BUFFER_OVERRUN);
}
