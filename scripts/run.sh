#!/usr/bin/env bash
# `make run`: the desktop app of the build in $1 when there is a screen to show it on, otherwise
# the command-line scan of the home folder.
set -euo pipefail
build_dir=$1
app="$build_dir/src/shell/Corvane Clean"
if [[ "$(uname -s)" == Darwin ]]; then
  exec "$app.app/Contents/MacOS/Corvane Clean"
fi
if [[ -n "${DISPLAY:-}" || -n "${WAYLAND_DISPLAY:-}" ]]; then
  exec "$app"
fi
echo "No display (DISPLAY or WAYLAND_DISPLAY) to show the app on; scanning the home folder instead." >&2
exec "$build_dir/src/cli/corvane" scan "$HOME"
