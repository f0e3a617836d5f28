#!/usr/bin/env bash
# Regenerates the list of exported symbols that the abi_exported_symbols test compares with, from
# the current tree: tests/abi/exported-symbols.txt, plus exported-symbols-<arch>.txt for a target
# whose list differs. Builds only the library, for the host and for each ARM target whose cross
# compiler is installed, under build/abi-list/ (or BUILD_ROOT). Review the diff before committing:
# every line that goes away breaks clients built against the old headers.
# Usage: scripts/update-abi-list.sh [BUILD_ROOT]
set -euo pipefail
cd "$(dirname "$0")/.."
build_root=${1:-build/abi-list}
lists=tests/abi
checks=tests/abi/elf_checks.sh

declare -A readelf=([native]=readelf [arm]=arm-linux-gnueabihf-readelf [aarch64]=aarch64-linux-gnu-readelf)
declare -A compiler=([native]=c++ [arm]=arm-linux-gnueabihf-g++ [aarch64]=aarch64-linux-gnu-g++)
declare -A arch=([native]=$(uname -m) [arm]=arm [aarch64]=aarch64)

common=$(mktemp)
trap 'rm -f "$common" "$common".*' EXIT
for target in native arm aarch64; do
  if ! command -v "${compiler[$target]}" >/dev/null; then
    echo "skipping $target: ${compiler[$target]} is not installed (its list, if any, is left as it is)"
    continue
  fi
  echo "building the library for $target ..."
  library=$(scripts/build-library.sh "$target" "$build_root/$target")
  READELF=${readelf[$target]} "$checks" print-exported "$library" >"$common.$target"
  if [ "$target" = native ]; then
    cp "$common.$target" "$lists/exported-symbols.txt"
    rm -f "$lists/exported-symbols-${arch[native]}.txt"
  elif cmp -s "$common.$target" "$lists/exported-symbols.txt"; then
    rm -f "$lists/exported-symbols-${arch[$target]}.txt"
  else
    cp "$common.$target" "$lists/exported-symbols-${arch[$target]}.txt"
    echo "$target exports a different list: $lists/exported-symbols-${arch[$target]}.txt"
  fi
done
git --no-pager diff --stat -- "$lists" 2>/dev/null || true
echo "$(wc -l <"$lists/exported-symbols.txt") exported symbols in $lists/exported-symbols.txt"
