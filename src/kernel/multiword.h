// A small multi-precision floating-point number for the precise path of the
// trigonometric functions (precise_math.cpp): a sign, an exponent and n limbs
// of 32 bits,
//
//     value = (-1)^negative * 0.limb[0] limb[1] ... limb[n-1] * 2^exp,
//
// with the leading bit of limb[0] set unless the value is zero. The precision
// N = 32 n bits is chosen by the caller (8 to kMaxLimbs limbs) and is the same
// for all operands of an operation.
//
// Every operation computes its exact result, or enough of it, and cuts it to N
// bits (drops the bits after the N-th, rounding the magnitude down). A cut of
// a normalized mantissa loses less than one unit of its last bit, less than
// 2^(1-N) of the value; with what some operations lose before the cut (at
// most 2^(-N-24) of the result, see Add, Mul and DivSmall), every operation
// returns its exact result times (1 + d) with
//
//     |d| < u = 2^(2-N),
//
// the bound the error analyses in precise_math.cpp count in. Add, Sub,
// MulSmall and DivSmall are exact when their exact result fits in N bits; Div
// says whether it was.
//
// The arithmetic is on integers only (32x32->64-bit products, 64-bit
// divisions, no 128-bit type), apart from the correctly rounded double square
// root that starts Sqrt: the same results on every platform.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

namespace selvora {
namespace math {
namespace precise {

constexpr int kMaxLimbs = 64;

struct MultiWord {
    MultiWord() = default;
    // Copies only the limbs in use.
    MultiWord(const MultiWord& other) { *this = other; }
    MultiWord& operator=(const MultiWord& other) {
        n = other.n;
        negative = other.negative;
        zero = other.zero;
        exp = other.exp;
        for (int i = 0; i < n; ++i) limb[i] = other.limb[i];
        return *this;
    }

