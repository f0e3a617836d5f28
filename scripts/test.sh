#!/usr/bin/env bash
# Builds and runs the whole test suite from a fresh clone, installing what it needs: natively
# (release preset), cross-built for the camera's 32-bit ARM target under qemu-arm (arm preset), and
# natively again under AddressSanitizer (asan preset, g++) and UndefinedBehaviorSanitizer (ubsan
# preset, clang), each stopping at the first report.
# Usage: scripts/test.sh [--aarch64] [--no-sanitizers]
#   --aarch64        also the 64-bit ARM suite under qemu-aarch64
#   --no-sanitizers  only the release and arm suites (a quicker run while developing)
set -euo pipefail
cd "$(dirname "$0")/.."
presets=(release arm)
sanitizers=(asan ubsan)
cross_packages=(g++-arm-linux-gnueabihf qemu-user googletest)
for argument in "$@"; do
  case $argument in
    --aarch64) presets+=(aarch64) cross_packages+=(g++-aarch64-linux-gnu) ;;
    --no-sanitizers) sanitizers=() ;;
    *) echo "usage: scripts/test.sh [--aarch64] [--no-sanitizers]" >&2; exit 2 ;;
  esac
done
presets+=("${sanitizers[@]}")
scripts/install-deps.sh "${cross_packages[@]}"
for preset in "${presets[@]}"; do
  echo "== $preset"
  cmake --preset "$preset"
  cmake --build --preset "$preset"
  ctest --preset "$preset"
done
# libFuzzer targets (clang, sanitizers), natively: each replays its corpus and runs briefly.
echo "== fuzz"
cmake --preset fuzz
cmake --build --preset fuzz
ctest --preset fuzz
