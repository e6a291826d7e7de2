#!/usr/bin/env bash
# Installs every Debian package Selvora needs to build, test and benchmark.
# Idempotent; runs as root or through sudo. Triangle lives in Debian's
# non-free component, which is enabled here when apt cannot find it.
set -euo pipefail

if [ "$(id -u)" -eq 0 ]; then SUDO=""; else SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive

PACKAGES=(
  build-essential cmake pkg-config clang-format
  libgtest-dev libgmock-dev libbenchmark-dev libeigen3-dev
  libtriangle-dev triangle-bin libtiff-dev libcurl4-openssl-dev
  libpng-dev libstb-dev clang libclang-rt-14-dev
  libcli11-dev doxygen python3
)

installed() {
  local status
  status=$(dpkg-query -W -f='${Status}\n' "$@" 2>/dev/null || true)
  [ "$(printf '%s\n' "$status" | grep -c '^install ok installed$')" -eq "$#" ]
}

if installed "${PACKAGES[@]}"; then
  exit 0
fi

has_candidate() {
  apt-cache policy "$1" 2>/dev/null | grep -q 'Candidate: [0-9]'
}

enable_non_free() {
  local f
  for f in /etc/apt/sources.list.d/*.sources; do
    [ -f "$f" ] || continue
    $SUDO sed -i -E '/^Components:/{/[[:space:]]non-free([[:space:]]|$)/!s/$/ non-free/}' "$f"
  done
  if [ -f /etc/apt/sources.list ]; then
    $SUDO sed -i -E '/^deb(-src)?[[:space:]]/{/[[:space:]]non-free([[:space:]]|$)/!s/$/ non-free/}' /etc/apt/sources.list
  fi
}

$SUDO apt-get update -q
if ! has_candidate libtriangle-dev; then
  enable_non_free
  $SUDO apt-get update -q
fi
$SUDO apt-get install -y -q --no-install-recommends "${PACKAGES[@]}"
