#include "tessellation/exact_crossing.h"

namespace selvora {

namespace {

// x + y = a + b exactly, x = fl(a + b).
void TwoSum(double a, double b, double& x, double& y) {
    x = a + b;
    const double bVirtual = x - a;
    const double aVirtual = x - bVirtual;
    y = (a - aVirtual) + (b - bVirtual);
}

// x + y = a + b exactly, x = fl(a + b), for |a| >= |b|.
void FastTwoSum(double a, double b, double& x, double& y) {
    x = a + b;
    y = b - (x - a);
}

// A value held exactly as a sum of doubles, nonoverlapping and in increasing
// magnitude, without zero components. Each addition of a double adds at most
// one component, so the largest below (a numerator: 2 x 12 products of a
// component of an orientation's 12 and a coordinate) has 48.
class Expansion {
  public:
    const double* begin() const { return components_; }
    const double* end() const { return components_ + size_; }

    // e += b, exactly. The sum's k-th component is written once the k-th is
    // read, so it takes the place of the old.
    void Add(double b) {
        int size = 0;
        double carry = b;
        for (int k = 0; k < size_; ++k) {
            double x, y;
            TwoSum(carry, components_[k], x, y);
            if (y != 0) components_[size++] = y;
            carry = x;
        }
        if (carry != 0) components_[size++] = carry;
        size_ = size;
    }

    // The same value in as few components as the sum allows, most often one
    // or two (Shewchuk's compression): a sweep down from the largest
    // component gathers what the running sum can take, a sweep up spreads
    // the rest again without overlap.
    void Compress() {
        if (size_ < 2) return;
        double gathered[kCapacity];
        int bottom = size_ - 1;
        double sum = components_[size_ - 1];
        for (int k = size_ - 2; k >= 0; --k) {
            double x, y;
            FastTwoSum(sum, components_[k], x, y);
            if (y != 0) {
                gathered[bottom--] = x;
                sum = y;
            } else {
                sum = x;
            }
        }
        gathered[bottom] = sum;
        int size = 0;
        for (int k = bottom + 1; k < size_; ++k) {
            double x, y;
            FastTwoSum(gathered[k], sum, x, y);
            if (y != 0) components_[size++] = y;
            sum = x;
        }
        if (sum != 0) components_[size++] = sum;
        size_ = size;
    }

  private:
    static constexpr int kCapacity = 48;

    double components_[kCapacity];  // only the first size_ are set
    int size_ = 0;
};

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

// e += a b.
void AddProduct(Expansion& e, double a, double b) {
    double x, y;
    TwoProduct(a, b, x, y);
    e.Add(y);
    e.Add(x);
}

// e += f s.
void AddScaled(Expansion& e, const Expansion& f, double s) {
    for (double component : f) AddProduct(e, component, s);
}

// Whether a - b is a double: its rounding error (Knuth's two-sum, for the
// difference) is zero.
bool ExactDifference(double a, double b) {
    const double x = a - b;
    const double bVirtual = a - x;
    const double aVirtual = x + bVirtual;
    return (a - aVirtual) + (bVirtual - b) == 0;
}

// The orientation of r against the line from p to q,
// (qx - px)(ry - py) - (qy - py)(rx - px): two products where the four
// differences are doubles, as they are for points near each other, and
// otherwise expanded into six products (the two px py cancel).
Expansion Orientation(const double* p, const double* q, const double* r) {
    Expansion e;
    if (ExactDifference(q[0], p[0]) && ExactDifference(r[1], p[1]) && ExactDifference(q[1], p[1]) &&
        ExactDifference(r[0], p[0])) {
        AddProduct(e, q[0] - p[0], r[1] - p[1]);
        AddProduct(e, -(q[1] - p[1]), r[0] - p[0]);
        return e;
    }
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
    Expansion da = Orientation(c, d, a), db = Orientation(c, d, b);
    da.Compress();
    db.Compress();
    Expansion denominator;
    for (double component : db) denominator.Add(component);
    AddScaled(denominator, da, -1.0);
    denominator.Compress();
    const double q = Approximate(denominator);
    for (int axis = 0; axis < 2; ++axis) {
        Expansion numerator;
        AddScaled(numerator, db, a[axis]);
        AddScaled(numerator, da, -b[axis]);
        numerator.Compress();
        crossing[axis] = Approximate(numerator) / q;
    }
}

}  // namespace selvora
