#!/usr/bin/env bash
# Builds and runs the benchmarks of every face and button on real files, and prints one table:
# operation, ns per call, ratio to the least the same system calls cost when written by hand,
# system calls and heap allocations per call (medians over RUNS runs of the whole program).
# "vs work" compares the operation with the same calls plus the text work every face must do
# around them (the number formatted before a write; a read trimmed and converted; the clock read
# before a poll), written by hand: the library's own cost.
# The files are tmpfs files at the library's paths in a private mount (and IPC) namespace: the
# machine's own /sys and /proc are never written. Needs root; otherwise it says so and stops.
# Usage: scripts/bench.sh [RUNS] [BUILD_DIR]   (default 3 runs, build/release)
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-3}
build_dir=${2:-build/release}
if [ "$(id -u)" -ne 0 ]; then
  echo "skipped: the benchmarks need root for a private mount namespace (unshare -m)"
  exit 0
fi
command -v python3 >/dev/null || { echo "bench.sh needs python3 for the table" >&2; exit 1; }
scripts/install-deps.sh libbenchmark-dev
if [ "$build_dir" = build/release ]; then
  cmake --preset release -DORVA_BUILD_BENCHMARKS=ON >/dev/null
else
  cmake --preset release -B "$build_dir" -DORVA_BUILD_BENCHMARKS=ON >/dev/null
fi
cmake --build "$build_dir" --target orva_bench
program=$(realpath "$build_dir/bench/orva_bench")
boards=$(realpath boards)
out_dir=$(mktemp -d)
trap 'rm -rf "$out_dir"' EXIT

# Inside the namespace: tmpfs over /sys/class and /sys/bus, and over /proc with every entry but
# /proc/gpio pointing back at the real procfs (bound under the scratch directory); then the
# attribute files of the boards the benchmarks use.
inside='
set -eu
mount -t tmpfs orva-bench /sys/class
mount -t tmpfs orva-bench /sys/bus
mkdir -p "$OUT/proc"
mount --bind /proc "$OUT/proc"
mount -t tmpfs orva-bench /proc
for entry in "$OUT"/proc/*; do
  name=${entry##*/}
  case $name in [0-9]*) ;; *) ln -s "$entry" "/proc/$name" ;; esac
done
for board in a533 a5a0 a574 a571 a598 a573 a563 a5b0 a575 a5c0 a564; do
  while read -r kind path mode value; do
    case $kind in
      dir) mkdir -p "$path" ;;
      attr) mkdir -p "${path%/*}"; printf "%s" "$value" > "$path" ;;
    esac
  done < "$BOARDS/$board.board"
done
# The IR light reads its level back right after opening it with O_TRUNC, which a tmpfs file obeys
# and an attribute ignores: a character device that takes writes and reads as zeros stands in.
rm -f /sys/class/backlight/0.pwm_bl/brightness
mknod /sys/class/backlight/0.pwm_bl/brightness c 1 5
ORVA_BENCH_NAMESPACE=1 "$PROGRAM" --boards "$BOARDS" --benchmark_enable_random_interleaving=true \
  --benchmark_repetitions=5 --benchmark_min_time=0.05 --benchmark_format=json --benchmark_out="$RESULT" >/dev/null
'
for run in $(seq 1 "$runs"); do
  echo "run $run of $runs" >&2
  OUT=$out_dir PROGRAM=$program BOARDS=$boards RESULT=$out_dir/run$run.json \
    unshare -m -i --propagation private sh -c "$inside"
done

python3 - "$out_dir" "$runs" <<'PY'
import json, statistics, sys
out_dir, runs = sys.argv[1], int(sys.argv[2])
per_run = []
order = []
for run in range(1, runs + 1):
    data = json.load(open(f"{out_dir}/run{run}.json"))
    times, counts = {}, {}
    for b in data["benchmarks"]:
        if b.get("run_type") != "iteration" or b.get("error_occurred"):
            continue
        name = b["run_name"]
        if name not in order and not name.endswith(("/minimum", "/prescribed")):
            order.append(name)
        times.setdefault(name, []).append(b["real_time"])
        counts[name] = (b.get("syscalls", 0), b.get("allocs", 0))
    per_run.append(({n: statistics.median(t) for n, t in times.items()}, counts))
print(f"{'operation':34} {'ns/call':>9} {'ratio':>7} {'vs work':>8} {'syscalls':>9} {'allocs':>7}")
def median_of(name):
    values = [r[0][name] for r in per_run if name in r[0]]
    return statistics.median(values) if values else None
def ratio_of(name, reference):
    ratios = [r[0][name] / r[0][reference] for r in per_run if name in r[0] and reference in r[0]]
    return f"{statistics.median(ratios):.2f}" if ratios else "-"
for name in sorted(order):
    syscalls, allocs = per_run[0][1][name]
    print(f"{name:34} {median_of(name):9.0f} {ratio_of(name, name + '/minimum'):>7} "
          f"{ratio_of(name, name + '/prescribed'):>8} {syscalls:9.2f} {allocs:7.2f}")
    for suffix, label in (("/minimum", "  minimum (same calls by hand)"),
                          ("/prescribed", "  calls + their text work by hand")):
        reference = name + suffix
        if median_of(reference) is None:
            continue
        print(f"{label:34} {median_of(reference):9.0f} {ratio_of(reference, name + '/minimum'):>7} "
              f"{'':>8} {per_run[0][1][reference][0]:9.2f} {per_run[0][1][reference][1]:7.2f}")
PY
