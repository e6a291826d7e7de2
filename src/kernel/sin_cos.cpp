// sin and cos, correctly rounded for every double argument.
//
// Both reduce x to x = k pi/256 + r, |r| <= pi/512 (plus a hair), as a
// double-double r and the integer k mod 512, then take
//
//     sin(a + r) = S cos r + C sin r,   a = k pi/256,  S = sin a,  C = cos a,
//
// with S and C from a table of double-doubles (cos x is sin(x + pi/2): entry
// k + 128). The result is evaluated with an error bound err; when the rounding
// test shows that every value within err rounds to the same double, that
// double is the correctly rounded result. Otherwise (about one argument in
// several thousand) the precise path decides.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "kernel/double_double.h"
#include "kernel/math.h"
#include "kernel/precise_constants.h"
#include "kernel/precise_math.h"
#include "kernel/sin_cos_tables.h"

namespace selvora {
namespace math {
namespace {

using namespace sin_cos_tables;

// The large-argument reduction stays out of line, so that the common path is
// one function without calls.
#if defined(__GNUC__) || defined(__clang__)
#define SELVORA_NOINLINE __attribute__((noinline))
#else
#define SELVORA_NOINLINE
#endif

struct Reduction {
    int64_t k;       // the multiple of pi/256 (only k mod 512 matters)
    DoubleDouble r;  // x - k pi/256
    double err;      // bound on |r - (x - k pi/256)|
};

uint64_t BitsOf(double x) {
    uint64_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    return bits;
}

double PowerOfTwo(int e) {  // 2^e, -1022 <= e <= 1023
    const uint64_t bits = static_cast<uint64_t>(e + 1023) << 52;
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return d;
}

// Below 2^16, Cody and Waite's reduction: k = round(x 256/pi), |k| < 2^22, and
// pi/256 = kStep1 + kStep2 + kStep3 + e with |e| < 2^-121. The pieces 1 and 2
// have 30 significant bits, so k kStep1 and k kStep2 are exact; x - k kStep1
// is exact by Sterbenz's lemma (for k != 0 the two are within a factor 2), and
// the TwoSum with -k kStep2 is exact. r.lo then takes -k kStep3, so it is not
// normalised: |r.lo| <= ulp(r.hi)/2 + |k| 2^-67.7 < ulp(r.hi)/2 + 2^-46, which
// the kernel allows for. What is lost: the rounding of k kStep3 (|k| 2^-121)
// and of the subtraction (2^-53 of |r.lo|), and |k e| < |k| 2^-121: in all
// below |k| 2^-119 + 2^-105 |r|.
inline Reduction ReduceSmall(double x) {
    // Adding and removing 1.5 * 2^52 rounds to an integer, whose low bits
    // are k's two's complement.
    const double shifted = x * kInvStep + 0x1.8p52;
    const double kd = shifted - 0x1.8p52;
    const double t = x - kd * kStep1;
    const DoubleDouble s = TwoSum(t, -(kd * kStep2));
    const DoubleDouble r = {s.hi, s.lo - kd * kStep3};
    const double err = std::fabs(kd) * 0x1p-119;
    return {static_cast<int64_t>(static_cast<int32_t>(BitsOf(shifted))), r, err};
}

// hi:lo = a * b, the full 128-bit product, from 32-bit halves.
void Multiply64(uint64_t a, uint64_t b, uint64_t* hi, uint64_t* lo) {
    const uint64_t a0 = a & 0xffffffffu, a1 = a >> 32, b0 = b & 0xffffffffu, b1 = b >> 32;
    const uint64_t p00 = a0 * b0, p01 = a0 * b1, p10 = a1 * b0, p11 = a1 * b1;
    const uint64_t middle = (p00 >> 32) + (p01 & 0xffffffffu) + (p10 & 0xffffffffu);
    *lo = (middle << 32) | (p00 & 0xffffffffu);
    *hi = p11 + (p01 >> 32) + (p10 >> 32) + (middle >> 32);
}

// Word i of 2/pi = sum of TwoOverPi(i) 2^(-64 (i + 1)): two limbs of the
// precise path's table.
uint64_t TwoOverPi(int i) {
    return (uint64_t{precise::kTwoOverPi[2 * i]} << 32) | precise::kTwoOverPi[2 * i + 1];
}

// The 64 bits of the little-endian 6-word number z from bit p up.
uint64_t Window(const uint64_t z[6], int p) {
    const int word = p / 64, shift = p % 64;
    const uint64_t low = word < 6 ? z[word] >> shift : 0;
    const uint64_t high = (shift != 0 && word + 1 < 6) ? z[word + 1] << (64 - shift) : 0;
    return low | high;
}

// From 2^16 up, Payne and Hanek's reduction. With |x| = m 2^e (m an integer
// of 53 bits) and 2/pi = sum W[i] 2^(-64 (i + 1)), x 256/pi = m 2^(e + 7) sum
// W[i] 2^(-64 (i + 1)). The words before i0 = floor((e - 2) / 64) contribute
// multiples of 512, which do not change sin or cos; five words from i0 on give
// y = x 256/pi mod 512 as the integer z = m * W[i0 .. i0 + 4] scaled by
// 2^(sh - 320), sh = e + 7 - 64 i0 <= 72. The words left out weigh less than
// m 2^(sh - 320) < 2^-195 in y, so less than 2^-196 in r. Of the fraction of y
// 192 bits are kept (truncation below 2^-192 of one unit, 2^-198 in r), rounded
// to the nearest integer k and a signed fraction f, |f| <= 1/2. Because pi is
// irrational f is never zero; for doubles it is above 2^-64. r = f pi/256 is
// formed by a double-double product (relative error below 2^-101, with the
// truncation of f to 106 bits).
SELVORA_NOINLINE Reduction ReduceLarge(double x) {
    const uint64_t bits = BitsOf(x);
    const uint64_t m = (bits & 0x000fffffffffffffu) | 0x0010000000000000u;
    const int e = static_cast<int>((bits >> 52) & 0x7ff) - 1075;
    const int i0 = e > 2 ? (e - 2) / 64 : 0;
    const int sh = e + 7 - 64 * i0;

    uint64_t z[6] = {0, 0, 0, 0, 0, 0};  // little-endian
    for (int i = 0; i < 5; ++i) {
        uint64_t hi, lo;
        Multiply64(m, TwoOverPi(i0 + i), &hi, &lo);
        // The word i of W sits at bits 256 - 64 i ... 319 - 64 i of z.
        const int at = 4 - i;
        uint64_t sum = z[at] + lo;
        uint64_t carry = sum < lo;
        z[at] = sum;
        sum = z[at + 1] + hi + carry;
        carry = (sum < hi) || (carry && sum == hi);
        z[at + 1] = sum;
        for (int j = at + 2; carry && j < 6; ++j) carry = ++z[j] == 0;
    }
    const int point = 320 - sh;  // bits of z below the binary point of y
    int64_t k = static_cast<int64_t>(Window(z, point) & 511);
    uint64_t f0 = Window(z, point - 64), f1 = Window(z, point - 128), f2 = Window(z, point - 192);
    bool negative = false;
    if (f0 >> 63) {  // fraction >= 1/2: round k up, f = fraction - 1
        k += 1;
        negative = true;
        f0 = ~f0, f1 = ~f1, f2 = ~f2;  // two's complement negation of f0:f1:f2
        if (++f2 == 0 && ++f1 == 0) ++f0;
    }
    // Normalise f0:f1:f2 to a leading one in the top bit of f0 (f is not zero:
    // see above; the guard only keeps the loop finite).
    int shift = 0;
    while (f0 == 0 && shift < 128) {
        f0 = f1, f1 = f2, f2 = 0;
        shift += 64;
    }
    if (f0 == 0) return {k, {0.0, 0.0}, 0x1p-190};
    const int lead = __builtin_clzll(f0);
    if (lead != 0) {
        f0 = (f0 << lead) | (f1 >> (64 - lead));
        f1 = (f1 << lead) | (f2 >> (64 - lead));
        shift += lead;
    }
    // f = f0:f1 2^(-128 - shift): 53 bits and the next 53 bits.
    const double fhi = static_cast<double>(f0 >> 11) * PowerOfTwo(-64 + 11 - shift);
    const double flo =
        static_cast<double>(((f0 & 0x7ff) << 42) | (f1 >> 22)) * PowerOfTwo(-128 + 22 - shift);
    DoubleDouble r = Mul(DoubleDouble{fhi, flo}, kStep);
    if (negative) r = {-r.hi, -r.lo};
    const double err = (r.hi < 0 ? -r.hi : r.hi) * 0x1p-100 + 0x1p-190;
    return {k, r, err};
}

// sin(j pi/256 + r) for the reduction (j, r), or false when the rounding test
// cannot decide. With z = r.hi^2, r1 the leading 26 bits of r.hi and
// r2 = (r.hi - r1) + r.lo, and C = C1 + C2 + C.lo (C1 the leading 26 bits):
//     sin(a + r) = S.hi + C1 r1                  (exact products, TwoSum)
//                + S.lo + C2 r1 + C.hi r2 + C.lo r.hi      (double)
//                + S (z P(z) - r.hi r.lo),  P(z) = -1/2 + z/24 - z^2/720    (t)
//                + C z (r.hi Q(z) - r.lo/2),  Q(z) = -1/6 + z/120 - z^2/5040   (e)
// The series stop below r^8/8! < 2^-74 |S| and r^9/9! < 2^-77 |C r|. r.lo need
// not be normalised (|r.lo| < ulp(r.hi)/2 + 2^-46): its first-order terms are
// in t and e, and r.lo^2 left out weighs below 2^-93 |S| and 2^-85 |C r|. With
// |r| <= 0.00614 < 2^-7.34, z < 2^-14.6:
// - C1 r1 and C2 r1 are exact (26 by 26 and 27 by 26 bits); C.hi r2 and r2
//   round at 2^-53 of 2^-26 |C r|; C.lo r.lo left out is 2^-106 |C r|;
// - t and e are evaluated from doubles: counting the operands' roundings
//   (S.lo, C.lo, r.lo in r^3 left out), t carries at most 6 roundings of
//   2^-53 and e 10, and the sum of the low terms, ordered by size, 5 more:
//   2^-49.5 |t| <= 2^-50.4 z |S| and 2^-49 |e| <= 2^-51.5 z |C r|;
// - the low terms of the second line add below 2^-76 |C r| and 2^-104 |S|;
// - the table's rounding is 2^-106 of |S| and |C|; the reduction's err counts
//   once, |C| <= 1.
// In all |result - sin(a + r)| <= (|S| + |C r|) (2^-50.4 z + 2^-73) +
// reduction_err, which also covers the two sums of the rounding test.
// Where S is not zero, |sin(a + r)| >= |S| / 2, so the relative bound is at
// worst 2^-64 (r at its largest, S small) and typically near 2^-70.
inline bool SinKernel(int64_t k, DoubleDouble r, double reduction_err, double* result) {
    const SinEntry& s = kSin[k & 511];
    const SinEntry& c = kSin[(k + 128) & 511];
    const double z = r.hi * r.hi;
    const DoubleDouble rs = Truncate26(r.hi);
    const double r1 = rs.hi;
    const double r2 = rs.lo + r.lo;
    const double p1 = c.top * r1;
    const double p2 = (c.hi - c.top) * r1;
    const double z2 = z * z;  // Estrin's scheme: shorter chains of dependent operations
    const double t = s.hi * (z * ((-0.5 + z * (1.0 / 24)) + z2 * (-1.0 / 720)) - r.hi * r.lo);
    const double e =
        c.hi * z * (r.hi * ((-1.0 / 6 + z * (1.0 / 120)) + z2 * (-1.0 / 5040)) - 0.5 * r.lo);
    const DoubleDouble lead = TwoSum(s.hi, p1);
    const double low = ((lead.lo + s.lo) + (c.hi * r2 + c.lo * r.hi)) + (p2 + (t + e));
    const DoubleDouble sum = FastTwoSum(lead.hi, low);
    const double err =
        (std::fabs(s.hi) + std::fabs(p1)) * (0x1.8p-51 * z + 0x1p-73) + reduction_err;
    return RoundsToOne(sum.hi, sum.lo, err, result);
}

// Arguments outside [2^-26, 2^16) and those the fast path leaves undecided.
SELVORA_NOINLINE double SinRare(double x) {
    const double ax = std::fabs(x);
    // sin x = x - x^3/6 + ...; below 2^-26, x^2/6 < 2^-54.5 is less than half
    // an ulp of x even when x is a power of two, so sin x rounds to x (zeros
    // keep their sign, subnormals stay as they are).
    if (ax < 0x1p-26) return x;
    if (!(ax <= 0x1.fffffffffffffp1023)) return x - x;  // NaN for inf and NaN
    if (ax >= 0x1p16) {
        Reduction red = ReduceLarge(ax);
        if (x < 0) red.k = -red.k, red.r = {-red.r.hi, -red.r.lo};
        double result;
        if (SinKernel(red.k, red.r, red.err, &result)) return result;
    }
    return precise::Sin(x);
}

SELVORA_NOINLINE double CosRare(double x) {
    const double ax = std::fabs(x);
    // cos x = 1 - x^2/2 + ...; below 2^-27, x^2/2 < 2^-55 is less than half of
    // the ulp of 1 - 2^-53 (the double below 1), so cos x rounds to 1.
    if (ax < 0x1p-27) return 1.0;
    if (!(ax <= 0x1.fffffffffffffp1023)) return x - x;
    if (ax >= 0x1p16) {
        const Reduction red = ReduceLarge(ax);
        double result;
        if (SinKernel(red.k + 128, red.r, red.err, &result)) return result;
    }
    return precise::Cos(x);
}

// True for 2^(low) <= |x| < 2^16, the range of the fast path.
inline bool InFastRange(double x, int low) {
    const uint32_t e = static_cast<uint32_t>(BitsOf(x) >> 52) & 0x7ff;
    return e - static_cast<uint32_t>(1023 + low) < static_cast<uint32_t>(16 - low);
}

}  // namespace

double Sin(double x) {
    double result;
    if (InFastRange(x, -26)) {
        const Reduction red = ReduceSmall(x);
        if (SinKernel(red.k, red.r, red.err, &result)) return result;
    }
    return SinRare(x);
}

// cos x = sin(x + pi/2): the same kernel, 128 steps on.
double Cos(double x) {
    double result;
    if (InFastRange(x, -27)) {
        const Reduction red = ReduceSmall(x);
        if (SinKernel(red.k + 128, red.r, red.err, &result)) return result;
    }
    return CosRare(x);
}

}  // namespace math
}  // namespace selvora
