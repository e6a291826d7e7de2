#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "selvora/selvora.h"
#include "support/platform.h"

namespace {

const char* const kNull = nullptr;

unsigned char U(char c) { return static_cast<unsigned char>(c); }

std::string Repeat(char c, int n) { return std::string(static_cast<size_t>(n), c); }

// A text of n characters cycling through the lowercase alphabet.
std::string Alphabet(int n) {
    std::string s;
    for (int k = 0; k < n; ++k) s.push_back(static_cast<char>('a' + k % 26));
    return s;
}

// Format("%s") of a text of n >= 16384 letters gives its first 16384: the
// shared formatting buffer holds no more.
void ExpectFormatKeepsTheFirst16384Letters(int n) {
    const std::string text = Alphabet(n);
    OvString s;
    s.Format("%s", text.c_str());
    EXPECT_EQ(16384, s.GetLength());
    EXPECT_EQ(16385, s.GetAllocLength());
    EXPECT_STREQ(text.substr(0, 16384).c_str(), s);
}

// s = rhs returns s itself, which then reads `expected`.
template <class R>
void ExpectAssign(OvString& s, const R& rhs, const char* expected) {
    const OvString& r = (s = rhs);
    EXPECT_EQ(&s, &r);
    EXPECT_STREQ(expected, s);
}

// s += rhs returns s itself, which then reads `expected`.
template <class R>
void ExpectPlusAssign(OvString& s, const R& rhs, const char* expected) {
    const OvString& r = (s += rhs);
    EXPECT_EQ(&s, &r);
    EXPECT_STREQ(expected, s);
}

}  // namespace

// ---- construction, buffer and destruction ----

TEST(OvString, DefaultConstructorOwnsZeroed100ByteBuffer) {
    OvString s;
    EXPECT_EQ(100, s.GetAllocLength());
    EXPECT_EQ(0, s.GetLength());
    EXPECT_EQ(1, s.IsEmpty());
    ASSERT_NE(nullptr, static_cast<const char*>(s));
    for (int k = 0; k < 100; ++k) EXPECT_EQ(0, s.GetAt(k)) << k;
}

TEST(OvString, ConstructFromText) {
    OvString s("hello");
    EXPECT_STREQ("hello", s);
    EXPECT_EQ(5, s.GetLength());
    EXPECT_EQ(0, s.IsEmpty());
    EXPECT_EQ(100, s.GetAllocLength());
}

TEST(OvString, ConstructFromNullOrEmptyGivesEmptyString) {
    OvString a(kNull);
    OvString b("");
    EXPECT_STREQ("", a);
    EXPECT_STREQ("", b);
    EXPECT_EQ(100, a.GetAllocLength());
    EXPECT_EQ(100, b.GetAllocLength());
}

TEST(OvString, ConstructFromLongTextAllocatesLengthPlusOne) {
    const std::string text = Alphabet(150);
    OvString s(text.c_str());
    EXPECT_EQ(151, s.GetAllocLength());
    EXPECT_EQ(150, s.GetLength());
    EXPECT_STREQ(text.c_str(), s);
}

TEST(OvString, CopyConstructorOwnsItsBuffer) {
    OvString a("abc");
    OvString b(a);
    EXPECT_STREQ("abc", b);
    EXPECT_NE(static_cast<const char*>(a), static_cast<const char*>(b));
    EXPECT_EQ(100, b.GetAllocLength());
    b.SetAt(0, 'x');
    EXPECT_STREQ("abc", a);
    EXPECT_STREQ("xbc", b);

    const std::string text = Alphabet(150);
    OvString longText(text.c_str());
    OvString copy(longText);
    EXPECT_EQ(151, copy.GetAllocLength());
    EXPECT_STREQ(text.c_str(), copy);

    OvString empty;
    OvString emptyCopy(empty);
    EXPECT_STREQ("", emptyCopy);
    EXPECT_EQ(100, emptyCopy.GetAllocLength());
}

TEST(OvString, DestructorReleasesTheBuffer) {
    // Each pass leaves a grown buffer behind at the end of the scope; the
    // sanitizer build's leak check reports any that is not freed.
    const std::string text = Alphabet(10000);
    for (int k = 0; k < 100; ++k) {
        OvString s(text.c_str());
        ASSERT_EQ(10001, s.GetAllocLength());
        OvString* heap = new OvString(s);
        ASSERT_STREQ(text.c_str(), *heap);
        delete heap;
    }
}

