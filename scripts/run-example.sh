#!/usr/bin/env bash
# Builds the example host with its modules and runs it: natively (the
# linux-release preset) and as a Windows program under Wine, 64-bit
# (mingw-x64) and 32-bit (mingw-i686, in the 32-bit Wine prefix).
# Installs missing tools with apt-get first. Exits nonzero when a build or
# a run fails.
set -uo pipefail
cd "$(dirname "$0")/.."

source scripts/install-tools.sh

export WINEDEBUG=-all
jobs=$(nproc 2>/dev/null || echo 2)
status=0

# build_example PRESET: configures the preset and builds the example target.
build_example() {
  echo "== building orvik_example ($1)"
  cmake --preset "$1" >/dev/null && cmake --build --preset "$1" --target orvik_example -j "$jobs"
}

# run_example LABEL DIRECTORY COMMAND...: runs the host in its directory.
run_example() {
  local label=$1 directory=$2
  shift 2
  echo "== running orvik_example ($label)"
  if (cd "$directory" && "$@"); then
    echo "== $label: passed"
  else
    echo "== $label: FAILED"
    status=1
  fi
}

if build_example linux-release; then
  run_example native build/linux-release/bin/example ./orvik_example
else
  echo "== build of linux-release failed"
  status=1
fi

if build_example mingw-x64; then
  run_example Wine build/mingw-x64/bin/example /usr/lib/wine/wine64 orvik_example.exe
else
  echo "== build of mingw-x64 failed"
  status=1
fi

if build_example mingw-i686; then
  WINEARCH=win32 WINEPREFIX=$wine32_prefix \
    run_example "32-bit Wine" build/mingw-i686/bin/example /usr/lib/wine/wine orvik_example.exe
else
  echo "== build of mingw-i686 failed"
  status=1
fi

exit $status
