# orva-gpio's led command on simulated boards: every face, every verb every face has (each at least
# once on a board that has the LED) and each face's own verbs; calls, log records and results in
# the order they happen.
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/ToolTestFunctions.cmake)

# LED steps chained with "then"; every step is checked before anything is written.
run_tool(0 --board 0xA533 led front set 40 then brightness 50 then get)
expect_in("${tool_out}" "  [    0.000 ms] write /sys/class/backlight/3.pwm_bl/brightness fd 4 @0 \"39\\0\" (3 bytes) -> 3\nled front: set 40 -> ok\n  [    0.000 ms] write /sys/class/backlight/3.pwm_bl/brightness fd 4 @0 \"19\\0\" (3 bytes) -> 3\nled front: brightness 50 -> ok\n  [    0.000 ms] read  /sys/class/backlight/3.pwm_bl/brightness fd 4 @0 up to 15 -> 3 \"19\\n\"\nled front: get -> device value 19 (user value 38)\n")

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

# Infrared light: the fade of 0xA5A4 writes both channels every 5 ms of virtual time, one line per
# kernel call, and the result comes after the calls of its step.
run_tool(0 --board 0xA5A4 led ir write 30)
expect_in("${tool_out}" "led ir: init -> ok\n  log INFO  orva_gpio_utils src/LedIr:fadeInOut:282: Set Tele IR PWM Duty Cycle=30\n  log INFO  orva_gpio_utils src/LedIr:fadeInOut:283: Set Wide IR PWM Duty Cycle=69\n  [    0.000 ms] write /sys/class/backlight/0.pwm_bl/brightness fd 4 @0 \"1\\0\" (2 bytes) -> 2\n  [    0.000 ms] write /sys/class/backlight/bogus_bus:pwm_bl@1/brightness fd 5 @0 \"0\\0\" (2 bytes) -> 2\n  [    5.000 ms] sleep 5000 us\n")
expect_in("${tool_out}" "  [  345.000 ms] write /sys/class/backlight/0.pwm_bl/brightness fd 4 @0 \"30\\0\" (3 bytes) -> 3\n  [  345.000 ms] write /sys/class/backlight/bogus_bus:pwm_bl@1/brightness fd 5 @0 \"69\\0\" (3 bytes) -> 3\nled ir: write 30 -> ok\n  [  345.000 ms] close /sys/class/backlight/0.pwm_bl/brightness fd 4 -> 0\n  [  345.000 ms] close /sys/class/backlight/bogus_bus:pwm_bl@1/brightness fd 5 -> 0\n")
# No second copy of the writes: the fade's 120 writes appear once each, 50 of them on the tele channel.
string(REGEX MATCHALL "write /sys/class/backlight/0\\.pwm_bl/brightness fd" writes "${tool_out}")
list(LENGTH writes count)
expect_equal("${count}" "50")
string(REGEX MATCHALL "write /sys/class/backlight/[^ ]* fd" writes "${tool_out}")
list(LENGTH writes count)
expect_equal("${count}" "120")
# The same light on 0xA533 fades with isSStar set and writes at once without it.
run_tool(0 --board 0xA533 --key isSStar=1 led ir set 41)
expect_in("${tool_out}" "  [  195.000 ms] write /sys/class/backlight/0.pwm_bl/brightness fd 4 @0 \"40\\0\" (3 bytes) -> 3\nled ir: set 41 -> ok\n")
run_tool(0 --board 0xA533 led ir set 41)
expect_in("${tool_out}" "led ir: init -> ok\n  [    0.000 ms] write /sys/class/backlight/0.pwm_bl/brightness fd 4 @0 \"40\\0\" (3 bytes) -> 3\nled ir: set 41 -> ok\n")

# The early revisions of 0xA532 run the factory tool; from hwrev 9 the backlight is written.
run_tool(0 --board 0xA532 led ir set 50 then get)
expect_in("${tool_out}" "led ir: init -> ok\n  [    0.000 ms] exec  /bin/orva_isp_fac_cmd 06 81 01 04 b3 02 ff -> 0\nled ir: set 50 -> ok\nled ir: get -> this LED cannot be read back\n")
run_tool(0 --board 0xA532 --key hwrev=9 led ir write 50 then get)
expect_in("${tool_out}" "  [    0.000 ms] write /sys/class/backlight/0.pwm_bl/brightness fd 4 @0 \"50\\0\" (3 bytes) -> 3\nled ir: write 50 -> ok\n  [    0.000 ms] read  /sys/class/backlight/0.pwm_bl/brightness fd 4 @0 up to 15 -> 3 \"50\\n\"\nled ir: get -> device value 50 (user value 50)\n")

# White light, its maximum, the accessory IR output and the status question.
run_tool(0 --board 0xA598 led ir white on then white-max 20000 then white off then accessory on then status)
expect_in("${tool_out}" "led ir: init -> ok\n  [    0.000 ms] write /sys/class/pwm/pwmchip0/pwm0/duty_cycle fd 7 @0 \"14900\\0\" (6 bytes) -> 6\nled ir: white on -> ok\n  [    0.000 ms] read  /sys/class/pwm/pwmchip0/pwm0/duty_cycle fd 7 @0 up to 15 -> 6 \"14900\\n\"\n  [    0.000 ms] write /sys/class/pwm/pwmchip0/pwm0/duty_cycle fd 7 @0 \"14900\\0\" (6 bytes) -> 6\nled ir: white-max 20000 -> ok\n  [    0.000 ms] write /sys/class/pwm/pwmchip0/pwm0/duty_cycle fd 7 @0 \"0\\0\" (2 bytes) -> 2\nled ir: white off -> ok\n  [    0.000 ms] write /sys/class/pwm/pwmchip0/pwm1/duty_cycle fd 6 @0 \"16200\\0\" (6 bytes) -> 6\nled ir: accessory on -> ok\nled ir: status -> IR light present, not the status light\n")
run_tool(0 --board 0xA5A6 led ir white-max 300 then white on)
expect_in("${tool_out}" "led ir: white-max 300 -> ok\n  [    0.000 ms] write /sys/class/backlight/bogus_bus:pwm_bl@0/brightness fd 5 @0 \"218\\0\" (4 bytes) -> 4\nled ir: white on -> ok\n")
run_tool(0 --board 0xA533 led ir status)
expect_in("${tool_out}" "led ir: status -> IR light present, serves as status light\n")

