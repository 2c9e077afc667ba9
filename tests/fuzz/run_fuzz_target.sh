#!/usr/bin/env bash
# Runs one libFuzzer target for a bounded time:
#   run_fuzz_target.sh <binary> <seed corpus> <scratch directory> <seconds>
# Every seed is run first (the crash inputs kept there are regression cases), then the
# fuzzer explores for the given time. The seed corpus is only read: new inputs go to
# <scratch>/corpus, crash, leak and timeout inputs to <scratch>/, which is emptied first.
set -euo pipefail
binary=$1 corpus=$2 scratch=$3 seconds=$4

rm -rf "$scratch"
mkdir -p "$scratch/corpus"
exec "$binary" -max_total_time="$seconds" -timeout=4 -rss_limit_mb=2048 -print_final_stats=1 \
  -artifact_prefix="$scratch/" "$scratch/corpus" "$corpus"
