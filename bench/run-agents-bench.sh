#!/usr/bin/env bash
# The coding-agents part of `make bench`: measuring a generated agent home of 20,000 Claude Code
# sessions and 5 GB of history (real bytes, no holes) against `du -s` of the same folders, warm,
# the two taking turns. The home is built once into the bench cache and kept.
set -euo pipefail

bench=${1:?usage: bench/run-agents-bench.sh CORVANE_AGENTS_BENCH}
runs=${BENCH_RUNS:-5}
cache=${BENCH_WORKSPACE_DIR:-${XDG_CACHE_HOME:-$HOME/.cache}/corvane-bench}
sessions=${BENCH_AGENT_SESSIONS:-20000}
bytes=${BENCH_AGENT_BYTES:-5000000000}
home="$cache/agents-home-$sessions"
time_tool=$(command -v gtime || echo /usr/bin/time)

say() { printf '%s\n' "$*"; }

if [[ ! -f $home/.made ]]; then
  say "bench: writing the agent home ($sessions sessions, $bytes bytes; a few minutes) ..."
  rm -rf "$home"
  "$bench" make-home "$home" --sessions "$sessions" --bytes "$bytes"
  touch "$home/.made"
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
commands=(
  "corvane agents: measure|$(printf '%q' "$bench") measure $(printf '%q' "$home") --quiet"
  "du -s the same folders|du -s $(printf '%q' "$home/.claude")"
)
run_timed() { # index, round
  "$time_tool" -f '%e %M' -o "$scratch/time.$1.$2" bash -c "${commands[$1]#*|}" >/dev/null 2>&1 ||
    say "bench: \"${commands[$1]%%|*}\" failed in round $2"
}
"$bench" measure "$home" | sed 's/^/  /'
say "  du -s: $(du -s --block-size=1 "$home/.claude" | cut -f1) allocated bytes"
for i in "${!commands[@]}"; do run_timed "$i" warm; done
for round in $(seq 1 "$runs"); do
  for i in "${!commands[@]}"; do run_timed "$i" "$round"; done
done
median() { sort -n | awk '{ v[NR] = $1 } END { if (NR % 2) print v[(NR + 1) / 2]; else print (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
wall() { cat "$scratch"/time."$1".[0-9]* | awk '{ print $1 }' | median; }
rss() { cat "$scratch"/time."$1".[0-9]* | awk '{ print $2 / 1024 }' | median; }
say "Medians of $runs warm runs:"
for i in "${!commands[@]}"; do
  printf '  %-28s %6.2f s %6.0f MB\n' "${commands[$i]%%|*}" "$(wall "$i")" "$(rss "$i")"
done
awk -v w="$(wall 0)" -v m="$(rss 0)" -v d="$(wall 1)" 'BEGIN {
  printf "Agent storage: %.2f s (goal: under 2 s, %s), %.0f MB (goal: under 50 MB, %s), %.2fx du -s\n",
         w, (w < 2 ? "met" : "NOT met"), m, (m < 50 ? "met" : "NOT met"), (d > 0 ? w / d : 0) }'
