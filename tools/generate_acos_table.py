#!/usr/bin/python3
"""Writes src/kernel/acos_table.h: for the points a_j = j / 512, j = 0..464,
and a_j = j / 2048, j = 1856..1984, the Taylor expansion of asin around a_j,

    asin(a_j + h) = T_0 + T_1 h + T_2 h^2 + ... + T_D h^D + (tail),

pi/2 - T_0 and pi/2 + T_0 as double-doubles (hi = RN(v), lo = RN(v - hi)),
T_1 as the sum of a short leading part and a rounded rest, T_2..T_D rounded
to nearest. The coefficients come from those of f = asin' = (1 - x^2)^(-1/2),
f(a + h) = sum b_k h^k, which satisfies (1 - x^2) f' = x f; comparing the
coefficients of h^k gives

    b_0 = (1 - a^2)^(-1/2),   b_1 = a b_0 / (1 - a^2),
    b_(k+1) = ((2k + 1) a b_k + k b_(k-1)) / ((1 - a^2) (k + 1)),

and T_k = b_(k-1) / k for k >= 1. Everything is computed with GNU MPFR (through
gmpy2) at 400 bits. The script also checks the bounds that the comments of
arc_tangent.cpp use (the truncation tail, the error of the evaluation of
T_2 h^2 + ... + T_D h^D, the sizes of the terms) and prints them. Run
it with /usr/bin/python3 (the Debian python3-gmpy2):

    /usr/bin/python3 tools/generate_acos_table.py src/kernel/acos_table.h

from the top of the repository (clang-format, which formats the output, finds
the project's .clang-format from the output's directory).
"""

import math
import subprocess
import sys

import gmpy2
from gmpy2 import mpfr

from mpfr_doubles import literal, round_to_double, split
from taylor_expansions import (DEGREE, EPS, expansion_row, round_to_bits, tail_bound,
                               worst_evaluation_ratio)

WORK_PRECISION = 400
# The two ranges of points: (step bits b, first j, last j) for the points
# a_j = j / 2^b; |a| < 0.90625 uses the first, 0.90625 <= |a| < 0.96875 the
# second.
RANGES = [(9, 0, 464), (11, 1856, 1984)]


def coefficients(a, count):
    """T_0..T_(count-1) of asin around a, as MPFR numbers."""
    s = 1 - a * a
    b = [1 / gmpy2.sqrt(s)]
    b.append(a * b[0] / s)
    for k in range(1, count):
        b.append(((2 * k + 1) * a * b[k] + k * b[k - 1]) / (s * (k + 1)))
    t = [gmpy2.asin(a)]
    for k in range(1, count):
        t.append(b[k - 1] / k)
    return t


def slope_bits(j, step_bits):
    """How many significant bits the slope's leading part may have for its
    product with h to be exact, for the points a_j = j / 2^b, j >= 1: every a
    rounding to a_j is at least L = a_j - 2^-(b+1) >= 2^-(b+1), so a multiple
    of 2^(e - 52), e = floor(log2 L), and |h| <= 2^-(b+1) is a multiple of it
    below 2^(51 - b - e) (or that power of two itself): h has at most
    51 - b - e significant bits, the leading part 53 - (51 - b - e) =
    2 + b + e."""
    low = mpfr(j) / 2**step_bits - mpfr(2) ** -(step_bits + 1)
    e = int(gmpy2.floor(gmpy2.log2(low)))
    assert mpfr(2) ** e <= low
    return 2 + step_bits + e


