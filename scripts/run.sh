#!/usr/bin/env bash
# Builds Tuckaway and starts it on the built-in simulated desktop (on macOS, on the
# real one). Arguments are passed on to the application. With a display, the simulator
# window shows the simulated menu bar; without one, a short scripted session runs, prints
# what happens and saves pictures of the menu bar. A plain first look on a display also
# opens the settings window (--settings).
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
"$root/scripts/setup.sh" plain
if [ $# -eq 0 ] && { [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; }; then
    set -- --settings
fi
exec "$root/build/src/app/tuckaway" "$@"
