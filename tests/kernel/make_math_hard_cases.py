#!/usr/bin/python3
"""Writes tests/data/math_hard_cases.txt: arguments at which sin, cos, acos,
atan and atan2 are hard to round correctly, for tests/kernel/math_test.cpp.

    /usr/bin/python3 tests/kernel/make_math_hard_cases.py [--output PATH] [--jobs N]

Needs gmpy2 (Debian's python3-gmpy2: GNU MPFR from Python), hence
/usr/bin/python3. Deterministic: fixed seeds, exact arithmetic. Four kinds:

published   the worst cases for correct rounding that Lefevre and Muller
            published for these functions (see PUBLISHED below);
midpoint    arguments whose exact value lies within 2^-20 ulp of a midpoint
            between two doubles, found two ways (both confirmed with MPFR at
            several hundred bits before they are kept):
            - where the exact value, counted in ulps of the result, moves by
              nearly a whole number of ulps from one double argument to the
              next (sin and atan near 0, cos near 0, acos near 0, atan of
              large arguments, atan2 with |x| much below |y|), its fractional
              part moves slowly and Newton's iteration on the argument's
              integer significand lands next to a midpoint, often within
              2^-40 ulp or closer;
            - elsewhere, windows of 3072 consecutive doubles: the exact value
              in ulps is interpolated by a cubic through four MPFR values
              (its remainder over the window is far below 2^-30 ulp), its
              fractional part is stepped through the window by forward
              differences in 100-bit fixed point, and the arguments it puts
              within 2^-19 ulp of a midpoint are checked exactly;
            - sin and cos of arguments above 2^20, where consecutive doubles
              are too far apart for such a model: random arguments, each
              evaluated once at 90 bits, the near ones again exactly;
reduction   for each binade [2^e, 2^(e+1)), 1 <= e <= 1023, the two doubles
            found closest to a multiple of pi/2 (from the continued fraction
            of 2^(e-52)/(pi/2): the lattice of its last convergents'
            denominators), where sin or cos is smallest and its argument
            reduction loses the most bits;
multiple    the doubles nearest to k pi/4 for k = 1..256, and to k pi/2 for
            random large k.

Each line: FUNCTIONS KIND ARGUMENT [ARGUMENT] with atan2's y before x; the
comment gives, from MPFR, how far the exact value is from the nearest
midpoint (or double), or from the multiple of pi/2.
"""

import argparse
import multiprocessing
import os
import random
import struct
import sys

import gmpy2
from gmpy2 import mpfr

# The published worst cases: V. Lefevre and J.-M. Muller, "Worst cases for
# correct rounding of the elementary functions in double precision",
# Proc. 15th IEEE Symposium on Computer Arithmetic (ARITH-15), 2001, and
# INRIA research report RR-4044 (2000); the tables extended in the
# version of 14 August 2003 (perso.ens-lyon.fr/jean-michel.muller/TMDworstcases.pdf).
# Their tables cover sin, cos, tan, arcsin, arccos and arctan on the
# domains they searched (mostly |x| below 2 to 4, arccos on [2^-11, 1)),
# for all four rounding modes: an entry is hard in round-to-nearest when its
# exact value is near a midpoint, and hard in the directed modes when it is
# near a double. Atan2 has no such table.
PUBLISHED = {
    "sin": [
        "0x1.e0000000001c2p-20", "0x1.598bae9e632f6p-7", "0x1.9283586503fe0p-5",
        "0x1.d7bdcd778049fp-5", "0x1.a202b3fb84788p-4", "0x1.d037cb27ee6dfp-3",
        "0x1.d5064e6fe82c5p-3", "0x1.fe767739d0f6dp-2", "0x1.d98c4c612718dp-1",
        "0x1.921fb54442d18p+0", "0x1.6756745770a51p+1",
    ],
    "cos": [
        "0x1.8000000000009p-23", "0x1.8000000000024p-22", "0x1.2000000000f30p-18",
        "0x1.06b505550e6b2p-9", "0x1.97ccd3d2c438fp-6", "0x1.549ec0c0c5afap-5",
        "0x1.16e534ee36580p-4", "0x1.efeef61d39ac2p-3", "0x1.feb1f7920e248p-2",
        "0x1.7cb7648526f99p-1", "0x1.c65a170474549p-1", "0x1.6b8a6273d7c21p+0",
    ],
    "acos": [
        "0x1.fd737be914578p-11", "0x1.4182199998587p-1", "0x1.e45a1c93651ecp-1",
        "0x1.f10fc61e2c78fp-1",
    ],
    "atan": [
        "0x1.e000000000546p-21", "0x1.22e8d75e2bc7fp-11", "0x1.0fc9f1fabe658p-5",
        "0x1.1bbe9c255698dp-5", "0x1.8ddd25ab90ca1p-5", "0x1.5389e6df41979p-4",
        "0x1.a933fe176b375p-3", "0x1.0f6e5d9960397p-2", "0x1.7ba49f739829fp-1",
    ],
}
# The double closest to a multiple of pi/2 of all, 6381956970095103 * 2^797
# (J.-M. Muller, "Elementary Functions: Algorithms and Implementation", the
# chapter on range reduction): the search below must find it.
PUBLISHED_REDUCTION = 6381956970095103 * 2.0**797

