#!/usr/bin/env bash
# Installs what the build needs (only what is missing) and builds Tuckaway.
#   scripts/setup.sh            packages + the plain build in build/
#   scripts/setup.sh asan       packages + the sanitized build in build-asan/
#   scripts/setup.sh bench      packages + the optimised benchmark build in build-bench/
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
flavour="${1:-plain}"

packages=(
    cmake g++ make pkg-config
    qt6-base-dev qt6-base-dev-tools qt6-qpa-plugins libgl-dev libxkbcommon-dev
    libxcb1-dev libbenchmark-dev fonts-dejavu-core xvfb xauth
    clang libclang-rt-14-dev valgrind
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
    *) echo "usage: scripts/setup.sh [plain|asan|bench]" >&2; exit 2 ;;
esac
cmake -S "$root" -B "$root/$dir" "${options[@]}" >/dev/null
cmake --build "$root/$dir" --parallel "$jobs"
