#!/usr/bin/env bash
# Builds one fuzz target (preset "fuzz": clang, libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs it for as long as asked, growing a corpus kept under
# build/fuzz/ and seeded from tests/fuzz/corpus/TARGET/.
# Usage: scripts/fuzz.sh TARGET [SECONDS] [LIBFUZZER OPTIONS...]   (SECONDS default 60; 0 = until stopped)
# Targets: fuzz_led_reads fuzz_button_reads fuzz_reset_shmem fuzz_board_profile fuzz_tool_parser
# An input that crashes is written to build/fuzz/tests/fuzz/crash-*; copy it into
# tests/fuzz/corpus/TARGET/ to make the target's ctest test replay it from then on.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ $# -lt 1 ]; then
  sed -n '2,9p' "$0" | sed 's/^# \{0,1\}//' >&2
  exit 2
fi
target=$1
seconds=${2:-60}
shift $(( $# >= 2 ? 2 : 1 ))
seeds=tests/fuzz/corpus/$target
if [ ! -d "$seeds" ]; then
  echo "unknown fuzz target '$target' (no $seeds)" >&2
  exit 2
fi
scripts/install-deps.sh
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target "$target"
out=build/fuzz/tests/fuzz
corpus=$out/corpus-$target-long
mkdir -p "$corpus"
cp -R "$seeds"/. "$corpus"/
export ORVA_BOARDS_DIR=$PWD/boards
exec "$out/$target" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -print_final_stats=1 \
  -artifact_prefix="$out/" "$@" "$corpus"
