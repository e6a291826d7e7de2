// The stack room of a Windows thread, from the limits the system gives it.
#include <windows.h>

#include <cstdint>

#include "tessellation/stack_room.h"

// kernel32's, since Windows 8; Wine's headers leave it out.
extern "C" __declspec(dllimport) void WINAPI
    GetCurrentThreadStackLimits(PULONG_PTR low, PULONG_PTR high);

namespace selvora {

namespace {

// Kept free below the triangulation: enough for its exit paths (the message
// boxes, the process exit), the guard's own calls and the guard page.
constexpr std::size_t kReserve = 64 * 1024;

// The lowest address of the calling thread's reserved stack.
std::uintptr_t StackEnd() {
    ULONG_PTR low = 0, high = 0;
    GetCurrentThreadStackLimits(&low, &high);
    return static_cast<std::uintptr_t>(low);
}

}  // namespace

std::size_t StackRoom() {
    thread_local const std::uintptr_t end = StackEnd();
    const std::uintptr_t here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    if (end == 0 || here <= end) return 0;
    const std::size_t room = here - end;
    return room > kReserve ? room - kReserve : 0;
}

}  // namespace selvora
