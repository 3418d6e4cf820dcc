#!/usr/bin/env bash
# Installs what the build needs (only what is missing) and builds Tuckaway.
#   scripts/setup.sh            packages + the plain build in build/
#   scripts/setup.sh asan       packages + the sanitized build in build-asan/
#   scripts/setup.sh bench      packages + the optimised benchmark build in build-bench/
#   scripts/setup.sh clang      packages + a clang build in build-clang/
#   scripts/setup.sh libcxx     packages + a parse of every file with clang and libc++, the
#                               standard library of Apple's toolchain, in build-libcxx/
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
# Where ccache is installed, builds of any clone of the repository share its cache.
export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$root}" CCACHE_NOHASHDIR="${CCACHE_NOHASHDIR:-1}"
flavour="${1:-plain}"

packages=(
    cmake g++ make pkg-config
    qt6-base-dev qt6-base-dev-tools qt6-qpa-plugins libgl-dev libxkbcommon-dev
    libxcb1-dev libbenchmark-dev fonts-dejavu-core xvfb xauth
    clang libc++-14-dev libc++abi-14-dev libclang-rt-14-dev python3 valgrind
)

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$package")
    fi
done
if ((${#missing[@]})); then
    echo "Installing: ${missing[*]}"
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

jobs="$(nproc 2>/dev/null || echo 2)"
case "$flavour" in
    plain) dir=build;       options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo) ;;
    asan)  dir=build-asan;  options=(-DCMAKE_BUILD_TYPE=Debug -DTUCKAWAY_SANITIZE=ON) ;;
    bench) dir=build-bench; options=(-DCMAKE_BUILD_TYPE=Release -DTUCKAWAY_BENCHMARKS=ON -DBUILD_TESTING=OFF) ;;
    clang)  dir=build-clang;  options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++) ;;
    libcxx) dir=build-libcxx; options=(-DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clang++
                                       "-DCMAKE_CXX_FLAGS=-stdlib=libc++" -DCMAKE_AUTOGEN_ORIGIN_DEPENDS=OFF) ;;
    *) echo "usage: scripts/setup.sh [plain|asan|bench|clang|libcxx]" >&2; exit 2 ;;
esac
cmake -S "$root" -B "$root/$dir" "${options[@]}" >/dev/null
if [ "$flavour" = libcxx ]; then
    # Debian's Qt is built against libstdc++: nothing links with libc++, so only Qt's
    # generated sources are made and every file is parsed.
    targets=$(cmake --build "$root/$dir" --target help | grep -oE '[A-Za-z0-9_]+_autogen$' | sort -u)
    # shellcheck disable=SC2086
    cmake --build "$root/$dir" --parallel "$jobs" --target $targets >/dev/null
    exec python3 "$root/scripts/parse-check.py" "$root/$dir/compile_commands.json" "$root"
fi
cmake --build "$root/$dir" --parallel "$jobs"
