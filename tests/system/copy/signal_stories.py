# SPDX-License-Identifier: Apache-2.0
"""A signal interrupts a run. What the run has done is undone, the daemon runs again, and the
process ends by that signal. Or the operation is complete by then, and the status is 0."""

import contextlib
import os
import re
import signal
import subprocess
import time

from deregister_stories import WholeProduct
from harness import PATIENCE, UNDO_HEAD, Result, read, run, write
from machine import COPY, DATA, DEREGISTER, FENNIK, PLAY, TRACE, DaemonStory, MachineStory

SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)
MOST = 1000


def interrupted_by(number):
    """A pattern for everything that an interrupted run prints."""
    name = signal.Signals(number).name
    return re.compile(
        r"(.*\n)?An error has occurred\.\nDetails: \S+ \d+ InterruptedException: "
        rf"The run was interrupted by {name}\n"
    )


def too_late(number):
    name = signal.Signals(number).name
    return f"The run was interrupted by {name} when the operation was complete.\n"


def wait_for_programs():
    """Waits until no program of the last run is running. A run that has changed nothing yet ends at
    once; the init script that it has called goes on and would be counted for the next run."""
    def is_one(pid):
        with contextlib.suppress(OSError):
            words = read(f"/proc/{pid}/cmdline")
            return (b"tarvo-owcimomd_init" in words or b"/bin/fennik" in words) and (
                os.readlink(f"/proc/{pid}/ns/mnt") == os.readlink("/proc/self/ns/mnt"))
        return False

    deadline = time.monotonic() + PATIENCE
    while any(is_one(pid) for pid in os.listdir("/proc") if pid.isdigit()):
        if time.monotonic() > deadline:
            raise AssertionError("a program goes on")
        time.sleep(0.01)


class SignalWalk:
    """A mix-in for a MachineStory. It calls `self.reset()` before each run, and afterwards
    `self.assert_done()` or `self.assert_as_before()`."""

    def check(self, result, number, daemon_runs=True):
        """Checks a run that got the signal. True when the operation was complete by then."""
        self.assertNotIn(UNDO_HEAD, result.err)
        if daemon_runs:
            self.assert_daemon_runs()
        if result.status == 0:
            self.assertEqual(result.err, too_late(number))
            self.assert_done()
            return True
        self.assertEqual(result.status, -number)
        if result.err:  # a run that has not begun prints nothing
            self.assertRegex(result.err, rf"\A{interrupted_by(number).pattern}\Z")
        self.assert_as_before()
        return False

    def walk(self, call, argv, stdin=""):
        """Sends the signal at the first such call, at the second, and so on. Returns the number of
        runs that were undone and of those that were complete."""
        self.need_strace()
        outcomes = []
        for count in range(1, MOST):
            wait_for_programs()
            self.reset()
            result = run(["strace", "-qq", "-o", TRACE, "-e",
                          f"inject={call}:signal=TERM:when={count}", *argv], stdin)
            with self.subTest(call=call, count=count):
                if b"--- SIGTERM" not in read(TRACE):
                    self.assertEqual((result.status, result.err), (0, ""))
                    break
                outcomes.append(self.check(result, signal.SIGTERM))
        else:
            self.fail(f"there is no end to {call}")
        return outcomes.count(False), outcomes.count(True)

    def assert_daemon_runs(self):
        self.assertIn(self.calls(), ([], ["status"], ["status", "status"],
                                     ["status", "status", "stop", "start"]))

    def signal_when(self, happens, argv, *numbers, group=None, **options):
        """Runs the tool. Once `happens()` is true, sends it these signals one after the other, and
        the signal `group` to its process group."""
        child = subprocess.Popen(argv, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                 stderr=subprocess.PIPE, text=True, **options)
        deadline = time.monotonic() + PATIENCE
        while not happens():
            self.assertIsNone(child.poll(), child.stderr.read() if child.poll() is not None else "")
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.01)
        for number in numbers:
            child.send_signal(number)
            time.sleep(0.05)
        if group is not None:
            os.killpg(child.pid, group)
        out, err = child.communicate(timeout=PATIENCE)
        return Result(child.returncode, out, err)


