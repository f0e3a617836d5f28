# orva-gpio's button command on simulated boards: every button and detector with every verb
# (watch, press, release, state), scripted on virtual time and pressed from a second invocation.
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/ToolTestFunctions.cmake)

# Buttons: a scripted press on virtual time prints the press, held events every 100 ms and the
# release with its duration.
set(button_events "[   100 ms] pressed\n[   110 ms] held 10 ms\n[   210 ms] held 110 ms\n[   310 ms] held 210 ms\n[   410 ms] held 310 ms\n[   450 ms] released after 350 ms\n")
run_tool(0 --quiet --board 0xA575 button ring watch --press-at 100 --release-at 450 --for 600)
expect_equal("${tool_out}" "button ring: init -> ok, held events every 100 ms; watching for 600 ms, polling every 10 ms (virtual time, scripted input)\n${button_events}button ring: 1 press, 4 held events, 1 release\n")
# By default the polls' reads come in between, a run of identical reads as one line.
run_tool(0 --board 0xA575 button ring watch --press-at 100 --release-at 450 --for 600)
expect_in("${tool_out}" "  [    0.000 ms] open  /proc/gpio/ring_btn O_RDWR|O_CREAT|O_TRUNC 0666 -> 4\nbutton ring: RingButton on /proc/gpio/ring_btn\nbutton ring: init -> ok, held events every 100 ms; watching for 600 ms, polling every 10 ms (virtual time, scripted input)\n  [    0.000 ms] read  /proc/gpio/ring_btn fd 4 @0 up to 15 -> 2 \"1\\n\"\n  ... 9 more identical reads, the last at [   90.000 ms]\n[   100 ms] input pressed (/proc/gpio/ring_btn = 0)\n  [  100.000 ms] read  /proc/gpio/ring_btn fd 4 @0 up to 15 -> 2 \"0\\n\"\n[   100 ms] pressed\n  [  110.000 ms] read  /proc/gpio/ring_btn fd 4 @0 up to 15 -> 2 \"0\\n\"\n[   110 ms] held 10 ms\n")
expect_in("${tool_out}" "[   450 ms] input released (/proc/gpio/ring_btn = 1)\n  [  450.000 ms] read  /proc/gpio/ring_btn fd 4 @0 up to 15 -> 2 \"1\\n\"\n[   450 ms] released after 350 ms\n")
expect_in("${tool_out}" "[   450 ms] released after 350 ms\n  [  460.000 ms] read  /proc/gpio/ring_btn fd 4 @0 up to 15 -> 2 \"1\\n\"\n  ... 14 more identical reads, the last at [  600.000 ms]\nbutton ring: 1 press, 4 held events, 1 release\n  [  600.000 ms] close /proc/gpio/ring_btn fd 4 -> 0\n")

# The shared-memory reset button of 0xA564: the segment's System V calls, the same events.
run_tool(0 --quiet --board 0xA564 button reset watch --press-at 100 --release-at 450 --for 600)
expect_equal("${tool_out}" "button reset: init -> ok, held events every 100 ms; watching for 600 ms, polling every 10 ms (virtual time, scripted input)\n${button_events}button reset: 1 press, 4 held events, 1 release\n")
run_tool(0 --board 0xA564 button reset watch --press-at 100 --release-at 450 --for 600)
expect_in("${tool_out}" "[   100 ms] input pressed (byte 271 of segment 0x162F = 0)\n[   100 ms] pressed\n")
expect_in("${tool_out}" "] shm   shmget(0x162f, 0, 0) -> ")
expect_in("${tool_out}" ", NULL, SHM_RDONLY) -> 0x")
expect_in("${tool_out}" ", IPC_STAT, ")
expect_in("${tool_out}" ") -> 0 (size 512)\nbutton reset: ResetButtonCase with ResetShmemButtonCase on byte 271 of shared-memory segment 0x162F\n")
expect_in("${tool_out}" "button reset: 1 press, 4 held events, 1 release\n  [  600.000 ms] shm   shmdt(0x")

