#!/usr/bin/env bash
# Installs the Debian packages Velmara needs, only those that are missing, so a second run costs
# seconds. Runs apt-get as root (or through sudo when not root).
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  qt6-base-dev libqt6svg6
  libtiff-dev libgif-dev libpng-dev libjpeg62-turbo-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  xvfb xauth
  fonts-dejavu-core fonts-liberation
  poppler-utils
  python3
)
# Benchmark peer (it reads picture files too) and fuzzing: wanted, but the build goes on without them.
optional=(libopencv-imgproc-dev libopencv-imgcodecs-dev clang libclang-rt-14-dev)

missing=()
for p in "${packages[@]}" "${optional[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

sudo=""
if [ "$(id -u)" -ne 0 ]; then
  sudo="sudo"
fi
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
