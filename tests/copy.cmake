# SPDX-License-Identifier: Apache-2.0
# Stories of the operations that work on a copy of the repository.
if(NOT Python3_FOUND)
  return()
endif()

kov_stories(copy system/copy RUN "${RUN_COPY_STORY}" LABELS system)
