#!/usr/bin/env bash
# wine_run.sh EMULATOR PROGRAM [ARG...]: a test program under Wine.
# Wine now and then fails to start a program at all: a non-zero status within
# milliseconds and not one byte of output (seen once in CI, on the network
# test program, while other programs ran beside it). That is not the
# program's result, so the start is tried once more, and the log says so.
# Any run that prints something stands as it is, pass or fail.
set -uo pipefail
emulator=$1
shift
log=$(mktemp)
trap 'rm -f "$log"' EXIT
"$emulator" "$@" >"$log" 2>&1
status=$?
cat "$log"
if [ "$status" -ne 0 ] && [ ! -s "$log" ]; then
  echo "wine_run.sh: Wine did not start $1 (status $status, no output); starting it again"
  "$emulator" "$@"
  status=$?
fi
exit "$status"
