#!/usr/bin/env bash
# Builds the fuzz targets (preset linux-fuzz: clang with libFuzzer,
# AddressSanitizer and UndefinedBehaviorSanitizer) and runs each for the
# given number of seconds, one after the other, from the committed seed
# corpus (fuzz/corpus/TARGET) and what earlier runs found
# (build/linux-fuzz/corpus/TARGET). Names after the seconds choose targets.
# Prints a line per target with its executions, coverage and corpus, keeps
# its output in build/linux-fuzz/TARGET.log and any failing input in
# build/linux-fuzz/artifacts/TARGET/, and exits nonzero when a build or a
# target fails. Installs missing tools with apt-get first.
#
#   bash scripts/run-fuzzers.sh 600
#   bash scripts/run-fuzzers.sh 30 catalog_fuzzer profile_fuzzer
set -uo pipefail
cd "$(dirname "$0")/.."

if [[ ! "${1:-}" =~ ^[0-9]+$ ]]; then
  echo "usage: run-fuzzers.sh SECONDS [TARGET...]"
  exit 2
fi
seconds=$1
shift
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(catalog_fuzzer profile_fuzzer string_path_fuzzer module_file_fuzzer pass_store_fuzzer)

source scripts/install-tools.sh

build=build/linux-fuzz
jobs=$(nproc 2>/dev/null || echo 2)
echo "== building ${targets[*]}"
if ! cmake --preset linux-fuzz >/dev/null || ! cmake --build --preset linux-fuzz -j "$jobs" --target "${targets[@]}"; then
  echo "== build of the fuzz targets failed"
  exit 1
fi

# The targets hand their inputs over in files: memory is faster than disk.
if [ -d /dev/shm ] && [ -w /dev/shm ]; then export TMPDIR=/dev/shm; fi

status=0
for target in "${targets[@]}"; do
  corpus=$build/corpus/$target
  artifacts=$build/artifacts/$target
  log=$build/$target.log
  mkdir -p "$corpus" "$artifacts"
  echo "== fuzzing $target for $seconds seconds"
  "$build/bin/$target" "$corpus" "fuzz/corpus/$target" -max_total_time="$seconds" -print_final_stats=1 \
    -artifact_prefix="$artifacts/" >"$log" 2>&1
  result=$?
  runs=$(sed -nE 's/^stat::number_of_executed_units: *([0-9]+).*/\1/p' "$log" | tail -n 1)
  counters=$(sed -nE 's/^INFO: Loaded [0-9]+ modules +\(([0-9]+) inline 8-bit counters\).*/\1/p' "$log" | head -n 1)
  final=$(grep -E '^#[0-9]+[[:space:]]+DONE' "$log" | tail -n 1 | sed -E 's/.*(cov: [0-9]+ ft: [0-9]+ corp: [^ ]+).*/\1/')
  if [ $result -eq 0 ] && [ -n "$final" ]; then
    echo "== $target: passed, ${runs:-?} executions, $final (of ${counters:-?} counters)"
  else
    echo "== $target: FAILED (exit $result), see $log"
    grep -E 'ERROR|SUMMARY|Test unit written' "$log" | head -n 5
    status=1
  fi
done
exit $status
