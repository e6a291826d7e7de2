#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "selvora/selvora.h"

namespace {

// The data pointers of a list, head first.
std::vector<void*> Items(LIST* list) {
    std::vector<void*> items;
    for (; list; list = list->next) items.push_back(list->data);
    return items;
}

}  // namespace

// ---- LIST ----

class List : public ::testing::Test {
  protected:
    int a = 1, b = 2, c = 3, x = 4, y = 5;
};

TEST_F(List, EmptyListCountsZero) { EXPECT_EQ(0, ListCount(nullptr)); }

TEST_F(List, AddPrependsSoTheNewestComesFirst) {
    LIST* l = ListAdd(nullptr, &a);
    ASSERT_NE(nullptr, l);
    EXPECT_EQ(&a, l->data);
    EXPECT_EQ(nullptr, l->next);
    LIST* first = l;
    l = ListAdd(l, &b);
    EXPECT_EQ(first, l->next);  // the new node is linked in front of the old head
    l = ListAdd(l, &c);
    EXPECT_EQ(3, ListCount(l));
    EXPECT_EQ((std::vector<void*>{&c, &b, &a}), Items(l));
    EXPECT_EQ(1, a);  // the elements themselves are untouched
    ListDestroy(l);
}

TEST_F(List, AddOfNullChangesNothing) {
    LIST* l = ListAdd(ListAdd(nullptr, &a), &b);
    EXPECT_EQ(l, ListAdd(l, nullptr));
    EXPECT_EQ(2, ListCount(l));
    EXPECT_EQ(nullptr, ListAdd(nullptr, nullptr));
    ListDestroy(l);
}

TEST_F(List, AddKeepsDuplicates) {
    LIST* l = ListAdd(ListAdd(nullptr, &a), &a);
    EXPECT_EQ(2, ListCount(l));
    EXPECT_EQ((std::vector<void*>{&a, &a}), Items(l));
    ListDestroy(l);
}

TEST_F(List, DuplicateReversesTheOrder) {
    LIST* l = ListAdd(ListAdd(ListAdd(nullptr, &a), &b), &c);  // c, b, a
    LIST* d = ListDuplicate(l);
    EXPECT_EQ((std::vector<void*>{&a, &b, &c}), Items(d));
    EXPECT_EQ((std::vector<void*>{&c, &b, &a}), Items(l));
    for (LIST* p = d; p; p = p->next)
        for (LIST* q = l; q; q = q->next) EXPECT_NE(p, q);  // new nodes throughout
    EXPECT_EQ(nullptr, ListDuplicate(nullptr));
    ListDestroy(d);
    ListDestroy(l);
}

TEST_F(List, MergeAddsTheOtherListReversedInFront) {
    LIST* l = ListAdd(ListAdd(ListAdd(nullptr, &a), &b), &c);  // c, b, a
    LIST* other = ListAdd(ListAdd(nullptr, &y), &x);           // x, y
    LIST* merged = ListMerge(l, other);
    EXPECT_EQ((std::vector<void*>{&y, &x, &c, &b, &a}), Items(merged));
    EXPECT_EQ(5, ListCount(merged));
    EXPECT_EQ((std::vector<void*>{&x, &y}), Items(other));  // left as it was
    EXPECT_EQ(l, merged->next->next);                       // the old list is the tail
    ListDestroy(merged);
    ListDestroy(other);
}

TEST_F(List, MergeWithNull) {
    LIST* l = ListAdd(nullptr, &a);
    EXPECT_EQ(l, ListMerge(l, nullptr));
    EXPECT_EQ(1, ListCount(l));
    LIST* other = ListAdd(ListAdd(nullptr, &b), &c);  // c, b
    LIST* m = ListMerge(nullptr, other);
    EXPECT_EQ((std::vector<void*>{&b, &c}), Items(m));
    EXPECT_EQ(nullptr, ListMerge(nullptr, nullptr));
    ListDestroy(m);
    ListDestroy(other);
    ListDestroy(l);
}

TEST_F(List, RemoveHeadReturnsTheSecondNode) {
    LIST* l = ListAdd(ListAdd(ListAdd(nullptr, &a), &b), &c);  // c, b, a
    LIST* second = l->next;
    l = ListRemove(l, &c);
    EXPECT_EQ(second, l);
    EXPECT_EQ((std::vector<void*>{&b, &a}), Items(l));
    ListDestroy(l);
}

TEST_F(List, RemoveInTheMiddleAndAtTheEnd) {
    LIST* l = ListAdd(ListAdd(ListAdd(nullptr, &a), &b), &c);  // c, b, a
    LIST* head = l;
    EXPECT_EQ(head, ListRemove(l, &b));
    EXPECT_EQ((std::vector<void*>{&c, &a}), Items(head));
    EXPECT_EQ(head, ListRemove(head, &a));
    EXPECT_EQ((std::vector<void*>{&c}), Items(head));
    EXPECT_EQ(nullptr, ListRemove(head, &c));  // the last node: the empty list
}