TEST(OvString, InitTakesAFreshZeroedBufferWithoutFreeingTheOldOne) {
    OvString s("some text");
    s.AllocBuffer(300);
    char* old = const_cast<char*>(static_cast<const char*>(s));
    s.Init();
    EXPECT_NE(old, static_cast<const char*>(s));
    EXPECT_EQ(100, s.GetAllocLength());
    EXPECT_EQ(0, s.GetLength());
    for (int k = 0; k < 100; ++k) EXPECT_EQ(0, s.GetAt(k)) << k;
    // Init leaves the earlier block alone; it is still readable and is ours to free.
    EXPECT_STREQ("some text", old);
    std::free(old);
}

TEST(OvString, AllocBufferGrowsToExactlyTheWantedSizeAndNeverShrinks) {
    OvString s("abc");
    s.AllocBuffer(0);  // below 1 means 100: nothing to do
    EXPECT_EQ(100, s.GetAllocLength());
    s.AllocBuffer(-7);
    EXPECT_EQ(100, s.GetAllocLength());
    s.AllocBuffer(100);
    EXPECT_EQ(100, s.GetAllocLength());
    s.AllocBuffer(101);
    EXPECT_EQ(101, s.GetAllocLength());
    EXPECT_STREQ("abc", s);  // the content survives the reallocation
    s.AllocBuffer(250);
    EXPECT_EQ(250, s.GetAllocLength());
    EXPECT_STREQ("abc", s);
    s.AllocBuffer(120);
    EXPECT_EQ(250, s.GetAllocLength());
    s.AllocBuffer(0);
    EXPECT_EQ(250, s.GetAllocLength());
}

TEST(OvString, AssignmentGrowthOfTheBuffer) {
    OvString s;
    EXPECT_EQ(100, s.GetAllocLength());
    s = "0123456789";
    EXPECT_EQ(10, s.GetLength());
    EXPECT_EQ(100, s.GetAllocLength());
    s = Alphabet(99).c_str();  // 99 characters and the terminator fill the 100 bytes
    EXPECT_EQ(100, s.GetAllocLength());
    s = Alphabet(100).c_str();
    EXPECT_EQ(101, s.GetAllocLength());
    s = Alphabet(150).c_str();
    EXPECT_EQ(151, s.GetAllocLength());
    EXPECT_STREQ(Alphabet(150).c_str(), s);
    s = "short";
    EXPECT_STREQ("short", s);
    EXPECT_EQ(151, s.GetAllocLength());
}

TEST(OvString, EmptyKeepsTheAllocatedSize) {
    OvString s(Alphabet(150).c_str());
    s.Empty();
    EXPECT_EQ(0, s.GetLength());
    EXPECT_EQ(1, s.IsEmpty());
    EXPECT_EQ(151, s.GetAllocLength());
    EXPECT_STREQ("", s);

    OvString fresh;
    fresh.Empty();
    EXPECT_EQ(100, fresh.GetAllocLength());
}

TEST(OvString, LengthEndsAtTheFirstNul) {
    OvString s("abcdef");
    s[2] = 0;
    EXPECT_EQ(2, s.GetLength());
    EXPECT_STREQ("ab", s);
    EXPECT_EQ('d', s.GetAt(3));  // the bytes after the NUL are still there
}

TEST(OvString, ConversionGivesTheBufferPointer) {
    OvString s("xyz");
    const char* p = s;
    EXPECT_EQ(0, std::strcmp(p, "xyz"));
    EXPECT_EQ(3u, std::strlen(p));
    s = "q";  // fits: same buffer
    EXPECT_EQ(p, static_cast<const char*>(s));
}

// ---- single characters ----

TEST(OvString, GetAtInsideTheBufferPastTheTextIsZero) {
    OvString s("abc");
    EXPECT_EQ('a', s.GetAt(0));
    EXPECT_EQ('c', s.GetAt(2));
    EXPECT_EQ(0, s.GetAt(3));
    EXPECT_EQ(0, s.GetAt(50));
    EXPECT_EQ(0, s.GetAt(99));
}

TEST(OvString, GetAtOutsideTheBufferIsZero) {
    OvString s("abc");
    EXPECT_EQ(0, s.GetAt(100));
    EXPECT_EQ(0, s.GetAt(-1));
    EXPECT_EQ(0, s.GetAt(INT_MAX));
    EXPECT_EQ(0, s.GetAt(INT_MIN));
}

TEST(OvString, GetAtReturnsUnsignedBytes) {
    OvString s("\xE0\xFF");
    EXPECT_EQ(224, s.GetAt(0));
    EXPECT_EQ(255, s.GetAt(1));
}

