#!/usr/bin/python3
"""Writes src/kernel/arc_tangent_table.h: atan(i/256) and cos(atan(i/256)) =
1/sqrt(1 + (i/256)^2) for i = 0..256 as double-doubles, the Taylor expansions
of atan around the same points, and the constants pi/2 (double-double) and
3pi/4 (rounded) that the arc tangent functions use.

The expansions' coefficients come from those of f = atan' = 1 / (1 + x^2),
f(a + h) = sum b_k h^k, which satisfies (1 + x^2) f' = -2x f; comparing the
coefficients of h^k gives

    b_0 = 1 / (1 + a^2),   b_(k+1) = -(2a b_k + b_(k-1)) / (1 + a^2)   (b_(-1) = 0),

and T_k = b_(k-1) / k for k >= 1. The leading part of T_1 is T_1 rounded to
26 significant bits (its products with the two halves of a split h are
exact). The script checks the bounds that arc_tangent.cpp's comments use
and prints them.

Each value is computed with GNU MPFR (through gmpy2) at 400 bits and rounded
to nearest twice: hi = RN(v), lo = RN(v - hi), so |hi + lo - v| <= 2^-53 |lo|
<= 2^-106 |v|. Run it with /usr/bin/python3 (the Debian python3-gmpy2):

    /usr/bin/python3 tools/generate_arc_tangent_table.py src/kernel/arc_tangent_table.h
"""

import math
import subprocess
import sys

import gmpy2
from gmpy2 import mpfr

from mpfr_doubles import literal, round_to_double, split
from taylor_expansions import (DEGREE, EPS, expansion_row, higher_terms, round_to_bits,
                               tail_bound, worst_evaluation_ratio)

WORK_PRECISION = 400
TABLE_STEP_BITS = 8  # points c_i = i / 2^8


def table_rows(values):
    """The rows {hi, lo}, // i, their comments aligned as clang-format does."""
    entries = ["    {%s, %s}," % (literal(hi), literal(lo)) for hi, lo in values]
    width = max(len(e) for e in entries)
    return ["%s  // %d" % (e.ljust(width), i) for i, e in enumerate(entries)]


# The largest |h| = |z - c| the expansions are used at: |RN(z) - c| <= 2^-9
# plus the low part of z, and the rounding of h itself.
MAX_H = mpfr(2) ** -9 * (1 + mpfr(2) ** -40)
LEAD_BITS = 26


def coefficients(a, count):
    """T_0..T_(count-1) of atan around a, as MPFR numbers."""
    s = 1 + a * a
    b = [1 / s]
    for k in range(count):
        b.append(-(2 * a * b[k] + (b[k - 1] if k > 0 else 0)) / s)
    t = [gmpy2.atan(a)]
    for k in range(1, count):
        t.append(b[k - 1] / k)
    # The expansion reproduces atan near a.
    h = mpfr(2) ** -10
    assert abs(sum(t[k] * h**k for k in range(count)) - gmpy2.atan(a + h)) < mpfr(2) ** -300
    return t


def expansions(points):
    """The rows of kAtanExpansions, and the bounds they meet (printed)."""
    rows = []
    worst = {"tail": mpfr(0), "evaluation": mpfr(0), "slope": mpfr(0), "q": mpfr(0),
             "rest": mpfr(0), "T2": mpfr(0), "T3": mpfr(0)}
    for i in range(points + 1):
        t = coefficients(mpfr(i) / points, 80)
        lead = round_to_bits(t[1], LEAD_BITS)
        rest = round_to_double(t[1] - mpfr(lead))
        worst["tail"] = max(worst["tail"], tail_bound(t, MAX_H))
        worst["evaluation"] = max(worst["evaluation"], worst_evaluation_ratio(t, MAX_H))
        # |P'(h) - 2 T2 h - 3 T3 h^2| for P(h) = T2 h^2 + ... + T9 h^9, |h| <= MAX_H.
        slope_rest = sum(k * abs(t[k]) * MAX_H ** (k - 1) for k in range(4, DEGREE + 1))
        worst["slope"] = max(worst["slope"], slope_rest)
        worst["T2"] = max(worst["T2"], abs(t[2]))
        worst["T3"] = max(worst["T3"], abs(t[3]))
        worst["q"] = max(worst["q"], abs(higher_terms(t, MAX_H)), abs(higher_terms(t, -MAX_H)))
        worst["rest"] = max(worst["rest"], abs(mpfr(rest)) / t[1])
        rows.append(expansion_row(lead, rest, t))
    print("worst tail 2^%.2f" % math.log2(float(worst["tail"])))
    print("evaluation error <= %.4f eps |q|" % float(worst["evaluation"] / EPS))
    print("|P'(h) - 2 T2 h - 3 T3 h^2| <= 2^%.3f" % math.log2(float(worst["slope"])))
    print("max |T2| %.6f, max |T3| %.6f" % (float(worst["T2"]), float(worst["T3"])))
    print("max |q| 2^%.3f, max |rest| / T1 2^%.3f" % (math.log2(float(worst["q"])),
                                                     math.log2(float(worst["rest"]))))
    return rows


