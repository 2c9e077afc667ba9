#!/usr/bin/env bash
# The main demonstration: sets up, builds, starts the example JSON-RPC server on a free
# loopback port, runs a scripted session of curl calls (printing each request and answer),
# then stops the server with SIGTERM and shows its call log.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target olma_jsonrpc_server olma_demo >/dev/null

workdir=$(mktemp -d)
./build/release/examples/olma_jsonrpc_server --port 0 --port-file "$workdir/port" \
  >"$workdir/server.out" 2>"$workdir/server.log" &
server=$!
stop_server() {
  kill -TERM "$server" 2>/dev/null || true
  wait "$server" 2>/dev/null || true
}
trap 'stop_server; rm -rf "$workdir"' EXIT
for _ in $(seq 200); do
  [[ -s "$workdir/port" ]] && break
  sleep 0.05
done
[[ -s "$workdir/port" ]] || { echo "the server did not start" >&2; cat "$workdir/server.log" >&2; exit 1; }
url="http://127.0.0.1:$(cat "$workdir/port")/"
echo "The example tasks service listens on $url"
echo

# show TITLE BODY [curl options...]: prints the request, then the answer, pretty-printed.
show() {
  local title=$1 body=$2
  shift 2
  echo "== $title"
  echo "\$ curl $* --data-binary '$body' $url"
  curl -sS --max-time 10 -H 'Content-Type: application/json' "$@" --data-binary "$body" "$url" |
    python3 -m json.tool --no-ensure-ascii
  echo
}

show "A valid call" '{"version":"1.1","method":"com.example.tasks.create","params":{"title":"Write the report","tags":["work"]},"id":1}'
show "How many tasks there are" '{"version":"1.1","method":"com.example.tasks.count","id":2}'
show "Invalid input: the title must be a string" \
  '{"version":"1.1","method":"com.example.tasks.create","params":{"title":42},"id":3}'
show "An unknown method" '{"version":"1.1","method":"com.example.tasks.remove","params":{"id":1},"id":4}'
show "The same invalid input, answered in German" \
  '{"version":"1.1","method":"com.example.tasks.create","params":{"title":42},"id":5}' -H 'Accept-Language: de'
show "A declared error of the service, in French" \
  '{"version":"1.1","method":"com.example.tasks.get","params":{"id":99},"id":6}' -H 'Accept-Language: fr'
show "A protected method without credentials is refused" '{"version":"1.1","method":"com.example.tasks.stats","id":7}'
show "The same with Basic credentials" '{"version":"1.1","method":"com.example.tasks.stats","id":8}' -u demo:demo-pass
show "Introspection: the interfaces" '{"version":"1.1","method":"com.zorvex.olma.std.introspection.list","id":9}'
show "Introspection: the definitions of one method" \
  '{"version":"1.1","method":"com.zorvex.olma.std.introspection.get","params":{"method":"com.example.tasks.count"},"id":10}'
show "Introspection: the API checksum" '{"version":"1.1","method":"com.zorvex.olma.std.introspection.checksum","id":11}'

stop_server
echo "== The server stopped on SIGTERM; its call log:"
cat "$workdir/server.log"
