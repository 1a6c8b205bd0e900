#!/usr/bin/env bash
# `make run`: the main job of the build in $1, a scan of the home folder.
set -euo pipefail
build_dir=$1
exec "$build_dir/src/cli/corvane" scan "$HOME"
