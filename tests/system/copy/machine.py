# SPDX-License-Identifier: Apache-2.0
"""Shared by the stories on a machine of their own: an init script that follows a plan, replaced
programs, whole states, and system calls that fail or kill.

Runs inside the sandbox only (run_copy_story.py)."""

import os
import re
import shutil
import subprocess
import time

import harness
from harness import Result, describe, read, run, write

FENNIK = "/opt/tarvo/kov/bin/fennik"
SCRIPT = "/opt/tarvo/kov/sbin/tarvo-owcimomd_init"
REAL_SCRIPT = SCRIPT + ".real"  # while a stand-in is in its place
DATA = "/var/opt/tarvo/kov/openwbem"
LIVE = DATA + "/repository"
COPY = DATA + "/repository-copy_QLkJ235"
BACKUP = DATA + "/repository-back_LKjs2354"
KEPT = BACKUP + "-files"
PLAY = "/var/opt/tarvo/script"
SAVED = "/var/opt/tarvo/saved"
TRACE = PLAY + "/trace"

DEREGISTER = (FENNIK, "--deregister-namespace", "sample/a", "--name", "sample")


class MachineStory(harness.Story):
    """A machine on which the product "sample" owns the namespaces sample/a and sample/b."""

    def setUp(self):  # no staged tree
        self.assertIn("KOV_SANDBOX", os.environ, "this story changes the machine that it runs on")
        os.environ["ASAN_OPTIONS"] = "detect_leaks=0"
        os.mkdir(PLAY)
        os.chmod(PLAY, 0o777)
        self.plan(3, 3, 3)
        words = [FENNIK, "--register-namespace", "sample/a", "--register-namespace", "sample/b"]
        self.assert_silent_success(run([FENNIK, "--register", "--name", "sample", "--username", "al"]))
        self.assert_silent_success(run([*words, "--name", "sample", "--username", "al"]))
        shutil.copytree(DATA, SAVED, copy_function=shutil.copy2)
        for name in ("", "/repository", "/repository/repository.db"):
            info = os.lstat(DATA + name)
            os.chown(SAVED + name, info.st_uid, info.st_gid)
        self.before = self.state()
        self.not_running()

    # The init script.

    def plan(self, *answers):
        write(PLAY + "/plan", "".join(f"{answer}\n" for answer in answers).encode())
        write(PLAY + "/calls", b"")
        for name in ("plan", "calls"):
            os.chmod(f"{PLAY}/{name}", 0o666)

    def not_running(self):
        self.plan(3, 3)

    def running(self, *answers):
        """Tells the tool first that the daemon does not run, so that it opens the repository
        directly, and then that it runs. `answers` are the statuses of stop and start."""
        self.plan(3, 0, *answers)

    def calls(self):
        return [line.split()[0] for line in read(PLAY + "/calls").decode().splitlines()]

    # Replaced programs.

    def play(self, program, body):
        """Replaces the program by the shell script `body`, in which "$REAL" is the real program."""
        place = os.path.realpath(shutil.which(program, path="/bin:/usr/bin"))
        shutil.copy2(place, f"{PLAY}/real-{program}")
        script = f"#!/bin/sh\nREAL={PLAY}/real-{program}\n{body}\n"
        write(f"{PLAY}/{program}", script.encode())
        os.chmod(f"{PLAY}/{program}", 0o755)
        subprocess.run(["mount", "--bind", f"{PLAY}/{program}", place], check=True)
        self.addCleanup(subprocess.run, ["umount", place], check=True)

    def play_rm(self, for_the_backup):
        """Replaces rm by a script that differs for the backup only."""
        self.play("rm", f'case "$2" in *-back_*) {for_the_backup};; *) exec "$REAL" "$@";; esac')

    # States.

    def state(self):
        """Type, mode, owner and content of everything below the data directory."""
        found = {}
        for parent, directories, files in os.walk(DATA):
            for name in [*directories, *files]:
                path = os.path.join(parent, name)
                found[path] = describe(path)
        return found

    def reset(self):
        """Puts the machine back into the state in which the story began."""
        for name in os.listdir(DATA):
            path = os.path.join(DATA, name)
            if os.path.isdir(path) and not os.path.islink(path):
                shutil.rmtree(path)
            else:
                os.unlink(path)
        subprocess.run([self.copier(), "-a", SAVED + "/.", DATA], check=True)
        self.not_running()

    def copier(self):
        played = PLAY + "/real-cp"
        return played if os.path.exists(played) else "cp"

    def assert_as_before(self):
        self.assertEqual(self.state(), self.before)

    def namespaces(self):
        self.not_running()
        result = run([FENNIK, "--list-namespaces", "--name", "sample"])
        self.assertEqual((result.status, result.err), (0, ""))
        return result.out.splitlines()

    def assert_done(self):
        """The namespace is gone, nothing is left behind, and modes and owners are as before."""
        after = self.state()
        self.assertEqual(sorted(after), sorted(self.before))
        for path, description in after.items():
            self.assertEqual(description.split()[:2], self.before[path].split()[:2])
        self.assertEqual(self.namespaces(), ["sample/b"])

    # Failing system calls and death.

    def with_calls(self, *injections, argv=DEREGISTER, follow=False):
        self.need_strace()
        words = [word for injection in injections for word in ("-e", "inject=" + injection)]
        follow = ["-f"] if follow else []
        return run(["strace", *follow, "-qq", "-o", TRACE, *words, *argv])

    def every(self, call, effect):
        """Runs the tool once for each of its calls of that name, with `effect` on that call. Yields
        the number of the call and the result."""
        self.need_strace()
        number = 0
        while True:
            number += 1
            self.reset()
            result = self.with_calls(f"{call}:{effect}:when={number}")
            self.wait_for_orphans()
            trace = read(TRACE).decode(errors="replace")
            if "(INJECTED)" not in trace and "killed by SIGKILL" not in trace:
                self.assertEqual(result, Result(0, "", ""))
                return
            yield number, result

    def wait_for_orphans(self):
        """Waits until the programs that a killed tool has started have ended."""
        self.wait_for_the_end_of("cp", "rm", "real-cp", "real-rm", "tarvo-owcimomd_")

    def wait_for_the_end_of(self, *programs):
        deadline = time.monotonic() + harness.PATIENCE
        while self.running_programs() & set(programs):
            self.assertLess(time.monotonic(), deadline, "a program does not end")
            time.sleep(0.01)

    @staticmethod
    def running_programs():
        found = set()
        for entry in os.listdir("/proc"):
            try:
                found.add(read(f"/proc/{entry}/comm").decode().strip() if entry.isdigit() else "")
            except OSError:
                pass  # it has just ended
        return found

    def assert_fennik_failure(self, result, status, message, before="", cause=None):
        self.assertEqual((result.status, result.out), (status, ""), result.err)
        self.assertEqual(result.err[: len(before)], before)
        details = re.compile(
            r"An error has occurred\.\nDetails: \S+: \d+ FennikException: (\d+): (.*)\n", re.S
        )
        match = details.fullmatch(result.err[len(before) :])
        self.assertIsNotNone(match, result.err)
        self.assertEqual(int(match[1]), status)
        text, _, wrapped = match[2].partition(" <")
        self.assertEqual(text, message)
        if cause is not None:
            self.assertIn(cause, wrapped)


class DaemonStory(MachineStory):
    """A machine with the real daemon and its real init script; the daemon runs."""

    def setUp(self):
        if not os.path.exists(REAL_SCRIPT):
            self.skipTest("the daemon is not installed")
        super().setUp()
        os.rename(REAL_SCRIPT, SCRIPT)
        started = run([SCRIPT, "start"])
        self.assertEqual(started.status, 0, started.err)
        self.addCleanup(run, [SCRIPT, "stop"])

    def namespaces(self):
        self.assertEqual(run([SCRIPT, "status"]).status, 0)
        result = run([FENNIK, "--list-namespaces", "--name", "sample"])
        self.assertEqual((result.status, result.err), (0, ""))
        return result.out.splitlines()

    def assert_nothing_left(self):
        for path in (COPY, BACKUP, KEPT):
            self.assertFalse(os.path.lexists(path), path)
