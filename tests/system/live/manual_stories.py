# SPDX-License-Identifier: Apache-2.0
"""The commands in the manual and in the manual page work exactly as they are written there."""

import re

from harness import read
from live import SANDBOX, LiveStory

SOURCE = SANDBOX[: -len("/scripts/sandbox")]
STAGE = "/var/opt/tarvo/stage"


def text_of(path):
    return read(f"{SOURCE}/{path}").decode()


class Manual(LiveStory):
    def type_in(self, commands, *others):
        """Runs commands in a tree of the sandbox instead of /tmp/stage. Returns what they print."""
        self.assertIn("/tmp/stage", "".join(commands))
        script = "\n".join([*commands, *others]).replace("/tmp/stage", STAGE)
        return self.shell("set -e\n" + script)

    def test_commands_that_make_a_tree_make_one(self):
        text = text_of("docs/manual.md")
        blocks = [block for block in re.findall(r"(?:^    .*\n)+", text, re.M)
                  if "kov-setup --dest-dir" in block]
        self.assertEqual(len(blocks), 1)
        out = self.type_in([line.strip() for line in blocks[0].splitlines()])
        self.assertEqual(out, f'kov-setup: "{STAGE}/var/opt/tarvo/kov/openwbem/repository" is '
                         "ready.\n")

    def test_examples_of_the_manual_page_work(self):
        examples = text_of("packaging/man/fennik.8").split(".SH EXAMPLES")[1].split(".SH ")[0]
        blocks = [block.replace("\\e\n", "\\\n") for block in
                  re.findall(r"^\.nf\n(.*?)^\.fi\n", examples, re.M | re.S)]
        self.assertEqual(len(blocks), 2)
        providers = "mkdir -p /opt/tarvo/share; printf '' > /opt/tarvo/share/providers.list"
        listed = "fennik --list-namespaces --name sample"
        here = blocks[1].replace("/opt/sample/", "/opt/tarvo/").replace(
            "fennik --deregister ", listed + "\nfennik --deregister ")
        out = self.type_in([blocks[0]], providers, here, "fennik --list-registered-products")
        self.assertEqual(
            out, f'kov-setup: "{STAGE}/var/opt/tarvo/kov/openwbem/repository" is ready.\n'
            "sample\nsample/a\nsample/b\n")
