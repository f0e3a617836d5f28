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

# Values outside what an operation takes are refused before anything is written.
run_tool(2 --board 0xA533 led front set 101)
expect_in("${tool_err}" "set takes 0..100: '101'")
run_tool(2 --board 0xA533 led front brightness -1)
expect_in("${tool_err}" "brightness takes 0..100: '-1'")
run_tool(2 --board 0xA533 led front color none red)
expect_in("${tool_err}" "color takes colours black..white_magenta (1..15)")
# A step the library refuses makes the exit status 1.
run_tool(1 --board 0xA533 led front auto)
expect_in("${tool_out}" "led front: auto -> FAILED")
expect_in("${tool_out}" "src/BaseLed:setAutoMode:")
expect_in("${tool_out}" "No auto mode")

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

# Infrared light: fades shown as timelines of virtual time.
run_tool(0 --board 0xA5A4 ir write 30)
expect_in("${tool_out}" "ir write 30 -> ok\n  timeline (virtual ms since the step began):\n       0.000  /sys/class/backlight/0.pwm_bl/brightness  \"1\\0\"\n       0.000  /sys/class/backlight/bogus_bus:pwm_bl@1/brightness  \"0\\0\"\n       5.000  /sys/class/backlight/0.pwm_bl/brightness  \"2\\0\"\n")
expect_in("${tool_out}" "     340.000  /sys/class/backlight/bogus_bus:pwm_bl@1/brightness  \"68\\0\"\n     345.000  /sys/class/backlight/0.pwm_bl/brightness  \"30\\0\"\n     345.000  /sys/class/backlight/bogus_bus:pwm_bl@1/brightness  \"69\\0\"\n  120 writes in 345.000 ms of virtual time\n")
expect_in("${tool_out}" "] sleep 5000 us\n")
expect_in("${tool_out}" "src/LedIr:fadeInOut:")
expect_in("${tool_out}" ": Set Tele IR PWM Duty Cycle=30\n")
expect_in("${tool_out}" ": Set Wide IR PWM Duty Cycle=69\n")
run_tool(0 --board 0xA5A4 ir write 0 then write 30)
expect_in("${tool_out}" "ir write 0 -> ok\n  timeline (virtual ms since the step began):\n       0.000  /sys/class/backlight/bogus_bus:pwm_bl@1/brightness  \"0\\0\"\n       5.000  /sys/class/backlight/0.pwm_bl/brightness  \"0\\0\"\n  2 writes in 5.000 ms of virtual time\n")
expect_in("${tool_out}" "  118 writes in 340.000 ms of virtual time\n")
run_tool(0 --board 0xA533 ir --sstar set 41)
expect_in("${tool_out}" "     195.000  /sys/class/backlight/0.pwm_bl/brightness  \"40\\0\"\n  40 writes in 195.000 ms of virtual time\n")
run_tool(0 --board 0xA533 ir set 41)
expect_in("${tool_out}" "       0.000  /sys/class/backlight/0.pwm_bl/brightness  \"40\\0\"\n  1 write in 0.000 ms of virtual time\n")

# The early revisions of 0xA532 run the factory tool; from hwrev 9 the backlight is written.
run_tool(0 --board 0xA532 ir set 50 then get)
expect_in("${tool_out}" "       0.000  exec  /bin/orva_isp_fac_cmd 06 81 01 04 b3 02 ff -> 0\n  0 writes in 0.000 ms of virtual time\n")
expect_in("${tool_out}" "ir get: this IR light cannot be read back\n")
run_tool(0 --board 0xA532 ir --hwrev 9 write 50 then get)
expect_in("${tool_out}" "       0.000  /sys/class/backlight/0.pwm_bl/brightness  \"50\\0\"\n")
expect_in("${tool_out}" "ir get: device value 50\n")

