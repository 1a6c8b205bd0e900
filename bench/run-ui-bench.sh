#!/usr/bin/env bash
# `make bench-ui`: scans the benchmark workspace in the real main window on the offscreen platform
# and reports the longest gap of a 10 ms main-thread timer (goal: under 50 ms), once on the
# project list and once on the overview while it loads every area over a fake home, and the longest
# a key typed into the project filter over 2,000 projects takes (goal: under 30 ms). The workspace is
# the scale-1 one that `make bench` keeps in ~/.cache/corvane-bench, made here if missing.
set -euo pipefail

build_dir=${1:?usage: bench/run-ui-bench.sh BUILD_DIR}
repo=$(cd "$(dirname "$0")/.." && pwd)
[[ $build_dir = /* ]] || build_dir="$repo/$build_dir"
bench="$build_dir/bench/corvane_ui_bench"
generator="$repo/../shared/bench/make-workspace"
# Outside every git working tree, as the generator wants; shared with `make bench`.
workspace_dir=${BENCH_WORKSPACE_DIR:-${XDG_CACHE_HOME:-$HOME/.cache}/corvane-bench}
workspace="$workspace_dir/ws-scale1"
manifest="$workspace-manifest.json"

[[ -x $bench ]] || { echo "bench: $bench is missing; run \`make bench-ui\`, which builds it" >&2; exit 1; }
if [[ ! -f $manifest ]]; then
  [[ -f $generator ]] || { echo "bench: the workspace generator is not at $generator" >&2; exit 1; }
  mkdir -p "$(dirname "$workspace")"
  force=()
  [[ -e $workspace ]] && force=(--force)
  echo "bench: building the workspace (one to two minutes) ..."
  python3 "$generator" "$workspace" --scale 1 "${force[@]}"
fi
# A first scan warms the file cache, so the measured one shows the window and not the disk.
QT_QPA_PLATFORM=offscreen "$bench" "$workspace" >/dev/null || true
status=0
QT_QPA_PLATFORM=offscreen "$bench" "$workspace" || status=$?
# Typing into the project list's filter over 2,000 projects, key by key (goal: under 30 ms a key).
QT_QPA_PLATFORM=offscreen "$bench" --filter || status=$?
# Again with the overview on screen, loading every area over a fake home while the scan runs.
QT_QPA_PLATFORM=offscreen "$bench" --overview "$workspace" || status=$?
exit $status
