// Triangle reports its fatal conditions through functions of its own:
// triexit(), internalerror(), and trimalloc() when memory runs out. The
// packaged library calls them through the dynamic linker, so the definitions
// below take their place for every call made inside it. Which condition it
// was is told by the triangulator function that made the call, found from
// the return address.
#ifndef _GNU_SOURCE
#define _GNU_SOURCE
#endif
#include "tessellation/fatal_errors.h"

#include <dlfcn.h>
#include <link.h>

#include <cstdlib>
#include <cstring>

#include "module/module.h"
#include "selvora/export.h"

namespace selvora {
namespace {

constexpr const char* kTooFewVertices = "错误: 顶点数小于3";
constexpr const char* kOutOfMemory = "错误:  内存不足";
constexpr const char* kRemeshError = "网格重组错误";

// The numbered internal errors: the function that reports them and, within
// it, the order of its calls to internalerror().
struct NumberedError {
    const char* caller;
    int callSite;
    const char* text;
};

constexpr NumberedError kNumberedErrors[] = {
    {"finddirection", 1, "内部错误 001"},        // no triangle leads toward the segment's end
    {"finddirection", 2, "内部错误 002"},        // the walk reaches the mesh boundary
    {"segmentintersection", 1, "内部错误 003"},  // the crossing segments are parallel
    {"segmentintersection", 2, "内部错误 004"},  // inserting the crossing vertex fails
    {"segmentintersection", 3, "内部错误 005"},  // the new vertex is off the split point
    {"insertsegment", 1, "内部错误 006"},        // first end point not found
    {"insertsegment", 2, "内部错误 007"},        // second end point not found
};

bool Named(const char* caller, const char* name) {
    return caller && std::strcmp(caller, name) == 0;
}

}  // namespace

std::vector<const char*> FatalTexts(FatalKind kind, const char* caller, int callSite) {
    if (kind == FatalKind::kExit) {
        if (Named(caller, "transfernodes")) return {kTooFewVertices};
        if (Named(caller, "trimalloc")) return {kOutOfMemory};
        return {kRemeshError};  // no other exit is reachable with this library's switches
    }
    for (const NumberedError& e : kNumberedErrors) {
        if (Named(caller, e.caller) && e.callSite == callSite) return {e.text, kRemeshError};
    }
    return {kRemeshError};
}

int CallSiteOrdinal(const unsigned char* code, std::size_t size,
                    const unsigned char* returnAddress) {
    constexpr std::size_t kCallLength = 5;  // E8 and a 32-bit displacement
    auto targetOf = [](const unsigned char* call) {
        std::int32_t displacement;
        std::memcpy(&displacement, call + 1, sizeof displacement);
        return call + kCallLength + displacement;
    };
    if (!code || returnAddress < code + kCallLength || returnAddress > code + size) return 0;
    const unsigned char* ours = returnAddress - kCallLength;
    if (*ours != 0xE8) return 0;
    const unsigned char* target = targetOf(ours);
    int ordinal = 1;
    for (const unsigned char* p = code; p < ours; ++p) {
        if (*p == 0xE8 && targetOf(p) == target) ++ordinal;
    }
    return ordinal;
}

void Die(FatalKind kind, const char* caller, int callSite) {
    for (const char* text : FatalTexts(kind, caller, callSite)) ShowMessageBox(text);
    std::exit(1);
}

void DieWith(FatalKind kind, const void* returnAddress) {
    Dl_info info{};
    void* entry = nullptr;
    const char* caller = nullptr;
    int callSite = 0;
    if (dladdr1(returnAddress, &info, &entry, RTLD_DL_SYMENT) && info.dli_sname && entry) {
        const ElfW(Sym)* symbol = static_cast<const ElfW(Sym)*>(entry);
        caller = info.dli_sname;
        callSite =
            CallSiteOrdinal(static_cast<const unsigned char*>(info.dli_saddr), symbol->st_size,
                            static_cast<const unsigned char*>(returnAddress));
    }
    Die(kind, caller, callSite);
}

}  // namespace selvora

// The triangulator's exit routine and internal-error routine, replaced.
extern "C" SELVORA_API void triexit(int) {
    selvora::DieWith(selvora::FatalKind::kExit, __builtin_return_address(0));
}

extern "C" SELVORA_API void internalerror() {
    selvora::DieWith(selvora::FatalKind::kInternalError, __builtin_return_address(0));
}

// The triangulator's allocator, replaced so that running out of memory shows
// its message box instead of printing. The size is taken as unsigned, as the
// original does.
extern "C" SELVORA_API void* trimalloc(int size) {
    void* block = std::malloc(static_cast<unsigned>(size));
    if (!block) selvora::Die(selvora::FatalKind::kExit, "trimalloc", 1);
    return block;
}
