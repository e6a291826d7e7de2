#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "selvora/selvora.h"

// The five arrays of plain elements share one implementation; every behaviour
// is checked for each of them through the templates below, with distinct,
// non-zero values made from a small integer key.

namespace {

template <class T>
T Make(int k);
template <>
void* Make<void*>(int k) {
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(0x1000 + 16 * k));
}
template <>
int Make<int>(int k) {
    return 1000 + k;
}
template <>
double Make<double>(int k) {
    return k + 0.5;
}
template <>
Point3d Make<Point3d>(int k) {
    return Point3d(k, k + 0.25, -k - 0.5);
}
template <>
Vector3d Make<Vector3d>(int k) {
    return Vector3d(-k - 0.5, k, k + 0.75);
}

std::string Show(void* p) {
    std::ostringstream o;
    o << p;
    return o.str();
}
std::string Show(int v) { return std::to_string(v); }
std::string Show(double v) {
    std::ostringstream o;
    o.precision(17);
    o << v;
    return o.str();
}
std::string Show(const Point3d& p) {
    std::ostringstream o;
    o.precision(17);
    o << "(" << p.x << ", " << p.y << ", " << p.z << ")";
    return o.str();
}
std::string Show(const Vector3d& v) {
    std::ostringstream o;
    o.precision(17);
    o << "(" << v.x << ", " << v.y << ", " << v.z << ")";
    return o.str();
}

// The arrays copy and clear bytewise, so elements are compared bit for bit.
template <class T>
bool SameBits(const T& a, const T& b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}
template <class T>
T ZeroBits() {
    T v;
    std::memset(static_cast<void*>(&v), 0, sizeof v);
    return v;
}

#define EXPECT_ELEM(expected, actual)                                                     \
    do {                                                                                  \
        const auto e_ = (expected);                                                       \
        const auto a_ = (actual);                                                         \
        EXPECT_TRUE(SameBits(e_, a_)) << "expected " << Show(e_) << ", got " << Show(a_); \
    } while (0)

template <class A>
using Elem = std::remove_cv_t<std::remove_pointer_t<decltype(std::declval<A&>().GetData())>>;

// A key k >= 0 stands for Make(k), a negative key for zero bits.
template <class A>
Elem<A> Key(int k) {
    return k >= 0 ? Make<Elem<A>>(k) : ZeroBits<Elem<A>>();
}

template <class A>
void ExpectContents(const A& a, std::initializer_list<int> keys) {
    ASSERT_EQ(static_cast<int>(keys.size()), a.GetSize());
    int i = 0;
    for (int k : keys) {
        SCOPED_TRACE(i);
        EXPECT_ELEM(Key<A>(k), a.GetData()[i]);
        ++i;
    }
}

// The elements of these keys, in a block of `capacity` elements.
template <class A>
void ExpectContentsInBlock(const A& a, std::initializer_list<int> keys, int capacity) {
    ExpectContents(a, keys);
    EXPECT_EQ(capacity, a.GetCapacity());
}

template <class A>
void Fill(A& a, int n) {
    for (int k = 0; k < n; ++k) a.Add(Make<Elem<A>>(k));
}

// Adds the elements of these keys, in order.
template <class A>
void AddKeys(A& a, std::initializer_list<int> keys) {
    for (int k : keys) a.Add(Make<Elem<A>>(k));
}

// No elements and no block.
template <class A>
void ExpectNoBlock(const A& a) {
    EXPECT_EQ(0, a.GetSize());
    EXPECT_EQ(nullptr, a.GetData());
}

// A copy of the whole block, to show that nothing in it changed.
template <class A>
std::vector<unsigned char> BlockBytes(const A& a) {
    const auto* p = reinterpret_cast<const unsigned char*>(a.GetData());
    return std::vector<unsigned char>(p, p + sizeof(Elem<A>) * a.GetCapacity());
}

// ---- behaviour shared by all five arrays ----

template <class A>
void CheckStartsEmpty() {
    A a;
    ExpectNoBlock(a);
    EXPECT_EQ(-1, a.GetUpperBound());
    EXPECT_EQ(0, a.GetCapacity());
    EXPECT_EQ(0, a.GetGrowBy());
}

