"""Taylor expansions around table points, as the arc functions' fast paths
evaluate them (src/kernel/taylor_expansion.h):

    f(a + h) = T_0 + (lead + rest) h + T_2 h^2 + ... + T_D h^D + (tail),

T_2..T_D rounded to nearest and q = T_2 h^2 + ... + T_D h^D evaluated by
Estrin's scheme. This module bounds what the comments beside the evaluation
use: the truncation tail and the evaluation's error. Shared by tools/generate_acos_table.py and
tools/generate_arc_tangent_table.py; run those with /usr/bin/python3 (the
Debian python3-gmpy2)."""

import gmpy2
from gmpy2 import mpfr

from mpfr_doubles import literal, round_to_double

DEGREE = 9
EPS = mpfr(2) ** -53
# The grid of h on which the ratios below are taken: GRID_STEPS points on
# each side of 0.
GRID_STEPS = 256


class Bound:
    """A value computed in double arithmetic: m bounds the magnitude of its exact
    counterpart, e the distance between the two (forward error analysis,
    each operation rounding by at most eps times its result)."""

    def __init__(self, m, e=mpfr(0)):
        self.m = m
        self.e = e

    def __add__(self, o):
        m = self.m + o.m
        return Bound(m, self.e + o.e + EPS * (m + self.e + o.e))

    def __mul__(self, o):
        m = self.m * o.m
        e = self.e * o.m + self.m * o.e + self.e * o.e
        return Bound(m, e + EPS * (m + e))


def evaluation_bound(t, h):
    """The bound on |q - h^2 P(h)| for q as HigherTerms computes it (Estrin's
    scheme), the coefficients T_2..T_D taken rounded (within eps of T_k), at
    |h| = h."""
    c = [Bound(abs(x), EPS * abs(x)) for x in t]
    hb = Bound(h)
    h2 = hb * hb
    h4 = h2 * h2
    e0 = c[2] + hb * c[3]
    e1 = c[4] + hb * c[5]
    e2 = c[6] + hb * c[7]
    f0 = e0 + h2 * e1
    e3 = c[8] + hb * c[9]
    f1 = e2 + h2 * e3
    p = f0 + h4 * f1
    q = h2 * p
    return q.e


def higher_terms(t, h):
    """T_2 h^2 + ... + T_D h^D, exactly (at the working precision)."""
    return sum(t[k] * h**k for k in range(2, DEGREE + 1))


def worst_evaluation_ratio(t, max_h):
    """max over a grid of h in [-max_h, max_h], h != 0, of the evaluation
    bound over |T_2 h^2 + ... + T_D h^D|."""
    worst = mpfr(0)
    for i in range(-GRID_STEPS, GRID_STEPS + 1):
        if i != 0:
            h = max_h * i / GRID_STEPS
            worst = max(worst, evaluation_bound(t, abs(h)) / abs(higher_terms(t, h)))
    return worst


def tail_bound(t, max_h):
    """A bound on |sum_(k > D) T_k h^k| for |h| <= max_h, from the coefficients
    T_0..T_(n-1) given (n well above D): the terms' magnitudes summed and
    doubled, after checking that they fall fast enough for the rest to be
    far below the doubling."""
    n = len(t)
    assert abs(t[n - 1]) * max_h ** (n - 1) < mpfr(2) ** -200
    assert abs(t[n - 1]) * max_h**2 < abs(t[n - 3]) / 16 or t[n - 3] == 0
    return 2 * sum(abs(t[k]) * max_h**k for k in range(DEGREE + 1, n))


def round_to_bits(v, bits):
    """v rounded to nearest with a significand of bits bits."""
    with gmpy2.local_context(gmpy2.context(), precision=bits,
                             round=gmpy2.RoundToNearest):
        r = +v
    f = round_to_double(r)
    assert mpfr(f) == r
    return f


def expansion_row(lead, rest, t):
    """One TaylorExpansion initializer, {lead, rest, {T_2, ..., T_D}}."""
    coefficients = ", ".join(literal(round_to_double(c)) for c in t[2:DEGREE + 1])
    return "{%s,\n     %s,\n     {%s}}," % (literal(lead), literal(rest), coefficients)
