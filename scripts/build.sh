#!/usr/bin/env bash
# Configures and builds Velmara into build/ (or $VELMARA_BUILD_DIR). Extra arguments go to CMake.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
build="${VELMARA_BUILD_DIR:-$here/build}"
jobs="${VELMARA_JOBS:-$(nproc)}"
cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
cmake --build "$build" -j "$jobs"
