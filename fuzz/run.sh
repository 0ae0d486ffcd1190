#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, ASan + UBSan) and runs them.
#
#   bash fuzz/run.sh --ci           replay every committed corpus, then fuzz each
#                                   target for a short fixed time (CI)
#   bash fuzz/run.sh --minutes N    the long campaign: N minutes per target
#                                   (add --jobs J to run J processes per target)
#   bash fuzz/run.sh --replay       replay the committed corpora only
#   bash fuzz/run.sh --build        build only
#
# Inputs that crash land in build/fuzz/crashes/; once fixed, copy each into
# fuzz/corpus/<target>/ so the CI replays it from then on. New coverage found
# by a campaign stays in build/fuzz/corpus/<target>/; merge the interesting
# part back with -merge=1 when it is small.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=""
minutes=0
jobs=1
ci_seconds=${VOLP_FUZZ_CI_SECONDS:-30}
while [ $# -gt 0 ]; do
  case $1 in
    --ci | --replay | --build) mode=${1#--} ;;
    --minutes) mode=campaign; minutes=$2; shift ;;
    --jobs) jobs=$2; shift ;;
    *) echo "usage: $0 --ci | --replay | --build | --minutes N [--jobs J]" >&2; exit 2 ;;
  esac
  shift
done
[ -n "$mode" ] || { echo "usage: $0 --ci | --replay | --build | --minutes N [--jobs J]" >&2; exit 2; }

targets="validate reader fields municipios report outputs"
build=build/fuzz
bin=$build/fuzz

# clang with its fuzzer runtime, and what the library needs.
need=""
command -v clang++ >/dev/null || need="$need clang"
if command -v clang++ >/dev/null; then
  echo 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }' \
    >"${TMPDIR:-/tmp}/volp-fuzz-probe.cpp"
  clang++ -fsanitize=fuzzer "${TMPDIR:-/tmp}/volp-fuzz-probe.cpp" -o "${TMPDIR:-/tmp}/volp-fuzz-probe" \
    2>/dev/null || need="$need libclang-rt-14-dev"
fi
if [ -n "$need" ]; then
  if [ "$(id -u)" -eq 0 ] && command -v apt-get >/dev/null; then
    [ -n "${VOLP_APT_UPDATED:-}" ] || apt-get update -q
    DEBIAN_FRONTEND=noninteractive apt-get install -y -q $need
  else
    echo "fuzz: missing:$need (install them, or run as root to have them installed)" >&2
    exit 1
  fi
fi

CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DVOLP_FUZZ=ON -DVOLP_BUILD_TESTS=OFF -DVOLP_BUILD_BENCH=OFF >/dev/null
cmake --build "$build" -j "${VOLP_JOBS:-2}" --target $(for t in $targets; do echo "fuzz_$t"; done)
[ "$mode" = build ] && exit 0

mkdir -p "$build/crashes"
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
dict=fuzz/volp.dict
status=0

replay() {
  local t=$1
  echo "=== fuzz_$t: replaying fuzz/corpus/$t ($(ls fuzz/corpus/$t | wc -l) inputs)"
  if ! "$bin/fuzz_$t" -dict=$dict -runs=0 "fuzz/corpus/$t" >"$build/$t.replay.log" 2>&1; then
    tail -40 "$build/$t.replay.log"
    echo "=== fuzz_$t: replay FAILED"
    status=1
  fi
}

fuzz_for() {
  local t=$1 seconds=$2
  mkdir -p "$build/corpus/$t"
  echo "=== fuzz_$t: fuzzing for $seconds s ($jobs job(s))"
  local extra=()
  [ "$jobs" -gt 1 ] && extra=(-jobs="$jobs" -workers="$jobs")
  if ! "$bin/fuzz_$t" -dict=$dict -max_total_time="$seconds" -timeout=20 -rss_limit_mb=4096 \
    -max_len=65536 -print_final_stats=1 -artifact_prefix="$build/crashes/$t-" "${extra[@]}" \
    "$build/corpus/$t" "fuzz/corpus/$t" >"$build/$t.fuzz.log" 2>&1; then
    tail -60 "$build/$t.fuzz.log"
    echo "=== fuzz_$t: FAILED (input in $build/crashes/)"
    status=1
    return
  fi
  # The last status line: executions, coverage, speed.
  grep -E '^#[0-9]+.*(DONE|pulse|NEW|REDUCE)' "$build/$t.fuzz.log" | tail -1 || true
  grep -E 'stat::(number_of_executed_units|average_exec_per_sec|new_units_added)' \
    "$build/$t.fuzz.log" || true
}

for t in $targets; do
  case $mode in
    replay) replay "$t" ;;
    ci) replay "$t"; fuzz_for "$t" "$ci_seconds" ;;
    campaign) replay "$t"; fuzz_for "$t" $((minutes * 60)) ;;
  esac
done
rm -rf /dev/shm/volp-fuzz-* 2>/dev/null || true
exit "$status"