TEST(OvString, ConstIndexIsTheCheckedGetAt) {
    const OvString s("abc");
    EXPECT_EQ('b', s[1]);
    EXPECT_EQ(0, s[3]);
    EXPECT_EQ(0, s[50]);
    EXPECT_EQ(0, s[100]);
    EXPECT_EQ(0, s[-1]);
}

TEST(OvString, SetAtWritesAnywhereInTheBuffer) {
    OvString s("abc");
    s.SetAt(1, 'X');
    EXPECT_STREQ("aXc", s);
    s.SetAt(99, 'x');  // past the terminator: the text does not change
    EXPECT_EQ(3, s.GetLength());
    EXPECT_STREQ("aXc", s);
    EXPECT_EQ('x', s.GetAt(99));
}

TEST(OvString, SetAtOutsideTheBufferIsIgnored) {
    OvString s("abc");
    s.SetAt(100, 'x');
    s.SetAt(-1, 'x');
    s.SetAt(INT_MAX, 'x');
    EXPECT_STREQ("abc", s);
    EXPECT_EQ(100, s.GetAllocLength());
    EXPECT_EQ(0, s.GetAt(100));
}

TEST(OvString, MutableIndexIsNotCheckedAgainstTheLength) {
    OvString s("abc");
    s[1] = 'X';
    EXPECT_STREQ("aXc", s);
    s[3] = 'd';  // overwrites the terminator; the zeroed byte after it ends the text
    EXPECT_STREQ("aXcd", s);
    EXPECT_EQ(4, s.GetLength());
    unsigned char& r = s[0];
    r = 'z';
    EXPECT_EQ('z', s.GetAt(0));
}

TEST(OvString, MutableIndexOutsideTheBufferTouchesNothing) {
    OvString s("abc");
    s[100] = 'x';
    s[-1] = 'y';
    s[1000000] = 'z';
    EXPECT_STREQ("abc", s);
    EXPECT_EQ(100, s.GetAllocLength());
    EXPECT_EQ(0, s.GetAt(100));
}

// ---- assignment ----

TEST(OvString, AssignOvString) {
    OvString a("first");
    OvString b("xy");
    ExpectAssign(b, a, "first");
    EXPECT_NE(static_cast<const char*>(a), static_cast<const char*>(b));

    const std::string text = Alphabet(150);
    OvString big(text.c_str());
    b = big;
    EXPECT_EQ(151, b.GetAllocLength());
    EXPECT_STREQ(text.c_str(), b);

    OvString empty;
    b = empty;  // an empty source just clears: the buffer stays
    EXPECT_STREQ("", b);
    EXPECT_EQ(151, b.GetAllocLength());
    EXPECT_EQ(text[1], static_cast<char>(b.GetAt(1)));  // only the first byte was cleared
}

TEST(OvString, SelfAssignmentKeepsTheText) {
    OvString s("same");
    s = s;
    EXPECT_STREQ("same", s);
    OvString big(Alphabet(150).c_str());
    big = big;
    EXPECT_STREQ(Alphabet(150).c_str(), big);
    EXPECT_EQ(151, big.GetAllocLength());
}

TEST(OvString, AssignCharacter) {
    OvString s("longer text");
    ExpectAssign(s, U('x'), "x");
    EXPECT_EQ(1, s.GetLength());
    EXPECT_EQ(100, s.GetAllocLength());
    s = U('\xE0');
    EXPECT_EQ(224, s.GetAt(0));
    EXPECT_EQ(1, s.GetLength());
    s = U('\0');
    EXPECT_EQ(0, s.GetLength());
}

TEST(OvString, AssignText) {
    OvString s;
    ExpectAssign(s, "hello", "hello");
    s = "";
    EXPECT_STREQ("", s);
    EXPECT_EQ('e', s.GetAt(1));  // only the first byte was cleared
    s = "abc";
    s = kNull;
    EXPECT_STREQ("", s);
    EXPECT_EQ(100, s.GetAllocLength());
}

TEST(OvString, AssignTextFromItsOwnBuffer) {
    OvString s("abcdef");
    s = static_cast<const char*>(s) + 2;
    EXPECT_STREQ("cdef", s);
}

// ---- concatenation ----

TEST(OvString, ConcatCopyJoinsTwoPieces) {
    OvString s;
    s.ConcatCopy(2, "abXX", 3, "cdeYY");
    EXPECT_STREQ("abcde", s);
    EXPECT_EQ(100, s.GetAllocLength());

    OvString t;
    t.ConcatCopy(0, kNull, 3, "xyz");
    EXPECT_STREQ("xyz", t);
    t.ConcatCopy(2, "pq", 0, kNull);
    EXPECT_STREQ("pq", t);
}