WORK_BITS = 400  # the precision of every evaluation below


def bits_of(x):
    return struct.unpack("<Q", struct.pack("<d", x))[0]


def from_bits(u):
    return struct.unpack("<d", struct.pack("<Q", u))[0]


def exact(x):
    return mpfr(x)  # exact: the context has more than 53 bits


def evaluate(name, args):
    if name == "sin":
        return gmpy2.sin(exact(args[0]))
    if name == "cos":
        return gmpy2.cos(exact(args[0]))
    if name == "acos":
        return gmpy2.acos(exact(args[0]))
    if name == "atan":
        return gmpy2.atan(exact(args[0]))
    return gmpy2.atan2(exact(args[0]), exact(args[1]))


def ulp_exponent(r):
    """The exponent of the ulp of the doubles around |r| (r nonzero)."""
    return max(gmpy2.get_exp(r) - 1 - 52, -1074)


def midpoint_distance(r):
    """Signed distance of |r| from the nearest midpoint, in ulps, in [-1/2, 1/2)."""
    t = gmpy2.mul_2exp(abs(r), -ulp_exponent(r))
    return t - gmpy2.floor(t) - mpfr("0.5")


def double_distance(r):
    """Distance of |r| from the nearest double, in ulps."""
    t = gmpy2.mul_2exp(abs(r), -ulp_exponent(r))
    return abs(t - gmpy2.rint(t))


def log2_text(d):
    if d == 0:
        return "exactly"
    return "2^%.1f" % float(gmpy2.log2(abs(d)))


def hard_comment(name, args):
    r = evaluate(name, args)
    if r == 0:
        return "exact"
    m, d = midpoint_distance(r), double_distance(r)
    if abs(m) <= d:
        return "%s ulp from a midpoint" % log2_text(m)
    return "%s ulp from a double" % log2_text(d)


# --- Arguments whose exact value is near a midpoint -------------------------

class Region:
    """Doubles made from one varying 64-bit pattern: args(bits) gives the
    function's arguments."""

    def __init__(self, name, start, args):
        self.name = name
        self.start = start  # rng -> bits of a first argument
        self.args = args    # bits -> argument tuple


def one(bits):
    return (from_bits(bits),)


def in_binade(rng, e, negative=False):
    """A random double in [2^e, 2^(e+1)) (normal)."""
    u = ((e + 1023) << 52) | rng.getrandbits(52)
    return u | (1 << 63 if negative else 0)


def slow_regions():
    """Regions where the exact value moves by nearly whole ulps per step."""
    regions = []
    # Below 2^-26 sin x and atan x lie within a quarter ulp of x: no midpoint.
    regions.append(Region("sin", lambda g: in_binade(g, g.randint(-26, -14)), one))
    regions.append(Region("cos", lambda g: in_binade(g, g.randint(-27, -18)), one))
    regions.append(Region("atan", lambda g: in_binade(g, g.randint(-26, -14)), one))
    regions.append(Region("atan", lambda g: in_binade(g, g.randint(22, 80)), one))
    regions.append(Region("acos", lambda g: in_binade(g, g.randint(-70, -22), g.random() < 0.5),
                          one))

    def atan2_args_for(y):
        return lambda bits: (y, from_bits(bits))

    # atan2(y, x) with |x| far below |y|: pi/2 - x/y, x varied. Each region
    # fixes its own y.
    g = random.Random(77)
    for _ in range(8):
        y = from_bits(in_binade(g, g.randint(-3, 3), g.random() < 0.5))
        regions.append(Region("atan2",
                              lambda r: in_binade(r, r.randint(-60, -22), r.random() < 0.5),
                              atan2_args_for(y)))
    return regions


