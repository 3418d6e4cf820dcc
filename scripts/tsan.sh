#!/usr/bin/env bash
# Builds the tests that run work on other threads (the scan thread and the thread pool, the
# simulated desktop read across threads, the localisation tables' first use) with
# ThreadSanitizer in build-tsan/, and runs them. Fails on any reported race.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
# Where ccache is installed, builds of any clone of the repository share its cache.
export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$root}" CCACHE_NOHASHDIR="${CCACHE_NOHASHDIR:-1}"
build="$root/build-tsan"
jobs="$(nproc 2>/dev/null || echo 2)"
# Only tests whose every task starts a pool thread of its own: a task handed to a thread
# that is still waiting in Qt's pool passes under Qt's own locks, which the checker cannot
# see, and reads as a race in Qt's task object. The tests that run scans one after another
# (tst_inspector, tst_diagnosticrun) or hold the pool on purpose (tst_collapsecycle,
# tst_appdelegate) would report that hand-over now and then; tst_desktopscan runs the scan
# thread through the inspector once per process.
tests=(tst_desktopscan tst_simdesktop tst_l10n)

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTUCKAWAY_TSAN=ON >/dev/null
cmake --build "$build" --parallel "$jobs" --target "${tests[@]}"

export QT_QPA_PLATFORM=offscreen
export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$root/tests/tsan.supp"
regex="^($(IFS='|'; echo "${tests[*]}"))\$"
ctest --test-dir "$build" --output-on-failure -R "$regex"
