#!/usr/bin/env bash
# Sets up a fresh Debian 12 machine, builds zvprint, and prints a sample
# photo on the built-in virtual printer; the paper is written to out/.
#
#   scripts/demo.sh [IMAGE]   (default: examples/data/astronaut.jpg)
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh

build=build/demo
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DZV_BUILD_TESTS=OFF -DZV_BUILD_BENCH=OFF -DZV_BUILD_FUZZ=OFF >/dev/null
cmake --build "$build" -j "$(nproc)" --target zvprint

sample=${1:-examples/data/astronaut.jpg}
zvprint=$build/tools/zvprint/zvprint
mkdir -p out
"$zvprint" --version
"$zvprint" convert "$sample" --mode dither --package -o out/sample.bin
echo "print data: out/sample.bin ($(stat -c %s out/sample.bin) bytes)"
"$zvprint" render out/sample.bin -o out/paper.png
echo "The printed paper is in $PWD/out/paper.png"
