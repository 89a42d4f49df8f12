#!/usr/bin/env bash
# The MCP server under load: a month of activities in a fresh home,
# `kvillo --headless` on a free port, wrk with 1 and 16 connections for
# tools/list and for get_activities of the busiest day; then the server's
# peak resident memory.
set -euo pipefail
kvillo=$1
here=$(cd "$(dirname "$0")" && pwd)
home=$(mktemp -d)
trap 'kill "$server" 2>/dev/null || true; rm -rf "$home"' EXIT
export HOME=$home XDG_DATA_HOME=$home/data XDG_CONFIG_HOME=$home/config TZ=Europe/Oslo
mkdir -p "$XDG_DATA_HOME/Kvillo"

# 30 days of 600 activities from 08:00, 30 to 90 s each, with titles; the
# last day is the busy day asked for.
sqlite3 "$XDG_DATA_HOME/Kvillo/activities.db" <<'SQL'
CREATE TABLE activities (
    id         INTEGER PRIMARY KEY AUTOINCREMENT,
    app_name   TEXT    NOT NULL,
    bundle_id  TEXT,
    title      TEXT,
    start_time REAL    NOT NULL,
    end_time   REAL,
    created_at REAL    NOT NULL DEFAULT (strftime('%s','now'))
);
WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 17999)
INSERT INTO activities (app_name, bundle_id, title, start_time, end_time)
SELECT CASE i % 4 WHEN 0 THEN 'Code' WHEN 1 THEN 'Firefox' WHEN 2 THEN 'Terminal' ELSE 'Slack' END,
       'app.' || (i % 4), 'Document ' || (i % 97) || ' — project ' || (i % 13),
       unixepoch('2026-11-01 07:00:00') + (i / 600) * 86400 + (i % 600) * 60,
       unixepoch('2026-11-01 07:00:00') + (i / 600) * 86400 + (i % 600) * 60 + 30 + (i % 60)
FROM n;
SQL

port=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])')
"$kvillo" --headless --port "$port" &
server=$!
for _ in $(seq 100); do curl -sf "http://localhost:$port/" >/dev/null && break; sleep 0.1; done

run() {
  local label=$1 connections=$2 body=$3
  printf '%-34s %2d connection(s): ' "$label" "$connections"
  KVILLO_BENCH_BODY=$body wrk -t "$(( connections < 2 ? 1 : 2 ))" -c "$connections" -d 10s \
    -s "$here/body_from_env.lua" "http://127.0.0.1:$port/mcp" | grep '^result:' | sed 's/^result: //'
}
list='{"jsonrpc":"2.0","id":1,"method":"tools/list"}'
day='{"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"get_activities","arguments":{"date":"2026-11-30"}}}'
for connections in 1 16; do
  run "tools/list" "$connections" "$list"
  run "get_activities (busy day)" "$connections" "$day"
done
echo "server peak resident memory: $(awk '/VmHWM/ {print $2, $3}' "/proc/$server/status")"
