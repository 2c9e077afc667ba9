#!/usr/bin/env bash
# Builds the libFuzzer targets (fuzz preset, clang) and runs each of them in turn for longer
# than the test command does: scripts/fuzz.sh [seconds per target, default 60].
# A target that finds a crash stops and leaves the input in build/fuzz/tests/fuzz/scratch/<name>/;
# once fixed, copy that input into tests/fuzz/corpus/<name>/ as a regression case.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}

bash scripts/setup.sh
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc)"

export ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
failed=()
for binary in build/fuzz/tests/fuzz/*_fuzz; do
  name=$(basename "$binary" _fuzz)
  echo "== $name ($seconds s)"
  if ! bash tests/fuzz/run_fuzz_target.sh "$binary" "tests/fuzz/corpus/$name" \
         "build/fuzz/tests/fuzz/scratch/$name" "$seconds" 2>"build/fuzz/tests/fuzz/$name.log"; then
    failed+=("$name")
    tail -n 40 "build/fuzz/tests/fuzz/$name.log"
  else
    grep -E '^(stat::number_of_executed_units|Done)' "build/fuzz/tests/fuzz/$name.log" || true
  fi
done
if [[ ${#failed[@]} -gt 0 ]]; then
  echo "Failing targets: ${failed[*]}"
  exit 1
fi
echo "Every target ran ${seconds} s without a finding."
