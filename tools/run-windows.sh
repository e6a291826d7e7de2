#!/usr/bin/env bash
# tools/run windows: the Windows build, cross-compiled here and tested under
# Wine. Steps:
#   1. tools/setup-windows-deps.sh: MinGW-w64, Wine, and the libraries built
#      from Debian's source packages into ~/.cache/selvora/windows
#   2. the Linux library, the same-bits battery and the tests' loopback HTTP
#      server, in build/ (SELVORA_BUILD_DIR)
#   3. Selvora100_64.dll, its import library, selvora.exe and the test
#      programs, in build-windows/ (SELVORA_WINDOWS_BUILD_DIR)
#   4. the test suite under Wine (ctest), the network tests against the
#      Linux loopback server
#   5. the DLL's exports against the Linux library's, demangled
#   6. the same-bits battery run on both sides and compared bit for bit
#   7. the zip: build-windows/package/Selvora-<version>-win64.zip
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
linux_build="${SELVORA_BUILD_DIR:-$root/build}"
build="${SELVORA_WINDOWS_BUILD_DIR:-$root/build-windows}"
prefix="${SELVORA_CACHE_DIR:-$HOME/.cache/selvora}/windows/prefix"
jobs=$(nproc)
SECONDS=0

"$root/tools/setup-windows-deps.sh"

# Wine keeps its settings in a prefix of its own; the first start creates it.
export WINEDEBUG=-all
export WINEPREFIX="${WINEPREFIX:-${SELVORA_CACHE_DIR:-$HOME/.cache/selvora}/windows/wine}"
/usr/lib/wine/wine64 cmd /c exit >/dev/null 2>&1 || true
setup_seconds=$SECONDS

echo "== the Linux library, battery and loopback server, to compare and test with"
cmake -S "$root" -B "$linux_build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$linux_build" -j "$jobs" --target Selvora100_64 selvora_same_bits \
  selvora_loopback_http

echo "== the Windows build"
cmake -S "$root" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" \
  -DCMAKE_FIND_ROOT_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release \
  -DSELVORA_BUILD_TESTS=ON -DSELVORA_BUILD_TOOLS=ON -DSELVORA_BUILD_DOCS=OFF \
  -DSELVORA_LINUX_LOOPBACK_HTTP="$linux_build/tests/support/selvora_loopback_http"
cmake --build "$build" -j "$jobs"
build_seconds=$((SECONDS - setup_seconds))

ctest --test-dir "$build" --output-on-failure -j "$jobs"
test_seconds=$((SECONDS - setup_seconds - build_seconds))

echo "== exports: the DLL's against the Linux library's"
python3 "$root/tests/module/compare_exports.py" "$linux_build/libSelvora100_64.so" \
  "$build/Selvora100_64.dll"

echo "== same bits: the battery on Linux and on Windows"
python3 "$root/tests/same_bits/compare.py" "$linux_build/tests/selvora_same_bits" \
  "$build/selvora_same_bits.exe" "$root/tests/data"

echo "== the package"
rm -rf "$build/package"
cpack --config "$build/CPackConfig.cmake" -B "$build/package"
zip=$(ls "$build"/package/Selvora-*-win64.zip)
python3 -m zipfile -l "$zip"
echo "Windows: set-up ${setup_seconds} s, build ${build_seconds} s, tests ${test_seconds} s," \
  "all ${SECONDS} s; package $zip"
