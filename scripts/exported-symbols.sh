#!/usr/bin/env bash
# The ABI of the installed libraries, as the list of the symbols they export.
#   exported-symbols.sh list   NM LIB...          print the list
#   exported-symbols.sh check  NM LIST LIB...     fail, showing the difference, when LIST is stale
#   exported-symbols.sh update NM LIST LIB...     rewrite LIST
# Kept: every strong symbol, and the weak ones of this project's own names (typeinfo, vtables and
# template instances of its classes). Weak instances of std:: and boost:: templates are left out:
# which of them the compiler emits depends on inlining, and they are not ours to promise.
set -euo pipefail
mode=$1 nm=$2
shift 2
case "$mode" in
check | update) list=$1; shift ;;
list) ;;
*) echo "usage: $0 list|check|update NM [LIST] LIB..." >&2; exit 2 ;;
esac

ours='^_Z(T[ISVT]|GV)?N?K?(3Erv|6ErvApp|8KnxStack|4Kelo|5AvoDP|8AVOVALUE|7AVOTIME|6KNXDPT)'
symbols() {
    local lib
    for lib in "$@"; do
        "$nm" -D --defined-only "$lib" |
            awk -v lib="$(basename "$lib" | sed "s/\.so\..*/.so/")" -v ours="$ours" \
                '$2 ~ /^[TDBRi]$/ || $3 ~ ours { print lib " " $3 }'
    done | LC_ALL=C sort -u
}

case "$mode" in
list) symbols "$@" ;;
update) symbols "$@" >"$list"; echo "wrote $(wc -l <"$list") symbols to $list" ;;
check)
    if ! diff -u "$list" <(symbols "$@") >/tmp/erv-abi-diff.$$; then
        echo "The exported symbols differ from $list ('-' gone, '+' new):"
        grep '^[-+][^-+]' /tmp/erv-abi-diff.$$ | c++filt | head -n 200
        rm -f /tmp/erv-abi-diff.$$
        echo "If the change is intended, run: make abi-update"
        exit 1
    fi
    rm -f /tmp/erv-abi-diff.$$
    echo "exported symbols match $list ($(wc -l <"$list"))"
    ;;
esac
