#!/usr/bin/env bash
# `make bench`: times the engine's phases against du, gdu and ncdu on a generated workspace.
#
# The workspace (make-workspace, scale 1) is built once into bench/workspace and kept. Every
# command runs once to warm the cache, then BENCH_RUNS times (default 5), the commands taking
# turns so that a burst of load on the machine hits them all alike. Medians are printed.
set -euo pipefail

build_dir=${1:?usage: bench/run-bench.sh BUILD_DIR}
repo=$(cd "$(dirname "$0")/.." && pwd)
[[ $build_dir = /* ]] || build_dir="$repo/$build_dir"
bench="$build_dir/bench/corvane_bench"
generator="$repo/../shared/bench/make-workspace"
workspace="$repo/bench/workspace/ws"
manifest="$workspace-manifest.json"
runs=${BENCH_RUNS:-5}

say() { printf '%s\n' "$*"; }
fail() { printf 'bench: %s\n' "$*" >&2; exit 1; }

[[ -x $bench ]] || fail "$bench is missing; run \`make bench\`, which builds it first"

make_workspace() {
  [[ -f $manifest ]] && return
  [[ -f $generator ]] ||
    fail "the workspace generator is not at $generator (expected beside the repository, in ../shared/bench)"
  mkdir -p "$(dirname "$workspace")"
  local force=()
  # A run cut short leaves a workspace without its manifest; the generator replaces only its own.
  [[ -e $workspace ]] && force=(--force)
  say "bench: building the workspace (one to two minutes) ..."
  python3 "$generator" "$workspace" --scale 1 "${force[@]}"
}

# GNU time gives wall, CPU and peak memory of a command and its children.
time_tool=""
install_peers() {
  local missing=()
  if [[ $(uname -s) == Darwin ]]; then
    command -v gdu-go >/dev/null || command -v gdu >/dev/null || missing+=(gdu)
    command -v ncdu >/dev/null || missing+=(ncdu)
    command -v gtime >/dev/null || missing+=(gnu-time)
    [[ ${#missing[@]} -eq 0 ]] || brew install "${missing[@]}"
    time_tool=$(command -v gtime)
    return
  fi
  command -v gdu >/dev/null || missing+=(gdu)
  command -v ncdu >/dev/null || missing+=(ncdu)
  [[ -x /usr/bin/time ]] || missing+=(time)
  if [[ ${#missing[@]} -gt 0 ]]; then
    local sudo=""
    [[ $(id -u) -ne 0 ]] && sudo="sudo"
    say "bench: installing ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null ||
      { $sudo apt-get update -qq && $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null; }
  fi
  time_tool=/usr/bin/time
}

make_workspace
install_peers
gdu_tool=$(command -v gdu-go || command -v gdu)

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
"$bench" list-artifacts --manifest "$manifest" >"$scratch/artifacts"

q() { printf '%q' "$1"; }
# name|command. Each line is compared with the du line over the same folders.
commands=(
  "corvane sizes: artifact folders|$(q "$bench") sizes --manifest $(q "$manifest") --quiet"
  "du -s artifact folders|xargs -0 du -s <$(q "$scratch/artifacts")"
  "corvane walk: workspace|$(q "$bench") walk --manifest $(q "$manifest") --quiet"
  "du -s workspace|du -s $(q "$workspace")"
  "gdu -n -p -s workspace|$(q "$gdu_tool") -n -p -s $(q "$workspace")"
  "ncdu -0 -x -o /dev/null workspace|ncdu -0 -x -o /dev/null $(q "$workspace")"
)
# The full scan (`corvane_bench scan ROOT`, until scanCompleted) joins the list as soon as the
# benchmark program offers it.
has_scan=false
if "$bench" --help 2>/dev/null | grep -q '^ *scan '; then
  has_scan=true
  commands+=("corvane scan: workspace|$(q "$bench") scan $(q "$workspace") --quiet")
fi

run_timed() { # index, round
  local line=${commands[$1]}
  "$time_tool" -f '%e %U %S %M' -o "$scratch/time.$1.$2" bash -c "${line#*|}" >/dev/null 2>&1 ||
    say "bench: \"${line%%|*}\" failed in round $2"
}

say "bench: $(uname -sm), $(getconf _NPROCESSORS_ONLN 2>/dev/null || sysctl -n hw.ncpu) cores; load $(uptime | sed 's/.*load averages*: //')"
say "bench: what the engine's phases find, against the manifest (this also warms the cache)"
"$bench" sizes --manifest "$manifest" | sed 's/^/  /' || true
"$bench" walk --manifest "$manifest" | sed 's/^/  /' || true
for i in "${!commands[@]}"; do run_timed "$i" warm; done
for round in $(seq 1 "$runs"); do
  for i in "${!commands[@]}"; do run_timed "$i" "$round"; done
done
say "bench: load after the runs $(uptime | sed 's/.*load averages*: //')"

median() { sort -n | awk '{ v[NR] = $1 } END { if (NR == 0) print "nan"; else if (NR % 2) print v[(NR + 1) / 2]; else print (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
column_median() { # index, awk expression over wall=$1 user=$2 sys=$3 rss_kb=$4
  cat "$scratch"/time."$1".[0-9]* 2>/dev/null | awk "{ print $2 }" | median
}

say ""
say "Medians of $runs warm runs (wall and CPU seconds, peak resident memory)."
printf '%-40s %8s %8s %9s   %s\n' "command" "wall s" "cpu s" "max RSS" "wall against du"
wall=()
for i in "${!commands[@]}"; do wall[$i]=$(column_median "$i" '$1'); done
reference_of() { # name -> index of the du line over the same folders
  local name=${commands[$1]%%|*} target j
  case $name in *artifact*) target="du -s artifact folders" ;; *) target="du -s workspace" ;; esac
  for j in "${!commands[@]}"; do
    if [[ ${commands[$j]%%|*} == "$target" ]]; then echo "$j"; fi
  done
}
for i in "${!commands[@]}"; do
  name=${commands[$i]%%|*}
  cpu=$(column_median "$i" '$2 + $3')
  rss=$(column_median "$i" '$4 / 1024')
  ref=$(reference_of "$i")
  ratio=$(awk -v a="${wall[$i]}" -v b="${wall[$ref]}" 'BEGIN { if (b > 0) printf "%.2fx %s", a / b, "'"${commands[$ref]%%|*}"'" }')
  printf '%-40s %8.2f %8.2f %6.0f MB   %s\n' "$name" "${wall[$i]}" "$cpu" "$rss" "$ratio"
done
if ! $has_scan; then
  say "corvane scan: not measured yet; it arrives with the scan engine"
fi

sizes_ratio=$(awk -v a="${wall[0]}" -v b="${wall[1]}" 'BEGIN { printf "%.2f", a / b }')
goal=0.55
if awk -v r="$sizes_ratio" -v g="$goal" 'BEGIN { exit !(r <= g) }'; then
  say "Size phase: ${sizes_ratio}x the wall time of du -s over the same folders (goal: at most ${goal}x)."
else
  say "Size phase: ${sizes_ratio}x the wall time of du -s over the same folders, above the goal of ${goal}x."
fi
