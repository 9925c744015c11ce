#!/usr/bin/env bash
# Builds the fuzz targets (clang, libFuzzer, AddressSanitizer, UBSan) in build-fuzz/ and runs
# each for a bounded time (FUZZ_SECONDS, default 30) from its committed corpus in
# fuzz/corpus/<target>. Fails on the first crash, leak or hang; the input that caused it is
# left in build-fuzz/artifacts/. Extra arguments go to cmake (e.g. a compiler launcher).
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${FUZZ_SECONDS:-30}"
targets=(fuzz_obj fuzz_preset fuzz_lua_values fuzz_cache_file)
CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORBELIN_FUZZ=ON \
  -DORBELIN_TESTS=OFF -DORBELIN_BENCH=OFF "$@" >/dev/null
cmake --build build-fuzz -j"$(nproc)" --target "${targets[@]}"
mkdir -p build-fuzz/artifacts
for t in "${targets[@]}"; do
  # New inputs go to a corpus of the build's own; the committed one is only read.
  mkdir -p "build-fuzz/corpus/$t"
  echo "fuzz: $t for ${seconds}s"
  if ! ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 "build-fuzz/bin/$t" \
      -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=4096 -print_final_stats=0 \
      -artifact_prefix="build-fuzz/artifacts/$t-" "build-fuzz/corpus/$t" "fuzz/corpus/$t" \
      >"build-fuzz/$t.log" 2>&1; then
    tail -n 60 "build-fuzz/$t.log"
    echo "fuzz: $t failed; the input is in build-fuzz/artifacts/"
    exit 1
  fi
  grep -E "^Done [0-9]+ runs" "build-fuzz/$t.log" | tail -n 1 || true
done
echo "fuzz: no crash"
