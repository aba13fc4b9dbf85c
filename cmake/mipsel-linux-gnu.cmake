# A cross build for 32-bit MIPS (little-endian) with Debian's compiler and the libraries that
# scripts/sysroot unpacked. QEMU runs its programs on this machine.
set(architecture mipsel)
set(triple ${architecture}-linux-gnu)
get_filename_component(sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-${architecture} ABSOLUTE)

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${architecture})
set(CMAKE_C_COMPILER ${triple}-gcc)
set(CMAKE_CXX_COMPILER ${triple}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triple})
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${architecture}-static;-L;${sysroot})
set(CMAKE_SKIP_RPATH ON)  # the emulator finds the libraries with -L

# OpenWrt builds for such a processor with the MIPS16 flags. Debian installs some headers in a folder
# per architecture.
set(CMAKE_C_FLAGS_INIT "-mips16 -minterlink-mips16 -isystem ${sysroot}/usr/include/${triple}")
set(CMAKE_CXX_FLAGS_INIT ${CMAKE_C_FLAGS_INIT})

list(APPEND CMAKE_FIND_ROOT_PATH ${sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
