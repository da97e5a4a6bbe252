#!/usr/bin/env bash
# Sets everything up and runs every test: the full suite on a normal build, then the
# unit tests again under AddressSanitizer + UndefinedBehaviorSanitizer.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
jobs="$(nproc)"

"$root/scripts/setup.sh" "$root/build"
"$root/scripts/setup.sh" "$root/build-asan" -DPARQUETA_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug

# LeakSanitizer is not available with Apple's toolchain.
leaks=1
[ "$(uname -s)" = "Darwin" ] && leaks=0
export ASAN_OPTIONS="detect_leaks=$leaks:abort_on_error=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export LSAN_OPTIONS="suppressions=$root/tests/lsan.supp"

echo "== all tests"
ctest --test-dir "$root/build" --output-on-failure -j "$jobs"
echo "== unit tests under ASan + UBSan"
ctest --test-dir "$root/build-asan" --output-on-failure -j "$jobs" -L unit
