#!/usr/bin/env bash
# Builds Tuckaway and starts it on the built-in simulated desktop (on macOS, on the
# real one). Arguments are passed on to the application.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
"$root/scripts/setup.sh" plain
exec "$root/build/src/app/tuckaway" "$@"