template <class A>
void CheckAddGrowth() {
    A a;
    EXPECT_EQ(0, a.Add(Make<Elem<A>>(0)));
    EXPECT_EQ(1, a.GetCapacity());  // the first block holds exactly what was asked
    EXPECT_EQ(1, a.Add(Make<Elem<A>>(1)));
    EXPECT_EQ(5, a.GetCapacity());  // 1 + 4: one eighth of 1 is raised to 4
    for (int k = 2; k < 5; ++k) EXPECT_EQ(k, a.Add(Make<Elem<A>>(k)));
    EXPECT_EQ(5, a.GetCapacity());
    EXPECT_EQ(5, a.Add(Make<Elem<A>>(5)));
    EXPECT_EQ(9, a.GetCapacity());
    EXPECT_EQ(6, a.GetSize());
    EXPECT_EQ(5, a.GetUpperBound());
    ExpectContents(a, {0, 1, 2, 3, 4, 5});
}

// An array of n elements in a block of exactly n gets, on one more Add, a
// block of `capacity`: the old last element kept, the new one at index n and
// zero bits in the block's last slot.
template <class A>
void ExpectAddToAFullBlockGrowsItTo(int n, int capacity) {
    A a;
    a.SetSize(n, -1);
    EXPECT_EQ(n, a.GetCapacity());
    a.SetAt(n - 1, Make<Elem<A>>(n - 1));
    EXPECT_EQ(n, a.Add(Make<Elem<A>>(n)));
    EXPECT_EQ(capacity, a.GetCapacity());
    EXPECT_EQ(n + 1, a.GetSize());
    EXPECT_ELEM(Make<Elem<A>>(n - 1), a.GetData()[n - 1]);
    EXPECT_ELEM(Make<Elem<A>>(n), a.GetData()[n]);
    EXPECT_ELEM(ZeroBits<Elem<A>>(), a.GetData()[capacity - 1]);
}

template <class A>
void CheckGrowthStepIsOneEighthOfTheSize() {
    ExpectAddToAFullBlockGrowsItTo<A>(80, 90);  // 80 + 80 / 8
}

template <class A>
void CheckGrowthStepIsAtMost1024() {
    ExpectAddToAFullBlockGrowsItTo<A>(16000, 17024);  // 16000 / 8 = 2000, held to 1024
}

template <class A>
void CheckGrowthStepComesFromTheCurrentSize() {
    A a;
    a.SetSize(40, -1);
    a.SetSize(8, -1);
    EXPECT_EQ(40, a.GetCapacity());
    a.SetSize(41, -1);
    EXPECT_EQ(44, a.GetCapacity());  // 8 / 8 = 1, raised to 4; not 41 / 8
    a.SetSize(100, -1);
    EXPECT_EQ(100, a.GetCapacity());  // 44 + 5 is less than asked: exactly the size asked
}

template <class A>
void CheckStoredGrowBy() {
    A a;
    a.SetSize(3, 10);
    EXPECT_EQ(10, a.GetGrowBy());
    EXPECT_EQ(3, a.GetCapacity());
    a.Add(Make<Elem<A>>(3));
    EXPECT_EQ(13, a.GetCapacity());
    a.SetSize(14, -1);  // -1 keeps the stored step
    EXPECT_EQ(10, a.GetGrowBy());
    EXPECT_EQ(23, a.GetCapacity());
    a.SetSize(30, -1);
    EXPECT_EQ(33, a.GetCapacity());
    a.SetSize(60, 0);  // back to the automatic step: 30 / 8 = 3, raised to 4
    EXPECT_EQ(0, a.GetGrowBy());
    EXPECT_EQ(60, a.GetCapacity());
    a.SetSize(61, 2);
    EXPECT_EQ(2, a.GetGrowBy());
    EXPECT_EQ(62, a.GetCapacity());
    a.RemoveAll();
    EXPECT_EQ(2, a.GetGrowBy());  // emptying keeps the step
}

template <class A>
void CheckGrowingKeepsTheContents() {
    A a;
    Fill(a, 3);
    a.SetSize(7, -1);
    ExpectContents(a, {0, 1, 2, -1, -1, -1, -1});
    for (int k = 7; k < a.GetCapacity(); ++k) EXPECT_ELEM(ZeroBits<Elem<A>>(), a.GetData()[k]);
}

template <class A>
void CheckShrinkClearsTheCutOffElements() {
    A a;
    Fill(a, 5);
    a.SetSize(2, -1);
    EXPECT_EQ(2, a.GetSize());
    EXPECT_EQ(5, a.GetCapacity());
    for (int k = 2; k < 5; ++k) EXPECT_ELEM(ZeroBits<Elem<A>>(), a.GetData()[k]);
    a.SetSize(5, -1);
    ExpectContents(a, {0, 1, -1, -1, -1});
}

