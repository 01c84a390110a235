#!/usr/bin/env bash
# Builds the libFuzzer targets (fuzz/, with clang) and runs each for SECONDS (default 60) from its
# seed corpus in fuzz/corpus/<target>/. Fails on a crash, a leak, a timeout or running out of memory.
#   scripts/fuzz.sh [SECONDS]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
build=build-fuzz

./scripts/install-deps.sh
launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
CC=clang CXX=clang++ cmake -S fuzz -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" >/dev/null
cmake --build "$build" -j2

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
status=0
for seeds in fuzz/corpus/*/; do
  target=$(basename "$seeds")
  corpus="$build/corpus/$target"   # what this run finds; the seeds in the repository stay as they are
  log="$build/$target.log"
  mkdir -p "$corpus"
  if "$build/${target}_fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=4096 \
       -print_final_stats=1 -artifact_prefix="$build/$target-" "$corpus" "$seeds" 2>&1 |
       grep -v '^ezossl: warning: ' >"$log"; then   # the tool's warnings about hostile inputs
    execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    coverage=$(grep -o 'cov: [0-9]*' "$log" | tail -n 1)
    echo "fuzz $target: ${seconds} s, $execs inputs, $coverage edges, no crash, leak or timeout"
  else
    tail -n 60 "$log"
    echo "fuzz $target: FAILED (log $log, reproducer $build/$target-*)"
    status=1
  fi
done
exit $status
