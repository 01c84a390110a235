#!/usr/bin/env bash
# Builds the library without the POSIX stand-in for the OS-abstraction layer, as a device
# build would, and checks that the layer's functions are left for the device to provide.
set -euo pipefail
source_dir=$1
work=$2
cmake=$3
rm -rf "$work"
"$cmake" -S "$source_dir" -B "$work" -DEZOSSL_WITH_POSIX_TOV=OFF -DEZOSSL_BUILD_TESTS=OFF \
  -DEZOSSL_BUILD_BENCHMARKS=OFF -DEZOSSL_BUILD_TOOL=OFF >/dev/null
"$cmake" --build "$work" -j2 >/dev/null
lib=$(find "$work" -name 'libezossl.so' -print -quit)
for symbol in TovFsOpen TovFsSeek TovFsRead TovFsClose TovOsMemAlloc TovOsMemRelease; do
  nm -D --undefined-only "$lib" | grep -qw "$symbol" || { echo "$symbol is not left to the device"; exit 1; }
done
echo "device build: the OS-abstraction layer is left to the device"
