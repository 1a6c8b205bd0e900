#!/usr/bin/env bash
# The archive part of `make bench`: archiving the workspace's largest project with `corvane archive`
# against what it replaces, from one run with the commands taking turns.
#   - into a folder on the same disk, against `cp -a` followed by `sha256sum` of every file on both
#     sides (what our verification by content does; we read the original once);
#   - over SSH to a server on loopback that this script starts, against `tar | ssh tar` followed
#     by the same digests of every file on both sides.
# The corvane commands run with HOME and the XDG folders in a scratch folder, so the originals
# they trash and the destination they save never reach the real ones.
set -euo pipefail

corvane=${1:?usage: bench/run-archive-bench.sh CORVANE WORKSPACE MANIFEST}
workspace=${2:?}
manifest=${3:?}
runs=${BENCH_RUNS:-5}

say() { printf '%s\n' "$*"; }

# On the workspace's disk, so that "another folder on the same disk" holds.
scratch=$(mktemp -d "$(dirname "$workspace")/archive-bench.XXXXXX")
sshd_pid=""
cleanup() {
  [[ -n $sshd_pid ]] && kill "$sshd_pid" 2>/dev/null || true
  rm -rf "$scratch"
}
trap cleanup EXIT

project=$(python3 - "$manifest" "$workspace" <<'PY'
import json, os, sys
manifest, workspace = sys.argv[1], sys.argv[2]
def size(path):
    total = 0
    for root, dirs, files in os.walk(path):
        for name in files:
            try:
                total += os.lstat(os.path.join(root, name)).st_size
            except OSError:
                pass
    return total
paths = [os.path.join(workspace, p["path"]) for p in json.load(open(manifest))["projects"]]
print(max((p for p in paths if os.path.isdir(p)), key=size))
PY
)
name=$(basename "$project")
home="$scratch/home"
mkdir -p "$home"
as_user() { HOME="$home" XDG_DATA_HOME="$home/.local/share" XDG_CONFIG_HOME="$home/.config" \
  XDG_CACHE_HOME="$home/.cache" "$@"; }
say "bench: archiving $(du -sh "$project" | cut -f1) in $(find "$project" -type f | wc -l) files: $project"

seconds() { # command... -> wall seconds
  local start end
  start=$(date +%s.%N)
  "$@" >/dev/null 2>&1 || say "bench: \"$*\" failed"
  end=$(date +%s.%N)
  awk -v a="$start" -v b="$end" 'BEGIN { printf "%.3f\n", b - a }'
}
median() { sort -n | awk '{ v[NR] = $1 } END { if (NR % 2) print v[(NR + 1) / 2]; else print (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

# The digests of every file of a folder, by relative path, NUL-separated as names may hold newlines.
digests() { (cd "$1" && find . -type f -print0 | LC_ALL=C sort -z | xargs -0 sha256sum --); }
peer_local() { cp -a "$1" "$2/" && cmp <(digests "$1") <(digests "$2/$name"); }

local_ours=()
local_peer=()
for round in warm $(seq 1 "$runs"); do
  rm -rf "$scratch/src" "$scratch/cp" "$scratch/ours" "$home/.local/share/Trash"
  mkdir -p "$scratch/src" "$scratch/cp"
  cp -a "$project" "$scratch/src/"
  peer=$(seconds peer_local "$scratch/src/$name" "$scratch/cp")
  ours=$(seconds as_user "$corvane" archive "$scratch/src/$name" --to "$scratch/ours" --yes)
  [[ -d $scratch/ours/$name ]] || say "bench: corvane archive left no copy in round $round"
  [[ $round == warm ]] && continue
  local_peer+=("$peer")
  local_ours+=("$ours")
done
local_ours_median=$(printf '%s\n' "${local_ours[@]}" | median)
local_peer_median=$(printf '%s\n' "${local_peer[@]}" | median)
awk -v a="$local_ours_median" -v b="$local_peer_median" 'BEGIN {
  r = a / b
  printf "Archive to a folder on the same disk, verified by content: %.2f s against cp -a plus sha256sum of every file on both sides %.2f s: %.2fx (goal: at most 1.0x) %s\n", a, b, r, (r <= 1.0 ? "met" : "NOT met") }'

