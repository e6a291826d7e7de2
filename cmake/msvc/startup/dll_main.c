// The entry point of a DLL: the module's static constructors when it is
// loaded, its atexit functions and static destructors when it is unloaded or
// the process ends, around the DLL's own DllMain if it has one.
#include <windows.h>

#include "module.h"

// A DLL without a DllMain of its own gets this one.
BOOL WINAPI selvora_default_dll_main(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    (void)instance, (void)reason, (void)reserved;
    return TRUE;
}
BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved);
#pragma comment(linker, "/alternatename:DllMain=selvora_default_dll_main")

BOOL WINAPI _DllMainCRTStartup(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_ATTACH) {
        selvora_init_security_cookie();
        if (selvora_initialize_module() != 0) return FALSE;
        if (!DllMain(instance, reason, reserved)) {
            selvora_finalize_dll();
            return FALSE;
        }
        return TRUE;
    }
    BOOL result = DllMain(instance, reason, reserved);
    if (reason == DLL_PROCESS_DETACH) selvora_finalize_dll();
    return result;
}
