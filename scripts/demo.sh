#!/usr/bin/env bash
# The main job: builds, shows the plug-in as the host registers it, runs the example scene.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh build
build/bin/orbelin info
mkdir -p out
build/bin/orbelin run examples/first_weightmap.lua --project "$PWD"
