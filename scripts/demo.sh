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
# Scan, connect, convert, write through the dispatcher and the link's flow
# control, and wait for the printer's confirmation (exit 0 only then).
"$zvprint" print "$sample" --backend sim --mode dither --paper out/paper.png
echo "The printed paper is in $PWD/out/paper.png"
