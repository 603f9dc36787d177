-- For wrk: asks for the paths that follow "--", in turn, and says at the end what came of it:
-- RESULT requests microseconds failures, and the 99th percentile of what a request took, in microseconds
local requests = {}
local turn = 0

function init(paths)
    for i, path in ipairs(paths) do
        requests[i] = wrk.format("GET", path)
    end
end

function request()
    turn = turn % #requests + 1
    return requests[turn]
end

function done(summary, latency)
    local errors = summary.errors
    local failed = errors.connect + errors.read + errors.write + errors.status + errors.timeout
    print(string.format("RESULT %d %d %d %d", summary.requests, summary.duration, failed,
                        latency:percentile(99)))
end
