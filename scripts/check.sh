#!/usr/bin/env bash
# Installs what the build needs, builds everything and runs the whole test suite.
#   scripts/check.sh             plain build in build/
#   scripts/check.sh --sanitize  AddressSanitizer + UndefinedBehaviorSanitizer build in build-sanitize/
set -euo pipefail
cd "$(dirname "$0")/.."

build_dir=build
options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo)
if [ "${1:-}" = "--sanitize" ]; then
  build_dir=build-sanitize
  options+=(-DEZOSSL_SANITIZE=ON -DEZOSSL_BUILD_BENCHMARKS=OFF)
  export ASAN_OPTIONS=halt_on_error=1:detect_leaks=1:abort_on_error=1
  export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
fi

./scripts/install-deps.sh
cmake -S . -B "$build_dir" "${options[@]}"
cmake --build "$build_dir" -j"$(nproc)"
ctest --test-dir "$build_dir" --output-on-failure -j"$(nproc)"
