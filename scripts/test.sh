#!/usr/bin/env bash
# Sets up, builds and runs the whole test suite: every test under AddressSanitizer and
# UndefinedBehaviorSanitizer (the packaging test included), then the concurrency tests
# under ThreadSanitizer, then every libFuzzer target for a few seconds on its seed corpus
# (scripts/fuzz.sh runs them longer).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
jobs=$(nproc)

cmake --preset asan
cmake --build --preset asan -j "$jobs"
ctest --preset asan -j "$jobs"

cmake --preset tsan
cmake --build --preset tsan -j "$jobs"
ctest --preset tsan -j "$jobs"

cmake --preset fuzz
cmake --build --preset fuzz -j "$jobs"
ctest --preset fuzz
