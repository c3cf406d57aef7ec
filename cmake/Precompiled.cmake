# SPDX-License-Identifier: Apache-2.0
# The headers that nearly every source includes, parsed once, as most of a build goes into reading
# them. Sources still include what they use; KOV_PCH=OFF shows whether they do.

option(KOV_PCH "Precompile the headers of the libraries" ON)

# kov_precompiled_headers(NAME HEADERS...) makes NAME, from which targets take their headers. It has
# to be compiled with the options and definitions of those targets; Boost's libraries bring one to
# whatever links them.
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

# When it optimises, GCC 12 warns of overflows inside precompiled headers of std::string that are
# none (GCC bug 105329). Those warnings are left to builds without (KOV_PCH=OFF) and to clang.
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
