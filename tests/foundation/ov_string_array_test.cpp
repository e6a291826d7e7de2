#include <gtest/gtest.h>

#include <initializer_list>
#include <set>
#include <string>
#include <vector>

#include "selvora/selvora.h"

namespace {

std::string Alphabet(int n) {
    std::string s;
    for (int k = 0; k < n; ++k) s.push_back(static_cast<char>('a' + k % 26));
    return s;
}

void Fill(OvStringArray& a, std::initializer_list<const char*> texts) {
    for (const char* t : texts) a.Add(OvString(t));
}

void ExpectTexts(const OvStringArray& a, std::initializer_list<const char*> texts) {
    ASSERT_EQ(static_cast<int>(texts.size()), a.GetSize());
    int i = 0;
    for (const char* t : texts) {
        EXPECT_STREQ(t, a.GetData()[i]) << "element " << i;
        ++i;
    }
}

// The text buffer of every slot of the block.
std::vector<const char*> SlotBuffers(const OvStringArray& a) {
    std::vector<const char*> buffers;
    for (int k = 0; k < a.GetCapacity(); ++k) buffers.push_back(a.GetData()[k]);
    return buffers;
}

void ExpectFreshSlot(const OvString& s) {
    EXPECT_STREQ("", s);
    EXPECT_EQ(100, s.GetAllocLength());
}

}  // namespace

// ---- storage ----

TEST(OvStringArray, StartsEmpty) {
    OvStringArray a;
    EXPECT_EQ(0, a.GetSize());
    EXPECT_EQ(-1, a.GetUpperBound());
    EXPECT_EQ(0, a.GetCapacity());
    EXPECT_EQ(0, a.GetGrowBy());
    EXPECT_EQ(nullptr, a.GetData());
}

TEST(OvStringArray, EverySlotOwnsItsOwn100ByteBuffer) {
    OvStringArray a;
    a.SetSize(3, -1);
    EXPECT_EQ(3, a.GetCapacity());
    for (int k = 0; k < 3; ++k) ExpectFreshSlot(a.GetData()[k]);
    const std::vector<const char*> buffers = SlotBuffers(a);
    EXPECT_EQ(3u, std::set<const char*>(buffers.begin(), buffers.end()).size());
    for (const char* b : buffers) EXPECT_NE(nullptr, b);
}

TEST(OvStringArray, SpareSlotsAreInitialisedToo) {
    OvStringArray a;
    Fill(a, {"a", "b"});
    ASSERT_EQ(5, a.GetCapacity());
    for (int k = 2; k < 5; ++k) ExpectFreshSlot(a.GetData()[k]);
    const std::vector<const char*> buffers = SlotBuffers(a);
    EXPECT_EQ(5u, std::set<const char*>(buffers.begin(), buffers.end()).size());
}

TEST(OvStringArray, AddGrowth) {
    OvStringArray a;
    EXPECT_EQ(0, a.Add(OvString("a")));
    EXPECT_EQ(1, a.GetCapacity());
    EXPECT_EQ(1, a.Add(OvString("b")));
    EXPECT_EQ(5, a.GetCapacity());
    for (int k = 2; k < 5; ++k) EXPECT_EQ(k, a.Add(OvString("x")));
    EXPECT_EQ(5, a.GetCapacity());
    EXPECT_EQ(5, a.Add(OvString("y")));
    EXPECT_EQ(9, a.GetCapacity());
    ExpectTexts(a, {"a", "b", "x", "x", "x", "y"});
}

TEST(OvStringArray, GrowthStep) {
    OvStringArray a;
    a.SetSize(80, -1);
    a.Add(OvString("z"));
    EXPECT_EQ(90, a.GetCapacity());
    EXPECT_STREQ("z", a.GetData()[80]);

    OvStringArray b;
    b.SetSize(16000, -1);
    b.Add(OvString("z"));
    EXPECT_EQ(17024, b.GetCapacity());
    EXPECT_EQ(16001, b.GetSize());
    ExpectFreshSlot(b.GetData()[17023]);
}

