#!/usr/bin/env bash
# Repeats, at the end of a long run, what failed in it: for each ctest log
# given, every failed test with the output ctest printed for it; for every
# other log, each line that reports a failure with the lines before it
# (the failed check's output). Prints nothing when nothing failed.
#   failure-digest.sh CTEST-LOGS... -- SCRIPT-LOGS...
set -uo pipefail

ctest_logs=()
while [ $# -gt 0 ] && [ "$1" != "--" ]; do
  ctest_logs+=("$1")
  shift
done
[ $# -gt 0 ] && shift

# A failed test's block starts at its result line, which ctest marks with
# "***" (failed, timed out, crashed, or refused by a pass or fail pattern;
# not a skipped test),
# and runs up to the next test's line. Each block is cut at 80 lines.
for log in "${ctest_logs[@]}"; do
  [ -f "$log" ] || continue
  awk -v name="$log" '
    /Test +#[0-9]+: .*\*\*\*/ && !/\*\*\*Skipped/ { block = 1; lines = 0; print "-- " name ":"; print; next }
    /^ *Start +[0-9]+: |Test +#[0-9]+: |tests passed, / { block = 0 }
    block && lines++ < 80 { print }
  ' "$log"
done

for log in "$@"; do
  [ -f "$log" ] || continue
  grep -n -B 30 -E ': FAILED( |$)|^FAILED:|^== .*(build|packing) (of .* )?failed|no test summary' "$log" \
    | sed "s|^|$log:|" | tail -n 200
done
