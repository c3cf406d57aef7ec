# SPDX-License-Identifier: Apache-2.0
"""Every call on a privilege file fails once while a product's providers are replaced. Each time
everything is as before, including privilege files that were edited by hand."""

import os
import shutil

from file_walk import FileWalk
from harness import write
from providers import NOTHING, USER, Provider, ProviderStory, process, schema, without_repository_file

NAMES = ("disk", "fan", "proc", "more")


class EveryFileCall(FileWalk, ProviderStory):
    def setUp(self):
        super().setUp()
        self.need_strace()
        self.assert_used(
            Provider("disk", privileges=USER), Provider("fan"),
            Provider("proc", registration=process("proc"), mof=schema("proc")),
        )
        write(self.privilege_file("disk"), b"unpriv_user { nobody } # edited by hand\n")
        write(self.start_file("fan"), b"edited by hand, too\n")
        replacement = (
            Provider("disk", privileges="unpriv_user { daemon }\n"),
            Provider("more", privileges=USER),
            Provider("proc", registration=process("proc")),
        )
        for provider in replacement:
            provider.write_below(self.tree.prefix)
        self.list = "".join(provider.line() for provider in replacement)
        self.before = self.tree.state()
        self.listed_before = self.listed()
        self.saved = self.tree.directory + "/saved"
        shutil.copytree(self.tree.prefix, self.saved, symlinks=True)
        self.assertEqual(self.use_list(self.list), NOTHING)
        self.after = without_repository_file(self.tree.state())
        self.reset()

    def reset(self):
        shutil.rmtree(self.tree.prefix)
        shutil.copytree(self.saved, self.tree.prefix, symlinks=True)
        self.assertEqual(self.tree.state(), self.before)

    def assert_done(self):
        self.assertEqual(without_repository_file(self.tree.state()), self.after)
        self.reset()

    def assert_as_before(self, file, result):
        """Everything is as before, apart from an incomplete new privilege file, which stays. The
        message names it."""
        path = file[0]
        if path is not None and path not in self.before and os.path.exists(path):
            self.assertIn(path, result.err)
            os.unlink(path)
        self.assertEqual(self.tree.state(), self.before)
        self.assertEqual(self.listed(), self.listed_before)

    def fail_every(self, calls, error, least, overcome=()):
        files = [path for name in NAMES for path in (self.privilege_file(name), self.start_file(name))]
        self.walk(calls, error, files, "--register-providers", "-", "--name", "sample",
                  least=least, overcome=overcome, stdin=self.list)

    def test_opening_and_creating(self):
        self.fail_every("open,openat", "EACCES", 9)

    def test_reading(self):
        self.fail_every("read", "EIO", 4)

    def test_writing(self):
        self.fail_every("write", "ENOSPC", 5)

    def test_closing(self):
        """Closing a file that was read may fail."""
        self.fail_every("close", "EIO", 5, overcome=("close",))

    def test_removing(self):
        self.fail_every("unlink,unlinkat", "EIO", 4)

    def test_committing(self):
        """The commit writes and syncs the journal and the repository."""
        repository = self.tree.repository + "/repository.db"
        for calls, least in (("fdatasync", 2), ("pwrite64", 2)):
            self.walk(calls, "EIO", [repository, repository + "-journal"],
                      "--register-providers", "-", "--name", "sample", least=least,
                      stdin=self.list)
