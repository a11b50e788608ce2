#!/usr/bin/env bash
# ervom's live-bus commands against a real knxd: each case starts its own daemon with the dummy
# back end (which passes every client's group telegrams to the other clients) on a Unix socket in a
# fresh temporary folder, and stops it by its process id. Nothing here waits without a bound, and a
# daemon that does not start fails the case.
#
#   live.sh ERVOM CASE [CMAKE]    CASE: monitor, write, read, lost, badmap, walkthrough
set -euo pipefail
ervom=$(realpath "$1")
case_name=$2
cmake=${3:-cmake}
here=$(cd "$(dirname "$0")" && pwd)
# Short on purpose: a Unix socket path longer than 107 bytes is cut without a word.
work=$(mktemp -d /tmp/ervom-live.XXXXXX)
knxd_pid=
helpers=()

cleanup() {
  local status=$?
  set +e
  [ -n "$knxd_pid" ] && kill "$knxd_pid" 2>/dev/null
  for pid in "${helpers[@]}"; do kill "$pid" 2>/dev/null; done
  wait 2>/dev/null
  rm -rf "$work"
  exit "$status"
}
trap cleanup EXIT

fail() {
  echo "FAIL ($case_name): $*" >&2
  exit 1
}

start_knxd() {
  command -v knxd >/dev/null || fail "knxd is not installed: scripts/install-deps.sh installs it"
  knxd -e 0.0.1 -E 0.0.2:8 -u "$work/eib" -b dummy: >"$work/knxd.log" 2>&1 &
  knxd_pid=$!
  url=local:$work/eib
  for _ in $(seq 100); do
    [ -S "$work/eib" ] && return 0
    kill -0 "$knxd_pid" 2>/dev/null || break
    sleep 0.05
  done
  fail "knxd did not start: $(cat "$work/knxd.log")"
}

stop_knxd() {
  kill "$knxd_pid"
  wait "$knxd_pid" 2>/dev/null || true
  knxd_pid=
}

# wait_for FILE TEXT: TEXT shows up in FILE within 5 s.
wait_for() {
  for _ in $(seq 100); do
    grep -qF -- "$2" "$1" 2>/dev/null && return 0
    sleep 0.05
  done
  fail "'$2' did not show up in $1: $(cat "$1" 2>/dev/null)"
}

# A listener that knxd has not yet connected misses what is sent: send a marker until it shows up
# in the listener's output (or its pipe).
sync_listener() {
  local file=$1 marker=$2
  for _ in $(seq 50); do
    knxtool groupwrite "$url" "$marker" 00 >/dev/null
    grep -qF "to $marker:" "$file" 2>/dev/null && return 0
    sleep 0.1
  done
  fail "the listener never saw $marker"
}

# expect_status WANT COMMAND...: runs it, keeps its output in $work/out and $work/err.
expect_status() {
  local want=$1 status=0
  shift
  "$@" >"$work/out" 2>"$work/err" || status=$?
  [ "$status" -eq "$want" ] || fail "exit status $status, not $want, from: $* ($(cat "$work/err"))"
}

same() {
  [ "$1" == "$2" ] || fail "$3 differs:"$'\n'"--- expected"$'\n'"$2"$'\n'"--- came out"$'\n'"$1"
}

