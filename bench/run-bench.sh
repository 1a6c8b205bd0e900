#!/usr/bin/env bash
# `make bench`: times the engine's phases against du, gdu and ncdu on a generated workspace.
#
# The workspace (make-workspace, scale 1) is built once into ~/.cache/corvane-bench and kept. Every
# command runs once to warm the cache, then BENCH_RUNS times (default 5), the commands taking
# turns so that a burst of load on the machine hits them all alike. Medians are printed.
set -euo pipefail

build_dir=${1:?usage: bench/run-bench.sh BUILD_DIR}
repo=$(cd "$(dirname "$0")/.." && pwd)
[[ $build_dir = /* ]] || build_dir="$repo/$build_dir"
bench="$build_dir/bench/corvane_bench"
generator="$repo/../shared/bench/make-workspace"
scale=${BENCH_SCALE:-1}
# Kept between runs, and outside every git working tree, as the generator wants.
workspace_dir=${BENCH_WORKSPACE_DIR:-${XDG_CACHE_HOME:-$HOME/.cache}/corvane-bench}
workspace="$workspace_dir/ws-scale$scale"
manifest="$workspace-manifest.json"
runs=${BENCH_RUNS:-5}
# Another build (its build directory) whose scan and git wrapper are timed in the same run, so a
# change can be judged against the code before it under the same load.
baseline=${BENCH_BASELINE:-}

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
  python3 "$generator" "$workspace" --scale "$scale" "${force[@]}"
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
"$bench" list-repos --manifest "$manifest" >"$scratch/repos"
# The git commands a scan runs for each repository, once straight from a shell loop and once
# through the engine's wrapper, so that the wrapper's own cost shows.
cat >"$scratch/raw-git.sh" <<'SH'
# The list of repositories comes on descriptor 3, so that no git command can read it.
export GIT_OPTIONAL_LOCKS=0 GIT_TERMINAL_PROMPT=0
g() { git -C "$repo" -c core.quotepath=off -c core.fsmonitor=false -c status.showUntrackedFiles=normal "$@" >/dev/null 2>&1; }
while IFS= read -r repo <&3; do
  g status --porcelain=v2 --branch -z --untracked-files=normal --ignore-submodules=none --find-renames
  g remote -v; g log -1 --no-show-signature --format=%ct
  g for-each-ref '--format=%(refname)%09%(upstream)%09%(upstream:track)' refs/heads refs/stash
  g ls-files --others --ignored --exclude-standard --directory -z
  printf '%s\0' "$repo/node_modules" | g check-ignore --stdin -z
done
exit 0
SH
commands+=(
  "corvane scan: workspace|$(q "$bench") scan --manifest $(q "$manifest") --quiet"
  "git commands, shell loop|bash $(q "$scratch/raw-git.sh") 3<$(q "$scratch/repos")"
  "git commands, engine wrapper|$(q "$bench") git --manifest $(q "$manifest") --quiet"
)
if [[ -n $baseline ]]; then
  baseline_bench="$baseline/bench/corvane_bench"
  [[ -x $baseline_bench ]] || fail "BENCH_BASELINE has no bench/corvane_bench: $baseline"
  commands+=(
    "baseline scan: workspace|$(q "$baseline_bench") scan --manifest $(q "$manifest") --quiet"
    "baseline git commands, engine wrapper|$(q "$baseline_bench") git --manifest $(q "$manifest") --quiet"
  )
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
  case $name in
    *artifact*) target="du -s artifact folders" ;;
    "git commands, engine wrapper" | "baseline git"*) target="git commands, shell loop" ;;
    "corvane scan"* | "baseline scan"*) target="gdu -n -p -s workspace" ;;
    *) target="du -s workspace" ;;
  esac
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
index_of() { local j; for j in "${!commands[@]}"; do [[ ${commands[$j]%%|*} == "$1"* ]] && echo "$j"; done; }
ratio_line() { # label, index, reference index, goal
  awk -v a="${wall[$2]}" -v b="${wall[$3]}" -v g="$4" -v l="$1" \
    'BEGIN { r = a / b; printf "%s: %.2fx (goal: at most %sx) %s\n", l, r, g, (r <= g ? "met" : "NOT met") }'
}
ratio_line "Full scan against gdu" "$(index_of "corvane scan")" "$(index_of "gdu")" 1.3
ratio_line "Git wrapper against the raw commands" "$(index_of "git commands, engine")" "$(index_of "git commands, shell")" 1.1
if [[ -n $baseline ]]; then
  awk -v a="${wall[$(index_of "corvane scan")]}" -v b="${wall[$(index_of "baseline scan")]}" \
    'BEGIN { printf "Full scan against the baseline build: %.2fx its wall time\n", a / b }'
  awk -v a="${wall[$(index_of "git commands, engine")]}" -v b="${wall[$(index_of "baseline git")]}" \
    'BEGIN { printf "Git wrapper against the baseline build: %.2fx its wall time\n", a / b }'
fi
scan_rss=$(column_median "$(index_of "corvane scan")" '$4 / 1024')
say "Full scan peak memory at scale $scale: ${scan_rss} MB (goal: at most 100 MB at scale 1, 150 MB at scale 4)"

sizes_ratio=$(awk -v a="${wall[0]}" -v b="${wall[1]}" 'BEGIN { printf "%.2f", a / b }')
goal=0.55
if awk -v r="$sizes_ratio" -v g="$goal" 'BEGIN { exit !(r <= g) }'; then
  say "Size phase: ${sizes_ratio}x the wall time of du -s over the same folders (goal: at most ${goal}x)."
else
  say "Size phase: ${sizes_ratio}x the wall time of du -s over the same folders, above the goal of ${goal}x."
fi

say ""
"$repo/bench/run-agents-bench.sh" "$build_dir/bench/corvane_agents_bench"

say ""
"$repo/bench/run-archive-bench.sh" "$build_dir/src/cli/corvane" "$workspace" "$manifest"
