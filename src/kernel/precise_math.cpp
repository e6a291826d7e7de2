// The precise path of sin, cos, atan2 and acos (precise_math.h).
//
// Each function follows Ziv's strategy: evaluate the exact value z in the
// multi-word arithmetic of multiword.h at a precision of N bits, with an error
// bound proved below, and keep the result when every number within that bound
// rounds to the same double (RoundToDouble); otherwise evaluate again with
// twice the precision. Every result is irrational: for a rational r != 0,
// sin r, cos r and tan r are irrational (Lambert), so neither sin x, cos x,
// acos x nor atan(y/x) plus a multiple of pi/2 is rational. It is therefore
// never a midpoint between doubles and a precise enough evaluation decides it;
// the one exception in practice, atan2 of a tiny exact ratio that is itself a
// midpoint, is settled apart (Atan2). No argument tried needed more than the
// first precision, 256 bits; the larger ones are there because no bound on how
// near these functions come to a midpoint is known for every argument (atan2
// has two).
//
// Error bounds are counted in u = 2^(2-N), the bound of one operation's
// relative error (multiword.h); constants are cut to N bits, relative error
// below 2^(1-N) = u/2. Every evaluation below ends with a relative error under
// 18 u < 2^(7-N); the rounding test is given 2^(kErrBits-N) with a margin.
#include "kernel/precise_math.h"

#include <cstdint>
#include <cstring>

#include "kernel/multiword.h"
#include "kernel/precise_constants.h"

