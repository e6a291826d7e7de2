// atan, atan2 and acos, correctly rounded (math.h).
//
// All three come down to an angle
//
//     theta = Q + sigma atan(z),   z = n / d,   0 < n <= d,
//
// with Q one of 0, pi/2, pi and sigma = +-1 chosen by the quadrant: atan(x) is
// atan(|x|) for |x| <= 1 and pi/2 - atan(1/|x|) beyond; atan2 divides the
// smaller magnitude by the larger; acos(x) is pi/2 - sigma asin(|x|), or
// atan2(sqrt(1 - x^2), x) near +-1. The ways to the angle, by the table point
// c nearest z (or |x| for acos):
//   - atan and atan2 take z = n/d as a double-double (Divide: n/d and 1/d
//     side by side) and the Taylor expansion of atan around c = i/256, i >= 1
//     (AtanFromExpansion); for z <= 2^-9, c = 0 and the series of atan(z)
//     itself (Finish).
//   - acos below 0.96875 takes the Taylor expansion of asin around a point
//     j/512 or j/2048 (AcosFromExpansion), with no square root or division.
//   - acos from 0.96875 on turns the unit vector (|x|, sqrt(1 - x^2)) by
//     -atan(c), c = i/256, and finishes with the series of asin (Finish):
//     there the expansions of asin would need many more points.
// Each evaluates in double-double arithmetic (double_double.h) and gives the
// result as hi + lo with a bound err on its distance to theta; the rounding
// test RoundsToOne keeps it when every number within err of it rounds to the
// same double. The rare undecided arguments, and atan2's results below
// 2^-1021, go to the precise path (precise_math.h).
//
// Notation for the bounds: eps = 2^-53 (the unit roundoff), RN() rounding to
// nearest, theta the exact angle, taken > 0 (the sign of the argument is
// applied at the end, which is exact since rounding to nearest is symmetric).
// Lower bounds on theta that turn absolute errors into relative ones:
// theta >= atan(2^-8) - 2^-9 (1 + 2^-6) >= 0.98 2^-9 when Q = 0 and c > 0,
// theta >= |u| (1 - 2^-18) when Q = 0 and c = 0 (then u = z), and
// theta >= pi/4 - 2^-50 otherwise. In each case |u| <= 1.04 theta and
// |Q| + atan(c) + |Q + sigma atan(c)| <= 5 theta.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "kernel/acos_table.h"
#include "kernel/arc_tangent_table.h"
#include "kernel/double_double.h"
#include "kernel/math.h"
#include "kernel/precise_math.h"
#include "kernel/taylor_expansion.h"

