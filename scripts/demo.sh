#!/usr/bin/env bash
# Sets up a fresh Debian 12 machine, builds zvprint, and prints a sample
# photo on the built-in virtual printer; the paper is written to out/.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh

cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DZV_BUILD_TESTS=OFF
cmake --build build/release -j "$(nproc)"

sample=${1:-/usr/lib/python3/dist-packages/skimage/data/astronaut.png}
zvprint=build/release/tools/zvprint/zvprint
mkdir -p out
"$zvprint" --version
"$zvprint" convert "$sample" --mode dither --package -o out/sample.bin
echo "print data: out/sample.bin ($(stat -c %s out/sample.bin) bytes)"
"$zvprint" render out/sample.bin -o out/paper.png
echo "paper: out/paper.png"
