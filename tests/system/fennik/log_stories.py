# SPDX-License-Identifier: Apache-2.0
"""A debug log that cannot be written any more: the operation fails and is undone, or it is
complete. copy/copy_log_stories.py has the operations on a working copy."""

import shutil

from harness import write
from log_walk import LogWalk
from providers import USER, Provider, ProviderStory, process, schema, without_repository_file


class EveryLogLine(LogWalk, ProviderStory):
    def setUp(self):
        super().setUp()
        self.need_strace()
        self.assert_used(Provider("disk", privileges=USER), Provider("fan"))
        write(self.tree.snippet("sample"), b"sample.key = 1\n")
        self.saved = self.tree.directory + "/saved"
        shutil.copytree(self.tree.prefix, self.saved, symlinks=True)
        self.before = self.tree.state()

    def walk(self, *arguments, least, changes=True, **options):
        result = self.fennik(*arguments, stdin=options.get("stdin", ""))
        self.assertEqual((result.status, result.err), (0, ""))
        self.after = without_repository_file(self.tree.state())
        self.assertEqual(self.after != without_repository_file(self.before), changes)
        self.reset()
        self.walk_the_log(*arguments, output=result.out, least=least, **options)

    def reset(self):
        shutil.rmtree(self.tree.prefix)
        shutil.copytree(self.saved, self.tree.prefix, symlinks=True)

    def assert_done(self):
        self.assertEqual(without_repository_file(self.tree.state()), self.after)
        self.reset()

    def assert_as_before(self):
        self.assertEqual(self.tree.state(), self.before)

    def test_of_registering_a_product(self):
        self.walk("--register", "--name", "other", "--username", "u", least=4)

    def test_of_setting_a_configuration(self):
        self.walk("--set-owcimomd-config", "-", "--name", "sample", stdin="a = b\n", least=3)

    def test_of_removing_a_configuration(self):
        self.walk("--remove-owcimomd-config", "--name", "sample", least=2)

    def test_of_registering_namespaces(self):
        self.walk("--register-namespace", "sample/a", "--register-namespace", "sample/b",
                  "--name", "sample", "--username", "alice", least=15)

    def test_of_replacing_providers(self):
        replacement = (
            Provider("disk", privileges="unpriv_user { daemon }\n"),
            Provider("proc", registration=process("proc"), mof=schema("proc")),
        )
        for provider in replacement:
            provider.write_below(self.tree.prefix)
        shutil.rmtree(self.saved)
        shutil.copytree(self.tree.prefix, self.saved, symlinks=True)
        self.before = self.tree.state()
        self.walk("--register-providers", "-", "--name", "sample", least=30,
                  stdin="".join(provider.line() for provider in replacement))

    def test_of_listings(self):
        for operation in ("products", "namespaces", "providers"):
            words = {"products": ["--list-registered-products"]}.get(
                operation, ["--list-" + operation, "--name", "sample"])
            with self.subTest(operation=operation):
                self.walk(*words, changes=False, least=3)
        self.walk("--get-owcimomd-config", "--name", "sample", changes=False, least=2)
