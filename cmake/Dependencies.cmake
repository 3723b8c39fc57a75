# Everything here is an ordinary Debian 12 package; scripts/setup.sh installs them.
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(LIBXML2 REQUIRED IMPORTED_TARGET libxml-2.0)
pkg_check_modules(SOFIA   REQUIRED IMPORTED_TARGET sofia-sip-ua)
pkg_check_modules(MNL     REQUIRED IMPORTED_TARGET libmnl)
pkg_check_modules(SYSTEMD QUIET IMPORTED_TARGET libsystemd)      # optional: journal, readiness, watchdog

if(IMSUA_TESTS)
  # Debian ships the sources, so every lane (sanitizers, cross) builds its own copy.
  set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()
if(IMSUA_BENCH)
  find_package(benchmark REQUIRED)
endif()
