wrk.method = "POST"
wrk.headers["Content-Type"] = "application/json"
wrk.body = os.getenv("KVILLO_BENCH_BODY")

done = function(summary, latency, requests)
  io.write(string.format("result: %.0f requests/s, p50 %.2f ms, p99 %.2f ms, errors %d\n",
    summary.requests / (summary.duration / 1e6), latency:percentile(50) / 1000,
    latency:percentile(99) / 1000,
    summary.errors.connect + summary.errors.read + summary.errors.write + summary.errors.status +
      summary.errors.timeout))
end