def newton_midpoint(region, rng):
    """Newton's iteration on the integer bits: returns (bits, distance) or None."""
    bits = region.start(rng)
    top = bits >> 52  # sign and exponent: the iteration stays in the binade
    for _ in range(50):
        r0 = evaluate(region.name, region.args(bits))
        if r0 == 0:
            return None
        e = ulp_exponent(r0)
        f0 = gmpy2.mul_2exp(abs(r0), -e)
        f1 = gmpy2.mul_2exp(abs(evaluate(region.name, region.args(bits + 1))), -e)
        slope = f1 - f0
        fractional = slope - gmpy2.rint(slope)
        if fractional == 0:
            return None
        d = midpoint_distance(r0)
        step = int(gmpy2.rint(-d / fractional))
        if step == 0:
            break
        bits += step
        if bits >> 52 != top:
            return None
    best = None
    for b in range(bits - 3, bits + 4):
        if b >> 52 != top:
            continue
        r = evaluate(region.name, region.args(b))
        if r == 0:
            continue
        d = abs(midpoint_distance(r))
        if best is None or d < best[1]:
            best = (b, d)
    return best


WINDOW_STEP = 1024  # the four MPFR values at 0, 1024, 2048, 3072
FIXED = 100         # bits of the fixed-point fractional parts


def window_scan(name, args_of, bits0, threshold_log=-19):
    """Arguments of the window [bits0, bits0 + 3072) whose value in ulps the
    cubic model puts within 2^threshold_log of a midpoint."""
    top = bits0 >> 52
    if (bits0 + 3 * WINDOW_STEP) >> 52 != top:
        return []
    rs = [evaluate(name, args_of(bits0 + k * WINDOW_STEP)) for k in range(4)]
    if any(r == 0 for r in rs):
        return []
    e = ulp_exponent(rs[0])
    f = [gmpy2.mul_2exp(abs(r), -e) for r in rs]
    h = mpfr(WINDOW_STEP)
    d1 = f[1] - f[0]
    d2 = f[2] - 2 * f[1] + f[0]
    d3 = f[3] - 3 * f[2] + 3 * f[1] - f[0]
    coefficients = [f[0], (d1 - d2 / 2 + d3 / 3) / h, (d2 / 2 - d3 / 2) / (h * h),
                    d3 / 6 / (h * h * h)]
    scale = 1 << FIXED
    mask = scale - 1
    n = [int(gmpy2.rint(gmpy2.mul_2exp(c - gmpy2.floor(c), FIXED))) & mask for c in coefficients]
    p, q1, q2, q3 = n[0], n[1] + n[2] + n[3], 2 * n[2] + 6 * n[3], 6 * n[3]
    half = 1 << (FIXED - 1)
    near = 1 << (FIXED + threshold_log)
    hits = []
    for j in range(3 * WINDOW_STEP):
        if ((p - half + near) & mask) < 2 * near:
            hits.append(bits0 + j)
        p = (p + q1) & mask
        q1 = (q1 + q2) & mask
        q2 = (q2 + q3) & mask
    return hits


def generic_regions():
    """Regions where the cubic model of a window holds: a window spans far
    less than the scale on which the function's derivatives change (for sin
    and cos the window's length in radians, 3072 ulps of the argument, must
    stay below about 2^-18, so their windows end at 2^20)."""
    regions = []
    regions.append(("sin", lambda g: in_binade(g, g.randint(-10, 19), g.random() < 0.5), one))
    regions.append(("cos", lambda g: in_binade(g, g.randint(-10, 19), g.random() < 0.5), one))
    regions.append(("acos", lambda g: in_binade(g, g.randint(-12, -1), g.random() < 0.5), one))
    regions.append(("acos", lambda g: bits_of(1.0 - g.randint(1 << 16, 1 << 40) * 2.0**-53)
                    | (1 << 63 if g.random() < 0.5 else 0), one))
    regions.append(("atan", lambda g: in_binade(g, g.randint(-20, 40), g.random() < 0.5), one))
    return regions