TEST(OvStringArray, StoredGrowBy) {
    OvStringArray a;
    a.SetSize(2, 10);
    EXPECT_EQ(10, a.GetGrowBy());
    a.SetSize(3, -1);
    EXPECT_EQ(10, a.GetGrowBy());
    EXPECT_EQ(12, a.GetCapacity());
    for (int k = 3; k < 12; ++k) ExpectFreshSlot(a.GetData()[k]);
    a.SetSize(13, 0);
    EXPECT_EQ(0, a.GetGrowBy());
    EXPECT_EQ(16, a.GetCapacity());  // 3 / 8 raised to 4
}

TEST(OvStringArray, GrowingPastTheBlockMovesTheSlots) {
    OvStringArray a;
    Fill(a, {"one", "two", "three", "four", "five"});
    a.SetAt(1, OvString(Alphabet(150).c_str()));
    const std::vector<const char*> before = SlotBuffers(a);
    a.Add(OvString("six"));
    ASSERT_EQ(9, a.GetCapacity());
    ExpectTexts(a, {"one", Alphabet(150).c_str(), "three", "four", "five", "six"});
    // The strings were moved with their buffers, not copied into new ones.
    for (int k = 0; k < 5; ++k) EXPECT_EQ(before[k], static_cast<const char*>(a.GetData()[k]));
    EXPECT_EQ(151, a.GetData()[1].GetAllocLength());
    for (int k = 6; k < 9; ++k) ExpectFreshSlot(a.GetData()[k]);
}

TEST(OvStringArray, ShrinkReinitialisesTheCutOffSlots) {
    OvStringArray a;
    Fill(a, {"a", "b", "c"});
    a.SetAt(1, OvString(Alphabet(150).c_str()));
    ASSERT_EQ(151, a.GetData()[1].GetAllocLength());
    a.SetSize(1, -1);
    EXPECT_EQ(1, a.GetSize());
    EXPECT_EQ(5, a.GetCapacity());
    ExpectFreshSlot(a.GetData()[1]);
    ExpectFreshSlot(a.GetData()[2]);
    a.SetSize(3, -1);
    ExpectTexts(a, {"a", "", ""});
}

TEST(OvStringArray, GrowingWithinTheBlockLeavesTheSlotsAlone) {
    OvStringArray a;
    Fill(a, {"a", "b", "c"});
    a.ElementAt(4) = "spare";  // inside the block of 5, past the size
    a.SetSize(5, -1);
    ExpectTexts(a, {"a", "b", "c", "", "spare"});
}

TEST(OvStringArray, SetSizeZeroAndRemoveAllFreeTheBlock) {
    OvStringArray a;
    Fill(a, {"a", "b", "c"});
    a.ElementAt(4) = Alphabet(200).c_str();  // a spare slot with a grown buffer
    a.SetSize(0, -1);
    EXPECT_EQ(nullptr, a.GetData());
    EXPECT_EQ(0, a.GetSize());
    EXPECT_EQ(0, a.GetCapacity());
    a.Add(OvString("again"));
    ExpectTexts(a, {"again"});
    a.RemoveAll();
    EXPECT_EQ(nullptr, a.GetData());
    EXPECT_EQ(0, a.GetSize());
    EXPECT_EQ(0, a.GetCapacity());
}

TEST(OvStringArray, NegativeSizeIsRefused) {
    OvStringArray a;
    Fill(a, {"a", "b"});
    a.SetSize(-1, -1);
    ExpectTexts(a, {"a", "b"});
    EXPECT_EQ(5, a.GetCapacity());
}

// ---- element access ----

TEST(OvStringArray, GetAtReturnsACopy) {
    OvStringArray a;
    Fill(a, {"a", "b"});
    OvString s = a.GetAt(1);
    EXPECT_STREQ("b", s);
    EXPECT_NE(static_cast<const char*>(a.GetData()[1]), static_cast<const char*>(s));
    s = "changed";
    ExpectTexts(a, {"a", "b"});
    const OvStringArray& c = a;
    EXPECT_STREQ("a", c[0]);
}

TEST(OvStringArray, GetAtIsUncheckedAgainstTheSize) {
    OvStringArray a;
    Fill(a, {"a", "b", "c"});
    a.ElementAt(3) = "past";
    const OvStringArray& c = a;
    EXPECT_STREQ("past", c.GetAt(3));
    EXPECT_STREQ("", c[4]);
    // Outside the block there is nothing to read: an empty string.
    EXPECT_STREQ("", c.GetAt(5));
    EXPECT_STREQ("", c.GetAt(-1));
    const OvStringArray empty{};
    EXPECT_STREQ("", empty.GetAt(0));
}

