#!/usr/bin/env bash
# Prepares the Windows cross-build in the C++ ABI of Microsoft's compiler
# (cmake/clang-msvc-x86_64.cmake), from Debian alone:
#   - clang, lld and llvm 16, Wine and its Windows and C runtime headers;
#   - import libraries for the Universal CRT, vcruntime140 and msvcp140, made
#     with llvm-dlltool from the export tables of Wine's DLLs, and Wine's own
#     import libraries of kernel32, user32, wininet and the other system DLLs;
#   - libc++, built static for the msvc target from Debian's llvm-toolchain-16
#     source package, on vcruntime140's exceptions and type information;
#   - the project's start-up library (cmake/msvc/startup);
#   - zlib, libjpeg-turbo, libwebp, libzstd, xz-utils, libtiff, CLI11, libpng,
#     GoogleTest and Google Benchmark from Debian's source packages, as static
#     libraries;
# all into $SELVORA_CACHE_DIR/windows/msvc (default ~/.cache/selvora). Triangle's
# source comes from tools/setup-deps.sh, which this script runs first.
# Idempotent: what is built is kept, and rebuilt only when a source package's
# version, its options or the project's start-up code change. Runs as root or
# through sudo.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
if [ "$(id -u)" -eq 0 ]; then SUDO=""; else SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive

"$root/tools/setup-deps.sh"

PACKAGES=(clang-16 lld-16 llvm-16 wine64 libwine-dev zip ninja-build)
missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}\n' "$p" 2>/dev/null | grep '^install ok installed$' >/dev/null ||
    missing+=("$p")
done
if [ "${#missing[@]}" -gt 0 ]; then
  $SUDO apt-get update -q
  $SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
fi

cache="${SELVORA_CACHE_DIR:-$HOME/.cache/selvora}/windows"
sources="$cache/src"
prefix="$cache/msvc"
toolchain="$root/cmake/clang-msvc-x86_64.cmake"
wine_dlls=/usr/lib/x86_64-linux-gnu/wine/x86_64-windows
mkdir -p "$sources" "$prefix/lib" "$cache/build"

# fetch PACKAGE: the unpacked source of Debian's PACKAGE, patched; prints its
# folder. The newest version apt offers that can be downloaded (a mirror may
# list a version it does not hold); fetched again when the version kept is no
# longer offered.
fetch() {
  local package="$1" versions version folder
  versions=$(apt-cache showsrc "$package" | sed -n 's/^Version: //p' | sort -V -r -u)
  folder=$(find "$sources" -maxdepth 1 -type d -name "$package-*" -print -quit)
  if [ -n "$folder" ] && grep -qxF "$(cat "$sources/$package.version" 2>/dev/null)" <<<"$versions"; then
    echo "$folder"
    return
  fi
  rm -rf "$sources/$package.tmp" "$sources/$package"-* "$sources/${package}_"*
  for version in $versions; do
    mkdir -p "$sources/$package.tmp"
    if (cd "$sources/$package.tmp" && apt-get source -q "$package=$version" >&2); then
      folder=$(find "$sources/$package.tmp" -maxdepth 1 -type d -name "$package-*" -print -quit)
      mv "$folder" "$sources/"
      rm -rf "$sources/$package.tmp"
      echo "$version" >"$sources/$package.version"
      rm -f "$prefix/.$package.built"
      echo "$sources/$(basename "$folder")"
      return
    fi
    rm -rf "$sources/$package.tmp"
  done
  echo "no source of $package could be downloaded" >&2
  exit 1
}

# quietly LOG COMMAND...: runs the command with its output in LOG, shown (the
# end of it) when it fails.
quietly() {
  local log="$1"
  shift
  if ! "$@" >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    echo "failed: $* (log: $log)" >&2
    exit 1
  fi
}

# Import libraries. Wine's own import archives serve for the system DLLs.
# Those of ucrtbase and vcruntime140 also hold Wine's start-up objects, and
# msvcp140's lacks the C++ names: these three are made from the export tables
# of Wine's DLLs instead. Wine's ucrtbase.dll also exports what Windows'
# vcruntime140.dll alone has (the exception handlers, memcpy): those names are
# left to vcruntime140.lib, so that a DLL imports them from where Windows has
# them.
for dll in kernel32 user32 wininet advapi32 crypt32 ws2_32 version shlwapi; do
  ln -sf "$wine_dlls/lib$dll.a" "$prefix/lib/$dll.lib"