PREFILTER_BITS = 90  # the random scan's first evaluation: its error is below 2^-30 ulp


def scan_job(job):
    """One worker's share (function, seed, count, mode); returns a list of
    (function, mode, arguments, distance in ulps)."""
    gmpy2.get_context().precision = WORK_BITS
    name, seed, count, mode = job
    rng = random.Random(seed)
    found = []
    limit = mpfr(2) ** -20

    def keep(function, arguments):
        d = abs(midpoint_distance(evaluate(function, arguments)))
        if d < limit:
            found.append((function, mode, arguments, d))

    if mode == "newton":
        regions = [r for r in slow_regions() if r.name == name]
        for i in range(count):
            region = regions[i % len(regions)]
            best = newton_midpoint(region, rng)
            if best is not None and best[1] < limit:
                found.append((name, mode, region.args(best[0]), best[1]))
    elif mode == "random":
        # sin and cos of large arguments, where consecutive doubles are too
        # far apart for a window's model: random arguments, each tried with
        # one evaluation of both at low precision, the near ones again at
        # full precision.
        near = mpfr(2) ** -19
        half = mpfr("0.5")
        for _ in range(count):
            x = from_bits(in_binade(rng, rng.randint(20, 1023), rng.random() < 0.5))
            gmpy2.get_context().precision = PREFILTER_BITS
            s, c = gmpy2.sin_cos(mpfr(x))
            gmpy2.get_context().precision = WORK_BITS
            for function, r in (("sin", s), ("cos", c)):
                t = gmpy2.mul_2exp(abs(r), 52 - (gmpy2.get_exp(r) - 1))
                if abs(t - gmpy2.floor(t) - half) < near:
                    keep(function, (x,))
    elif name == "atan2":
        for _ in range(count):
            y = from_bits(in_binade(rng, rng.randint(-20, 20), rng.random() < 0.5))
            xbits = in_binade(rng, rng.randint(-20, 20), rng.random() < 0.5)
            for b in window_scan(name, lambda b, y=y: (y, from_bits(b)), xbits):
                keep(name, (y, from_bits(b)))
    else:
        regions = [(start, args) for (n, start, args) in generic_regions() if n == name]
        for i in range(count):
            start, args_of = regions[i % len(regions)]
            for b in window_scan(name, args_of, start(rng)):
                keep(name, args_of(b))
    return found


# --- Doubles near multiples of pi/2 ---------------------------------------

def convergent_denominators(alpha, limit):
    """The continued fraction's convergent denominators of alpha (an mpq), up
    to the first beyond limit."""
    qs = [1, 0]  # q_-2, q_-1
    x = alpha
    while qs[-1] <= limit:
        a = x.numerator // x.denominator
        qs.append(int(a) * qs[-1] + qs[-2])
        frac = x - a
        if frac == 0:
            break
        x = 1 / frac
    return qs[2:]


