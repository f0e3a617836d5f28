# Runs orva-gpio as a user would and checks its output and exit status.
# EMULATOR: empty, or the emulator command with its arguments joined by '|'.
string(REPLACE "|" ";" EMULATOR "${EMULATOR}")

function(run_tool expected_status)
  execute_process(COMMAND ${EMULATOR} ${TOOL} ${ARGN}
    RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL expected_status)
    message(FATAL_ERROR "orva-gpio ${ARGN}: status ${status}, expected ${expected_status}\n${out}\n${err}")
  endif()
  set(tool_out "${out}" PARENT_SCOPE)
  set(tool_err "${err}" PARENT_SCOPE)
endfunction()

function(expect_in text pattern)
  string(FIND "${text}" "${pattern}" found)
  if(found EQUAL -1)
    message(FATAL_ERROR "expected to find:\n${pattern}\nin:\n${text}")
  endif()
endfunction()

run_tool(0 --board 0xA533 led front set 40)
expect_in("${tool_out}" "led front: set 40 -> ok")
expect_in("${tool_out}" "open  /sys/class/backlight/3.pwm_bl/brightness O_RDWR|O_CREAT|O_TRUNC 0666 -> ")
expect_in("${tool_out}" "] write /sys/class/backlight/3.pwm_bl/brightness fd ")
expect_in("${tool_out}" " @0 \"39\\0\" (3 bytes) -> 3\n")

run_tool(0 --board 0xA5A4 led front set 40)
expect_in("${tool_out}" "this board has no such LED")
expect_in("${tool_out}" "(none)")

run_tool(0 --board 0xA533 led front set 101)
expect_in("${tool_out}" "Validation failed, value=101")

run_tool(2 --board 0xB000 led front set 40)
expect_in("${tool_err}" "unknown board 0xB000")
expect_in("${tool_err}" "usage: orva-gpio")
run_tool(2 --board 0xA533 led back set 40)
expect_in("${tool_err}" "unknown LED face 'back'")
run_tool(2 --board 0xA533 led front blink 40)
expect_in("${tool_err}" "unknown verb 'blink'")
run_tool(2 --board 0xA533 led front set forty)
expect_in("${tool_err}" "not a number for the value: 'forty'")
run_tool(2 --board zz led front set 4)
expect_in("${tool_err}" "not a board identifier")
run_tool(2)
expect_in("${tool_err}" "no command given")
