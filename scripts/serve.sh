#!/usr/bin/env bash
# Builds and runs the example JSON-RPC server in the foreground (Ctrl-C stops it gracefully).
#   bash scripts/serve.sh [port]        default port 8080, loopback only
# Then, from another terminal:
#   curl -H 'Content-Type: application/json' \
#        -d '{"version":"1.1","method":"com.example.tasks.list","id":1}' http://127.0.0.1:8080/
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target olma_jsonrpc_server >/dev/null
exec ./build/release/examples/olma_jsonrpc_server --port "${1:-8080}"
