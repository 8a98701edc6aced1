# SPDX-License-Identifier: MIT
# A sample CMake toolchain file for building the plug-in. Copy it, and change it for your device.

# The device's root folder, with the platform's libraries and headers: here the folder "device" beside this file.
set(device ${CMAKE_CURRENT_LIST_DIR}/device)
set(CMAKE_FIND_ROOT_PATH ${device})

# A device with another processor needs a cross-compiler, and takes nothing but tools from this machine. These lines are
# for 32-bit ARM (hard-float) with the compilers of Debian; the root folder holds Qt, too.
# set(CMAKE_SYSTEM_NAME Linux)
# set(CMAKE_SYSTEM_PROCESSOR arm)
# set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
# set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
# set(CMAKE_SYSROOT ${device})
# set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
# set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
# set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
