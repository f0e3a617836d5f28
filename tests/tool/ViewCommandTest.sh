#!/bin/bash
# orva-gpio view beside the tool's own commands on one sandbox directory.
#   ViewCommandTest.sh plain TOOL      output not a terminal: one line per change
#   ViewCommandTest.sh terminal TOOL   the full screen in a headless tmux: an LED change made by a
#                                      second invocation shows, a key presses the reset button
#   ViewCommandTest.sh boards TOOL     the first screen (plain) of boards of every kind of LED after
#                                      a face of each was driven: rings, LP5012 units, the AV LED,
#                                      RGBW channel groups, driver chips, proc and backlight levels
#   ViewCommandTest.sh run TOOL PROGRAM   beside `orva-gpio run` of the ring-light example on board
#                                      0xA575: the g key presses the ring button, the process lights
#                                      its torch LED, the view shows it and the journal has the write
set -u
mode=$1
tool=$2
work=$(mktemp -d)
sandbox=$work/board
server=orva-test-$$
viewer=
runner=
failures=0

cleanup() {
    if [ -n "$viewer" ]; then kill "$viewer" 2>/dev/null; wait "$viewer" 2>/dev/null; fi
    if [ -n "$runner" ]; then kill "$runner" 2>/dev/null; wait "$runner" 2>/dev/null; fi
    if [ "$mode" != plain ]; then tmux -L "$server" kill-server 2>/dev/null; fi
    rm -rf "$work"
}
trap cleanup EXIT

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# expect_bytes FILE EXPECTED: the whole file is exactly EXPECTED (printf escapes allowed).
expect_bytes() {
    local actual expected
    actual=$(od -An -c "$1")
    expected=$(printf "$2" | od -An -c)
    [ "$actual" = "$expected" ] || fail "$1 holds [$actual], expected [$expected]"
}

# wait_for COMMAND...: runs the command every 50 ms until it succeeds, for up to 30 s (a loaded
# machine); a working view answers within a second or two.
wait_for() {
    local tries=0
    until "$@"; do
        tries=$((tries + 1))
        [ $tries -ge 600 ] && return 1
        sleep 0.05
    done
}

if [ "$mode" = run ]; then
    program=$3
    command -v tmux > /dev/null || { echo "tmux is not installed"; exit 1; }
    "$tool" run --board 0xA575 --sandbox "$sandbox" -- "$program" --rings 1 > "$work/run.txt" 2>&1 &
    runner=$!
    started() { grep -qxF "ring-light: ready" "$work/run.txt"; }
    wait_for started || { fail "the example did not start: $(cat "$work/run.txt")"; exit 1; }
    expect_bytes "$sandbox/board" 'sysid 0xA575\n'
    tmux -L "$server" -f /dev/null new-session -d -x 120 -y 40 "env TERM=screen '$tool' --sandbox '$sandbox' view 2> '$work/view.err'; echo \$? > '$work/view.status'"
    screen() { tmux -L "$server" capture-pane -p -t 0; }
    shows() { screen | grep -qxF -- "$1"; }
    wait_for shows "q quits  r reset  g ring" || fail "the view did not start: $(screen)"
    shows "  glow torch1        .  (r 0 g 0 b 0 w 0)" || fail "first screen: $(screen)"
    tmux -L "$server" send-keys -t 0 g
    wait_for shows "  [g] ring           pressed (0)" || fail "press not shown: $(screen)"
    wait_for shows "  glow torch1        W  (r 0 g 0 b 0 w 255)" || fail "torch not lit: $(screen)"
    tmux -L "$server" send-keys -t 0 g
    wait_for shows "  glow torch1        .  (r 0 g 0 b 0 w 0)" || fail "torch not dark again: $(screen)"
    # One ring and the process ends by itself, with status 0.
    wait "$runner"
    status=$?
    runner=
    [ $status -eq 0 ] || fail "run ended with status $status: $(cat "$work/run.txt")"
    grep -qxF "ring: pressed, light on" "$work/run.txt" || fail "the process saw no press: $(cat "$work/run.txt")"
    writes=$(grep '"call":"write","path":"/sys/class/leds/torch1/brightness"' "$sandbox/journal" | grep -o '"bytes":"[^"]*"' | tr '\n' ' ')
    # Whatever the process wrote at start, the ring lit the torch (15 of 0..15) once and put it out.
    case "$writes" in
        *'"bytes":"15\u0000" "bytes":"0\u0000" ') ;;
        *) fail "torch writes in the journal: $writes" ;;
    esac
    [ "$(grep -o '"bytes":"15\\u0000"' <<< "$writes" | wc -l)" -eq 1 ] || fail "torch lit more than once: $writes"
    tmux -L "$server" send-keys -t 0 q
    gone() { ! tmux -L "$server" has-session 2> /dev/null; }
    wait_for gone || fail "q did not end the view: $(screen)"
    expect_bytes "$work/view.status" '0\n'
    [ -s "$work/view.err" ] && fail "view wrote to stderr: $(cat "$work/view.err")"
    [ $failures -eq 0 ] && echo "view ($mode): all checks passed"
    exit $((failures != 0))
