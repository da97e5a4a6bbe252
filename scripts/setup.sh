#!/usr/bin/env bash
# Installs what is missing (Debian 12, apt-get; on macOS scripts/setup-macos.sh), then
# configures and builds.
# Usage: scripts/setup.sh [BUILD_DIR [extra cmake arguments...]]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build}"
shift || true

# A Mac has no apt-get: Homebrew and Sparkle's release archive instead.
if [ "$(uname -s)" = "Darwin" ]; then
  exec "$root/scripts/setup-macos.sh" "$build" "$@"
fi

# Packages after the "# --no-install-recommends" line go in without their recommendations.
mapfile -t plain < <(sed '/^# --no-install-recommends/,$d' "$root/scripts/packages.txt" | grep -v '^\s*#' | sed '/^\s*$/d')
mapfile -t bare < <(sed '1,/^# --no-install-recommends/d' "$root/scripts/packages.txt" | grep -v '^\s*#' | sed '/^\s*$/d')
missing_of() {
  for pkg in "$@"; do
    dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed" || echo "$pkg"
  done
}
mapfile -t missing_plain < <(missing_of "${plain[@]}")
mapfile -t missing_bare < <(missing_of "${bare[@]}")
if ((${#missing_plain[@]} + ${#missing_bare[@]})); then
  echo "setup: installing ${missing_plain[*]} ${missing_bare[*]}"
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  if ((${#missing_plain[@]})); then
    $sudo apt-get install -y -qq "${missing_plain[@]}" >/dev/null
  fi
  if ((${#missing_bare[@]})); then
    $sudo apt-get install -y -qq --no-install-recommends "${missing_bare[@]}" >/dev/null
  fi
fi

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
cmake --build "$build"
