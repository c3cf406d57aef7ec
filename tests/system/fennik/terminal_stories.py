# SPDX-License-Identifier: Apache-2.0
"""Names that would control the terminal of their reader."""

import os

from harness import Story, read, run, run_at_terminal, write

# Sequences that erase the screen, overwrite the line and change the title, of seven and of eight
# bits.
NAME = "x\x1b[2J\rgone\x1b]0;t\x07\x08\x7f\u009b31m"
RAW = NAME.encode() + b"\x9b1m"
SHOWN = rb"x\x1b[2J\rgone\x1b]0;t\x07\x08\x7f\xc2\x9b31m\x9b1m".decode()


class Terminal(Story):
    def assert_shown(self, text):
        self.assertIn(SHOWN, text)
        self.assertEqual([c for c in text if (c < " " and c not in "\n\t") or "\x7f" <= c < "\xa0"],
                         [])

    def at_terminal(self, *words):
        """What the tool writes to a terminal."""
        return run_at_terminal(self.tree.command(*words))[1].decode("utf-8", "surrogateescape")

    def test_message_shows_them(self):
        for words in (
            [b"--set-owcimomd-config", b"/" + RAW, b"--name", b"sample"],
            [b"--register-providers", b"/" + RAW, b"--name", b"sample"],
            [b"--" + RAW],
            [b"--kov-build-system-dest-dir", b"/" + RAW, b"--list-registered-products"],
        ):
            with self.subTest(words=words):
                self.assert_refusal_shows(words)

    def assert_refusal_shows(self, words):
        result = run([os.fsencode(word) for word in self.tree.command()] + words)
        self.assertNotEqual(result.status, 0)
        self.assert_shown(result.err)

    def test_entry_of_a_list_shows_them(self):
        self.register()
        write(self.tree.directory + "/list", b"oop1," + RAW + b",b\n")
        result = self.fennik("--register-providers", self.tree.directory + "/list", "--name",
                             "sample")
        self.assertNotEqual(result.status, 0)
        self.assert_shown(result.err)

    def test_log_shows_them(self):
        log = self.tree.directory + "/log"
        run([os.fsencode(word) for word in self.tree.command("--log-file", log)]
            + [b"--list-namespaces", b"--name", RAW])
        self.assert_shown(read(log).decode("utf-8", "surrogateescape"))

    def test_listing_shows_them_at_a_terminal_and_leaves_them_for_a_program(self):
        # A product's name may have these.
        name = "x\rgone\x7f\u009b31m"
        self.register(name)
        self.assertEqual(self.fennik("--list-registered-products").out, name + "\n")
        self.assertEqual(self.at_terminal("--list-registered-products"),
                         r"x\rgone\x7f\xc2\x9b31m" + "\n")

    def test_configuration_is_printed_byte_for_byte(self):
        content = "key = \x1b[2J\x07\n"
        self.assert_silent_success(
            self.fennik("--set-owcimomd-config", "-", "--name", "sample", stdin=content))
        self.assertEqual(self.at_terminal("--get-owcimomd-config", "--name", "sample"), content)
