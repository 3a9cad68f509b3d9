#!/usr/bin/env bash
# Checks that Windows modules and programs import no DLL of the compiler's
# runtime, which a module directory does not hold.
# usage: check_imports.sh <objdump> <file>...
set -uo pipefail
objdump=$1
shift
bad=0
for file in "$@"; do
  imports=$("$objdump" -p "$file" | sed -nE 's/^[[:space:]]*DLL Name: (.*)$/\1/p')
  if [ -z "$imports" ]; then
    echo "$file: no import table read"
    bad=1
  elif grep -iE 'libstdc\+\+|libgcc_s|libwinpthread' <<<"$imports"; then
    echo "$file imports the compiler's runtime"
    bad=1
  else
    echo "$file imports: $(tr '\n' ' ' <<<"$imports")"
  fi
done
exit "$bad"
