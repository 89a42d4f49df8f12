#!/usr/bin/env bash
# What `kvillo --headless` costs on a Wayland desktop: on a private headless
# sway (run as nobody when this runs as root; sway refuses root) with one
# window in front, the CPU it uses while nothing happens, over
# WAYLAND_BENCH_SECONDS (600 by default), its resident memory, and the CPU
# one window switch costs (the mean over 50 switches between two windows).
# Fails above 0.1 % of a core idle or 15 MB resident.
set -euo pipefail
kvillo=$1
seconds=${WAYLAND_BENCH_SECONDS:-600}
switches=50
target_kb=$((15 * 1024))
here=$(cd "$(dirname "$0")" && pwd)
window=$here/../../tests/support/test_window.py
home=$(mktemp -d)
runtime=$(mktemp -d)
pids=()
trap 'kill "${pids[@]}" 2>/dev/null || true; rm -rf "$home" "$runtime"' EXIT

as_sway_user=()
if [ "$(id -u)" -eq 0 ]; then
  chown 65534:65534 "$runtime"
  as_sway_user=(setpriv --reuid=65534 --regid=65534 --clear-groups)
fi
echo "output HEADLESS-1 resolution 1280x720" >"$runtime/sway.conf"
"${as_sway_user[@]}" env -i PATH=/usr/bin:/bin HOME="$runtime" XDG_RUNTIME_DIR="$runtime" \
  WLR_BACKENDS=headless WLR_RENDERER=pixman WLR_LIBINPUT_NO_DEVICES=1 \
  sway -c "$runtime/sway.conf" >/dev/null 2>&1 &
pids+=($!)
for _ in $(seq 200); do ls "$runtime"/sway-ipc.* >/dev/null 2>&1 && break; sleep 0.05; done
swaysock=$(ls "$runtime"/sway-ipc.*)
socket=$(find "$runtime" -maxdepth 1 -type s -name 'wayland-*' | head -n1)

open_window() {
  XDG_RUNTIME_DIR=$runtime WAYLAND_DISPLAY=$socket GDK_BACKEND=wayland \
    /usr/bin/python3 "$window" "$1" "$1" >/dev/null 2>&1 &
  pids+=($!)
  for _ in $(seq 200); do
    swaymsg -s "$swaysock" -t get_tree | grep -q "\"app_id\": \"$1\"" && return
    sleep 0.05
  done
}
open_window org.kvillo.BenchA

port=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])')
env HOME="$home" XDG_DATA_HOME="$home/data" XDG_CONFIG_HOME="$home/config" TZ=Europe/Oslo \
  XDG_RUNTIME_DIR= DISPLAY= DBUS_SESSION_BUS_ADDRESS= WAYLAND_DISPLAY="$socket" \
  "$kvillo" --headless --port "$port" 2>/dev/null &
kvillo_pid=$!
pids+=("$kvillo_pid")
for _ in $(seq 100); do curl -sf "http://localhost:$port/" >/dev/null && break; sleep 0.1; done
sleep 5

# utime + stime, in clock ticks.
cpu_ticks() { awk '{print $14 + $15}' "/proc/$kvillo_pid/stat"; }
hz=$(getconf CLK_TCK)
before=$(cpu_ticks)
sleep "$seconds"
idle_ticks=$(( $(cpu_ticks) - before ))
rss_kb=$(awk '/VmRSS/ {print $2}' "/proc/$kvillo_pid/status")
# What is its own, not pages of shared libraries other programs map too.
private_kb=$(awk '/^Private_(Clean|Dirty):/ {sum += $2} END {print sum}' "/proc/$kvillo_pid/smaps")

open_window org.kvillo.BenchB
before=$(cpu_ticks)
for i in $(seq "$switches"); do
  target=org.kvillo.BenchA
  [ $((i % 2)) -eq 0 ] && target=org.kvillo.BenchB
  swaymsg -s "$swaysock" "[app_id=\"$target\"] focus" >/dev/null
  sleep 0.3  # past the 150 ms settle, so every switch is a row
done
switch_ticks=$(( $(cpu_ticks) - before ))
rows=$(sqlite3 "$home/data/Kvillo/activities.db" 'select count(*) from activities')

awk -v t="$idle_ticks" -v hz="$hz" -v s="$seconds" -v rss="$rss_kb" -v target="$target_kb" \
    -v private="$private_kb" \
    -v st="$switch_ticks" -v n="$switches" -v rows="$rows" 'BEGIN {
  idle = 100 * t / hz / s
  printf "kvillo --headless on sway: %.3f %% of a core idle over %d s (target 0.1 %%), %d kB resident (target %d kB), %d kB of it private\n", idle, s, rss, target, private
  printf "kvillo --headless on sway: %.2f ms CPU per window switch (mean of %d; %d rows recorded)\n", 1000 * st / hz / n, n, rows
  exit !(idle <= 0.1 && rss <= target)
}'
