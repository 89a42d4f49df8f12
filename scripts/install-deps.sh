#!/usr/bin/env bash
# Installs the Debian packages that building, running and testing Kvillo need
# (with the argument "fuzz", "bench" or "desktops", also what the fuzzers,
# the load test or the KWin and GNOME Shell tests need). Safe to run again:
# it only asks apt for what is missing. Works as root or through sudo, and
# never prompts.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  libsqlite3-dev sqlite3
  libicu-dev
  nlohmann-json3-dev
  libasio-dev
  libcurl4-openssl-dev ca-certificates openssl
  qt6-base-dev qt6-declarative-dev qt6-svg-dev
  qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-templates
  qml6-module-qtquick-window qml6-module-qtqml-workerscript
  libx11-dev libx11-xcb-dev libxcb1-dev libxcb-screensaver0-dev libxcb-dpms0-dev
  libwayland-dev wayland-protocols plasma-wayland-protocols
  xvfb openbox xdotool x11-utils python3-xlib trayer
  dbus python3-dbusmock
  sway swaylock wtype xwayland python3-gi gir1.2-gtk-3.0
  libgtest-dev libgmock-dev libbenchmark-dev
  xauth fontconfig
  clang-format
)
case "${1:-}" in
  fuzz) packages+=(clang libclang-rt-14-dev) ;;
  bench) packages+=(wrk curl) ;;
  desktops) packages+=(kwin-wayland gnome-shell) ;;
esac

missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$package")
  fi
done

# The MCP client tests run the official SDK on Node.js; any Node 18 or later
# will do, so one that is already installed is kept.
if ! command -v node >/dev/null 2>&1 || ! command -v npm >/dev/null 2>&1; then
  missing+=(nodejs npm)
fi

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

if [ "$(id -u)" -eq 0 ]; then
  as_root=()
elif command -v sudo >/dev/null 2>&1; then
  as_root=(sudo)
else
  echo "install-deps: these packages are missing and neither root nor sudo is available: ${missing[*]}" >&2
  exit 1
fi

echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
