#!/usr/bin/env bash
# Builds the benchmark suite (the linux-bench preset: release, without the
# tests) and runs it once: every benchmark in one process and its child
# processes, then a table of the ratios to the floors measured in the same
# run, with their targets. Arguments go to orvik_bench (Google Benchmark's
# flags, e.g. --benchmark_repetitions=9). Installs missing tools with apt-get
# first. Exits nonzero when the build fails or a target does not hold.
set -uo pipefail
cd "$(dirname "$0")/.."

source scripts/install-tools.sh

jobs=$(nproc 2>/dev/null || echo 2)
echo "== building linux-bench"
if ! cmake --preset linux-bench >/dev/null || ! cmake --build --preset linux-bench -j "$jobs"; then
  echo "== build of linux-bench failed"
  exit 1
fi

echo "== running orvik_bench"
cd build/linux-bench/bin/bench && ./orvik_bench "$@"
