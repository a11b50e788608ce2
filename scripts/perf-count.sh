#!/usr/bin/env bash
# Instructions per call of each conversion, counted with callgrind, against a baseline file.
#   perf-count.sh check  PERFCOUNT BASELINE   fails when a library conversion grew by more than 5 %
#                                             (or when any conversion allocates)
#   perf-count.sh update PERFCOUNT BASELINE   writes the counts as the new baseline
# PERFCOUNT is the ervom_perfcount binary: it dumps "<name> 1" after one pass over a ring and
# "<name> 2" after two; their difference over the ring's size is one call. Counts are exact and
# repeatable for one compiler and its options, unlike times, so they can gate CI.
set -euo pipefail
mode=$1 perfcount=$2 baseline=$3
ring=1024
tolerance=5 # per cent

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
valgrind --tool=callgrind --callgrind-out-file="$work/cg.%p" "$perfcount" >"$work/log" 2>&1 || {
    cat "$work/log" >&2
    exit 1
}
# A conversion allocates nothing, under any baseline.
if grep -E '^allocations .* [1-9][0-9]*$' "$work/log"; then
    echo "conversions above allocate on the heap; they must not" >&2
    exit 1
fi
# name passes instructions, one line per dump
for f in $(ls "$work"/cg.*.* | awk -F. '{ print $NF, $0 }' | sort -n | cut -d' ' -f2); do
    awk '/^desc: Trigger: Client Request: / { sub(/^desc: Trigger: Client Request: /, ""); name = $0 }
         /^totals: / { print name, $2 }' "$f"
done >"$work/dumps"
# name instructions-per-call, in the order the program ran them
awk -v ring="$ring" '{ key = $1; if ($2 == 1) { one[key] = $3; order[++n] = key } else two[key] = $3 }
     END { for (i = 1; i <= n; ++i) { k = order[i]; printf "%s %.1f\n", k, (two[k] - one[k]) / ring } }' \
    "$work/dumps" >"$work/counts"

# The table: library beside floor, with the ratio; the floor of a direct-mapping call is the
# table-driven floor of the same direction.
awk '
    { split($1, p, "/"); count[$1] = $2; if (p[1] == "library") { order[++n] = $1 } }
    END {
        printf "%-8s %-22s %14s %12s %7s\n", "DPT", "conversion", "library instr", "floor instr", "ratio"
        for (i = 1; i <= n; ++i) {
            split(order[i], p, "/")
            floorName = p[3]
            if (p[3] == "AvoValueToGroupValue") floorName = "ToKnxValue"
            if (p[3] == "CheckGroupValue") floorName = "FromKnxValue"
            f = count["floor/" p[2] "/" floorName]
            if (p[3] == "GroupValueToAvoValue")
                printf "%-8s %-22s %14.1f %12s %7s\n", p[2], p[3], count[order[i]], "-", "-"
            else
                printf "%-8s %-22s %14.1f %12.1f %7.2f\n", p[2], p[3], count[order[i]], f, count[order[i]] / f
        }
    }' "$work/counts"

case $mode in
update)
    {
        echo "# Instructions per call over the rings of bench/Rings.cpp, counted by scripts/perf-count.sh"
        echo "# (make perf-baseline) in the make test tree: g++ 12, RelWithDebInfo, Debian 12, amd64."
        echo "# CI fails when a library conversion needs more than ${tolerance} % above its line."
        grep '^library/' "$work/counts"
    } >"$baseline"
    echo "baseline written: $baseline"
    ;;
check)
    awk -v tolerance="$tolerance" '
        FNR == NR { if ($1 !~ /^#/) base[$1] = $2; next }
        $1 in base {
            limit = base[$1] * (1 + tolerance / 100)
            if ($2 > limit) { printf "GREW: %s %.1f instructions per call, baseline %.1f (+%.1f %%)\n", $1, $2, base[$1], ($2 / base[$1] - 1) * 100; bad = 1 }
            seen[$1] = 1
        }
        END {
            for (k in base) if (!(k in seen)) { printf "MISSING: %s is in the baseline but was not counted\n", k; bad = 1 }
            if (bad) { print "a deliberate change is accepted with make perf-baseline, after review"; exit 1 }
            print "every conversion within " tolerance " % of its baseline"
        }' "$baseline" "$work/counts"
    ;;
*)
    echo "usage: $0 check|update PERFCOUNT BASELINE" >&2
    exit 2
    ;;
esac