namespace selvora {
namespace math {
namespace {

using arc_tangent::kAtanTable;
using arc_tangent::kCosAtanTable;
using arc_tangent::kHalfPiHi;
using arc_tangent::kHalfPiLo;

// Acos takes |x| below kCoarseLimit from the expansions of acos_table.h around
// the points j/512, j <= kLastCoarse, and |x| in [kCoarseLimit, kFineLimit)
// from those around j/2048, kFirstFine <= j <= kLastFine: the point nearest
// such an |x| is in the table.
constexpr double kCoarseLimit = static_cast<double>(acos_table::kLastCoarse) / 512;
static_assert(kCoarseLimit == static_cast<double>(acos_table::kFirstFine) / 2048,
              "the fine points start where the coarse ones end");
constexpr double kFineLimit = static_cast<double>(acos_table::kLastFine) / 2048;
static_assert(kCoarseLimit == 0.90625 && kFineLimit == 0.96875, "Acos's ranges");

// NearestPoint rounds to multiples of 2^-8.
static_assert(arc_tangent::kTablePoints == 256, "the table's points are i/256");

// pi as a double-double: twice pi/2, exactly; kPiHi is pi rounded to nearest.
constexpr double kPiHi = 2 * kHalfPiHi;
constexpr double kPiLo = 2 * kHalfPiLo;

// The two series an angle is finished with, F(u) = u + u^3 (c3 + c5 u^2 +
// c7 u^4) + c9 u^9 + ..., Taylor's coefficients rounded to nearest (c9, left
// out, is 1/9 for atan and 35/1152 for asin); F'(u) = 1 + slope u^2 + O(u^4).
// cube_error is the coefficient of |u.hi|^3 in Finish's error bound.
struct AtanSeries {
    static constexpr double c3 = -1.0 / 3;
    static constexpr double c5 = 1.0 / 5;
    static constexpr double c7 = -1.0 / 7;
    static constexpr double slope = -1.0;
    static constexpr double cube_error = 0x1.8p-52;  // 3 eps
};

struct AsinSeries {
    static constexpr double c3 = 1.0 / 6;
    static constexpr double c5 = 3.0 / 40;
    static constexpr double c7 = 5.0 / 112;
    static constexpr double slope = 0.5;
    static constexpr double cube_error = 0x1.8p-53;  // 1.5 eps
};

// The coefficient of |hi| in Finish's error bound, far above the terms it
// covers (below 2^-96 theta), and far below the cube term in effect.
constexpr double kRelativeError = 0x1p-90;

// a c = hi + lo exactly for a table point c = i/256 (at most 9 significant
// bits) and a product above 2^-900: Dekker's product with c as its own split.
// hi = RN(a c); ah c (35 bits) and al c (36 bits) are exact; ah c - hi is a
// multiple of ulp(a)/256 below 2^36 of them, so exact; adding al c gives the
// representable a c - hi, exactly.
inline DoubleDouble TimesPoint(double a, double c) {
    const DoubleDouble as = Truncate26(a);
    const double hi = a * c;
    return {hi, (as.hi * c - hi) + as.lo * c};
}

// a^2 = hi + lo exactly: Dekker's product of a with itself, its two equal
// cross terms added at once (their sum is Dekker's representable partial sum).
inline DoubleDouble Square(double a) {
    const DoubleDouble as = Split(a);
    const double hi = a * a;
    return {hi, ((as.hi * as.hi - hi) + 2.0 * (as.hi * as.lo)) + as.lo * as.lo};
}

// n / d for doubles n > 0 and d > 0 as q + lo, q = RN(n/d): the remainder
// n - q d divided through inv = RN(1/d) (the two divisions do not wait for each
// other). The result is within 2^-104 n/d of n/d, and |lo| <= 1.01 eps q:
//   q is within eps of n/d, so q d within 1.01 eps of n. R = n - q d is formed
//   with Dekker's product folded in (Remainder): with q and d split into
//   halves of 26 bits (Veltkamp) and w = ulp(q) ulp(d), n is a multiple of
//   2^51 w, and the partial results n - qh dh, then - ql dh, then - qh dl are
//   multiples of 2^51 w below 2^81 w, of 2^27 w below 2^79 w + 2^56 w, and of
//   2^27 w below 2^57 w: representable, so exact. Only the last step, - ql dl,
//   rounds: eps |R| <= 1.01 eps^2 n. Then RN(R inv) is within 2.01 eps of R/d:
//   in all 3.1 eps^2 n/d < 2^-104 n/d.
// No product may underflow: callers keep d in [2^-500, 2^500] and n/d above
// 2^-110.
inline double Remainder(double n, double q, double d) {
    const DoubleDouble qs = Split(q);
    const DoubleDouble ds = Split(d);
    return (((n - qs.hi * ds.hi) - qs.lo * ds.hi) - qs.hi * ds.lo) - qs.lo * ds.lo;
}

inline DoubleDouble Divide(double n, double d) {
    const double q = n / d;
    const double inv = 1.0 / d;
    return {q, Remainder(n, q, d) * inv};
}

// The table point nearest z in [0, 1 + 2^-49]: adding 1.5 * 2^44 (whose ulp is
// 2^-8) rounds z to a multiple c of 2^-8, ties to even, so |z - c| <= 2^-9;
// the sum's last significand bits are i = 256 c, and i >= 1 exactly when
// z > 2^-9.
struct TablePoint {
    int i;
    double c;
};

inline TablePoint NearestPoint(double z) {
    constexpr double kMagic = 0x1.8p44;
    const double t = z + kMagic;
    uint64_t bits;
    std::memcpy(&bits, &t, sizeof bits);
    return {static_cast<int>(bits & 0x3ff), t - kMagic};
}

// A = Q + sigma atan(c) as a double-double: q_hi + sigma t.hi = A.hi + h.lo
// exactly (FastTwoSum: |q_hi| >= pi/2 > |t.hi|, or q_hi = 0); the low parts
// (each at most 2^-52.9 of their high part) are added with two roundings of at
// most 2^-105 (|Q| + atan c). With the table's and pi/2's own errors (2^-106
// relative) A is within 2^-104 (|Q| + atan c) of Q + sigma atan(c).
inline DoubleDouble ConstantPart(double q_hi, double q_lo, double sigma, int i) {
    const DoubleDouble t = kAtanTable[i];
    const DoubleDouble h = FastTwoSum(q_hi, sigma * t.hi);
    return {h.hi, h.lo + (q_lo + sigma * t.lo)};
}

// The common end: theta = A + sigma F(v), F = atan or asin (Series), from
// v = u_hi + early + late, the caller's approximation of the exact argument,
// where
//   |u_hi| <= 2^-9 (1 + 2^-6), so s = RN(u_hi^2) <= 2^-18 (1 + 2^-5);
//   |early + late| <= 10 eps (absolute), and <= 2^-48 |u_hi| + 2^-48 theta;
//   v is within 2^-98 theta of the exact argument (the caller's terms), and A
//   within 2^-104 (|Q| + atan c) of Q + sigma atan(c) (ConstantPart).
// Stores the correctly rounded theta in *result and returns true when the
// rounding test decides. The terms of the error, with F(u_hi + l) =
// u_hi + g(u_hi) + F'(u_hi) l + O(l^2 u), g(v) = v^3 (c3 + c5 v^2 + c7 v^4):
//   g: m = RN(u_hi s) is within 2.01 eps of u_hi^3; m RN(c3) (c3 rounded
//     within 0.75 eps relative: |c3| is 1/3 or 1/6), and the sum with the part
//     (m s)(c5 + s c7) (below 2^-18.5 of it, so its own errors are negligible)
//     round once each: 4.76 eps of |c3| |u_hi|^3, which is 1.587 eps |u_hi|^3
//     for atan and 0.793 eps |u_hi|^3 for asin. The series left out after c7
//     is below |c9| s^3 |u_hi|^3 (1.01): 0.061 eps |u_hi|^3 (atan),
//     0.017 eps |u_hi|^3 (asin).
//   the low part l = early + late: slope = RN(sigma + RN(sigma slope s)) is
//     within 1.01 eps of sigma (1 + slope u_hi^2); |F'(u) - (1 + slope u^2)|
//     <= 0.4 u^4 for asin, u^4 for atan; |F''(u)| <= 2.1 |u|. With |l| <= 10 eps:
//     |l| s^2 <= 10 eps 2^-9 (1.02) |u_hi|^3 = 0.02 eps |u_hi|^3, and
//     1.01 eps |l| + 2.1 |u| l^2 below 2^-100 theta.
//   the sums: h.lo + A.lo (|h.lo| <= eps h.hi, |A.lo| <= 2.01 eps |A.hi|), and
//     the product and the sum with early, round below 2^-100 theta each; the
//     sum with sigma g, the last sum and the rounding test's inner sums round
//     by at most eps |lo| (for the test, at each end of the interval), each
//     below eps |c3| |u_hi|^3 (1.0001) + 2^-102 theta (+ eps err for the test).
// The cube terms add up to 2.67 eps |u_hi|^3 (atan), 1.33 eps |u_hi|^3 (asin),
// below 2.68 eps |m| and 1.34 eps |m|: kCubeError (3 eps, 1.5 eps) covers them
// and the roundings in forming err. The others add up to below
// 2^-98 theta + 2^-104 (5 theta) + a few 2^-100 theta < 2^-96 theta, far below
// kRelativeError |hi|. With |u_hi| <= 2^-9 (1 + 2^-6) the cube term is at most
// 2^-78.3 for atan: a relative error bound of 2^-69.3 in the worst case (theta
// near 2^-9), below 2^-77 for theta >= 1/2.
template <class Series>
inline bool Finish(DoubleDouble a, double sigma, double u_hi, double early, double late,
                   double* result) {
    const double s = u_hi * u_hi;
    const double m = u_hi * s;
    // sigma g(u_hi) = m (sigma c3) + (m s) (sigma c5 + s sigma c7); sigma = +-1,
    // so its products with the coefficients are exact and come early.
    const double sigma_g =
        m * (sigma * Series::c3) + (m * s) * (sigma * Series::c5 + s * (sigma * Series::c7));
    // FastTwoSum needs a.hi >= |u_hi| or a.hi = 0: a.hi >= RN(atan(2^-8)) >
    // 2^-9 (1 + 2^-6) when c > 0, a.hi >= pi/4 when Q > 0, a.hi = 0 otherwise.
    const DoubleDouble h = FastTwoSum(a.hi, sigma * u_hi);
    const double slope = sigma + (sigma * Series::slope) * s;
    // The terms are added in the order they come, the last one last.
    const double lo = (((h.lo + a.lo) + early * slope) + sigma_g) + late * slope;
    const double err = Series::cube_error * std::fabs(m) + kRelativeError * h.hi;
    return RoundsToOne(h.hi, lo, err, result);
}

// The quadrant of atan2 and acos: theta = Q + sigma atan(n / d), n the smaller
// of the two magnitudes (swapped: |y| > |x|).
struct Quadrant {
    double q_hi;
    double q_lo;
    double sigma;
};

// Indexed by 2 swapped + x_negative, so that the choice takes no branch (with
// random signs a branch would be mispredicted half the time).
constexpr Quadrant kQuadrants[4] = {
    {0.0, 0.0, 1.0},               // |y| <= |x|, x > 0: atan(|y| / |x|)
    {kPiHi, kPiLo, -1.0},          // |y| <= |x|, x < 0: pi - atan(|y| / |x|)
    {kHalfPiHi, kHalfPiLo, -1.0},  // |y| > |x|, x > 0: pi/2 - atan(|x| / |y|)
    {kHalfPiHi, kHalfPiLo, 1.0},   // |y| > |x|, x < 0: pi/2 + atan(|x| / |y|)
};

inline const Quadrant& QuadrantOf(bool swapped, bool x_negative) {
    return kQuadrants[2 * static_cast<int>(swapped) + static_cast<int>(x_negative)];
}

// acos(x) for 2^-60 <= a = |x| < 0.96875, from the Taylor expansion of asin
// around the table point a_j nearest a (acos_table.h): a_j = j/512 (magic =
// 1.5 * 2^43, offset 0) below 0.90625, a_j = j/2048 (magic = 1.5 * 2^41, row
// j + offset) above, a_j at most 2^-10 or 2^-12 from a. Stores the correctly
// rounded acos(x) in *result and returns true when the rounding test decides.
//
// acos(x) = pi/2 + sigma asin(a), sigma = -1 for x > 0 and +1 for x < 0, and
//     acos(x) = K + sigma (lead h + rest h + q + tail),   h = a - a_j,
//     q = T2 h^2 + ... + T9 h^9,
// with K = pi/2 + sigma asin(a_j) a double-double (within 2^-104 relative),
// asin'(a_j) = lead + rest (+ at most eps |rest|), T2..T9 doubles, and |tail| <
// 2^-72.8 (the generator sums it for every point). a + magic rounds a to a_j,
// and h is exact: a itself for j = 0, and by Sterbenz for j >= 1 (a_j / 2 <= a
// <= 2 a_j). theta = acos(x) >= acos(0.96875) > 0.25.
//
// The terms, with eps = 2^-53:
//   lead h is exact: lead has at most 2 + b + e significant bits and h at most
//     51 - b - e, b = 9 or 11 and e the exponent of the smallest a that rounds
//     to a_j (acos_table.h), and lead = 1 for j = 0.
//   K.hi + sigma lead h = s.hi + s.lo exactly (FastTwoSum: K.hi > 0.25 > 2^-8 >
//     |lead h|, as asin' < 2.37 below 0.90625 and < 4.04 above, where |h| <=
//     2^-12).
//   bt = RN(rest h), |rest| < 2^-7: within eps |bt| of rest h, and within
//     2 eps |bt| of (asin'(a_j) - lead) h with rest's own error.
//   q, evaluated by Estrin's scheme: the generator bounds its error, the
//     rounding of T2..T9 included, by 8.6 eps |q| (a forward error analysis at
//     each |h| of a grid of 512 points in [-max |h|, max |h|], for every point,
//     against the exact polynomial at h).
//   v = RN(bt + q), lo = RN((s.lo + K.lo) + sigma v) and the rounding test's two
//     inner sums round by eps |v|, eps |lo| and eps (|lo| + err) each;
//     s.lo + K.lo (below 2^-51 each) rounds by 2^-104.
// With |bt| <= |v| + |q| and |lo| <= |v| + 2^-50, the error is below
// 10.6 eps |q| + 6 eps |v| + 2^-72.8 + 2^-99: err = 12 eps (|q| + |v|) +
// 0x1.7p-73 (above 2^-72.5) covers it and the roundings in forming err. The
// generator bounds |q| by 2^-17.4 and |bt| by 2^-17.01, so |v| < 2^-16.2 and
// err < 2^-65, 2^-63 relative: the test fails, and the precise path is taken,
// for about fifteen arguments in a million in [-1, 1].
inline bool AcosFromExpansion(double x, double a, double magic, int offset, double* result) {
    const double t = a + magic;
    uint64_t bits;
    std::memcpy(&bits, &t, sizeof bits);
    const int i = static_cast<int>(bits & 0x7ff) + offset;
    const TaylorExpansion& expansion = acos_table::kAsinExpansions[i];
    const DoubleDouble k = acos_table::kAcosValues[2 * i + static_cast<int>(std::signbit(x))];
    const double h = a - (t - magic);
    const double sigma = -std::copysign(1.0, x);
    const double q = HigherTerms(expansion, h);
    const double v = expansion.rest * h + q;
    const DoubleDouble s = FastTwoSum(k.hi, sigma * (expansion.lead * h));
    const double lo = (s.lo + k.lo) + sigma * v;
    const double err = 0x1.8p-50 * (std::fabs(q) + std::fabs(v)) + 0x1.7p-73;
    return RoundsToOne(s.hi, lo, err, result);
}

// theta = Q + sigma atan(z) from the Taylor expansion of atan around the table
// point c = i/256 nearest z.hi, i >= 1 (z.hi > 2^-9), and K = Q + sigma atan(c)
// (ConstantPart). z = z.hi + z.lo is within 2^-104 z of the exact ratio, with
// |z.lo| <= 1.01 eps z.hi (Divide). Stores the correctly rounded theta in
// *result and returns true when the rounding test decides. With
//     hh = z.hi - c,   atan(z) = atan(c) + T1 (hh + z.lo) + P(hh + z.lo) + tail,
//     P(h) = T2 h^2 + ... + T9 h^9,
// from arc_tangent_table.h: T1 = lead + rest, lead = atan'(c) rounded to 26
// bits and rest the rest (|rest| <= 2^-26 lead); |tail| <= 2^-92.4 (the
// generator checks it for |h| <= 2^-9 (1 + 2^-40)). hh is exact: Sterbenz, as
// z.hi > 2^-9 = c/2 for i = 1 and |z.hi - c| <= 2^-9 <= c/2 beyond.
// theta >= atan(2^-9) > 0.99 2^-9, and z <= 1.28 theta (z <= 4 atan(z) / pi
// when Q = 0; theta >= pi/4 and z <= 1 otherwise).
//
// P is evaluated at hh, available before z.lo, and z.lo enters through the
// slope: P(hh + z.lo) = P(hh) + z.lo P'(hh) + O(z.lo^2), and
// |P'(hh) - hh (2 T2 + 3 T3 hh)| <= 2^-27.3 (the generator's bound).
// The terms, with eps = 2^-53:
//   lead hh = lead hs.hi + lead hs.lo, both exact: hs.hi has 26 significant
//     bits, hs.lo 27 (Truncate26), and hh, a multiple of ulp(z.hi) >= 2^-61,
//     keeps the products far above underflow. K.hi + sigma lead hs.hi =
//     s.hi + s.lo exactly (FastTwoSum: K.hi >= RN(atan 2^-8) > 2^-9 >= |hh|,
//     or K.hi >= pi/4; lead <= 1).
//   q = HigherTerms(hh) is within 8.6 eps |q| of P(hh) (the generator's bound
//     on the evaluation, the rounding of T2..T9 included).
//   the slope term z.lo (lead + hh (2 T2 + 3 T3 hh)): against z.lo (T1 +
//     P'(hh)), the left-out rest z.lo and the derivative's tail,
//     1.01 eps z (2^-26 + 2^-27.3), and the roundings, a few eps |z.lo| 2^-9
//     and eps |z.lo| lead: below 2^-77.8 z with z.lo^2 P'' (|P''| < 1).
//   v = ((lead hs.lo + rest hh) + slope term) + q: rest's own error and the
//     product's (2^-88 each), the first two sums (below 2^-34 each, so 2^-87
//     each) and the last (eps |v|).
//   lo = (s.lo + K.lo) + sigma v (2^-104 theta and eps |lo|, |lo| <= |v| +
//     3.1 eps theta), the rounding test's inner sums (eps (|lo| + err) each),
//     K's own error (2^-104 (|Q| + atan c) <= 2^-101.7 theta), Divide's
//     (2^-104 z) and the tail.
// In all below 8.6 eps |q| + 3 eps |v| + 2^-77.4 theta (z <= 1.28 theta) +
// 2^-85.4 (absolute; below 2^-76.4 theta): err = 12 eps (|q| + |v|) +
// 2^-75 s.hi covers it and the roundings in forming err, as theta <= (1 +
// 2^-10) s.hi (|q| <= 2^-19.6 and |v| below 2^-19.5 against s.hi >= 2^-9.1).
inline bool AtanFromExpansion(DoubleDouble k, double sigma, const TablePoint& t, DoubleDouble z,
                              double* result) {
    const TaylorExpansion& e = arc_tangent::kAtanExpansions[t.i];
    const double hh = z.hi - t.c;
    const double q = HigherTerms(e, hh);
    const DoubleDouble hs = Truncate26(hh);
    const DoubleDouble s = FastTwoSum(k.hi, sigma * (e.lead * hs.hi));
    const double slope = e.lead + hh * (2.0 * e.c[0] + (3.0 * e.c[1]) * hh);
    const double v = ((e.lead * hs.lo + e.rest * hh) + z.lo * slope) + q;
    const double lo = (s.lo + k.lo) + sigma * v;
    const double err = 0x1.8p-50 * (std::fabs(q) + std::fabs(v)) + 0x1p-75 * s.hi;
    return RoundsToOne(s.hi, lo, err, result);
}

// theta = Q + sigma atan(z) for z = z.hi + z.lo from Divide, 2^-110 <= z <= 1
// (z.hi <= 1 + 2^-52), the quadrant's Q and sigma. Stores the correctly
// rounded theta in *result and returns true when the rounding test decides.
inline bool AtanOfRatio(DoubleDouble z, const Quadrant& quadrant, double* result) {
    if (z.hi <= 0x1p-9) {
        // c = 0: u = z, |u| <= 2^-9 (1 + 2^-51), its low part |z.lo| <= 1.01 eps
        // and last.
        return Finish<AtanSeries>({quadrant.q_hi, quadrant.q_lo}, quadrant.sigma, z.hi, 0.0, z.lo,
                                  result);
    }
    const TablePoint t = NearestPoint(z.hi);
    return AtanFromExpansion(ConstantPart(quadrant.q_hi, quadrant.q_lo, quadrant.sigma, t.i),
                             quadrant.sigma, t, z, result);
}

// atan2 when an argument is a zero or an infinity (no NaN), as C's
// Annex F has them.
double Atan2ZeroOrInfinity(double y, double x) {
    const bool x_negative = std::signbit(x);
    if (y == 0.0) return x_negative ? std::copysign(kPiHi, y) : y;  // +-0 or +-pi
    if (std::isinf(y)) {
        if (std::isinf(x)) {
            return std::copysign(x_negative ? arc_tangent::kThreeQuarterPi : 0.5 * kHalfPiHi, y);
        }
        return std::copysign(kHalfPiHi, y);
    }
    if (x == 0.0) return std::copysign(kHalfPiHi, y);
    // x infinite, y finite and nonzero.
    return x_negative ? std::copysign(kPiHi, y) : std::copysign(0.0, y);
}

}  // namespace

double Atan(double x) {
    const double a = std::fabs(x);
    if (!(a < 0x1p100)) {
        if (a != a) return x + x;
        // atan(a) = pi/2 - atan(1/a) lies in (pi/2 - 2^-100, pi/2): pi/2 is
        // 2^-53.9 above its rounding kHalfPiHi and the midpoints next to
        // kHalfPiHi are 2^-53 away from it, so all of it rounds to kHalfPiHi.
        return std::copysign(kHalfPiHi, x);
    }
    if (a < 0x1p-27) {
        // atan(a) lies in (a - a^3/3, a), a^3/3 < 2^-54 a. The midpoint below a
        // is more than 2^-54 a away from it (a - ulp(a)/2 with ulp(a) > 2^-53 a,
        // or a (1 - 2^-54) when a is a power of two), so atan(a) rounds to a;
        // subnormal a too, their ulp being larger still relative to a.
        return x;
    }
    // atan(a) = atan(a / 1) for a <= 1, pi/2 - atan(1 / a) beyond.
    const DoubleDouble z = a <= 1.0 ? DoubleDouble{a, 0.0} : Divide(1.0, a);
    double r;
    if (AtanOfRatio(z, QuadrantOf(a > 1.0, false), &r)) {
        return std::copysign(r, x);
    }
    // atan(x) = atan2(x, 1) for every finite nonzero x.
    return precise::Atan2(x, 1.0);
}

double Atan2(double y, double x) {
    if (x != x || y != y) return x + y;
    const double ax = std::fabs(x);
    const double ay = std::fabs(y);
    if (ay == 0.0 || ax == 0.0 || std::isinf(ax) || std::isinf(ay))
        return Atan2ZeroOrInfinity(y, x);

    const bool swapped = ay > ax;
    const double n = std::min(ax, ay);
    const double d = std::max(ax, ay);
    const Quadrant& quadrant = QuadrantOf(swapped, std::signbit(x));
    // Scale n and d by the same power of two (z = n/d does not change) so that
    // 2^-500 <= d <= 2^500 and Divide's products neither overflow nor
    // underflow. Exactly, but for n < 2^-422 when d > 2^500: then z < 2^-922,
    // and the tiny-ratio case takes z from the unscaled values. Otherwise
    // z >= 2^-54 keeps n above 2^-555.
    double ns = n;
    double ds = d;
    if (d > 0x1p500) {
        ns *= 0x1p-600;
        ds *= 0x1p-600;
    } else if (d < 0x1p-500) {
        ns *= 0x1p600;
        ds *= 0x1p600;
    }
    double r;
    const DoubleDouble z = Divide(ns, ds);
    if (z.hi < 0x1p-54) {
        // A tiny ratio, z < 2^-54 (z.hi = RN(z); or z < 2^-922 when scaling
        // rounded n). zh = RN(z), from the unscaled magnitudes.
        const double zh = n / d;
        if (quadrant.q_hi == 0.0) {
            // theta = atan(z) lies in [z - z^3/3, z]. Write n = N 2^e,
            // d = D 2^f (N, D < 2^53 integers) and let m = M 2^k (M odd,
            // 2^53 < M < 2^54) be a midpoint between two normal doubles:
            // n - m d is a nonzero multiple of 2^min(e, k + f) (nonzero since M
            // cannot divide N), so |z - m| >= 2^-53 z or >= 2^k / D > 2^-107 m.
            // Then no midpoint lies in [z - z^3/3, z], as z^2/3 < 2^-107 (1 - z^2)
            // for z < 2^-53.3, and theta rounds as z does: to zh. That needs
            // every midpoint near z to lie between normal doubles, so
            // zh >= 2^-1021; smaller results (subnormal, where a ratio can be
            // exactly a midpoint) go to the precise path.
            if (zh >= 0x1p-1021) return std::copysign(zh, y);
            return precise::Atan2(y, x);
        }
        // theta = Q + sigma atan(z), Q >= pi/2: q_hi + RN(q_lo + sigma zh) is
        // within 2^-104.3 (Q's double-double), 2^-106 (the rounding,
        // |q_lo + sigma zh| < 2^-52.9) and 2^-107 + z^3/3 (|atan z - zh| <=
        // |z - zh| + z^3/3) of theta: err = 2^-100 covers these and the
        // rounding test's own sums (2^-106).
        const double lo = quadrant.q_lo + quadrant.sigma * zh;
        if (RoundsToOne(quadrant.q_hi, lo, 0x1p-100, &r)) return std::copysign(r, y);
        return precise::Atan2(y, x);
    }
    if (AtanOfRatio(z, quadrant, &r)) return std::copysign(r, y);
    return precise::Atan2(y, x);
}

double Acos(double x) {
    const double a = std::fabs(x);
    if (!(a < 1.0)) {
        if (a == 1.0) return x > 0.0 ? 0.0 : kPiHi;
        if (x != x) return x + x;
        return std::numeric_limits<double>::quiet_NaN();  // |x| > 1
    }
    double r;
    if (a < 0x1p-60) {
        // acos(x) = pi/2 - asin(x), |asin(x) - x| <= |x|^3 / 6 < 2^-180: the sum
        // kHalfPiHi + RN(kHalfPiLo - x) is within 2^-107 (pi/2's double-double)
        // + 2^-106.8 (the rounding) + 2^-180 of it; err = 2^-100 covers these
        // and the rounding test's own sums.
        if (RoundsToOne(kHalfPiHi, kHalfPiLo - x, 0x1p-100, &r)) return r;
        return precise::Acos(x);
    }
    if (a < kFineLimit) {
        // Below 0.96875 (31 arguments in 32 in [-1, 1]), without square root or
        // division: AcosFromExpansion, with the points j/512 below 0.90625 and
        // j/2048 above. Adding 1.5 * 2^43 (whose ulp is 2^-9) or 1.5 * 2^41
        // (ulp 2^-11) rounds a to the nearest point a_j, ties to even, and the
        // sum's last significand bits are j.
        const bool coarse = a < kCoarseLimit;
        const double magic = coarse ? 0x1.8p43 : 0x1.8p41;
        const int offset = coarse ? 0 : acos_table::kLastCoarse + 1 - acos_table::kFirstFine;
        if (AcosFromExpansion(x, a, magic, offset, &r)) return r;
        return precise::Acos(x);
    }
    // acos(x) is the angle of the unit vector (a, sqrt(S)), S = 1 - a^2 >= 2^-52,
    // or pi minus it for x < 0. With d the larger and n the smaller of its two
    // coordinates, phi = atan(n/d), and c = i/256 near n/d, the vector turned by
    // -atan(c) is a unit vector again, whose second coordinate is the sine of
    // phi - atan(c):
    //     phi = atan(c) + asin(y),   y = cos(atan c) (n - c d),   |y| <= |u|,
    // with u = (n/d - c) / (1 + c n/d) as in atan2: no division is needed.
    //
    // sh approximates sqrt(S): sa = RN(RN(1 - a) RN(1 + a)) is within 3.01 eps
    // of S, sh = RN(sqrt(sa)) within 2.51 eps of sqrt(S). The reciprocals
    // 1/sa and 1/a are computed alongside the square root.
    const double sa = (1.0 - a) * (1.0 + a);
    const double sh = std::sqrt(sa);
    const double inv_sa = 1.0 / sa;
    const double inv_a = 1.0 / a;
    // sqrt(S) = sh + sl, sl from the remainder e = S - sh^2 = 1 - a^2 - sh^2,
    // |e| <= 5.03 eps S. With a^2 = A.hi + A.lo and sh^2 = B.hi + B.lo exactly
    // (Square), E = 1 - A.hi - B.hi is formed exactly when a >= 2^-10
    // (A.hi >= 2^-20). When big = max(A.hi, B.hi) >= 1/2, as (1 - big) - small:
    // for big = A.hi, 1 - A.hi = S + A.lo (|A.lo| <= 2^-54 <= S/4) is exact and
    // B.hi within a factor 1.3 of it; for big = B.hi, 1 - B.hi is exact and
    // within 6.1 eps of A.hi (Sterbenz each time). Otherwise both lie within
    // 6 eps of 1/2 (their sum is within 3.1 eps of 1), and (1/2 - big) +
    // (1/2 - small) is exact; this form is needed for at most a few a near
    // 1/sqrt(2), if any. (For a < 2^-10, sl is only ever multiplied by 0 below.)
    // Then e = (E - A.lo) - B.lo rounds twice, at most 11 eps^2 S in all (each
    // partial result is below 6.03 eps S). sqrt(S) = sh + e / (2 sh) -
    // e^2 / (8 sh^3) + ..., the last term below 3.2 eps^2 sh. 1/sh is taken as
    // inv_s = RN(sh RN(1/sa)), within 4.02 eps; so sl is taken as e inv_s / 2.
    const DoubleDouble a2 = Square(a);
    const DoubleDouble s2 = Square(sh);
    const double big = std::max(a2.hi, s2.hi);
    const double small = std::min(a2.hi, s2.hi);
    const double exact = big >= 0.5 ? (1.0 - big) - small : (0.5 - big) + (0.5 - small);
    const double e = (exact - a2.lo) - s2.lo;
    const double inv_s = sh * inv_sa;

    // n and d, compared through sh (n/d may then exceed 1 by 2^-50: i = 256,
    // and the bounds hold all the same): n = n_hi + n.lo, d = d_hi + d.lo, one
    // of the low parts sl and the other zero. The ratio zh, shrunk by 1 - 2^-16,
    // is the smaller of sh RN(k/a) and sh RN(RN(k a) / sa), k = 1 - 2^-16
    // (which is smaller matters only when sh and a are within 4.02 eps): within
    // 6.03 eps of k n_hi / d_hi. So |z - c| <= 2^-9 + 2^-16 + 2^-49 for
    // z = n/d, |u| <= 2^-9 (1 + 2^-6); and i >= 1, that is zh > 2^-9, implies
    // n_hi / d_hi > 2^-9, as Atan2's argument for n_hi - p.hi needs. n_hi >=
    // 2^-60 and d_hi >= 0.7: no product below underflows.
    const bool swapped = sh > a;
    const double n_hi = std::min(sh, a);
    const double d_hi = std::max(sh, a);
    constexpr double kShrink = 1.0 - 0x1p-16;
    const double zh = std::min(sh * (kShrink * inv_a), sh * ((kShrink * a) * inv_sa));
    const Quadrant& quadrant = QuadrantOf(swapped, std::signbit(x));
    const TablePoint t = NearestPoint(zh);
    // y = C (n - c d), C = cos(atan c) = C.hi + C.lo (the table's, 2^-106
    // relative), as u_hi + early + late: c d_hi = p.hi + p.lo exactly,
    // n1 = n_hi - p.hi is exact as in Atan2, n1 C.hi = u_hi + yp.lo exactly
    // (TwoProduct), and n - c d = n1 - p.lo + f sl*, where sl* = sqrt(S) - sh and
    // f = n.lo - c d.lo over sl*: 1 (not swapped) or -c (swapped), computed
    // exactly as 1 - swapped (1 + c). So early = n1 C.lo - C.hi p.lo and
    // late = yp.lo + e (inv_s / 2) (f C.hi). Their errors: the roundings of
    // early, below 3 eps^2 (|n1| + c) <= 2^-104 (|y| + c); sl against sl*:
    // (5.5 + 3.2) eps^2 sh from e and the series, and 8.04 eps |sl| from inv_s,
    // C.hi for C and the three roundings, 29 eps^2 sh in all, times |f| C, with
    // sh <= n_hi <= c + 2^-9 (1.02) when not swapped: below 117 eps^2 theta
    // (c + 2^-9 (1.02) <= 4.02 theta when Q = 0 and c > 0; when c = 0 and not
    // swapped y is n itself and the error is relative). The table's error of C
    // adds 2^-105 |y|. In all v is within 2^-98 theta of y, and
    // |early + late| <= 5.1 eps, as Finish needs.
    const DoubleDouble p = TimesPoint(d_hi, t.c);
    const double n1 = n_hi - p.hi;
    const double f = 1.0 - static_cast<double>(swapped) * (1.0 + t.c);
    const DoubleDouble cos_c = kCosAtanTable[t.i];
    const DoubleDouble yp = TwoProduct(n1, cos_c.hi);
    // The part with sl comes last, through e: e times factors known before it.
    const double early = n1 * cos_c.lo - cos_c.hi * p.lo;
    const double late = yp.lo + e * ((0.5 * inv_s) * (f * cos_c.hi));
    if (Finish<AsinSeries>(ConstantPart(quadrant.q_hi, quadrant.q_lo, quadrant.sigma, t.i),
                           quadrant.sigma, yp.hi, early, late, &r)) {
        return r;
    }
    return precise::Acos(x);
}

}  // namespace math
}  // namespace selvora
