#!/usr/bin/env bash
# Builds tests/consumer/main.cpp against the Windows zip alone, as a client of
# the package would, and runs it under Wine beside the zip's DLL:
#   1. by hand, with clang-cl and lld-link and the options of a Visual Studio
#      release build (/MD /O2): the zip's headers and Selvora100_64.lib;
#   2. with CMake and Ninja, clang-cl as the compiler (cmake/clang-cl-x86_64.cmake),
#      finding the zip's CMake package with find_package(Selvora).
#   windows_clients.sh ZIP WORK_FOLDER
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
zip=$(realpath "$1")
work="$2"
prefix="${SELVORA_MSVC_PREFIX:-${SELVORA_CACHE_DIR:-$HOME/.cache/selvora}/windows/msvc}"
wine_include=/usr/include/wine/wine
rm -rf "$work"
mkdir -p "$work/package" "$work/by-hand"
python3 -m zipfile -e "$zip" "$work/package"

echo "== a client from the zip, built by hand with clang-cl (/MD /O2)"
headers=(/clang:-nostdinc)
for folder in "$prefix/include/c++/v1" /usr/lib/llvm-16/lib/clang/16/include \
  "$root/cmake/msvc/include" "$wine_include/msvcrt" "$wine_include/windows"; do
  headers+=("/clang:-isystem$folder")
done
# (The source after --: clang-cl would read a path that starts with / as an
# option.)
"$prefix/bin/clang-cl" --target=x86_64-pc-windows-msvc /nologo /MD /O2 /EHsc /std:c++17 \
  /clang:-march=native /clang:-ffp-contract=fast /clang:-ffp-contract=off \
  "${headers[@]}" -DWINE_UNICODE_NATIVE /I "$work/package/include" \
  /c /Fo"$work/by-hand/main.obj" -- "$root/tests/consumer/main.cpp"
/usr/lib/llvm-16/bin/lld-link /nologo /out:"$work/by-hand/consumer.exe" "$work/by-hand/main.obj" \
  "$work/package/lib/Selvora100_64.lib" /nodefaultlib /libpath:"$prefix/lib" \
  selvora_msvc_startup.lib libc++.lib ucrtbase.lib vcruntime140.lib msvcp140.lib kernel32.lib
cp "$work/package/bin/Selvora100_64.dll" "$work/by-hand/"
(cd "$work/by-hand" && /usr/lib/wine/wine64 consumer.exe)

echo "== a client of the zip's CMake package, configured with clang-cl and Ninja"
cmake -G Ninja -S "$root/tests/consumer" -B "$work/cmake" \
  -DCMAKE_TOOLCHAIN_FILE="$root/cmake/clang-cl-x86_64.cmake" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$work/package" >/dev/null
cmake --build "$work/cmake"
cp "$work/package/bin/Selvora100_64.dll" "$work/cmake/"
(cd "$work/cmake" && /usr/lib/wine/wine64 consumer.exe)
