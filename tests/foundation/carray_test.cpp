// Tests of CArray, the caller's container Line::ProjectedUnion reads: its
// members, and its layout, which is MFC's CArray's so that the library reads
// an MFC client's array.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "selvora/selvora.h"
#include "support/exact.h"

namespace {

// The words of an object, in order.
template <class T>
const std::intptr_t* Words(const T& object) {
    return reinterpret_cast<const std::intptr_t*>(&object);
}

TEST(CArray, AddsReadsAndEmpties) {
    CArray<int, int> a;
    EXPECT_EQ(0, a.GetSize());
    for (int k = 0; k < 10; ++k) EXPECT_EQ(k, a.Add(10 * k));
    EXPECT_EQ(10, a.GetSize());
    EXPECT_EQ(10, a.GetCount());
    EXPECT_EQ(70, a.GetAt(7));
    a[7] = 71;
    EXPECT_EQ(71, a[7]);
    a.RemoveAll();
    EXPECT_EQ(0, a.GetSize());
}

TEST(CArray, ABadIndexThrowsInvalidArgument) {
    CArray<int, int> a;
    a.Add(1);
    EXPECT_THROW(a.GetAt(1), std::invalid_argument);
    EXPECT_THROW(a.GetAt(-1), std::invalid_argument);
    EXPECT_THROW(a[1], std::invalid_argument);
}

// MFC's CArray: a CObject (a virtual table pointer), then the block, the
// size, the capacity and the growth step, each pointer-sized. This one keeps
// the first word free.
TEST(CArrayLayout, IsMfcs) {
    static_assert(sizeof(CArray<Line*, Line*>) == 5 * sizeof(void*), "five words");
    Point3d s(0.0, 0.0, 0.0), e(1.0, 0.0, 0.0);
    Line l1(s, e), l2(s, e), l3(s, e);
    CArray<Line*, Line*> lines;
    lines.Add(&l1);
    lines.Add(&l2);
    lines.Add(&l3);
    const std::intptr_t* words = Words(lines);
    EXPECT_EQ(0, words[0]);  // where MFC's has its virtual table
    Line* const* block = reinterpret_cast<Line* const*>(words[1]);
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(&l1, block[0]);
    EXPECT_EQ(&l3, block[2]);
    EXPECT_EQ(3, words[2]);  // size
    EXPECT_LE(3, words[3]);  // capacity
    EXPECT_EQ(0, words[4]);  // growth step
}

// An object laid out as an MFC client's CArray<Line*, Line*> is: its own
// virtual table (CObject's members), then the four words. The library reads
// it through its CArray as it reads MFC's.
struct MfcLaidOutArray {
    MfcLaidOutArray(Line** lines, std::intptr_t count)
        : m_pData(lines), m_nSize(count), m_nMaxSize(count), m_nGrowBy(0) {}
    virtual ~MfcLaidOutArray() = default;
    virtual const void* GetRuntimeClass() const { return nullptr; }
    virtual void Serialize(void*) {}

    Line** m_pData;
    std::intptr_t m_nSize, m_nMaxSize, m_nGrowBy;
};

TEST(CArrayLayout, ProjectedUnionReadsAnArrayLaidOutAsMfcs) {
    static_assert(sizeof(MfcLaidOutArray) == sizeof(CArray<Line*, Line*>), "same size");
    // The intervals of LineRelationsTest.ProjectedUnionOfOverlappingIntervals.
    Point3d o(0.0, 0.0, 0.0), ten(10.0, 0.0, 0.0);
    Line x(o, ten);
    Point3d a1(1.0, 0.0, 0.0), b1(3.0, 0.0, 0.0), a2(5.0, 2.0, 0.0), b2(2.0, -1.0, 0.0),
        a3(14.0, 0.0, 0.0), b3(7.0, 0.0, 0.0);
    Line l1(a1, b1), l2(a2, b2), l3(a3, b3);
    Line* block[] = {&l3, &l1, &l2};
    MfcLaidOutArray mfc(block, 3);
    // What the client's pointer becomes across the library's interface.
    auto* lines = static_cast<CArray<Line*, Line*>*>(static_cast<void*>(&mfc));
    EXPECT_SAME_DOUBLE(7.000000000000001, x.ProjectedUnion(*lines));
}

}  // namespace