# White light, its maximum and the accessory IR output.
run_tool(0 --board 0xA598 ir white on then white-max 20000 then white off then accessory on)
expect_in("${tool_out}" "ir white on -> ok\n  timeline (virtual ms since the step began):\n       0.000  /sys/class/pwm/pwmchip0/pwm0/duty_cycle  \"14900\\0\"\n")
expect_in("${tool_out}" "ir white-max 20000 -> ok\n  timeline (virtual ms since the step began):\n       0.000  /sys/class/pwm/pwmchip0/pwm0/duty_cycle  \"14900\\0\"\n")
expect_in("${tool_out}" "ir white off -> ok\n  timeline (virtual ms since the step began):\n       0.000  /sys/class/pwm/pwmchip0/pwm0/duty_cycle  \"0\\0\"\n")
expect_in("${tool_out}" "ir accessory on -> ok\n  timeline (virtual ms since the step began):\n       0.000  /sys/class/pwm/pwmchip0/pwm1/duty_cycle  \"16200\\0\"\n")
run_tool(0 --board 0xA5A6 ir white-max 300 then white on)
expect_in("${tool_out}" "ir white-max 300 -> ok\n  0 writes in 0.000 ms of virtual time\nir white on -> ok\n  timeline (virtual ms since the step began):\n       0.000  /sys/class/backlight/bogus_bus:pwm_bl@0/brightness  \"218\\0\"\n")

# Path selection moves a lit light to the other channel; an invalid index switches it off.
run_tool(0 --board 0xA5A5 ir write 40 then path 2 then get)
expect_in("${tool_out}" "ir path 2 -> ok\n  timeline (virtual ms since the step began):\n       0.000  /sys/class/backlight/bogus_bus:pwm_bl@0/brightness  \"0\\0\"\n       0.000  /sys/class/backlight/bogus_bus:pwm_bl@1/brightness  \"40\\0\"\n")
expect_in("${tool_out}" "ir get: device value 40\n")
# Every step is checked before the first write: a bad value anywhere writes nothing at all.
run_tool(2 --board 0xA5A5 ir write 40 then path 3)
expect_in("${tool_err}" "the path must be 1..2: '3'")
run_tool(2 --board 0xA533 ir brightness 256)
expect_in("${tool_err}" "the IR brightness must be 0..255: '256'")
run_tool(2 --board 0xA5A4 ir set 30 then set abc)
expect_in("${tool_err}" "not a number for the user value: 'abc'")
string(FIND "${tool_out}" "write" found)
if(NOT found EQUAL -1)
  message(FATAL_ERROR "a refused command wrote:\n${tool_out}")
endif()
run_tool(2 --board 0xA5A4 ir write 2147483647)
expect_in("${tool_err}" "the device value must be 0..99: '2147483647'")
run_tool(2 --board 0xA575 button ring watch --press-at 2147483647)
expect_in("${tool_err}" "--press-at takes at most 86400000 ms (one day): 2147483647")

run_tool(2 --board 0xA533 ir)
expect_in("${tool_err}" "ir needs a step")
run_tool(2 --board 0xA533 ir blink 3)
expect_in("${tool_err}" "unknown ir step 'blink'")
run_tool(2 --board 0xA533 ir white dim)
expect_in("${tool_err}" "ir white takes on or off, not 'dim'")
run_tool(2 --board 0xA533 ir set 3 then)
expect_in("${tool_err}" "ir needs a step")
run_tool(2 --board 0xA533 ir write)
expect_in("${tool_err}" "wrong number of values for ir write")
run_tool(2 --board 0xA533 ir --hwrev)
expect_in("${tool_err}" "--hwrev needs a value")
run_tool(2 --board 0xA533 ir --colour red set 3)
expect_in("${tool_err}" "unknown ir option '--colour'")

