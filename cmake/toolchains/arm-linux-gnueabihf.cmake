# 32-bit ARM (hard-float) Linux, the camera's target, with Debian's cross compiler. Target
# programs (tests, test discovery, the tool) run under qemu-arm against the cross sysroot.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(ORVA_TARGET_TRIPLET arm-linux-gnueabihf)

set(CMAKE_C_COMPILER ${ORVA_TARGET_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${ORVA_TARGET_TRIPLET}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${ORVA_TARGET_TRIPLET})

# The "parameter passing changed in GCC 7.1" notes concern code built by older compilers only.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

find_program(ORVA_QEMU qemu-arm REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${ORVA_QEMU} -L /usr/${ORVA_TARGET_TRIPLET})

set(CMAKE_FIND_ROOT_PATH /usr/${ORVA_TARGET_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
