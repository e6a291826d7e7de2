// The 128-bit division the compiler calls for __int128 operands (clang's
// run-time support library, which Debian has no build of for this target,
// would bring them): long division, one bit at a time.
typedef __int128 i128;
typedef unsigned __int128 u128;

static u128 divide(u128 dividend, u128 divisor, u128* remainder) {
    if (divisor == 0) __builtin_trap();  // as the hardware division would
    u128 quotient = 0, rest = 0;
    for (int bit = 127; bit >= 0; --bit) {
        rest = (rest << 1) | ((dividend >> bit) & 1);
        if (rest >= divisor) {
            rest -= divisor;
            quotient |= (u128)1 << bit;
        }
    }
    *remainder = rest;
    return quotient;
}

static u128 magnitude(i128 value) { return value < 0 ? -(u128)value : (u128)value; }

u128 __udivti3(u128 a, u128 b) {
    u128 rest;
    return divide(a, b, &rest);
}

u128 __umodti3(u128 a, u128 b) {
    u128 rest;
    divide(a, b, &rest);
    return rest;
}

// Truncating towards zero: the remainder takes the dividend's sign.
i128 __divti3(i128 a, i128 b) {
    u128 rest;
    u128 q = divide(magnitude(a), magnitude(b), &rest);
    return (a < 0) != (b < 0) ? -(i128)q : (i128)q;
}

i128 __modti3(i128 a, i128 b) {
    u128 rest;
    divide(magnitude(a), magnitude(b), &rest);
    return a < 0 ? -(i128)rest : (i128)rest;
}