TEST(OvStringArray, SetAtAssignsIntoTheSlot) {
    OvStringArray a;
    Fill(a, {"a", "b", "c"});
    const char* buffer = a.GetData()[1];
    a.SetAt(1, OvString("bee"));
    EXPECT_EQ(buffer, static_cast<const char*>(a.GetData()[1]));  // the text fits its buffer
    a.SetAt(2, OvString(Alphabet(150).c_str()));
    EXPECT_EQ(151, a.GetData()[2].GetAllocLength());
    ExpectTexts(a, {"a", "bee", Alphabet(150).c_str()});
    a.SetAt(4, OvString("spare"));  // unchecked inside the block
    EXPECT_STREQ("spare", a.GetData()[4]);
    EXPECT_EQ(3, a.GetSize());
}

TEST(OvStringArray, ElementAtIsAReference) {
    OvStringArray a;
    Fill(a, {"a", "b"});
    a.ElementAt(0) += "x";
    a[1] = "yy";
    EXPECT_EQ(&a.GetData()[1], &a[1]);
    ExpectTexts(a, {"ax", "yy"});
}

TEST(OvStringArray, OutOfBlockAccessTouchesNothing) {
    OvStringArray a;
    Fill(a, {"a", "b", "c"});
    const std::vector<const char*> before = SlotBuffers(a);
    a.ElementAt(5) = "x";
    a.ElementAt(-1) = "y";
    a[1000] = Alphabet(300).c_str();
    a.SetAt(7, OvString("z"));
    EXPECT_EQ(before, SlotBuffers(a));
    ExpectTexts(a, {"a", "b", "c"});
    for (int k = 3; k < 5; ++k) ExpectFreshSlot(a.GetData()[k]);
    OvStringArray empty;
    empty.SetAt(0, OvString("q"));
    EXPECT_EQ(nullptr, empty.GetData());
}

TEST(OvStringArray, SetAtGrow) {
    OvStringArray a;
    a.SetAtGrow(3, OvString("d"));
    ExpectTexts(a, {"", "", "", "d"});
    EXPECT_EQ(4, a.GetCapacity());
    a.SetAtGrow(1, OvString("b"));
    ExpectTexts(a, {"", "b", "", "d"});
    a.SetAtGrow(-1, OvString("x"));  // refused
    ExpectTexts(a, {"", "b", "", "d"});
}

TEST(OvStringArray, AddOfItsOwnElementWhileGrowing) {
    OvStringArray a;
    Fill(a, {"self"});
    ASSERT_EQ(1, a.GetCapacity());
    EXPECT_EQ(1, a.Add(a.ElementAt(0)));
    ExpectTexts(a, {"self", "self"});
}

// ---- insertion ----

TEST(OvStringArray, InsertInside) {
    OvStringArray a;
    Fill(a, {"a", "b", "c"});
    a.InsertAt(1, OvString("x"), 2);
    ExpectTexts(a, {"a", "x", "x", "b", "c"});
    const std::vector<const char*> buffers = SlotBuffers(a);
    EXPECT_EQ(buffers.size(), std::set<const char*>(buffers.begin(), buffers.end()).size());
    a.ElementAt(1) = "changed";
    ExpectTexts(a, {"a", "changed", "x", "b", "c"});
    a.InsertAt(0, OvString("first"));
    ExpectTexts(a, {"first", "a", "changed", "x", "b", "c"});
    a.InsertAt(2, OvString("none"), 0);
    ExpectTexts(a, {"first", "a", "changed", "x", "b", "c"});
}

TEST(OvStringArray, InsertShiftsByAssignment) {
    OvStringArray a;
    a.SetSize(10, -1);
    a.SetSize(3, -1);
    a.SetAt(0, OvString("a"));
    a.SetAt(1, OvString("b"));
    a.SetAt(2, OvString("c"));
    const std::vector<const char*> before = SlotBuffers(a);
    a.InsertAt(1, OvString("x"), 2);
    ExpectTexts(a, {"a", "x", "x", "b", "c"});
    // Every slot kept its own buffer: the texts were copied into them.
    EXPECT_EQ(before, SlotBuffers(a));
}

