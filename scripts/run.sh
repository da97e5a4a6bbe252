#!/usr/bin/env bash
# Sets everything up and starts Parqueta on the current X display.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/scripts/setup.sh" "$root/build"
exec "$root/build/src/app/parqueta" "$@"
