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
# The shell's tests (tst_collapsecycle, tst_appdelegate) hold the pool on purpose so that
# scans queue behind one another; a queued task reaches its thread under Qt's own locks,
# which the checker cannot see, so those runs would only report Qt's hand-over.
tests=(tst_inspector tst_desktopscan tst_diagnosticrun tst_simdesktop tst_l10n)

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTUCKAWAY_TSAN=ON >/dev/null
# The diagnostic run's test drives the program itself as well.
cmake --build "$build" --parallel "$jobs" --target "${tests[@]}" tuckaway

export QT_QPA_PLATFORM=offscreen
export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$root/tests/tsan.supp"
regex="^($(IFS='|'; echo "${tests[*]}"))\$"
ctest --test-dir "$build" --output-on-failure -R "$regex"
