#!/usr/bin/env bash
# Builds the tessellation survey in Release mode (in build-bench/, as
# bench/run.sh builds the benchmarks) and runs it: OV_doTessellationChecked
# on COUNT random graphs of the kinds the triangulator alone fails on, from
# seed FIRST_SEED, each result checked. Exits non-zero when a graph gave a
# negative result or an invalid triangulation.
#
#   bench/survey-tessellation.sh [COUNT [FIRST_SEED]]    (10000 and 1 by default)
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="$root/build-bench"
count="${1:-10000}"
first="${2:-1}"

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release \
    -DSELVORA_BUILD_BENCHMARKS=ON -DSELVORA_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j2 --target tessellation_survey

"$build/bench/tessellation_survey" "$count" "$first"
