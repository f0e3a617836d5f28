#!/bin/sh
# orva-gpio on "real hardware": without --board the tool drives the files of the machine it runs on.
# The test gives it such files without touching the machine's own: in a private mount namespace
# (unshare -m), a tmpfs is mounted over /sys/class (and over /proc for the /proc/gpio entries) before
# anything is written, and it vanishes with the namespace.
# Usage: real-hardware.sh TOOL [EMULATOR ARGS...]   (exit 77: skipped)
set -u
# Descriptors a test runner leaves open would change the ones the library gets and reports.
for fd in 3 4 5 6 7 8 9; do eval "exec $fd>&-"; done
tool=$1
shift
emulator="$*"
if [ "$(id -u)" != 0 ]; then
  echo "skipped: the real-hardware test mounts files in a private mount namespace and needs root"
  exit 77
fi
if ! command -v unshare >/dev/null 2>&1; then
  echo "skipped: unshare (util-linux) is not installed"
  exit 77
fi
if ! unshare -m --propagation private true 2>/dev/null; then
  echo "skipped: this machine does not allow a private mount namespace"
  exit 77
fi
[ -n "$emulator" ] && tool="$emulator $tool"

fail() {
  echo "FAILED: $*"
  exit 1
}

# Runs the shell text $1 inside a fresh namespace with tmpfs over /sys/class; never runs it when
# the mount fails. $T in the text is the tool.
in_namespace() {
  T="$tool" unshare -m --propagation private sh -c '
    set -e
    mount -t tmpfs orva-test /sys/class || exit 90
    mountpoint -q /sys/class || exit 90
    [ -z "$(ls -A /sys/class)" ] || exit 90
    '"$1"
}

# The front light of 0xA533: the user value 40 becomes "39\0" in its brightness file, read back.
out=$(in_namespace '
  mkdir -p /sys/class/backlight/3.pwm_bl
  printf "0\n" > /sys/class/backlight/3.pwm_bl/brightness
  $T --key sysid=0xA533 led front set 40 then get
  echo "status $?"
  od -An -c /sys/class/backlight/3.pwm_bl/brightness
' 2>&1)
printf '%s\n' "$out"
expected='board 0xA533: the files of this machine
led front: init -> ok
led front: set 40 -> ok
led front: get -> device value 39 (user value 39)
status 0
   3   9  \0'
[ "$out" = "$expected" ] || fail "front light: expected
$expected"

# --quiet and --json on real hardware: results only; no kernel calls are traced without the simulator.
# A plain file keeps the third byte of "99\0" under the "0\0" written over it at offset 0.
out=$(in_namespace '
  mkdir -p /sys/class/backlight/3.pwm_bl
  $T --quiet --key sysid=0xA533 led front set 100 then off
  od -An -c /sys/class/backlight/3.pwm_bl/brightness
  $T --json --key sysid=0xA533 led front on
' 2>&1)
printf '%s\n' "$out"
expected='led front: init -> ok
led front: set 100 -> ok
led front: off -> ok
   0  \0  \0
{"real":true,"sysid":"0xA533","text":"board 0xA533: the files of this machine","type":"board"}
{"command":"led","ok":true,"step":"init","target":"front","type":"result"}
{"command":"led","ok":true,"step":"on","target":"front","type":"result"}'
[ "$out" = "$expected" ] || fail "output modes: expected
$expected"

# A missing file: the face logs its error, the status is 1, and nothing is created beside it.
out=$(in_namespace '
  set +e
  $T --key sysid=0xA598 --key feature_led_ir=1 --key feature_led_status=0 led ir white on
  echo "status $?"
  find /sys/class -type f | sort
' 2>&1)
printf '%s\n' "$out"
expected="board 0xA598: the files of this machine
  log ERROR orva_gpio_utils src/LedIr:initGPIO:198: Failed to open proc entry '/sys/class/backlight/0.pwm_bl/brightness'
  log ERROR orva_gpio_utils src/BaseLed:init:108: Failed to init GPIO
led ir: init -> FAILED
status 1"
[ "$out" = "$expected" ] || fail "missing IR file: expected
$expected"

# A usage error on real hardware writes nothing: the bad value is the last word.
out=$(in_namespace '
  set +e
  mkdir -p /sys/class/backlight/3.pwm_bl
  printf "7\n" > /sys/class/backlight/3.pwm_bl/brightness
  $T --key sysid=0xA533 led front set 40 then set 101
  echo "status $?"
  od -An -c /sys/class/backlight/3.pwm_bl/brightness
' 2>&1)
printf '%s\n' "$out"
expected="orva-gpio: set must be 0..100: '101'
try 'orva-gpio --help'
status 2
   7  \\n"
[ "$out" = "$expected" ] || fail "usage error: expected
$expected"

# Buttons read /proc/gpio: a tmpfs over /proc in the namespace holds the entry. The library opens
# the entries with O_TRUNC, which a kernel entry ignores and a plain file does not: the value is gone
# before the first read, so the state is reported as failed, with the library's record, and the
# file is found empty. The emulator may need the real /proc, so this part runs natively only.
# Without /proc the loader cannot resolve the tool's $ORIGIN library path: name the folders.
if [ -z "$emulator" ]; then
  here=$(cd "$(dirname "$tool")" && pwd)
  out=$(LD_LIBRARY_PATH="$here/../src:$here/../host${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}" T="$tool" unshare -m --propagation private sh -c '
    set -e
    mount -t tmpfs orva-test /proc || exit 90
    mountpoint -q /proc || exit 90
    mkdir /proc/gpio
    printf "0\n" > /proc/gpio/ring_btn
    set +e
    $T --key sysid=0xA575 button ring state
    echo "status $?"
    wc -c < /proc/gpio/ring_btn
  ' 2>&1)
  printf '%s\n' "$out"
  expected='board 0xA575: the files of this machine
  log ERROR orva_gpio_utils src/BaseGPIOResetButton:readValue:22: Failed to read from proc entry 0x3, num bytes read 0
button ring: state -> FAILED
status 1
0'
  [ "$out" = "$expected" ] || fail "ring button: expected
$expected"
fi
echo "real hardware: all passed"
