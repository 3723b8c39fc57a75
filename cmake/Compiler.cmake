# Language level, warnings and sanitizers: the same for every target of the tree.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(THREADS_PREFER_PTHREAD_FLAG ON)
# What a library calls of its own it calls directly: nobody replaces single functions of ours at run time.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  add_compile_options(-fno-semantic-interposition)
endif()
# On 32-bit targets too, files and directories are of any size: without it readdir, stat and glob fail with
# EOVERFLOW on a file system whose numbers are wider.
add_compile_definitions(_FILE_OFFSET_BITS=64)

set(IMSUA_SANITIZE "" CACHE STRING "sanitizers for everything, as in -fsanitize=")
if(IMSUA_SANITIZE)
  add_compile_options(-fsanitize=${IMSUA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${IMSUA_SANITIZE})
endif()

# One cache serves every build tree and every checkout, so that the lanes of CI share their work.
find_program(IMSUA_CCACHE ccache)
if(IMSUA_CCACHE)
  set(launcher ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=true ${IMSUA_CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
endif()

add_library(imsua_warnings INTERFACE)
target_compile_options(imsua_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wconversion -Wformat=2 -Werror)
