# Helpers of the orva-gpio tests, run with cmake -P: TOOL is the tool, EMULATOR empty or the emulator
# command with its arguments joined by '|'.
string(REPLACE "|" ";" EMULATOR "${EMULATOR}")

# Runs the tool with ARGN, fails unless it exits with expected_status; sets tool_out and tool_err.
# Descriptors a test runner leaves open are closed first, so that the descriptors the library gets
# (shown in the calls) are the same wherever the test runs.
set(orva_closed_start sh -c "for fd in 3 4 5 6 7 8 9\ndo eval \"exec \$fd>&-\"\ndone\nexec \"\$@\"" orva-gpio)
function(run_tool expected_status)
  execute_process(COMMAND ${orva_closed_start} ${EMULATOR} ${TOOL} ${ARGN}
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

function(expect_not_in text pattern)
  string(FIND "${text}" "${pattern}" found)
  if(NOT found EQUAL -1)
    message(FATAL_ERROR "expected not to find:\n${pattern}\nin:\n${text}")
  endif()
endfunction()

function(expect_equal actual expected)
  if(NOT "${actual}" STREQUAL "${expected}")
    message(FATAL_ERROR "expected exactly:\n[${expected}]\ngot:\n[${actual}]")
  endif()
endfunction()

# A usage error: exactly one line naming the problem, then the pointer to --help; nothing on stdout.
function(expect_usage_error message)
  run_tool(2 ${ARGN})
  expect_equal("${tool_err}" "orva-gpio: ${message}\ntry 'orva-gpio --help'\n")
  expect_equal("${tool_out}" "")
endfunction()