# The reset button keeps its 100 ms interval whatever the user asks.
run_tool(0 --board 0xA533 button reset watch --press-at 0 --release-at 250 --hold 30)
expect_in("${tool_out}" "held events every 100 ms (the reset button ignores --hold)")
expect_in("${tool_out}" "[    10 ms] held 10 ms\n")
expect_in("${tool_out}" "[   110 ms] held 110 ms\n")
expect_in("${tool_out}" "[   210 ms] held 210 ms\n")
expect_in("${tool_out}" "[   250 ms] released after 250 ms\n")

run_tool(0 --board 0xA533 button ring watch)
expect_in("${tool_out}" "button ring: board 0xA533 has no ring button; nothing to watch\n")
run_tool(1 --board 0xA533 button enclosure press)
expect_in("${tool_out}" "button enclosure: board 0xA533 has no enclosure detector to press\n")
expect_usage_error("unknown button 'bell' (see 'orva-gpio button --help')" --board 0xA533 button bell watch)
expect_usage_error("--release-at must come after --press-at" --board 0xA575 button ring watch --release-at 10 --press-at 20)
expect_usage_error("--press-at takes at most 86400000 ms (one day): 2147483647" --board 0xA575 button ring watch --press-at 2147483647)

# A second invocation on the same sandbox directory presses the button a running watch polls.
find_program(SHELL_PROGRAM sh)
if(SHELL_PROGRAM)
  string(REPLACE ";" " " tool_command "${EMULATOR};${TOOL}")
  set(dir "${CMAKE_CURRENT_BINARY_DIR}/orva-gpio-button-sandbox")
  file(REMOVE_RECURSE "${dir}")
  execute_process(COMMAND ${SHELL_PROGRAM} -c "
    T='${tool_command}'; D='${dir}'
    $T --board 0xA564 --sandbox \"$D\" button reset watch --for 30000 --until-released > \"$D.out\" 2>&1 &
    watcher=$!
    i=0; while [ ! -e \"$D/sysv-shm/0x162f\" ] && [ $i -lt 400 ]; do sleep 0.05; i=$((i+1)); done
    $T --board 0xA564 --sandbox \"$D\" --reuse button reset press || exit 1
    sleep 0.3
    $T --board 0xA564 --sandbox \"$D\" --reuse button reset release || exit 1
    wait $watcher"
    RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  file(READ "${dir}.out" watch_out)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "press from a second process: status ${status}\n${out}\n${err}\n${watch_out}")
  endif()
  expect_in("${out}" "button reset: input pressed (byte 271 of segment 0x162F = 0)")
  expect_in("${out}" "button reset: input released (byte 271 of segment 0x162F = 1)")
  expect_in("${watch_out}" "(real time)\n")
  expect_in("${watch_out}" " ms] pressed\n")
  expect_in("${watch_out}" " ms] released after ")
  expect_in("${watch_out}" "button reset: 1 press, ")
  if(EXISTS "${dir}/sysv-shm/0x162f")
    message(FATAL_ERROR "the watch left its segment record behind")
  endif()
  file(REMOVE_RECURSE "${dir}")
  file(REMOVE "${dir}.out")
endif()


# state reads the input once; press and release change it in a sandbox kept between invocations.
set(dir "${CMAKE_CURRENT_BINARY_DIR}/orva-gpio-state-sandbox")
file(REMOVE_RECURSE "${dir}")
run_tool(0 --board 0xA575 --sandbox ${dir} button ring state)
expect_in("${tool_out}" "  [    0.000 ms] open  /proc/gpio/ring_btn O_RDWR|O_CREAT|O_TRUNC 0666 -> 4\n  [    0.000 ms] read  /proc/gpio/ring_btn fd 4 @0 up to 15 -> 2 \"1\\n\"\n  [    0.000 ms] close /proc/gpio/ring_btn fd 4 -> 0\nbutton ring: state -> released\n")
run_tool(0 --board 0xA575 --sandbox ${dir} --reuse button ring press)
expect_in("${tool_out}" "button ring: input pressed (/proc/gpio/ring_btn = 0)\n")
run_tool(0 --quiet --board 0xA575 --sandbox ${dir} --reuse button ring state)
expect_equal("${tool_out}" "button ring: state -> pressed\n")
run_tool(0 --board 0xA575 --sandbox ${dir} --reuse button ring release)
expect_in("${tool_out}" "button ring: input released (/proc/gpio/ring_btn = 1)\n")
run_tool(0 --quiet --board 0xA575 --sandbox ${dir} --reuse button ring state)
expect_equal("${tool_out}" "button ring: state -> released\n")
file(REMOVE_RECURSE "${dir}")
run_tool(0 --quiet --board 0xA533 button ring state)
expect_equal("${tool_out}" "button ring: state -> board 0xA533 has no ring button\n")
run_tool(0 --quiet --board 0xA564 button reset state)
expect_equal("${tool_out}" "button reset: state -> released\n")
run_tool(0 --quiet --board 0xA533 button reset state)
expect_equal("${tool_out}" "button reset: state -> released\n")

# The detectors: the enclosure detector of its one board and the DC-cable detector of the battery
# boards, each with every verb.
foreach(board_and_name "0xA5B0;enclosure" "0xA5C0;dc")
  list(GET board_and_name 0 board)
  list(GET board_and_name 1 name)
  run_tool(0 --quiet --board ${board} button ${name} watch --press-at 20 --release-at 70 --hold -1)
  expect_equal("${tool_out}" "button ${name}: init -> ok, no held events; watching for 170 ms, polling every 10 ms (virtual time, scripted input)\n[    20 ms] pressed\n[    70 ms] released after 50 ms\nbutton ${name}: 1 press, 0 held events, 1 release\n")
  run_tool(0 --quiet --board ${board} button ${name} press)
  expect_in("${tool_out}" "button ${name}: input pressed (/proc/gpio/")
  run_tool(0 --quiet --board ${board} button ${name} release)
  expect_in("${tool_out}" "button ${name}: input released (/proc/gpio/")
  run_tool(0 --quiet --board ${board} button ${name} state)
  expect_equal("${tool_out}" "button ${name}: state -> released\n")
endforeach()

# Usage errors of the button command: one line, nothing done.
expect_usage_error("unknown verb 'hold' for button ring (watch, press, release or state)" --board 0xA575 button ring hold)
expect_usage_error("button ring press takes no options" --board 0xA575 button ring press --for 10)
expect_usage_error("not a number for --poll: 'often'" --board 0xA575 button ring watch --poll often)
expect_usage_error("--poll needs at least 1 ms" --board 0xA575 button ring watch --poll 0)
expect_usage_error("negative --for: -5" --board 0xA575 button ring watch --for -5)
expect_usage_error("VERB is required" --board 0xA575 button ring)

# --json: the events as objects among the calls; a ring button's read as a "call" object.
run_tool(0 --json --board 0xA575 button ring watch --press-at 100 --release-at 150 --hold -1)
string(REGEX MATCHALL "[^\n]*\"type\":\"(event|summary)\"[^\n]*" events "${tool_out}")
expect_equal("${events}" "{\"command\":\"button\",\"event\":\"pressed\",\"target\":\"ring\",\"time_ms\":100,\"type\":\"event\"};{\"command\":\"button\",\"duration_ms\":50,\"event\":\"released\",\"target\":\"ring\",\"time_ms\":150,\"type\":\"event\"};{\"command\":\"button\",\"held_events\":0,\"ok\":true,\"presses\":1,\"releases\":1,\"target\":\"ring\",\"type\":\"summary\"}")
list(GET events 1 released)
string(JSON duration GET "${released}" duration_ms)
expect_equal("${duration}" "50")
string(REGEX MATCH "[^\n]*\"call\":\"read\"[^\n]*" read "${tool_out}")
string(JSON path GET "${read}" path)
string(JSON bytes GET "${read}" bytes)
string(JSON result GET "${read}" result)
expect_equal("${path} ${bytes} ${result}" "/proc/gpio/ring_btn 1\\n 2")
