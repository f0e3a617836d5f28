#!/usr/bin/env bash
# orva-gpio run, as a user runs it: exit statuses and signals of the program passed on, usage
# errors, device-information keys that reach the program before its main, and the ring-light
# process on a simulated doorbell pressed from a second invocation, with its LED writes found in
# the journal while it runs and after it ends.
# Usage: RunCommandTest.sh ORVA_GPIO RING_LIGHT SCRATCH
set -uo pipefail
tool=$1 ringLight=$2 scratch=$3
rm -rf "$scratch"
mkdir -p "$scratch"
failures=0
board=0xA575
name="Doorbell camera with a ring button beside the reset button, a status ring on a KTD2061 (6 white and 5 RGB LEDs) and a torch LED as glow light (0..15)"

fail() {
  echo "FAILED: $*" >&2
  failures=$((failures + 1))
}

# expect_equal WHAT EXPECTED ACTUAL
expect_equal() {
  if [[ "$2" != "$3" ]]; then
    fail "$1"
    diff <(printf '%s\n' "$2") <(printf '%s\n' "$3") >&2
  fi
}

# Waits up to 10 s for a line matching a pattern (grep -E) in a file.
wait_for() {
  local pattern=$1 file=$2
  for _ in $(seq 1 200); do
    grep -qE "$pattern" "$file" 2>/dev/null && return 0
    sleep 0.05
  done
  fail "no line matching '$pattern' in $file"
  return 1
}

# 1. The program's exit status, with a temporary sandbox that is gone afterwards.
"$tool" run --board $board -- /bin/sh -c 'cat /proc/gpio/ring_btn; exit 3' >"$scratch/exit.out" 2>"$scratch/exit.err"
expect_equal "exit status" 3 $?
expect_equal "the program sees the board's files" 1 "$(cat "$scratch/exit.out")"
temporary=$(sed -n 's/^orva-gpio run: sandbox //p' "$scratch/exit.err")
expect_equal "messages of a run on a temporary sandbox" "orva-gpio run: board $board: $name
orva-gpio run: sandbox $temporary
orva-gpio run: journal $temporary/journal
orva-gpio run: /bin/sh exited with status 3
orva-gpio run: temporary sandbox $temporary removed (give --sandbox DIR to keep it)" "$(cat "$scratch/exit.err")"
[[ -n "$temporary" && ! -e "$temporary" ]] || fail "temporary sandbox '$temporary' left behind"

# 2. Killed by a signal: 128 + the signal.
"$tool" --quiet run --board $board -- /bin/sh -c 'kill -TERM $$' >"$scratch/kill.out" 2>"$scratch/kill.err"
expect_equal "status of a killed program" 143 $?
expect_equal "--quiet says nothing" "" "$(cat "$scratch/kill.out" "$scratch/kill.err")"

# 3. A program that cannot be started.
"$tool" --quiet run --board $board -- "$scratch/no-such-program" 2>"$scratch/missing.err"
expect_equal "status of a missing program" 127 $?
expect_equal "missing program" "orva-gpio run: cannot run $scratch/no-such-program: No such file or directory" \
  "$(cat "$scratch/missing.err")"

# 4. Usage errors start nothing.
"$tool" run -- /bin/true 2>"$scratch/usage.err"
expect_equal "status without --board" 2 $?
expect_equal "without --board" "orva-gpio: run needs --board SYSID (see --list-boards)
try 'orva-gpio --help'" "$(cat "$scratch/usage.err")"
"$tool" run --board $board 2>"$scratch/usage.err"
expect_equal "status without a program" 2 $?
expect_equal "without a program" "orva-gpio: run needs a program: orva-gpio run --board SYSID -- PROGRAM [ARGS...]
try 'orva-gpio --help'" "$(cat "$scratch/usage.err")"
"$tool" run --board 0xA5FF -- /bin/true 2>"$scratch/usage.err"
expect_equal "status for an unknown board" 2 $?
expect_equal "unknown board" "orva-gpio: unknown board 0xA5FF (see --list-boards)
try 'orva-gpio --help'" "$(cat "$scratch/usage.err")"
"$tool" run --board $board --hwrev x -- /bin/true 2>"$scratch/usage.err"
expect_equal "status for a bad --hwrev" 2 $?

# 5. The device information is the profile's with --key over it before main: as board 0xA571
#    (no ring button, a glow light elsewhere), the ring light refuses to start.
"$tool" --quiet run --board $board --key sysid=0xA571 -- "$ringLight" >"$scratch/key.out" 2>"$scratch/key.err"
expect_equal "status of the ring light told it is another board" 1 $?
grep -qx "ring-light: this board has no ring button and glow light" "$scratch/key.err" ||
  fail "the ring light did not see sysid 0xA571: $(cat "$scratch/key.err")"

