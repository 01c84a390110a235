#!/usr/bin/env bash
# Cross-builds library, tests and tool for an ARM triplet and runs the test suite under qemu-user.
#   scripts/cross-check.sh aarch64-linux-gnu
#   scripts/cross-check.sh arm-linux-gnueabihf
# Installs the cross compiler, qemu-user and the target's multiarch -dev packages first.
set -euo pipefail
cd "$(dirname "$0")/.."

triplet=${1:-}
case "$triplet" in
  aarch64-linux-gnu) arch=arm64 ;;
  arm-linux-gnueabihf) arch=armhf ;;
  *) echo "usage: $0 aarch64-linux-gnu|arm-linux-gnueabihf" >&2; exit 2 ;;
esac
build_dir=build-$triplet

packages=(g++-$triplet qemu-user cmake pkg-config libcli11-dev)
for p in libcjson-dev libgtest-dev libgmock-dev libsndfile1-dev libasound2-dev libkissfft-dev; do
  packages+=("$p:$arch")
done

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  export DEBIAN_FRONTEND=noninteractive
  dpkg --print-foreign-architectures | grep -qx "$arch" || $sudo dpkg --add-architecture "$arch"
  # One architecture's index can fail to download for a moment: retry, then go on with what
  # was fetched. A package that is really missing still fails the install below.
  for attempt in 1 2 3; do
    $sudo apt-get update -qq && break
    echo "apt-get update failed (attempt $attempt), retrying" >&2
    sleep $((attempt * 10))
  done
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
cmake -S . -B "$build_dir" "${launcher[@]}" -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/$triplet.cmake" \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DEZOSSL_BUILD_BENCHMARKS=OFF -DEZOSSL_BUILD_PYTHON=OFF \
  -DEZOSSL_BUILD_FUZZ=OFF --no-warn-unused-cli
cmake --build "$build_dir" -j"$(nproc)"
ctest --test-dir "$build_dir" --output-on-failure -j"$(nproc)"
