#!/usr/bin/env bash
# Runs fuzz targets for a fixed time each, under ASan and UBSan:
#   scripts/fuzz.sh [TARGET|all] [SECONDS] [extra libFuzzer options...]
# TARGET is dispatch, colour, select or load (those built; default: all),
# SECONDS defaults to 60. New inputs collect in build/fuzz/fuzz/corpus/TARGET
# (the seeds under fuzz/corpus/ are left as they are); a finding is written
# to build/fuzz/fuzz/ and ends the run with a non-zero status. The last
# lines of each run give executions, executions per second and coverage.
set -euo pipefail
cd "$(dirname "$0")/.."
target="${1:-all}"
seconds="${2:-60}"
shift $(( $# > 2 ? 2 : $# ))
scripts/setup.sh
scripts/build.sh fuzz
out=build/fuzz/fuzz
targets=()
if [ "$target" = all ]; then
  for f in "$out"/fuzz_*; do [ -x "$f" ] && targets+=("${f##*/fuzz_}"); done
else
  targets=("$target")
fi
for t in "${targets[@]}"; do
  echo "== fuzz $t for ${seconds}s"
  mkdir -p "$out/corpus/$t"
  "$out/fuzz_$t" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
    -dict="fuzz/dict/$t.dict" -artifact_prefix="$out/" "$@" "$out/corpus/$t" "fuzz/corpus/$t"
done
