# SPDX-License-Identifier: Apache-2.0
# SQLite, Expat and Cap'n Proto, linked dynamically like everything else, so that a security update
# of a library reaches the tool, which runs as root, without rebuilding it.
#
# Cap'n Proto's own CMake package is not used, because it requires OpenSSL and libatomic, which
# nothing here needs.

function(kov_imported NAME HEADER)
  cmake_parse_arguments(I "" "" "LIBRARIES;LINKS" ${ARGN})
  if(TARGET ${NAME})
    return()
  endif()
  find_path(${NAME}_INCLUDE NAMES ${HEADER} REQUIRED)
  add_library(${NAME} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${NAME} SYSTEM INTERFACE "${${NAME}_INCLUDE}")
  foreach(LIB ${I_LIBRARIES})
    find_library(${NAME}_${LIB} NAMES ${LIB} REQUIRED)
    target_link_libraries(${NAME} INTERFACE "${${NAME}_${LIB}}")
  endforeach()
  target_link_libraries(${NAME} INTERFACE ${I_LINKS})
endfunction()

find_package(Threads REQUIRED)
kov_imported(kov_sqlite3 sqlite3.h LIBRARIES sqlite3)
kov_imported(kov_expat expat.h LIBRARIES expat)
kov_imported(kov_crypt crypt.h LIBRARIES crypt)
kov_imported(kov_crypto openssl/x509.h LIBRARIES crypto)
kov_imported(kov_seccomp seccomp.h LIBRARIES seccomp)
kov_imported(kov_capnp capnp/message.h LIBRARIES capnp kj LINKS Threads::Threads)
kov_imported(kov_capnp_async capnp/serialize-async.h LIBRARIES capnp-rpc capnp kj-async kj
             LINKS Threads::Threads)
kov_imported(kov_kj_tls kj/compat/tls.h LIBRARIES kj-tls kj-async kj LINKS Threads::Threads)

find_program(CAPNP_TOOL capnp REQUIRED)
find_program(CAPNPC_CXX_TOOL capnpc-c++ REQUIRED)

# kov_capnp_schema(TARGET schema.capnp): compiles a schema in the current directory into TARGET,
# whose sources include it as "schema.capnp.h".
function(kov_capnp_schema TARGET SCHEMA)
  set(OUT "${CMAKE_CURRENT_BINARY_DIR}/${SCHEMA}")
  add_custom_command(
    OUTPUT "${OUT}.h" "${OUT}.c++"
    COMMAND "${CAPNP_TOOL}" compile "-o${CAPNPC_CXX_TOOL}:${CMAKE_CURRENT_BINARY_DIR}"
            "--src-prefix=${CMAKE_CURRENT_SOURCE_DIR}" "-I${kov_capnp_INCLUDE}"
            "${CMAKE_CURRENT_SOURCE_DIR}/${SCHEMA}"
    DEPENDS "${SCHEMA}" VERBATIM)
  target_sources(${TARGET} PRIVATE "${OUT}.c++" "${OUT}.h")
  set_source_files_properties("${OUT}.c++" PROPERTIES COMPILE_OPTIONS "-w")
  target_include_directories(${TARGET} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}")
endfunction()
