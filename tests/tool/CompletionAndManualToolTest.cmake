# orva-gpio's shell completion (generated from the tool's tables by "orva-gpio __complete") and its
# manual page. MANUAL: the page's source; COMPLETION: the bash completion script.
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/ToolTestFunctions.cmake)

# expect_completion(EXPECTED WORD... CURRENT): CURRENT is the word being typed (may be empty).
function(expect_completion expected)
  set(words ${ARGN})
  list(POP_BACK words current)
  if(current STREQUAL "EMPTY")
    set(current "")
  endif()
  execute_process(COMMAND ${EMULATOR} ${TOOL} __complete ${words} "${current}"
    RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "__complete ${ARGN}: status ${status}\n${err}")
  endif()
  expect_equal("${out}" "${expected}")
endfunction()

function(expect_completion_output current)
  execute_process(COMMAND ${EMULATOR} ${TOOL} __complete "" RESULT_VARIABLE status OUTPUT_VARIABLE out)
  set(tool_out "${out}" PARENT_SCOPE)
endfunction()

# Commands (the hidden one not among them), options, faces, verbs, values, "then", buttons.
expect_completion_output(EMPTY)
expect_in("${tool_out}" "button\n")
expect_in("${tool_out}" "led\n")
expect_not_in("${tool_out}" "__complete")
expect_completion("--json\n" --j)
expect_completion("--list-boards\n" --li)
expect_completion("av\n" led a)
expect_completion("ir\n" led i)
expect_completion("write\nwhite\nwhite-max\nwait\n" led ir w)
expect_completion("range\nrestore\n" led glow r)
expect_completion("on\noff\n" led ir white EMPTY)
expect_completion("then\n" led ir white on EMPTY)
expect_completion("then\n" led ir write 30 EMPTY)
expect_completion("then\n" led ir write 30 40 EMPTY)
expect_completion("" led front set EMPTY)
expect_completion("white\nwhite_red\nwhite_green\nwhite_blue\nwhite_yellow\nwhite_cyan\nwhite_magenta\n" led rgb color red w)
expect_completion("1\n2\n" led ir path EMPTY)
expect_completion("set\nservice\n" led ir write 30 then se)
expect_completion("reset\nring\n" button r)
expect_completion("watch\npress\nrelease\nstate\n" button ring EMPTY)
expect_completion("--press-at\n" button ring watch --pr)
expect_completion("" button ring watch --for EMPTY)
expect_completion("sysid=\n" --key sy)
if(SIMULATOR)
  expect_completion("0xA533\n" --board 0xA533)
  expect_completion("ap6256\n" --board 0xA595 --variant EMPTY)
  expect_completion("white\nwhite-max\n" --board 0xA598 --json led ir whi)
endif()

# The bash script asks the tool and offers the candidates.
find_program(BASH bash)
if(BASH)
  string(REPLACE ";" " " tool_command "${EMULATOR};${TOOL}")
  set(wrapper "${CMAKE_CURRENT_BINARY_DIR}/orva-gpio-completion-test")
  file(WRITE "${wrapper}" "#!/bin/sh\nexec ${tool_command} \"$@\"\n")
  file(CHMOD "${wrapper}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
  execute_process(COMMAND ${BASH} -c "
    compopt() { :; }
    . '${COMPLETION}'
    complete -p orva-gpio || exit 3
    COMP_WORDS=('${wrapper}' led ir wh); COMP_CWORD=3; _orva_gpio
    echo \"\${COMPREPLY[*]}\"
    COMP_WORDS=('${wrapper}' button ''); COMP_CWORD=2; _orva_gpio
    echo \"\${COMPREPLY[*]}\""
    RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  file(REMOVE "${wrapper}")
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "bash completion: status ${status}\n${out}\n${err}")
  endif()
  expect_equal("${out}" "complete -F _orva_gpio orva-gpio\nwhite white-max\ndc enclosure reset ring\n")
endif()

# The manual page: every section, every face and button, every verb, the exit statuses.
file(READ "${MANUAL}" page)
foreach(section NAME SYNOPSIS DESCRIPTION OPTIONS "LED FACES" "BUTTONS AND DETECTORS" "EXIT STATUS" EXAMPLES)
  expect_in("${page}" ".SH ${section}\n")
endforeach()
run_tool(0 led --help)
string(REGEX MATCH "FACE is one of:\n(.*)\n\nVerbs of every face" faces "${tool_out}")
string(REGEX MATCHALL "\n  [a-z]+ " face_words "\n${CMAKE_MATCH_1}")
list(LENGTH face_words face_count)
expect_equal("${face_count}" "13")
foreach(word ${face_words})
  string(STRIP "${word}" face)
  expect_in("${page}" "${face}")
endforeach()
foreach(verb set "on \" | \" off" brightness get auto "save \" | \" restore" "color \" FG BG\"" "anim\\-color"
        density "anim \" on|off\"" step service wait write status "path \" 1|2\"" "ir\\-brightness"
        "white \" on|off\"" "white\\-max" accessory range "ir\\-white \" on|off\"" "ir\\-white\\-level")
  expect_in("${page}" "${verb}")
endforeach()
foreach(button reset ring enclosure dc)
  expect_in("${page}" "${button}")
endforeach()
expect_in("${page}" ".SH EXIT STATUS\n.TP\n.B 0\nEvery operation succeeded.\n.TP\n.B 1\nAn operation failed, or the library logged an error record.\n.TP\n.B 2\nUsage error")
find_program(GROFF groff)
if(GROFF)
  execute_process(COMMAND ${GROFF} -man -Tutf8 -ww -z "${MANUAL}" RESULT_VARIABLE status ERROR_VARIABLE warnings)
  if(NOT status EQUAL 0 OR NOT warnings STREQUAL "")
    message(FATAL_ERROR "groff: status ${status}\n${warnings}")
  endif()
else()
  message(STATUS "groff is not installed: the manual page's text is checked, not its rendering")
endif()
