# SPDX-License-Identifier: Apache-2.0
"""Operations on a working copy while the real daemon runs, with the real init script."""

import os
import signal

from harness import describe, run
from machine import DATA, DEREGISTER, FENNIK, LIVE, SCRIPT, DaemonStory

REGISTER = (FENNIK, "--register-namespace", "sample/a", "--name", "sample", "--username", "al")


class RealDaemon(DaemonStory):
    def owners_and_modes(self):
        """Those of the repository, without the files that come and go with the daemon."""
        paths = (DATA, LIVE, LIVE + "/repository.db")
        return [describe(path).split()[:2] for path in paths]

    def test_runs_again_on_the_new_repository(self):
        self.assert_silent_success(run(DEREGISTER))
        self.assertEqual(self.namespaces(), ["sample/b"])
        self.assert_nothing_left()

    def test_runs_again_on_the_old_one_after_a_failed_removal(self):
        self.play_rm('"$REAL" "$@"; exit 1')
        self.assertEqual(run(DEREGISTER).status, 28)
        self.assertEqual(self.namespaces(), ["sample/a", "sample/b"])
        self.assert_nothing_left()

    def test_runs_again_after_a_failed_rename(self):
        result = self.with_calls("rename:error=EIO:when=2")
        self.assertEqual(result.status, 27)
        self.assertEqual(self.namespaces(), ["sample/a", "sample/b"])
        self.assert_nothing_left()

    def test_runs_again_after_a_refusal(self):
        result = run([FENNIK, "--deregister-namespace", "x", "--name", "sample"])
        self.assert_fennik_failure(result, 7, "Namespace x must begin with sample.")
        self.assertEqual(self.namespaces(), ["sample/a", "sample/b"])

    def test_that_was_killed_has_lost_nothing(self):
        self.assert_silent_success(
            run([FENNIK, "--register-namespace", "sample/c", "--name", "sample",
                 "--username", "al"])
        )
        with open(DATA + "/owcimomd.pid", encoding="ascii") as file:
            os.kill(int(file.read()), signal.SIGKILL)
        self.wait_for_the_end_of("owcimomd")
        self.assert_silent_success(run(DEREGISTER))
        self.assertEqual(run([SCRIPT, "start"]).status, 0)
        self.assertEqual(self.namespaces(), ["sample/b", "sample/c"])

    def test_keeps_every_owner_and_mode_over_twenty_cycles(self):
        before = self.owners_and_modes()
        for cycle in range(20):
            with self.subTest(cycle=cycle):
                self.assert_silent_success(run(DEREGISTER))
                self.assertEqual(self.owners_and_modes(), before)
                self.assert_silent_success(run(REGISTER))
                self.assertEqual(self.owners_and_modes(), before)
        self.assertEqual(run([SCRIPT, "stop"]).status, 0)
        account = os.stat(DATA).st_uid
        for parent, directories, files in os.walk(DATA):
            for name in [*directories, *files]:
                self.assertEqual(os.lstat(os.path.join(parent, name)).st_uid, account, name)
