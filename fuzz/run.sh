#!/usr/bin/env bash
# Builds the libFuzzer targets for the image readers, the selvora tool's .poly
# reader and the tessellation interface, plain and checked (clang, in
# build-fuzz/) and runs each for a bounded time, seeded from the test images
# and Triangle's sample graph (the tessellation fuzzers start from nothing).
#
#   fuzz/run.sh
#
# FUZZ_SECONDS (default 60) is each fuzzer's running time. The script fails on
# any crash, sanitizer report, leak, out-of-memory or time-out; libFuzzer then
# leaves the reproducer as build-fuzz/artifacts/<fuzzer>/crash-*, leak-*,
# oom-* or timeout-*, which replays with `build-fuzz/fuzz/<fuzzer> <file>`.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="$root/build-fuzz"
testdata="$root/tests/data"
seconds="${FUZZ_SECONDS:-60}"

CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DSELVORA_BUILD_FUZZERS=ON -DSELVORA_BUILD_TESTS=OFF -DSELVORA_BUILD_TOOLS=OFF >/dev/null
cmake --build "$build" -j2 --target bmp_fuzzer tiff_fuzzer poly_fuzzer tessellation_fuzzer \
    checked_tessellation_fuzzer

# Scratch files of the fuzzers stay inside the build directory.
export TMPDIR="$build/tmp"
mkdir -p "$TMPDIR"
export ASAN_OPTIONS="detect_leaks=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"

status=0
# run FUZZER [SEED_DIR...] [-- LIBFUZZER_OPTION...]
run() {
    local fuzzer="$1"
    shift
    local corpus="$build/corpus/$fuzzer" artifacts="$build/artifacts/$fuzzer"
    rm -rf "$corpus"
    mkdir -p "$corpus" "$artifacts"
    touch "$build/$fuzzer.started"
    while [ $# -gt 0 ] && [ "$1" != "--" ]; do
        find "$1" -maxdepth 1 -type f -exec cp {} "$corpus/" \;
        shift
    done
    [ $# -gt 0 ] && shift  # the "--"
    echo "== $fuzzer: $(find "$corpus" -type f | wc -l) seeds, $seconds s"
    if ! "$build/fuzz/$fuzzer" "$corpus" -max_total_time="$seconds" -rss_limit_mb=2048 \
        -timeout=10 -detect_leaks=1 -print_final_stats=1 "$@" \
        -artifact_prefix="$artifacts/" >"$build/$fuzzer.log" 2>&1; then
        status=1
        tail -n 60 "$build/$fuzzer.log"
        echo "$fuzzer FAILED; reproducer(s):" >&2
        find "$artifacts" -type f -newer "$build/$fuzzer.started" >&2
        return
    fi
    grep -E '^stat::(number_of_executed_units|new_units_added|peak_rss_mb)' \
        "$build/$fuzzer.log" || true
    echo "$fuzzer: no crash"
}

run bmp_fuzzer "$testdata/bmpsuite/g" "$testdata/bmpsuite/q" "$testdata/bmpsuite/b"
run tiff_fuzzer "$testdata/libtiff-images"
run poly_fuzzer /usr/share/doc/triangle-bin
# Graphs take many bytes: inputs of any length from the start.
run tessellation_fuzzer -- -len_control=0 -max_len=1024
run checked_tessellation_fuzzer -- -len_control=0 -max_len=1024
exit "$status"
