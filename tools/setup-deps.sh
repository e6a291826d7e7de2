#!/usr/bin/env bash
# Installs every Debian package Selvora needs to build, test and benchmark, and
# fetches the sources compiled into the library (Triangle, from Debian's source
# package `triangle`, with Debian's patches applied) into a cache outside the
# tree: $SELVORA_CACHE_DIR, by default ~/.cache/selvora. Idempotent; runs as
# root or through sudo. Triangle lives in Debian's non-free component; that
# component and the deb-src entries are enabled here when apt lacks them.
set -euo pipefail

if [ "$(id -u)" -eq 0 ]; then SUDO=""; else SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive

PACKAGES=(
  build-essential cmake pkg-config clang-format
  libgtest-dev libgmock-dev libbenchmark-dev libeigen3-dev
  libtriangle-dev triangle-bin libtiff-dev libcurl4-openssl-dev
  libpng-dev libstb-dev clang libclang-rt-14-dev
  libcli11-dev doxygen python3 dpkg-dev binutils
  libmpfr-dev  # the tests' expected values of the trigonometric functions
)

cache="${SELVORA_CACHE_DIR:-$HOME/.cache/selvora}"
triangle_sources="$cache/triangle"

installed() {
  local status
  status=$(dpkg-query -W -f='${Status}\n' "$@" 2>/dev/null || true)
  [ "$(printf '%s\n' "$status" | grep -c '^install ok installed$')" -eq "$#" ]
}

# The unpacked source package: triangle-<version>/ with its patches applied.
have_triangle_source() {
  compgen -G "$triangle_sources/triangle-*/triangle.c" >/dev/null
}

if installed "${PACKAGES[@]}" && have_triangle_source; then
  exit 0
fi

# grep without -q reads all of the output, so apt-cache never dies of SIGPIPE
# (which pipefail would count as no match).
has_candidate() {
  apt-cache policy "$1" 2>/dev/null | grep 'Candidate: [0-9]' >/dev/null
}

has_source() {
  apt-cache showsrc "$1" 2>/dev/null | grep '^Package:' >/dev/null
}

# Debian's own entries (deb822 .sources files, or a classic sources.list) get
# the non-free component and deb-src beside deb.
enable_non_free_and_sources() {
  local f
  for f in /etc/apt/sources.list.d/*.sources; do
    [ -f "$f" ] || continue
    $SUDO sed -i -E \
      -e '/^Components:/{/[[:space:]]non-free([[:space:]]|$)/!s/$/ non-free/}' \
      -e '/^Types:/{/[[:space:]]deb-src([[:space:]]|$)/!s/$/ deb-src/}' "$f"
  done
  if [ -f /etc/apt/sources.list ]; then
    $SUDO sed -i -E '/^deb(-src)?[[:space:]]/{/[[:space:]]non-free([[:space:]]|$)/!s/$/ non-free/}' \
      /etc/apt/sources.list
    if ! grep -Eq '^deb-src[[:space:]]' /etc/apt/sources.list; then
      grep -E '^deb[[:space:]]' /etc/apt/sources.list | sed -E 's/^deb/deb-src/' |
        $SUDO tee -a /etc/apt/sources.list >/dev/null
    fi
  fi
}

$SUDO apt-get update -q
if ! has_candidate libtriangle-dev || ! has_source triangle; then
  enable_non_free_and_sources
  $SUDO apt-get update -q
fi
$SUDO apt-get install -y -q --no-install-recommends "${PACKAGES[@]}"

# Triangle's source, unpacked with Debian's patches, as the invoking user.
if ! have_triangle_source; then
  rm -rf "$triangle_sources.tmp"
  mkdir -p "$triangle_sources.tmp"
  (cd "$triangle_sources.tmp" && apt-get source -q triangle)
  rm -rf "$triangle_sources"
  mv "$triangle_sources.tmp" "$triangle_sources"
fi
