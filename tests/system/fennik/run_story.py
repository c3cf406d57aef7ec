#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs one story of the installed tool, or lists them all.

usage: run_story.py DIR --list | run_story.py DIR MODULE.CLASS.test_NAME

The stories are the modules of DIR named NAME_stories.py. Ends with 77 when the story cannot be told
here; the reason is printed."""

import os
import sys
import unittest

SKIPPED = 77


def stories(suite):
    for item in suite:
        if isinstance(item, unittest.TestSuite):
            yield from stories(item)
        else:
            yield item


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    directory, story = sys.argv[1:]
    sys.path[:0] = [directory, os.path.dirname(os.path.abspath(__file__))]
    sys.dont_write_bytecode = True
    os.umask(0o022)
    loader = unittest.TestLoader()
    if story == "--list":
        modules = sorted(name[:-3] for name in os.listdir(directory)
                         if name.endswith("_stories.py"))
        for found in stories(loader.loadTestsFromNames(modules)):
            print(found.id())
        return 0
    result = unittest.TextTestRunner(verbosity=2).run(loader.loadTestsFromName(story))
    if result.skipped:
        print(f"{story}: Skipped\n{result.skipped[0][1]}")
        return SKIPPED
    return 0 if result.wasSuccessful() and result.testsRun == 1 else 1


if __name__ == "__main__":
    sys.exit(main())
