#!/usr/bin/env bash
# Installs every Debian package the build, tests, benchmarks and tool need (idempotent).
set -euo pipefail

packages=(
  build-essential cmake pkg-config binutils
  libkissfft-dev libcjson-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libsndfile1-dev libcli11-dev libasound2-dev
  libfftw3-dev
  python3 python3-dev python3-numpy python3-pytest pybind11-dev
  clang libclang-rt-14-dev
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
# Only refresh the package lists when an install is actually needed.
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
