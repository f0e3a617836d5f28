#!/usr/bin/env bash
# Installs the built project into a scratch prefix, then builds the consumer example against it,
# once through the CMake package and once through pkg-config, and runs both.
set -euo pipefail
build=$1 example=$2 scratch=$3
rm -rf "$scratch"
prefix=$scratch/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null
libdir=$(dirname "$(find "$prefix" -name 'liborva_gpio_utils.so' | head -n 1)")

cmake -S "$example" -B "$scratch/cmake-build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/cmake-build" >/dev/null
LD_LIBRARY_PATH=$libdir "$scratch/cmake-build/consumer" | tee "$scratch/cmake.out"
grep -qx 'power LED: init ok, exists no' "$scratch/cmake.out"

export PKG_CONFIG_PATH=$libdir/pkgconfig
mkdir -p "$scratch/pc-build"
# shellcheck disable=SC2046
g++ -std=c++17 "$example/main.cpp" -o "$scratch/pc-build/consumer" $(pkg-config --cflags --libs orva_gpio_utils) \
    -lorva_host_platform
LD_LIBRARY_PATH=$libdir "$scratch/pc-build/consumer" | tee "$scratch/pc.out"
grep -qx 'power LED: init ok, exists no' "$scratch/pc.out"
readelf -d "$libdir/liborva_gpio_utils.so" | grep -q 'SONAME.*liborva_gpio_utils.so.1'
echo "install and consume: ok"
