#!/usr/bin/env bash
# Prepares the Windows cross-build: installs MinGW-w64, Wine and zlib for
# MinGW from Debian, fetches Debian's source packages of libjpeg-turbo,
# libwebp, libzstd, xz-utils, libtiff, CLI11, libpng and GoogleTest, and
# cross-builds them as static libraries into
#   $SELVORA_CACHE_DIR/windows/prefix        (default ~/.cache/selvora)
# with cmake/mingw-w64-x86_64.cmake. Triangle's source comes from
# tools/setup-deps.sh, which this script runs first. Idempotent: what is built
# is kept, and rebuilt only when a source package's version or its options
# change. Runs as root or through sudo.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
if [ "$(id -u)" -eq 0 ]; then SUDO=""; else SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive

"$root/tools/setup-deps.sh"

PACKAGES=(g++-mingw-w64-x86-64-posix wine64 libz-mingw-w64-dev zip)
missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}\n' "$p" 2>/dev/null | grep -q '^install ok installed$' ||
    missing+=("$p")
done
if [ "${#missing[@]}" -gt 0 ]; then
  $SUDO apt-get update -q
  $SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
fi

cache="${SELVORA_CACHE_DIR:-$HOME/.cache/selvora}/windows"
sources="$cache/src"
prefix="$cache/prefix"
toolchain="$root/cmake/mingw-w64-x86_64.cmake"
mkdir -p "$sources" "$prefix"

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

# build PACKAGE [--in SUBDIR] CMAKE_OPTION...: configures the source (or its
# SUBDIR) with the options, builds it and installs it into the prefix. Built
# again when the source package's version or the options change.
build() {
  local package="$1" source subdir=""
  shift
  if [ "${1:-}" = --in ]; then
    subdir="/$2"
    shift 2
  fi
  source=$(fetch "$package")
  local marker="$prefix/.$package.built"
  if [ -f "$marker" ] && [ "$(cat "$marker")" = "$*" ]; then
    return
  fi
  local tree="$cache/build/$package"
  rm -rf "$tree"
  # The builds' own output goes to a log, shown when a step fails.
  local log="$cache/build/$package.log"
  mkdir -p "$cache/build"
  if ! { cmake -S "$source$subdir" -B "$tree" -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" \
    -DCMAKE_FIND_ROOT_PATH="$prefix" -DBUILD_SHARED_LIBS=OFF "$@" &&
    cmake --build "$tree" -j "$(nproc)" --target install; } >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    echo "building $package for Windows failed (log: $log)" >&2
    exit 1
  fi
  rm -rf "$tree"
  echo "$*" >"$marker"
}

# The JPEG codec libtiff's JPEG and old-style JPEG compressions use. Its
# portable C code, which decodes to the same bytes as the SIMD paths.
build libjpeg-turbo -DENABLE_SHARED=OFF -DWITH_SIMD=OFF -DWITH_TURBOJPEG=OFF

# The other codecs Debian's libtiff decodes with: WebP, Zstandard and LZMA.
build libwebp -DWEBP_BUILD_ANIM_UTILS=OFF -DWEBP_BUILD_CWEBP=OFF -DWEBP_BUILD_DWEBP=OFF \
  -DWEBP_BUILD_GIF2WEBP=OFF -DWEBP_BUILD_IMG2WEBP=OFF -DWEBP_BUILD_VWEBP=OFF \
  -DWEBP_BUILD_WEBPINFO=OFF -DWEBP_BUILD_WEBPMUX=OFF -DWEBP_BUILD_EXTRAS=OFF \
  -DCMAKE_INSTALL_LIBDIR=lib
build libzstd --in build/cmake -DZSTD_BUILD_PROGRAMS=OFF -DZSTD_BUILD_SHARED=OFF \
  -DZSTD_BUILD_STATIC=ON -DZSTD_BUILD_TESTS=OFF -DZSTD_MULTITHREAD_SUPPORT=OFF \
  -DCMAKE_INSTALL_LIBDIR=lib
build xz-utils -DCMAKE_INSTALL_LIBDIR=lib -DBUILD_TESTING=OFF

# libtiff with none, CCITT, PackBits, LZW, deflate (zlib), JPEG, old-style
# JPEG, WebP, Zstandard and LZMA, and nothing it would load as another DLL.
# (Debian's also reads LERC and JBIG, which this build leaves out.)
build tiff -Dtiff-tools=OFF -Dtiff-tests=OFF -Dtiff-contrib=OFF -Dtiff-docs=OFF \
  -Dcxx=OFF -Dzlib=ON -Djpeg=ON -Dold-jpeg=ON -Dpixarlog=ON \
  -Dwebp=ON -Dzstd=ON -Dlzma=ON -Djbig=OFF -Dlerc=OFF -Dlibdeflate=OFF \
  -DZLIB_LIBRARY=/usr/x86_64-w64-mingw32/lib/libz.a \
  -DZLIB_INCLUDE_DIR=/usr/x86_64-w64-mingw32/include \
  -DJPEG_LIBRARY="$prefix/lib/libjpeg.a" -DJPEG_INCLUDE_DIR="$prefix/include" \
  -DWebP_LIBRARY="$prefix/lib/libwebp.a" -DWebP_INCLUDE_DIR="$prefix/include" \
  -DZSTD_LIBRARY="$prefix/lib/libzstd.a" -DZSTD_INCLUDE_DIR="$prefix/include" \
  -DLIBLZMA_LIBRARY="$prefix/lib/liblzma.a" -DLIBLZMA_INCLUDE_DIR="$prefix/include" \
  -DCMAKE_INSTALL_LIBDIR=lib

# CLI11 (headers only) for selvora.exe.
build cli11 -DCLI11_BUILD_TESTS=OFF -DCLI11_BUILD_EXAMPLES=OFF -DCLI11_BUILD_DOCS=OFF

# libpng, with which the image tests decode the reference renderings.
build libpng1.6 -DPNG_SHARED=OFF -DPNG_STATIC=ON -DPNG_TESTS=OFF -DPNG_EXECUTABLES=OFF \
  -DPNG_TOOLS=OFF -DZLIB_LIBRARY=/usr/x86_64-w64-mingw32/lib/libz.a \
  -DZLIB_INCLUDE_DIR=/usr/x86_64-w64-mingw32/include -DCMAKE_INSTALL_LIBDIR=lib

# GoogleTest and GoogleMock for the test programs.
build googletest -Dgtest_disable_pthreads=OFF -DCMAKE_INSTALL_LIBDIR=lib

echo "Windows dependencies in $prefix"
