#!/usr/bin/env bash
# Installs the built project into a scratch prefix, then builds the consumer example against it,
# once through the CMake package and once through pkg-config, and runs both; then the ring-light
# example and its unit test on orva::sim, the unit test again through pkg-config, and the ring
# light under the installed orva-gpio run on a simulated board pressed from a second invocation.
# Usage: install_and_consume.sh BUILD CONSUMER_EXAMPLE SCRATCH [RING_LIGHT_EXAMPLE]
set -euo pipefail
build=$1 example=$2 scratch=$3
ringLight=${4:-$(dirname "$example")/ring-light}
# Everything below must find the installed board profiles by itself.
unset ORVA_BOARDS_DIR
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
g++ -std=c++17 "$example/main.cpp" -o "$scratch/pc-build/consumer" \
    $(pkg-config --cflags --libs orva_gpio_utils orva_host_platform)
LD_LIBRARY_PATH=$libdir "$scratch/pc-build/consumer" | tee "$scratch/pc.out"
grep -qx 'power LED: init ok, exists no' "$scratch/pc.out"
readelf -d "$libdir/liborva_gpio_utils.so" | grep -q 'SONAME.*liborva_gpio_utils.so.1'

# The simulator for one's own tests: the ring light's unit test through the CMake package (orva::sim)
# and through pkg-config (orva_sim).
cmake -S "$ringLight" -B "$scratch/ring-build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/ring-build" >/dev/null
"$scratch/ring-build/ring-light-test" --gtest_brief=1 | tee "$scratch/ring-test.out"
grep -q '^\[  PASSED  \] 3 tests\.$' "$scratch/ring-test.out"
g++ -std=c++17 -I"$ringLight" "$ringLight/RingLightTest.cpp" "$ringLight/RingLight.cpp" -o "$scratch/pc-build/ring-light-test" \
    $(pkg-config --cflags --libs orva_gpio_utils orva_sim) -lgtest_main -lgtest -pthread
LD_LIBRARY_PATH=$libdir "$scratch/pc-build/ring-light-test" --gtest_brief=1 | tee "$scratch/ring-test-pc.out"
grep -q '^\[  PASSED  \] 3 tests\.$' "$scratch/ring-test-pc.out"

# The installed tool reads the installed profiles: a board added there is listed.
sed 's/^info sysid u64 0xA575$/info sysid u64 0xA5F5/' "$prefix/share/orva_gpio_utils/boards/a575.board" \
    >"$prefix/share/orva_gpio_utils/boards/a5f5.board"
"$prefix/bin/orva-gpio" --list-boards | grep -q '^0xA5F5  '
rm "$prefix/share/orva_gpio_utils/boards/a5f5.board"

# The ring light under the installed orva-gpio run, pressed and released from second invocations.
tool=$prefix/bin/orva-gpio
bell=$scratch/bell
"$tool" run --board 0xA575 --sandbox "$bell" -- "$scratch/ring-build/ring-light" --rings 1 \
    >"$scratch/ring.out" 2>"$scratch/ring.err" &
runner=$!
wait_for() {
  for _ in $(seq 1 200); do
    grep -qE "$1" "$2" 2>/dev/null && return 0
    sleep 0.05
  done
  echo "no line matching '$1' in $2" >&2
  kill $runner 2>/dev/null || true
  return 1
}
wait_for '^ring-light: ready$' "$scratch/ring.out"
"$tool" --board 0xA575 --sandbox "$bell" --reuse button ring press >/dev/null
wait_for '"call":"write","path":"/sys/class/leds/torch1/brightness",.*"bytes":"15\\u0000","result":3' "$bell/journal"
"$tool" --board 0xA575 --sandbox "$bell" --reuse button ring release >/dev/null
wait $runner
grep -x 'ring: pressed, light on' "$scratch/ring.out"
grep -x 'ring-light: 1 rings' "$scratch/ring.out"
grep -x "orva-gpio run: journal $bell/journal" "$scratch/ring.err"
writes=$(grep '"call":"write","path":"/sys/class/leds/torch1/brightness"' "$bell/journal" |
    sed -E 's/.*"bytes":"([^"]*)".*/\1/' | tr '\n' ' ')
[[ "$writes" == '0\u0000 0\u0000 15\u0000 0\u0000 ' ]] || { echo "torch LED writes: $writes" >&2; exit 1; }
echo "install and consume: ok"
