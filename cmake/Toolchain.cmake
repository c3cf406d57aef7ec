# SPDX-License-Identifier: Apache-2.0
# Compile options of all targets: the language, the warnings, the hardening and the sanitizers.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()
# Full debug information would take too much build time; line tables keep stack traces readable.
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g1")

# A newer compiler has warnings of its own. They must not keep a packager from building.
set(KOV_WERROR_FLAG "")
if(KOV_WERROR)
  set(KOV_WERROR_FLAG -Werror)
endif()

add_compile_options(-Wall -Wextra ${KOV_WERROR_FLAG} -Wnon-virtual-dtor -Woverloaded-virtual
                    -fstack-protector-strong -fno-omit-frame-pointer
                    # Messages name sources relative to the project, not to the build machine.
                    -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)
# The library checks indexes and iterators.
add_compile_definitions(_GLIBCXX_ASSERTIONS)
# At -O3, GCC 12 gives false warnings of overlapping copies inside std::string (GCC bug 105651).
add_compile_options($<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-Wno-restrict>)
if(KOV_SANITIZE)
  # Full optimisation of instrumented code takes longer and finds no more.
  set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O1 -g1")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all)
  add_link_options(-fsanitize=address,undefined)
else()
  add_compile_definitions($<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
  add_compile_options(-fstack-clash-protection)
  if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
    add_compile_options(-fcf-protection)
  endif()
  add_link_options(-Wl,-z,relro,-z,now -Wl,--as-needed)
endif()
if(KOV_FUZZ)
  # The profile is for scripts/coverage. Only the fuzz targets are linked with what writes it.
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all
                      -fprofile-instr-generate -fcoverage-mapping)
  add_link_options(-fsanitize=address,undefined)
endif()
if(KOV_SANITIZE OR KOV_FUZZ)
  # Defined by GCC, but not by clang. Tests of memory use and believed() check it.
  add_compile_definitions($<$<CXX_COMPILER_ID:Clang>:__SANITIZE_ADDRESS__>)
endif()