def main():
    gmpy2.get_context().precision = WORK_PRECISION
    out = sys.argv[1]
    half_pi = gmpy2.const_pi() / 2
    values = []
    rows = []
    worst_tail = mpfr(0)
    worst_t2 = mpfr(0)
    worst_t1 = mpfr(0)
    worst_ratio_all = mpfr(0)
    worst_rest = mpfr(0)
    worst_q = mpfr(0)
    worst_bt = mpfr(0)
    points = [(b, j) for (b, first, last) in RANGES for j in range(first, last + 1)]
    for (b, j) in points:
        max_h = mpfr(2) ** -(b + 1)
        a = mpfr(j) / 2**b
        t = coefficients(a, 80)
        tail = tail_bound(t, max_h)
        worst_tail = max(worst_tail, tail)
        worst_t2 = max(worst_t2, t[2])
        worst_t1 = max(worst_t1, t[1])
        worst_ratio_all = max(worst_ratio_all, worst_evaluation_ratio(t, max_h))
        if j == 0:
            lead = 1.0
        else:
            lead = round_to_bits(t[1], slope_bits(j, b))
        rest = round_to_double(t[1] - mpfr(lead))
        worst_rest = max(worst_rest, abs(mpfr(rest)))
        worst_q = max(worst_q, sum(abs(t[k]) * max_h**k for k in range(2, DEGREE + 1)))
        worst_bt = max(worst_bt, abs(mpfr(rest)) * max_h)
        values.append(split(half_pi - t[0]))
        values.append(split(half_pi + t[0]))
        rows.append(expansion_row(lead, rest, t))
    print("worst tail 2^%.2f" % math.log2(float(worst_tail)))
    print("evaluation error <= %.4f eps |q|" % float(worst_ratio_all / EPS))
    print("max T1 %.6f max T2 %.6f" % (float(worst_t1), float(worst_t2)))
    print("max |slope rest| 2^%.3f" % math.log2(float(worst_rest)))
    print("max |q| 2^%.3f, max |rest h| 2^%.3f" % (math.log2(float(worst_q)),
                                                  math.log2(float(worst_bt))))
    with open(out, "w") as f:
        f.write("// Generated; do not edit by hand. Written by the command\n")
        f.write("//     /usr/bin/python3 tools/generate_acos_table.py OUTPUT\n")
        f.write("// with OUTPUT src/kernel/acos_table.h.\n//\n")
        f.write("// The Taylor expansions of asin to degree %d around the points a_j = j/512,\n"
                "// j = %d..%d, then a_j = j/2048, j = %d..%d\n"
                % (DEGREE, RANGES[0][1], RANGES[0][2], RANGES[1][1], RANGES[1][2]))
        f.write("// (see tools/generate_acos_table.py), computed with GNU MPFR at %d bits.\n"
                % WORK_PRECISION)
        f.write("#pragma once\n\n")
        f.write('#include "kernel/double_double.h"\n')
        f.write('#include "kernel/taylor_expansion.h"\n\n')
        f.write("namespace selvora {\nnamespace math {\nnamespace acos_table {\n\n")
        f.write("// Row i is the point i/512 for i <= kLastCoarse, then (i - kLastCoarse - 1 +\n"
                "// kFirstFine)/2048 up to kLastFine/2048.\n")
        f.write("constexpr int kLastCoarse = %d;\n" % RANGES[0][2])
        f.write("constexpr int kFirstFine = %d;\n" % RANGES[1][1])
        f.write("constexpr int kLastFine = %d;\n" % RANGES[1][2])
        f.write("constexpr int kRows = %d;\n\n" % len(points))
        f.write("// pi/2 - asin(a_j) at 2i and pi/2 + asin(a_j) at 2i + 1 for row i, as\n"
                "// double-doubles "
                "{hi, lo} (hi = RN(v), lo = RN(v - hi): within 2^-106 of v, relative).\n")
        f.write("constexpr DoubleDouble kAcosValues[2 * kRows] = {\n")
        for i, v in enumerate(values):
            if i % 2 == 0:
                f.write("    // %d\n" % (i // 2))
            f.write("    {%s, %s},\n" % (literal(v[0]), literal(v[1])))
        f.write("};\n\n")
        f.write("// The expansions of asin: asin'(a_j) = lead + rest, lead rounded to nearest\n"
                "// with at most 2 + b + e significant bits for a_j = j / 2^b,\n"
                "// e = floor(log2(a_j - 2^-(b+1))) (lead = 1 = asin'(0) for j = 0),\n"
                "// rest = RN(asin'(a_j) - lead).\n")
        f.write("constexpr TaylorExpansion kAsinExpansions[kRows] = {\n")
        for i, row in enumerate(rows):
            f.write("    // %d\n" % i)
            f.write("    %s\n" % row)
        f.write("};\n\n}  // namespace acos_table\n}  // namespace math\n"
                "}  // namespace selvora\n")
    # The rows of coefficients are wrapped as the project's clang-format does.
    subprocess.run(["clang-format", "-i", "--style=file", out], check=True)


if __name__ == "__main__":
    main()
