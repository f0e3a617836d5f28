#!/usr/bin/env bash
# Configures and builds only liborva_gpio_utils (Release, hardened) for one target in a build
# directory of its own, and prints the path of the built .so.
# Usage: scripts/build-library.sh native|arm|aarch64 BUILD_DIR
set -euo pipefail
cd "$(dirname "$0")/.."
target=$1
build_dir=$2
toolchain=()
case $target in
  native) ;;
  arm) toolchain=(-DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/arm-linux-gnueabihf.cmake") ;;
  aarch64) toolchain=(-DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/aarch64-linux-gnu.cmake") ;;
  *) echo "unknown target '$target' (native, arm or aarch64)" >&2; exit 2 ;;
esac
cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DORVA_BUILD_TESTS=OFF -DORVA_BUILD_TOOLS=OFF \
  "${toolchain[@]}" >/dev/null
cmake --build "$build_dir" --target orva_gpio_utils -j2 >/dev/null
echo "$PWD/$build_dir/src/liborva_gpio_utils.so"
