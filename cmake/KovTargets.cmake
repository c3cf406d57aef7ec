# SPDX-License-Identifier: Apache-2.0
# Declares a room: a static library. LINKS are the rooms and libraries that it may use.
#
#   kov_room(NAME SOURCES a.cpp b.cpp LINKS other_room Boost::headers)
#
# Rooms below platform/ include each other as "blocxx/..." and "openwbem/...", the rooms of the
# tool as "fennik/...". LINKS are PUBLIC. A room that is not in LINKS is not linked, and the include
# directories of its dependencies are missing.
function(kov_room NAME)
  cmake_parse_arguments(ROOM "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
  add_library(${NAME} STATIC ${ROOM_SOURCES})
  target_include_directories(${NAME} PUBLIC "${CMAKE_SOURCE_DIR}" "${CMAKE_SOURCE_DIR}/platform")
  target_link_libraries(${NAME} PUBLIC ${ROOM_LINKS} PRIVATE ${ROOM_PRIVATE_LINKS})
  kov_use_precompiled_product(${NAME})
endfunction()
