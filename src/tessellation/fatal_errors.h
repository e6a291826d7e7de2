// The triangulator's fatal conditions and the texts the library shows for them.
#pragma once

#include <vector>

namespace selvora {

// How the triangulator ended: its exit after a report of a named function, its
// internal-error routine called at the n-th call site of a named function (1
// for the first in its source), or memory running out.
enum class FatalKind { kExit, kInternalError, kOutOfMemory };

// The message boxes for one fatal condition, in the order they are shown.
std::vector<const char*> FatalTexts(FatalKind kind, const char* function, int callSite);

// Shows the texts of a fatal condition and ends the process with status 1.
[[noreturn]] void Die(FatalKind kind, const char* function = nullptr, int callSite = 0);

}  // namespace selvora
