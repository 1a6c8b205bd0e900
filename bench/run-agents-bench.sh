#!/usr/bin/env bash
# The coding-agents part of `make bench`: measuring a generated agent home of 20,000 Claude Code
# sessions and 5 GB of history against `du -s` of the same folders, warm, the two taking turns.
# The home is built once into the bench cache and kept. The 5 GB are apparent bytes: each session
# file is real up to what the engine could read of its head and a hole after that, so the disk
# holds about 1.4 GB; the engine and du both count allocated bytes, and both figures are printed.
set -euo pipefail

bench=${1:?usage: bench/run-agents-bench.sh CORVANE_AGENTS_BENCH}
runs=${BENCH_RUNS:-5}
cache=${BENCH_WORKSPACE_DIR:-${XDG_CACHE_HOME:-$HOME/.cache}/corvane-bench}
sessions=${BENCH_AGENT_SESSIONS:-20000}
bytes=${BENCH_AGENT_BYTES:-5000000000}
home="$cache/agents-home-2-$sessions"
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
folders=("$home/.claude" "$home/.config/Claude/claude-code-sessions")
commands=(
  "corvane agents: measure|$(printf '%q' "$bench") measure $(printf '%q' "$home") --quiet"
  "du -s the same folders|du -s $(printf '%q ' "${folders[@]}")"
)
run_timed() { # index, round
  "$time_tool" -f '%e %U %S %M' -o "$scratch/time.$1.$2" bash -c "${commands[$1]#*|}" >/dev/null 2>&1 ||
    say "bench: \"${commands[$1]%%|*}\" failed in round $2"
}
"$bench" measure "$home" | sed 's/^/  /'
total() { du -s -c "$@" "${folders[@]}" | tail -n 1 | cut -f1; }
say "  du -s: $(total --block-size=1) allocated bytes, $(total --apparent-size --block-size=1) apparent bytes"
for i in "${!commands[@]}"; do run_timed "$i" warm; done
for round in $(seq 1 "$runs"); do
  for i in "${!commands[@]}"; do run_timed "$i" "$round"; done
done
median() { sort -n | awk '{ v[NR] = $1 } END { if (NR % 2) print v[(NR + 1) / 2]; else print (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
timing() { cat "$scratch"/time."$1".[0-9]* | awk "{ print $2 }" | median; }
wall() { timing "$1" '$1'; }
cpu() { timing "$1" '$2 + $3'; }
rss() { timing "$1" '$4 / 1024'; }
say "Medians of $runs warm runs (wall and CPU seconds, peak resident memory):"
for i in "${!commands[@]}"; do
  printf '  %-28s %6.2f s %6.2f s %6.0f MB\n' "${commands[$i]%%|*}" "$(wall "$i")" "$(cpu "$i")" "$(rss "$i")"
done
# On a busy machine the wall time is mostly waiting for a core; the CPU ratio says more then.
awk -v w="$(wall 0)" -v m="$(rss 0)" -v d="$(wall 1)" -v c="$(cpu 0)" -v e="$(cpu 1)" 'BEGIN {
  printf "Agent storage: %.2f s (goal: under 2 s, %s), %.0f MB (goal: under 50 MB, %s), %.2fx the wall and %.2fx the CPU time of du -s\n",
         w, (w < 2 ? "met" : "NOT met"), m, (m < 50 ? "met" : "NOT met"), (d > 0 ? w / d : 0), (e > 0 ? c / e : 0) }'
