# orva-gpio board: the faces and buttons of a board and what each used, as a user sees them.
# TOOL: the tool with the simulator built in; REAL_TOOL: the same tool without it (may be empty).
# EMULATOR: empty, or the emulator command with its arguments joined by '|'.
include(${CMAKE_CURRENT_LIST_DIR}/ToolTestFunctions.cmake)

# The block of one face or button in the text output: its header line up to the blank line after it.
function(item_block text name)
  string(REGEX MATCH "\n${name} +[A-Za-z0-9]+ +[^\n]*\n(  [^\n]*\n)*" block "${text}")
  if(block STREQUAL "")
    message(FATAL_ERROR "no block for ${name} in:\n${text}")
  endif()
  string(SUBSTRING "${block}" 1 -1 block)
  set(tool_block "${block}" PARENT_SCOPE)
endfunction()

# ---- 0xA598: IR channels, white light, accessory IR, the KTD20xx ring ----
run_tool(0 board 0xA598)
expect_equal("${tool_err}" "")
string(REGEX MATCH "^[^\n]*\n" first "${tool_out}")
expect_equal("${first}" "board 0xA598: Camera with tele and wide IR channels (PWM backlight and PWM 9), an accessory IR output (PWM 1), a white light (PWM 0) and a KTD2052/KTD2061 status ring\n")
item_block("${tool_out}" "ir")
expect_equal("${tool_block}" [=[ir          LedIr                infrared light, white light, accessory IR: present
  file    exists  rw /sys/class/backlight/0.pwm_bl/brightness  (brightness, ir 1)
  file    exists  o  /sys/class/pwm/pwmchip0/pwm9/duty_cycle  (duty cycle, ir 2)
  file    exists  w  /sys/class/pwm/pwmchip0/pwm1/duty_cycle  (duty cycle, accessory ir)
  file    exists  w  /sys/class/pwm/pwmchip0/pwm0/duty_cycle  (duty cycle, white light)
]=])
item_block("${tool_out}" "glow")
expect_equal("${tool_block}" [=[glow        LedGlow              glow light: present
  file    exists  w  /sys/class/pwm/pwmchip0/pwm0/duty_cycle  (duty cycle)
]=])
item_block("${tool_out}" "green")
expect_equal("${tool_block}" [=[green       GreenLedFace         green status LED: present, init failed
  file    missing -  /sys/class/leds/G/brightness  (brightness, green)  No such file or directory
  log: ERROR orva_gpio_utils src/GreenLedFace:initGPIO:44: Failed to open proc entry '/sys/class/leds/G/brightness'
  log: ERROR orva_gpio_utils src/BaseLed:init:108: Failed to init GPIO
]=])
item_block("${tool_out}" "ktd")
expect_in("${tool_block}" [=[ktd         Ktd2061LedFace       status ring on KTD20xx drivers: present
  file    exists  w  /sys/class/leds/ktd2052/brightness  (brightness)
  file    exists  w  /sys/class/leds/ktd2052/LED1  (LED node, ring 0)
]=])
expect_in("${tool_block}" "  file    exists  w  /sys/class/leds/ktd2061/A1  (LED node, ring 15)\n")
item_block("${tool_out}" "front")
expect_equal("${tool_block}" "front       LedFace              front light: absent\n")
item_block("${tool_out}" "reset")
expect_equal("${tool_block}" [=[reset       ResetButtonCase      reset button (the kind the board has): present
  file    exists  r  /proc/gpio/reset_btn  (proc entry)
]=])
item_block("${tool_out}" "ring")
expect_equal("${tool_block}" "ring        RingButton           ring button: absent\n")

# --json: one object per face and button, LEDs first.
run_tool(0 --json board 0xA598)
string(REGEX MATCHALL "[^\n]+" lines "${tool_out}")
list(LENGTH lines count)
expect_equal("${count}" "19")
set(ir_line "")
foreach(line IN LISTS lines)
  string(JSON name GET "${line}" name)
  if(name STREQUAL "ir")
    set(ir_line "${line}")
  endif()
endforeach()
string(JSON value GET "${ir_line}" class)
expect_equal("${value}" "LedIr")
string(JSON value GET "${ir_line}" board)
expect_equal("${value}" "0xA598")
string(JSON value GET "${ir_line}" kind)
expect_equal("${value}" "led")
string(JSON value GET "${ir_line}" present)
expect_equal("${value}" "ON")
string(JSON value GET "${ir_line}" usable)
expect_equal("${value}" "ON")
string(JSON value LENGTH "${ir_line}" resources)
expect_equal("${value}" "4")
string(JSON value GET "${ir_line}" resources 1 path)
expect_equal("${value}" "/sys/class/pwm/pwmchip0/pwm9/duty_cycle")
string(JSON value GET "${ir_line}" resources 1 channel)
expect_equal("${value}" "ir 2")
string(JSON value GET "${ir_line}" resources 3 channel)
expect_equal("${value}" "white light")
string(JSON value GET "${ir_line}" resources 3 exists)
expect_equal("${value}" "ON")
string(JSON value GET "${ir_line}" resources 3 written)
expect_equal("${value}" "ON")
list(GET lines 0 first)
string(JSON value GET "${first}" name)
expect_equal("${value}" "av")
list(GET lines 18 last)
string(JSON value GET "${last}" name)
expect_equal("${value}" "ring")
string(JSON value GET "${last}" kind)
expect_equal("${value}" "button")
string(JSON value GET "${last}" present)
expect_equal("${value}" "OFF")

