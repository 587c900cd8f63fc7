# 32-bit ARM with hard float: the module's word size, on Debian's cross compiler. Its programs run under qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# The module's core.
set(CMAKE_C_FLAGS_INIT -mcpu=cortex-a7)
set(CMAKE_CXX_FLAGS_INIT -mcpu=cortex-a7)
set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(VEK_EMULATOR "qemu-arm;-L;/usr/arm-linux-gnueabihf" CACHE STRING "")