TEST_F(List, RemoveOfAnAbsentPointerLeavesTheList) {
    LIST* l = ListAdd(ListAdd(nullptr, &a), &b);
    LIST* second = l->next;
    EXPECT_EQ(l, ListRemove(l, &x));
    EXPECT_EQ(second, l->next);
    EXPECT_EQ((std::vector<void*>{&b, &a}), Items(l));
    EXPECT_EQ(l, ListRemove(l, nullptr));
    EXPECT_EQ(2, ListCount(l));
    EXPECT_EQ(nullptr, ListRemove(nullptr, &a));
    ListDestroy(l);
}

TEST_F(List, RemoveTakesOnlyTheFirstOfDuplicates) {
    LIST* l = ListAdd(ListAdd(ListAdd(nullptr, &a), &b), &a);  // a, b, a
    LIST* last = l->next->next;
    l = ListRemove(l, &a);
    EXPECT_EQ((std::vector<void*>{&b, &a}), Items(l));
    EXPECT_EQ(last, l->next);  // the later duplicate is the same node as before
    ListDestroy(l);
}

TEST_F(List, DestroyFreesTheNodesOnly) {
    int* owned = new int(42);
    LIST* l = ListAdd(ListAdd(ListAdd(nullptr, owned), &b), owned);
    ListDestroy(l);
    EXPECT_EQ(42, *owned);  // the element is still alive and unchanged
    delete owned;
    ListDestroy(nullptr);
    EXPECT_EQ(0, ListCount(nullptr));
}

// ---- OvColor ----

TEST(OvColor, DefaultIsWhite) {
    OvColor c;
    EXPECT_EQ(1.0f, c.red);
    EXPECT_EQ(1.0f, c.green);
    EXPECT_EQ(1.0f, c.blue);
}

TEST(OvColor, ComponentConstructorStoresTheValues) {
    OvColor c(0.25f, -0.5f, 3.0f);  // no range is enforced
    EXPECT_EQ(0.25f, c.red);
    EXPECT_EQ(-0.5f, c.green);
    EXPECT_EQ(3.0f, c.blue);
}

TEST(OvColor, CopyAndAssignment) {
    OvColor a(0.1f, 0.2f, 0.3f);
    OvColor b(a);
    EXPECT_EQ(0.1f, b.red);
    EXPECT_EQ(0.2f, b.green);
    EXPECT_EQ(0.3f, b.blue);
    OvColor c;
    OvColor& r = (c = a);
    EXPECT_EQ(&c, &r);
    EXPECT_EQ(0.1f, c.red);
    EXPECT_EQ(0.2f, c.green);
    EXPECT_EQ(0.3f, c.blue);
}

TEST(OvColor, SetStoresAndReturnsThis) {
    OvColor c;
    OvColor& r = c.set(0.5f, 0.75f, 0.125f);
    EXPECT_EQ(&c, &r);
    EXPECT_EQ(0.5f, c.red);
    EXPECT_EQ(0.75f, c.green);
    EXPECT_EQ(0.125f, c.blue);
    c.set(0.0f, 0.0f, 0.0f).set(1.0f, 2.0f, 3.0f);
    EXPECT_EQ(2.0f, c.green);
}

TEST(OvColor, EqualityIsExact) {
    EXPECT_EQ(1, OvColor() == OvColor(1.0f, 1.0f, 1.0f));
    EXPECT_EQ(0, OvColor() != OvColor(1.0f, 1.0f, 1.0f));
    EXPECT_EQ(0, OvColor() == OvColor(1.0f, 1.0f, 0.0f));
    EXPECT_EQ(1, OvColor() != OvColor(0.0f, 1.0f, 1.0f));
    EXPECT_EQ(1, OvColor(0.0f, 0.0f, 0.0f) == OvColor(-0.0f, -0.0f, -0.0f));  // as floats
}

TEST(OvColor, OneUlpApartIsUnequal) {
    const float v = 0.3f;
    const float up = std::nextafter(v, 1.0f);
    ASSERT_NE(v, up);
    OvColor base(v, v, v);
    EXPECT_EQ(0, base == OvColor(up, v, v));
    EXPECT_EQ(0, base == OvColor(v, up, v));
    EXPECT_EQ(0, base == OvColor(v, v, up));
    EXPECT_EQ(1, base != OvColor(up, v, v));
    EXPECT_EQ(1, base != OvColor(v, up, v));
    EXPECT_EQ(1, base != OvColor(v, v, up));
    EXPECT_EQ(0, OvColor() == OvColor(std::nextafter(1.0f, 0.0f), 1.0f, 1.0f));
}

TEST(OvColor, NanIsNeverEqual) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    OvColor c(nan, 0.5f, 0.5f);
    EXPECT_EQ(0, c == c);
    EXPECT_EQ(1, c != c);
    OvColor d(0.5f, 0.5f, nan);
    EXPECT_EQ(0, d == OvColor(d));
    EXPECT_EQ(1, d != OvColor(d));
}