class WorkingCopy(SignalWalk, MachineStory):
    def reset(self):
        super().reset()
        self.running(0, 0)

    def test_at_every_step_of_making_changing_and_swapping_it(self):
        undone = complete = 0
        for call in ("poll", "waitid", "pwrite64", "fsync", "fdatasync", "mkdirat", "linkat",
                     "rename", "unlink", "unlinkat"):
            counts = self.walk(call, DEREGISTER)
            undone += counts[0]
            complete += counts[1]
        self.assertGreater(undone, 20)
        self.assertGreater(complete, 10)
        print(f"{undone} runs were undone, {complete} were complete")

    def test_while_it_is_made_ends_the_copying(self):
        self.play("cp", f'"$REAL" "$@"; touch {PLAY}/copying; exec sleep 600')
        for number in SIGNALS:
            with self.subTest(signal=number):
                self.reset()
                if os.path.exists(PLAY + "/copying"):
                    os.unlink(PLAY + "/copying")
                result = self.signal_when(lambda: os.path.exists(PLAY + "/copying"), DEREGISTER,
                                          number)
                self.assertFalse(self.check(result, number))
                self.assertNotEqual(result.err, "")
                self.wait_for_the_end_of("sleep")

    def test_while_the_backup_is_removed_comes_too_late(self):
        self.play_rm(f'touch {PLAY}/removing; sleep 1; exec "$REAL" "$@"')
        for number in SIGNALS:
            with self.subTest(signal=number):
                self.reset()
                if os.path.exists(PLAY + "/removing"):
                    os.unlink(PLAY + "/removing")
                result = self.signal_when(lambda: os.path.exists(PLAY + "/removing"), DEREGISTER,
                                          number)
                self.assertTrue(self.check(result, number))

    def test_that_is_given_up_is_removed_whatever_comes_then(self):
        self.play("cp", f'"$REAL" "$@"; touch {PLAY}/copying; exec sleep 600')
        self.play("rm", f'sleep 1; exec "$REAL" "$@"')
        self.reset()
        result = self.signal_when(lambda: os.path.exists(COPY + "/repository.db") and
                                  os.path.exists(PLAY + "/copying"), DEREGISTER,
                                  signal.SIGINT, *[signal.SIGTERM] * 10, signal.SIGHUP)
        self.assertFalse(self.check(result, signal.SIGINT))

    def test_that_the_caller_ignores_is_ignored(self):
        self.play("cp", f'touch {PLAY}/copying; sleep 0.5; exec "$REAL" "$@"')
        ignored = "trap '' INT HUP TERM; exec \"$@\""
        self.reset()
        result = self.signal_when(lambda: os.path.exists(PLAY + "/copying"),
                                  ["sh", "-c", ignored, "sh", *DEREGISTER], *SIGNALS)
        self.assertEqual(result, Result(0, "", ""))
        self.assert_done()

    def test_ends_the_calling_shell_too(self):
        self.play("cp", f"touch {PLAY}/copying; exec sleep 600")
        self.reset()
        # The shell gets the signal, too. It runs its trap only if the tool ended by the signal.
        script = f"trap 'echo hears it' INT; {' '.join(DEREGISTER)}; echo $?"
        result = self.signal_when(lambda: os.path.exists(PLAY + "/copying"),
                                  ["bash", "-c", script], start_new_session=True, group=signal.SIGINT)
        self.assertEqual((result.status, result.out), (0, "hears it\n130\n"))


