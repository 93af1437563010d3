#!/usr/bin/env bash
# Sets up the machine, builds vxxml and runs the whole test suite.
#   scripts/test.sh [build-dir] [extra cmake arguments...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
shift || true

bash "$root/scripts/setup.sh"
cmake -S "$root" -B "$build" -G Ninja "$@" >/dev/null
cmake --build "$build"
ctest --test-dir "$build" --output-on-failure -j"$(nproc)"
