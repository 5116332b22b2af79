#!/usr/bin/env bash
# Sets up, builds and runs the development host: the gateway with the
# built-in sample world, on 127.0.0.1:8080 (or the next free port). It prints
# the page's address with its token, http://127.0.0.1:PORT/?token=TOKEN, on a
# line of its own: open that. Options pass on to webapi-devhost (--world FILE,
# --model FILE, --synthetic N, --port P, --token TEXT, --session FILE, ...).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh default
exec build/default/devhost/app/webapi-devhost "$@"
