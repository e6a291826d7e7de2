// The stack room of a POSIX thread, from the thread's own attributes.
#ifndef _GNU_SOURCE
#define _GNU_SOURCE
#endif
#include <pthread.h>

#include <cstdint>

#include "tessellation/stack_room.h"

namespace selvora {

namespace {

// Kept free below the triangulation: enough for its exit paths (the message
// boxes, the process exit) and for the guard's own calls.
constexpr std::size_t kReserve = 64 * 1024;
// Used when the thread's stack cannot be asked for: the smallest stack a
// thread is commonly given.
constexpr std::size_t kUnknownStack = 512 * 1024;

// The lowest address of the calling thread's stack, or 0 when the thread
// cannot tell. Asked once per thread: for the main thread the C library reads
// the process's memory map to answer.
std::uintptr_t StackEnd() {
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return 0;
    void* low = nullptr;
    std::size_t size = 0;
    const bool known = pthread_attr_getstack(&attributes, &low, &size) == 0;
    pthread_attr_destroy(&attributes);
    return known ? reinterpret_cast<std::uintptr_t>(low) : 0;
}

}  // namespace

std::size_t StackRoom() {
    thread_local const std::uintptr_t end = StackEnd();
    const std::uintptr_t here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    if (end == 0 || here <= end) return kUnknownStack - kReserve;
    const std::size_t room = static_cast<std::size_t>(here - end);
    return room > kReserve ? room - kReserve : 0;
}

}  // namespace selvora