template <class A>
void CheckGrowingWithinTheBlockClearsStaleSlots() {
    A a;
    Fill(a, 5);
    a.RemoveAt(3, 2);  // leaves the old values in slots 3 and 4
    EXPECT_ELEM(Make<Elem<A>>(3), a.GetData()[3]);
    a.SetSize(5, -1);
    ExpectContents(a, {0, 1, 2, -1, -1});
}

template <class A>
void CheckSetSizeZeroAndRemoveAllFreeTheBlock() {
    A a;
    Fill(a, 4);
    a.SetSize(0, -1);
    EXPECT_EQ(nullptr, a.GetData());
    EXPECT_EQ(0, a.GetSize());
    EXPECT_EQ(0, a.GetCapacity());
    Fill(a, 3);
    EXPECT_EQ(5, a.GetCapacity());  // a fresh start: 1, then 5
    a.RemoveAll();
    EXPECT_EQ(nullptr, a.GetData());
    EXPECT_EQ(0, a.GetSize());
    EXPECT_EQ(0, a.GetCapacity());
    EXPECT_EQ(-1, a.GetUpperBound());
    a.RemoveAll();  // already empty
    EXPECT_EQ(nullptr, a.GetData());
}

template <class A>
void CheckNegativeSizeIsRefused() {
    A a;
    Fill(a, 3);
    const auto* block = a.GetData();
    a.SetSize(-1, -1);
    EXPECT_EQ(block, a.GetData());
    EXPECT_EQ(5, a.GetCapacity());
    ExpectContents(a, {0, 1, 2});
    a.SetSize(-5, 7);  // the step is still stored
    EXPECT_EQ(7, a.GetGrowBy());
    EXPECT_EQ(3, a.GetSize());
}

template <class A>
void CheckElementAtIsAReference() {
    A a;
    Fill(a, 3);
    a.ElementAt(1) = Make<Elem<A>>(7);
    a[2] = Make<Elem<A>>(8);
    EXPECT_EQ(&a.GetData()[0], &a.ElementAt(0));
    EXPECT_EQ(&a.GetData()[2], &a[2]);
    ExpectContents(a, {0, 7, 8});
}

template <class A>
void CheckElementAtAndSetAtAreUncheckedInsideTheBlock() {
    A a;
    Fill(a, 6);
    a.RemoveAt(3, 3);  // size 3, capacity 9
    ASSERT_EQ(9, a.GetCapacity());
    a.ElementAt(7) = Make<Elem<A>>(70);
    a.SetAt(8, Make<Elem<A>>(80));
    a.SetAt(0, Make<Elem<A>>(10));
    EXPECT_EQ(3, a.GetSize());
    EXPECT_ELEM(Make<Elem<A>>(70), a.GetData()[7]);
    EXPECT_ELEM(Make<Elem<A>>(80), a.GetData()[8]);
    ExpectContents(a, {10, 1, 2});
}

template <class A>
void CheckOutOfBlockAccessTouchesNothing() {
    A a;
    Fill(a, 3);
    const std::vector<unsigned char> before = BlockBytes(a);
    a.ElementAt(5) = Make<Elem<A>>(50);
    a.ElementAt(-1) = Make<Elem<A>>(51);
    a[1000000] = Make<Elem<A>>(52);
    a.SetAt(5, Make<Elem<A>>(53));
    a.SetAt(-2, Make<Elem<A>>(54));
    EXPECT_EQ(before, BlockBytes(a));
    EXPECT_EQ(3, a.GetSize());
    EXPECT_EQ(5, a.GetCapacity());

    A empty;
    empty.ElementAt(0) = Make<Elem<A>>(1);
    empty.SetAt(0, Make<Elem<A>>(2));
    EXPECT_EQ(nullptr, empty.GetData());
    EXPECT_EQ(0, empty.GetSize());
}

template <class A>
void CheckSetAtGrow() {
    A a;
    a.SetAtGrow(4, Make<Elem<A>>(4));
    EXPECT_EQ(5, a.GetCapacity());
    ExpectContents(a, {-1, -1, -1, -1, 4});
    a.SetAtGrow(1, Make<Elem<A>>(1));
    ExpectContents(a, {-1, 1, -1, -1, 4});
    a.SetAtGrow(5, Make<Elem<A>>(5));
    EXPECT_EQ(9, a.GetCapacity());
    ExpectContents(a, {-1, 1, -1, -1, 4, 5});
    a.SetAtGrow(-1, Make<Elem<A>>(9));  // refused
    ExpectContents(a, {-1, 1, -1, -1, 4, 5});
}

