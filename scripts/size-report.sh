#!/usr/bin/env bash
# Size of the shipped library: the stripped liborva_gpio_utils.so for x86-64 and for the camera's
# 32-bit ARM target (Release, hardened), and its largest functions and objects.
# Usage: scripts/size-report.sh [BUILD_ROOT] [COUNT]   (default build/size-report, 15 contributors)
set -euo pipefail
cd "$(dirname "$0")/.."
build_root=${1:-build/size-report}
count=${2:-15}

report() {
  local target=$1 prefix=$2
  if ! command -v "${prefix}g++" >/dev/null; then
    echo "== $target: ${prefix}g++ is not installed (scripts/install-deps.sh g++-arm-linux-gnueabihf)"
    return
  fi
  local library stripped
  library=$(scripts/build-library.sh "$3" "$build_root/$3")
  stripped=$build_root/$3/liborva_gpio_utils.stripped.so
  "${prefix}strip" --strip-all -o "$stripped" "$library"
  echo "== $target: $(stat -c %s "$stripped") bytes stripped ($(stat -L -c %s "$library") unstripped)"
  "${prefix}size" -A "$stripped" | awk '$1 ~ /^\.(text|rodata|data|data\.rel\.ro|bss|dynsym|dynstr|eh_frame|ARM\.exidx|ARM\.extab)$/ { printf "   %-14s %7d\n", $1, $2 }'
  echo "   largest symbols (bytes, demangled):"
  { "${prefix}nm" --size-sort --reverse-sort -S -C -t d "$library" || true; } | head -n "$count" |
    awk '{ size = $2; $1 = ""; $2 = ""; sub(/^  /, ""); if (length($0) > 110) $0 = substr($0, 1, 107) "..."
           printf "   %7d  %s\n", size, $0 }'
}

report "x86-64" "" native
report "32-bit ARM" "arm-linux-gnueabihf-" arm
