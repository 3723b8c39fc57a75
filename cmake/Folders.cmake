# How a folder of this tree becomes libraries, tests and programs.
#
#   framework_library(NAME SOURCES ... [USES ...] [PACKAGES ...])   a folder of libimsua
#   platform_library(NAME SOURCES ... [USES ...] [PACKAGES ...])    a shared library of its own
#   imsua_daemon / imsua_tool(NAME SOURCES ... USES ...)
#   folder_tests(NAME FOLDER dir LINK libs... [EXTRA files...])     tests/<dir>, one program
#   fuzz_target(NAME SOURCE file LINK libs...)                      libFuzzer, or a replay of the kept finds
#
# Every source of a library has a test of the same name in tests/; configuring fails without one.

set(IMSUA_INCLUDES ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/platform)

# What is installed finds the libraries beside it, wherever the prefix is.
file(RELATIVE_PATH IMSUA_LIB_FROM_BIN ${CMAKE_INSTALL_FULL_SBINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/${IMSUA_LIB_FROM_BIN}")

# A sanitizer's runtime is in the program, not in the libraries: there only its symbols stay open.
set(IMSUA_SHARED_LINK -Wl,--as-needed -Wl,-Bsymbolic-functions)
if(NOT IMSUA_SANITIZE)
  list(APPEND IMSUA_SHARED_LINK -Wl,--no-undefined)
endif()

function(imsua_demand_tests folder)
  if(NOT IMSUA_TESTS)
    return()
  endif()
  foreach(source ${ARGN})
    get_filename_component(unit ${source} NAME_WE)
    get_filename_component(part ${source} DIRECTORY)
    set(wanted ${CMAKE_SOURCE_DIR}/tests/${folder}/${unit}_test.cpp)
    set(nested ${CMAKE_SOURCE_DIR}/tests/${folder}/${part}/${unit}_test.cpp)
    if(NOT EXISTS ${wanted} AND NOT EXISTS ${nested})
      message(FATAL_ERROR "${folder}/${source} has no test: write tests/${folder}/${unit}_test.cpp")
    endif()
  endforeach()
endfunction()

function(imsua_register_test name)
  set_property(GLOBAL APPEND PROPERTY IMSUA_TEST_PROGRAMS ${name})
  if(CMAKE_CROSSCOMPILING)
    # One run a program: starting the emulator for every single test would cost minutes.
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 600 LABELS unit)
  else()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 60 LABELS unit)
  endif()
endfunction()

