# SPDX-License-Identifier: Apache-2.0
# A sample of the faults of scripts/faults, some of the sequences of scripts/sequences and of the
# generated files of scripts/hostile, many runs at once, a short run of scripts/soak, runs at a
# hostile daemon, a sample of scripts/neighbours, and a short run of scripts/hostile-clients.
if(NOT Python3_FOUND)
  return()
endif()

set(TESTS faults.sequences faults.hostile_files faults.crowd faults.soak faults.rogue
          faults.neighbours faults.clients)
# A sanitizer ends its program when memory or a pipe of its own is refused.
if(NOT KOV_SANITIZE)
  list(APPEND TESTS faults.sample)
  add_test(NAME faults.sample
    COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/faults/in_installed.sh" python3 -B
            "${CMAKE_CURRENT_SOURCE_DIR}/faults/run_faults.py" /var/opt/tarvo/outcomes --sample 89 --moments 3 --cuts 3)
endif()
add_test(NAME faults.sequences
  COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/faults/in_installed.sh" python3 -B
          "${CMAKE_CURRENT_SOURCE_DIR}/sequences/run_sequences.py" --count 10 --seed 1)
add_test(NAME faults.hostile_files
  COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/faults/in_installed.sh" python3 -B
          "${CMAKE_CURRENT_SOURCE_DIR}/hostile/run_hostile.py" --count 100 --seed 1)
add_test(NAME faults.crowd
  COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/faults/in_installed.sh" python3 -B
          "${CMAKE_CURRENT_SOURCE_DIR}/faults/run_crowd.py")
add_test(NAME faults.soak
  COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/faults/in_installed.sh" python3 -B
          "${CMAKE_CURRENT_SOURCE_DIR}/faults/run_soak.py" 30)
add_test(NAME faults.rogue
  COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/faults/in_installed.sh" python3 -B
          "${CMAKE_CURRENT_SOURCE_DIR}/faults/run_rogue.py")
add_test(NAME faults.neighbours
  COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/faults/in_installed.sh" python3 -B
          "${CMAKE_CURRENT_SOURCE_DIR}/faults/run_neighbours.py" --sample 11 --exchanges 1)
add_test(NAME faults.clients
  COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/faults/in_installed.sh" python3 -B
          "${CMAKE_CURRENT_SOURCE_DIR}/faults/run_clients.py" 5000 1)
# LeakSanitizer does not work under strace. Other tests look for leaks.
set_tests_properties(${TESTS} PROPERTIES
  FIXTURES_REQUIRED installed LABELS system TIMEOUT 1200 SKIP_RETURN_CODE 77
  ENVIRONMENT "KOV_INSTALLED=${INSTALLED};ASAN_OPTIONS=detect_leaks=0")
