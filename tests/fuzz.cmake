# SPDX-License-Identifier: Apache-2.0
#
# The fuzz targets, which need clang: kov_fuzz_target(NAME SOURCES a_fuzz.cpp LINKS room)
function(kov_fuzz_target NAME)
  cmake_parse_arguments(T "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${NAME} ${T_SOURCES})
  target_link_libraries(${NAME} PRIVATE ${T_LINKS})
  target_link_options(${NAME} PRIVATE -fsanitize=fuzzer -fprofile-instr-generate)
endfunction()

if(KOV_FUZZ)
  kov_fuzz_target(object_path_fuzz SOURCES fuzz/object_path_fuzz.cpp LINKS openwbem_model)
  kov_fuzz_target(codec_fuzz SOURCES fuzz/codec_fuzz.cpp LINKS openwbem_wire)
  kov_fuzz_target(mof_fuzz SOURCES fuzz/mof_fuzz.cpp LINKS openwbem_mof openwbem_mofrenderer)
  kov_fuzz_target(privilege_fuzz SOURCES fuzz/privilege_fuzz.cpp
    LINKS openwbem_privilege openwbem_mofrenderer)
  kov_fuzz_target(provider_list_fuzz SOURCES fuzz/provider_list_fuzz.cpp LINKS fennik_provider)
  kov_fuzz_target(provider_mof_fuzz SOURCES fuzz/provider_mof_fuzz.cpp
    LINKS fennik_product fennik_testing)
  kov_fuzz_target(xml_fuzz SOURCES fuzz/xml_fuzz.cpp LINKS openwbem_xml)
  kov_fuzz_target(cimxml_request_fuzz SOURCES fuzz/cimxml_request_fuzz.cpp LINKS openwbem_cimxml)
  kov_fuzz_target(cimxml_response_fuzz SOURCES fuzz/cimxml_response_fuzz.cpp LINKS openwbem_cimxml)
  kov_fuzz_target(mofrepair_fuzz SOURCES fuzz/mofrepair_fuzz.cpp LINKS fennik_mofrepair)
  kov_fuzz_target(state_fuzz SOURCES fuzz/state_fuzz.cpp LINKS fennik_state fennik_testing)
  kov_fuzz_target(password_file_fuzz SOURCES fuzz/password_file_fuzz.cpp LINKS credentials)
  kov_fuzz_target(http_fuzz SOURCES fuzz/http_fuzz.cpp LINKS owcimomd_http)
  target_compile_options(http_fuzz PRIVATE -Wno-non-virtual-dtor)
  kov_fuzz_target(config_fuzz SOURCES fuzz/config_fuzz.cpp LINKS owcimomd_process)
  kov_fuzz_target(repository_fuzz
    SOURCES fuzz/repository_fuzz.cpp unit/repository/RepositoryFixture.cpp
    LINKS openwbem_repository kov_sqlite3 GTest::gtest)
  target_include_directories(repository_fuzz PRIVATE "${CMAKE_SOURCE_DIR}")
  kov_fuzz_target(wire_fuzz SOURCES fuzz/wire_fuzz.cpp LINKS owcimomd_connections)
  target_compile_options(wire_fuzz PRIVATE -Wno-non-virtual-dtor)
endif()