fi

if [ "$mode" = boards ]; then
    # expect_screen SYSID EXPECTED COMMAND...: a fresh board driven by one tool command, then the
    # view's item lines (--for 0: the first screen only).
    # SYSID may name a variant: 0xA5A3:usb-only.
    expect_screen() {
        local sysid=${1%%:*} expected=$2 variant=()
        [ "$1" != "$sysid" ] && variant=(--variant "${1#*:}")
        shift 2
        rm -rf "$sandbox"
        # (Its status is not the point: the AV LED logs an error for its colour before a value.)
        "$tool" --board "$sysid" "${variant[@]}" --sandbox "$sandbox" --quiet "$@" > /dev/null 2>&1
        local actual
        actual=$("$tool" --sandbox "$sandbox" view --for 0 2>&1 | tail -n +3)
        [ "$actual" = "$expected
watching" ] || fail "$sysid after '$*':
$actual"
    }
    expect_screen 0xA5B0 "multicolor ring: GGGGGGGGGG
reset [r]: released (1)
enclosure [e]: inactive (1)" led multicolor color green black then set 99
    expect_screen 0xA597 "sysfs lp5012:1: B (r 0 g 0 b 252 w 0)
sysfs lp5012:2: B (r 0 g 0 b 252 w 0)
reset [r]: released (1)" led sysfs color blue black then set 99
    expect_screen 0xA573 "av orva::av: M magenta (r 255 g 0 b 255 w 0)
backlight bogus_bus:pwm_bl@1: 0% (brightness 0/99)
backlight bogus_bus:pwm_bl@2: 0% (brightness 0/99)
reset [r]: released (1)" led av color magenta black then on
    expect_screen 0xA5A3 "sysfs 0-0030: w (r 0 g 0 b 0 w 49)
sysfs usbcm65xx_led: w (r 0 g 0 b 0 w 49)
reset [r]: released (1)" led sysfs color white black then set 50
    expect_screen 0xEC70 "rgb orva::av: . black (r 0 g 0 b 0 w 0)
multicolor ring: ....................................
ktd ktd2058: ............
ktd ktd2061: BBBBBBBBBBBB
ktd ktd2059: BBBBBBBBBBBB
ktd ktd2060: BBBBBBBBBBBB
reset [r]: released (1)" led ktd color blue black then set 99
    expect_screen 0xA574 "glow torch1: . (r 0 g 0 b 0 w 0)
green G: . (r 0 g 0 b 0 w 0)
white_led: 100% (white_led 1)
reset [r]: released (1)" led uartcli color white black then set 1
    expect_screen 0xA5A6 "ktd ktd2052: ............
ktd ktd2061: ............
white light: 0% (brightness 0/255)
ir 1: 98% (brightness 98/99)
reset [r]: released (1)" led ir set 99
    # A variant's sandbox names its variant, and the view loads the variant's profile.
    expect_screen 0xA5A3:usb-only "sysfs usbcm65xx_led: r (r 49 g 0 b 0 w 0)
reset [r]: released (1)" led sysfs set 50
    expect_bytes "$sandbox/board" 'sysid 0xA5A3\nvariant usb-only\n'
    [ "$("$tool" --sandbox "$sandbox" view --for 0 | head -n 1)" = "board 0xA5A3 variant usb-only: Camera with its RGBW status LED on the USB-attached LED controller only (no I2C LED driver fitted)" ] ||
        fail "variant header: $("$tool" --sandbox "$sandbox" view --for 0 | head -n 1)"

    # The shared-memory reset button of 0xA564: the segment lives while the process that built the
    # board (a button watch here) runs; the view reads byte 271 of it.
    rm -rf "$sandbox"
    "$tool" --board 0xA564 --sandbox "$sandbox" button reset watch --for 20000 > "$work/watch.txt" 2>&1 &
    runner=$!
    watching() { grep -q "^button reset: init -> ok" "$work/watch.txt"; }
    wait_for watching || fail "the watch did not start: $(cat "$work/watch.txt")"
    out=$work/shm-view.txt
    "$tool" --sandbox "$sandbox" view > "$out" 2>&1 &
    viewer=$!
    has_line() { grep -qxF -- "$1" "$out"; }
    wait_for has_line watching || fail "the view did not start: $(cat "$out")"
    [ "$(tail -n +3 "$out")" = "reset [r]: released (1)
watching" ] || fail "0xA564 first screen: $(cat "$out")"
    "$tool" --board 0xA564 --sandbox "$sandbox" --reuse --quiet button reset press > /dev/null
    wait_for has_line "reset [r]: pressed (0)" || fail "0xA564 press not shown: $(cat "$out")"
    "$tool" --board 0xA564 --sandbox "$sandbox" --reuse --quiet button reset release > /dev/null
    changes_are() { [ "$(tail -n +5 "$out")" = "$1" ]; }
    wait_for changes_are "reset [r]: pressed (0)
reset [r]: released (1)" || fail "0xA564 lines: $(cat "$out")"
    released() { grep -q "released after" "$work/watch.txt"; }
    wait_for released || fail "the watch saw no release: $(cat "$work/watch.txt")"

    [ $failures -eq 0 ] && echo "view ($mode): all checks passed"
    exit $((failures != 0))
fi

# The board is built by the tool itself; later invocations attach with --reuse.
"$tool" --board 0xA598 --sandbox "$sandbox" --quiet led ktd get > /dev/null || fail "building the board"
expect_bytes "$sandbox/board" 'sysid 0xA598\n'

initial="board 0xA598: Camera with tele and wide IR channels (PWM backlight and PWM 9), an accessory IR output (PWM 1), a white light (PWM 0) and a KTD2052/KTD2061 status ring
sandbox $sandbox
ktd ktd2052: ............
ktd ktd2061: ............
ir 1: 0% (brightness 0/99)
white light: 0% (duty 0/20000)
accessory ir: 0% (duty 0/20000)
ir 2: 0% (duty 0/100)
reset [r]: released (1)
watching"

if [ "$mode" = plain ]; then
    out=$work/view.txt
    "$tool" --sandbox "$sandbox" view > "$out" 2> "$work/view.err" &
    viewer=$!
    has_line() { grep -qxF -- "$1" "$out"; }
    wait_for has_line watching || fail "the view did not start: $(cat "$out" "$work/view.err")"
    [ "$(cat "$out")" = "$initial" ] || fail "first screen:
$(cat "$out")"

    # A button pressed and released by a second invocation: one line each, in order.
    "$tool" --board 0xA598 --sandbox "$sandbox" --reuse --quiet button reset press > /dev/null
    wait_for has_line "reset [r]: pressed (0)" || fail "no press line: $(tail -3 "$out")"
    "$tool" --board 0xA598 --sandbox "$sandbox" --reuse --quiet button reset release > /dev/null
    # (The first screen has a released line already: wait for the last two lines.)
    last_two_are() { [ "$(tail -n 2 "$out")" = "$1" ]; }
    wait_for last_two_are "reset [r]: pressed (0)
reset [r]: released (1)" || fail "button lines: $(tail -n 2 "$out")"

    # The infrared light set to 40 (the face writes 39 of 99 to the backlight) and the colour ring
    # lit green: the ring fills in the face's LED order.
    "$tool" --board 0xA598 --sandbox "$sandbox" --reuse --quiet led ir set 40 > /dev/null
    wait_for has_line "ir 1: 39% (brightness 39/99)" || fail "no IR line: $(tail -3 "$out")"
    expect_bytes "$sandbox/sys/class/backlight/0.pwm_bl/brightness" '39'
    "$tool" --board 0xA598 --sandbox "$sandbox" --reuse --quiet led ktd color green black then set 99 > /dev/null
    wait_for has_line "ktd ktd2061: GGGGGGGGGGGG" || fail "no ring line: $(tail -3 "$out")"
    # Every line after the first screen is a change of one item, and only of the items changed (the
    # IR fade and the ring's fill may be seen part way).
    changes=$(tail -n +11 "$out" | grep -v -e '^reset \[r\]: ' -e '^ir 1: \([0-9]\|[1-3][0-9]\)% (brightness [0-9]*/99)$' \
        -e '^ktd ktd2061: [G.]\{12\}$')
    [ -z "$changes" ] || fail "unexpected lines: $changes"

    kill -TERM "$viewer"
    wait "$viewer"
    status=$?
    viewer=
    [ $status -eq 0 ] || fail "view ended with status $status after SIGTERM"
    [ -s "$work/view.err" ] && fail "view wrote to stderr: $(cat "$work/view.err")"

    # Without a board file the view asks for --board (usage error, exit 2).
    mkdir "$work/empty"
    "$tool" --sandbox "$work/empty" view --for 10 > "$work/none.txt" 2>&1
    status=$?
    [ $status -eq 2 ] || fail "sandbox without board: status $status"
    grep -qxF "orva-gpio: sandbox $work/empty does not say which board it serves (no board file): give --board SYSID" "$work/none.txt" ||
        fail "sandbox without board: $(cat "$work/none.txt")"
    "$tool" view --for 10 > "$work/nosandbox.txt" 2>&1
    status=$?
    [ $status -eq 2 ] || fail "no --sandbox: status $status"
    grep -qxF "orva-gpio: view needs --sandbox DIR (the sandbox a process drives)" "$work/nosandbox.txt" ||
        fail "no --sandbox: $(cat "$work/nosandbox.txt")"
    # --for ends the view on its own.
    "$tool" --sandbox "$sandbox" view --for 200 > "$work/for.txt" || fail "view --for 200 failed"
    [ "$(tail -n 1 "$work/for.txt")" = watching ] || fail "view --for: $(cat "$work/for.txt")"
elif [ "$mode" = terminal ]; then
    command -v tmux > /dev/null || { echo "tmux is not installed"; exit 1; }
    tmux -L "$server" -f /dev/null new-session -d -x 120 -y 40 "env TERM=screen '$tool' --sandbox '$sandbox' view 2> '$work/view.err'; echo \$? > '$work/view.status'"
    screen() { tmux -L "$server" capture-pane -p -t 0; }
    shows() { screen | grep -qxF -- "$1"; }
    wait_for shows "q quits  r reset" || fail "the view did not start: $(screen)"
    shows "  ir 1               [....................] 0% (brightness 0/99)" || fail "first screen: $(screen)"
    shows "  [r] reset          released (1)" || fail "first screen: $(screen)"

    # An LED change made by a second invocation on the same sandbox.
    "$tool" --board 0xA598 --sandbox "$sandbox" --reuse --quiet led ir set 40 > /dev/null
    wait_for shows "  ir 1               [########............] 39% (brightness 39/99)" || fail "IR change not shown: $(screen)"
    "$tool" --board 0xA598 --sandbox "$sandbox" --reuse --quiet led ktd color red black then set 99 > /dev/null
    wait_for shows "  ktd ktd2061        R R R R R R R R R R R R" || fail "ring change not shown: $(screen)"

    # The r key presses the reset button: the entry reads 0, and a second r releases it.
    tmux -L "$server" send-keys -t 0 r
    wait_for shows "  [r] reset          pressed (0)" || fail "press not shown: $(screen)"
    expect_bytes "$sandbox/proc/gpio/reset_btn" '0'
    shows "reset: pressed (/proc/gpio/reset_btn = 0)" || fail "press status line: $(screen)"
    tmux -L "$server" send-keys -t 0 r
    wait_for shows "  [r] reset          released (1)" || fail "release not shown: $(screen)"
    expect_bytes "$sandbox/proc/gpio/reset_btn" '1'

    # q ends the view and with it the session.
    tmux -L "$server" send-keys -t 0 q
    gone() { ! tmux -L "$server" has-session 2> /dev/null; }
    wait_for gone || fail "q did not end the view: $(screen)"
    expect_bytes "$work/view.status" '0\n'
    [ -s "$work/view.err" ] && fail "view wrote to stderr: $(cat "$work/view.err")"
else
    echo "usage: $0 plain|terminal|boards TOOL, or $0 run TOOL PROGRAM"
    exit 2
fi

[ $failures -eq 0 ] && echo "view ($mode): all checks passed"
exit $((failures != 0))
