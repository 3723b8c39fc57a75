# Cross build for 32-bit ARM, little-endian, hard float. The target's libraries stand in a folder that
# scripts/armhf-sysroot.sh fills; IMSUA_ARMHF_SYSROOT names it.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(IMSUA_ARMHF_SYSROOT "$ENV{IMSUA_ARMHF_SYSROOT}" CACHE PATH "unpacked armhf packages")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES IMSUA_ARMHF_SYSROOT)
set(triplet arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH ${IMSUA_ARMHF_SYSROOT} /usr/${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${IMSUA_ARMHF_SYSROOT}/usr/lib/${triplet}/pkgconfig:${IMSUA_ARMHF_SYSROOT}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${IMSUA_ARMHF_SYSROOT})
set(CMAKE_EXE_LINKER_FLAGS_INIT
  "-Wl,-rpath-link,${IMSUA_ARMHF_SYSROOT}/usr/lib/${triplet} -Wl,-rpath-link,${IMSUA_ARMHF_SYSROOT}/lib/${triplet}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${CMAKE_EXE_LINKER_FLAGS_INIT}")
set(CMAKE_CROSSCOMPILING_EMULATOR
  qemu-arm;-L;/usr/${triplet};-E;LD_LIBRARY_PATH=${IMSUA_ARMHF_SYSROOT}/usr/lib/${triplet}:${IMSUA_ARMHF_SYSROOT}/lib/${triplet})