done
exports() {
  llvm-readobj-16 --coff-exports "$wine_dlls/$1.dll" | sed -n 's/^ *Name: \(..*\)$/\1/p' | sort -u
}
import_library() {
  local dll="$1" names="$2"
  {
    echo "LIBRARY $dll.dll"
    echo "EXPORTS"
    cat "$names"
  } >"$cache/build/$dll.def"
  llvm-dlltool-16 -m i386:x86-64 -d "$cache/build/$dll.def" -l "$prefix/lib/$dll.lib"
}
if [ ! -f "$prefix/lib/ucrtbase.lib" ] || [ "$wine_dlls/ucrtbase.dll" -nt "$prefix/lib/ucrtbase.lib" ]; then
  exports vcruntime140 >"$cache/build/vcruntime140.names"
  exports ucrtbase | comm -23 - "$cache/build/vcruntime140.names" >"$cache/build/ucrtbase.names"
  exports msvcp140 >"$cache/build/msvcp140.names"
  for dll in vcruntime140 ucrtbase msvcp140; do
    import_library "$dll" "$cache/build/$dll.names"
  done
fi

# clang in clang-cl mode, for the clients built as a Visual Studio user would
# (cmake/clang-cl-x86_64.cmake): the driver takes its mode from its name.
mkdir -p "$prefix/bin"
ln -sf /usr/lib/llvm-16/bin/clang "$prefix/bin/clang-cl"

# What libc++ and everything after it are built again for: the toolchain
# file, what it includes and the header additions.
toolchain_sum=$(cat "$toolchain" "$root"/cmake/msvc/*.cmake "$root"/cmake/msvc/include/* |
  sha256sum | cut -c1-16)

# libc++ from llvm-toolchain-16: only its runtimes folders are unpacked from
# the source package, with the Debian patches that touch only them.
build_libcxx() {
  local options=(-DLLVM_ENABLE_RUNTIMES=libcxx -DLIBCXX_CXX_ABI=vcruntime
    -DLIBCXX_ENABLE_SHARED=OFF -DLIBCXX_ENABLE_STATIC=ON -DLIBCXX_ENABLE_FILESYSTEM=ON
    -DLIBCXX_INCLUDE_TESTS=OFF -DLIBCXX_INCLUDE_BENCHMARKS=OFF -DLIBCXX_INCLUDE_DOCS=OFF
    -DLIBCXX_HERMETIC_STATIC_LIBRARY=ON -DLLVM_INCLUDE_TESTS=OFF)
  local version marker="$prefix/.libcxx.built"
  version=$(apt-cache showsrc llvm-toolchain-16 | sed -n 's/^Version: //p' | sort -V -r | head -n1)
  if [ -f "$marker" ] && [ "$(cat "$marker")" = "$version ${options[*]} $toolchain_sum" ]; then
    return
  fi
  local download="$sources/llvm-toolchain-16.download" tree="$sources/llvm-toolchain-16"
  if [ "$(cat "$download/version" 2>/dev/null)" != "$version" ]; then
    rm -rf "$download" "$tree"
    mkdir -p "$download"
    (cd "$download" && apt-get source -q --download-only "llvm-toolchain-16=$version" >&2)
    echo "$version" >"$download/version"
  fi
  if [ ! -d "$tree" ]; then
    local top
    mkdir -p "$tree.tmp"
    # The tarball's top folder is named like the tarball.
    top=$(basename "$download"/llvm-toolchain-16_*.orig.tar.xz .orig.tar.xz)
    tar -xJf "$download"/llvm-toolchain-16_*.orig.tar.xz -C "$tree.tmp" \
      "$top/libcxx" "$top/libcxxabi" "$top/runtimes" "$top/cmake" "$top/llvm/cmake" \
      "$top/llvm/utils/llvm-lit" "$top/third-party"
    tar -xJf "$download"/llvm-toolchain-16_*.debian.tar.xz -C "$tree.tmp/$top"
    local patch paths
    while read -r patch; do
      [ -f "$tree.tmp/$top/debian/patches/$patch" ] || continue
      paths=$(sed -n 's#^+++ [^/]*/\([^[:space:]]*\).*#\1#p' "$tree.tmp/$top/debian/patches/$patch")
      if [ -n "$paths" ] && ! grep -qvE '^(libcxx|libcxxabi|runtimes)/' <<<"$paths"; then
        patch -d "$tree.tmp/$top" -p1 -s <"$tree.tmp/$top/debian/patches/$patch"
      fi
    done < <(grep -v '^#' "$tree.tmp/$top/debian/patches/series")
    mv "$tree.tmp/$top" "$tree"
    rm -rf "$tree.tmp"
  fi
  # The toolchain puts the installed headers first: a build beside an older
  # copy would include_next into it.
  rm -rf "$cache/build/libcxx" "$prefix/include/c++"
  quietly "$cache/build/libcxx.log" cmake -G Ninja -S "$tree/runtimes" -B "$cache/build/libcxx" \
    -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DSELVORA_MSVC_PREFIX="$prefix" \
    -DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX="$prefix" "${options[@]}"
  quietly "$cache/build/libcxx.log" cmake --build "$cache/build/libcxx" -j "$(nproc)" --target install
  rm -rf "$cache/build/libcxx"
  rm -f "$prefix/.startup.built"
  echo "$version ${options[*]} $toolchain_sum" >"$marker"
}
build_libcxx

