#!/usr/bin/env bash
# Sets up, builds and runs the development host: the gateway with the
# built-in sample world, on http://127.0.0.1:8080/ (or the next free port,
# printed). Options pass on to webapi-devhost (--world FILE, --model FILE,
# --synthetic N, --port P, --session FILE, ...).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh default
exec build/default/devhost/app/webapi-devhost "$@"
