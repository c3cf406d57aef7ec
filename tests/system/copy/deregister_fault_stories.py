# SPDX-License-Identifier: Apache-2.0
"""Every call on a file of the product fails once while the product is deregistered. Each time
everything is as before."""

from deregister_stories import WholeProduct
from file_walk import FileWalk
from harness import write


class EveryFileCall(FileWalk, WholeProduct):
    def setUp(self):
        super().setUp()
        write(self.privilege_file("disk"), b"unpriv_user { nobody } # edited by hand\n")
        write(self.start_file("fan"), b"edited by hand, too\n")
        self.before = self.tree.state()
        self.listed_before = self.listed()

    def assert_done(self):
        """The last run, in which no call failed, has deregistered the product."""
        self.assertEqual(self.listed(), "")

    def assert_as_before(self, file, result):
        self.assertEqual(self.tree.state(), self.before)
        self.assertEqual(self.listed(), self.listed_before)

    def fail_every(self, calls, error, least):
        files = [path for name in ("disk", "fan", "proc")
                 for path in (self.privilege_file(name), self.start_file(name))]
        files += [self.tree.snippet("sample"), self.tree.users_file("sample")]
        self.walk(calls, error, files, "--deregister", "--name", "sample", least=least)

    def test_opening(self):
        self.fail_every("open,openat", "EACCES", 5)

    def test_reading(self):
        self.fail_every("read", "EIO", 5)

    def test_removing(self):
        self.fail_every("unlink,unlinkat,rename,renameat,renameat2", "EIO", 6)
