# Cross build for the controller: 32-bit ARM, hard float, glibc (Debian armhf multiarch).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
# Multiarch: the :armhf packages install beside the host's, under /usr.
set(CMAKE_FIND_ROOT_PATH /usr /usr/lib/arm-linux-gnueabihf)
set(CMAKE_PREFIX_PATH /usr/lib/arm-linux-gnueabihf/cmake)
set(PKG_CONFIG_EXECUTABLE arm-linux-gnueabihf-pkg-config)

# Test binaries run under user-mode emulation; libc6:armhf provides the loader, so no -L prefix.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm)
set(ERV_ARMHF ON)
