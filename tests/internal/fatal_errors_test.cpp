// The triangulator's fatal conditions: which texts each one shows, and how a
// call site is told apart from the others in the same function.
#include "tessellation/fatal_errors.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

using selvora::CallSiteOrdinal;
using selvora::FatalKind;
using selvora::FatalTexts;

std::vector<std::string> Texts(FatalKind kind, const char* caller, int site) {
    std::vector<std::string> texts;
    for (const char* t : FatalTexts(kind, caller, site)) texts.emplace_back(t);
    return texts;
}

using Strings = std::vector<std::string>;

TEST(FatalTexts, ExitsOfTheTriangulator) {
    EXPECT_EQ(Strings{"错误: 顶点数小于3"}, Texts(FatalKind::kExit, "transfernodes", 1));
    EXPECT_EQ(Strings{"错误:  内存不足"}, Texts(FatalKind::kExit, "trimalloc", 1));
    EXPECT_EQ(Strings{"网格重组错误"}, Texts(FatalKind::kExit, "sweeplinedelaunay", 1));
    EXPECT_EQ(Strings{"网格重组错误"}, Texts(FatalKind::kExit, nullptr, 0));
}

TEST(FatalTexts, NumberedInternalErrorsAreFollowedByTheGeneralText) {
    struct Case {
        const char* caller;
        int site;
        const char* number;
    } cases[] = {
        {"finddirection", 1, "内部错误 001"},       {"finddirection", 2, "内部错误 002"},
        {"segmentintersection", 1, "内部错误 003"}, {"segmentintersection", 2, "内部错误 004"},
        {"segmentintersection", 3, "内部错误 005"}, {"insertsegment", 1, "内部错误 006"},
        {"insertsegment", 2, "内部错误 007"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ((Strings{c.number, "网格重组错误"}),
                  Texts(FatalKind::kInternalError, c.caller, c.site))
            << c.caller << " #" << c.site;
    }
}

TEST(FatalTexts, OtherInternalErrorsShowOnlyTheGeneralText) {
    EXPECT_EQ(Strings{"网格重组错误"}, Texts(FatalKind::kInternalError, "conformingedge", 1));
    EXPECT_EQ(Strings{"网格重组错误"}, Texts(FatalKind::kInternalError, "splitencsegs", 1));
    EXPECT_EQ(Strings{"网格重组错误"}, Texts(FatalKind::kInternalError, "finddirection", 3));
    EXPECT_EQ(Strings{"网格重组错误"}, Texts(FatalKind::kInternalError, "insertsegment", 0));
    EXPECT_EQ(Strings{"网格重组错误"}, Texts(FatalKind::kInternalError, nullptr, 0));
}

// A direct call E8 rel32 at `at` to `target`, both offsets into code.
void PutCall(std::vector<unsigned char>& code, std::size_t at, std::size_t target) {
    code[at] = 0xE8;
    const std::int32_t rel = static_cast<std::int32_t>(target) - static_cast<std::int32_t>(at + 5);
    std::memcpy(&code[at + 1], &rel, sizeof rel);
}

TEST(CallSiteOrdinal, CountsEarlierCallsToTheSameTarget) {
    std::vector<unsigned char> code(200, 0x90);  // nops
    const std::size_t errorRoutine = 180, otherRoutine = 190;
    PutCall(code, 10, errorRoutine);  // site 1
    PutCall(code, 30, otherRoutine);  // a call elsewhere does not count
    PutCall(code, 50, errorRoutine);  // site 2
    PutCall(code, 70, errorRoutine);  // site 3
    const unsigned char* base = code.data();
    EXPECT_EQ(1, CallSiteOrdinal(base, 170, base + 15));
    EXPECT_EQ(2, CallSiteOrdinal(base, 170, base + 55));
    EXPECT_EQ(3, CallSiteOrdinal(base, 170, base + 75));
    EXPECT_EQ(1, CallSiteOrdinal(base, 170, base + 35));  // the first call of its own target
}

TEST(CallSiteOrdinal, RefusesWhatIsNoCall) {
    std::vector<unsigned char> code(64, 0x90);
    PutCall(code, 10, 60);
    const unsigned char* base = code.data();
    EXPECT_EQ(0, CallSiteOrdinal(base, 64, base + 16));  // not right after the call
    EXPECT_EQ(0, CallSiteOrdinal(base, 64, base + 3));   // before any call could end
    EXPECT_EQ(0, CallSiteOrdinal(base, 10, base + 15));  // outside the function
    EXPECT_EQ(0, CallSiteOrdinal(nullptr, 64, base + 15));
}

}  // namespace
