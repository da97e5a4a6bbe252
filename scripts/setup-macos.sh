#!/usr/bin/env bash
# setup.sh on a Mac: installs what is missing with Homebrew (Qt, Ninja, GoogleTest),
# fetches Sparkle 2's release archive once (checksum checked) into .deps/, then
# configures and builds.
# Usage: scripts/setup-macos.sh [BUILD_DIR [extra cmake arguments...]]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build}"
shift || true

sparkle_version="2.6.4"
sparkle_sha256="50612a06038abc931f16011d7903b8326a362c1074dabccb718404ce8e585f0b"

if ! command -v brew >/dev/null 2>&1; then
  echo "setup: Homebrew is needed to install Qt, Ninja and GoogleTest: see https://brew.sh" >&2
  exit 1
fi
missing=()
for formula in qt ninja googletest; do
  brew list --formula "$formula" >/dev/null 2>&1 || missing+=("$formula")
done
if ((${#missing[@]})); then
  echo "setup: installing ${missing[*]}"
  brew install "${missing[@]}"
fi

sparkle="$root/.deps/sparkle-$sparkle_version"
if [ ! -d "$sparkle/Sparkle.framework" ]; then
  echo "setup: fetching Sparkle $sparkle_version"
  scratch="$(mktemp -d)"
  trap 'rm -rf "$scratch"' EXIT
  curl -fsSL -o "$scratch/Sparkle.tar.xz" \
    "https://github.com/sparkle-project/Sparkle/releases/download/$sparkle_version/Sparkle-$sparkle_version.tar.xz"
  echo "$sparkle_sha256  $scratch/Sparkle.tar.xz" | shasum -a 256 -c - >/dev/null
  mkdir -p "$scratch/unpacked"
  tar -xf "$scratch/Sparkle.tar.xz" -C "$scratch/unpacked"
  rm -rf "$sparkle"
  mkdir -p "$(dirname "$sparkle")"
  mv "$scratch/unpacked" "$sparkle"
fi

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_PREFIX_PATH="$(brew --prefix qt)" -DPARQUETA_SPARKLE_FRAMEWORK="$sparkle/Sparkle.framework" "$@" >/dev/null
cmake --build "$build"
