// How much of the calling thread's stack a triangulation may use.
#pragma once

#include <cstddef>

namespace selvora {

// The bytes between the caller's frame and the end of the thread's stack,
// less a reserve for the library's own exit paths; 0 when there is no more.
std::size_t StackRoom();

}  // namespace selvora