template <class A>
void CheckAddOfItsOwnElementWhileGrowing() {
    A a;
    Fill(a, 1);
    ASSERT_EQ(1, a.GetCapacity());
    EXPECT_EQ(1, a.Add(a.ElementAt(0)));  // the block moves while the argument lives in it
    EXPECT_EQ(5, a.GetCapacity());
    ExpectContents(a, {0, 0});
    a.SetSize(5, -1);
    a.SetAtGrow(5, a.ElementAt(1));
    ExpectContents(a, {0, 0, -1, -1, -1, 0});
}

template <class A>
void CheckInsertPastTheEndFillsTheGapWithZeros() {
    A a;
    Fill(a, 3);
    a.InsertAt(10, Make<Elem<A>>(9), 2);
    EXPECT_EQ(12, a.GetSize());
    EXPECT_EQ(12, a.GetCapacity());  // 5 + 4 is too small: exactly 12
    ExpectContents(a, {0, 1, 2, -1, -1, -1, -1, -1, -1, -1, 9, 9});
}

template <class A>
void CheckInsertInside() {
    A a;
    Fill(a, 3);
    a.InsertAt(1, Make<Elem<A>>(7), 2);
    ExpectContents(a, {0, 7, 7, 1, 2});
    a.InsertAt(0, Make<Elem<A>>(8));  // one element by default
    ExpectContents(a, {8, 0, 7, 7, 1, 2});
    a.InsertAt(6, Make<Elem<A>>(9), 1);  // at the end: appended
    ExpectContents(a, {8, 0, 7, 7, 1, 2, 9});
    a.InsertAt(2, Make<Elem<A>>(5), 0);
    ExpectContents(a, {8, 0, 7, 7, 1, 2, 9});
}

template <class A>
void CheckInsertWithNegativeArgumentsIsRefused() {
    A a;
    Fill(a, 3);
    a.InsertAt(-1, Make<Elem<A>>(7), 1);
    a.InsertAt(1, Make<Elem<A>>(7), -2);
    ExpectContentsInBlock(a, {0, 1, 2}, 5);
}

template <class A>
void CheckInsertArray() {
    A a;
    Fill(a, 3);
    A src;
    AddKeys(src, {20, 21});
    a.InsertAt(1, &src);
    ExpectContents(a, {0, 20, 21, 1, 2});
    a.InsertAt(7, &src);  // past the end: the gap is zero
    ExpectContents(a, {0, 20, 21, 1, 2, -1, -1, 20, 21});
    a.InsertAt(0, &src);
    ExpectContents(a, {20, 21, 0, 20, 21, 1, 2, -1, -1, 20, 21});
    ExpectContents(src, {20, 21});

    A empty;
    a.InsertAt(1, &empty);
    EXPECT_EQ(11, a.GetSize());
    a.InsertAt(1, static_cast<A*>(nullptr));
    EXPECT_EQ(11, a.GetSize());
}

template <class A>
void CheckInsertArrayIntoItself() {
    // The gap is opened with copies of element 0, then each position i + k
    // takes element k of the array as it is by then.
    A a;
    Fill(a, 3);
    a.InsertAt(3, &a);
    ExpectContents(a, {0, 1, 2, 0, 1, 2});

    A b;
    Fill(b, 3);
    b.InsertAt(2, &b);
    ExpectContents(b, {0, 1, 0, 1, 0, 2});

    A c;
    Fill(c, 3);
    c.InsertAt(0, &c);
    ExpectContents(c, {0, 0, 0, 0, 1, 2});
}

template <class A>
void CheckRemoveAtTheEndOnlyShrinks() {
    A a;
    Fill(a, 5);
    a.RemoveAt(3, 2);
    ExpectContentsInBlock(a, {0, 1, 2}, 5);
    EXPECT_ELEM(Make<Elem<A>>(3), a.GetData()[3]);  // removed slots are not cleared
    EXPECT_ELEM(Make<Elem<A>>(4), a.GetData()[4]);
    a.RemoveAt(0, 3);
    EXPECT_EQ(0, a.GetSize());
    EXPECT_NE(nullptr, a.GetData());  // the block stays
    EXPECT_ELEM(Make<Elem<A>>(0), a.GetData()[0]);
}

