# Cross build for 32-bit ARMv7-A Linux, hard-float ABI with NEON: the handsets this library ships
# on. Uses Debian's cross compiler (g++-arm-linux-gnueabihf) and its target libraries under
# /usr/arm-linux-gnueabihf. Built programs run on the host under user-mode emulation (qemu-arm from
# qemu-user or qemu-user-static), which CTest puts in front of every test executable.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l) # as uname -m reports on the handsets

set(KOVRA_TARGET_TRIPLE arm-linux-gnueabihf)
set(KOVRA_TARGET_SYSROOT "/usr/${KOVRA_TARGET_TRIPLE}" CACHE PATH "Target C library and runtime (Debian's *-armhf-cross packages)")

set(CMAKE_C_COMPILER ${KOVRA_TARGET_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${KOVRA_TARGET_TRIPLE}-g++)
set(CMAKE_C_FLAGS_INIT "-march=armv7-a -mfpu=neon -mfloat-abi=hard")
set(CMAKE_CXX_FLAGS_INIT "-march=armv7-a -mfpu=neon -mfloat-abi=hard")

# Libraries, headers and CMake packages come from the target tree only; programs (tools run during
# the build) from the host.
set(CMAKE_FIND_ROOT_PATH "${KOVRA_TARGET_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(KOVRA_QEMU_ARM NAMES qemu-arm qemu-arm-static
             DOC "User-mode ARM emulator that runs the target's test programs on the host")
if(KOVRA_QEMU_ARM)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${KOVRA_QEMU_ARM};-L;${KOVRA_TARGET_SYSROOT}")
else()
  message(WARNING "qemu-arm not found (Debian package qemu-user): the ARM programs build but CTest cannot run them")
endif()
