#!/usr/bin/env bash
# Runs one fuzz target the way its ctest test does: every committed input of its corpus folder is
# replayed first (a crash found earlier and committed there fails the test again), then RUNS new
# inputs grown from that corpus in a scratch copy of it.
# Usage: run-fuzzer.sh FUZZER SEED_DIR WORK_DIR RUNS [EXTRA LIBFUZZER OPTIONS...]
set -euo pipefail
fuzzer=$1 seeds=$2 work=$3 runs=$4
shift 4
rm -rf "$work"
mkdir -p "$work"
[ -d "$seeds" ] && cp -R "$seeds"/. "$work"/
# -seed fixed: the short run explores the same inputs every time, so the test is repeatable. The
# longest input libFuzzer makes is that of the corpus, or 4096 bytes.
exec "$fuzzer" -runs="$runs" -seed=1 -timeout=20 -rss_limit_mb=2048 \
  -artifact_prefix="$work/../" -print_final_stats=1 "$@" "$work"
