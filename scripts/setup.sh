#!/usr/bin/env bash
# Installs the build's packages when any is missing. Safe to run again.
set -euo pipefail
packages=(cmake ninja-build g++ clang-14 libclang-rt-14-dev libgtest-dev libgmock-dev libbenchmark-dev rapidjson-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""; [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
fi
