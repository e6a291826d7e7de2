// The Windows version tests of Microsoft's <versionhelpers.h>, which Wine's
// headers lack, over VerifyVersionInfoW.
#pragma once
#include <windows.h>

static __inline BOOL IsWindowsVersionOrGreater(WORD major, WORD minor, WORD service_pack) {
    OSVERSIONINFOEXW wanted = {sizeof(wanted)};
    wanted.dwMajorVersion = major;
    wanted.dwMinorVersion = minor;
    wanted.wServicePackMajor = service_pack;
    DWORDLONG const condition = VerSetConditionMask(
        VerSetConditionMask(VerSetConditionMask(0, VER_MAJORVERSION, VER_GREATER_EQUAL),
                            VER_MINORVERSION, VER_GREATER_EQUAL),
        VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
    return VerifyVersionInfoW(&wanted, VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR,
                              condition);
}

static __inline BOOL IsWindowsXPOrGreater(void) { return IsWindowsVersionOrGreater(5, 1, 0); }
static __inline BOOL IsWindowsVistaOrGreater(void) { return IsWindowsVersionOrGreater(6, 0, 0); }
static __inline BOOL IsWindows7OrGreater(void) { return IsWindowsVersionOrGreater(6, 1, 0); }
static __inline BOOL IsWindows8OrGreater(void) { return IsWindowsVersionOrGreater(6, 2, 0); }
static __inline BOOL IsWindows10OrGreater(void) { return IsWindowsVersionOrGreater(10, 0, 0); }
