#!/usr/bin/python3
"""Writes src/kernel/arc_tangent_table.h: atan(i/256) and cos(atan(i/256)) =
1/sqrt(1 + (i/256)^2) for i = 0..256 as double-doubles, and the constants pi/2
(double-double) and 3pi/4 (rounded) that the arc tangent functions use.

Each value is computed with GNU MPFR (through gmpy2) at 400 bits and rounded
to nearest twice: hi = RN(v), lo = RN(v - hi), so |hi + lo - v| <= 2^-53 |lo|
<= 2^-106 |v|. Run it with /usr/bin/python3 (the Debian python3-gmpy2):

    /usr/bin/python3 tools/generate_arc_tangent_table.py src/kernel/arc_tangent_table.h
"""

import sys

import gmpy2
from gmpy2 import mpfr

from mpfr_doubles import literal, round_to_double, split

WORK_PRECISION = 400
TABLE_STEP_BITS = 8  # points c_i = i / 2^8


def table_rows(values):
    """The rows {hi, lo}, // i, their comments aligned as clang-format does."""
    entries = ["    {%s, %s}," % (literal(hi), literal(lo)) for hi, lo in values]
    width = max(len(e) for e in entries)
    return ["%s  // %d" % (e.ljust(width), i) for i, e in enumerate(entries)]


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
    lines.append("}  // namespace arc_tangent")
    lines.append("}  // namespace math")
    lines.append("}  // namespace selvora")
    with open(sys.argv[1], "w") as out:
        out.write("\n".join(lines) + "\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
