"""Doubles from GNU MPFR values (through gmpy2), for the scripts that generate
the trigonometric functions' tables (tools/generate_*_table*.py). Run them with
/usr/bin/python3 (the Debian python3-gmpy2)."""

import gmpy2
from gmpy2 import mpfr


def round_to_double(v):
    """v rounded to the nearest double (ties to even), as a Python float."""
    with gmpy2.local_context(gmpy2.context(), precision=53,
                             round=gmpy2.RoundToNearest, emin=-1073, emax=1024,
                             subnormalize=True):
        r = +v  # rounds to the context precision
        f = float(r)
    if mpfr(f) != r:
        raise ValueError("a rounded value is not a double")
    return f


def split(v, precision=None):
    """(hi, lo) with hi = RN(v), lo = RN(v - hi): |hi + lo - v| <= 2^-106 |v|.
    The difference is taken at `precision` bits (the current context's when
    None)."""
    hi = round_to_double(v)
    if precision is None:
        rest = v - mpfr(hi)
    else:
        with gmpy2.local_context(gmpy2.context(), precision=precision):
            rest = v - mpfr(hi)
    return hi, round_to_double(rest)


def truncated(v, bits):
    """v cut toward zero to its leading `bits` significant bits."""
    exponent, mantissa = gmpy2.frexp(v)
    return float(gmpy2.floor(mantissa * 2**bits) * mpfr(2) ** (exponent - bits))


def literal(f):
    """f as a C++ literal: exact hexadecimal, 0.0 for zero."""
    if f == 0.0:
        return "0.0"
    return f.hex()
