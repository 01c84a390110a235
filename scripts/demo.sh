#!/usr/bin/env bash
# Installs what the build needs, builds the ezossl command-line tool and runs its demo.
#   scripts/demo.sh                   plot in build/ezossl-demo.svg
#   scripts/demo.sh --plot FILE.svg   plot elsewhere
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh
echo "building the ezossl tool in build/ ..."
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target ezossl -j"$(nproc)" >/dev/null
[ $# -eq 0 ] && set -- --plot build/ezossl-demo.svg
exec build/tool/ezossl demo "$@"