template <class A>
void CheckRemoveAtMovesTheRestDown() {
    A a;
    Fill(a, 5);
    a.RemoveAt(1, 2);
    ExpectContents(a, {0, 3, 4});
    EXPECT_ELEM(Make<Elem<A>>(3), a.GetData()[3]);  // the old tail stays behind
    EXPECT_ELEM(Make<Elem<A>>(4), a.GetData()[4]);
    a.RemoveAt(0);  // one element by default
    ExpectContents(a, {3, 4});
    a.RemoveAt(1, 0);
    ExpectContents(a, {3, 4});
}

template <class A>
void CheckRemoveAtWithBadArgumentsIsRefused() {
    A a;
    Fill(a, 5);
    const std::vector<unsigned char> before = BlockBytes(a);
    a.RemoveAt(-1, 1);
    a.RemoveAt(1, -1);
    a.RemoveAt(6, 0);
    a.RemoveAt(5, 1);
    a.RemoveAt(2, 4);
    a.RemoveAt(0, 6);
    EXPECT_EQ(before, BlockBytes(a));
    ExpectContents(a, {0, 1, 2, 3, 4});
    A empty;
    empty.RemoveAt(0, 1);
    EXPECT_EQ(0, empty.GetSize());
}

template <class A>
void CheckAppend() {
    A a;
    Fill(a, 2);
    A b;
    AddKeys(b, {10, 11, 12});
    EXPECT_EQ(2, a.Append(&b));
    ExpectContents(a, {0, 1, 10, 11, 12});
    ExpectContents(b, {10, 11, 12});
    A empty;
    EXPECT_EQ(5, a.Append(&empty));
    ExpectContents(a, {0, 1, 10, 11, 12});
    EXPECT_EQ(0, empty.Append(&b));
    ExpectContentsInBlock(empty, {10, 11, 12}, 3);
}

template <class A>
void CheckAppendToItself() {
    A a;
    Fill(a, 3);
    EXPECT_EQ(3, a.Append(&a));
    ExpectContents(a, {0, 1, 2, 0, 1, 2});
}

template <class A>
void CheckCopy() {
    A a;
    Fill(a, 5);
    A src;
    AddKeys(src, {10, 11, 12});
    a.Copy(&src);
    ExpectContentsInBlock(a, {10, 11, 12}, 5);
    EXPECT_ELEM(ZeroBits<Elem<A>>(), a.GetData()[3]);  // cut off by the resize
    EXPECT_ELEM(ZeroBits<Elem<A>>(), a.GetData()[4]);
    a.Copy(&a);
    ExpectContents(a, {10, 11, 12});
    A empty;
    a.Copy(&empty);
    ExpectNoBlock(a);
}

template <class A>
void CheckAssignment() {
    A a;
    Fill(a, 4);
    A b;
    AddKeys(b, {9});
    A& r = (b = a);
    EXPECT_EQ(&b, &r);
    ExpectContents(b, {0, 1, 2, 3});
    EXPECT_NE(a.GetData(), b.GetData());
    b.SetAt(0, Make<Elem<A>>(5));
    ExpectContents(a, {0, 1, 2, 3});

    A& s = (a = a);
    EXPECT_EQ(&a, &s);
    ExpectContents(a, {0, 1, 2, 3});

    A empty;
    b = empty;
    ExpectNoBlock(b);
}

template <class A>
void CheckCopyConstructor() {
    A a;
    a.SetSize(0, 10);
    Fill(a, 4);
    ASSERT_EQ(11, a.GetCapacity());
    A b(a);
    ExpectContentsInBlock(b, {0, 1, 2, 3}, 4);  // a fresh block of exactly the size
    EXPECT_EQ(0, b.GetGrowBy());                // the step is not copied
    EXPECT_NE(a.GetData(), b.GetData());
    A empty;
    A c(empty);
    ExpectNoBlock(c);
}

// Typed arrays: GetAt is not checked against the size.
template <class A>
void CheckGetAtIsUncheckedAgainstTheSize() {
    A a;
    Fill(a, 6);
    a.RemoveAt(3, 3);  // size 3, capacity 9, slots 3..5 keep their values
    ASSERT_EQ(3, a.GetSize());
    ASSERT_EQ(9, a.GetCapacity());
    const A& c = a;
    EXPECT_ELEM(Make<Elem<A>>(1), c.GetAt(1));
    EXPECT_ELEM(Make<Elem<A>>(2), c[2]);
    EXPECT_ELEM(Make<Elem<A>>(5), c.GetAt(5));  // past the size: the stale slot
    EXPECT_ELEM(Make<Elem<A>>(3), c[3]);
    EXPECT_ELEM(ZeroBits<Elem<A>>(), c.GetAt(8));  // never written
    // Outside the block there is nothing to read: zero bits.
    EXPECT_ELEM(ZeroBits<Elem<A>>(), c.GetAt(9));
    EXPECT_ELEM(ZeroBits<Elem<A>>(), c.GetAt(-1));
    EXPECT_ELEM(ZeroBits<Elem<A>>(), c[1000000]);
    const A empty{};
    EXPECT_ELEM(ZeroBits<Elem<A>>(), empty.GetAt(0));
}

