#include "tessellation/exact_crossing.h"

#include <vector>

namespace selvora {

namespace {

// A value held exactly as a sum of doubles, nonoverlapping and in increasing
// magnitude, without zero components.
using Expansion = std::vector<double>;

// x + y = a + b exactly, x = fl(a + b).
void TwoSum(double a, double b, double& x, double& y) {
    x = a + b;
    const double bVirtual = x - a;
    const double aVirtual = x - bVirtual;
    y = (a - aVirtual) + (b - bVirtual);
}

// Dekker's split of a into two halves of 26 bits each: a = hi + lo.
void Split(double a, double& hi, double& lo) {
    const double c = 134217729.0 * a;  // 2^27 + 1
    hi = c - (c - a);
    lo = a - hi;
}

// x + y = a b exactly, x = fl(a b), without a fused multiply-add.
void TwoProduct(double a, double b, double& x, double& y) {
    x = a * b;
    double aHi, aLo, bHi, bLo;
    Split(a, aHi, aLo);
    Split(b, bHi, bLo);
    const double err1 = x - aHi * bHi;
    const double err2 = err1 - aLo * bHi;
    const double err3 = err2 - aHi * bLo;
    y = aLo * bLo - err3;
}

// e += b, exactly (growing the expansion one component at a time).
void Add(Expansion& e, double b) {
    Expansion sum;
    sum.reserve(e.size() + 1);
    double carry = b;
    for (double component : e) {
        double x, y;
        TwoSum(carry, component, x, y);
        if (y != 0) sum.push_back(y);
        carry = x;
    }
    if (carry != 0) sum.push_back(carry);
    e.swap(sum);
}

// e += a b.
void AddProduct(Expansion& e, double a, double b) {
    double x, y;
    TwoProduct(a, b, x, y);
    Add(e, y);
    Add(e, x);
}

// e += f s.
void AddScaled(Expansion& e, const Expansion& f, double s) {
    for (double component : f) AddProduct(e, component, s);
}

// The orientation of r against the line from p to q,
// (qx - px)(ry - py) - (qy - py)(rx - px), expanded into six products (the
// two px py cancel).
Expansion Orientation(const double* p, const double* q, const double* r) {
    Expansion e;
    AddProduct(e, q[0], r[1]);
    AddProduct(e, -q[0], p[1]);
    AddProduct(e, -p[0], r[1]);
    AddProduct(e, -q[1], r[0]);
    AddProduct(e, q[1], p[0]);
    AddProduct(e, p[1], r[0]);
    return e;
}

// The value of e rounded, summed from the smallest component up: its
// components do not overlap, so the sum errs by a few units in its last place.
double Approximate(const Expansion& e) {
    double sum = 0;
    for (double component : e) sum += component;
    return sum;
}

}  // namespace

void ExactCrossing(const double* a, const double* b, const double* c, const double* d,
                   double* crossing) {
    const Expansion da = Orientation(c, d, a), db = Orientation(c, d, b);
    Expansion denominator = db;
    AddScaled(denominator, da, -1.0);
    const double q = Approximate(denominator);
    for (int axis = 0; axis < 2; ++axis) {
        Expansion numerator;
        AddScaled(numerator, db, a[axis]);
        AddScaled(numerator, da, -b[axis]);
        crossing[axis] = Approximate(numerator) / q;
    }
}

}  // namespace selvora