# Buttons: a scripted press on virtual time prints the press, held events every 100 ms and the
# release with its duration.
set(button_events "[   100 ms] pressed\n[   110 ms] held 10 ms\n[   210 ms] held 110 ms\n[   310 ms] held 210 ms\n[   410 ms] held 310 ms\n")
run_tool(0 --board 0xA575 button ring watch --press-at 100 --release-at 450 --for 600)
expect_in("${tool_out}" "button ring: RingButton on /proc/gpio/ring_btn\n")
expect_in("${tool_out}" "[   100 ms] input pressed (/proc/gpio/ring_btn = 0)\n${button_events}")
expect_in("${tool_out}" "[   450 ms] input released (/proc/gpio/ring_btn = 1)\n[   450 ms] released after 350 ms\n")
expect_in("${tool_out}" "button ring: 1 press, 4 held events, 1 release\n")
expect_in("${tool_out}" "open  /proc/gpio/ring_btn O_RDWR|O_CREAT|O_TRUNC 0666 -> ")
expect_in("${tool_out}" "] read  /proc/gpio/ring_btn fd ")
expect_in("${tool_out}" " @0 up to 15 -> 2 \"0\\n\"\n  ... 34 more identical reads, the last at [  440.000 ms]\n")

run_tool(0 --board 0xA564 button reset watch --press-at 100 --release-at 450 --for 600)
expect_in("${tool_out}" "[   100 ms] input pressed (byte 271 of segment 0x162F = 0)\n${button_events}")
expect_in("${tool_out}" "[   450 ms] released after 350 ms\n")
expect_in("${tool_out}" "] shm   shmget(0x162f, 0, 0) -> ")
expect_in("${tool_out}" ", NULL, SHM_RDONLY) -> 0x")
expect_in("${tool_out}" ", IPC_STAT, ")
expect_in("${tool_out}" ") -> 0 (size 512)\n")
expect_in("${tool_out}" "[  600.000 ms] shm   shmdt(0x")

# The reset button keeps its 100 ms interval whatever the user asks.
run_tool(0 --board 0xA533 button reset watch --press-at 0 --release-at 250 --hold 30)
expect_in("${tool_out}" "held events every 100 ms (the reset button ignores --hold)")
expect_in("${tool_out}" "[    10 ms] held 10 ms\n[   110 ms] held 110 ms\n[   210 ms] held 210 ms\n[   250 ms] input released")

run_tool(0 --board 0xA533 button ring watch)
expect_in("${tool_out}" "button ring: board 0xA533 has no ring button; nothing to watch\n")
run_tool(1 --board 0xA533 button enclosure press)
expect_in("${tool_out}" "button enclosure: board 0xA533 has no enclosure detector to press\n")
run_tool(2 --board 0xA533 button bell watch)
expect_in("${tool_err}" "unknown button 'bell'")
run_tool(2 --board 0xA575 button ring watch --release-at 10 --press-at 20)
expect_in("${tool_err}" "--release-at must come after --press-at")

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

# LED steps chained with "then"; every step is checked before anything is written.
run_tool(0 --board 0xA533 led front set 40 then brightness 50 then get)
expect_in("${tool_out}" "led front: set 40 -> ok\nled front: brightness 50 -> ok\nled front: device value 19 (user value 38)\n")
run_tool(2 --board 0xA533 led front set 40 then set abc)
expect_in("${tool_err}" "not a number for the value: 'abc'")
run_tool(2 --board 0xA533 led front set 40 then)
expect_in("${tool_err}" "led front needs a step (see usage)")
run_tool(2 --board 0xA533 --variant nothing led front set 40)
expect_in("${tool_err}" "board 0xA533 has no variant 'nothing'")

# Multicolour LED class ring: one cell per LED read back from the class devices after each step.
# On 0xA5B0 the green segment (30 % of 10 LEDs: 2) runs forward, the white one 8 LEDs behind it.
# Each new step number moves the segment one LED.
run_tool(0 --board 0xA5B0 led multicolor anim-color green white then density 30 then anim on
         then step 1 then step 2 then step 3 then step 4 then step 5 then step 6 then step 7
         then step 8 then step 9 then step 10 then step 10)
