// A guard on the triangulator's walk around a vertex. finddirection() turns
// around a segment's start, testing each triangle with counterclockwise(),
// until one lies toward the segment's end. It gives up only on reaching the
// mesh boundary; in an interior fan made inconsistent by rounded crossing
// points it turns forever. The library takes the place of both functions
// (the packaged triangulator calls them through the dynamic linker) and ends
// such a walk as the internal error it is: no triangle leads toward the end.
#ifndef _GNU_SOURCE
#define _GNU_SOURCE
#endif
#include <dlfcn.h>

#include <atomic>
#include <cstdint>

#include "selvora/export.h"
#include "tessellation/fatal_errors.h"

namespace {

// Turns one walk may take. A walk passes each triangle around its vertex at
// most once, so a legitimate one stays far below this.
constexpr std::uint32_t kMaxTurns = 1u << 24;

using Counterclockwise = double (*)(void*, void*, double*, double*, double*);
using FindDirection = int (*)(void*, void*, void*, double*);

template <class Function>
Function Next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

const Counterclockwise g_counterclockwise = Next<Counterclockwise>("counterclockwise");
const FindDirection g_findDirection = Next<FindDirection>("finddirection");

// Turns taken by the walk in progress; 0 outside a walk. Calls are
// serialised by the tessellation lock.
std::atomic<std::uint32_t> g_turns{0};

}  // namespace

extern "C" SELVORA_API double counterclockwise(void* m, void* b, double* pa, double* pb,
                                               double* pc) {
    const std::uint32_t turns = g_turns.load(std::memory_order_relaxed);
    if (turns != 0) {
        if (turns > kMaxTurns) selvora::Die(selvora::FatalKind::kInternalError, "finddirection", 1);
        g_turns.store(turns + 1, std::memory_order_relaxed);
    }
    return g_counterclockwise(m, b, pa, pb, pc);
}

extern "C" SELVORA_API int finddirection(void* m, void* b, void* searchtri, double* searchpoint) {
    g_turns.store(1, std::memory_order_relaxed);
    const int result = g_findDirection(m, b, searchtri, searchpoint);
    g_turns.store(0, std::memory_order_relaxed);
    return result;
}
