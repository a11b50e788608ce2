#!/usr/bin/env bash
# Runs the libFuzzer targets of a fuzz build, each for a bounded time, and fails on any finding.
#   run-fuzzers.sh BUILD_DIR SECONDS [NAME...]     (NAME as in fuzz/corpus/NAME; default: all)
# Each target starts from its seeds in fuzz/corpus/NAME and from what earlier runs in BUILD_DIR
# found (BUILD_DIR/fuzz-corpus/NAME, where new inputs go; the seeds stay untouched). A crash, a
# sanitizer report, a broken property or an input slower than 10 s is saved as
# BUILD_DIR/findings/NAME-*; replay it with BUILD_DIR/fuzz/fuzz_NAME FILE, and once it is fixed, add
# it to fuzz/corpus/NAME so that every test run replays it.
set -euo pipefail
[ $# -ge 2 ] || { echo "usage: $0 BUILD_DIR SECONDS [NAME...]" >&2; exit 2; }
build=$(cd "$1" && pwd)
seconds=$2
shift 2
root=$(cd "$(dirname "$0")/.." && pwd)
names=("$@")
if [ ${#names[@]} -eq 0 ]; then
  for dir in "$root"/fuzz/corpus/*/; do names+=("$(basename "$dir")"); done
fi

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:strict_string_checks=1:check_initialization_order=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1:report_error_type=1}
mkdir -p "$build/findings" "$build/fuzz-logs"

failed=()
rows=()
for name in "${names[@]}"; do
  binary=$build/fuzz/fuzz_$name
  work=$build/fuzz-corpus/$name
  log=$build/fuzz-logs/$name.log
  mkdir -p "$work"
  options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=4096 -print_final_stats=1
    -artifact_prefix="$build/findings/$name-")
  [ -f "$root/fuzz/$name.dict" ] && options+=(-dict="$root/fuzz/$name.dict")
  echo "fuzzing $name for ${seconds}s"
  result=ok
  if ! "$binary" "${options[@]}" "$work" "$root/fuzz/corpus/$name" >"$log" 2>&1; then
    result=FINDING
    failed+=("$name")
    echo "--- $name: the end of $log"
    tail -n 60 "$log"
  fi
  executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  coverage=$(grep -o 'cov: [0-9]*' "$log" | tail -n 1 | cut -d' ' -f2)
  rows+=("$(printf '%-22s %-8s %12s executions  %6s edges  %6s inputs kept' "$name" "$result" \
    "${executions:-?}" "${coverage:-?}" "$(find "$work" -type f | wc -l)")")
done

echo
printf '%s\n' "${rows[@]}"
if [ ${#failed[@]} -gt 0 ]; then
  echo "findings in: ${failed[*]} (inputs in $build/findings)" >&2
  exit 1
fi
