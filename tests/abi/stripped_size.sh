#!/usr/bin/env bash
# Holds the library, stripped as it goes onto the camera, under a byte limit.
# Usage: stripped_size.sh STRIP LIBRARY LIMIT_BYTES OUTPUT_DIR
set -euo pipefail
strip_tool=$1 library=$2 limit=$3 out_dir=$4
mkdir -p "$out_dir"
stripped=$out_dir/$(basename "$library").stripped
"$strip_tool" --strip-all -o "$stripped" "$library"
size=$(stat -c %s "$stripped")
echo "stripped $(basename "$library"): $size bytes ($((size / 1024)) KiB), limit $limit bytes ($((limit / 1024)) KiB)"
if [ "$size" -gt "$limit" ]; then
  echo "FAIL: the stripped library is $((size - limit)) bytes above the limit" >&2
  exit 1
fi
