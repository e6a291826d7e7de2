// The triangulator's fatal conditions, as the guard names them from
// Triangle's source (see triangle_guard.h): the function whose report came
// before the exit and, for an internal error, the position of the failing
// call among that function's calls of internalerror().
#include "tessellation/fatal_errors.h"

#include <cstdlib>
#include <cstring>

#include "tessellation/message_box.h"
#include "tessellation/triangle_guard.h"

namespace selvora {
namespace {

constexpr const char* kTooFewVertices = "错误: 顶点数小于3";
constexpr const char* kOutOfMemory = "错误:  内存不足";
constexpr const char* kRemeshError = "网格重组错误";

// The numbered internal errors: the function that reports them and, within
// it, the order of its calls to internalerror().
struct NumberedError {
    const char* function;
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

bool Named(const char* function, const char* name) {
    return function && std::strcmp(function, name) == 0;
}

}  // namespace

std::vector<const char*> FatalTexts(FatalKind kind, const char* function, int callSite) {
    if (kind == FatalKind::kOutOfMemory) return {kOutOfMemory};
    if (kind == FatalKind::kExit) {
        if (Named(function, "transfernodes")) return {kTooFewVertices};
        if (Named(function, "trimalloc")) return {kOutOfMemory};
        return {kRemeshError};  // no other exit is reachable with this library's switches
    }
    for (const NumberedError& e : kNumberedErrors) {
        if (Named(function, e.function) && e.callSite == callSite) return {e.text, kRemeshError};
    }
    return {kRemeshError};
}

void Die(FatalKind kind, const char* function, int callSite) {
    for (const char* text : FatalTexts(kind, function, callSite)) ShowMessageBox(text);
    std::exit(1);
}

}  // namespace selvora

void selvora_triangle_fatal(selvora_triangle_condition condition, const char* function,
                            int ordinal) {
    using selvora::FatalKind;
    const FatalKind kind = condition == SELVORA_TRIANGLE_INTERNAL_ERROR  ? FatalKind::kInternalError
                           : condition == SELVORA_TRIANGLE_OUT_OF_MEMORY ? FatalKind::kOutOfMemory
                                                                         : FatalKind::kExit;
    selvora::Die(kind, function, ordinal);
}
