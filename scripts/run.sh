#!/usr/bin/env bash
# Sets everything up and starts Parqueta on the current X display. Without a usable
# display (no DISPLAY, or nothing answering there) it runs the demo instead: a virtual
# two-monitor desktop with the real Parqueta driven through a few snaps, screenshots in
# demo/ at the top of the tree; its exit status says whether every snap landed.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/scripts/setup.sh" "$root/build"

if [ -n "${DISPLAY:-}" ] && xdpyinfo >/dev/null 2>&1; then
  exec "$root/build/src/app/parqueta" "$@"
fi
echo "run: no usable X display (DISPLAY='${DISPLAY:-}'); running the demo on a virtual desktop"
cmake --build "$root/build" --target parqueta_demo
exec "$root/build/tools/demo/parqueta_demo" "$root/demo"
