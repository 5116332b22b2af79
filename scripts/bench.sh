#!/usr/bin/env bash
# Sets up, builds the default preset and runs every benchmark program once,
# printing the machine and the date first. An argument is passed to each
# program as its --benchmark_filter.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh default >/dev/null
echo "== $(date -u '+%Y-%m-%d %H:%M UTC'), $(nproc) cores, load $(cut -d' ' -f1-3 /proc/loadavg)"
echo "== $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | sed 's/^ //')"
filter=()
[ $# -gt 0 ] && filter=("--benchmark_filter=$1")
for program in memory_bench request_bench publisher_bench tree_service_bench load_bench world_bench model_bench gateway_event_bench; do
  echo "== $program"
  "build/default/bench/$program" "${filter[@]}"
done
