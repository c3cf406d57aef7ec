#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""That every installed program is hardened: what the linker and the compiler add shows in its file.

usage: hardening_test.py COMPILE_COMMANDS

KOV_INSTALLED names the installed tree."""

import glob
import json
import os
import re
import subprocess
import sys
import unittest

INSTALLED = os.environ.get("KOV_INSTALLED", "")


def programs():
    files = glob.glob(INSTALLED + "/opt/tarvo/kov/*bin/*")
    return [path for path in files if open(path, "rb").read(4) == b"\x7fELF"]


def printed(*argv):
    return subprocess.run(argv, check=True, stdout=subprocess.PIPE, text=True).stdout


def imported(path):
    """The names that a program takes from its libraries, without their versions."""
    return set(re.findall(r"\bUND (\w+)", printed("readelf", "--dyn-syms", "-W", path)))


class Hardening(unittest.TestCase):
    def each(self):
        found = programs()
        self.assertGreaterEqual(len(found), 6, found)
        return found

    def test_programs_are_position_independent(self):
        for path in self.each():
            self.assertRegex(printed("readelf", "-hW", path), r"Type: +DYN", path)
            self.assertRegex(printed("readelf", "-dW", path), r"FLAGS_1.*\bPIE\b", path)

    def test_relocations_are_done_at_the_start_and_then_read_only(self):
        for path in self.each():
            self.assertRegex(printed("readelf", "-lW", path), r"\bGNU_RELRO\b", path)
            self.assertRegex(printed("readelf", "-dW", path), r"\bBIND_NOW\b", path)

    def test_stack_is_not_executable(self):
        for path in self.each():
            stack = re.search(r"GNU_STACK.*", printed("readelf", "-lW", path))[0]
            self.assertNotIn("E", stack.split()[-2], path + ": " + stack)

    def test_stack_is_protected(self):
        for path in self.each():
            self.assertIn("__stack_chk_fail", imported(path), path)

    def test_library_calls_are_checked(self):
        # A program that hands the library no array of known length has no such call; these do.
        for path in self.each():
            if os.path.basename(path) in ("fennik", "owcimomd", "owmofc"):
                checked = [name for name in imported(path) if re.fullmatch(r"__\w+_chk", name)]
                self.assertTrue(checked, path)

    def test_indirect_jumps_land_on_marked_places(self):
        if os.uname().machine != "x86_64":
            self.skipTest("only x86 has these marks")
        for path in self.each():
            # Each function that can be called indirectly, main() among them, begins with one.
            code = printed("objdump", "-d", "--no-show-raw-insn", path)
            self.assertGreater(code.count("endbr64"), 20, path)

    def test_every_source_is_compiled_with_what_does_not_show_in_the_file(self):
        with open(sys.argv[1], encoding="utf-8") as text:
            commands = json.load(text)
        self.assertGreater(len(commands), 100)
        for entry in commands:
            for flag in ("-D_GLIBCXX_ASSERTIONS", "-fstack-clash-protection"):
                self.assertIn(flag, entry["command"], entry["file"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
