#!/usr/bin/env bash
# Builds the benchmark programs in Release mode, runs them and prints how the
# library compares with the reference implementations.
#
#   bench/run.sh [extra Google Benchmark options...]
#
# BENCH_REPETITIONS (default 10) sets how many times each benchmark is run; the
# ratios use the fastest repetition's real time, the estimate least disturbed
# by whatever else the machine is doing. The JSON results are kept in
# build-bench/.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="$root/build-bench"
repetitions="${BENCH_REPETITIONS:-10}"

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release \
    -DSELVORA_BUILD_BENCHMARKS=ON -DSELVORA_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j2 --target array_bench matrix_bench geometry_bench \
    tessellation_bench net_bench image_bench math_bench

for program in array_bench matrix_bench geometry_bench tessellation_bench net_bench \
    image_bench math_bench; do
    echo
    "$build/bench/$program" \
        --benchmark_repetitions="$repetitions" \
        --benchmark_out="$build/$program.json" --benchmark_out_format=json "$@"
done

PYTHONPATH="$root/bench" python3 - "$build/array_bench.json" "$build/matrix_bench.json" \
    "$build/geometry_bench.json" "$build/tessellation_bench.json" "$build/net_bench.json" \
    "$build/image_bench.json" "$build/math_bench.json" <<'PY'
import math
import sys

from fastest_times import fastest

times = fastest(sys.argv[1:])

# (library benchmark, reference benchmark, goal or None when only reported)
RATIOS = [
    ("BM_OvPnt3dArray_Add/iterations:5/real_time",
     "BM_StdVector_PushBack/iterations:5/real_time", 1.5),
    ("BM_Matrix3d_TimesPoint3d/real_time", "BM_Eigen_Matrix4d_TimesVector4d/real_time", 1.2),
    ("BM_Matrix3d_TimesMatrix3d/real_time", "BM_Eigen_Matrix4d_TimesMatrix4d/real_time", 1.2),
    ("BM_Matrix3d_Inverse/real_time", "BM_Eigen_Matrix4d_Inverse/real_time", None),
    ("BM_Line_PointSampleByStep/real_time", "BM_Line_HandLoopByStep/real_time", 1.2),
    ("BM_Line_PointSampleByStepWarm/real_time", "BM_Line_HandLoopByStepWarm/real_time", 1.2),
    ("BM_Line_PointSampleByStep/real_time", "BM_Line_HandLoopByStepZeroed/real_time", None),
    ("BM_ArcPointSample/real_time", "BM_ArcHandLoop/real_time", 1.2),
    ("BM_OvDoTessellation/real_time", "BM_TriangulateDirect/real_time", 1.0),
    # The checked call against the plain one, on each graph where both succeed.
    ("BM_OvDoTessellationChecked/real_time", "BM_OvDoTessellation/real_time", 1.3),
    ("BM_OvDoTessellationCheckedCrossings/real_time",
     "BM_OvDoTessellationCrossings/real_time", 1.3),
    ("BM_CImage_LoadBmp/real_time", "BM_Stb_LoadBmp/real_time", 1.2),
    ("BM_CImage_LoadTif/real_time", "BM_LibTiff_ScanlineLoop/real_time", 1.1),
    ("BM_CImage_LoadTifConverted/real_time", "BM_LibTiff_ReadRgbaImage/real_time", 1.1),
    ("BM_OvGetHtml/real_time", "BM_CurlToDevNull/real_time", 1.5),
    ("BM_LoadSymbolInternet/real_time", "BM_CurlToDevNull/real_time", 1.5),
]

def short(name):
    return name.split("/")[0][3:]

print()
print(f"{'library':34} {'reference':32} {'ratio':>7}  goal")
for lib, ref, goal in RATIOS:
    if lib not in times or ref not in times:
        print(f"{short(lib):34} {short(ref):32} {'-':>7}  (not run)")
        continue
    ratio = times[lib] / times[ref]
    verdict = "reported only" if goal is None else (
        f"<= {goal}: {'met' if ratio <= goal else 'MISSED'}")
    print(f"{short(lib):34} {short(ref):32} {ratio:7.3f}  {verdict}")

# The library's trigonometric functions against glibc's (bench/math_bench.cpp):
# (function and range, goal for the time per call of independent calls).
MATH = [
    ("Sin_TwoPi", 1.5), ("Sin_PiOver4", 1.5), ("Sin_Huge", 3.0),
    ("Cos_TwoPi", 1.5), ("Cos_PiOver4", 1.5), ("Cos_Huge", 3.0),
    ("Atan_Exp30", 1.5), ("Atan_Unit", 1.5),
    ("Atan2_Box", 1.5), ("Atan2_Exp30", 1.5),
    ("Acos_Unit", 1.5),
]
CALLS = 4096  # calls per iteration: kArguments in math_bench.cpp

def per_call(name):
    return times.get(f"BM_{name}/real_time", float("nan")) / CALLS

# The latency loops' own chain (a multiply and an add per call) is the same on
# both sides; it is taken off before comparing, so that it does not pull the
# ratio towards 1.
chain = per_call("LatencyChain")
print()
print("selvora::math against glibc, ns per call (latency: less the loop's own "
      f"{chain:.2f} ns)")
print(f"{'function and range':26} {'Selvora':>9} {'glibc':>9} {'ratio':>7}  goal")
for name, goal in MATH:
    for label, suffix, offset in ((name, "", 0.0), (f"{name} latency", "_Latency", chain)):
        mine = per_call(f"Selvora_{name}{suffix}") - offset
        glibc = per_call(f"Glibc_{name}{suffix}") - offset
        if math.isnan(mine) or math.isnan(glibc):
            print(f"{label:26} {'-':>9} {'-':>9} {'-':>7}  (not run)")
            continue
        ratio = mine / glibc
        verdict = "reported only" if suffix else (
            f"<= {goal}: {'met' if ratio <= goal else 'MISSED'}")
        print(f"{label:26} {mine:9.2f} {glibc:9.2f} {ratio:7.3f}  {verdict}")
PY
