# SPDX-License-Identifier: Apache-2.0
"""The repository is locked while an operation works on a copy of it. A daemon that is started
meanwhile does not come up, or the operation is refused. No change to the repository is lost."""

import fcntl
import os
import re
import time

from harness import PATIENCE, read, run, write
from machine import COPY, DATA, DEREGISTER, FENNIK, LIVE, PLAY, SCRIPT, DaemonStory, MachineStory

HAND = PLAY + "/hand"
# Starts the daemon by hand and records the status.
START = f"{SCRIPT} start > {HAND}.out 2>&1; echo $? > {HAND}"
# The bytes of a file that SQLite locks for reading: https://www.sqlite.org/src/file/src/os.h
SHARED_FIRST, SHARED_SIZE = 0x40000002, 510


class DaemonStartedByHand(DaemonStory):
    def assert_nothing_is_lost(self, *namespaces):
        """The daemon serves the live repository, and what it stores survives a restart."""
        self.assertEqual(self.namespaces(), list(namespaces))
        self.assert_nothing_left()
        words = ["--register-namespace", "sample/c", "--name", "sample", "--username", "al"]
        self.assert_silent_success(run([FENNIK, *words]))
        for command in ("stop", "start"):
            self.assertEqual(run([SCRIPT, command]).status, 0)
        self.assertEqual(self.namespaces(), [*namespaces, "sample/c"])

    def assert_did_not_come_up(self):
        self.assertNotEqual(read(HAND), b"0\n", read(HAND + ".out"))
        self.assertIn(b"another process holds the repository", read(HAND + ".out"))

    def test_before_the_copy_makes_the_operation_fail(self):
        os.rename(SCRIPT, SCRIPT + ".inner")
        self.addCleanup(os.rename, SCRIPT + ".inner", SCRIPT)
        script = f'{SCRIPT}.inner "$@"; status=$?\n'
        script += f'if [ "$1" = stop ] && [ ! -e {HAND} ]; then {SCRIPT}.inner start > /dev/null 2>&1\n'
        script += f"echo $? > {HAND}; fi\nexit $status\n"
        write(SCRIPT, ("#!/bin/sh\n" + script).encode())
        os.chmod(SCRIPT, 0o755)
        result = run(DEREGISTER)
        self.assertEqual(read(HAND), b"0\n")
        pid = int(read(DATA + "/owcimomd.pid"))
        self.assert_fennik_failure(
            result, 26,
            f"Unable to copy the repository directory. /bin/cp -pR {LIVE} {COPY} Failed with "
            "status message: not run\n and output Nobody else can be kept from the repository: it "
            f"is in use by process {pid} (owcimomd)\n",
            cause="another process holds the repository; stop owcimomd",
        )
        self.assert_nothing_is_lost("sample/a", "sample/b")

    def test_while_the_copy_is_made_does_not_come_up(self):
        self.play("cp", f'{START}; exec "$REAL" "$@"')
        self.assert_silent_success(run(DEREGISTER))
        self.assert_did_not_come_up()
        self.assert_nothing_is_lost("sample/b")

    def test_between_the_copy_and_the_swap_does_not_come_up(self):
        self.play("cp", f'"$REAL" "$@" || exit; {START}')
        self.assert_silent_success(run(DEREGISTER))
        self.assert_did_not_come_up()
        self.assert_nothing_is_lost("sample/b")

    def test_just_after_the_swap_does_not_come_up(self):
        self.play_rm(f'{START}; exec "$REAL" "$@"')
        self.assert_silent_success(run(DEREGISTER))
        self.assert_did_not_come_up()
        self.assert_nothing_is_lost("sample/b")

    def test_when_the_backup_is_gone_does_not_come_up(self):
        self.play_rm(f'"$REAL" "$@"; {START}')
        self.assert_silent_success(run(DEREGISTER))
        self.assert_did_not_come_up()
        self.assert_nothing_is_lost("sample/b")

    def test_that_asks_for_the_lock_when_all_is_over_never_serves_the_old_one(self):
        """The daemon has opened the old repository before the swap."""
        self.need_strace()
        self.assertEqual(run([SCRIPT, "stop"]).status, 0)
        late = f"strace -f -qq -o {PLAY}/late -P {LIVE}/repository.db " \
               f"-e inject=fcntl:delay_enter=4000000:when=1 {SCRIPT} start"
        begin = f"({late} > {HAND}.out 2>&1; echo $? > {HAND}) < /dev/null > /dev/null 2>&1 &"
        wait = f"until grep -q F_SETLK {PLAY}/late; do sleep 0.1; done"
        self.play("cp", f'"$REAL" "$@" || exit; {begin}\n{wait}')
        self.assert_silent_success(run(DEREGISTER))
        deadline = time.monotonic() + PATIENCE
        while not (os.path.exists(HAND) and read(HAND)):
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.1)
        self.assertNotEqual(read(HAND), b"0\n", read(HAND + ".out"))
        self.assertEqual(run([SCRIPT, "start"]).status, 0)
        self.assert_nothing_is_lost("sample/b")

    def test_before_a_swap_that_is_undone_does_not_come_up(self):
        self.play_rm(f"{START}; exit 1")
        self.assertEqual(run(DEREGISTER).status, 28)
        self.assert_did_not_come_up()
        self.assert_nothing_is_lost("sample/a", "sample/b")


class Others(MachineStory):
    def test_who_read_the_repository_are_named(self):
        with open(LIVE + "/repository.db", "rb") as file:
            fcntl.lockf(file, fcntl.LOCK_SH, SHARED_SIZE, SHARED_FIRST)
            result = run(DEREGISTER)
        name = read("/proc/self/comm").decode().strip()
        self.assertEqual((result.status, result.out), (26, ""))
        self.assertRegex(
            result.err,
            rf"the repository: it is in use by process {os.getpid()} \({re.escape(name)}\)\n",
        )
        self.assert_as_before()
        self.not_running()
        self.assert_silent_success(run(DEREGISTER))
        self.assert_done()
