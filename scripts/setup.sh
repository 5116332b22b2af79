#!/usr/bin/env bash
# Installs what the build, the program and its tests need when any is
# missing: Debian packages, and playwright-core from npm for the browser
# tests. Safe to run again.
set -euo pipefail
cd "$(dirname "$0")/.."
packages=(cmake ninja-build g++ clang-14 libclang-rt-14-dev pkg-config libgtest-dev libgmock-dev libbenchmark-dev rapidjson-dev
          libcpp-httplib-dev chromium nodejs)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
# npm comes with Debian's nodejs as a package of its own, or with other
# builds of nodejs inside them.
command -v npm >/dev/null || missing+=(npm)
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""; [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
fi
if [ ! -d tests/browser/node_modules/playwright-core ]; then
  npm ci --prefix tests/browser --no-audit --no-fund --loglevel=error
fi
