#!/usr/bin/env bash
# How many telegrams per second `ervom monitor --format tsv` decodes without losing one: a private
# knxd (dummy back end) passes a burst of group writes from knxd_burst to the monitor, which maps
# them with tests/ervom/knxd/export.csv. Run by hand after a build:
#   bench/knxd-monitor-throughput.sh [COUNT] [BUILD]      (defaults 20000, build)
set -euo pipefail
count=${1:-20000}
build=${2:-build}
root=$(cd "$(dirname "$0")/.." && pwd)
ervom=$root/$build/tools/ervom
burst=$root/$build/tools/knxd_burst
[ -x "$ervom" ] && [ -x "$burst" ] || { echo "build first: cmake --build $build --target ervom knxd_burst" >&2; exit 2; }

work=$(mktemp -d /tmp/ervom-bench.XXXXXX)
knxd_pid=
cleanup() {
  set +e
  [ -n "$knxd_pid" ] && kill "$knxd_pid" 2>/dev/null
  wait 2>/dev/null
  rm -rf "$work"
}
trap cleanup EXIT

knxd -e 0.0.1 -E 0.0.2:8 -u "$work/eib" -b dummy: >"$work/knxd.log" 2>&1 &
knxd_pid=$!
for _ in $(seq 100); do [ -S "$work/eib" ] && break; sleep 0.05; done
[ -S "$work/eib" ] || { echo "knxd did not start: $(cat "$work/knxd.log")" >&2; exit 1; }
url=local:$work/eib

timeout 120 "$ervom" --format tsv monitor --url "$url" --ga-map "$root/tests/ervom/knxd/export.csv" \
  --count "$count" --seconds 100 >"$work/out.tsv" 2>"$work/err" &
monitor=$!
for _ in $(seq 100); do grep -q 'listening on' "$work/err" && break; sleep 0.05; done

start=$(date +%s.%N)
"$burst" "$url" "$count"
sent=$(date +%s.%N)
wait "$monitor" || true
end=$(date +%s.%N)

seen=$(($(wc -l <"$work/out.tsv") - 1))
decoded=$(awk -F'\t' '$7 == "decoded"' "$work/out.tsv" | wc -l)
awk -v n="$count" -v seen="$seen" -v decoded="$decoded" -v s="$start" -v m="$sent" -v e="$end" 'BEGIN {
  printf "%d telegrams sent in %.3f s, %d seen by the monitor (%d decoded) after %.3f s\n", n, m - s, seen, decoded, e - s
  if (seen == n) printf "%.0f telegrams per second, none lost\n", n / (e - s)
  else printf "%d lost\n", n - seen
}'
tail -n 1 "$work/err"