case_monitor() {
  start_knxd
  timeout 15 "$ervom" --format tsv monitor --url "$url" --ga-map "$here/export.csv" --count 5 \
    >"$work/all.tsv" 2>"$work/all.err" &
  local all=$!
  timeout 15 "$ervom" --format json monitor --url "$url" --ga-map "$here/export.csv" \
    --kind write --ga 1/2/0-1/2/255 --count 2 >"$work/some.json" 2>"$work/some.err" &
  local some=$!
  wait_for "$work/all.err" "listening on $url"
  wait_for "$work/some.err" "listening on $url"

  knxtool groupwrite "$url" 1/2/3 0c 1a >/dev/null # 9.001: 21 °C
  knxtool groupswrite "$url" 1/1/1 1 >/dev/null    # 1.001 in the short form
  knxtool groupread "$url" 1/2/3 >/dev/null
  knxtool groupwrite "$url" 1/2/5 ff >/dev/null    # 5.006 ends at 254: refused
  knxtool groupwrite "$url" 1/1/7 2a >/dev/null    # listed without a DPT: raw

  local status=0
  wait "$all" || status=$?
  [ "$status" -eq 0 ] || fail "monitor --count 5 ended with $status: $(cat "$work/all.err")"
  wait "$some" || status=$?
  [ "$status" -eq 0 ] || fail "the filtered monitor ended with $status: $(cat "$work/some.err")"

  same "$(cut -f3-9 "$work/all.tsv")" "$(printf '%s\n' \
    $'destination\tkind\tbytes\tdpt\tresult\tvalue\tname' \
    $'1/2/3\twrite\t0C 1A\t9.001\tdecoded\t21\tLiving room temperature' \
    $'1/1/1\twrite\t01\t1.001\tdecoded\ttrue\tCeiling light' \
    $'1/2/3\tread\t\t9.001\t\t\tLiving room temperature' \
    $'1/2/5\twrite\tFF\t5.006\trefused\t\tLiving room valve' \
    $'1/1/7\twrite\t2A\t\traw\t\tScene panel')" "the monitor's lines"
  cut -f1,2 "$work/all.tsv" | tail -n +2 | grep -qvE $'^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:.]{12}\t0\\.0\\.[0-9]+$' &&
    fail "a time or a source address is malformed: $(cat "$work/all.tsv")"
  grep -qF $'\tValue out of raw range' "$work/all.tsv" || fail "the refusal has not the library's words"
  same "$(tail -n 1 "$work/all.err")" \
    "5 telegrams: 2 decoded, 1 refused, 0 unknown DPT, 1 raw; 1 group addresses without a DPT" "the summary"

  [ "$(wc -l <"$work/some.json")" -eq 2 ] || fail "the filter let through: $(cat "$work/some.json")"
  grep -qF '"destination":"1/2/3","kind":"write","bytes":"0C 1A","dpt":"9.001","result":"decoded","value":"21"' \
    "$work/some.json" || fail "JSON line: $(head -n 1 "$work/some.json")"
  grep -qF '"destination":"1/2/5","kind":"write","bytes":"FF","dpt":"5.006","result":"refused"' \
    "$work/some.json" || fail "JSON line: $(tail -n 1 "$work/some.json")"
}

case_write() {
  start_knxd
  stdbuf -oL knxtool groupsocketlisten "$url" >"$work/listen.txt" 2>&1 &
  helpers+=($!)
  sync_listener "$work/listen.txt" 31/7/255

  expect_status 0 "$ervom" write --url "$url" 1/2/3 9.001 21.5
  same "$(cat "$work/out")" "$(printf '%s\n' 'group address  1/2/3' 'DPT            9.001' \
    'value          21.5' 'bytes          0C 33')" "write's record"
  expect_status 0 "$ervom" write --url "$url" --ga-map "$here/export.csv" 1/1/1 true
  expect_status 0 "$ervom" write --url "$url" --ga-map "$here/export.csv" 1/1/4 40
  expect_status 1 "$ervom" write --url "$url" 1/2/5 5.006 255
  grep -qF "ervom write: refused: Value out of raw range" "$work/err" || fail "refusal: $(cat "$work/err")"
  grep -qF "nothing sent" "$work/err" || fail "refusal: $(cat "$work/err")"
  expect_status 0 "$ervom" write --url "$url" --dpt 16.001 1/1/7 Hi
  sync_listener "$work/listen.txt" 31/7/254

  # knxtool ends a value sent after the service code with a blank and one sent beside it (the
  # short form) without, so the comparison sees the form too.
  same "$(grep -vF 'to 31/7/25' "$work/listen.txt" | sed 's/from [0-9.]* //')" "$(printf '%s\n' \
    'Write to 1/2/3: 0C 33 ' 'Write to 1/1/1: 01' 'Write to 1/1/4: 28 ' \
    'Write to 1/1/7: 48 69 00 00 00 00 00 00 00 00 00 00 00 00 ')" "what knxd passed on"
}