expect_in("${tool_out}" "led multicolor: init -> ok\n  ring       ..........\n")
expect_in("${tool_out}" "led multicolor: step 1 -> ok\n  ring       .GGWW.....\n")
expect_in("${tool_out}" "led multicolor: step 2 -> ok\n  ring       ..GGWW....\n")
expect_in("${tool_out}" "led multicolor: step 7 -> ok\n  ring       W......GGW\n")
expect_in("${tool_out}" "led multicolor: step 9 -> ok\n  ring       GWW......G\n")
expect_in("${tool_out}" "led multicolor: step 10 -> ok\n  ring       GGWW......\nled multicolor: step 10 -> ok\n  ring       GGWW......\n")
expect_in("${tool_out}" "maxNumLed[10] maxNumWledModule[4] isRgbGroup[0] maxNumRgbGroup[0] maxIteration[10]")
expect_in("${tool_out}" "/sys/class/leds/multicolor:status_1/multi_intensity")
# On 0xA5A2 the segment runs backwards from the last LED; its amber is deeper (lower case: below half).
run_tool(0 --board 0xA5A2 led multicolor anim-color blue blue then density 50 then step 1 then step 2
         then color amber black then set 40)
expect_in("${tool_out}" "led multicolor: step 1 -> ok\n  ring       BBBB.......B\n")
expect_in("${tool_out}" "led multicolor: step 2 -> ok\n  ring       BBB.......BB\n")
expect_in("${tool_out}" "led multicolor: set 40 -> ok\n  ring       yyyyyyyyyyyy\n")
# The grouped ring of 0xEC70 shows one colour everywhere and has no animation.
run_tool(1 --board 0xEC70 led multicolor color red white then set 100 then set 0 then anim on)
expect_in("${tool_out}" "led multicolor: set 100 -> ok\n  ring       RRRRRRRRRRRRRRRRRRRRRRRRRRRRRRRRRRRR\n")
expect_in("${tool_out}" "led multicolor: set 0 -> ok\n  ring       WWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWW\n")
expect_in("${tool_out}" "led multicolor: anim on -> FAILED")
expect_in("${tool_out}" "src/MulticolorLedFace:setAnimEnable:")
# A board without the ring fails the init.
run_tool(1 --board 0xA533 led multicolor set 50)
expect_in("${tool_out}" "led multicolor: init -> FAILED")
expect_in("${tool_out}" "Unknow sysid 42291 for multicolor leds")

# Ethernet PHY LED on 0xA564: register 0x11 of eth0 holds 0x1234; on and off change bits 3..5 only,
# shown before and after each write.
run_tool(0 --board 0xA564 led phy on then off)
expect_in("${tool_out}" "led phy: init -> ok\n  PHY eth0 register 0x11 holds 0x1234 (LED field 0x30: reads as off)\n")
expect_in("${tool_out}" "led phy: on -> ok\n  PHY eth0 register 0x11: before 0x1234, after 0x123c (LED field 0x38: on)\n")
expect_in("${tool_out}" "led phy: off -> ok\n  PHY eth0 register 0x11: before 0x123c, after 0x120c (LED field 0x08: off)\n")
expect_in("${tool_out}" "mdio  eth0 init -> phy 1\n")
expect_in("${tool_out}" "mdio  eth0 read reg 0x11 -> 0x1234\n")
expect_in("${tool_out}" "mdio  eth0 write reg 0x11 0x123c -> 0\n")
expect_in("${tool_out}" "mdio  eth0 write reg 0x11 0x120c -> 0\n")
run_tool(0 --board 0xA533 led phy on)
expect_in("${tool_out}" "led phy: init -> ok (this board has no such LED")

