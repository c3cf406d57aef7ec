#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs one story of the installed tool, or lists them all.

usage: run_story.py [--in DIR] --list | run_story.py [--in DIR] MODULE.CLASS.test_NAME

The stories are the modules of this directory, or those of DIR named NAME_stories.py. Ends with 77 when the story cannot be told here; the reason is printed."""

import os
import sys
import unittest

MODULES = [
    "command_line_stories",
    "startup_stories",
    "terminal_stories",
    "product_stories",
    "config_stories",
    "namespace_stories",
    "provider_list_stories",
    "provider_mof_stories",
    "privilege_stories",
    "provider_stories",
    "provider_fault_stories",
    "log_stories",
    "real_mof_stories",
    "live_stories",
    "stored_repository_stories",
]
SKIPPED = 77


def stories(suite):
    for item in suite:
        if isinstance(item, unittest.TestSuite):
            yield from stories(item)
        else:
            yield item


def main():
    words = sys.argv[1:]
    modules = MODULES
    sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
    if words[:1] == ["--in"] and len(words) > 1:
        sys.path.insert(0, words[1])
        files = sorted(os.listdir(words[1]))
        modules = [name[:-3] for name in files if name.endswith("_stories.py")]
        del words[:2]
    sys.dont_write_bytecode = True
    os.umask(0o022)
    loader = unittest.TestLoader()
    if words == ["--list"]:
        for story in stories(loader.loadTestsFromNames(modules)):
            print(story.id())
        return 0
    if len(words) != 1:
        sys.exit(__doc__)
    result = unittest.TextTestRunner(verbosity=2).run(loader.loadTestsFromName(words[0]))
    if result.skipped:
        print(f"{words[0]}: Skipped\n{result.skipped[0][1]}")
        return SKIPPED
    return 0 if result.wasSuccessful() and result.testsRun == 1 else 1


if __name__ == "__main__":
    sys.exit(main())
