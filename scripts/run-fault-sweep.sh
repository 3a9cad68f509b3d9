#!/usr/bin/env bash
# Runs every fault point of the fault-injection tests (tests/faults/): each
# scenario with its Nth allocation or file call failed, for every N, each
# point in a process of its own. Prints the bad points and, per scenario and
# in all, the points, aborts, crashes, hangs, sanitizer reports, leaks, wrong
# results and unrecovered points, and the points that stay failed as the
# configuration rules prescribe, with the rule. Exits nonzero when a point
# went wrong.
#
#   bash scripts/run-fault-sweep.sh [PRESET] [SCENARIO...]
#
# PRESET defaults to linux-debug (AddressSanitizer, whose leak checker
# judges every point); linux-release and linux-tsan work too. Scenarios are
# a to f, all by default.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-linux-debug}
shift || true

source scripts/install-tools.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" -j "$(nproc 2>/dev/null || echo 2)" --target fault_host
cd "build/$preset/bin/fault_tests"
export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1"
./fault_host sweep --jobs "$(nproc 2>/dev/null || echo 2)" "$@"
