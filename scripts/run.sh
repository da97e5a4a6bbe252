#!/usr/bin/env bash
# Sets everything up and starts Parqueta on the current X display (on macOS: Parqueta.app). Without a usable
# display (no DISPLAY, or nothing answering there) it runs the demo instead: a virtual
# two-monitor desktop with the real Parqueta driven through a few snaps, screenshots in
# demo/ at the top of the tree; its exit status says whether every snap landed.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/scripts/setup.sh" "$root/build"

# On a Mac the bundle is opened as an application of its own, so that the Accessibility
# permission is asked for Parqueta rather than for the terminal that started it.
if [ "$(uname -s)" = "Darwin" ]; then
  exec open -W "$root/build/src/app/Parqueta.app" --args "$@"
fi

if [ -n "${DISPLAY:-}" ] && xdpyinfo >/dev/null 2>&1; then
  exec "$root/build/src/app/parqueta" "$@"
fi
echo "run: no usable X display (DISPLAY='${DISPLAY:-}'); running the demo on a virtual desktop"
cmake --build "$root/build" --target parqueta_demo
exec "$root/build/tools/demo/parqueta_demo" "$root/demo"