# A server of our own on loopback, with its own keys; skipped where sshd can't run.
sshd=$(command -v sshd || echo /usr/sbin/sshd)
if [[ ! -x $sshd ]]; then
  say "Archive over SSH: skipped, sshd is not installed"
  exit 0
fi
keys="$scratch/keys"
mkdir -p "$keys"
ssh-keygen -q -t ed25519 -N '' -f "$keys/host"
ssh-keygen -q -t ed25519 -N '' -f "$keys/client"
cp "$keys/client.pub" "$keys/authorized_keys"
port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
cat >"$keys/sshd_config" <<CONFIG
ListenAddress 127.0.0.1
Port $port
HostKey $keys/host
AuthorizedKeysFile $keys/authorized_keys
PasswordAuthentication no
KbdInteractiveAuthentication no
PubkeyAuthentication yes
PermitRootLogin yes
StrictModes no
UsePAM no
PidFile $keys/sshd.pid
CONFIG
[[ $(id -u) -eq 0 && ! -d /run/sshd ]] && mkdir -p /run/sshd && chmod 755 /run/sshd
"$sshd" -D -e -f "$keys/sshd_config" 2>"$keys/sshd.log" &
sshd_pid=$!
cat >"$keys/ssh" <<WRAPPER
#!/bin/sh
exec /usr/bin/ssh -F /dev/null -i "$keys/client" -p $port -o StrictHostKeyChecking=no -o UserKnownHostsFile=/dev/null -o LogLevel=ERROR "\$@"
WRAPPER
chmod +x "$keys/ssh"
login="$(id -un)@127.0.0.1"
for _ in $(seq 1 50); do
  "$keys/ssh" -o BatchMode=yes "$login" true 2>/dev/null && break
  sleep 0.1
done
if ! "$keys/ssh" -o BatchMode=yes "$login" true 2>/dev/null; then
  say "Archive over SSH: skipped, the loopback server did not start ($(tail -1 "$keys/sshd.log"))"
  exit 0
fi
export CORVANE_TOOL_SSH="$keys/ssh"
as_user "$corvane" destinations add-ssh bench "$login" --path "$scratch/remote" >/dev/null

peer_ssh() {
  tar -C "$scratch/src" -cf - "$name" |
    "$keys/ssh" -o BatchMode=yes "$login" "mkdir -p '$scratch/peer' && tar -C '$scratch/peer' -xf -" &&
    cmp <(digests "$scratch/src/$name") \
      <("$keys/ssh" -o BatchMode=yes "$login" "cd '$scratch/peer/$name' && find . -type f -print0 | LC_ALL=C sort -z | xargs -0 sha256sum --")
}
ssh_ours=()
ssh_peer=()
for round in warm $(seq 1 "$runs"); do
  rm -rf "$scratch/src" "$scratch/peer" "$scratch/remote" "$home/.local/share/Trash"
  mkdir -p "$scratch/src"
  cp -a "$project" "$scratch/src/"
  peer=$(seconds peer_ssh)
  ours=$(seconds as_user "$corvane" archive "$scratch/src/$name" --destination bench --yes)
  [[ -d $scratch/remote/$name ]] || say "bench: corvane archive over SSH left no copy in round $round"
  [[ $round == warm ]] && continue
  ssh_peer+=("$peer")
  ssh_ours+=("$ours")
done
ssh_ours_median=$(printf '%s\n' "${ssh_ours[@]}" | median)
ssh_peer_median=$(printf '%s\n' "${ssh_peer[@]}" | median)
awk -v a="$ssh_ours_median" -v b="$ssh_peer_median" 'BEGIN {
  r = a / b
  printf "Archive over SSH on loopback, verified by content: %.2f s against tar | ssh tar plus sha256sum of every file on both sides %.2f s: %.2fx (goal: at most 1.1x) %s\n", a, b, r, (r <= 1.1 ? "met" : "NOT met") }'
