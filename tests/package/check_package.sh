#!/usr/bin/env bash
# Installs the build into a scratch prefix, then builds and runs a consumer through the CMake
# package (shared and static) and through pkg-config.
set -euo pipefail
build_dir=$1
work=$2
cmake=$3
python=${4:-}   # the interpreter of the Python module, when it is built
here=$(cd "$(dirname "$0")" && pwd)

rm -rf "$work"
mkdir -p "$work"
prefix="$work/prefix"
"$cmake" --install "$build_dir" --prefix "$prefix" >/dev/null

for name in include/ezossl.h include/ezossl_srp.h lib/libezossl.a lib/libezossl.so lib/libezossl_srp.a \
            lib/libezossl_srp.so lib/pkgconfig/ezossl.pc lib/pkgconfig/ezossl-srp.pc lib/cmake/ezossl/ezosslConfig.cmake; do
  found=$(find "$prefix" -path "*${name#*/}" -print -quit)
  [ -n "$found" ] || { echo "missing after install: $name"; exit 1; }
done

for targets in "ezossl::ezossl;ezossl::srp" "ezossl::ezossl_static;ezossl::srp_static"; do
  target=${targets%%;*}
  out="$work/cmake-${target##*::}"
  "$cmake" -S "$here/consumer" -B "$out" -DCMAKE_PREFIX_PATH="$prefix" -DEZOSSL_TARGET="$targets" >/dev/null
  "$cmake" --build "$out" >/dev/null
  LD_LIBRARY_PATH="$(dirname "$(find "$prefix" -name libezossl.so -print -quit)")" "$out/consumer"
done

pc_dir=$(dirname "$(find "$prefix" -name ezossl.pc -print -quit)")
lib_dir=$(dirname "$(find "$prefix" -name libezossl.so -print -quit)")
# shellcheck disable=SC2046
cc -std=c99 "$here/consumer/main.c" -o "$work/pkgconfig-consumer" \
   $(PKG_CONFIG_PATH="$pc_dir" pkg-config --cflags --libs ezossl ezossl-srp)
LD_LIBRARY_PATH="$lib_dir" "$work/pkgconfig-consumer"

# The Python module loads from the prefix alone: it finds the library through its run path.
module=$(find "$prefix" -name 'ezossl.cpython-*.so' -print -quit)
if [ -n "$module" ]; then
  (cd "$work" && PYTHONPATH="$(dirname "$module")" "$python" -c "import ezossl; ezossl.Localizer('uca', distance_cm=6.5)")
fi
