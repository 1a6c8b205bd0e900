#!/usr/bin/env bash
# Installs what building and testing need, and nothing when it is all there already.
set -euo pipefail

# clang compile-checks the macOS Objective-C++ sources on Linux (cmake/MacCompileCheck.cmake).
debian_packages=(cmake ninja-build g++ clang pkg-config git lsof openssh-client openssh-server tar
                 qt6-base-dev libcli11-dev
                 libgtest-dev libgmock-dev libsqlite3-dev libplist-dev clang-format qt6-qpa-plugins
                 xvfb xauth)
brew_formulae=(cmake ninja qt cli11 googletest sqlite clang-format libplist pkg-config)

missing_debian() {
  local pkg
  for pkg in "${debian_packages[@]}"; do
    dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed' || echo "$pkg"
  done
}

if [[ "$(uname -s)" == Darwin ]]; then
  command -v brew >/dev/null || { echo "Homebrew is needed: https://brew.sh" >&2; exit 1; }
  for formula in "${brew_formulae[@]}"; do
    brew list --formula "$formula" >/dev/null 2>&1 || brew install "$formula"
  done
  exit 0
fi

command -v dpkg-query >/dev/null || { echo "Only Debian/Ubuntu and macOS are supported" >&2; exit 1; }
mapfile -t missing < <(missing_debian)
[[ ${#missing[@]} -eq 0 ]] && exit 0

sudo=""
[[ $(id -u) -ne 0 ]] && sudo="sudo"
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
# A fresh machine has empty package lists; update only when an install cannot find a package.
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" ||
  { $sudo apt-get update -qq && $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"; }
