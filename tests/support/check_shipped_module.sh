#!/usr/bin/env bash
# Checks that release-built Windows modules are as users ship them: no
# larger than a limit, and without debug sections.
# usage: check_shipped_module.sh <objdump> <max-bytes> <file>...
set -uo pipefail
objdump=$1
limit=$2
shift 2
bad=0
for file in "$@"; do
  size=$(stat -c %s "$file") || { bad=1; continue; }
  debug=$("$objdump" -h "$file" | awk '$2 ~ /^\.debug/ { print $2 }' | tr '\n' ' ')
  echo "$file: $size bytes (limit $limit)${debug:+, debug sections: $debug}"
  if [ "$size" -gt "$limit" ] || [ -n "$debug" ]; then bad=1; fi
done
exit "$bad"