    int n = 0;  // limbs in use
    bool negative = false;
    bool zero = true;
    int exp = 0;
    uint32_t limb[kMaxLimbs];  // limb[n] and after are not used
};

namespace multiword_detail {

// The number of leading zero bits of w != 0.
inline int LeadingZeros(uint32_t w) {
    int k = 0;
    while ((w & 0x80000000u) == 0) {
        w <<= 1;
        ++k;
    }
    return k;
}

// Sets *out to (-1)^negative * 0.buf[0] buf[1] ... buf[len-1] * 2^exp cut to
// n limbs after normalization. Returns true when the cut dropped nonzero bits.
inline bool Normalize(const uint32_t* buf, int len, int exp, bool negative, int n, MultiWord* out) {
    out->n = n;
    out->negative = negative;
    int first = 0;
    while (first < len && buf[first] == 0) ++first;
    if (first == len) {
        out->zero = true;
        out->negative = false;
        out->exp = 0;
        for (int i = 0; i < n; ++i) out->limb[i] = 0;
        return false;
    }
    const int shift = LeadingZeros(buf[first]);
    out->zero = false;
    out->exp = exp - 32 * first - shift;
    for (int i = 0; i < n; ++i) {
        const int k = first + i;
        const uint32_t hi = k < len ? buf[k] : 0;
        const uint32_t lo = k + 1 < len ? buf[k + 1] : 0;
        out->limb[i] = shift == 0 ? hi : (hi << shift) | (lo >> (32 - shift));
    }
    // The bits left out: the low 32 - shift bits of buf[first + n], then the
    // limbs after it.
    bool dropped = false;
    int k = first + n;
    if (k < len) {
        if ((shift == 0 ? buf[k] : buf[k] << shift) != 0) dropped = true;
        for (++k; k < len; ++k) {
            if (buf[k] != 0) dropped = true;
        }
    }
    return dropped;
}

}  // namespace multiword_detail

inline MultiWord Zero(int n) {
    MultiWord z;
    z.n = n;
    for (int i = 0; i < n; ++i) z.limb[i] = 0;
    return z;
}

// The double d exactly (53 bits fit in any precision).
inline MultiWord FromDouble(double d, int n) {
    uint64_t bits = 0;
    static_assert(sizeof(bits) == sizeof(d), "binary64");
    std::memcpy(&bits, &d, sizeof(d));
    const int biased = static_cast<int>((bits >> 52) & 0x7ff);
    uint64_t m = bits & ((uint64_t{1} << 52) - 1);
    int scale = -1074;  // d = m * 2^scale
    if (biased != 0) {
        m |= uint64_t{1} << 52;
        scale = biased - 1075;
    }
    const uint32_t buf[2] = {static_cast<uint32_t>(m >> 32), static_cast<uint32_t>(m)};
    MultiWord r;
    multiword_detail::Normalize(buf, 2, scale + 64, (bits >> 63) != 0, n, &r);
    return r;
}

// A constant given by its leading limbs (at least n of them), cut to n limbs.
inline MultiWord FromLimbs(const uint32_t* limbs, int exp, int n) {
    MultiWord r;
    r.n = n;
    r.zero = false;
    r.exp = exp;
    for (int i = 0; i < n; ++i) r.limb[i] = limbs[i];
    return r;
}

inline MultiWord Negated(MultiWord a) {
    if (!a.zero) a.negative = !a.negative;
    return a;
}

inline MultiWord Abs(MultiWord a) {
    a.negative = false;
    return a;
}

// a * 2^k, exact.
inline MultiWord Scaled(MultiWord a, int k) {
    if (!a.zero) a.exp += k;
    return a;
}

// -1, 0 or 1 as |a| <, == or > |b|.
inline int CompareMagnitude(const MultiWord& a, const MultiWord& b) {
    if (a.zero || b.zero) return (a.zero ? 0 : 1) - (b.zero ? 0 : 1);
    if (a.exp != b.exp) return a.exp < b.exp ? -1 : 1;
    for (int i = 0; i < a.n; ++i) {
        if (a.limb[i] != b.limb[i]) return a.limb[i] < b.limb[i] ? -1 : 1;
    }
    return 0;
}

namespace multiword_detail {

// a + (-1)^flip_b b. The smaller operand is shifted into n + 1 limbs under the
// larger one (one guard limb) and cut there, which loses less than one unit of
// the guard limb, 2^(-32(n+1)) * 2^exp of the larger operand: for an effective
// addition the result is at least half the larger operand, for a subtraction
// with operands whose exponents differ by 2 or more at least a quarter of it,
// so the loss is below 2^(-N-30) of the result; with exponents 0 or 1 apart the
// shift keeps every bit. Then the cut to N bits.
inline MultiWord AddSigned(const MultiWord& a, const MultiWord& b, bool flip_b) {
    if (b.zero) return a;
    if (a.zero) {
        MultiWord r = b;
        r.negative = b.negative != flip_b;
        return r;
    }
    const int n = a.n;
    const bool b_negative = b.negative != flip_b;
    const bool a_larger = CompareMagnitude(a, b) >= 0;
    const MultiWord& big = a_larger ? a : b;
    const MultiWord& small = a_larger ? b : a;
    const int d = big.exp - small.exp;  // >= 0
    // buf[0] takes the carry, buf[1 .. n] the larger mantissa, buf[n + 1] is
    // the guard limb; sh holds the smaller mantissa aligned the same way.
    uint32_t buf[kMaxLimbs + 2];
    uint32_t sh[kMaxLimbs + 2];
    buf[0] = 0;
    sh[0] = 0;
    for (int i = 0; i < n; ++i) buf[i + 1] = big.limb[i];
    buf[n + 1] = 0;
    const int limb_shift = d / 32;
    const int bit_shift = d % 32;
    for (int i = 0; i < n + 1; ++i) {
        const int src = i - limb_shift;
        const uint32_t hi = src >= 0 && src < n ? small.limb[src] : 0;
        const uint32_t lo = src - 1 >= 0 && src - 1 < n ? small.limb[src - 1] : 0;
        sh[i + 1] = bit_shift == 0 ? hi : (hi >> bit_shift) | (lo << (32 - bit_shift));
    }
    if (a.negative == b_negative) {
        uint64_t carry = 0;
        for (int i = n + 1; i >= 0; --i) {
            const uint64_t t = uint64_t{buf[i]} + sh[i] + carry;
            buf[i] = static_cast<uint32_t>(t);
            carry = t >> 32;
        }
    } else {
        // |big| >= |small| >= the cut small: no borrow out of buf[0].
        uint32_t borrow = 0;
        for (int i = n + 1; i >= 0; --i) {
            const uint64_t t = uint64_t{buf[i]} - sh[i] - borrow;
            buf[i] = static_cast<uint32_t>(t);
            borrow = static_cast<uint32_t>(t >> 63);
        }
    }
    MultiWord r;
    Normalize(buf, n + 2, big.exp + 32, a_larger ? a.negative : b_negative, n, &r);
    return r;
}

}  // namespace multiword_detail

inline MultiWord Add(const MultiWord& a, const MultiWord& b) {
    return multiword_detail::AddSigned(a, b, false);
}

inline MultiWord Sub(const MultiWord& a, const MultiWord& b) {
    return multiword_detail::AddSigned(a, b, true);
}

// a * b: the product of the mantissas to n + 2 limbs, then the cut. Limb k of
// 0.a * 0.b (weight 2^(-32(k+1))) gets the high halves of the partial
// products a.limb[i] * b.limb[j] with i + j = k and the low halves of those
// with i + j = k - 1; the partial products with i + j >= n + 1 only reach
// limbs n + 1 and after, and are left out. They sum to less than
// n 2^(-32(n+1)) (1 + 2^-31), below n 2^(-N-30) <= 2^(-N-24) of the product
// (at least 1/4), which stays within u with the cut.
inline MultiWord Mul(const MultiWord& a, const MultiWord& b) {
    const int n = a.n;
    if (a.zero || b.zero) return Zero(n);
    uint32_t p[kMaxLimbs + 2];
    for (int k = 0; k < n + 2; ++k) p[k] = 0;
    for (int i = n - 1; i >= 0; --i) {
        uint64_t carry = 0;
        for (int j = (n - i < n - 1 ? n - i : n - 1); j >= 0; --j) {
            const uint64_t t = uint64_t{a.limb[i]} * b.limb[j] + p[i + j + 1] + carry;
            p[i + j + 1] = static_cast<uint32_t>(t);
            carry = t >> 32;
        }
        p[i] = static_cast<uint32_t>(carry);
    }
    MultiWord r;
    multiword_detail::Normalize(p, n + 2, a.exp + b.exp, a.negative != b.negative, n, &r);
    return r;
}

// a * k for an integer 1 <= k < 2^32: the exact n + 1 limb product, then the
// cut.
inline MultiWord MulSmall(const MultiWord& a, uint32_t k) {
    const int n = a.n;
    if (a.zero) return a;
    uint32_t buf[kMaxLimbs + 1];
    uint64_t carry = 0;
    for (int i = n - 1; i >= 0; --i) {
        const uint64_t t = uint64_t{a.limb[i]} * k + carry;
        buf[i + 1] = static_cast<uint32_t>(t);
        carry = t >> 32;
    }
    buf[0] = static_cast<uint32_t>(carry);
    MultiWord r;
    multiword_detail::Normalize(buf, n + 1, a.exp + 32, a.negative, n, &r);
    return r;
}

// a / k for an integer 1 <= k < 2^32: n + 2 quotient limbs by long division.
// The remainder left out is less than one unit of the last of them, below
// 2^(-N-31) of the quotient (whose leading bit is in its first two limbs).
inline MultiWord DivSmall(const MultiWord& a, uint32_t k) {
    const int n = a.n;
    if (a.zero) return a;
    // The leading limb alone needs only a 32-bit division.
    uint32_t q[kMaxLimbs + 2];
    uint64_t rem = a.limb[0] % k;
    q[0] = a.limb[0] / k;
    for (int i = 1; i < n + 2; ++i) {
        const uint64_t cur = (rem << 32) | (i < n ? a.limb[i] : 0);
        q[i] = static_cast<uint32_t>(cur / k);
        rem = cur % k;
    }
    MultiWord r;
    multiword_detail::Normalize(q, n + 2, a.exp, a.negative, n, &r);
    return r;
}

// a / b for b != 0 (Knuth's algorithm D on the mantissas; n >= 2). The
// quotient of the mantissas, in (1/2, 2), is computed to n + 2 limbs with the
// remainder left out (less than one unit of its last limb, below 2^(-N-31) of
// the quotient), then cut. *exact is set when a / b is exactly the result.
inline MultiWord Div(const MultiWord& a, const MultiWord& b, bool* exact) {
    const int n = a.n;
    if (a.zero) {
        *exact = true;
        return Zero(n);
    }
    // Little-endian limbs: v = the divisor's mantissa (its top bit set, as the
    // algorithm wants), u = the dividend's mantissa times 2^(32(n+1)) with one
    // more limb on top; q gets m + 1 = n + 2 limbs for the m + n = 2n + 1
    // limbs of the dividend.
    uint32_t v[kMaxLimbs];
    uint32_t u[2 * kMaxLimbs + 2];
    uint32_t q[kMaxLimbs + 2];
    for (int i = 0; i < n; ++i) v[i] = b.limb[n - 1 - i];
    for (int i = 0; i <= n; ++i) u[i] = 0;
    for (int i = 0; i < n; ++i) u[n + 1 + i] = a.limb[n - 1 - i];
    u[2 * n + 1] = 0;
    const int m = n + 1;
    const uint64_t base = uint64_t{1} << 32;
    for (int j = m; j >= 0; --j) {
        // Estimate the quotient limb from the top two limbs of the remainder
        // and the top limb of the divisor; the test on the next limbs makes
        // it exact or one too large.
        const uint64_t num = (uint64_t{u[j + n]} << 32) | u[j + n - 1];
        uint64_t qhat = num / v[n - 1];
        uint64_t rhat = num - qhat * v[n - 1];
        while (qhat >= base || qhat * v[n - 2] > ((rhat << 32) | u[j + n - 2])) {
            --qhat;
            rhat += v[n - 1];
            if (rhat >= base) break;
        }
        // Subtract qhat times the divisor from u[j .. j + n].
        uint64_t carry = 0;
        uint32_t borrow = 0;
        for (int i = 0; i < n; ++i) {
            const uint64_t prod = qhat * v[i] + carry;
            carry = prod >> 32;
            const uint64_t t = uint64_t{u[i + j]} - static_cast<uint32_t>(prod) - borrow;
            u[i + j] = static_cast<uint32_t>(t);
            borrow = static_cast<uint32_t>(t >> 63);
        }
        const uint64_t top = uint64_t{u[j + n]} - carry - borrow;
        u[j + n] = static_cast<uint32_t>(top);
        q[j] = static_cast<uint32_t>(qhat);
        if ((top >> 63) != 0) {
            // qhat was one too large: add the divisor back.
            --q[j];
            uint64_t c = 0;
            for (int i = 0; i < n; ++i) {
                const uint64_t t = uint64_t{u[i + j]} + v[i] + c;
                u[i + j] = static_cast<uint32_t>(t);
                c = t >> 32;
            }
            u[j + n] = static_cast<uint32_t>(u[j + n] + c);
        }
    }
    bool remainder = false;
    for (int i = 0; i < n; ++i) {
        if (u[i] != 0) remainder = true;
    }
    // q = floor(0.a / 0.b * 2^(32(n+1))), so 0.a / 0.b = 0.q * 2^32 with q
    // read as n + 2 big-endian limbs.
    uint32_t big_endian[kMaxLimbs + 2];
    for (int i = 0; i < n + 2; ++i) big_endian[i] = q[n + 1 - i];
    MultiWord r;
    const bool dropped = multiword_detail::Normalize(big_endian, n + 2, a.exp - b.exp + 32,
                                                     a.negative != b.negative, n, &r);
    *exact = !remainder && !dropped;
    return r;
}

inline MultiWord Div(const MultiWord& a, const MultiWord& b) {
    bool exact = false;
    return Div(a, b, &exact);
}

// sqrt(a) for a > 0, by Heron's iteration s <- (s + a/s) / 2 from the double
// square root of a's leading bits. If s = sqrt(a) (1 + e), the exact step gives
// sqrt(a) (1 + e^2 / (2 (1 + e))); with a/s and the sum each rounded (relative
// u, the halving is exact) the new relative error is below
// e^2 / (2 (1 - |e|)) + u/2 (1 + |e|) + u < e^2 / 1.9 + 1.6 u. The start has
// |e| < 2^-51 (a's leading 64 bits rounded to a double, 2^-53 + 2^-64 relative,
// halved by the square root, plus the square root's own rounding, 2^-53); the
// steps go on until e^2 < 2^(-N-1) = u/8, so the result has |e| < 1.7 u.
inline MultiWord Sqrt(const MultiWord& a) {
    const int n = a.n;
    if (a.zero) return a;
    // a = m * 4^h with m = 0.limb[0] limb[1] ... * 2^(exp - 2h) in [1/4, 1).
    const int h = (a.exp + (a.exp & 1)) / 2;
    double m = static_cast<double>(a.limb[0]) * 0x1p-32 + static_cast<double>(a.limb[1]) * 0x1p-64;
    if (a.exp - 2 * h != 0) m *= 0.5;
    MultiWord s = Scaled(FromDouble(std::sqrt(m), n), h);
    for (int bits = 51;; bits *= 2) {
        s = Scaled(Add(s, Div(a, s)), -1);
        if (2 * bits >= 32 * n + 1) break;
    }
    return s;
}

// The mantissa bit at position i: bit 0 is the leading bit of limb[0], bit
// N - 1 the last one; positions outside [0, N) read as zero.
inline int Bit(const MultiWord& a, int i) {
    if (i < 0 || i >= 32 * a.n) return 0;
    return static_cast<int>((a.limb[i >> 5] >> (31 - (i & 31))) & 1);
}

// Whether the mantissa bits at positions lo .. hi (inclusive, read as Bit
// does) all equal c.
inline bool BitsAll(const MultiWord& a, int lo, int hi, int c) {
    const int total = 32 * a.n;
    for (int i = lo; i <= hi;) {
        if (i < 0 || i >= total) {
            if (c != 0) return false;
            i = i < 0 ? 0 : hi + 1;
            continue;
        }
        if ((i & 31) == 0 && i + 31 <= hi) {
            if (a.limb[i >> 5] != (c != 0 ? 0xffffffffu : 0u)) return false;
            i += 32;
            continue;
        }
        if (Bit(a, i) != c) return false;
        ++i;
    }
    return true;
}

// Rounding to a double. For v != 0 with |v| in [2^(exp-1), 2^exp) the doubles
// around v are spaced by ulp = 2^q, q = max(exp - 53, -1074) (subnormal
// spacing below 2^-1022); the mantissa bits at positions 0 .. b-1, b = exp - q
// <= 53, count whole ulps, bit b is the rounding bit (worth ulp/2) and the bits
// after it the rest. For b <= 0 (|v| < 2^-1074) the positions before 0 read as
// zero: no whole ulp, and v rounds to 0 or to 2^-1074.
namespace multiword_detail {

inline int UlpPosition(const MultiWord& v) {
    const int q = v.exp - 53 > -1074 ? v.exp - 53 : -1074;
    return v.exp - q;
}

// The double (-1)^negative * i * 2^q for 0 <= i <= 2^53, q >= -1074, no
// overflow: exact, built from its bits.
inline double Compose(bool negative, uint64_t i, int q) {
    if (i == uint64_t{1} << 53) {
        i >>= 1;
        ++q;
    }
    uint64_t bits = 0;
    if (i >= uint64_t{1} << 52) {
        bits = (static_cast<uint64_t>(q + 52 + 1023) << 52) | (i - (uint64_t{1} << 52));
    } else {
        bits = i;  // q == -1074: subnormal or zero
    }
    if (negative) bits |= uint64_t{1} << 63;
    double d = 0;
    std::memcpy(&d, &bits, sizeof(d));
    return d;
}

// The whole ulps of |v| (its bits before position b).
inline uint64_t WholeUlps(const MultiWord& v, int b) {
    uint64_t i = 0;
    for (int k = 0; k < b; ++k) i = (i << 1) | static_cast<uint64_t>(Bit(v, k));
    return i;
}

}  // namespace multiword_detail

// Ziv's rounding test. z is a real number known to lie within 2^err_bits units
// of the last bit of v (that is |z - v| < 2^(err_bits + exp - N)), for instance
// because |z - v| <= 2^(err_bits - N) |v|. If every real number in that range
// rounds to the same double (to nearest, ties to even), sets *out to it and
// returns true; otherwise returns false.
//
// The doubles' rounding boundaries are the midpoints between them, the values
// whose rounding bit is 1 followed by zeros. Let P = N - 1 - err_bits, the
// position whose unit is 2^err_bits units of the last bit. If the rounding
// bit is 1 and some bit in b+1 .. P is 1, v exceeds the midpoint below it by at
// least one unit of position P, more than |z - v|: z too is above that
// midpoint, and less than a whole ulp above it (|z - v| is far below an ulp),
// so z rounds up to v's whole ulps plus one. If the rounding bit is 0 and some
// bit in b+1 .. P is 0, v is below the next midpoint by at least one unit of
// position P, and z rounds down to v's whole ulps. The other patterns
// (10...0 or 01...1 through position P) leave the decision open.
inline bool RoundToDouble(const MultiWord& v, int err_bits, double* out) {
    if (v.zero) {
        *out = 0.0;
        return true;
    }
    const int b = multiword_detail::UlpPosition(v);
    const int q = v.exp - b;
    const int last = 32 * v.n - 1 - err_bits;
    const int round_bit = Bit(v, b);
    if (BitsAll(v, b + 1, last, round_bit == 1 ? 0 : 1)) return false;
    const uint64_t whole = multiword_detail::WholeUlps(v, b);
    *out = multiword_detail::Compose(v.negative, whole + static_cast<uint64_t>(round_bit), q);
    return true;
}

// Whether v is exactly a midpoint between two consecutive doubles (or between
// 0 and 2^-1074).
inline bool IsMidpoint(const MultiWord& v) {
    if (v.zero) return false;
    const int b = multiword_detail::UlpPosition(v);
    return Bit(v, b) == 1 && BitsAll(v, b + 1, 32 * v.n - 1, 0);
}

// v rounded toward zero to a double.
inline double CutToDouble(const MultiWord& v) {
    if (v.zero) return 0.0;
    const int b = multiword_detail::UlpPosition(v);
    return multiword_detail::Compose(v.negative, multiword_detail::WholeUlps(v, b), v.exp - b);
}

}  // namespace precise
}  // namespace math
}  // namespace selvora
