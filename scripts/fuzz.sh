#!/usr/bin/env bash
# Runs every fuzz target of a CORVANE_FUZZ build for FUZZ_SECONDS each (60 by default) and prints
# one line per target: executions, corpus size and crashes. An input over 1 s or 512 MB counts as
# a crash. New inputs go to a working corpus in the build folder; the seeds in fuzz/corpus stay as
# they are. Exits 1 when any target crashed; its input is in <build>/fuzz-work/<target>/artifacts.
set -uo pipefail

build=${1:-build-fuzz}
seconds=${FUZZ_SECONDS:-60}
root=$(cd "$(dirname "$0")/.." && pwd)
work="$build/fuzz-work"
targets="$build/fuzz-targets.txt"
if [[ ! -f "$targets" ]]; then
  echo "No fuzz build in $build: run 'make fuzz' (clang, -DCORVANE_FUZZ=ON)." >&2
  exit 2
fi

crashed=0
total_runs=0
printf '%-22s %14s %8s %8s\n' target executions corpus crashes
while read -r name; do
  [[ -n "$name" ]] || continue
  dir="$work/$name"
  mkdir -p "$dir/corpus" "$dir/artifacts"
  "$build/fuzz/fuzz_$name" -max_total_time="$seconds" -rss_limit_mb=512 -timeout=1 \
    -print_final_stats=1 -artifact_prefix="$dir/artifacts/" \
    "$dir/corpus" "$root/fuzz/corpus/$name" >"$dir/log" 2>&1
  status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$dir/log" | tail -n 1)
  corpus=$(grep -o 'corp: [0-9]*' "$dir/log" | tail -n 1 | cut -d' ' -f2)
  crashes=$(find "$dir/artifacts" -type f | wc -l)
  if [[ $status -ne 0 && $crashes -eq 0 ]]; then
    crashes=1 # stopped without leaving an input (e.g. a failure at start-up): see the log
  fi
  printf '%-22s %14s %8s %8s\n' "$name" "${runs:-0}" "${corpus:-0}" "$crashes"
  total_runs=$((total_runs + ${runs:-0}))
  [[ $crashes -eq 0 ]] || crashed=1
done <"$targets"
echo "$(wc -l <"$targets") targets, $seconds s each, $total_runs executions in all"
exit $crashed
