#!/usr/bin/env bash
# The main job: builds the command and the plug-in, shows the plug-in as the host registers
# it, runs the first example, then the proximity demo with its pictures, all into out/.
set -euo pipefail
cd "$(dirname "$0")/.."
mkdir -p build
if ! { cmake -S . -B build -DCMAKE_BUILD_TYPE=Release && cmake --build build -j"$(nproc)" --target orbelin Orbelin; } >build/demo-build.log 2>&1; then
  cat build/demo-build.log
  exit 1
fi
build/bin/orbelin info
mkdir -p out
build/bin/orbelin run examples/first_weightmap.lua --project "$PWD"
echo "weights written to $PWD/out/first_weightmap.csv"
echo
build/bin/orbelin demo --out "$PWD/out"
