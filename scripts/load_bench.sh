#!/usr/bin/env bash
# Load benchmark: wrk posting a three-field "create" call (2 threads, 64 connections, 10 s)
# against the example server and against libjsonrpccpp's HTTP server doing the same work with
# hand-written checks (bench/jsonrpccpp_peer.cpp). Prints requests/s, p50 and p99 of each,
# each server's CPU time per request (user and system) and the throughput ratio. Both
# servers get 2 I/O threads. Everything runs inside a private network namespace that has only
# loopback, so no socket is reachable from outside even though the peer binds every interface.
# Needs root (or sudo) for the namespace.
#   bash scripts/load_bench.sh [seconds]
set -euo pipefail
cd "$(dirname "$0")/.."

if [[ "${1:-}" == "--in-namespace" ]]; then
  seconds=$2
  ip link set lo up
  run() {  # run NAME PORT ENVELOPE COMMAND...: starts the server, loads it, stops it
    local name=$1 port=$2 envelope=$3
    shift 3
    "$@" >/dev/null 2>&1 &
    local server=$!
    for _ in $(seq 100); do
      curl -s -o /dev/null "http://127.0.0.1:$port/" && break
      sleep 0.05
    done
    printf '%-22s ' "$name"
    ENVELOPE=$envelope wrk -t2 -c64 -d"${seconds}s" --latency -s bench/tasks_create.lua "http://127.0.0.1:$port/" | tail -1 |
      tee "build/load_bench/$name.txt"
    # The server's own CPU time (user + system, fields 14 and 15 of its stat) per request:
    # what it costs apart from the load generator that shares the machine.
    awk -v hz="$(getconf CLK_TCK)" -v requests="$(awk '{print $NF}' "build/load_bench/$name.txt")" \
      '{ f = 1e6 / hz / requests; printf "%-22s CPU per request %.1f us (user %.1f, system %.1f)\n", "", ($14 + $15) * f, $14 * f, $15 * f }' \
      "/proc/$server/stat"
    kill -TERM "$server"
    wait "$server" || true
  }
  run olma_jsonrpc 18080 1.1 ./build/release/examples/olma_jsonrpc_server --port 18080 --threads 2 --call-log off
  run libjsonrpccpp 18081 2.0 ./build/load_bench/jsonrpccpp_peer 18081 2
  ours=$(awk '{print $2}' build/load_bench/olma_jsonrpc.txt)
  peer=$(awk '{print $2}' build/load_bench/libjsonrpccpp.txt)
  awk -v a="$ours" -v b="$peer" 'BEGIN { printf "throughput ratio (olma / libjsonrpccpp): %.2fx\n", a / b }'
  exit 0
fi

bash scripts/setup.sh wrk libjsonrpccpp-dev
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target olma_jsonrpc_server >/dev/null
mkdir -p build/load_bench
g++ -std=c++17 -O2 -o build/load_bench/jsonrpccpp_peer bench/jsonrpccpp_peer.cpp \
  $(pkg-config --cflags --libs libjsonrpccpp-server libjsonrpccpp-common jsoncpp)
sudo=()
if [[ $(id -u) -ne 0 ]]; then sudo=(sudo); fi
"${sudo[@]}" unshare -n bash "$0" --in-namespace "${1:-10}"