def closest_to_multiples(e, half_pi, keep=2):
    """The doubles of [2^e, 2^(e+1)) found closest to a multiple of pi/2, as
    (distance, x)."""
    alpha = gmpy2.mpq(1 / half_pi) * gmpy2.mpq(2) ** (e - 52)  # x / (pi/2) = M alpha
    lo, hi = 1 << 52, 1 << 53
    qs = convergent_denominators(alpha, hi)
    candidates = set()
    for i in range(max(0, len(qs) - 4), len(qs) - 1):
        qa, qb = qs[i], qs[i + 1]
        for b in range(-200, 201):
            # a qb + b qa in range, with a near the multiple that cancels
            # the error best: try every a that the range allows when few,
            # else the ends and the middle.
            base = b * qa
            amin = -((base - lo) // qb)
            amax = (hi - 1 - base) // qb
            if amax < amin:
                continue
            picks = range(amin, amax + 1) if amax - amin < 64 else \
                list(range(amin, amin + 32)) + list(range(amax - 31, amax + 1))
            for a in picks:
                m = a * qb + base
                if lo <= m < hi:
                    candidates.add(m)
    scored = []
    for m in candidates:
        t = m * alpha
        k = (2 * t.numerator + t.denominator) // (2 * t.denominator)  # nearest integer
        distance = abs(gmpy2.mpfr(t - k)) * half_pi
        scored.append((distance, m * 2.0**(e - 52)))
    scored.sort()
    return scored[:keep]


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    parser.add_argument("--output", default=os.path.join(root, "tests", "data",
                                                         "math_hard_cases.txt"))
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--windows", type=int, default=24000,
                        help="windows scanned per function")
    parser.add_argument("--solves", type=int, default=1200,
                        help="Newton solves per function")
    parser.add_argument("--random", type=int, default=12000000,
                        help="random large arguments tried for sin and cos")
    args = parser.parse_args()
    gmpy2.get_context().precision = WORK_BITS

    lines = []

    def add(functions, kind, arguments, comment):
        text = " ".join(float.hex(a) for a in arguments)
        lines.append("%s %s %s  # %s" % (functions, kind, text, comment))

    for name, values in PUBLISHED.items():
        seen = set()
        for v in values:
            x = float.fromhex(v)
            assert float.hex(x) == float.hex(float.fromhex(v)) and x not in seen
            seen.add(x)
            add(name, "published", (x,), hard_comment(name, (x,)))

    # Near midpoints: Newton in the slow regions, windows elsewhere, a random
    # scan for sin and cos of large arguments.
    jobs = []
    for i in range(args.jobs):
        for name in ("sin", "cos", "acos", "atan", "atan2"):
            share = (args.solves + args.jobs - 1) // args.jobs
            jobs.append((name, 1000 + 17 * i + len(name), share, "newton"))
            share = (args.windows + args.jobs - 1) // args.jobs
            jobs.append((name, 5000 + 31 * i + len(name), share, "windows"))
        jobs.append(("sin/cos", 9000 + i, (args.random + args.jobs - 1) // args.jobs, "random"))
    with multiprocessing.Pool(args.jobs) as pool:
        results = pool.map(scan_job, jobs, chunksize=1)
    found = {}
    for result in results:
        for name, mode, arguments, d in result:
            found.setdefault((name, mode), {})[arguments] = d
    for name in ("sin", "cos", "acos", "atan", "atan2"):
        for mode in ("newton", "windows", "random"):
            # The closest first, at most 300 of each.
            cases = sorted(found.get((name, mode), {}).items(), key=lambda item: item[1])[:300]
            for arguments, d in cases:
                add(name, "midpoint", arguments, "%s ulp from a midpoint" % log2_text(d))
            if cases:
                print("%s: %d near midpoints (%s)" % (name, len(cases), mode), file=sys.stderr)

    # Near multiples of pi/2, one binade at a time.
    gmpy2.get_context().precision = 1400
    half_pi = gmpy2.const_pi() / 2
    reduction = []
    for e in range(1, 1024):
        for distance, x in closest_to_multiples(e, half_pi):
            reduction.append(x)
            add("sin/cos", "reduction", (x,), "2^%.1f from a multiple of pi/2" %
                float(gmpy2.log2(distance)))
    if PUBLISHED_REDUCTION not in reduction:
        print("the published closest double to a multiple of pi/2 was not found",
              file=sys.stderr)
        return 1
    rng = random.Random(4)
    quarter_pi = gmpy2.const_pi() / 4
    for k in range(1, 257):
        x = float(k * quarter_pi)  # rounded to nearest
        add("sin/cos", "multiple", (x,), "nearest to %d pi/4" % k)
    for _ in range(200):
        k = rng.getrandbits(rng.randint(20, 1000)) | 1
        x = float(k * half_pi)
        if x == float("inf"):
            continue
        add("sin/cos", "multiple", (x,), "nearest to k pi/2, k of %d bits" % k.bit_length())

    with open(args.output, "w") as out:
        out.write("# Arguments at which sin, cos, acos, atan and atan2 are hard to round\n"
                  "# correctly, read by tests/kernel/math_test.cpp, which computes their\n"
                  "# expected values with GNU MPFR. Written by\n"
                  "# tests/kernel/make_math_hard_cases.py (its comment explains each kind).\n"
                  "# The published cases: V. Lefevre and J.-M. Muller, \"Worst cases for\n"
                  "# correct rounding of the elementary functions in double precision\",\n"
                  "# ARITH-15 (2001) and INRIA RR-4044 (2000), tables extended in 2003.\n"
                  "# FUNCTIONS KIND ARGUMENT [ARGUMENT]  (atan2: y then x)\n")
        for line in lines:
            out.write(line + "\n")
    print("%s: %d cases" % (args.output, len(lines)), file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main())