TEST(OvString, ConcatCopyGrowsToTotalPlusOne) {
    const std::string a = Repeat('a', 120);
    const std::string b = Repeat('b', 80);
    OvString s;
    s.ConcatCopy(120, a.c_str(), 80, b.c_str());
    EXPECT_EQ(201, s.GetAllocLength());
    EXPECT_STREQ((a + b).c_str(), s);
}

TEST(OvString, ConcatCopyOfNothingLeavesTheStringAsItWas) {
    OvString s("keep");
    s.ConcatCopy(0, "x", 0, "y");
    EXPECT_STREQ("keep", s);
    EXPECT_EQ(100, s.GetAllocLength());
}

TEST(OvString, ConcatCopyOfPiecesOfItsOwnBuffer) {
    OvString s("abcdef");
    const char* p = s;
    s.ConcatCopy(2, p + 1, 3, p);  // "bc" + "abc"
    EXPECT_STREQ("bcabc", s);

    OvString t("0123456789");
    const char* q = t;
    t.ConcatCopy(4, q + 6, 6, q + 2);  // "6789" + "234567"
    EXPECT_STREQ("6789234567", t);
}

TEST(OvString, ConcatCopyOfItsOwnBufferWhileGrowing) {
    const std::string text = Alphabet(60);
    OvString s(text.c_str());
    const char* p = s;
    s.ConcatCopy(60, p, 50, p + 10);  // 110 characters: the buffer has to move
    EXPECT_EQ(111, s.GetAllocLength());
    EXPECT_STREQ((text + text.substr(10)).c_str(), s);
}

TEST(OvString, PlusOvStringOvString) {
    OvString a("abc");
    OvString b("de");
    OvString c = a + b;
    EXPECT_STREQ("abcde", c);
    EXPECT_EQ(100, c.GetAllocLength());
    EXPECT_STREQ("abc", a);
    EXPECT_STREQ("de", b);
    EXPECT_STREQ("abc", a + OvString());
    EXPECT_STREQ("de", OvString() + b);
    OvString e = OvString() + OvString();
    EXPECT_STREQ("", e);
    EXPECT_EQ(100, e.GetAllocLength());
    EXPECT_STREQ("abcabc", a + a);
}

TEST(OvString, PlusOvStringCharacter) {
    OvString a("abc");
    EXPECT_STREQ("abcd", a + U('d'));
    EXPECT_STREQ("x", OvString() + U('x'));
    OvString hi = a + U('\xE0');
    EXPECT_EQ(4, hi.GetLength());
    EXPECT_EQ(224, hi.GetAt(3));
}

TEST(OvString, PlusCharacterOvString) {
    OvString a("abc");
    EXPECT_STREQ("zabc", U('z') + a);
    EXPECT_STREQ("z", U('z') + OvString());
}

TEST(OvString, PlusOvStringText) {
    OvString a("abc");
    EXPECT_STREQ("abcxyz", a + "xyz");
    EXPECT_STREQ("abc", a + "");
    EXPECT_STREQ("xyz", OvString() + "xyz");
    EXPECT_STREQ("abc", a + kNull);  // a null text adds nothing
}

TEST(OvString, PlusTextOvString) {
    OvString a("abc");
    EXPECT_STREQ("xyzabc", "xyz" + a);
    EXPECT_STREQ("abc", "" + a);
    EXPECT_STREQ("abc", kNull + a);
    const std::string text = Alphabet(150);
    OvString big = text.c_str() + a;
    EXPECT_EQ(154, big.GetAllocLength());
    EXPECT_STREQ((text + "abc").c_str(), big);
}

TEST(OvString, AddingTheNulCharacterKeepsTheText) {
    OvString a("abc");
    OvString b = a + U('\0');
    EXPECT_STREQ("abc", b);
    EXPECT_EQ(3, b.GetLength());
    EXPECT_EQ(0, b.GetAt(3));
    EXPECT_EQ(0, b.GetAt(4));
    // In front, the NUL is the first byte of the buffer: the text reads as empty
    // while the copied bytes follow it.
    OvString c = U('\0') + a;
    EXPECT_EQ(0, c.GetLength());
    EXPECT_EQ('a', c.GetAt(1));
    EXPECT_EQ('c', c.GetAt(3));
    EXPECT_EQ(0, c.GetAt(4));

    OvString d("xy");
    d += U('\0');
    EXPECT_STREQ("xy", d);
}

