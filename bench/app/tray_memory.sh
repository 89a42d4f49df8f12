#!/usr/bin/env bash
# What `kvillo` with its tray icon costs in memory: on its own Xvfb with
# openbox, a private session bus with a stand-in StatusNotifierWatcher, a
# fresh home. The popup is opened once through the item's Activate (so Qt
# Quick and the popup are loaded), then resident memory is read after 15 s.
# Fails above the 80 MB target.
set -euo pipefail
if [ -z "${DBUS_SESSION_BUS_ADDRESS:-}" ] || [ -z "${KVILLO_TRAY_BENCH_BUS:-}" ]; then
  exec env KVILLO_TRAY_BENCH_BUS=1 dbus-run-session -- "$0" "$@"
fi
kvillo=$1
target_kb=$((80 * 1024))
home=$(mktemp -d)
pids=()
trap 'kill "${pids[@]}" 2>/dev/null || true; rm -rf "$home"' EXIT
export HOME=$home XDG_DATA_HOME=$home/data XDG_CONFIG_HOME=$home/config TZ=Europe/Oslo
export XDG_RUNTIME_DIR=

Xvfb -displayfd 3 -nolisten tcp -screen 0 1280x800x24 3>"$home/display" 2>/dev/null &
pids+=($!)
for _ in $(seq 100); do [ -s "$home/display" ] && break; sleep 0.1; done
export DISPLAY=:$(head -n1 "$home/display")
openbox >/dev/null 2>&1 &
pids+=($!)

watcher=org.kde.StatusNotifierWatcher
/usr/bin/python3 -m dbusmock "$watcher" /StatusNotifierWatcher "$watcher" >/dev/null 2>&1 &
pids+=($!)
mock() { gdbus call --session -d "$watcher" -o /StatusNotifierWatcher -m "org.freedesktop.DBus.Mock.$1" "${@:2}" >/dev/null; }
for _ in $(seq 100); do mock AddProperty "$watcher" IsStatusNotifierHostRegistered '<true>' 2>/dev/null && break; sleep 0.1; done
mock AddProperty "$watcher" ProtocolVersion '<0>'
mock AddProperty "$watcher" RegisteredStatusNotifierItems '<@as []>'
mock AddMethod "$watcher" RegisterStatusNotifierItem s '' ''

"$kvillo" --port 0 2>/dev/null &
kvillo_pid=$!
pids+=("$kvillo_pid")
item=""
for _ in $(seq 100); do
  item=$(gdbus call --session -d "$watcher" -o /StatusNotifierWatcher \
           -m org.freedesktop.DBus.Mock.GetMethodCalls RegisterStatusNotifierItem 2>/dev/null |
         grep -o "':1\.[0-9]*'" | head -n1 | tr -d "'" || true)
  [ -n "$item" ] && break
  sleep 0.1
done
[ -n "$item" ] || { echo "kvillo never registered its tray item" >&2; exit 1; }
gdbus call --session -d "$item" -o /StatusNotifierItem -m org.kde.StatusNotifierItem.Activate 100 5 >/dev/null
sleep 15

rss_kb=$(awk '/VmRSS/ {print $2}' "/proc/$kvillo_pid/status")
printf 'kvillo with its tray and popup, resident memory: %d kB (target %d kB)\n' "$rss_kb" "$target_kb"
[ "$rss_kb" -le "$target_kb" ]