TEST(OvStringArray, InsertPastTheEndFillsTheGapWithEmptyStrings) {
    OvStringArray a;
    Fill(a, {"a", "b", "c"});
    a.InsertAt(10, OvString("p"), 2);
    EXPECT_EQ(12, a.GetSize());
    EXPECT_EQ(12, a.GetCapacity());
    ExpectTexts(a, {"a", "b", "c", "", "", "", "", "", "", "", "p", "p"});
}

TEST(OvStringArray, InsertWithNegativeArgumentsIsRefused) {
    OvStringArray a;
    Fill(a, {"a", "b"});
    a.InsertAt(-1, OvString("x"), 1);
    a.InsertAt(0, OvString("x"), -1);
    ExpectTexts(a, {"a", "b"});
}

TEST(OvStringArray, InsertArray) {
    OvStringArray a;
    Fill(a, {"a", "b", "c"});
    OvStringArray src;
    Fill(src, {"p", "q"});
    a.InsertAt(1, &src);
    ExpectTexts(a, {"a", "p", "q", "b", "c"});
    a.InsertAt(6, &src);
    ExpectTexts(a, {"a", "p", "q", "b", "c", "", "p", "q"});
    ExpectTexts(src, {"p", "q"});
    OvStringArray empty;
    a.InsertAt(0, &empty);
    EXPECT_EQ(8, a.GetSize());
    a.InsertAt(0, static_cast<OvStringArray*>(nullptr));
    EXPECT_EQ(8, a.GetSize());
}

TEST(OvStringArray, InsertArrayIntoItself) {
    // The gap is opened with copies of element 0, then each position i + k
    // takes element k of the array as it is by then.
    OvStringArray a;
    Fill(a, {"a", "b", "c"});
    a.InsertAt(3, &a);
    ExpectTexts(a, {"a", "b", "c", "a", "b", "c"});
    OvStringArray b;
    Fill(b, {"a", "b", "c"});
    b.InsertAt(2, &b);
    ExpectTexts(b, {"a", "b", "a", "b", "a", "c"});
}

// ---- removal ----

TEST(OvStringArray, RemoveAtReachingTheEndLeavesTheHead) {
    OvStringArray a;
    Fill(a, {"a", "b", "c"});
    a.RemoveAt(1, 100);
    ExpectTexts(a, {"a"});
    EXPECT_STREQ("", a.GetData()[1]);  // the removed slots hold the empty text
    EXPECT_STREQ("", a.GetData()[2]);
    OvStringArray b;
    Fill(b, {"a", "b", "c"});
    b.RemoveAt(1, 2);
    ExpectTexts(b, {"a"});
    EXPECT_STREQ("", b.GetData()[2]);
}

TEST(OvStringArray, RemoveAtMovesTheRestDown) {
    OvStringArray a;
    Fill(a, {"a", "b", "c", "d", "e"});
    a.RemoveAt(1, 2);
    ExpectTexts(a, {"a", "d", "e"});
    EXPECT_STREQ("", a.GetData()[3]);  // cleared, unlike the plain arrays
    EXPECT_STREQ("", a.GetData()[4]);
    a.RemoveAt(0);
    ExpectTexts(a, {"d", "e"});
}

TEST(OvStringArray, RemoveAtKeepsTheSlotsBuffers) {
    const std::string big = Alphabet(150);
    OvStringArray a;
    Fill(a, {"x", "y", big.c_str()});
    a.RemoveAt(0, 1);
    ExpectTexts(a, {"y", big.c_str()});
    EXPECT_EQ(151, a.GetData()[1].GetAllocLength());
    EXPECT_STREQ("", a.GetData()[2]);
    EXPECT_EQ(151, a.GetData()[2].GetAllocLength());  // emptied by assignment: the buffer stays
}

TEST(OvStringArray, RemoveAtWithBadArgumentsDoesNothing) {
    OvStringArray a;
    Fill(a, {"a", "b", "c"});
    a.RemoveAt(-1, 1);
    a.RemoveAt(3, 1);
    a.RemoveAt(7, 1);
    a.RemoveAt(0, 0);
    a.RemoveAt(1, -1);
    ExpectTexts(a, {"a", "b", "c"});
    OvStringArray empty;
    empty.RemoveAt(0, 1);
    EXPECT_EQ(0, empty.GetSize());
}

