# SPDX-License-Identifier: Apache-2.0
"""The tool is killed at every point of a swap. The live repository is then the old one or the new
one, and complete; or there is none, and the next run says how to put it back."""

import os
import shutil

from harness import read, run
from machine import BACKUP, COPY, DATA, FENNIK, KEPT, LIVE, SAVED, MachineStory

MESSAGE = (
    f'The repository directory "{LIVE}" does not exist: an earlier run was interrupted while it '
    f'replaced the repository. To put it back, rename "{BACKUP}" to "{LIVE}"'
)


class Death(MachineStory):
    def setUp(self):
        super().setUp()
        self.old = read(SAVED + "/repository/repository.db")
        self.outcomes = set()

    def look(self):
        """Returns what the next run finds: "old", "new" or "none". Repairs "none" as it is told."""
        self.not_running()
        result = run([FENNIK, "--list-namespaces", "--name", "sample"])
        if result.status == 0:
            outcome = {2: "old", 1: "new"}[len(result.out.splitlines())]
            if outcome == "old":
                self.assertEqual(read(LIVE + "/repository.db"), self.old)
            return outcome
        self.assert_other_failure(result, MESSAGE)
        os.rename(BACKUP, LIVE)
        self.assertEqual(read(LIVE + "/repository.db"), self.old)
        return "none"

    def clean_up_as_told(self):
        """Runs the operation until it succeeds, and removes what its messages name."""
        told = []
        for _ in range(4):
            self.not_running()
            left = self.left()
            result = run([FENNIK, "--deregister-namespace", "sample/b", "--name", "sample"])
            if result.status == 0:
                self.assertEqual(os.listdir(DATA), ["repository"])
                return
            told = [path for path in (COPY, BACKUP) if f" {path} :" in result.err
                    or f'"{path}" is in the way' in result.err]
            self.assertTrue(told, result.err)
            self.assertTrue(set(told) <= left)
            for path in told:
                shutil.rmtree(path)
        self.fail(f"left-overs remain: {told}")

    def left(self):
        return {os.path.join(DATA, name) for name in os.listdir(DATA)}

    def killed_at_every(self, call):
        for number, result in self.every(call, "signal=KILL"):
            with self.subTest(call=call, number=number):
                self.assertEqual(result.status, -9)
                self.assertLessEqual(self.left(), {LIVE, COPY, BACKUP, KEPT})
                self.outcomes.add(self.look())
                self.clean_up_as_told()

    def test_at_the_renames(self):
        self.killed_at_every("rename")
        self.assertEqual(self.outcomes, {"old", "none"})

    def test_at_the_syncs(self):
        self.killed_at_every("fsync")
        self.killed_at_every("fdatasync")
        self.assertEqual(self.outcomes, {"old", "new"})

    def test_while_second_names_are_made_and_dropped(self):
        for call in ("mkdirat", "fchown", "linkat", "unlinkat"):
            self.killed_at_every(call)
        self.assertEqual(self.outcomes, {"old", "new"})

    def test_while_the_copy_is_written(self):
        self.killed_at_every("pwrite64")
        self.killed_at_every("unlink")
        self.assertEqual(self.outcomes, {"old"})

    def test_when_it_waits_for_other_programs(self):
        # The programs are the init script (twice), cp and rm. Each runs or has just ended.
        self.killed_at_every("waitid")
        self.killed_at_every("wait4")
        self.assertEqual(self.outcomes, {"old", "new"})

    def test_while_a_failed_removal_is_undone(self):
        self.play_rm('"$REAL" "$2/repository.db"; exit 1')
        for call, first in (("renameat", 1), ("rename", 3), ("rename", 4)):
            with self.subTest(call=call, first=first):
                self.reset()
                result = self.with_calls(f"{call}:signal=KILL:when={first}")
                self.assertEqual(result.status, -9)
                # Until the files are put back, the live repository is the new one, and complete.
                self.assertEqual(self.look(), "none" if first == 4 else "new")
