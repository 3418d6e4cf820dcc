#!/usr/bin/env bash
# Builds and runs the whole test suite three times: plain (gcc), with AddressSanitizer and
# UndefinedBehaviorSanitizer, and built with clang; parses every file with clang and libc++,
# as Apple's toolchain does; runs the threaded tests under ThreadSanitizer; and gives every
# fuzzer a short smoke run (FUZZ_SECONDS each, default 30). Fails when any of them fails.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"

"$root/scripts/setup.sh" plain
"$root/scripts/setup.sh" asan
"$root/scripts/setup.sh" clang

export QT_QPA_PLATFORM=offscreen
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=0:strict_string_checks=1"
export LSAN_OPTIONS="suppressions=$root/tests/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"

status=0
echo "== Plain run =="
ctest --test-dir "$root/build" --output-on-failure || status=1
echo "== Sanitized run (AddressSanitizer + UndefinedBehaviorSanitizer) =="
ctest --test-dir "$root/build-asan" --output-on-failure || status=1
echo "== Clang build =="
ctest --test-dir "$root/build-clang" --output-on-failure || status=1
echo "== Parse with clang and libc++ =="
"$root/scripts/setup.sh" libcxx || status=1
echo "== ThreadSanitizer run of the threaded tests =="
"$root/scripts/tsan.sh" || status=1
echo "== Fuzzing smoke run =="
"$root/scripts/fuzz.sh" "${FUZZ_SECONDS:-30}" || status=1
if [ "$status" -ne 0 ]; then
    echo "Tests failed." >&2
fi
exit "$status"
