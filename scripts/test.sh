#!/usr/bin/env bash
# Sets up a fresh Debian 12 machine, then builds and runs every test:
#  1. g++ build with benchmarks compiled, all tests and saved fuzz corpora;
#  2. clang build with AddressSanitizer + UndefinedBehaviorSanitizer, all tests;
#  3. clang build with ThreadSanitizer, the threaded test programs only;
#  4. install into a prefix and build + run a consumer with find_package.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh --test

jobs=$(nproc)
export CTEST_OUTPUT_ON_FAILURE=1

echo "== format check"
git ls-files -- '*.cpp' '*.h' | xargs -r clang-format --dry-run --Werror

echo "== g++ build and tests"
cmake -S . -B build/ci-gcc -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_COMPILER=g++ -DZV_BUILD_BENCH=ON -DCMAKE_INSTALL_PREFIX="$PWD/build/ci-prefix" \
  -DZV_BUILD_PYTHON=ON -DPython3_EXECUTABLE=/usr/bin/python3
cmake --build build/ci-gcc -j "$jobs"
ctest --test-dir build/ci-gcc -j "$jobs" --timeout 300

echo "== clang build with ASan+UBSan and tests"
cmake -S . -B build/ci-asan -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang -DZV_SANITIZE=address,undefined
cmake --build build/ci-asan -j "$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
  LSAN_OPTIONS="suppressions=$PWD/tests/lsan.supp" \
  ctest --test-dir build/ci-asan -j "$jobs" --timeout 600

echo "== clang build with ThreadSanitizer: the tests that run real threads"
# Only the programs with threaded tests are built, and only those tests run:
# the write path on its own write thread, the run loop and serial queue, and
# the BlueZ backend's bus thread against a private dbus-daemon.
cmake -S . -B build/ci-tsan -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang -DZV_SANITIZE=thread \
  -DZV_BUILD_TOOLS=OFF
cmake --build build/ci-tsan -j "$jobs" --target zv_connection_tests zv_platform_tests zv_bluez_tests
TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$PWD/tests/tsan.supp" \
  ctest --test-dir build/ci-tsan -j "$jobs" --timeout 300 \
  -R '^(Profiles/ThreadedWritePathTest|ZVRunLoopReal|ZVSerialQueue|BluezBusTest|BluezGattTest|BluezMockTest|Profiles/BluezPrintTest)\.'

echo "== install and build a consumer against the installed package"
rm -rf build/ci-prefix build/ci-consumer
cmake --install build/ci-gcc
cmake -S examples/consumer -B build/ci-consumer -G Ninja \
  -DCMAKE_PREFIX_PATH="$PWD/build/ci-prefix"
cmake --build build/ci-consumer
LD_LIBRARY_PATH="$PWD/build/ci-prefix/lib" build/ci-consumer/zv_consumer
LD_LIBRARY_PATH="$PWD/build/ci-prefix/lib" build/ci-consumer/zv_consumer_c
PKG_CONFIG_PATH="$PWD/build/ci-prefix/lib/pkgconfig" pkg-config --exists zvprinter
echo "all test stages passed"
