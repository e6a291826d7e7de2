// Double-double arithmetic: a number carried as the unevaluated sum hi + lo of
// two doubles, |lo| <= ulp(hi) / 2, about 106 bits. The fast paths of the
// library's trigonometric functions evaluate in it and then ask whether the
// result rounds to one double whatever their error.
//
// Every operation is made of plain double additions and multiplications
// rounded to nearest; none uses a fused multiply-add or wider registers, so the
// results are the same bits on every platform (the library is compiled with
// -ffp-contract=off). The bounds below hold in the default rounding mode, with
// no overflow and no result below 2^-969 (where the low parts would lose bits
// to underflow); callers keep their arguments inside those limits.
#pragma once

#include <cstdint>
#include <cstring>

namespace selvora {
namespace math {

struct DoubleDouble {
    double hi;
    double lo;
};

// hi + lo == a + b exactly, hi = RN(a + b), provided |a| >= |b| or a == 0
// (Dekker).
inline DoubleDouble FastTwoSum(double a, double b) {
    const double hi = a + b;
    const double lo = b - (hi - a);
    return {hi, lo};
}

// hi + lo == a + b exactly, hi = RN(a + b), for any a and b (Knuth).
inline DoubleDouble TwoSum(double a, double b) {
    const double hi = a + b;
    const double bb = hi - a;
    const double lo = (a - (hi - bb)) + (b - bb);
    return {hi, lo};
}

// a == hi + lo exactly with hi and lo of at most 26 significant bits each
// (Veltkamp's split; |a| < 2^996 so that the scaled value cannot overflow).
inline DoubleDouble Split(double a) {
    const double c = 134217729.0 * a;  // 2^27 + 1
    const double hi = c - (c - a);
    return {hi, a - hi};
}

// a == hi + lo exactly, hi the leading 26 significant bits of a (the rest of
// its significand cleared) and lo = a - hi of at most 27 bits: a split by
// masking, for products with few-bit operands that are exact.
inline DoubleDouble Truncate26(double a) {
    uint64_t bits;
    std::memcpy(&bits, &a, sizeof bits);
    bits &= ~((uint64_t{1} << 27) - 1);
    double hi;
    std::memcpy(&hi, &bits, sizeof hi);
    return {hi, a - hi};
}

// hi + lo == a * b exactly, hi = RN(a * b) (Dekker's product, without a fused
// multiply-add), for |a|, |b| < 2^996 and a product that does not underflow.
inline DoubleDouble TwoProduct(double a, double b) {
    const double p = a * b;
    const DoubleDouble as = Split(a), bs = Split(b);
    const double err = ((as.hi * bs.hi - p) + as.hi * bs.lo + as.lo * bs.hi) + as.lo * bs.lo;
    return {p, err};
}

// a * b for two double-doubles. Relative error below 2^-102: the neglected
// a.lo * b.lo is below 2^-106 of the product, and the two cross products and
// the sum of the low parts add three roundings of 2^-53 on terms below 2^-52
// of it.
inline DoubleDouble Mul(DoubleDouble a, DoubleDouble b) {
    const DoubleDouble p = TwoProduct(a.hi, b.hi);
    return FastTwoSum(p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi));
}

// The rounding test. When |hi + lo - f| <= err for the exact value f, and
// hi + (lo - err) and hi + (lo + err) round to the same double, every number in
// [hi + lo - err, hi + lo + err] rounds to it, so it is f correctly rounded:
// the test stores it in *result and returns true. The two inner sums round at
// about 2^-53 of |lo| + err, far below err in every use here (err is at least
// 2^-100 |hi|, lo at most ulp(hi)), which callers take into their err.
inline bool RoundsToOne(double hi, double lo, double err, double* result) {
    const double down = hi + (lo - err);
    const double up = hi + (lo + err);
    if (down != up) return false;
    *result = down;
    return true;
}

}  // namespace math
}  // namespace selvora