# Glow light: the torch boards write "0" twice at init; user percent scaled to the board's range.
run_tool(0 --board 0xA574 led glow set 100 then set 40)
expect_in("${tool_out}" "led glow: init -> ok\n  glow light /sys/class/leds/torch1/brightness holds 0 (range 0..15)\n")
expect_in("${tool_out}" "led glow: set 40 -> ok\n  glow light /sys/class/leds/torch1/brightness holds 6 (range 0..15)\n")
expect_in("${tool_out}" " @0 \"0\\0\" (2 bytes) -> 2\n  [    0.000 ms] write /sys/class/leds/torch1/brightness fd ")
run_tool(0 --board 0xA533 led glow set 10)
expect_in("${tool_out}" "led glow: init -> ok (this board has no such LED")

# Green status LED: amber's green share is 72 on 0xA574, 191 elsewhere.
run_tool(0 --board 0xA574 led green color amber black then set 100)
expect_in("${tool_out}" "led green: set 100 -> ok\n  green LED /sys/class/leds/G/brightness holds 72 (foreground amber, background black, value 255)\n")
run_tool(0 --board 0xA571 led green color black green then set 100 then color amber black)
expect_in("${tool_out}" "led green: set 100 -> ok\n  green LED /sys/class/leds/G/brightness holds 0 ")
expect_in("${tool_out}" "led green: color amber black -> ok\n  green LED /sys/class/leds/G/brightness holds 191 ")

# The white LED of 0xA598 through the infrared face and the glow light in turn.
run_tool(0 --board 0xA598 white ir on then glow 50 then ir off then glow 100 then get)
expect_in("${tool_out}" "white: glow light range 0..14900\n")
expect_in("${tool_out}" "white ir on -> ok\n  white LED /sys/class/pwm/pwmchip0/pwm0/duty_cycle holds 14900\n")
expect_in("${tool_out}" "white glow 50 -> ok\n  white LED /sys/class/pwm/pwmchip0/pwm0/duty_cycle holds 7450\n")
expect_in("${tool_out}" "white ir off -> ok\n  white LED /sys/class/pwm/pwmchip0/pwm0/duty_cycle holds 0\n")
expect_in("${tool_out}" "white get: device value 14900 of 14900 (glow user value 100)\n")
run_tool(2 --board 0xA598 white glow 101)
expect_in("${tool_err}" "the glow value must be 0..100: '101'")
run_tool(2 --board 0xA598 white ir maybe)
expect_in("${tool_err}" "white ir takes on or off, not 'maybe'")

# LED-class colour LED: one colour lit, 0 on the others; the LP5012 board's second units keep their
# lowest field, read back as hex; 0xA5A3 writes only the controller its variant has.
run_tool(0 --board 0xA597 led sysfs color green black then set 50)
expect_in("${tool_out}" "led sysfs: init -> ok\n  foreground none, background none, last value -1\n")
expect_in("${tool_out}" "led sysfs: set 50 -> ok\n  foreground green, background black, last value 49\n")
expect_in("${tool_out}" "  green  /sys/class/leds/lp5012:G1/color holds 3223857 (fields 31 31 31)\n")
# The second unit held 4294901759, read back as hexadecimal: beyond 32 bits, so the camera's strtol
# saturates and the lowest field stays 0xff.
expect_in("${tool_out}" "  green  /sys/class/leds/lp5012:G2/color holds 3224063 (fields 31 31 ff)\n")
expect_in("${tool_out}" "] read  /sys/class/leds/lp5012:G2/color fd ")
expect_in("${tool_out}" " @0 \"4294901503\\0\" (11 bytes) -> 11\n")
run_tool(0 --board 0xA5A3 --variant usb-only led sysfs set 100)
expect_in("${tool_out}" "  red    /sys/bus/i2c/devices/0-0030/leds/R/brightness (not fitted)\n")
expect_in("${tool_out}" "usbcm65xx_ledr holds 99\n")
expect_in("${tool_out}" "usbcm65xx_ledr O_RDWR|O_CREAT|O_TRUNC 0666 -> ")
run_tool(0 --board 0xA5A0 led sysfs color blue black)
expect_in("${tool_out}" "  blue   /sys/bus/i2c/devices/3-0030/leds/B/brightness holds 4294967295\n")
run_tool(0 --board 0xA533 led sysfs set 10)
expect_in("${tool_out}" "led sysfs: init -> ok (this board has no such LED")

