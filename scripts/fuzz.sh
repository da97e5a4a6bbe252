#!/usr/bin/env bash
# Fuzzes every decoder of stored data with libFuzzer under ASan + UBSan.
# Usage: scripts/fuzz.sh [SECONDS_PER_TARGET [TARGET...]]   (default 60 s, every target)
# Environment: FUZZ_BUILD (default <repo>/build-fuzz), FUZZ_JOBS (build jobs, default 2),
# FUZZ_RUNS (stop each target after that many inputs instead, e.g. 10000000 for a night:
# about 20 minutes per target here).
#
# New inputs go to FUZZ_BUILD/corpus/<target>, crashing inputs to
# FUZZ_BUILD/artifacts/<target>/; the seed corpus in fuzz/corpus is only read. A crash
# is reproduced with: FUZZ_BUILD/fuzz/<target>_fuzzer <crash file>, and once fixed its
# input belongs in fuzz/corpus/<target>/ so the normal test run replays it.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
seconds="${1:-60}"
shift || true
build="${FUZZ_BUILD:-$root/build-fuzz}"
jobs="${FUZZ_JOBS:-2}"

# The target list lives in fuzz/CMakeLists.txt.
mapfile -t all < <(sed -n 's/^set(PARQUETA_FUZZ_TARGETS \(.*\))$/\1/p' "$root/fuzz/CMakeLists.txt" | tr ' ' '\n')
targets=("$@")
((${#targets[@]})) || targets=("${all[@]}")

missing=()
for pkg in clang libclang-rt-14-dev; do
  dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed" || missing+=("$pkg")
done
if ((${#missing[@]})); then
  echo "fuzz: installing ${missing[*]}"
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
fi

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_COMPILER=clang++ -DPARQUETA_FUZZ=ON -DPARQUETA_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j "$jobs" --target "${targets[@]/%/_fuzzer}"

# A small quarantine: the default 256 MB, refilled by thousands of short-lived inputs a
# second, costs a third of the speed and lets the resident size creep towards the limit
# over millions of inputs.
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:symbolize=1:quarantine_size_mb=16:thread_local_quarantine_size_kb=64"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export LSAN_OPTIONS="suppressions=$root/tests/lsan.supp"
export QT_QPA_PLATFORM=offscreen

# What each target is given: a number of inputs (FUZZ_RUNS) or of seconds.
budget="${seconds}s"
[ -z "${FUZZ_RUNS:-}" ] || budget="$FUZZ_RUNS inputs"

summary=()
failed=0
start="$build/.fuzz-start"
touch "$start"
for name in "${targets[@]}"; do
  corpus="$build/corpus/$name"
  artifacts="$build/artifacts/$name"
  log="$build/logs/$name.log"
  mkdir -p "$corpus" "$artifacts" "$(dirname "$log")"
  echo "== $name: fuzzing for $budget (log: $log)"
  status=0
  limit=(-max_total_time="$seconds")
  [ -z "${FUZZ_RUNS:-}" ] || limit=(-runs="$FUZZ_RUNS")
  "$build/fuzz/${name}_fuzzer" "$corpus" "$root/fuzz/corpus/$name" \
    "${limit[@]}" -timeout=10 -rss_limit_mb=2048 -max_len=16384 \
    -print_final_stats=1 -artifact_prefix="$artifacts/" >"$log" 2>&1 || status=$?
  execs="$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)"
  rate="$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)"
  cov="$(grep -o 'cov: [0-9]*' "$log" | tail -1 || true)"
  # Only what this run found: older artifacts stay until someone deletes them.
  mapfile -t found < <(find "$artifacts" -type f -newer "$start")
  line="$name: ${execs:-?} runs, ${rate:-?}/s, ${cov:-cov: ?}, corpus $(ls "$corpus" | wc -l) files"
  if ((status != 0 || ${#found[@]})); then
    failed=1
    line="$line, FOUND ${#found[@]} input(s) (exit $status): ${found[*]:-see log}"
    grep -m3 -E 'ERROR: |runtime error|broken promise' "$log" | sed 's/^/    /' || true
  else
    line="$line, nothing found"
  fi
  echo "$line"
  summary+=("$line")
done

echo "== fuzz summary ($budget per target)"
printf '  %s\n' "${summary[@]}"
exit "$failed"
