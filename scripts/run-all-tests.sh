#!/usr/bin/env bash
# Builds every configuration and runs every test: natively (debug with
# AddressSanitizer and UndefinedBehaviorSanitizer, release, and with
# ThreadSanitizer) and as a
# Windows program under Wine, 64-bit (debug) and 32-bit (release); the
# benchmark suite is built. The framework is built with clang's
# thread-safety analysis, any warning failing the build, and the analysis is
# shown to refuse misused locks (linux-clang-tsa). The API reference is
# built with Doxygen, any warning failing it (one test). Then a project built on the framework is
# built and run the ways users build theirs, the .deb packages are built and
# checked with lintian, and each fuzz target runs for 30 seconds from its
# seed corpus (one test each). Installs missing tools with
# apt-get first. The last line says how many tests passed and failed.
set -uo pipefail
cd "$(dirname "$0")/.."

source scripts/install-tools.sh

export WINEDEBUG=-all
# Module file checks are kept across processes: the tests keep theirs in
# the build tree, not in the user's cache.
export ORVIK_CACHE_DIR="$PWD/build/module-checks"
jobs=$(nproc 2>/dev/null || echo 2)
passed=0
failed=0
status=0

# The benchmark suite is built, not run: its figures need a quiet machine
# (scripts/run-benchmarks.sh).
for preset in linux-debug linux-release linux-tsan mingw-x64 mingw-i686 linux-bench linux-clang-tsa; do
  echo "== building $preset"
  if ! cmake --preset "$preset" >/dev/null || ! cmake --build --preset "$preset" -j "$jobs"; then
    echo "== build of $preset failed"
    status=1
  fi
done

prepare_wine_prefix /usr/lib/wine/wine64 "${WINEPREFIX:-$HOME/.wine}" win64
[ "$wine32_ok" -eq 1 ] && prepare_wine_prefix /usr/lib/wine/wine "$wine32_prefix" win32

for preset in linux-debug linux-release linux-tsan mingw-x64 mingw-i686 linux-clang-tsa; do
  [ -d "build/$preset" ] || continue
  echo "== testing $preset"
  log="build/$preset/ctest.log"
  # Under Wine a test process now and then dies at its start, before it
  # prints a line; such a test is run once more. Its first result stays in
  # the log.
  retry=()
  [[ "$preset" == mingw-* ]] && retry=(--repeat until-pass:2)
  ctest --preset "$preset" -j "$jobs" "${retry[@]}" 2>&1 | tee "$log"
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

# Every public declaration documented: any Doxygen warning fails the
# reference, once all of them are listed.
echo "== building the API reference"
if cmake --build --preset linux-release --target orvik_reference; then
  echo "== API reference: passed"
  passed=$((passed + 1))
else
  echo "== API reference: FAILED"
  failed=$((failed + 1))
fi

# run_script SCRIPT NAME: runs SCRIPT and adds the counts of its last line,
# "NAME tests: N passed, M failed", to the totals.
run_script() {
  local log=build/$(basename "$1" .sh).log summary
  mkdir -p build
  bash "$1" 2>&1 | tee "$log"
  summary=$(grep -E "^$2 tests: [0-9]+ passed, [0-9]+ failed" "$log" | tail -n 1)
  if [ -z "$summary" ]; then
    echo "== $1: no test summary"
    failed=$((failed + 1))
    return
  fi
  passed=$((passed + $(sed -E 's/.*: ([0-9]+) passed.*/\1/' <<<"$summary")))
  failed=$((failed + $(sed -E 's/.*, ([0-9]+) failed.*/\1/' <<<"$summary")))
}

# The downstream project, built against the installed framework and
# through add_subdirectory.
run_script scripts/test-downstream.sh Downstream
# The .debs, built and checked with lintian and dpkg-deb, not installed.
run_script scripts/test-debs.sh Deb

echo "== fuzzing"
fuzz_log=build/fuzz.log
mkdir -p build
bash scripts/run-fuzzers.sh 30 2>&1 | tee "$fuzz_log"
[ "${PIPESTATUS[0]}" -eq 0 ] || status=1
fuzz_passed=$(grep -cE '^== [a-z_]+: passed' "$fuzz_log")
fuzz_failed=$(grep -cE '^== [a-z_]+: FAILED|^== build of the fuzz targets failed' "$fuzz_log")
passed=$((passed + fuzz_passed))
failed=$((failed + fuzz_failed))

[ "$failed" -eq 0 ] || status=1
if [ "$status" -ne 0 ]; then
  # What failed, once more where a reader of the log's end sees it.
  echo "== what failed"
  bash scripts/failure-digest.sh build/*/ctest.log build/downstream/*.ctest.log \
    -- build/test-downstream.log build/test-debs.log "$fuzz_log"
fi
echo "Orvik tests: $passed passed, $failed failed"
exit $status