# Microcontroller LEDs: the frames in words after each step, the white LED beside them.
run_tool(0 --board 0xA574 led uartcli color red black then set 40 then color white black then off)
expect_in("${tool_out}" "led uartcli: init -> ok\n  foreground none, background none\n  microcontroller told: take control\n")
expect_in("${tool_out}" "led uartcli: color red black -> ok\n  foreground red, background black\n  microcontroller told: set colour 0x01 (red)\n  white LED /proc/gpio/white_led holds 0\n")
expect_in("${tool_out}" "led uartcli: color white black -> ok\n  foreground white, background black\n  microcontroller told: set colour 0x00 (off)\n  white LED /proc/gpio/white_led holds 1\n")
expect_in("${tool_out}" "led uartcli: off -> ok\n  foreground white, background black\n  white LED /proc/gpio/white_led holds 0\n")
expect_in("${tool_out}" "exec  /usr/bin/uartcli -s 5 -r 100 -H -i \\x81\\x01\\x04\\xFE\\xF9\\x01\\xFF -o 3 -> 0\n")
run_tool(0 --board 0xA571 led mcu set 40)
expect_in("${tool_out}" "led mcu: set 40 -> ok\n  the microcontroller runs this board's LED; value kept 40\n")
run_tool(0 --board 0xA5A0 led mcu set 40)
expect_in("${tool_out}" "this board's LED is not the microcontroller's; value kept 40\n")

# AV colour LED on 0xA573 with the light on: red has no channel there (the AV LED shows it), blue
# has one (the AV LED's foreground goes black, the blue channel takes the value).
run_tool(0 --board 0xA573 led av set 100 then color red black then color blue black)
expect_in("${tool_out}" "led av: init -> ok\n  AV LED: brightness 0, color_fg black, color_bg black\n  channel blue  /sys/class/backlight/bogus_bus:pwm_bl@2/brightness holds 0\n  channel white /sys/class/backlight/bogus_bus:pwm_bl@1/brightness holds 0\n")
expect_in("${tool_out}" "led av: color red black -> ok\n  AV LED: brightness 1, color_fg red, color_bg black\n  channel blue  /sys/class/backlight/bogus_bus:pwm_bl@2/brightness holds 0\n")
expect_in("${tool_out}" "led av: color blue black -> ok\n  AV LED: brightness 1, color_fg black, color_bg black\n  channel blue  /sys/class/backlight/bogus_bus:pwm_bl@2/brightness holds 99\n")
expect_in("${tool_out}" "] write /sys/class/leds/orva::av/trigger fd ")
expect_in("${tool_out}" " @0 \"none\\0\" (5 bytes) -> 5\n  [    0.000 ms] close /sys/class/leds/orva::av/trigger fd ")
expect_in("${tool_out}" " @0 \"black\\0\" (6 bytes) -> 6\n  [    0.000 ms] write /sys/class/backlight/bogus_bus:pwm_bl@2/brightness fd ")
expect_in("${tool_out}" " @0 \"99\\0\" (3 bytes) -> 3\n")
# Off, a background with a channel lights it; the AP6256 variant of 0xA595 uses PWM 6 and 7.
run_tool(0 --board 0xA595 --variant ap6256 led av set 0 then color red blue)
expect_in("${tool_out}" "led av: color red blue -> ok\n  AV LED: brightness 0, color_fg red, color_bg black\n  channel blue  /sys/class/pwm/pwmchip0/pwm6/duty_cycle holds 99\n")
run_tool(0 --board 0xA533 led av set 100)
expect_in("${tool_out}" "led av: set 100 -> ok\n  no AV LED and no colour channel on this board\n")