# One program with all tests of a folder. `LINK` names the libraries under test.
function(folder_tests name)
  if(NOT IMSUA_TESTS)
    return()
  endif()
  cmake_parse_arguments(T "" "FOLDER" "LINK;EXTRA" ${ARGN})
  file(GLOB_RECURSE found CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/${T_FOLDER}/*_test.cpp)
  if(NOT found)
    return()
  endif()
  add_executable(${name} ${found} ${T_EXTRA})
  target_link_libraries(${name} PRIVATE ${T_LINK} imsua_test_support imsua_warnings gmock gtest)
  target_include_directories(${name} PRIVATE ${IMSUA_INCLUDES})
  imsua_register_test(${name})
endfunction()

function(framework_library name)
  cmake_parse_arguments(L "" "" "SOURCES;USES;PACKAGES" ${ARGN})
  imsua_demand_tests(${name} ${L_SOURCES})
  add_library(imsua_${name} OBJECT ${L_SOURCES})
  target_include_directories(imsua_${name} PUBLIC ${IMSUA_INCLUDES})
  target_link_libraries(imsua_${name} PUBLIC ${L_USES} ${L_PACKAGES} Threads::Threads PRIVATE imsua_warnings)
  set_property(GLOBAL APPEND PROPERTY IMSUA_FOLDERS imsua_${name})
endfunction()

# libimsua of all the folders, then the test program of each.
function(framework_finish)
  get_property(folders GLOBAL PROPERTY IMSUA_FOLDERS)
  if(NOT folders)
    return()
  endif()
  set(objects "")
  foreach(folder ${folders})
    list(APPEND objects $<TARGET_OBJECTS:${folder}>)
  endforeach()
  set(export_shared imsua)
  set(export_static static)
  foreach(kind shared static)
    string(TOUPPER ${kind} upper)
    add_library(imsua_${kind} ${upper} ${objects})
    set_target_properties(imsua_${kind} PROPERTIES OUTPUT_NAME imsua EXPORT_NAME ${export_${kind}}
      VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINKER_LANGUAGE CXX)
    target_include_directories(imsua_${kind} PUBLIC
      "$<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}>" "$<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/platform>"
      $<INSTALL_INTERFACE:include/imsua>)
    target_link_libraries(imsua_${kind} PUBLIC pelgo_siplib pelgo_baseuafw PkgConfig::LIBXML2 Threads::Threads)
  endforeach()
  target_link_options(imsua_shared PRIVATE ${IMSUA_SHARED_LINK})
  add_library(imsua::imsua ALIAS imsua_shared)
  add_library(imsua::static ALIAS imsua_static)
  foreach(folder ${folders})
    string(REPLACE "imsua_" "" plain ${folder})
    folder_tests(${plain}_tests FOLDER ${plain} LINK imsua_static)
  endforeach()
endfunction()

# lib<name>.so, and <name>_internal: the same objects as a static library, for tests of what is not exported.
function(platform_library name)
  cmake_parse_arguments(L "" "FOLDER" "SOURCES;USES;PACKAGES" ${ARGN})
  imsua_demand_tests(${L_FOLDER} ${L_SOURCES})
  add_library(${name}_objects OBJECT ${L_SOURCES})
  target_include_directories(${name}_objects PRIVATE ${IMSUA_INCLUDES})
  target_link_libraries(${name}_objects PRIVATE ${L_USES} ${L_PACKAGES} Threads::Threads imsua_warnings)
  add_library(${name} SHARED $<TARGET_OBJECTS:${name}_objects>)
  add_library(${name}_internal STATIC $<TARGET_OBJECTS:${name}_objects>)
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINKER_LANGUAGE CXX)
  set_target_properties(${name}_internal PROPERTIES LINKER_LANGUAGE CXX)
  foreach(target ${name} ${name}_internal)
    target_include_directories(${target} PUBLIC
      "$<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}>" "$<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/platform>"
      $<INSTALL_INTERFACE:include/imsua>)
  endforeach()
  target_link_libraries(${name} PUBLIC ${L_USES} Threads::Threads PRIVATE ${L_PACKAGES})
  target_link_libraries(${name}_internal PUBLIC ${L_USES} ${L_PACKAGES} Threads::Threads)
  target_link_options(${name} PRIVATE ${IMSUA_SHARED_LINK})
endfunction()

function(imsua_program name)
  cmake_parse_arguments(P "" "" "SOURCES;USES" ${ARGN})
  add_executable(${name} ${P_SOURCES})
  target_include_directories(${name} PRIVATE ${IMSUA_INCLUDES})
  target_link_libraries(${name} PRIVATE ${P_USES} imsua_warnings)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
endfunction()

function(imsua_daemon name)
  imsua_program(${name} ${ARGN})
  install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT daemons)
endfunction()

function(imsua_tool name)
  imsua_program(${name} ${ARGN})
  install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
endfunction()

# fuzz/<name>_fuzz.cpp with fuzz/corpus/<name>/: seeds and kept finds, replayed as a test in every other lane.
function(fuzz_target name)
  cmake_parse_arguments(F "" "SOURCE" "LINK" ${ARGN})
  set(corpus ${CMAKE_SOURCE_DIR}/fuzz/corpus/${name})
  add_executable(${name}_fuzz ${F_SOURCE})
  target_include_directories(${name}_fuzz PRIVATE ${IMSUA_INCLUDES})
  target_link_libraries(${name}_fuzz PRIVATE ${F_LINK} imsua_warnings)
  set_property(GLOBAL APPEND PROPERTY IMSUA_FUZZ_TARGETS ${name})
  if(IMSUA_FUZZ)
    target_link_options(${name}_fuzz PRIVATE -fsanitize=fuzzer)
  else()
    target_sources(${name}_fuzz PRIVATE ${CMAKE_SOURCE_DIR}/fuzz/replay_main.cpp)
    if(IMSUA_TESTS)
      add_test(NAME fuzz-replay-${name} COMMAND ${name}_fuzz ${corpus})
      set_tests_properties(fuzz-replay-${name} PROPERTIES TIMEOUT 300 LABELS fuzz-replay)
    endif()
  endif()
endfunction()