TEST(OvString, PlusAssignOvString) {
    OvString s("ab");
    ExpectPlusAssign(s, OvString("cd"), "abcd");
    s += OvString();
    EXPECT_STREQ("abcd", s);
    s += s;
    EXPECT_STREQ("abcdabcd", s);
    OvString e;
    e += OvString("x");
    EXPECT_STREQ("x", e);
}

TEST(OvString, PlusAssignCharacter) {
    OvString s("ab");
    ExpectPlusAssign(s, U('c'), "abc");
    OvString e;
    e += U('q');
    EXPECT_STREQ("q", e);
}

TEST(OvString, PlusAssignText) {
    OvString s("ab");
    ExpectPlusAssign(s, "cde", "abcde");
    s += "";
    EXPECT_STREQ("abcde", s);
    s += static_cast<const char*>(s) + 3;  // "de", taken from its own buffer
    EXPECT_STREQ("abcdede", s);
}

TEST(OvString, PlusAssignGrowsTheBuffer) {
    const std::string a = Alphabet(90);
    const std::string b = Repeat('Z', 40);
    OvString s(a.c_str());
    s += b.c_str();
    EXPECT_EQ(131, s.GetAllocLength());
    EXPECT_STREQ((a + b).c_str(), s);
    s += s;
    EXPECT_EQ(261, s.GetAllocLength());
    EXPECT_STREQ((a + b + a + b).c_str(), s);
}

// ---- comparison ----

TEST(OvString, CompareIsNormalisedToMinusOneZeroOne) {
    OvString s("abc");
    EXPECT_EQ(0, s.Compare("abc"));
    EXPECT_EQ(-1, s.Compare("abd"));
    EXPECT_EQ(1, s.Compare("abb"));
    EXPECT_EQ(-1, s.Compare("abcd"));
    EXPECT_EQ(1, s.Compare("ab"));
    EXPECT_EQ(1, s.Compare(""));
    EXPECT_EQ(-1, OvString("a").Compare("z"));  // a byte difference of 25 still gives -1
    EXPECT_EQ(1, OvString("z").Compare("a"));
    EXPECT_EQ(0, OvString().Compare(""));
    EXPECT_EQ(-1, OvString().Compare("a"));
    EXPECT_EQ(1, s.Compare("ABC"));  // uppercase letters sort first
}

TEST(OvString, CompareTakesBytesAsUnsigned) {
    EXPECT_EQ(-1, OvString("a").Compare("\xE0"));
    EXPECT_EQ(1, OvString("\xE0").Compare("a"));
    EXPECT_EQ(1, OvString("\x80").Compare("\x7F"));
}

TEST(OvString, CompareWithNullSortsTheNullFirst) {
    EXPECT_EQ(1, OvString("a").Compare(kNull));
    EXPECT_EQ(1, OvString().Compare(kNull));
}

TEST(OvString, CompareNoCaseReturnsTheLowercaseByteDifference) {
    EXPECT_EQ(0, OvString("abc").CompareNoCase("ABC"));
    EXPECT_EQ(0, OvString("MiXeD").CompareNoCase("mIxEd"));
    EXPECT_EQ('c' - 'd', OvString("abc").CompareNoCase("ABD"));
    EXPECT_EQ('z' - 'a', OvString("Z").CompareNoCase("a"));  // 25, not normalised
    EXPECT_EQ('c' - 0, OvString("abc").CompareNoCase("AB"));
    EXPECT_EQ(0 - 'c', OvString("AB").CompareNoCase("abc"));
    EXPECT_EQ(0, OvString().CompareNoCase(""));
    // Both sides are lowered: '_' (95) meets 'a' (97), never 'A' (65).
    EXPECT_EQ('_' - 'a', OvString("_").CompareNoCase("a"));
    EXPECT_EQ('_' - 'a', OvString("_").CompareNoCase("A"));
    EXPECT_EQ('a' - '_', OvString("A").CompareNoCase("_"));
}

TEST(OvString, CompareNoCaseLeavesHighBytesAlone) {
    // 0xE0 is not folded to 0xC0 in the C locale; bytes count as unsigned.
    EXPECT_EQ(0xE0 - 0xC0, OvString("\xE0").CompareNoCase("\xC0"));
    if (selvora_test::RunningUnderWine()) {
        GTEST_SKIP() << "Wine's _stricmp takes bytes above 0x7F as signed chars (0xE0 - 'a' "
                        "comes out as -129); Windows' msvcrt takes them as unsigned";
    }
    EXPECT_EQ(0xE0 - 'a', OvString("\xE0").CompareNoCase("A"));
}

