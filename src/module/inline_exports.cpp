// The kernel's hot paths are inline in the public headers so that callers can
// inline them, yet they are part of the binary interface like every other
// operation: the library exports an out-of-line copy of each. So are the
// implicit destructors of the geometry classes, which every compiler would
// otherwise emit, or not, as its optimiser sees fit.
//
// This file takes the address of each of them, which makes the compiler emit
// the function here with the class's exported visibility; constructors and
// destructors, whose address cannot be taken, are called instead, in code
// compiled with -fno-inline so that every call stays a call. The same list
// comes out of every compiler.
#include <new>

#include "selvora/geometry/arc.h"
#include "selvora/geometry/implicit_curve.h"
#include "selvora/geometry/line.h"
#include "selvora/geometry/triangle.h"
#include "selvora/kernel/matrix3d.h"
#include "selvora/kernel/point3d.h"

namespace {

struct InlineFunctions {
    Point3d (Point3d::*pointAssign)(Point3d);
    Vector3d& (Vector3d::*vectorAssign)(Vector3d);
    Matrix3d (Matrix3d::*matrixAssign)(Matrix3d);
    Matrix3d (Matrix3d::*product)(Matrix3d) const;
    Point3d (*pointTransform)(Matrix3d, Point3d);
    Vector3d (*vectorTransform)(Matrix3d, Vector3d);
};

[[gnu::used]] const InlineFunctions kInlineFunctions = {
    &Point3d::operator=,  &Vector3d::operator=, &Matrix3d::operator=,
    &Matrix3d::operator*, &operator*,           &operator*,
};

// Never called: kept by the `used` attribute for the calls it makes.
[[gnu::used]] void EmitConstructors(Point3d* p, Vector3d* v, Matrix3d* m) {
    new (p) Point3d();
    new (p) Point3d(1.0, 2.0, 3.0);
    new (v) Vector3d();
    new (v) Vector3d(1.0, 2.0, 3.0);
    new (m) Matrix3d();
}

template <class T>
void DestroyComplete(T* object) {
    object->T::~T();
}

[[gnu::used]] void EmitImplicitDestructors(Curve* curve, Line* line, GArc* arc, Circle* circle,
                                           ImplicitCurve* implicit, Triangle* triangle) {
    DestroyComplete(curve);
    DestroyComplete(line);
    DestroyComplete(arc);
    DestroyComplete(circle);
    DestroyComplete(implicit);
    DestroyComplete(triangle);
}

}  // namespace
