#!/usr/bin/env bash
# Installs the freshly built library into a scratch prefix, then builds and
# runs a consumer through find_package(vxxml) and through pkg-config.
set -euo pipefail
build_dir=$1 src_dir=$2 work=$3 sanitize=${4:-OFF}
rm -rf "$work"
mkdir -p "$work"
cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null

flags=()
if [ "$sanitize" = "ON" ]; then
  flags=(-DCMAKE_CXX_FLAGS="-fsanitize=address,undefined")
fi
cmake -S "$src_dir" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" "${flags[@]}" >/dev/null
cmake --build "$work/build" >/dev/null
LD_LIBRARY_PATH="$work/prefix/lib:${LD_LIBRARY_PATH:-}" "$work/build/consumer"

libdir=$(dirname "$(find "$work/prefix" -name vxxml.pc | head -1)")
extra=""
[ "$sanitize" = "ON" ] && extra="-fsanitize=address,undefined"
# shellcheck disable=SC2046
g++ $extra "$src_dir/main.cpp" -o "$work/consumer-pc" $(PKG_CONFIG_PATH="$libdir" pkg-config --cflags --libs vxxml)
LD_LIBRARY_PATH="$work/prefix/lib:${LD_LIBRARY_PATH:-}" "$work/consumer-pc"
