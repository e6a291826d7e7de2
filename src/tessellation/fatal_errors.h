// The triangulator's fatal conditions and the texts the library shows for them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace selvora {

// Where the triangulator ended: a call of its exit routine or of its
// internal-error routine, made from a named function of the triangulator, at
// the n-th call site (1 for the first in the function's code) of that routine.
enum class FatalKind { kExit, kInternalError };

// The message boxes for one fatal condition, in the order they are shown.
std::vector<const char*> FatalTexts(FatalKind kind, const char* caller, int callSite);

// The 1-based position of the call that returns to `returnAddress` among the
// calls in code[0, size) to the same target, counting direct 5-byte x86-64
// calls (E8 rel32); 0 when the bytes before returnAddress are no such call.
int CallSiteOrdinal(const unsigned char* code, std::size_t size,
                    const unsigned char* returnAddress);

// Shows the texts of a fatal condition and ends the process with status 1.
[[noreturn]] void Die(FatalKind kind, const char* caller, int callSite);
// The same for a call that returns to returnAddress inside the triangulator.
[[noreturn]] void DieWith(FatalKind kind, const void* returnAddress);

}  // namespace selvora
