#!/usr/bin/env bash
# Builds the fuzz targets (clang, libFuzzer, AddressSanitizer + UBSan) in build-fuzz/ and
# runs each for SECONDS (default 30). Fails on the first crash, hang, leak or broken
# invariant; the input that caused it is left in build-fuzz/findings/.
#   scripts/fuzz.sh            short smoke run of every target
#   scripts/fuzz.sh 600        a longer run: ten minutes per target
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
# Where ccache is installed, builds of any clone of the repository share its cache.
export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$root}" CCACHE_NOHASHDIR="${CCACHE_NOHASHDIR:-1}"
seconds="${1:-30}"
build="$root/build-fuzz"
jobs="$(nproc 2>/dev/null || echo 2)"

compiler="$(command -v clang++ || command -v clang++-14 || true)"
if [ -z "$compiler" ]; then
    echo "clang++ is missing: run scripts/setup.sh first." >&2
    exit 2
fi
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER="$compiler" \
    -DTUCKAWAY_FUZZ=ON -DBUILD_TESTING=OFF >/dev/null
targets=$(sed -n 's/^tk_add_fuzzer(\(fuzz_[a-z0-9_]*\).*/\1/p' "$root/fuzz/CMakeLists.txt")
# shellcheck disable=SC2086
cmake --build "$build" --parallel "$jobs" --target $targets

export QT_QPA_PLATFORM=offscreen
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
mkdir -p "$build/findings"
status=0
for target in $targets; do
    name="${target#fuzz_}"
    corpus="$build/corpus/$name"
    mkdir -p "$corpus"
    seeds=()
    case "$name" in
        settings | import) seeds=("$root/fuzz/corpus/settings") ;;
        scenario | export) seeds=("$root/src/platform/sim/scenarios" "$root/fuzz/corpus/scenario") ;;
        script) seeds=("$root/tests/simulator/scripts" "$root/src/simulator/scripts") ;;
        *) [ -d "$root/fuzz/corpus/$name" ] && seeds=("$root/fuzz/corpus/$name") ;;
    esac
    echo "== $target: ${seconds}s =="
    if ! "$build/fuzz/$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
        -max_len=65536 -print_final_stats=1 -artifact_prefix="$build/findings/$name-" \
        "$corpus" "${seeds[@]}" >"$build/$target.log" 2>&1; then
        tail -n 40 "$build/$target.log" >&2
        echo "$target failed; see $build/$target.log and $build/findings/" >&2
        status=1
    else
        grep -E '^stat::number_of_executed_units|^#[0-9]+.*DONE' "$build/$target.log" | tail -n 2 || true
    fi
done
exit "$status"