# RGB LED on the animation board 0xEC70: colour names with the white mixtures, animation settings,
# "step_cw" for a new step and "none" when the animation is switched off.
run_tool(0 --board 0xEC70 led rgb color white-red blue then anim-color red green then density 3 then anim on then step 2 then anim off)
expect_in("${tool_out}" "led rgb: color white-red blue -> ok\n  AV LED: brightness 0, color_fg white_red, color_bg blue\n")
expect_in("${tool_out}" "led rgb: density 3 -> ok\n  AV LED: brightness 0, color_fg white_red, color_bg blue\n  AV LED animation: anim_color_fg red, anim_color_bg green, anim_density 3, anim_trigger none\n")
expect_in("${tool_out}" "led rgb: step 2 -> ok\n  AV LED: brightness 0, color_fg white_red, color_bg blue\n  AV LED animation: anim_color_fg red, anim_color_bg green, anim_density 3, anim_trigger step_cw\n")
expect_in("${tool_out}" "led rgb: anim off -> ok\n  AV LED: brightness 0, color_fg white_red, color_bg blue\n  AV LED animation: anim_color_fg red, anim_color_bg green, anim_density 3, anim_trigger none\n")
# Without animations the mixtures are black and the animation steps are refused.
run_tool(1 --board 0xA573 led rgb color white-red blue then anim on)
expect_in("${tool_out}" "led rgb: color white-red blue -> ok\n  AV LED: brightness 0, color_fg black, color_bg blue\n")
expect_in("${tool_out}" "led rgb: anim on -> FAILED\n")
expect_in("${tool_out}" "ERROR orva_gpio_utils src/RgbLedFace:setAnimEnable:")

# KTD20xx rings: the white and colour rings read back from the driver nodes after each step. On
# 0xEC70 the red segment of 25 LEDs (density 50) moves one LED per step over a blue background,
# and a step writes only the two nodes that change.
run_tool(0 --board 0xEC70 led ktd anim-color red blue then density 50 then step 1 then step 2)
expect_in("${tool_out}" "led ktd: init -> ok\n  white      ....................................\n  colour     ....................................\n")
expect_in("${tool_out}" "led ktd: step 1 -> ok\n  white      ....................................\n  colour     BRRRRRRRRRRRRRRRRRRRRRRRRRBBBBBBBBBB\n")
expect_in("${tool_out}" "led ktd: step 2 -> ok\n  white      ....................................\n  colour     BBRRRRRRRRRRRRRRRRRRRRRRRRRBBBBBBBBB\n")
expect_in("${tool_out}" "] write /sys/class/leds/ktd2061/A2 fd ")
expect_in("${tool_out}" " @0 \"001\\0\" (4 bytes) -> 4\n  [    0.000 ms] write /sys/class/leds/ktd2060/A3 fd ")
# The KTD2052 of 0xA5A4 takes a level per lit channel, and its "off" mode is written again once
# the ring has been dark for more than a minute.
run_tool(0 --board 0xA5A4 led ktd color white black then set 50 then set 0 then wait 60001 then service)
expect_in("${tool_out}" "led ktd: set 50 -> ok\n  white      wwwwwwwwwwww\n  colour     ............\n")
expect_in("${tool_out}" " @0 \"40 40 40 \\0\" (10 bytes) -> 10\n")
expect_in("${tool_out}" "] write /sys/class/leds/ktd2052/mode fd ")
expect_in("${tool_out}" " @0 \"2\\0\" (2 bytes) -> 2\n")
run_tool(1 --board 0xA533 led ktd set 50)
expect_in("${tool_out}" "led ktd: init -> FAILED\n")
expect_in("${tool_out}" "Unknow sysid 42291 for ktd20xx leds")
