#!/usr/bin/env bash
# Builds and runs every test: a release build, then the same tests under AddressSanitizer,
# UndefinedBehaviorSanitizer and the float-to-integer cast check, then a bounded run of each
# fuzz target (scripts/fuzz.sh).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh build
(cd build && ctest --output-on-failure -j2)
bash scripts/build.sh build-asan -DCMAKE_BUILD_TYPE=Debug -DORBELIN_SANITIZE=ON -DORBELIN_BENCH=OFF
(cd build-asan && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest --output-on-failure -j2)
bash scripts/fuzz.sh
