#!/usr/bin/env bash
# Sets up, builds and runs the library's demonstration program.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target olma_demo >/dev/null
./build/release/examples/olma_demo
