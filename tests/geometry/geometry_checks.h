// Checks several geometry tests share: bit-exact coordinates, copies made
// through the Geometry interface, function handles that copies must not carry,
// and records written to and read back from temporary streams.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <typeinfo>
#include <vector>

#include "selvora/selvora.h"
#include "support/exact.h"
#include "support/streams.h"

// Bit-exact comparison of the three coordinates of a Point3d or Vector3d.
#define EXPECT_SAME_XYZ(ex, ey, ez, actual) \
    do {                                    \
        const auto xyz_ = (actual);         \
        EXPECT_SAME_DOUBLE(ex, xyz_.x);     \
        EXPECT_SAME_DOUBLE(ey, xyz_.y);     \
        EXPECT_SAME_DOUBLE(ez, xyz_.z);     \
    } while (0)

namespace selvora_test {

// source.copy(), reached through the Geometry interface, after checking that
// it is a new object of the dynamic type T carrying the class name `name`;
// null when there is no such copy.
template <class T>
std::unique_ptr<T> CopyOf(Geometry& source, const char* name) {
    std::unique_ptr<Geometry> copy(source.copy());
    EXPECT_NE(nullptr, copy);
    if (copy == nullptr) return nullptr;
    const Geometry& object = *copy;
    EXPECT_NE(&source, &object);
    EXPECT_TRUE(typeid(object) == typeid(T));
    EXPECT_STREQ(name, copy->className());
    T* typed = dynamic_cast<T*>(copy.get());
    if (typed != nullptr) copy.release();
    return std::unique_ptr<T>(typed);
}

template <class T>
void ExpectCopyIs(Geometry& source, const char* name) {
    EXPECT_NE(nullptr, CopyOf<T>(source, name));
}

// A sampling's result: exactly the points expected, bit for bit, in order.
inline void ExpectPoints(const OvPnt3dArray& points, std::initializer_list<Point3d> expected) {
    ASSERT_EQ(static_cast<int>(expected.size()), points.GetSize());
    int i = 0;
    for (const Point3d& p : expected) {
        SCOPED_TRACE(::testing::Message() << "point " << i);
        ExpectSamePoint(p, points.GetAt(i++));
    }
}

// The defaults GArc and Circle share: the unit circle about the origin in the
// XY plane, no function handle, and Curve's defaults in the Curve part.
template <class C>
void ExpectDefaultCircularCurve(C& c, const char* name) {
    EXPECT_TRUE(c.isA(name));
    EXPECT_STREQ(name, static_cast<const char*>(c.className()));
    EXPECT_SAME_XYZ(0.0, 0.0, 0.0, c.GetCenter());
    EXPECT_SAME_XYZ(1.0, 1.0, 1.0, c.GetSize());
    EXPECT_SAME_XYZ(0.0, 0.0, 1.0, c.GetNormal());
    EXPECT_SAME_DOUBLE(1.0, c.GetRadius());
    EXPECT_EQ(nullptr, c.GetFunction());
    EXPECT_SAME_XYZ(0.0, 0.0, 0.0, c.GetStartPoint());
    EXPECT_SAME_XYZ(0.0, 0.0, 0.0, c.GetEndPoint());
    EXPECT_EQ(Curve::Symmetric, c.GetSymmetry());
    EXPECT_EQ(Curve::Unbounded, c.GetExtent());
    EXPECT_EQ(0, c.IsPeriodic());
}

// The maps the transform tests apply to the tilted frame of the GArc and
// Circle tests (centre (1, -2, 3), radius 2.5, normal (1, 2, 2)), and that
// frame's centre, normal and size after each, as the shared circle frame
// computes them.
inline Matrix3d RotationThenTranslation() {
    Matrix3d rotation, translation;
    rotation.setToRotation(0.7, Vector3d(1.0, 1.0, 0.0));
    translation.setToTranslation(Vector3d(0.5, -1.0, 2.0));
    return translation * rotation;
}

inline Matrix3d GeneralLinearMap() {
    // clang-format off
    return Matrix3d(1.0, 0.5, 0.0, 1.0,
                    0.25, 2.0, 0.0, 0.0,
                    0.1, 0.0, 3.0, 0.0,
                    0.0, 0.0, 0.0, 1.0);
    // clang-format on
}

inline Matrix3d MirrorInY() {
    Matrix3d mirror;
    mirror.setToScaling(1.0, -1.0, 1.0);
    return mirror;
}

template <class C>
void ExpectTiltedFrameAfterRotationThenTranslation(const C& c) {
    EXPECT_SAME_XYZ(2.5138553665449894, -4.013855366544989, 2.927934476235208, c.GetCenter());
    EXPECT_SAME_XYZ(2.028640296769927, 0.9713597032300728, 1.9852150697750626, c.GetNormal());
    EXPECT_SAME_XYZ(2.5, 2.5, 2.5, c.GetSize());
}

template <class C>
void ExpectTiltedFrameAfterGeneralLinearMap(const C& c) {
    EXPECT_SAME_XYZ(1.0, -3.75, 9.1, c.GetCenter());
    EXPECT_SAME_XYZ(2.0, 4.25, 6.1, c.GetNormal());
    // |m (2.5, 0, 0)| = 2.5 * |(1, 0.25, 0.1)|, kept uniform.
    EXPECT_SAME_XYZ(2.5890393971509975, 2.5890393971509975, 2.5890393971509975, c.GetSize());
}

template <class C>
void ExpectTiltedFrameAfterMirrorInY(const C& c) {
    EXPECT_SAME_XYZ(1.0, 2.0, 3.0, c.GetCenter());
    EXPECT_SAME_XYZ(1.0, -2.0, 2.0, c.GetNormal());
    EXPECT_SAME_XYZ(2.5, 2.5, 2.5, c.GetSize());
}

// c with the circle frame the record tests write: centre (1.5, -2.25, 3),
// size (2.5, 7, -0), normal (0, -0.6, 0.8).
template <class C>
C WithRecordFrame(C c) {
    c.SetCenter(Point3d(1.5, -2.25, 3.0));
    c.SetSize(2.5, 7.0, -0.0);
    c.SetNormal(Vector3d(0.0, -0.6, 0.8));
    return c;
}

// Save and Load given a null stream leave an object as make() made it.
template <class C>
void ExpectNullStreamIsIgnored(C (*make)()) {
    C c = make();
    c.Save(nullptr);
    c.Load(nullptr);
    C expected = make();
    EXPECT_EQ(1, c == expected);
}

// source.copy() is a new object of source's class C, named `name`, equal to
// source (operator== answers 1) and with the Curve start point `start`.
template <class C>
void ExpectEqualCopy(C& source, const char* name, const Point3d& start) {
    std::unique_ptr<Geometry> g(source.copy());
    ASSERT_NE(nullptr, g);
    C* copied = dynamic_cast<C*>(g.get());
    ASSERT_NE(nullptr, copied);
    EXPECT_NE(&source, copied);
    EXPECT_TRUE(copied->isA(name));
    EXPECT_EQ(1, *copied == source);
    ExpectSamePoint(start, copied->GetStartPoint());
}

// a, which holds a NaN, equals itself (the same object) but not a copy of
// itself: a NaN is within no tolerance of anything.
template <class C>
void ExpectEqualToItselfOnly(C& a) {
    EXPECT_EQ(1, a == a);
    C copy(a);
    EXPECT_EQ(0, a == copy);
}

// Compared through the Geometry interface, a is equal to b, an equal object
// of its class, and unequal to `other`, an object of another class, to a plain
// Geometry and to a curve of class K that carry a's class name `name` after
// assignment.
template <class K, class C>
void ExpectEqualOnlyToItsClass(C& a, C& b, Geometry& other, const char* name) {
    Geometry& gb = b;
    EXPECT_EQ(1, a == gb);
    EXPECT_EQ(0, a == other);

    Geometry named;
    named = a;
    ASSERT_TRUE(named.isA(name));
    EXPECT_EQ(0, a == named);
    K curve;
    curve = a;
    ASSERT_TRUE(curve.isA(name));
    EXPECT_EQ(0, a == curve);
}

// A circular curve class C (GArc or Circle) never carries its function handle
// over: not to a copy-constructed object, not to copy(), not to an object
// assigned from it, and an assigned-to object keeps its own handle. Handle is
// C with SetFunction opened; the radius marks the members that are copied.
template <class C, class Handle>
void CheckCircularHandleIsNeverCopied(double radius) {
    static int handleA, handleB;
    Handle source;
    source.SetFunction(&handleA);
    source.SetRadius(radius);
    ASSERT_EQ(&handleA, source.GetFunction());

    C constructed(source);
    EXPECT_EQ(nullptr, constructed.GetFunction());
    EXPECT_SAME_DOUBLE(radius, constructed.GetRadius());

    std::unique_ptr<Geometry> g(source.copy());
    C* copied = dynamic_cast<C*>(g.get());
    ASSERT_NE(nullptr, copied);
    EXPECT_EQ(nullptr, copied->GetFunction());

    C plain;
    plain = source;
    EXPECT_EQ(nullptr, plain.GetFunction());
    EXPECT_SAME_DOUBLE(radius, plain.GetRadius());

    Handle target;
    target.SetFunction(&handleB);
    static_cast<C&>(target) = source;
    EXPECT_EQ(&handleB, target.GetFunction());
    EXPECT_SAME_DOUBLE(radius, target.GetRadius());
}

// The record g writes to a fresh temporary stream. The stream position after
// Save must be `size`, the record's length in bytes; callers check the
// length of the bytes returned (empty when no stream could be opened).
template <class G>
std::vector<unsigned char> SavedRecord(G&& g, long size) {
    FILE* f = std::tmpfile();
    if (f == nullptr) {
        ADD_FAILURE() << "no temporary stream";
        return {};
    }
    g.Save(f);
    EXPECT_EQ(size, std::ftell(f));
    std::vector<unsigned char> bytes = StreamBytes(f);
    std::fclose(f);
    return bytes;
}

// Saves source to a temporary stream and loads the record back into loaded,
// which must read `size` bytes, the whole record.
template <class S, class L>
void SaveAndLoad(S& source, L& loaded, long size) {
    FILE* f = std::tmpfile();
    ASSERT_NE(nullptr, f);
    source.Save(f);
    std::rewind(f);
    loaded.Load(f);
    EXPECT_EQ(size, std::ftell(f));
    std::fclose(f);
}

// Neither the class name nor the Curve part is in a record: a default object
// of class `name` that loaded one still has that name and Curve's default end
// points.
template <class C>
void ExpectNameAndCurvePartNotLoaded(C& loaded, const char* name) {
    EXPECT_TRUE(loaded.isA(name));
    EXPECT_SAME_XYZ(0.0, 0.0, 0.0, loaded.GetStartPoint());
    EXPECT_SAME_XYZ(0.0, 0.0, 0.0, loaded.GetEndPoint());
}

// Loads into g the first n bytes of a record, from a stream that holds
// nothing more: a record cut short.
template <class G>
void LoadFirst(G& g, const std::vector<unsigned char>& record, std::size_t n) {
    FILE* f = StreamOf(record, n);
    ASSERT_NE(nullptr, f);
    g.Load(f);
    std::fclose(f);
}

}  // namespace selvora_test
