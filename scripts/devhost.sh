#!/usr/bin/env bash
# Sets up, builds and runs the development host with its built-in sample world.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh default
exec build/default/devhost/app/qxdevhost "$@"
