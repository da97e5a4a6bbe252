#!/usr/bin/env bash
# Soak test: builds the sanitizer build, then drives its parqueta on a virtual desktop
# (Xvfb + openbox) with random gestures, shortcuts, windows coming and going and a
# monitor unplugged now and then; prints the rate and the resident memory as it goes.
# Usage: scripts/soak.sh [GESTURES] [--seconds S] [--rss-every N] [--seed X]   (default 10000)
# Environment: SOAK_BUILD (default <repo>/build-asan), SOAK_JOBS (build jobs, default 2).
# Exit status 0 when parqueta survived, answered at the end, left cleanly on SIGTERM
# without a sanitizer report, and its settings file still holds its layouts.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${SOAK_BUILD:-$root/build-asan}"
jobs="${SOAK_JOBS:-2}"
args=("$@")
((${#args[@]})) || args=(10000)

# The first run installs what is missing and builds everything (as scripts/test.sh does
# for the same directory); later runs rebuild only what the soak needs.
if [ ! -f "$build/build.ninja" ]; then
  "$root/scripts/setup.sh" "$build" -DPARQUETA_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug
fi
cmake -S "$root" -B "$build" -G Ninja -DPARQUETA_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug >/dev/null
cmake --build "$build" -j "$jobs" --target parqueta parqueta_soak

# Sanitizer reports of parqueta end up in its log (the driver reads it); leaks are
# checked at its exit. The driver itself is a test harness: its own leaks are not counted.
export PARQUETA_EXECUTABLE="$build/src/app/parqueta"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export LSAN_OPTIONS="suppressions=$root/tests/lsan.supp"
# A small quarantine, so resident memory levels off early and a growth shows.
export PARQUETA_CHILD_ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:quarantine_size_mb=16"
export ASAN_OPTIONS="detect_leaks=0"
exec "$build/tools/soak/parqueta_soak" "${args[@]}"
