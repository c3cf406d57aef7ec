# SPDX-License-Identifier: Apache-2.0
"""A restore whose n-th system call fails, for every n. The live repository is as it was, to the
byte, and only the documented files stay."""

import os
import re
import shutil

from harness import is_sanitized, read, run
from machine import DATA, FENNIK, KEPT, PLAY, SAVED, TRACE
from saved_state import (
    RESTORE, SETTINGS, STATE_FILE, StateStory, own_file, snippet, start_file, users_file,
)

# The files that a failed restore may leave, with the reasons. No other file may stay.
LEFT_OVERS = {
    users_file("one"): "registering a product is complete in itself and pushes no undo step",
    users_file("two"): "likewise, of the product that came after it",
    snippet("one"): "setting a snippet replaces what was there and pushes no undo step",
    snippet("two"): "likewise, of the product that came after it",
}
for path in (KEPT, KEPT + "/repository.db"):
    LEFT_OVERS[path] = "it could not be opened to be removed: the next run replaces it"
for product in ("one", "two"):
    for path in (own_file(product, "disk"),
                 *(start_file(product, name) for name in ("disk", "fan", "proc"))):
        LEFT_OVERS[path] = "its writing failed: the undo step is pushed once a file is whole"


class Walk(StateStory):
    def setUp(self):
        super().setUp()
        self.make_whole_product("one")
        self.make_whole_product("two")
        self.saved, _ = self.save()
        self.install_anew()
        shutil.copytree(DATA, SAVED, copy_function=shutil.copy2)
        owner = os.stat(DATA)
        os.chown(SAVED, owner.st_uid, owner.st_gid)
        shutil.copytree(SETTINGS, PLAY + "/settings", symlinks=True)
        self.before = self.everything()

    def walk(self, call, error):
        """Fails each of the tool's calls of that name in turn. Each run fails or is complete."""
        self.need_strace()
        number = 1
        failures = 0
        while True:
            self.put_back()
            result = self.with_calls(f"{call}:error={error}:when={number}",
                                     argv=(FENNIK, RESTORE, STATE_FILE))
            if "(INJECTED)" not in read(TRACE).decode(errors="replace"):
                self.assertEqual(result.status, 0, result)
                break
            with self.subTest(call=call, number=number):
                if result.status == 0:
                    self.assert_complete()
                else:
                    failures += 1
                    self.assert_as_documented(result)
            number += 1
        self.assertGreater(failures, 0)
        print(f"{call}: {failures} injected failures of {number - 1} calls")

    def assert_as_documented(self, result):
        after = self.everything()
        left = {path for path in after if path not in self.before}
        self.assertLessEqual(left, set(LEFT_OVERS), result.err[-1000:])
        self.assertEqual({path: after.get(path) for path in self.before}, self.before,
                         result.err[-1000:])
        for name in ("one", "two"):
            if snippet(name) in left:
                self.assertIn(users_file(name), left)
        halves = [path for path in left if "/privileges/" in path]
        self.assertLessEqual(len(halves), 1)
        for path in halves:
            self.assertRegex(result.err, f"(write to|close of) {re.escape(path)} failed")

    def assert_complete(self):
        """The failure had no effect: everything is restored."""
        self.assertEqual(self.save(PLAY + "/again")[0], self.saved)

    def put_back(self):
        """Puts the machine back into the state after the new installation."""
        for place, kept in ((DATA, SAVED), (SETTINGS, PLAY + "/settings")):
            for name in os.listdir(place):
                path = os.path.join(place, name)
                if os.path.isdir(path) and not os.path.islink(path):
                    shutil.rmtree(path)
                else:
                    os.unlink(path)
            run(["cp", "-a", kept + "/.", place])
        for path, description in self.before.items():
            owner = description.split()[1].split(":")
            os.chown(path, *map(int, owner), follow_symlinks=False)
        self.not_running()

    def test_opening_files(self):
        self.walk("openat", "EMFILE")

    def test_writing(self):
        if is_sanitized(FENNIK):
            self.skipTest("the sanitizer writes to pipes of its own and aborts when it cannot")
        self.walk("write", "ENOSPC")

    def test_writing_the_repository(self):
        self.walk("pwrite64", "ENOSPC")

    def test_syncing(self):
        self.walk("fsync", "EIO")
        self.walk("fdatasync", "EIO")

    def test_renaming(self):
        self.walk("rename", "EACCES")
