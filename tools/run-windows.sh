#!/usr/bin/env bash
# tools/run windows: the Windows build in the C++ ABI of Microsoft's compiler,
# cross-compiled here with clang and lld (cmake/clang-msvc-x86_64.cmake) and
# tested under Wine. Steps:
#   1. tools/setup-windows-deps.sh: clang, lld, Wine, libc++ and the libraries
#      built from Debian's source packages into ~/.cache/selvora/windows
#   2. the Linux library, the same-bits battery, the tests' loopback HTTP
#      server, write_records and selvora_math_table (the trigonometric
#      functions' expected values, by MPFR), in build/ (SELVORA_BUILD_DIR)
#   3. Selvora100_64.dll, its import library, selvora.exe and the test
#      programs, in build-windows/ (SELVORA_WINDOWS_BUILD_DIR)
#   4. the test suite under Wine (ctest); the tool's tests use the Linux
#      loopback server and write_records
#   5. the DLL's exports against the Linux library's, demangled
#   6. the same-bits battery run on both sides and compared bit for bit
#   7. the zip: build-windows/package/Selvora-<version>-win64.zip, and
#      clients built from it alone with clang-cl (tests/consumer)
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
linux_build="${SELVORA_BUILD_DIR:-$root/build}"
build="${SELVORA_WINDOWS_BUILD_DIR:-$root/build-windows}"
jobs=$(nproc)
SECONDS=0

"$root/tools/setup-windows-deps.sh"

# Wine keeps its settings in a prefix of its own; the first start creates it.
export WINEDEBUG=-all
export WINEPREFIX="${WINEPREFIX:-${SELVORA_CACHE_DIR:-$HOME/.cache/selvora}/windows/wine}"
/usr/lib/wine/wine64 cmd /c exit >/dev/null 2>&1 || true
# One Wine server for all the tests: without it each program started under
# Wine starts its own and the prefix's services (about 2 s each), and the
# tool's tests start hundreds. Any server of this prefix is stopped first
# (waiting for one that is persistent would never end). The services start here, on
# /dev/null: started by a test, they would hold its output pipe open, and
# ctest would wait for them.
/usr/lib/wine/wineserver64 -k >/dev/null 2>&1 || true
/usr/lib/wine/wineserver64 -p || true
/usr/lib/wine/wine64 cmd /c exit >/dev/null 2>&1 || true
trap '/usr/lib/wine/wineserver64 -k >/dev/null 2>&1 || true' EXIT
setup_seconds=$SECONDS

echo "== the Linux library, battery and test programs, to compare and test with"
cmake -S "$root" -B "$linux_build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$linux_build" -j "$jobs" --target Selvora100_64 selvora_same_bits \
  selvora_loopback_http selvora_tls_fronts write_records selvora_math_table

echo "== the Windows build"
cmake -G Ninja -S "$root" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/clang-msvc-x86_64.cmake" \
  -DCMAKE_BUILD_TYPE=Release \
  -DSELVORA_BUILD_TESTS=ON -DSELVORA_BUILD_TOOLS=ON -DSELVORA_BUILD_DOCS=OFF \
  -DSELVORA_LINUX_BUILD_DIR="$linux_build"
cmake --build "$build" -j "$jobs"
build_seconds=$((SECONDS - setup_seconds))

ctest --test-dir "$build" --output-on-failure -j "$jobs"
test_seconds=$((SECONDS - setup_seconds - build_seconds))

echo "== exports: the DLL's against the Linux library's"
python3 "$root/tests/module/compare_exports.py" "$linux_build/libSelvora100_64.so" \
  "$build/Selvora100_64.dll" "$root/tests/module/windows_only_exports.txt"

echo "== same bits: the battery on Linux and on Windows"
python3 "$root/tests/same_bits/compare.py" "$linux_build/tests/selvora_same_bits" \
  "$build/selvora_same_bits.exe" "$root/tests/data"

echo "== the package"
rm -rf "$build/package"
cpack --config "$build/CPackConfig.cmake" -B "$build/package"
zip=$(ls "$build"/package/Selvora-*-win64.zip)
python3 -m zipfile -l "$zip"

# Clients built from the zip alone: by hand with clang-cl, and through its
# CMake package with clang-cl and Ninja.
"$root/tests/consumer/windows_clients.sh" "$zip" "$build/clients"
echo "Windows: set-up ${setup_seconds} s, build ${build_seconds} s, tests ${test_seconds} s," \
  "all ${SECONDS} s; package $zip"
