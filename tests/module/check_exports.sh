#!/usr/bin/env bash
# Checks that a component module exports exactly the seven module functions,
# undecorated; on Windows also that their ordinals are 1 to 7 in order.
# The expected exports are read from the framework's one export list.
# usage: check_exports.sh <export list> pe <objdump> <module>
#    or: check_exports.sh <export list> elf <nm> <module>
set -euo pipefail
list=$1 mode=$2 tool=$3 module=$4
expected=$(sed -nE 's/^ *X\(([0-9]+), ([A-Za-z]+),.*/\1 \2/p' "$list" | sort -n)
[ "$(wc -l <<<"$expected")" -eq 7 ] || { echo "the export list $list does not hold seven exports"; exit 1; }

if [ "$mode" = pe ]; then
  dump=$("$tool" -p "$module")
  base=$(sed -nE 's/^Ordinal Base[[:space:]]+([0-9]+).*/\1/p' <<<"$dump" | head -n 1)
  # "[Ordinal/Name Pointer] Table" lists "[ index] name"; ordinal = base + index.
  actual=$(sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' <<<"$dump" \
    | sed -nE 's/^[[:space:]]*\[[[:space:]]*([0-9]+)\][[:space:]]+([^[:space:]]+)$/\1 \2/p' \
    | while read -r index name; do echo "$((base + index)) $name"; done | sort -n)
else
  actual=$("$tool" -D --defined-only "$module" | awk '$2 ~ /^[TtWwDdBbVvi]$/ {print $3}' | sort)
  expected=$(cut -d' ' -f2 <<<"$expected" | sort)
fi

if [ "$actual" != "$expected" ]; then
  echo "exports of $module differ"
  echo "expected:"; echo "$expected"
  echo "actual:"; echo "$actual"
  exit 1
fi
echo "exports of $module: the seven module functions"
