#!/usr/bin/env bash
# Installs what a fresh Debian 12 machine lacks to build, test and benchmark
# zvprinter. Safe to run again: apt-get skips what is already there.
set -euo pipefail

packages=(
  build-essential cmake pkg-config git clang libclang-rt-14-dev clang-format
  liblzo2-dev libicu-dev libpng-dev libjpeg62-turbo-dev libpixman-1-dev
  nlohmann-json3-dev libsdbus-c++-dev libcli11-dev
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  python3 python3-skimage python3-pil python3-numpy python3-stdnum
  imagemagick hyperfine
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then sudo_cmd=(sudo -n); fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
