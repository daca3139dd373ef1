#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test through CTest.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
"$here/scripts/setup.sh"
"$here/scripts/build.sh" "$@"
build="${VELMARA_BUILD_DIR:-$here/build}"
cd "$build"
QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j "${VELMARA_JOBS:-$(nproc)}"
