#!/usr/bin/env bash
# Sets up, builds and runs every test, for each preset named (default: "default").
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(default)
for preset in "${presets[@]}"; do
  echo "== preset $preset"
  scripts/build.sh "$preset"
  ctest --preset "$preset"
done
