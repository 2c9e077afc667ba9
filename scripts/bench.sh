#!/usr/bin/env bash
# Sets up, builds and runs the benchmarks with their peers side by side. The peers are
# installed here only, so that the test setup stays lean.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh libbenchmark-dev libfmt-dev nlohmann-json3-dev libvalijson-dev
cmake --preset bench >/dev/null
cmake --build --preset bench -j "$(nproc)"
for program in build/bench/bench/*_bench; do
  echo "== $(basename "$program")"
  "$program" --benchmark_counters_tabular=true "$@"
done