class Interrupted(SignalWalk, WholeProduct):
    """Operations on a whole product."""

    def setUp(self):
        super().setUp()
        for place in (DATA, "/etc/opt/tarvo"):
            subprocess.run(["cp", "-a", place, PLAY + "/" + os.path.basename(place)], check=True)

    play = MachineStory.play

    def calls(self):
        return [line.split()[0] for line in read(PLAY + "/calls").decode().splitlines()]

    def reset(self):
        for place in (DATA, "/etc/opt/tarvo"):
            subprocess.run(["find", place, "-mindepth", "1", "-delete"], check=True)
            subprocess.run(["cp", "-a", f"{PLAY}/{os.path.basename(place)}/.", place], check=True)
        write(PLAY + "/plan", b"3\n0\n0\n0\n")
        write(PLAY + "/calls", b"")

    def assert_as_before(self):
        self.assertEqual(self.tree.state(), self.before)

    def assert_done(self):
        self.assertNotEqual(self.tree.state(), self.before)
        self.assertFalse(os.path.lexists(COPY))

    def test_deregistering_is_undone_or_complete(self):
        argv = [FENNIK, "--deregister", "--name", "sample"]
        # How often poll() is called, and whether after the swap, depends on how fast programs end.
        self.walk("poll", argv)
        for call in ("unlink", "rename"):
            undone, complete = self.walk(call, argv)
            self.assertGreater(complete, 0, call)
            self.assertGreater(undone + (call == "rename"), 0, call)

    def test_replacing_providers_is_undone_or_complete(self):
        argv = [FENNIK, "--register-providers", "-", "--name", "sample"]
        undone = complete = 0
        for call in ("poll", "unlink", "openat", "pwrite64"):
            counts = self.walk(call, argv, self.PROVIDERS[0].line())
            undone += counts[0]
            complete += counts[1]
        self.assertGreater(undone, 20)
        self.assertGreater(complete, 2)

    def test_restoring_the_state_is_undone(self):
        file = PLAY + "/state.xml"
        write(PLAY + "/plan", b"3\n" * 20)
        self.assertEqual(self.fennik("--dump-product-state", file).status, 0)
        self.assertEqual(self.fennik("--deregister", "--name", "sample").status, 0)
        self.before = self.tree.state()
        started = PLAY + "/copying"
        self.play("cp", f'"$REAL" "$@"; touch {started}; exec sleep 600')
        for number in SIGNALS:
            write(PLAY + "/plan", b"3\n0\n0\n0\n")
            write(PLAY + "/calls", b"")
            if os.path.exists(started):
                os.unlink(started)
            result = self.signal_when(lambda: os.path.exists(started),
                                      [FENNIK, "--restore-product-state", file], number)
            self.assertFalse(self.check(result, number))

    def test_waiting_for_standard_input_ends_at_once(self):
        for argv in (["--register-providers", "-"], ["--set-owcimomd-config", "-"]):
            for number in SIGNALS:
                self.reset()
                child = subprocess.Popen([FENNIK, *argv, "--name", "sample"],
                                         stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                         stderr=subprocess.PIPE, text=True)
                time.sleep(0.5)
                self.assertIsNone(child.poll())
                child.send_signal(number)
                self.assertEqual(child.wait(timeout=PATIENCE), -number)
                err = child.stderr.read()
                child.stdin.close()
                child.stdout.close()
                child.stderr.close()
                self.assertFalse(self.check(Result(-number, "", err), number))
                self.assertNotEqual(err, "")


class Live(SignalWalk, DaemonStory):
    """While the real daemon runs."""

    def test_registering_a_namespace_takes_its_rights_back(self):
        self.need_strace()
        interrupted = 0
        number = 0
        for call in ("poll", "sendto", "sendmsg", "recvmsg", "write", "read"):
            for count in range(1, 60, 4):
                number += 1
                ns = f"sample/n{number}"
                before = self.namespaces()
                result = run(["strace", "-qq", "-o", TRACE, "-e",
                              f"inject={call}:signal=TERM:when={count}", FENNIK,
                              "--register-namespace", ns, "--name", "sample", "--username", "al"])
                with self.subTest(call=call, count=count):
                    if b"--- SIGTERM" not in read(TRACE):
                        self.assertEqual(result, Result(0, "", ""))
                        break
                    self.assertNotIn(UNDO_HEAD, result.err)
                    if result.status == 0:
                        self.assertEqual(self.namespaces(), [*before, ns])
                        continue
                    interrupted += 1
                    self.assertEqual(result.status, -signal.SIGTERM)
                    self.assertEqual(self.namespaces(), before)
        self.assertGreater(interrupted, 10)

    def test_daemon_that_does_not_answer_is_not_waited_for(self):
        with open(DATA + "/owcimomd.pid", encoding="ascii") as file:
            daemon = int(file.read())
        os.kill(daemon, signal.SIGSTOP)
        try:
            for number in SIGNALS:
                child = subprocess.Popen([FENNIK, "--register", "--name", "x", "--username", "al"],
                                         stderr=subprocess.PIPE, text=True)
                time.sleep(0.7)
                self.assertIsNone(child.poll())
                child.send_signal(number)
                err = child.communicate(timeout=PATIENCE)[1]
                self.assertEqual(child.returncode, -number)
                self.assertRegex(err, rf"\A{interrupted_by(number).pattern}\Z")
        finally:
            os.kill(daemon, signal.SIGCONT)

    def test_working_copy_goes_and_the_daemon_runs_again(self):
        started = PLAY + "/copying"
        self.play("cp", f'"$REAL" "$@"; touch {started}; exec sleep 600')
        for number in SIGNALS:
            if os.path.exists(started):
                os.unlink(started)
            result = self.signal_when(lambda: os.path.exists(started), DEREGISTER, number)
            self.assertEqual(result.status, -number)
            self.assertRegex(result.err, rf"\A{interrupted_by(number).pattern}\Z")
            self.assertEqual(self.namespaces(), ["sample/a", "sample/b"])
            self.assert_nothing_left()
