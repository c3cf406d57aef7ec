#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs one story of the installed tool, or lists them all.

usage: run_story.py --list | run_story.py MODULE.CLASS.test_NAME

Ends with 77 when the story cannot be told here; the reason is printed."""

import os
import sys
import unittest

MODULES = [
    "command_line_stories",
    "startup_stories",
    "product_stories",
    "config_stories",
    "namespace_stories",
    "live_stories",
]
SKIPPED = 77


def stories(suite):
    for item in suite:
        if isinstance(item, unittest.TestSuite):
            yield from stories(item)
        else:
            yield item


def main():
    sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
    sys.dont_write_bytecode = True
    os.umask(0o022)
    loader = unittest.TestLoader()
    if sys.argv[1:] == ["--list"]:
        for story in stories(loader.loadTestsFromNames(MODULES)):
            print(story.id())
        return 0
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    result = unittest.TextTestRunner(verbosity=2).run(loader.loadTestsFromName(sys.argv[1]))
    if result.skipped:
        print(f"{sys.argv[1]}: Skipped\n{result.skipped[0][1]}")
        return SKIPPED
    return 0 if result.wasSuccessful() and result.testsRun == 1 else 1


if __name__ == "__main__":
    sys.exit(main())
