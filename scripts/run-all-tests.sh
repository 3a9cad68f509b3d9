#!/usr/bin/env bash
# Builds every configuration and runs every test: natively (debug with
# AddressSanitizer and UndefinedBehaviorSanitizer, and release) and as a
# Windows program under Wine; the 32-bit Windows build is built and its
# module exports are checked. Installs missing tools with apt-get first.
# The last line says how many tests passed and failed.
set -uo pipefail
cd "$(dirname "$0")/.."

source scripts/install-tools.sh

export WINEDEBUG=-all
jobs=$(nproc 2>/dev/null || echo 2)
passed=0
failed=0
status=0

for preset in linux-debug linux-release mingw-x64 mingw-i686; do
  echo "== building $preset"
  if ! cmake --preset "$preset" >/dev/null || ! cmake --build --preset "$preset" -j "$jobs"; then
    echo "== build of $preset failed"
    status=1
  fi
done

for preset in linux-debug linux-release mingw-x64 mingw-i686; do
  [ -d "build/$preset" ] || continue
  echo "== testing $preset"
  log="build/$preset/ctest.log"
  ctest --preset "$preset" -j "$jobs" 2>&1 | tee "$log"
  summary=$(grep -E 'tests passed, [0-9]+ tests? failed out of [0-9]+' "$log" | tail -n 1)
  if [ -z "$summary" ]; then
    echo "== $preset: no test summary"
    status=1
    continue
  fi
  total=$(sed -E 's/.*out of ([0-9]+).*/\1/' <<<"$summary")
  bad=$(sed -E 's/.*passed, ([0-9]+) tests? failed.*/\1/' <<<"$summary")
  passed=$((passed + total - bad))
  failed=$((failed + bad))
done

[ "$failed" -eq 0 ] || status=1
echo "Orvik tests: $passed passed, $failed failed"
exit $status
