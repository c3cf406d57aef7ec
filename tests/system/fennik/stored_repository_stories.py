# SPDX-License-Identifier: Apache-2.0
"""Repositories that earlier versions have made (scripts/store-repository) are brought up to date, and
work."""

import glob
import gzip
import os
import re
import shutil

from harness import INSTALLED, KOV_SETUP, Story, read, run, write

SOURCE = os.path.dirname(os.path.abspath(__file__)) + "/../../.."
STORED = sorted(glob.glob(SOURCE + "/tests/data/repository/*.db.gz"))


class StoredRepository(Story):
    def setUp(self):
        super().setUp()
        # The sample's scripts use the programs in the tree.
        shutil.copytree(INSTALLED, self.tree.prefix, symlinks=True, dirs_exist_ok=True)
        self.file = self.tree.repository + "/repository.db"

    def install_sample(self):
        result = run([SOURCE + "/examples/sample/install.sh"],
                     env=dict(os.environ, STAGE=self.tree.prefix))
        self.assertEqual((result.status, result.err), (0, ""))

    def kov_setup(self):
        result = run([KOV_SETUP, "--dest-dir", self.tree.prefix])
        self.assertEqual((result.status, result.err), (0, ""))
        return result.out

    def objects(self):
        """The objects of the repository. Of the qualifier types in the product's namespaces only
        the names: they stay as they were when it registered."""
        result = run([SOURCE + "/scripts/state", self.tree.prefix])
        self.assertEqual((result.status, result.err), (0, ""))
        lines = [line for line in result.out.splitlines() if " /etc/opt" not in line]
        return {re.sub(r"^(sample/.*: qualifier type \S+) .*", r"\1", line) for line in lines}

    def test_there_is_one_of_the_first_format(self):
        self.assertIn("format-1.db.gz", map(os.path.basename, STORED))

    def test_becomes_what_this_version_makes(self):
        self.install_sample()
        fresh = self.objects()
        ready = f'kov-setup: "{self.tree.repository}" is ready.\n'
        for stored in STORED:
            with self.subTest(stored=os.path.basename(stored)):
                write(self.file, gzip.decompress(read(stored)))
                self.kov_setup()
                self.assertEqual(fresh - self.objects(), set())
                before = read(self.file)
                self.assertEqual(self.kov_setup(), ready)
                self.assertEqual(read(self.file), before)

    def test_works(self):
        self.install_sample()
        for stored in STORED:
            with self.subTest(stored=os.path.basename(stored)):
                write(self.file, gzip.decompress(read(stored)))
                self.kov_setup()
                self.assertEqual(self.fennik("--list-registered-products").out, "sample\n")
                providers = self.fennik("--list-providers", "--name", "sample")
                self.assertEqual((providers.status, providers.out.count("\n")), (0, 3))
                self.install_sample()
                self.assert_silent_success(
                    self.fennik("--register", "--name", "another", "--username", "alice"))
                os.unlink(self.tree.users_file("another"))