# The start-up library, compiled like the project's own code. What is built
# after it is built again when it, the toolchain or the header additions change.
build_startup() {
  local startup="$root/cmake/msvc/startup" sum marker="$prefix/.startup.built"
  sum=$(cat "$startup"/* | sha256sum | cut -c1-16)-$toolchain_sum
  if [ -f "$marker" ] && [ "$(cat "$marker")" = "$sum" ]; then
    return
  fi
  rm -rf "$cache/build/startup"
  quietly "$cache/build/startup.log" cmake -G Ninja -S "$startup" -B "$cache/build/startup" \
    -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DSELVORA_MSVC_PREFIX="$prefix" \
    -DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX="$prefix"
  quietly "$cache/build/startup.log" cmake --build "$cache/build/startup" --target install
  rm -rf "$cache/build/startup"
  echo "$sum" >"$marker"
}
build_startup

# build PACKAGE [--in SUBDIR] CMAKE_OPTION...: configures the source (or its
# SUBDIR) with the options (and CFLAGS from the environment), builds it and
# installs it into the prefix. Built again when the source package's version,
# the options or the start-up library change.
build() {
  local package="$1" source subdir=""
  shift
  if [ "${1:-}" = --in ]; then
    subdir="/$2"
    shift 2
  fi
  source=$(fetch "$package")
  local marker="$prefix/.$package.built" stamp
  stamp="${CFLAGS:-} $* $(cat "$prefix/.startup.built")"
  if [ -f "$marker" ] && [ "$(cat "$marker")" = "$stamp" ]; then
    return
  fi
  local tree="$cache/build/$package"
  rm -rf "$tree"
  quietly "$cache/build/$package.log" cmake -G Ninja -S "$source$subdir" -B "$tree" \
    -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DSELVORA_MSVC_PREFIX="$prefix" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" \
    -DCMAKE_FIND_ROOT_PATH="$prefix" -DBUILD_SHARED_LIBS=OFF "$@"
  quietly "$cache/build/$package.log" cmake --build "$tree" -j "$(nproc)" --target install
  rm -rf "$tree"
  echo "$stamp" >"$marker"
}

# zlib, for libtiff's deflate and for libpng; the static library only.
# Debian's source leaves out win32/, whose version resource zlib's CMake file
# names for the DLL: a bare version resource stands in (the DLL is not
# installed).
zlib_source=$(fetch zlib)
mkdir -p "$zlib_source/win32"
printf '1 VERSIONINFO\nBEGIN\nEND\n' >"$zlib_source/win32/zlib1.rc"
build zlib -DCMAKE_INSTALL_LIBDIR=lib
rm -f "$prefix/lib/zlib.lib" "$prefix/bin/zlib.dll" "$prefix/bin/zlib1.dll"

# The JPEG codec libtiff's JPEG and old-style JPEG compressions use. Its
# portable C code, which decodes to the same bytes as the SIMD paths.
# (INST_ID names the installer's templates, which its CMake file sets for
# Microsoft's and GNU's compiler drivers only; the installer is not built.)
build libjpeg-turbo -DENABLE_SHARED=OFF -DWITH_SIMD=OFF -DWITH_TURBOJPEG=OFF -DINST_ID=vc

# The other codecs Debian's libtiff decodes with: WebP, Zstandard and LZMA.
build libwebp -DWEBP_BUILD_ANIM_UTILS=OFF -DWEBP_BUILD_CWEBP=OFF -DWEBP_BUILD_DWEBP=OFF \
  -DWEBP_BUILD_GIF2WEBP=OFF -DWEBP_BUILD_IMG2WEBP=OFF -DWEBP_BUILD_VWEBP=OFF \
  -DWEBP_BUILD_WEBPINFO=OFF -DWEBP_BUILD_WEBPMUX=OFF -DWEBP_BUILD_EXTRAS=OFF \
  -DCMAKE_INSTALL_LIBDIR=lib
build libzstd --in build/cmake -DZSTD_BUILD_PROGRAMS=OFF -DZSTD_BUILD_SHARED=OFF \
  -DZSTD_BUILD_STATIC=ON -DZSTD_BUILD_TESTS=OFF -DZSTD_MULTITHREAD_SUPPORT=OFF \
  -DCMAKE_INSTALL_LIBDIR=lib
# (Its code calls _BitScanForward64 for Microsoft's compiler without including
# <intrin.h>, where clang declares it.)
CFLAGS="-include intrin.h" build xz-utils -DCMAKE_INSTALL_LIBDIR=lib -DBUILD_TESTING=OFF

# libtiff with none, CCITT, PackBits, LZW, deflate (zlib), JPEG, old-style
# JPEG, WebP, Zstandard and LZMA, and nothing it would load as another DLL.
# (Debian's also reads LERC and JBIG, which this build leaves out.)
# (LZMA_API_STATIC: liblzma is linked in, not imported from its DLL.)
CFLAGS="-DLZMA_API_STATIC" build tiff -Dtiff-tools=OFF -Dtiff-tests=OFF -Dtiff-contrib=OFF -Dtiff-docs=OFF \
  -Dcxx=OFF -Dzlib=ON -Djpeg=ON -Dold-jpeg=ON -Dpixarlog=ON \
  -Dwebp=ON -Dzstd=ON -Dlzma=ON -Djbig=OFF -Dlerc=OFF -Dlibdeflate=OFF \
  -DZLIB_USE_STATIC_LIBS=ON -DCMAKE_INSTALL_LIBDIR=lib

# CLI11 (headers only) for selvora.exe.
build cli11 -DCLI11_BUILD_TESTS=OFF -DCLI11_BUILD_EXAMPLES=OFF -DCLI11_BUILD_DOCS=OFF

# libpng, with which the image tests decode the reference renderings.
# (Without its manual pages and pkg-config files, which its CMake file, cross
# building from Linux, would install without having made them.)
build libpng1.6 -DPNG_SHARED=OFF -DPNG_STATIC=ON -DPNG_TESTS=OFF -DPNG_EXECUTABLES=OFF \
  -DPNG_TOOLS=OFF -DZLIB_USE_STATIC_LIBS=ON -DCMAKE_INSTALL_LIBDIR=lib -DSKIP_INSTALL_FILES=ON

# GoogleTest and GoogleMock for the test programs, Google Benchmark for the
# benchmarks.
build googletest -Dgtest_disable_pthreads=ON -Dgtest_force_shared_crt=ON -DCMAKE_INSTALL_LIBDIR=lib
# (Debian's source reads no version from git: GIT_VERSION=0.0.0 makes it take
# the project's.)
build benchmark -DGIT_VERSION=0.0.0 -DBENCHMARK_ENABLE_TESTING=OFF -DBENCHMARK_ENABLE_GTEST_TESTS=OFF \
  -DBENCHMARK_ENABLE_WERROR=OFF -DBENCHMARK_ENABLE_INSTALL=ON -DCMAKE_INSTALL_LIBDIR=lib

echo "Windows dependencies in $prefix"
