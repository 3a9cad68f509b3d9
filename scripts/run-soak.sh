#!/usr/bin/env bash
# A longer run of the stress test: many threads requesting, releasing and
# registering components while idle modules are unloaded under them.
#   bash scripts/run-soak.sh [MINUTES] [PRESET]
# MINUTES defaults to 10, PRESET to linux-release (linux-tsan and linux-debug
# add ThreadSanitizer or AddressSanitizer). Prints the test's figures: threads,
# requests, shared instances registered and unloads seen.
set -euo pipefail
cd "$(dirname "$0")/.."
minutes=${1:-10}
preset=${2:-linux-release}

source scripts/install-tools.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" -j "$(nproc 2>/dev/null || echo 2)" --target factory_tests
cd "build/$preset/bin/factory_tests"
export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1"
ORVIK_STRESS_SECONDS=$((minutes * 60)) ./factory_tests --gtest_filter='Stress.*'