TEST(OvString, MakeUpperIsByteWise) {
    OvString s("abc XYZ 09_\xE0\xFF{z}");
    s.MakeUpper();
    EXPECT_STREQ("ABC XYZ 09_\xE0\xFF{Z}", s);
    OvString e;
    e.MakeUpper();
    EXPECT_STREQ("", e);
}

TEST(OvString, MakeLowerIsByteWise) {
    OvString s("ABC xyz 09@[\xC0\xDE`Z");
    s.MakeLower();
    EXPECT_STREQ("abc xyz 09@[\xC0\xDE`z", s);
    OvString e;
    e.MakeLower();
    EXPECT_STREQ("", e);
}

TEST(OvString, EqualityOfTexts) {
    OvString abc("abc");
    EXPECT_EQ(1, abc == OvString("abc"));
    EXPECT_EQ(0, abc == OvString("abd"));
    EXPECT_EQ(0, abc == OvString("ab"));
    EXPECT_EQ(0, abc == OvString("abcd"));
    EXPECT_EQ(1, abc == "abc");
    EXPECT_EQ(0, abc == "ABC");
    EXPECT_EQ(1, "abc" == abc);
    EXPECT_EQ(0, "abcd" == abc);
    EXPECT_EQ(0, abc != OvString("abc"));
    EXPECT_EQ(1, abc != OvString("abd"));
    EXPECT_EQ(0, abc != "abc");
    EXPECT_EQ(1, abc != "ab");
    EXPECT_EQ(0, "abc" != abc);
    EXPECT_EQ(1, "x" != abc);
}

TEST(OvString, EqualityTakesNullAndEmptyAsTheSameValue) {
    OvString empty;
    OvString text("a");
    EXPECT_EQ(1, empty == OvString(""));
    EXPECT_EQ(1, empty == "");
    EXPECT_EQ(1, "" == empty);
    EXPECT_EQ(1, empty == kNull);
    EXPECT_EQ(1, kNull == empty);
    EXPECT_EQ(0, empty != kNull);
    EXPECT_EQ(0, kNull != empty);
    EXPECT_EQ(0, text == kNull);
    EXPECT_EQ(0, kNull == text);
    EXPECT_EQ(1, text != kNull);
    EXPECT_EQ(1, kNull != text);
    EXPECT_EQ(0, text == empty);
    EXPECT_EQ(0, empty == text);
    EXPECT_EQ(0, text == "");
    EXPECT_EQ(0, "" == text);
    EXPECT_EQ(1, empty != text);
    EXPECT_EQ(1, text != "");
    EXPECT_EQ(1, "" != text);
}

TEST(OvString, OrderingOfTexts) {
    OvString abc("abc");
    OvString abd("abd");
    EXPECT_EQ(1, abc < abd);
    EXPECT_EQ(0, abd < abc);
    EXPECT_EQ(0, abc < abc);
    EXPECT_EQ(1, abd > abc);
    EXPECT_EQ(0, abc > abd);
    EXPECT_EQ(0, abc > abc);
    EXPECT_EQ(1, abc <= abd);
    EXPECT_EQ(1, abc <= abc);
    EXPECT_EQ(0, abd <= abc);
    EXPECT_EQ(1, abd >= abc);
    EXPECT_EQ(1, abc >= abc);
    EXPECT_EQ(0, abc >= abd);

    EXPECT_EQ(1, abc < "abd");
    EXPECT_EQ(0, abc < "abc");
    EXPECT_EQ(1, abc > "abb");
    EXPECT_EQ(0, abc > "abc");
    EXPECT_EQ(1, abc <= "abc");
    EXPECT_EQ(0, abc <= "abb");
    EXPECT_EQ(1, abc >= "abc");
    EXPECT_EQ(0, abc >= "abd");

    EXPECT_EQ(1, "abb" < abc);
    EXPECT_EQ(0, "abc" < abc);
    EXPECT_EQ(1, "abd" > abc);
    EXPECT_EQ(0, "abb" > abc);
    EXPECT_EQ(1, "abc" <= abc);
    EXPECT_EQ(0, "abd" <= abc);
    EXPECT_EQ(1, "abc" >= abc);
    EXPECT_EQ(0, "abb" >= abc);
}