// ---- whole-array copies ----

TEST(OvStringArray, Append) {
    OvStringArray a;
    Fill(a, {"a"});
    OvStringArray b;
    Fill(b, {"b", "c"});
    EXPECT_EQ(1, a.Append(&b));
    ExpectTexts(a, {"a", "b", "c"});
    ExpectTexts(b, {"b", "c"});
    EXPECT_NE(static_cast<const char*>(a.GetData()[1]), static_cast<const char*>(b.GetData()[0]));
    OvStringArray empty;
    EXPECT_EQ(3, a.Append(&empty));
    EXPECT_EQ(3, a.GetSize());
    EXPECT_EQ(3, a.Append(&a));
    ExpectTexts(a, {"a", "b", "c", "a", "b", "c"});
}

TEST(OvStringArray, Copy) {
    OvStringArray a;
    Fill(a, {"1", "2", "3", "4", "5"});
    a.SetAt(4, OvString(Alphabet(150).c_str()));
    OvStringArray src;
    Fill(src, {"x", "y"});
    a.Copy(&src);
    ExpectTexts(a, {"x", "y"});
    EXPECT_EQ(5, a.GetCapacity());
    for (int k = 2; k < 5; ++k) ExpectFreshSlot(a.GetData()[k]);
    a.Copy(&a);
    ExpectTexts(a, {"x", "y"});
    OvStringArray empty;
    a.Copy(&empty);
    EXPECT_EQ(0, a.GetSize());
    EXPECT_EQ(nullptr, a.GetData());
}

TEST(OvStringArray, Assignment) {
    OvStringArray a;
    Fill(a, {"a", "b", "c"});
    OvStringArray b;
    Fill(b, {"z"});
    OvStringArray& r = (b = a);
    EXPECT_EQ(&b, &r);
    ExpectTexts(b, {"a", "b", "c"});
    b.ElementAt(0) = "changed";
    ExpectTexts(a, {"a", "b", "c"});
    OvStringArray& s = (a = a);
    EXPECT_EQ(&a, &s);
    ExpectTexts(a, {"a", "b", "c"});
}

TEST(OvStringArray, CopyConstructor) {
    OvStringArray a;
    a.SetSize(0, 10);
    a.Add(OvString("a"));
    a.Add(OvString("b"));
    ASSERT_EQ(11, a.GetCapacity());
    OvStringArray b(a);
    ExpectTexts(b, {"a", "b"});
    EXPECT_EQ(2, b.GetCapacity());
    EXPECT_EQ(0, b.GetGrowBy());
    EXPECT_NE(static_cast<const char*>(a.GetData()[0]), static_cast<const char*>(b.GetData()[0]));
    OvStringArray empty;
    OvStringArray c(empty);
    EXPECT_EQ(nullptr, c.GetData());
}

// Spare slots own buffers as well; emptying and destroying the array release
// them (LeakSanitizer reports any that are lost).
TEST(OvStringArray, SpareSlotBuffersAreReleased) {
    const std::string big = Alphabet(500);
    {
        OvStringArray a;
        Fill(a, {"a", "b", big.c_str()});
        a.RemoveAt(1, 2);  // slot 2 keeps its 501-byte buffer as a spare slot
        ASSERT_EQ(501, a.GetData()[2].GetAllocLength());
        a.ElementAt(4) = big.c_str();
        EXPECT_EQ(1, a.GetSize());
    }
    OvStringArray b;
    Fill(b, {"a", big.c_str()});
    b.SetSize(1, -1);
    b.ElementAt(3) = big.c_str();
    b.RemoveAll();
    EXPECT_EQ(nullptr, b.GetData());
    b.Add(OvString(big.c_str()));
    b.Add(OvString(big.c_str()));
    b.ElementAt(4) = big.c_str();
    b.SetSize(200, -1);
    EXPECT_STREQ(big.c_str(), b.GetData()[1]);
    EXPECT_STREQ("", b.GetData()[4]);  // a spare slot when the block grew: started over
}
