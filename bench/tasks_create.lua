-- wrk: posts one "create" call with three fields, over and over, on keep-alive connections.
-- ENVELOPE=2.0 writes the call in the 2.0 envelope, which the peer's library requires for
-- named parameters; the parameters are the same.
local envelope = os.getenv("ENVELOPE") == "2.0" and '"jsonrpc":"2.0"' or '"version":"1.1"'
wrk.method = "POST"
wrk.headers["Content-Type"] = "application/json"
wrk.body = '{' .. envelope .. ',"method":"com.example.tasks.create",' ..
           '"params":{"title":"Write the report","priority":2,"tags":["work","q4"]},"id":1}'

-- Counts answers that are not a result, so a run that only produced errors is seen as such.
local errors = 0
function response(status, headers, body)
  if status ~= 200 or not string.find(body, '"result"', 1, true) then errors = errors + 1 end
end

function done(summary, latency, requests)
  io.write(string.format("requests/s %.0f  p50 %.3f ms  p99 %.3f ms  errors %d  requests %d\n",
                         summary.requests / (summary.duration / 1e6),
                         latency:percentile(50) / 1000, latency:percentile(99) / 1000,
                         summary.errors.status + errors, summary.requests))
end