# Path selection moves a lit light to the other channel; the IR brightness scales direct writes.
run_tool(0 --board 0xA5A5 led ir write 40 then path 2 then get then ir-brightness 128)
expect_in("${tool_out}" "  [    0.000 ms] write /sys/class/backlight/bogus_bus:pwm_bl@0/brightness fd 4 @0 \"0\\0\" (2 bytes) -> 2\n  [    0.000 ms] write /sys/class/backlight/bogus_bus:pwm_bl@1/brightness fd 5 @0 \"40\\0\" (3 bytes) -> 3\nled ir: path 2 -> ok\n")
expect_in("${tool_out}" "led ir: get -> device value 40 (user value 40)\nled ir: ir-brightness 128 -> ok\n")

# The glow light and the infrared face share the white LED of 0xA598: the glow light's own verbs
# switch it through the infrared face, which is released (its files closed) with the glow light.
run_tool(0 --board 0xA598 led glow range then ir-white on then set 50 then ir-white off then set 100 then get then ir-white-level 300)
expect_in("${tool_out}" "led glow: init -> ok\n  glow light /sys/class/pwm/pwmchip0/pwm0/duty_cycle holds 0 (range 0..14900)\nled glow: range -> device range 0..14900\n")
expect_in("${tool_out}" "  [    0.000 ms] write /sys/class/pwm/pwmchip0/pwm0/duty_cycle fd 8 @0 \"14900\\0\" (6 bytes) -> 6\nled glow: ir-white on -> ok\n  glow light /sys/class/pwm/pwmchip0/pwm0/duty_cycle holds 14900 (range 0..14900)\n  [    0.000 ms] write /sys/class/pwm/pwmchip0/pwm0/duty_cycle fd 4 @0 \"7450\\0\" (5 bytes) -> 5\nled glow: set 50 -> ok\n")
expect_in("${tool_out}" "led glow: ir-white off -> ok\n  glow light /sys/class/pwm/pwmchip0/pwm0/duty_cycle holds 0 (range 0..14900)\n")
expect_in("${tool_out}" "led glow: get -> device value 14900 (user value 100)\n")
expect_in("${tool_out}" "  [    0.000 ms] write /sys/class/pwm/pwmchip0/pwm0/duty_cycle fd 8 @0 \"300\\0\" (4 bytes) -> 4\nled glow: ir-white-level 300 -> ok\n  glow light /sys/class/pwm/pwmchip0/pwm0/duty_cycle holds 300 (range 0..14900)\n  [    0.000 ms] close /sys/class/pwm/pwmchip0/pwm0/duty_cycle fd 4 -> 0\n  [    0.000 ms] close /sys/class/backlight/0.pwm_bl/brightness fd 5 -> 0\n")

# Every verb every face has, on the front light: save and restore bring the value back, auto mode is
# refused (no face has one) with the library's error record, so the status is 1.
run_tool(1 --board 0xA533 led front set 40 then save then set 10 then restore then get then on then off then brightness 50 then auto then service then wait 25)
expect_in("${tool_out}" "led front: save -> ok\n  [    0.000 ms] write /sys/class/backlight/3.pwm_bl/brightness fd 4 @0 \"9\\0\" (2 bytes) -> 2\nled front: set 10 -> ok\n  [    0.000 ms] write /sys/class/backlight/3.pwm_bl/brightness fd 4 @0 \"39\\0\" (3 bytes) -> 3\nled front: restore -> ok\n")
expect_in("${tool_out}" "led front: get -> device value 39 (user value 39)\n")
expect_in("${tool_out}" "  [    0.000 ms] write /sys/class/backlight/3.pwm_bl/brightness fd 4 @0 \"99\\0\" (3 bytes) -> 3\nled front: on -> ok\n  [    0.000 ms] write /sys/class/backlight/3.pwm_bl/brightness fd 4 @0 \"0\\0\" (2 bytes) -> 2\nled front: off -> ok\n")
expect_in("${tool_out}" "led front: brightness 50 -> ok\n")
expect_in("${tool_out}" "led front: brightness 50 -> ok\n  log ERROR orva_gpio_utils src/BaseLed:setAutoMode:164: No auto mode\nled front: auto -> FAILED\n")
expect_in("${tool_out}" "led front: service -> ok\nled front: wait 25 -> ok\n  [   25.000 ms] close /sys/class/backlight/3.pwm_bl/brightness fd 4 -> 0\n")
run_tool(0 --board 0xA5A4 led front set 40)
expect_in("${tool_out}" "led front: init -> ok (this board has no such LED: every operation is a no-op)\nled front: set 40 -> ok\n")
# No board has a power LED.
run_tool(0 --board 0xA598 led power on then get)
expect_in("${tool_out}" "led power: init -> ok (this board has no such LED: every operation is a no-op)\nled power: on -> ok\nled power: get -> ok (no such LED on this board)\n")

