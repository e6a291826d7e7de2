// The triangulator's fatal conditions: which texts each one shows.
#include "tessellation/fatal_errors.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

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

TEST(FatalTexts, OutOfMemoryOutsideTheTriangulatorsOwnAllocator) {
    EXPECT_EQ(Strings{"错误:  内存不足"}, Texts(FatalKind::kOutOfMemory, nullptr, 0));
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

}  // namespace