def main():
    if len(sys.argv) != 2:
        sys.stderr.write("usage: generate_arc_tangent_table.py OUTPUT\n")
        return 2
    points = 1 << TABLE_STEP_BITS
    with gmpy2.local_context(gmpy2.context(), precision=WORK_PRECISION):
        pi = gmpy2.const_pi()
        half_pi = pi / 2
        three_quarter_pi = 3 * pi / 4
        table = [split(gmpy2.atan(mpfr(i) / points), WORK_PRECISION) for i in range(points + 1)]
        cosines = [split(1 / gmpy2.sqrt(1 + (mpfr(i) / points) ** 2), WORK_PRECISION)
                   for i in range(points + 1)]
    half_pi_hi, half_pi_lo = split(half_pi, WORK_PRECISION)
    three_quarter_pi_rounded = round_to_double(three_quarter_pi)
    with gmpy2.local_context(gmpy2.context(), precision=WORK_PRECISION):
        expansion_rows = expansions(points)

    lines = []
    lines.append("// Generated; do not edit by hand. Written by the command")
    lines.append("//     /usr/bin/python3 tools/generate_arc_tangent_table.py OUTPUT")
    lines.append("// with OUTPUT src/kernel/arc_tangent_table.h.")
    lines.append("//")
    lines.append("// atan(i/256) and cos(atan(i/256)) for i = 0..256 as double-doubles {hi, lo}:")
    lines.append("// hi is the value rounded to nearest, lo the rest rounded to nearest, so")
    lines.append("// hi + lo is within 2^-106 of the value, relative. Computed with GNU MPFR at")
    lines.append("// %d bits." % WORK_PRECISION)
    lines.append("#pragma once")
    lines.append("")
    lines.append('#include "kernel/double_double.h"')
    lines.append('#include "kernel/taylor_expansion.h"')
    lines.append("")
    lines.append("namespace selvora {")
    lines.append("namespace math {")
    lines.append("namespace arc_tangent {")
    lines.append("")
    lines.append("// The table's points are i / kTablePoints.")
    lines.append("constexpr int kTablePoints = %d;" % points)
    lines.append("")
    lines.append("// pi/2 as a double-double (hi = pi/2 rounded to nearest).")
    lines.append("constexpr double kHalfPiHi = %s;" % literal(half_pi_hi))
    lines.append("constexpr double kHalfPiLo = %s;" % literal(half_pi_lo))
    lines.append("// 3pi/4 rounded to nearest (atan2 of two infinities with x < 0).")
    lines.append("constexpr double kThreeQuarterPi = %s;" % literal(three_quarter_pi_rounded))
    lines.append("")
    lines.append("constexpr DoubleDouble kAtanTable[kTablePoints + 1] = {")
    lines.extend(table_rows(table))
    lines.append("};")
    lines.append("")
    lines.append("// cos(atan(i/256)) = 1 / sqrt(1 + (i/256)^2).")
    lines.append("constexpr DoubleDouble kCosAtanTable[kTablePoints + 1] = {")
    lines.extend(table_rows(cosines))
    lines.append("};")
    lines.append("")
    lines.append("// The Taylor expansions of atan to degree %d around i/256: atan'(i/256) ="
                 % DEGREE)
    lines.append("// lead + rest, lead rounded to nearest with %d significant bits, rest ="
                 % LEAD_BITS)
    lines.append("// RN(atan'(i/256) - lead); see tools/generate_arc_tangent_table.py.")
    lines.append("constexpr TaylorExpansion kAtanExpansions[kTablePoints + 1] = {")
    for i, row in enumerate(expansion_rows):
        lines.append("    // %d" % i)
        lines.append("    " + row)
    lines.append("};")
    lines.append("")
    lines.append("}  // namespace arc_tangent")
    lines.append("}  // namespace math")
    lines.append("}  // namespace selvora")
    with open(sys.argv[1], "w") as out:
        out.write("\n".join(lines) + "\n")
    # The rows of coefficients are wrapped as the project's clang-format does.
    subprocess.run(["clang-format", "-i", "--style=file", sys.argv[1]], check=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
