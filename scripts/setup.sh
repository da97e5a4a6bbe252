#!/usr/bin/env bash
# Installs what is missing (Debian 12, apt-get), then configures and builds.
# Usage: scripts/setup.sh [BUILD_DIR [extra cmake arguments...]]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build}"
shift || true

mapfile -t wanted < <(grep -v '^\s*#' "$root/scripts/packages.txt" | sed '/^\s*$/d')
missing=()
for pkg in "${wanted[@]}"; do
  dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed" || missing+=("$pkg")
done
if ((${#missing[@]})); then
  echo "setup: installing ${missing[*]}"
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
fi

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
cmake --build "$build"
