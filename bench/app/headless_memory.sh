#!/usr/bin/env bash
# What `kvillo --headless` costs in memory while it sits in the background
# recording: on its own Xvfb with openbox and one window in front, a fresh
# home, the MCP server listening. Prints resident memory after 10 s and
# fails above the 15 MB target or when a Qt GUI library is mapped. (The
# server's memory under load is measured by wrk_bench.sh.)
set -euo pipefail
kvillo=$1
target_kb=$((15 * 1024))
home=$(mktemp -d)
pids=()
trap 'kill "${pids[@]}" 2>/dev/null || true; rm -rf "$home"' EXIT
export HOME=$home XDG_DATA_HOME=$home/data XDG_CONFIG_HOME=$home/config TZ=Europe/Oslo

# Xvfb picks a free display and writes its number.
Xvfb -displayfd 3 -nolisten tcp -screen 0 640x480x24 3>"$home/display" 2>/dev/null &
pids+=($!)
for _ in $(seq 100); do [ -s "$home/display" ] && break; sleep 0.1; done
export DISPLAY=:$(head -n1 "$home/display")
openbox >/dev/null 2>&1 &
pids+=($!)
xmessage -name memory-bench "Kvillo headless memory" >/dev/null 2>&1 &
pids+=($!)
sleep 1  # openbox gives the new window the focus

port=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])')
"$kvillo" --headless --port "$port" &
kvillo_pid=$!
pids+=("$kvillo_pid")
for _ in $(seq 100); do curl -sf "http://localhost:$port/" >/dev/null && break; sleep 0.1; done
sleep 10

rss_kb=$(awk '/VmRSS/ {print $2}' "/proc/$kvillo_pid/status")
gui=$(grep -c -E 'libQt6(Gui|Widgets)|libkvillo_gui' "/proc/$kvillo_pid/maps" || true)
printf 'kvillo --headless resident memory: %d kB (target %d kB); Qt GUI mappings: %d\n' \
  "$rss_kb" "$target_kb" "$gui"
[ "$rss_kb" -le "$target_kb" ] && [ "$gui" -eq 0 ]
