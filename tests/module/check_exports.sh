#!/usr/bin/env bash
# Checks that a component module exports exactly the seven module functions,
# undecorated; on Windows also that their ordinals are 1 to 7 in order.
# usage: check_exports.sh pe <objdump> <module>   or   check_exports.sh elf <nm> <module>
set -euo pipefail
mode=$1 tool=$2 module=$3
expected="1 CreateComponent
2 SetDLLRegistry
3 OrvikDllFreeMap
4 OrvikDllCanUnloadNow
5 SetFactoryHandle
6 OrvikSetDllSafe
7 GetComponentIDs"

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