TEST(OvString, OrderingOfPrefixesAndEmptyTexts) {
    OvString ab("ab");
    OvString abc("abc");
    OvString empty;
    EXPECT_EQ(1, ab < abc);
    EXPECT_EQ(1, abc > ab);
    EXPECT_EQ(1, abc > "ab");
    EXPECT_EQ(1, "ab" < abc);
    EXPECT_EQ(1, empty < ab);
    EXPECT_EQ(1, ab > empty);
    EXPECT_EQ(1, ab > "");
    EXPECT_EQ(1, "" < ab);
    EXPECT_EQ(0, empty < "");
    EXPECT_EQ(1, empty <= "");
    EXPECT_EQ(1, empty >= OvString());
}

TEST(OvString, OrderingTakesBytesAsUnsigned) {
    OvString a("a");
    OvString hi("\xE0");
    EXPECT_EQ(1, a < hi);
    EXPECT_EQ(1, hi > a);
    EXPECT_EQ(1, a < "\xE0");
    EXPECT_EQ(1, "\xE0" > a);
    EXPECT_EQ(0, hi <= "a");
    EXPECT_EQ(1, "\x80" >= OvString("\x7F"));
}

TEST(OvString, NullSortsBeforeEveryTextEvenTheEmptyOne) {
    for (const char* text : {"", "abc"}) {
        SCOPED_TRACE(text);
        OvString s(text);
        EXPECT_EQ(0, s < kNull);
        EXPECT_EQ(1, s > kNull);
        EXPECT_EQ(0, s <= kNull);
        EXPECT_EQ(1, s >= kNull);
        EXPECT_EQ(1, kNull < s);
        EXPECT_EQ(0, kNull > s);
        EXPECT_EQ(1, kNull <= s);
        EXPECT_EQ(0, kNull >= s);
    }
}

TEST(OvString, EmptyStringEqualsNullAndIsAlsoGreaterThanIt) {
    OvString empty;
    EXPECT_EQ(1, empty == kNull);
    EXPECT_EQ(1, empty > kNull);
    EXPECT_EQ(1, kNull == empty);
    EXPECT_EQ(1, kNull < empty);
}

// ---- searching ----

TEST(OvString, FindCharacter) {
    OvString s("abcabc");
    EXPECT_EQ(1, s.Find(U('b'), 0));
    EXPECT_EQ(1, s.Find(U('b'), 1));
    EXPECT_EQ(4, s.Find(U('b'), 2));
    EXPECT_EQ(5, s.Find(U('c'), 5));
    EXPECT_EQ(-1, s.Find(U('z'), 0));
    EXPECT_EQ(0, s.Find(U('a')));  // start defaults to 0
    EXPECT_EQ(-1, OvString().Find(U('a'), 0));
}

TEST(OvString, FindCharacterFromTheEndFindsNothing) {
    OvString s("abc");
    EXPECT_EQ(-1, s.Find(U('c'), 3));
    EXPECT_EQ(-1, s.Find(U('c'), 4));
    EXPECT_EQ(-1, s.Find(U('c'), 1000));
}

TEST(OvString, FindNulCharacterFindsTheTerminator) {
    OvString s("abc");
    EXPECT_EQ(3, s.Find(U('\0'), 0));
    EXPECT_EQ(3, s.Find(U('\0'), 2));
    EXPECT_EQ(-1, s.Find(U('\0'), 3));  // start at the length: the early exit
    EXPECT_EQ(-1, OvString().Find(U('\0'), 0));
}

TEST(OvString, FindHighByteCharacter) {
    OvString s(
        "ab\xE0"
        "c");
    EXPECT_EQ(2, s.Find(U('\xE0'), 0));
}

TEST(OvString, FindText) {
    OvString s("abcabc");
    EXPECT_EQ(1, s.Find("bc", 0));
    EXPECT_EQ(4, s.Find("bc", 2));
    EXPECT_EQ(0, s.Find("abcabc", 0));
    EXPECT_EQ(-1, s.Find("abcabcd", 0));
    EXPECT_EQ(-1, s.Find("x", 0));
    EXPECT_EQ(3, s.Find("abc", 1));
    EXPECT_EQ(0, s.Find(""));  // start defaults to 0
    EXPECT_EQ(2, s.Find("", 2));
}

TEST(OvString, FindTextMayStartAtTheTerminator) {
    OvString s("abc");
    EXPECT_EQ(3, s.Find("", 3));
    EXPECT_EQ(-1, s.Find("c", 3));
    EXPECT_EQ(-1, s.Find("", 4));  // past the terminator: the early exit
    EXPECT_EQ(0, OvString().Find("", 0));
    // The character form stops one position earlier.
    EXPECT_EQ(-1, s.Find(U('\0'), 3));
}

