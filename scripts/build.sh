#!/usr/bin/env bash
# Configures and builds the project: scripts/build.sh [build-dir] [extra cmake options...]
set -euo pipefail
cd "$(dirname "$0")/.."
dir="${1:-build}"
shift || true
cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=Release "$@" >/dev/null
cmake --build "$dir" -j"$(nproc)"