# 6. The ring light on a named sandbox, pressed and released from second invocations.
sandbox=$scratch/bell
"$tool" run --board $board --sandbox "$sandbox" -- "$ringLight" --rings 1 >"$scratch/ring.out" 2>"$scratch/ring.err" &
runner=$!
wait_for '^ring-light: ready$' "$scratch/ring.out"
"$tool" --board $board --sandbox "$sandbox" --reuse button ring press >"$scratch/press.out" 2>&1 ||
  fail "press: $(cat "$scratch/press.out")"
torch='"path":"/sys/class/leds/torch1/brightness"'
# The journal is written as the calls happen: the light goes on while the program still runs.
wait_for "\"call\":\"write\",$torch,.*\"bytes\":\"15\\\\u0000\",\"result\":3" "$sandbox/journal"
kill -0 $runner 2>/dev/null || fail "the ring light ended before its button was released"
expect_equal "the torch LED while the button is held" 15 "$(cat "$sandbox/sys/class/leds/torch1/brightness")"
"$tool" --board $board --sandbox "$sandbox" --reuse button ring release >"$scratch/release.out" 2>&1 ||
  fail "release: $(cat "$scratch/release.out")"
wait $runner
expect_equal "status of the ring light" 0 $?
sed -E 's/after [0-9]+ ms/after N ms/' "$scratch/ring.out" >"$scratch/ring.lines"
expect_equal "what the ring light printed" "ring-light: ready
ring: pressed, light on
ring: released after N ms, light off
ring-light: 1 rings" "$(cat "$scratch/ring.lines")"
expect_equal "messages of a run on a named sandbox" "orva-gpio run: board $board: $name
orva-gpio run: sandbox $sandbox
orva-gpio run: journal $sandbox/journal
orva-gpio run: $ringLight exited with status 0
orva-gpio run: sandbox $sandbox kept, journal $sandbox/journal" "$(cat "$scratch/ring.err")"
# Every write to the torch LED, in order: its own 0 and the start-dark 0 of init, 15 on the
# press, 0 on the release; each from the program's process.
writes=$(grep "\"call\":\"write\",$torch," "$sandbox/journal" | sed -E 's/.*"bytes":"([^"]*)","result":([-0-9]+).*/\1 -> \2/')
expect_equal "writes to the torch LED" '0\u0000 -> 2
0\u0000 -> 2
15\u0000 -> 3
0\u0000 -> 2' "$writes"
pids=$(sed -E 's/.*"pid":([0-9]+),.*/\1/' "$sandbox/journal" | sort -u | wc -l)
expect_equal "processes in the journal" 1 "$pids"
# Every line is one whole JSON object with the fields in order.
bad=$(grep -cvE '^\{"us":[0-9]+,"pid":[0-9]+,"call":"(open|read|write|close|sleep|exec|shm|mdio)","path":"[^"]*","fd":-?[0-9]+,"flags":[0-9]+,"mode":[0-9]+,"offset":[0-9]+,"count":[0-9]+,"bytes":"([^"\\]|\\["\\]|\\u00[0-9a-f]{2})*","result":-?[0-9]+,"errno":[0-9]+,"args":\[[^]]*\]\}$' "$sandbox/journal")
expect_equal "malformed journal lines" 0 "$bad"
expect_equal "the ring button's file afterwards" 1 "$(cat "$sandbox/proc/gpio/ring_btn")"

# 7. A second run on the same sandbox with --reuse goes on with the same journal.
lines=$(wc -l <"$sandbox/journal")
first=$(head -n 1 "$sandbox/journal")
"$tool" --quiet run --board $board --sandbox "$sandbox" --reuse -- /bin/sh -c 'cat /sys/class/leds/torch1/brightness' \
  >"$scratch/reuse.out"
expect_equal "status of a run on a reused sandbox" 0 $?
expect_equal "the reused board keeps its files" 0 "$(cat "$scratch/reuse.out")"
after=$(wc -l <"$sandbox/journal")
[[ $after -gt $lines ]] || fail "the reused sandbox's journal did not grow ($lines -> $after lines)"
expect_equal "the earlier lines are kept" "$first" "$(head -n 1 "$sandbox/journal")"

if [[ $failures -ne 0 ]]; then
  echo "orva-gpio run: $failures failures" >&2
  exit 1
fi
echo "orva-gpio run: ok"