template <class A>
void CheckGetAtReturnsACopy() {
    A a;
    Fill(a, 2);
    Elem<A> v = a.GetAt(1);
    EXPECT_ELEM(Make<Elem<A>>(1), v);
    v = Make<Elem<A>>(40);
    EXPECT_ELEM(Make<Elem<A>>(40), v);
    ExpectContents(a, {0, 1});
}

}  // namespace

// One test of an array class: Check<Name> run on that class.
#define SELVORA_ARRAY_TEST(Array, Name) \
    TEST(Array, Name) { Check##Name<Array>(); }

// The tests every plain-element array runs.
#define SELVORA_POD_ARRAY_TESTS(Array)                                     \
    SELVORA_ARRAY_TEST(Array, StartsEmpty)                                 \
    SELVORA_ARRAY_TEST(Array, AddGrowth)                                   \
    SELVORA_ARRAY_TEST(Array, GrowthStepIsOneEighthOfTheSize)              \
    SELVORA_ARRAY_TEST(Array, GrowthStepIsAtMost1024)                      \
    SELVORA_ARRAY_TEST(Array, GrowthStepComesFromTheCurrentSize)           \
    SELVORA_ARRAY_TEST(Array, StoredGrowBy)                                \
    SELVORA_ARRAY_TEST(Array, GrowingKeepsTheContents)                     \
    SELVORA_ARRAY_TEST(Array, ShrinkClearsTheCutOffElements)               \
    SELVORA_ARRAY_TEST(Array, GrowingWithinTheBlockClearsStaleSlots)       \
    SELVORA_ARRAY_TEST(Array, SetSizeZeroAndRemoveAllFreeTheBlock)         \
    SELVORA_ARRAY_TEST(Array, NegativeSizeIsRefused)                       \
    SELVORA_ARRAY_TEST(Array, ElementAtIsAReference)                       \
    SELVORA_ARRAY_TEST(Array, ElementAtAndSetAtAreUncheckedInsideTheBlock) \
    SELVORA_ARRAY_TEST(Array, OutOfBlockAccessTouchesNothing)              \
    SELVORA_ARRAY_TEST(Array, SetAtGrow)                                   \
    SELVORA_ARRAY_TEST(Array, AddOfItsOwnElementWhileGrowing)              \
    SELVORA_ARRAY_TEST(Array, InsertPastTheEndFillsTheGapWithZeros)        \
    SELVORA_ARRAY_TEST(Array, InsertInside)                                \
    SELVORA_ARRAY_TEST(Array, InsertWithNegativeArgumentsIsRefused)        \
    SELVORA_ARRAY_TEST(Array, InsertArray)                                 \
    SELVORA_ARRAY_TEST(Array, InsertArrayIntoItself)                       \
    SELVORA_ARRAY_TEST(Array, RemoveAtTheEndOnlyShrinks)                   \
    SELVORA_ARRAY_TEST(Array, RemoveAtMovesTheRestDown)                    \
    SELVORA_ARRAY_TEST(Array, RemoveAtWithBadArgumentsIsRefused)           \
    SELVORA_ARRAY_TEST(Array, Append)                                      \
    SELVORA_ARRAY_TEST(Array, AppendToItself)                              \
    SELVORA_ARRAY_TEST(Array, Copy)                                        \
    SELVORA_ARRAY_TEST(Array, Assignment)                                  \
    SELVORA_ARRAY_TEST(Array, CopyConstructor)

// The typed arrays' GetAt reads the block without checking the size.
#define SELVORA_TYPED_ARRAY_TESTS(Array)                      \
    SELVORA_ARRAY_TEST(Array, GetAtIsUncheckedAgainstTheSize) \
    SELVORA_ARRAY_TEST(Array, GetAtReturnsACopy)

SELVORA_POD_ARRAY_TESTS(OvArray)
SELVORA_POD_ARRAY_TESTS(OvIntArray)
SELVORA_POD_ARRAY_TESTS(OvDoubleArray)
SELVORA_POD_ARRAY_TESTS(OvPnt3dArray)
SELVORA_POD_ARRAY_TESTS(OvVec3dArray)

SELVORA_TYPED_ARRAY_TESTS(OvIntArray)
SELVORA_TYPED_ARRAY_TESTS(OvDoubleArray)
SELVORA_TYPED_ARRAY_TESTS(OvPnt3dArray)
SELVORA_TYPED_ARRAY_TESTS(OvVec3dArray)

// ---- OvArray: GetAt is checked ----

TEST(OvArray, GetAtOutsideTheSizeIsNull) {
    OvArray a;
    Fill(a, 6);
    a.RemoveAt(3, 3);  // size 3, capacity 9, slots 3..5 keep their pointers
    ASSERT_EQ(9, a.GetCapacity());
    const OvArray& c = a;
    EXPECT_EQ(Make<void*>(0), c.GetAt(0));
    EXPECT_EQ(Make<void*>(2), c[2]);
    EXPECT_EQ(nullptr, c.GetAt(5));
    EXPECT_EQ(Make<void*>(5), a.GetData()[5]);  // the slot itself still holds it
    EXPECT_EQ(nullptr, c.GetAt(3));
    EXPECT_EQ(nullptr, c[3]);
    EXPECT_EQ(nullptr, c.GetAt(-1));
    EXPECT_EQ(nullptr, c.GetAt(9));
    EXPECT_EQ(nullptr, OvArray().GetAt(0));
}

TEST(OvArray, GetAtFiveOfThreeElementsIsNull) {
    OvArray a;
    for (int k = 0; k < 3; ++k) a.Add(Make<void*>(k));
    EXPECT_EQ(nullptr, a.GetAt(5));
    EXPECT_EQ(Make<void*>(1), a.GetAt(1));
}

TEST(OvArray, MutableIndexIsTheUncheckedElementAt) {
    OvArray a;
    for (int k = 0; k < 3; ++k) a.Add(Make<void*>(k));
    a[4] = Make<void*>(40);  // inside the block of 5, past the size
    EXPECT_EQ(3, a.GetSize());
    EXPECT_EQ(Make<void*>(40), a.GetData()[4]);
    EXPECT_EQ(nullptr, a.GetAt(4));
}

TEST(OvArray, GrownCapacityRule) {
    EXPECT_EQ(5, OvArrayGrownCapacity(1, 1, 2, 0));
    EXPECT_EQ(90, OvArrayGrownCapacity(80, 80, 81, 0));
    EXPECT_EQ(17024, OvArrayGrownCapacity(16000, 16000, 16001, 0));
    EXPECT_EQ(8192 + 1024, OvArrayGrownCapacity(8192, 8192, 8193, 0));  // 8192 / 8 = 1024 exactly
    EXPECT_EQ(13, OvArrayGrownCapacity(3, 3, 4, 10));
    EXPECT_EQ(30, OvArrayGrownCapacity(3, 3, 30, 10));
    EXPECT_EQ(44, OvArrayGrownCapacity(8, 40, 41, 0));
}

// ---- element specifics ----

TEST(OvIntArray, GetAtFiveOfThreeElementsReadsThePastSlot) {
    OvIntArray a;
    a.SetSize(8, -1);
    for (int k = 0; k < 8; ++k) a.SetAt(k, 10 * k);
    a.SetSize(3, -1);  // cut-off slots are cleared...
    EXPECT_EQ(0, a.GetAt(5));
    a.SetSize(8, -1);
    for (int k = 0; k < 8; ++k) a.SetAt(k, 10 * k);
    a.RemoveAt(3, 5);  // ...removed ones are not
    ASSERT_EQ(3, a.GetSize());
    EXPECT_EQ(50, a.GetAt(5));
    EXPECT_EQ(70, a[7]);
    EXPECT_EQ(0, a.GetAt(8));  // outside the block of 8
}

TEST(OvDoubleArray, ElementsAreCopiedBitForBit) {
    OvDoubleArray a;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    a.Add(-0.0);
    a.Add(nan);
    a.Add(0.1);
    OvDoubleArray b(a);
    b.InsertAt(0, 2.5, 1);
    b.RemoveAt(0, 1);
    EXPECT_ELEM(-0.0, b.GetAt(0));
    EXPECT_TRUE(std::signbit(b.GetAt(0)));
    EXPECT_ELEM(nan, b.GetAt(1));
    EXPECT_EQ(0.1, b.GetAt(2));
}

TEST(OvPnt3dArray, HoldsPackedCoordinateTriples) {
    OvPnt3dArray a;
    a.Add(Point3d(1.5, -2.0, 3.25));
    a.Add(Point3d(4.0, 5.0, 6.0));
    const double* xyz = &a.GetData()[0].x;
    EXPECT_EQ(1.5, xyz[0]);
    EXPECT_EQ(-2.0, xyz[1]);
    EXPECT_EQ(3.25, xyz[2]);
    EXPECT_EQ(4.0, xyz[3]);
    EXPECT_EQ(6.0, xyz[5]);
    Point3d p = a.GetAt(1);
    EXPECT_EQ(4.0, p.x);
    EXPECT_EQ(5.0, p.y);
    EXPECT_EQ(6.0, p.z);
    a.SetAt(0, Point3d(-1.0, -1.0, -1.0));
    EXPECT_EQ(-1.0, a.GetAt(0).z);
}

TEST(OvVec3dArray, NewSlotsAreZeroBitsNotTheDefaultVector) {
    OvVec3dArray a;
    a.SetSize(2, -1);
    for (int k = 0; k < 2; ++k) {
        EXPECT_EQ(0.0, a.GetAt(k).x);
        EXPECT_EQ(0.0, a.GetAt(k).y);
        EXPECT_EQ(0.0, a.GetAt(k).z);  // a default Vector3d would have z = 1
    }
    a.InsertAt(4, Vector3d(1.0, 2.0, 3.0), 1);
    EXPECT_EQ(0.0, a.GetAt(2).z);
    EXPECT_EQ(0.0, a.GetAt(3).z);
    EXPECT_EQ(3.0, a.GetAt(4).z);
    a.SetAtGrow(6, Vector3d(4.0, 5.0, 6.0));
    EXPECT_EQ(0.0, a.GetAt(5).z);
    const Vector3d outside = a.GetAt(a.GetCapacity());
    EXPECT_EQ(0.0, outside.x);
    EXPECT_EQ(0.0, outside.y);
    EXPECT_EQ(0.0, outside.z);
}

TEST(OvVec3dArray, SetAtStoresTheVector) {
    OvVec3dArray a;
    a.SetSize(1, -1);
    a.SetAt(0, Vector3d(0.5, 0.25, 0.125));
    Vector3d v = a.GetAt(0);
    EXPECT_EQ(0.5, v.x);
    EXPECT_EQ(0.25, v.y);
    EXPECT_EQ(0.125, v.z);
}

// SetSizeForOverwrite: the size and capacity rules of SetSize, old contents
// kept, spare slots past the new size zero, and a refusal changes nothing.
TEST(OvIntArray, SetSizeForOverwriteGrowsLikeSetSize) {
    OvIntArray a;
    int* block = a.SetSizeForOverwrite(3);
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(block, a.GetData());
    EXPECT_EQ(3, a.GetSize());
    EXPECT_EQ(3, a.GetCapacity());  // a first block holds exactly the size
    for (int i = 0; i < 3; ++i) block[i] = 10 + i;

    block = a.SetSizeForOverwrite(4);  // grows by the automatic step of 4
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(4, a.GetSize());
    EXPECT_EQ(7, a.GetCapacity());
    EXPECT_EQ(10, a.GetAt(0));
    EXPECT_EQ(12, a.GetAt(2));
    for (int i = 4; i < 7; ++i) EXPECT_EQ(0, a.GetAt(i)) << i;  // spare slots are zero
}

TEST(OvIntArray, SetSizeForOverwriteShrinksAndRefusesLikeSetSize) {
    OvIntArray a;
    for (int i = 0; i < 5; ++i) a.Add(i + 1);
    const int* before = a.GetData();
    EXPECT_EQ(before, a.SetSizeForOverwrite(2));
    EXPECT_EQ(2, a.GetSize());
    EXPECT_EQ(0, a.GetAt(2));  // cut-off elements are cleared
    EXPECT_EQ(nullptr, a.SetSizeForOverwrite(-1));
    EXPECT_EQ(2, a.GetSize());
    EXPECT_EQ(2, a.GetAt(1));
    EXPECT_EQ(nullptr, a.SetSizeForOverwrite(0));  // size 0 frees the block
    EXPECT_EQ(nullptr, a.GetData());
}

TEST(OvPnt3dArray, SetSizeForOverwriteKeepsTheOldPoints) {
    OvPnt3dArray a;
    a.Add(Point3d(1, 2, 3));
    Point3d* block = a.SetSizeForOverwrite(1000);
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(1000, a.GetSize());
    EXPECT_TRUE(a.GetAt(0) == Point3d(1, 2, 3));
}
