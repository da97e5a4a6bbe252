#!/usr/bin/env bash
# Builds and runs every benchmark, then a short fuzz run, and prints the figures.
# Usage: scripts/bench.sh [--quick]
#   --quick: fewer repetitions and shorter idle periods (a smoke run, minutes not a quarter hour)
# Environment: BENCH_BUILD (build directory, default <repo>/build-bench),
#              FUZZ_SECONDS (per fuzz target, default 20), FUZZ_BUILD (see scripts/fuzz.sh).
# The figures and the machine go to stdout and to $BENCH_BUILD/bench-results/<time>.txt.
# Benchmarks measure and print; nothing here fails on a timing.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${BENCH_BUILD:-$root/build-bench}"
fuzz_seconds="${FUZZ_SECONDS:-20}"

reps=200 idle=60 gestures=1000 starts=20 drag_idle=30 editor_idle=20 replugs=10
if [[ "${1:-}" == "--quick" ]]; then
  reps=40 idle=10 gestures=100 starts=5 drag_idle=10 editor_idle=5 replugs=3
fi

"$root/scripts/setup.sh" "$build" -DPARQUETA_BUILD_BENCH=ON

results="$build/bench-results"
mkdir -p "$results"
out="$results/$(date -u +%Y%m%dT%H%M%SZ).txt"
exec > >(tee "$out") 2>&1

pkg() { dpkg-query -W -f='${Version}' "$1" 2>/dev/null || echo unknown; }
echo "== machine"
echo "date:     $(date -u '+%Y-%m-%d %H:%M UTC')"
echo "cores:    $(nproc), $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2- | sed 's/^ *//')"
echo "load:     $(cut -d' ' -f1-3 /proc/loadavg) (1, 5, 15 min) before the runs"
echo "packages: xvfb $(pkg xvfb), openbox $(pkg openbox), tint2 $(pkg tint2), xcompmgr $(pkg xcompmgr), picom $(pkg picom), Qt $(pkg libqt6gui6)"

# A benchmark that fails is reported and the others still run; the exit status says so.
failed=()
run() {
  local status=0
  "$@" || status=$?
  ((status == 0)) || { failed+=("$(basename "$1") (exit $status)"); echo "!! $(basename "$1") failed with exit $status"; }
}

# Log lines of the program's categories would drown the figures; the benchmarks that
# start the real executable set nothing here, it needs its start-up line.
quiet="parqueta.*.info=false;parqueta.*.debug=false"

echo
echo "== bench_model: zones and borders of a 64-zone tree, hit-testing 64 zones, a 50-layout catalogue"
QT_LOGGING_RULES="$quiet" QT_QPA_PLATFORM=offscreen run "$build/bench/bench_model"
echo "== bench_restore: 50 windows put back after a replug, one window appearing among 50 records (fakes)"
QT_LOGGING_RULES="$quiet" QT_QPA_PLATFORM=offscreen run "$build/bench/bench_restore"

echo
echo "== bench_drag_input: global input and drag recognition, idle cost of the monitors"
QT_LOGGING_RULES="$quiet" run "$build/bench/bench_drag_input" --rate 1000 --seconds 3 --idle "$drag_idle"

echo
echo "== bench_gesture: overlay (kept windows and after a pause), highlight, event handling, snap (Application in"
echo "   process), the floors; no compositor"
run "$build/bench/bench_gesture" --reps "$reps" --rate 1000 --seconds 3 --sections onhsxfp

echo
echo "== bench_gesture with xcompmgr (translucent overlays)"
run "$build/bench/bench_gesture" --reps "$reps" --rate 1000 --seconds 3 --sections onhsxf --compositor xcompmgr

echo
echo "== bench_gesture with picom (xrender backend, no vsync): overlay, highlight and the floor"
run "$build/bench/bench_gesture" --reps "$reps" --rate 1000 --seconds 3 --sections onhxfp --compositor picom

echo
echo "== bench_gesture with 64 zones per screen (overlay, highlight, events; the X server under the same shapes"
echo "   without Parqueta), without a compositor, with xcompmgr and with picom"
run "$build/bench/bench_gesture" --reps "$reps" --rate 1000 --seconds 3 --depth 6 --sections onhx
# The server's floor in a process of its own: the sections above end with a snap that
# leaves the dragged window the size of one small zone.
run "$build/bench/bench_gesture" --reps "$reps" --rate 1000 --seconds 3 --depth 6 --sections b
run "$build/bench/bench_gesture" --reps "$reps" --rate 1000 --seconds 3 --depth 6 --sections onhx --compositor xcompmgr
run "$build/bench/bench_gesture" --reps "$reps" --rate 1000 --seconds 3 --depth 6 --sections onhx --compositor picom

echo
echo "== bench_editor: zone editor shown, preview line, border drag with 64 zones, borders flash, idle after; without and with xcompmgr"
run "$build/bench/bench_editor" --reps "$reps" --rate 1000 --seconds 3 --idle "$editor_idle"
run "$build/bench/bench_editor" --reps "$reps" --rate 1000 --seconds 3 --idle "$editor_idle" --compositor 1
echo "== bench_settings: settings window shown (first and again), memory after closing, idle after"
run "$build/bench/bench_settings" --reps "$((reps / 2))" --idle "$editor_idle"

echo
echo "== bench_process: the real parqueta executable (start-up, idle, memory, snaps from outside; the memory floor)"
run "$build/bench/bench_process" --starts "$starts" --idle "$idle" --gestures "$gestures" --snaps "$reps"
echo "== bench_replug: RIGHT unplugged and plugged back with 50 windows remembered on it (real executable, frames from outside)"
run "$build/bench/bench_replug" --windows 50 --reps "$replugs"

echo
echo "== fuzz: ${fuzz_seconds}s per target (scripts/fuzz.sh)"
fuzz_status=0
"$root/scripts/fuzz.sh" "$fuzz_seconds" || fuzz_status=$?

echo
echo "== figures saved to $out"
if ((${#failed[@]})); then
  echo "benchmarks that failed: ${failed[*]}"
  exit 1
fi
exit "$fuzz_status"