namespace selvora {
namespace math {
namespace precise {

namespace {

// The precisions tried in turn, in limbs of 32 bits: 256, 512, 1024, 2048 bits.
constexpr int kLevels[] = {8, 16, 32, kMaxLimbs};

// The evaluations' relative error bound handed to the rounding test:
// 2^(kErrBits - N) = 64 u, well above the 18 u they are shown to keep.
constexpr int kErrBits = 8;

constexpr int Log2(int k) { return k == 1 ? 0 : 1 + Log2(k / 2); }
constexpr int kAtanStepBits = Log2(kAtanSteps);
static_assert(kAtanSteps == 1 << kAtanStepBits, "the atan table steps by a power of two");

MultiWord Load(const Constant& c, int n) { return FromLimbs(c.limbs, c.exp, n); }

MultiWord One(int n) { return FromDouble(1.0, n); }

// floor(log2(k)) for k >= 1.
int FloorLog2(uint32_t k) {
    int r = 0;
    while (k > 1) {
        k >>= 1;
        ++r;
    }
    return r;
}

// When every level leaves the decision open (which no argument is known to
// do), the nearest double to the last value.
double Nearest(const MultiWord& v) {
    double d = 0.0;
    // With err_bits = -1 the test reads every bit of v: only an exact
    // midpoint is left open, and it is cut.
    if (!RoundToDouble(v, -1, &d)) d = CutToDouble(v);
    return d;
}

// ---------------------------------------------------------------------------
// sin and cos

// Payne-Hanek reduction of a double x >= 0.78: x = k pi/2 + r with
// |r| <= pi/4 (1 + 2^-200); sets *r and *quadrant = k mod 4. r has relative
// error below 2.1 u: the bits of 2/pi left out (at most u/16, checked), the
// cut of y to N bits (u/2), pi/2 cut (u/2) and the product (u).
//
// With x = m 2^e (m < 2^53 an integer), x 2/pi = sum over j of
// m kTwoOverPi[j] 2^(e - 32(j+1)); the terms with e - 32(j+1) >= 2 are
// multiples of 4 and change neither k mod 4 nor r, so the sum starts at
// limb j0 = max(0, floor((e-2)/32)) and, up to a multiple of 4, is the
// integer prod = m * (limbs j0 .. j1 read as one number) times 2^-p with
// p = 32(j1+1) - e fraction bits, plus what the limbs after j1 add:
// 0 <= delta < m 2^-p < 2^(53-p). k is the integer nearest to it and
// y = x 2/pi - k, |y| <= 1/2, so r = y pi/2. y's relative error is below
// 2^(53-p) / |y| = 2^(53-L) where 2^L is y's leading bit in units of 2^-p.
// The closest double to a multiple of pi/2 is x = 6381956970095103 2^797,
// with |y| ~ 2^-61.5 (found with continued fractions of 2/pi; see Muller,
// Elementary Functions), so |y| > 2^-63 always and j1 is chosen for
// p >= N + 149, L >= N + 86. The check L >= N + 55 (error at most
// 2^(-2-N) = u/16) does not rely on that.
bool ReduceHalfPi(double x, int n, MultiWord* r, int* quadrant) {
    uint64_t bits = 0;
    std::memcpy(&bits, &x, sizeof(x));
    const int e = static_cast<int>((bits >> 52) & 0x7ff) - 1075;  // x >= 0.78 is normal
    const uint64_t m = (bits & ((uint64_t{1} << 52) - 1)) | (uint64_t{1} << 52);
    const int big_n = 32 * n;
    const int j0 = e >= 2 ? (e - 2) / 32 : 0;
    int j1 = (e + big_n + 149 + 31) / 32 - 1;  // e >= -53: the numerator is positive
    if (j1 > kTwoOverPiLimbs - 1) j1 = kTwoOverPiLimbs - 1;
    const int count = j1 - j0 + 1;
    const int len = count + 2;  // m < 2^53 adds at most two limbs
    // prod, little-endian: prod[0] is the least significant limb.
    uint32_t prod[kTwoOverPiLimbs + 2] = {};
    const uint32_t factor[2] = {static_cast<uint32_t>(m), static_cast<uint32_t>(m >> 32)};
    for (int s = 0; s < 2; ++s) {
        uint64_t carry = 0;
        for (int i = 0; i < count; ++i) {
            const uint64_t t = uint64_t{kTwoOverPi[j1 - i]} * factor[s] + prod[i + s] + carry;
            prod[i + s] = static_cast<uint32_t>(t);
            carry = t >> 32;
        }
        for (int k = count + s; carry != 0 && k < len; ++k) {
            const uint64_t t = uint64_t{prod[k]} + carry;
            prod[k] = static_cast<uint32_t>(t);
            carry = t >> 32;
        }
    }
    const int p = 32 * (j1 + 1) - e;
    auto bit = [&](int i) -> int {
        return i >= 0 && i < 32 * len ? static_cast<int>((prod[i >> 5] >> (i & 31)) & 1) : 0;
    };
    int k = bit(p) + 2 * bit(p + 1);
    const bool upper = bit(p - 1) == 1;  // fraction >= 1/2: k + 1 is nearer
    // Keep the p fraction bits f; for the upper half |y| = 1 - f, the p-bit
    // two's complement of f.
    const int top = p >> 5;
    prod[top] &= (uint32_t{1} << (p & 31)) - 1;
    for (int i = top + 1; i < len; ++i) prod[i] = 0;
    if (upper) {
        ++k;
        uint64_t carry = 1;
        for (int i = 0; i <= top; ++i) {
            const uint64_t t = uint64_t{static_cast<uint32_t>(~prod[i])} + carry;
            prod[i] = static_cast<uint32_t>(t);
            carry = t >> 32;
        }
        prod[top] &= (uint32_t{1} << (p & 31)) - 1;
    }
    int lead = top;
    while (lead >= 0 && prod[lead] == 0) --lead;
    if (lead < 0) return false;
    const int lead_bit = 32 * lead + 31 - multiword_detail::LeadingZeros(prod[lead]);
    if (lead_bit < big_n + 55) return false;
    // |y| = 0.(bits lead_bit, lead_bit - 1, ...) * 2^(lead_bit + 1 - p), cut
    // to n limbs.
    auto limb_at = [&](int i) -> uint32_t { return i >= 0 && i < len ? prod[i] : 0; };
    MultiWord y;
    y.n = n;
    y.zero = false;
    y.exp = lead_bit + 1 - p;
    for (int i = 0; i < n; ++i) {
        const int lo = lead_bit - 32 * i - 31;  // the limb's lowest bit
        const int q = lo >= 0 ? lo / 32 : -((-lo + 31) / 32);
        const int s = lo - 32 * q;
        y.limb[i] = s == 0 ? limb_at(q) : (limb_at(q) >> s) | (limb_at(q + 1) << (32 - s));
    }
    *r = Mul(y, Load(kHalfPi, n));
    if (upper) *r = Negated(*r);
    *quadrant = k & 3;
    return true;
}

// sin r for 0 < r <= pi/4 (1 + 2^-200), known to relative error rho <= 2.1 u:
// r * p with p = 1 - s/(2*3) (1 - s/(4*5) (1 - ...)), s = r^2 (Horner's rule
// on the Taylor series).
//
// Terms: after the term s^K/(2K+1)! the series alternates with decreasing
// terms, so it is cut by less than s^(K+1)/(2K+3)! < 2^(-es (K+1)) /
// (2K+3)! (s < 2^es); K is the first with that below 2^(-N-8), i.e. u/1024 of
// p >= 0.89.
//
// Rounding: s has relative error e_s <= 2 rho + u. Each step computes
// 1 - q, q = s p_k / ((2k)(2k+1)) <= 0.617/6 < 0.103 (every p_k is in (0, 1]),
// so an error e in q is at most 0.115 e relative to 1 - q; the product, the
// division and the subtraction add u each: e_{k-1} <= u + 0.115 (e_k + e_s +
// 2u), which stays below 1.39 u + 0.13 e_s <= 2.4 u. The product r p adds rho
// and u: 2.1 u + 2.4 u + u + u/1024 < 6 u.
MultiWord SinSeries(const MultiWord& r) {
    const int n = r.n;
    const MultiWord one = One(n);
    const MultiWord s = Mul(r, r);
    // terms is K; log2_fact is a lower bound of log2((2K+3)!).
    int terms = 0;
    int log2_fact = FloorLog2(2) + FloorLog2(3);
    while (-s.exp * (terms + 1) + log2_fact < 32 * n + 8) {
        ++terms;
        log2_fact += FloorLog2(2 * terms + 2) + FloorLog2(2 * terms + 3);
    }
    MultiWord p = one;
    for (int k = terms; k >= 1; --k) {
        p = Sub(one, DivSmall(Mul(s, p), static_cast<uint32_t>((2 * k) * (2 * k + 1))));
    }
    return Mul(r, p);
}

// cos r for 0 <= r <= pi/4 (1 + 2^-200), known to relative error rho <= 2.1 u:
// p = 1 - s/(1*2) (1 - s/(3*4) (1 - ...)), s = r^2.
//
// Terms: the cut is below s^(K+1)/(2K+2)! < 2^(-es (K+1)) / (2K+2)!, below
// 2^(-N-8) relative to cos r >= 0.70.
//
// Rounding: as for sin, with q <= 0.617/12 < 0.052 in the steps k >= 2 (error
// factor 0.055: e_1 <= 1.17 u + 0.06 e_s <= 1.7 u) and q <= 0.309 in the last
// (factor 0.447): e_0 <= u + 0.447 (e_1 + e_s + 2u) <= u + 0.447 (1.7 + 5.2 + 2)
// u < 5 u, and the cut series adds u/700.
MultiWord CosSeries(const MultiWord& r) {
    const int n = r.n;
    const MultiWord one = One(n);
    if (r.zero) return one;
    const MultiWord s = Mul(r, r);
    // terms is K; log2_fact is a lower bound of log2((2K+2)!).
    int terms = 0;
    int log2_fact = FloorLog2(2);
    while (-s.exp * (terms + 1) + log2_fact < 32 * n + 8) {
        ++terms;
        log2_fact += FloorLog2(2 * terms + 1) + FloorLog2(2 * terms + 2);
    }
    MultiWord p = one;
    for (int k = terms; k >= 1; --k) {
        p = Sub(one, DivSmall(Mul(s, p), static_cast<uint32_t>((2 * k - 1) * (2 * k))));
    }
    return p;
}

double SinOrCos(double x, bool cosine) {
    const double ax = x < 0 ? -x : x;
    MultiWord v;
    for (const int n : kLevels) {
        MultiWord r;
        int k = 0;
        if (ax < 0.78) {
            r = FromDouble(ax, n);  // exact: k = 0, r = |x| < pi/4
        } else if (!ReduceHalfPi(ax, n, &r, &k)) {
            continue;
        }
        // sin(k pi/2 + r) is sin r, cos r, -sin r, -cos r for k = 0, 1, 2, 3;
        // cos(k pi/2 + r) is cos r, -sin r, -cos r, sin r.
        const bool use_cos = ((k & 1) != 0) != cosine;
        bool negative = cosine ? ((k + 1) & 2) != 0 : (k & 2) != 0;
        if (use_cos) {
            v = CosSeries(Abs(r));
        } else {
            v = SinSeries(Abs(r));
            if (r.negative) negative = !negative;
        }
        if (!cosine && x < 0) negative = !negative;
        if (negative) v = Negated(v);
        double result = 0.0;
        if (RoundToDouble(v, kErrBits, &result)) return result;
    }
    return Nearest(v);
}

// ---------------------------------------------------------------------------
// atan2 and acos

// atan w for |w| <= 1/32 + 2^-20: w p with p = 1/1 - s (1/3 - s (1/5 - ...)),
// s = w^2 (Horner's rule on the Taylor series).
//
// Terms: the series alternates with decreasing terms and is cut after
// w^(2K+1)/(2K+1) by less than |w| s^(K+1) < |w| 2^(es (K+1)) (s < 2^es,
// es <= -9); K is the first with that below 2^(-N-8) |w|, u/1024 relative to
// |atan w| >= 0.999 |w|.
//
// Rounding: for exact w (relative error e_w for a computed one), s has
// relative error e_s <= 2 e_w + u. A step computes 1/(2k+1) - s p_{k+1}: the
// quotient carries u, the product e_{k+1} + e_s + u, and the difference is at
// least (1 - s)/(2k+1) while s p_{k+1} < 0.0011/(2k+1), so
// e_k <= u + 1.001 u + 0.0011 (e_{k+1} + e_s + u), below 2.02 u + 0.0012 e_s.
// The product w p: e_w + 2.03 u + u, about e_w + 3.03 u.
MultiWord AtanSeries(const MultiWord& w) {
    const int n = w.n;
    if (w.zero) return w;
    const MultiWord one = One(n);
    const MultiWord s = Mul(w, w);
    const int minus_es = -s.exp;  // >= 9
    const int terms = (32 * n + 8 + minus_es - 1) / minus_es - 1;
    MultiWord p = DivSmall(one, static_cast<uint32_t>(2 * terms + 1));
    for (int k = terms - 1; k >= 0; --k) {
        p = Sub(DivSmall(one, static_cast<uint32_t>(2 * k + 1)), Mul(s, p));
    }
    return Mul(w, p);
}

// atan t for 0 <= t <= 1, t known to relative error eta: relative error
// below eta + 9.2 u.
//
// Reduction: with c = j/16, j the integer nearest to 16 t' for t' <= t, t cut
// to its leading limb (t - t' < 2^-31; j = 0 for t < 1/32),
//
//     atan t = atan c + atan w,   w = (t - c) / (1 + t c),
//
// and |w| <= |t - c| <= 1/32 + 2^-31.
//
// Rounding: t's error moves atan t by t eta / (1 + t^2) <= eta atan t. For
// j = 0, w = t and the series gives 3.03 u. For j > 0, t - c carries u, 1 + t c
// 2u (the product by j, and the sum), the quotient u: e_w <= 4 u and atan w
// 7.03 u. Then atan c (cut: u/2) plus atan w, plus u for the sum: j >= 1
// means 16 t' >= 1/2, so t >= 1/32, c <= t + 1/32 <= 2t and atan c <= atan 2t
// <= 2 atan t; and |atan w| <= |w| <= 1/32 + 2^-31 <= 1.01 atan(1/32) <=
// 1.01 atan t. The sum's relative error is below 2 u/2 + 1.01 * 7.03 u + u
// < 9.2 u.
MultiWord AtanUnit(const MultiWord& t) {
    const int n = t.n;
    if (t.zero) return t;
    int j = 0;
    if (t.exp >= -kAtanStepBits) {
        // 16 t = limb[0] 2^(exp - 28) (1 + less than 2^-31): j = its nearest
        // integer, for t in [2^(exp-1), 2^exp) with exp in [-4, 1].
        const int shift = 32 - kAtanStepBits - t.exp;
        j = static_cast<int>(((t.limb[0] >> (shift - 1)) + 1) >> 1);
        if (j > kAtanSteps) j = kAtanSteps;  // t <= 1 as computed: not reached
    }
    if (j == 0) return AtanSeries(t);
    const MultiWord one = One(n);
    const MultiWord c = Scaled(FromDouble(j, n), -kAtanStepBits);
    const MultiWord tc = Scaled(MulSmall(t, static_cast<uint32_t>(j)), -kAtanStepBits);
    const MultiWord w = Div(Sub(t, c), Add(one, tc));
    return Add(Load(kAtan[j], n), AtanSeries(w));
}

// The angle in [0, pi] of the point (x, y) from num = |smaller|, den =
// |larger| of |x|, |y| as AtanUnit gives it for t = num/den: a = atan t;
// pi/2 - a when |y| > |x| (swapped); pi minus that when x < 0. The result is
// at least pi/4 whenever pi/2 or pi is subtracted: each subtraction adds at
// most 2u (the constant's cut, u/2 of pi/2 or pi, is at most u of the result;
// the difference's own rounding u), 4u in all.
MultiWord AngleFromAtan(MultiWord a, bool swapped, bool x_negative) {
    const int n = a.n;
    if (swapped) a = Sub(Load(kHalfPi, n), a);
    if (x_negative) a = Sub(Scaled(Load(kHalfPi, n), 1), a);
    return a;
}

}  // namespace

double Sin(double x) {
    if (x == 0) return x;
    return SinOrCos(x, false);
}

double Cos(double x) {
    if (x == 0) return 1.0;
    return SinOrCos(x, true);
}

// atan2(y, x): t = min(|x|, |y|) / max(|x|, |y|) has relative error below u
// (one division of exact operands), so the angle's is below u + 9.2 u + 4 u
// < 15 u.
//
// The one case the rounding test cannot settle: t = |y|/|x| exactly a
// midpoint between two doubles (x > 0, |y| <= |x|). A quotient of doubles
// that is exact has at most 53 significant bits, which makes it a midpoint
// only below 2^-1022, among the subnormals; there atan t lies in
// (t - t^3/3, t), between the midpoint and the double below it, because t^3/3
// < 2^-3066 is far below the subnormal spacing 2^-1074. So the result is t
// rounded toward zero. (atan2(3 2^-1074, 2) is 2^-1074, not 2 2^-1074.)
double Atan2(double y, double x) {
    MultiWord v;
    for (const int n : kLevels) {
        const MultiWord ay = FromDouble(y < 0 ? -y : y, n);
        const MultiWord ax = FromDouble(x < 0 ? -x : x, n);
        const bool swapped = CompareMagnitude(ay, ax) > 0;
        bool exact = false;
        const MultiWord t = swapped ? Div(ax, ay, &exact) : Div(ay, ax, &exact);
        if (!swapped && x > 0 && exact && IsMidpoint(t)) {
            const double d = CutToDouble(t);
            return y < 0 ? -d : d;
        }
        v = AngleFromAtan(AtanUnit(t), swapped, x < 0);
        if (y < 0) v = Negated(v);
        double result = 0.0;
        if (RoundToDouble(v, kErrBits, &result)) return result;
    }
    return Nearest(v);
}

// acos x = atan2(s, x) with s = sqrt((1 - x)(1 + x)) >= 0. The two factors and
// their product carry u each (1 - x is exact for x >= 1/2, 1 + x for
// x <= -1/2), 3u in all, halved by the square root, which adds 1.7 u: s has
// relative error below 3.2 u, t = min(|x|, s) / max(|x|, s) below 4.2 u, and
// the angle below 4.2 u + 9.2 u + 4 u < 18 u.
double Acos(double x) {
    MultiWord v;
    for (const int n : kLevels) {
        const MultiWord one = One(n);
        const MultiWord xm = FromDouble(x, n);
        const MultiWord s = Sqrt(Mul(Sub(one, xm), Add(one, xm)));
        const MultiWord ax = Abs(xm);
        const bool swapped = CompareMagnitude(s, ax) > 0;
        const MultiWord t = swapped ? Div(ax, s) : Div(s, ax);
        v = AngleFromAtan(AtanUnit(t), swapped, x < 0);
        double result = 0.0;
        if (RoundToDouble(v, kErrBits, &result)) return result;
    }
    return Nearest(v);
}

}  // namespace precise
}  // namespace math
}  // namespace selvora
