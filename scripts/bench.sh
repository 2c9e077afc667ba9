#!/usr/bin/env bash
# Sets up, builds and runs the benchmarks with their peers side by side. The peers are
# installed here only, so that the test setup stays lean.
#
# Every program runs with many short repetitions (15 of at least 0.1 s each by default;
# BENCH_REPETITIONS and BENCH_MIN_TIME override), the repetitions of its benchmarks
# interleaved so that a change in the machine's load falls on the library and its peers
# alike, and ends with its rows of the README's performance table, medians of the
# repetitions; the rows of all programs are collected in
# build/bench/perf_table.md, ready to paste. Extra arguments go to every program (e.g.
# --benchmark_filter=...).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh libbenchmark-dev libfmt-dev nlohmann-json3-dev libvalijson-dev
cmake --preset bench >/dev/null
cmake --build --preset bench -j "$(nproc)"

table=build/bench/perf_table.md
{
  echo "| benchmark | library | peer | ratio | goal |"
  echo "|---|---|---|---|---|"
} >"$table"
export OLMA_BENCH_TABLE="$PWD/$table"
for program in build/bench/bench/*_bench; do
  echo "== $(basename "$program")"
  "$program" --benchmark_repetitions="${BENCH_REPETITIONS:-15}" --benchmark_min_time="${BENCH_MIN_TIME:-0.1}" \
    --benchmark_enable_random_interleaving=true \
    --benchmark_counters_tabular=true "$@"
done
echo
echo "== $table"
cat "$table"
