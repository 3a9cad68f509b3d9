#!/usr/bin/env bash
# Builds the Windows timing program (bench/windows/) for x86_64 and i686 and
# runs it under Wine: the request paths and the idle cycle beside their
# floors, figures only (Wine is not Windows, so there are no targets).
# Architectures may be named: x64, i686 (default both). Exits nonzero when a
# build fails or the program reports a wrong answer.
set -uo pipefail
cd "$(dirname "$0")/.."

source scripts/install-tools.sh

export WINEDEBUG=-all
jobs=$(nproc 2>/dev/null || echo 2)
status=0
architectures=("$@")
[ ${#architectures[@]} -gt 0 ] || architectures=(x64 i686)
for a in "${architectures[@]}"; do
    preset=mingw-$a-bench
    echo "== building $preset"
    if ! cmake --preset "$preset" >/dev/null || ! cmake --build --preset "$preset" -j "$jobs"; then
      echo "== build of $preset failed"
      status=1
      continue
    fi
    echo "== orvik_timing, $a under Wine"
    if [ "$a" = i686 ]; then
      runner=(env WINEARCH=win32 WINEPREFIX="$HOME/.wine-orvik-i686" /usr/lib/wine/wine)
    else
      runner=(/usr/lib/wine/wine64)
    fi
    (cd "build/$preset/bin/bench" && "${runner[@]}" ./orvik_timing.exe) || status=1
done
exit $status
