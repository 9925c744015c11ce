#!/usr/bin/env bash
# Installs every Debian package the project needs to build, test and run. Safe to run again.
set -euo pipefail
packages=(
  build-essential cmake pkg-config
  libgtest-dev libgmock-dev libbenchmark-dev
  liblua5.1-0-dev libtinyobjloader-dev libpng-dev nlohmann-json3-dev libcli11-dev libtinygltf-dev
  clang libclang-rt-14-dev
  parallel rsync
)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  echo "setup: all packages present"
  exit 0
fi
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -q
$SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
