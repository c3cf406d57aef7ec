# SPDX-License-Identifier: Apache-2.0
# Precompiles the headers that nearly every source includes: parsing them is most of a build.
# Sources still include what they use; building with KOV_PCH=OFF checks that.

option(KOV_PCH "Precompile the headers of the libraries" ON)

# kov_precompiled_headers(NAME HEADERS...): makes the target NAME, whose precompiled headers other
# targets reuse. It must have the same compile options and definitions as they have; linking Boost's
# libraries adds the definition BOOST_ALL_NO_LIB.
function(kov_precompiled_headers NAME)
  if(KOV_PCH)
    set(SOURCE "${CMAKE_BINARY_DIR}/${NAME}.cpp")
    file(CONFIGURE OUTPUT "${SOURCE}" CONTENT "// Nothing: the headers are all.\n")
    add_library(${NAME} OBJECT "${SOURCE}")
    target_precompile_headers(${NAME} PRIVATE ${ARGN})
    target_compile_definitions(${NAME} PRIVATE BOOST_ALL_NO_LIB)
  endif()
endfunction()

function(kov_use_precompiled TARGET NAME)
  if(KOV_PCH)
    target_precompile_headers(${TARGET} REUSE_FROM ${NAME})
  endif()
endfunction()

# With optimisation, GCC 12 gives false warnings of overflows inside a precompiled std::string (GCC
# bug 105329). Builds with KOV_PCH=OFF and with clang keep these warnings.
function(kov_use_precompiled_product TARGET)
  kov_use_precompiled(${TARGET} kov_precompiled)
  if(KOV_PCH)
    target_compile_options(${TARGET} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict
      -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread>)
  endif()
endfunction()

kov_precompiled_headers(kov_precompiled
  <algorithm> <array> <cerrno> <cstring> <filesystem> <functional> <map> <memory> <optional>
  <ostream> <span> <sstream> <string> <string_view> <unordered_map> <utility> <vector>
  <boost/bind/bind.hpp> <boost/function.hpp>)
