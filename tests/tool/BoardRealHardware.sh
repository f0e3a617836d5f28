#!/bin/sh
# orva-gpio board on "real hardware": without SYSID or --board the faces and buttons are initialised
# on the files of the machine the tool runs on. The test gives it such files without touching the
# machine's own: in a private mount namespace (unshare -m) a tmpfs is mounted over /sys/class and
# over /proc before anything is written, and it vanishes with the namespace. Natively only: the
# emulator may need the real /proc.
# Usage: BoardRealHardware.sh TOOL   (TOOL: the tool without the simulator; exit 77: skipped)
set -u
for fd in 3 4 5 6 7 8 9; do eval "exec $fd>&-"; done
tool=$1
if [ "$(id -u)" != 0 ]; then
  echo "skipped: the real-hardware test mounts files in a private mount namespace and needs root"
  exit 77
fi
if ! command -v unshare >/dev/null 2>&1 || ! unshare -m --propagation private true 2>/dev/null; then
  echo "skipped: no private mount namespace on this machine"
  exit 77
fi

fail() {
  echo "FAILED: $*"
  exit 1
}

# Without /proc the loader cannot resolve the tool's $ORIGIN library path: name the folders.
here=$(cd "$(dirname "$tool")" && pwd)
keys="--key sysid=0xA533 --key hwrev=3 --key feature_led_ir=1 --key feature_led_status=0 --key feature_battery=0"
out=$(LD_LIBRARY_PATH="$here/../src:$here/../host${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}" T="$tool" K="$keys" \
  unshare -m --propagation private sh -c '
    set -e
    mount -t tmpfs orva-test /sys/class || exit 90
    mountpoint -q /sys/class || exit 90
    [ -z "$(ls -A /sys/class)" ] || exit 90
    mount -t tmpfs orva-test /proc || exit 90
    mountpoint -q /proc || exit 90
    mkdir -p /sys/class/backlight/3.pwm_bl /proc/gpio
    printf "0\n" > /sys/class/backlight/3.pwm_bl/brightness
    printf "1\n" > /proc/gpio/reset_btn
    set +e
    $T $K board
    echo "status $?"
    $T --key sysid=0xA533 board
    echo "status $?"
  ' 2>&1)
printf '%s\n' "$out"

expect() {
  case "$out" in
  *"$1"*) ;;
  *) fail "expected to find:
$1" ;;
  esac
}

expect 'board 0xA533 (this device; faces and buttons initialised on the real files, files not traced)

av          CompoundLedFace      AV colour LED and single-colour channels: present

front       LedFace              front light: present

glow        LedGlow              glow light: absent
'
# No IR light's file in the namespace: its init fails with the library's record.
expect "ir          LedIr                infrared light, white light, accessory IR: present, init failed
  log: ERROR orva_gpio_utils src/LedIr:initGPIO:198: Failed to open proc entry '/sys/class/backlight/0.pwm_bl/brightness'
  log: ERROR orva_gpio_utils src/BaseLed:init:108: Failed to init GPIO
"
expect '
reset-gpio  ResetGPIOButtonCase  reset button on a proc entry: present

reset-shmem ResetShmemButtonCase reset button in shared memory: absent

ring        RingButton           ring button: absent
status 0
'
# A key the faces look up strictly is missing: refused before any face is built.
expect "orva-gpio: board: the device information has no feature_led_ir (give --key feature_led_ir=...)
try 'orva-gpio --help'
status 2"
echo "board on real hardware: all passed"
