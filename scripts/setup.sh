#!/usr/bin/env bash
# Installs what the build, the program and its tests need when any is
# missing: Debian packages (assimp-testmodels holds the 3D files the tests
# read), playwright-core from npm for the browser tests and three.js for the
# page. Safe to run again.
set -euo pipefail
cd "$(dirname "$0")/.."
packages=(cmake ninja-build g++ clang-14 libclang-rt-14-dev pkg-config libgtest-dev libgmock-dev libbenchmark-dev rapidjson-dev
          libcpp-httplib-dev chromium nodejs libassimp-dev assimp-testmodels)
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
# three.js for the viewer pane, served by the program from devhost/web.
if [ ! -f devhost/web/node_modules/three/build/three.module.js ]; then
  npm ci --prefix devhost/web --no-audit --no-fund --loglevel=error
fi