TEST(OvString, FindWithNegativeStartIsRefused) {
    OvString s("abc");
    EXPECT_EQ(-1, s.Find(U('a'), -1));
    EXPECT_EQ(-1, s.Find("a", -1));
    EXPECT_EQ(-1, s.Find(kNull, 0));
}

// ---- cutting ----

TEST(OvString, Mid) {
    OvString s("abcd");
    EXPECT_STREQ("bcd", s.Mid(1, 100));
    EXPECT_STREQ("", s.Mid(5, 1));
    EXPECT_STREQ("bc", s.Mid(1, 2));
    EXPECT_STREQ("abcd", s.Mid(0, 4));
    EXPECT_STREQ("d", s.Mid(3, 1));
    EXPECT_STREQ("", s.Mid(4, 1));
    EXPECT_STREQ("", s.Mid(2, 0));
    EXPECT_STREQ("ab", s.Mid(-3, 2));  // a negative start counts from 0
    EXPECT_STREQ("", s.Mid(1, -1));
    EXPECT_STREQ("cd", s.Mid(2, INT_MAX));
    EXPECT_STREQ("", OvString().Mid(0, 3));
    OvString m = s.Mid(1, 2);
    EXPECT_EQ(100, m.GetAllocLength());
    EXPECT_STREQ("abcd", s);
}

TEST(OvString, MidOfLongText) {
    const std::string text = Alphabet(300);
    OvString s(text.c_str());
    OvString m = s.Mid(20, 200);
    EXPECT_EQ(201, m.GetAllocLength());
    EXPECT_STREQ(text.substr(20, 200).c_str(), m);
}

TEST(OvString, Left) {
    OvString s("abcd");
    EXPECT_STREQ("", s.Left(-2));
    EXPECT_STREQ("", s.Left(0));
    EXPECT_STREQ("a", s.Left(1));
    EXPECT_STREQ("abc", s.Left(3));
    EXPECT_STREQ("abcd", s.Left(4));
    EXPECT_STREQ("abcd", s.Left(10));
    EXPECT_STREQ("", OvString().Left(3));
    EXPECT_STREQ("abcd", s);
}

TEST(OvString, LeftOfTheWholeTextIsACopy) {
    const std::string text = Alphabet(150);
    OvString s(text.c_str());
    OvString l = s.Left(1000);
    EXPECT_STREQ(text.c_str(), l);
    EXPECT_EQ(151, l.GetAllocLength());
    EXPECT_NE(static_cast<const char*>(s), static_cast<const char*>(l));
}

TEST(OvString, Right) {
    OvString s("abcd");
    EXPECT_STREQ("cd", s.Right(2));
    EXPECT_STREQ("d", s.Right(1));
    EXPECT_STREQ("", s.Right(0));
    EXPECT_STREQ("", s.Right(-1));
    EXPECT_STREQ("abcd", s.Right(4));
    EXPECT_STREQ("abcd", s.Right(10));
    EXPECT_STREQ("", OvString().Right(2));
    const std::string text = Alphabet(150);
    EXPECT_STREQ(text.substr(30).c_str(), OvString(text.c_str()).Right(120));
}

// ---- formatting ----

TEST(OvString, FormatWritesPrintfOutput) {
    OvString s("old");
    s.Format("%d-%s-%.3f-%c-%05x", 42, "x", 1.5, 'q', 255u);
    EXPECT_STREQ("42-x-1.500-q-000ff", s);
    EXPECT_EQ(100, s.GetAllocLength());
    s.Format("%s", "");
    EXPECT_STREQ("", s);
}

TEST(OvString, FormatMayUseItsOwnTextAsArgument) {
    OvString s("abc");
    s.Format("[%s|%s]", static_cast<const char*>(s), static_cast<const char*>(s));
    EXPECT_STREQ("[abc|abc]", s);
}

TEST(OvString, FormatOutputFillingTheSharedBufferExactly) {
    ExpectFormatKeepsTheFirst16384Letters(16384);
}

TEST(OvString, FormatOutputLongerThanTheSharedBufferIsCut) {
    ExpectFormatKeepsTheFirst16384Letters(20000);

    const std::string text = Alphabet(20000);
    OvString t;
    t.Format("%s#%s", text.c_str(), text.c_str());
    EXPECT_EQ(16384, t.GetLength());
    EXPECT_STREQ(text.substr(0, 16384).c_str(), t);

    // Right after the full buffer, a short result carries nothing of the long one.
    OvString u;
    u.Format("%d", 7);
    EXPECT_STREQ("7", u);
    EXPECT_EQ(100, u.GetAllocLength());
}
