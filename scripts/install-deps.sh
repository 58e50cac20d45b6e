#!/usr/bin/env bash
# Installs the Debian packages the build needs, but only those that are missing, so that the
# check costs nothing on a prepared machine and a fresh one gets everything.
set -euo pipefail

packages=(
  build-essential
  cmake
  pkg-config
  qtbase5-dev
  # Qt's TIFF (and WebP) reader: photos in TIFF open in zelfx and the studio, and the tests of
  # damaged TIFF files run.
  qt5-image-formats-plugins
  libmagickwand-6.q16-dev
  libbenchmark-dev
  xvfb
  xauth
  # The fuzz targets: clang, and the runtimes of -fsanitize=fuzzer,address,undefined, which
  # clang only recommends. llvm brings llvm-symbolizer for readable sanitizer stacks.
  clang
  libclang-rt-14-dev
  llvm
)

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$package")
done

[[ ${#missing[@]} -eq 0 ]] && exit 0

echo "install-deps: installing ${missing[*]}" >&2
sudo=""
[[ $(id -u) -eq 0 ]] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
