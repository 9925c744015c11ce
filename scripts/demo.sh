#!/usr/bin/env bash
# The main job: builds the command and the plug-in, shows the plug-in as the host registers
# it, runs the first example, then the demo with its pictures, all into out/.
set -euo pipefail
cd "$(dirname "$0")/.."
mkdir -p build
# The build takes minutes on a fresh machine: its progress lines are shown as they come (the
# compiler's own output stays in build/demo-build.log, shown whole if the build fails).
echo "building the orbelin command and the plug-in (log: build/demo-build.log)"
if ! { cmake -S . -B build -DCMAKE_BUILD_TYPE=Release && cmake --build build -j"$(nproc)" --target orbelin Orbelin; } 2>&1 |
    tee build/demo-build.log | grep --line-buffered -E '^\[ *[0-9]+%\]' | sed -u 's/^/  /'; then
  cat build/demo-build.log
  exit 1
fi
build/bin/orbelin info
mkdir -p out
build/bin/orbelin run examples/first_weightmap.lua --project "$PWD"
echo "weights written to $PWD/out/first_weightmap.csv"
echo
build/bin/orbelin demo --out "$PWD/out"
