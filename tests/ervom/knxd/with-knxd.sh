#!/usr/bin/env bash
# Runs a transcript's "ervom COMMAND ARGS..." against the knxd at ERVOM_TEST_URL (given to
# RunTranscript.cmake as its EMULATOR): the URL goes in after the command word, and once a monitor
# listens, ERVOM_TEST_SEND URL puts the transcript's telegrams on the bus.
set -u
ervom=$1
command=$2
shift 2
case $command in
monitor)
  err=$(mktemp)
  timeout 15 "$ervom" "$command" --url "$ERVOM_TEST_URL" "$@" 2>"$err" &
  pid=$!
  for _ in $(seq 100); do
    grep -q 'listening on' "$err" && break
    sleep 0.05
  done
  "$ERVOM_TEST_SEND" "$ERVOM_TEST_URL" >/dev/null
  status=0
  wait "$pid" || status=$?
  cat "$err" >&2
  rm -f "$err"
  exit "$status"
  ;;
read | write) exec "$ervom" "$command" --url "$ERVOM_TEST_URL" "$@" ;;
*) exec "$ervom" "$command" "$@" ;;
esac
