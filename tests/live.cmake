# SPDX-License-Identifier: Apache-2.0
# Stories of the live system: the installed programs at their real places, in a sandbox. They are
# skipped where sandboxes cannot be made.
if(NOT Python3_FOUND)
  return()
endif()

kov_stories(live system/live RUN "${RUN_STORY}" LABELS system live)
