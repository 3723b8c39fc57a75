# imsua_state_graph(NAME SOURCES files... [LINK libraries...])
#
# A program NAME that draws the state table compiled into it (docs/tools/imsgraph.md). The sources define
# imsua_state_graph(), declared in core/state_graph.h, and what the table needs: its handlers, but no main.
function(imsua_state_graph name)
  cmake_parse_arguments(G "" "" "SOURCES;LINK" ${ARGN})
  if(NOT G_SOURCES)
    message(FATAL_ERROR "imsua_state_graph(${name}): SOURCES are missing")
  endif()
  add_executable(${name} ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/state_graph_main.cpp ${G_SOURCES})
  target_compile_features(${name} PRIVATE cxx_std_17)
  target_link_libraries(${name} PRIVATE imsua::imsua ${G_LINK} $<TARGET_NAME_IF_EXISTS:imsua_warnings>)
endfunction()