# ---- 0xA564: the PHY LED over MDIO, the reset button in shared memory ----
run_tool(0 board 0xA564)
item_block("${tool_out}" "phy")
expect_equal("${tool_block}" [=[phy         LedPhy               Ethernet PHY LED: present
  mdio    exists  rw eth0  (register 0x11)
          eth0 init -> phy 1
          eth0 read reg 0x11 -> 0x1234
          eth0 write reg 0x11 0x123c -> 0
          eth0 read reg 0x11 -> 0x123c
          eth0 write reg 0x11 0x120c -> 0
          eth0 read reg 0x11 -> 0x120c
          eth0 write reg 0x11 0x123c -> 0
]=])
item_block("${tool_out}" "reset-shmem")
expect_equal("${tool_block}" [=[reset-shmem ResetShmemButtonCase reset button in shared memory: present
  shm     exists  rw 0x162f  (segment)
]=])
item_block("${tool_out}" "reset-gpio")
expect_equal("${tool_block}" [=[reset-gpio  ResetGPIOButtonCase  reset button on a proc entry: present, init failed
  file    missing -  /proc/gpio/reset_btn  (proc entry)  Permission denied
  log: ERROR orva_gpio_utils src/BaseGPIOResetButton:initGPIO:16: Failed to open proc entry '/proc/gpio/reset_btn'
  log: ERROR orva_gpio_utils src/BaseButton:init:24: Failed to init GPIO
]=])

# ---- 0xA571 (through --board): what the microcontroller was told, the white LED ----
run_tool(0 --board 0xA571 board)
item_block("${tool_out}" "uartcli")
expect_equal("${tool_block}" [=[uartcli     UartcliLedFace       microcontroller LEDs and white LED: present
  program exists  x  /usr/bin/uartcli  (frames)
          take control
          set colour 0x00 (off)
          set colour 0x01 (red)
          set colour 0x02 (green)
          set colour 0x04 (blue)
          set colour 0x00 (off)
          release control
  file    exists  w  /proc/gpio/white_led  (proc entry, white)
]=])
item_block("${tool_out}" "mcu")
expect_equal("${tool_block}" "mcu         McuLedFace           LED kept by the microcontroller: present, kept by the microcontroller\n")

# ---- a hardware variant: the status LED on the USB controller only ----
run_tool(0 --board 0xA5A3 --variant usb-only board)
string(REGEX MATCH "^[^\n]*\n" first "${tool_out}")
expect_equal("${first}" "board 0xA5A3 variant usb-only: Camera with its RGBW status LED on the USB-attached LED controller only (no I2C LED driver fitted)\n")
item_block("${tool_out}" "sysfs")
expect_equal("${tool_block}" [=[sysfs       LedSysfs             LED-class colour LED: present
  file    exists  w  /sys/devices/platform/e0000000.n_ahb/e001f000.ehci/usb1/1-1/1-1.1/usbcm65xx/usbcm65xx_ledr  (level, red)
  file    exists  w  /sys/devices/platform/e0000000.n_ahb/e001f000.ehci/usb1/1-1/1-1.1/usbcm65xx/usbcm65xx_ledg  (level, green)
  file    exists  w  /sys/devices/platform/e0000000.n_ahb/e001f000.ehci/usb1/1-1/1-1.1/usbcm65xx/usbcm65xx_ledb  (level, blue)
  file    exists  w  /sys/devices/platform/e0000000.n_ahb/e001f000.ehci/usb1/1-1/1-1.1/usbcm65xx/usbcm65xx_ledw  (level, white)
]=])
# The main profile has the I2C LED driver as well.
run_tool(0 board 0xA5A3)
item_block("${tool_out}" "sysfs")
expect_in("${tool_block}" "  file    exists  w  /sys/bus/i2c/devices/0-0030/leds/R/brightness  (brightness, red)\n")

# ---- usage errors: one line and the pointer to --help, nothing on stdout ----
run_tool(2 board 0xB000)
expect_equal("${tool_err}" "orva-gpio: unknown board 0xB000 (see --list-boards)\ntry 'orva-gpio --help'\n")
expect_equal("${tool_out}" "")
run_tool(2 board zz)
expect_equal("${tool_err}" "orva-gpio: not a board: 'zz' (a sysid such as 0xA598; see --list-boards)\ntry 'orva-gpio --help'\n")
expect_equal("${tool_out}" "")
run_tool(2 --board 0xA5A3 --variant usb-only board 0xA598)
expect_equal("${tool_err}" "orva-gpio: board 0xA598 has no variant 'usb-only' (see --list-boards)\ntry 'orva-gpio --help'\n")
expect_equal("${tool_out}" "")
