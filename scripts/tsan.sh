#!/usr/bin/env bash
# Builds the tests that run work on other threads with ThreadSanitizer in build-tsan/, and
# runs them. Fails on any reported race.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
# Where ccache is installed, builds of any clone of the repository share its cache.
export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$root}" CCACHE_NOHASHDIR="${CCACHE_NOHASHDIR:-1}"
build="$root/build-tsan"
jobs="$(nproc 2>/dev/null || echo 2)"
# The tests that run scans (the inspector's own walks, the diagnostic run, collapses that
# scan first, the application shell with its export run, the program itself through its
# scripted sessions, the control interface whose requests collapse), the simulated desktop
# read across threads, and the localisation tables' first use. The program they start is
# built with the checker too.
tests=(tst_inspector tst_desktopscan tst_diagnosticrun tst_collapsecycle tst_appdelegate
       tst_scripts tst_controlserver tst_automation tst_simdesktop tst_l10n)

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTUCKAWAY_TSAN=ON >/dev/null
cmake --build "$build" --parallel "$jobs" --target "${tests[@]}" tuckaway

export QT_QPA_PLATFORM=offscreen
export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$root/tests/tsan.supp"
regex="^($(IFS='|'; echo "${tests[*]}"))\$"
ctest --test-dir "$build" --output-on-failure -R "$regex"
