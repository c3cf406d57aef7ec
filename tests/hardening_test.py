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


class Hardening(unittest.TestCase):
    def each(self):
        found = programs()
        self.assertGreaterEqual(len(found), 6, found)
        for path in found:
            with self.subTest(program=os.path.basename(path)):
                yield path

    def test_programs_are_position_independent(self):
        for path in self.each():
            self.assertRegex(printed("readelf", "-hW", path), r"Type: +DYN")
            self.assertRegex(printed("readelf", "-dW", path), r"FLAGS_1.*\bPIE\b")

    def test_relocations_are_done_at_the_start_and_then_read_only(self):
        for path in self.each():
            self.assertRegex(printed("readelf", "-lW", path), r"\bGNU_RELRO\b")
            self.assertRegex(printed("readelf", "-dW", path), r"\bBIND_NOW\b")

    def test_stack_is_not_executable(self):
        for path in self.each():
            stack = re.search(r"GNU_STACK.*", printed("readelf", "-lW", path))[0]
            self.assertNotIn("E", stack.split()[-2], stack)

    def test_stack_is_protected_and_library_calls_are_checked(self):
        for path in self.each():
            symbols = printed("readelf", "-sW", "--dyn-syms", path)
            self.assertIn("__stack_chk_fail", symbols)
            self.assertRegex(symbols, r"__\w+_chk\b(?<!__stack_chk_fail)")

    def test_indirect_jumps_land_on_marked_places(self):
        if os.uname().machine != "x86_64":
            self.skipTest("only x86 has these marks")
        for path in self.each():
            # Each function that can be called indirectly, main() among them, begins with one.
            code = printed("objdump", "-d", "--no-show-raw-insn", path)
            self.assertGreater(code.count("endbr64"), 20)

    def test_every_source_is_compiled_with_what_does_not_show_in_the_file(self):
        with open(sys.argv[1], encoding="utf-8") as text:
            commands = json.load(text)
        self.assertGreater(len(commands), 100)
        for entry in commands:
            for flag in ("-D_GLIBCXX_ASSERTIONS", "-fstack-clash-protection"):
                self.assertIn(flag, entry["command"], entry["file"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
