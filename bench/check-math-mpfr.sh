#!/usr/bin/env bash
# Checks the library's sin, cos, acos, atan and atan2 (src/kernel/math.h)
# against GNU MPFR on random arguments: every result must be MPFR's correctly
# rounded one, bit for bit. Prints for each function how many arguments were
# checked, how many results were wrong (must be 0), the time and the rate,
# then the first wrong arguments (%a); exits 1 if any result was wrong.
#
#   bench/check-math-mpfr.sh [N] [FUNCTION...]
#
# N: arguments per function (1e8 or 100000000); without it 10^9 in all,
# shared by the functions checked. FUNCTION: sin cos acos atan atan2 (all by
# default). The arguments come from every random family of the tests
# (tests/kernel/math_arguments.h) in turn, each thread from its own streams,
# disjoint from the other threads' and from the tests' own arguments. sin and
# cos share their arguments and one MPFR evaluation (mpfr_sin_cos).
#
# THREADS (default: the number of cores) sets the threads. The program is
# built here with g++ -O2 and the library's floating-point flags, from the
# library's kernel sources (src/kernel/*.cpp, put in an archive so that only
# the objects the functions need are linked) and the tests' argument
# generator and MPFR wrapper, into build-math-check/ (MATH_CHECK_BUILD_DIR);
# MATH_SOURCES, a list of files, replaces src/kernel/*.cpp (to check other
# definitions of the functions). Needs libmpfr-dev (tools/setup-deps.sh
# installs it).
#
# The rate is set by MPFR: about 0.5 to 3 microseconds per correctly
# rounded value here, so 10^9 arguments take roughly 20 minutes on two cores.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${MATH_CHECK_BUILD_DIR:-$root/build-math-check}"
threads="${THREADS:-$(nproc)}"

count=""
functions=()
for arg in "$@"; do
    case "$arg" in
        sin | cos | acos | atan | atan2) functions+=("$arg") ;;
        [0-9]*) count="$arg" ;;
        *) echo "usage: bench/check-math-mpfr.sh [N] [sin|cos|acos|atan|atan2...]" >&2; exit 2 ;;
    esac
done
if [ -z "$count" ]; then
    # 10^9 in all over the functions checked.
    n=${#functions[@]}
    [ "$n" -eq 0 ] && n=5
    count=$((1000000000 / n))
fi

flags=(-std=c++17 -O2 -ffp-contract=off -fno-fast-math -Wall -Wextra
    -I"$root/include" -I"$root/src" -I"$root/tests")
mkdir -p "$build/kernel"
rm -f "$build"/kernel/*.o "$build/libkernel.a"
echo "== building $build/math_mpfr_check"
# The kernel's sources, two compilers at a time.
# shellcheck disable=SC2086  # MATH_SOURCES is a list
printf '%s\n' ${MATH_SOURCES:-"$root"/src/kernel/*.cpp} |
    xargs -P 2 -I{} sh -c 'g++ "$@" -DSELVORA_BUILDING_LIBRARY -c "{}" \
        -o "'"$build"'/kernel/$(basename "{}" .cpp).o"' sh "${flags[@]}"
ar rcs "$build/libkernel.a" "$build"/kernel/*.o
g++ "${flags[@]}" -pthread -o "$build/math_mpfr_check" "$root/bench/math_mpfr_check.cpp" \
    "$root/tests/kernel/math_arguments.cpp" "$root/tests/kernel/math_mpfr.cpp" \
    "$build/libkernel.a" -lmpfr -lgmp

echo "== $count arguments per function, $threads threads"
exec "$build/math_mpfr_check" "$root/tests/data/math_hard_cases.txt" "$count" "$threads" \
    "${functions[@]}"