case_read() {
  start_knxd
  # A responder: knxtool answers each read of 1/1/1 with a short-form response of 1. (Its
  # long-form groupresponse does not work with this knxd.)
  stdbuf -oL knxtool groupsocketlisten "$url" 2>&1 | tee "$work/listen.txt" | while read -r line; do
    case $line in
    *"Read from"*"to 1/1/1"*) knxtool groupsresponse "$url" 1/1/1 1 >/dev/null ;;
    esac
  done &
  helpers+=($!)
  sync_listener "$work/listen.txt" 31/7/255

  expect_status 0 timeout 10 "$ervom" read --url "$url" --timeout 5 1/1/1 1.001
  grep -qE '^kind +response$' "$work/out" || fail "read: $(cat "$work/out")"
  grep -qE '^value +true$' "$work/out" || fail "read: $(cat "$work/out")"
  expect_status 0 timeout 10 "$ervom" --format json read --url "$url" --ga-map "$here/export.csv" --timeout 5 1/1/1
  grep -qF '"destination":"1/1/1","kind":"response","bytes":"01","dpt":"1.001","result":"decoded","value":"true","name":"Ceiling light"' \
    "$work/out" || fail "read as JSON: $(cat "$work/out")"
  expect_status 3 timeout 10 "$ervom" read --url "$url" --timeout 0.3 1/1/2 1.001
  same "$(cat "$work/err")" "ervom read: no response from 1/1/2 within 0.3 s" "read without an answer"
}

case_lost() {
  start_knxd
  # Ctrl-C is the monitor's usual end: the summary, exit status 0. (--seconds bounds the wait.)
  "$ervom" monitor --url "$url" --seconds 20 >"$work/int.out" 2>"$work/int.err" &
  local interrupted=$! status=0
  wait_for "$work/int.err" "listening on $url"
  kill -INT "$interrupted"
  wait "$interrupted" || status=$?
  [ "$status" -eq 0 ] || fail "Ctrl-C ended the monitor with $status"
  grep -qx "0 telegrams: 0 decoded, 0 refused, 0 unknown DPT, 0 raw; 0 group addresses without a DPT" \
    "$work/int.out" || fail "no summary after Ctrl-C: $(cat "$work/int.out")"

  timeout 15 "$ervom" monitor --url "$url" >"$work/out" 2>"$work/err" &
  local monitor=$!
  wait_for "$work/err" "listening on $url"
  stop_knxd
  wait "$monitor" || status=$?
  [ "$status" -eq 3 ] || fail "the monitor ended with $status, not 3: $(cat "$work/err")"
  same "$(tail -n 1 "$work/err")" "ervom monitor: lost the connection to knxd at $url: Connection reset by peer" \
    "the monitor's last word"
  expect_status 3 "$ervom" write --url "$url" 1/2/3 9.001 21
  grep -qF "ervom write: cannot reach knxd at $url" "$work/err" || fail "write: $(cat "$work/err")"
}

case_badmap() {
  # No daemon on this URL: a command that tried to connect would say it cannot reach knxd (exit 3).
  local nowhere=local:$work/nowhere
  for command in "monitor" "read 1/2/3" "write 1/2/3 21"; do
    # shellcheck disable=SC2086
    expect_status 2 "$ervom" $command --url "$nowhere" --ga-map "$here/bad-export.csv"
    same "$(cat "$work/err")" \
      "ervom ${command%% *}: $here/bad-export.csv:3: '1/2/300' is no group address (1/2/3, 1/515 or 2563)" \
      "${command%% *} with a bad export"
  done
  expect_status 1 "$ervom" write --url "$nowhere" 1/2/5 5.006 255
  expect_status 2 "$ervom" monitor --url "knx:/run/knx"
}

case_walkthrough() {
  start_knxd
  ERVOM_TEST_URL=$url ERVOM_TEST_SEND=$here/walkthrough-send.sh \
    "$cmake" -DERVOM="$ervom" -DEMULATOR="$here/with-knxd.sh" -DTRANSCRIPT="$here/walkthrough.txt" \
    -DACTUAL="$work/walkthrough.txt" -P "$here/../RunTranscript.cmake" ||
    fail "$(diff -u "$here/walkthrough.txt" "$work/walkthrough.txt")"
  # The README shows one run of this transcript: the same lines but for the times and the URL.
  local readme
  readme=$(awk '/^\$ ervom monitor --ga-map export.csv/ { on = 1 } on && /^```$/ { exit } on' "$here/../../../README.md" |
    sed -E 's/^[0-9]{2}:[0-9]{2}:[0-9]{2}\.[0-9]{3}  /<*>  /; s/^(ervom monitor: listening on ).*(; Ctrl-C ends)$/! \1<*>\2/')
  same "$readme" "$(sed -n '/^\$ ervom monitor/,/^\[exit/p' "$here/walkthrough.txt" | sed '$d')" \
    "the README's walk-through"
}

"case_$case_name"
echo "ok: $case_name"
