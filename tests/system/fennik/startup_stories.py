# SPDX-License-Identifier: Apache-2.0
"""The checks before an operation: the lock and the log. live_stories.py has root and limits."""

import contextlib
import fcntl
import os
import pty
import stat
import subprocess
import time

from harness import NOBODY, Result, Story, read, run


class Lock(Story):
    def test_is_taken_below_the_prefix_by_any_user(self):
        command = self.as_nobody(*self.tree.command("--list-registered-products"))
        self.assert_silent_success(run(command))
        self.assertEqual(os.stat(self.tree.lock_file).st_uid, os.geteuid() or NOBODY)

    def test_file_is_private_and_names_its_last_holder(self):
        run = subprocess.Popen(self.tree.command("--list-registered-products"))
        self.assertEqual(run.wait(timeout=60), 0)
        self.assertEqual(stat.S_IMODE(os.stat(self.tree.lock_file).st_mode), 0o600)
        self.assertEqual(read(self.tree.lock_file), f"{run.pid}\n".encode())

    def test_missing_directory_is_named_with_the_reason(self):
        result = self.fennik("--kov-build-system-dest-dir", "/nonexistent", "--version")
        self.assert_fennik_failure(
            result, 9,
            "Failed to open lock file /nonexistent/var/opt/tarvo/kov/fennik.lock: "
            "No such file or directory",
        )

    def test_unwritable_directory_is_named_with_the_reason(self):
        command = self.as_nobody(*self.tree.command("--list-registered-products"))
        directory = os.path.dirname(self.tree.lock_file)
        os.chmod(directory, 0o555)
        self.assert_fennik_failure(
            run(command), 9,
            f"Failed to open lock file {self.tree.lock_file}: Permission denied",
        )

    def test_link_in_its_place_is_not_followed(self):
        elsewhere = self.tree.directory + "/elsewhere"
        os.symlink(elsewhere, self.tree.lock_file)
        self.assert_fennik_failure(
            self.fennik("--list-registered-products"), 9,
            f"Failed to open lock file {self.tree.lock_file}: "
            "Too many levels of symbolic links",
        )
        self.assertFalse(os.path.exists(elsewhere))

    def test_that_cannot_be_taken_ends_the_run(self):
        result = self.failing(
            ["fcntl:error=EDEADLK"], "--list-registered-products", path=self.tree.lock_file
        )
        self.assert_fennik_failure(
            result, 10, "Failed to lock lockfile: Resource deadlock avoided"
        )

    def test_holds_a_second_run_back_until_the_first_has_ended(self):
        with open(self.tree.lock_file, "wb") as held:
            fcntl.lockf(held, fcntl.LOCK_EX)
            second = subprocess.Popen(
                self.tree.command("--register", "--name", "sample", "--username", "u"),
                stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            )
            time.sleep(0.5)
            self.assertIsNone(second.poll(), "did not wait")
            self.assertFalse(os.path.exists(self.tree.users_file("sample")))
            fcntl.lockf(held, fcntl.LOCK_UN)
            self.assertEqual(second.communicate(timeout=60), (b"", b""))
        self.assertEqual(second.returncode, 0)

    def test_stays_when_the_file_is_read_as_an_input(self):
        self.need_strace()
        source = self.tree.lock_file.removeprefix(self.tree.prefix)
        run = subprocess.Popen(
            ["strace", "-f", "-qq", "-o", "/dev/null", "-e", "inject=rename:delay_enter=3000000",
             *self.tree.command("--set-owcimomd-config", source, "--name", "sample")],
            env=dict(os.environ, ASAN_OPTIONS="detect_leaks=0"),
        )
        configs = os.listdir(self.tree.configs)
        deadline = time.monotonic() + 60
        while os.listdir(self.tree.configs) == configs:  # it makes the temporary file after reading
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.01)
        with open(self.tree.lock_file, "r+b") as file:
            with self.assertRaises(BlockingIOError):
                fcntl.lockf(file, fcntl.LOCK_EX | fcntl.LOCK_NB)
        self.assertEqual(run.wait(timeout=60), 0)

    def wait_at_a_terminal(self, holder):
        """What a run prints at a terminal while it waits. `holder` ends the holder of the lock."""
        ours, theirs = pty.openpty()
        waiting = subprocess.Popen(self.tree.command("--list-registered-products"), stderr=theirs)
        os.close(theirs)
        try:
            began = time.monotonic()
            said = os.read(ours, 4096).decode()
            self.assertGreaterEqual(time.monotonic() - began, 1.5)
            time.sleep(2.5)
            self.assertIsNone(waiting.poll())
            holder()
            self.assertEqual(waiting.wait(timeout=60), 0)
            with contextlib.suppress(OSError):  # the end of a terminal
                said += os.read(ours, 4096).decode()
        finally:
            os.close(ours)
        return said

    def waiting_for(self, pid):
        return f'Waiting for process {pid}, which holds the lock "{self.tree.lock_file}".\r\n'

    def test_that_is_waited_for_at_a_terminal_is_told_once(self):
        first = subprocess.Popen(
            self.tree.command("--set-owcimomd-config", "-", "--name", "sample"),
            stdin=subprocess.PIPE,
        )
        while not os.path.exists(self.tree.lock_file) or not read(self.tree.lock_file):
            time.sleep(0.01)
        self.assertEqual(self.wait_at_a_terminal(lambda: first.communicate(timeout=60)),
                         self.waiting_for(first.pid))
        with open(self.tree.lock_file, "r+b") as held:
            fcntl.lockf(held, fcntl.LOCK_EX)
            self.assertEqual(self.wait_at_a_terminal(lambda: fcntl.lockf(held, fcntl.LOCK_UN)),
                             self.waiting_for(os.getpid()))

    def test_that_is_waited_for_without_a_terminal_is_not_told(self):
        with open(self.tree.lock_file, "wb") as held:
            fcntl.lockf(held, fcntl.LOCK_EX)
            second = subprocess.Popen(self.tree.command("--list-registered-products"),
                                      stderr=subprocess.PIPE)
            time.sleep(3)
            self.assertIsNone(second.poll(), "did not wait")
            fcntl.lockf(held, fcntl.LOCK_UN)
            self.assertEqual(second.communicate(timeout=60)[1], b"")

    def test_makes_many_runs_at_once_wait_for_each_other(self):
        runs = [
            subprocess.Popen(
                self.tree.command("--register", "--name", f"p{number}", "--username", "u"),
                stderr=subprocess.PIPE,
            )
            for number in range(12)
        ]
        for one in runs:
            self.assertEqual(one.communicate(timeout=100)[1], b"")
            self.assertEqual(one.returncode, 0)
        listed = self.fennik("--list-registered-products").out.split()
        self.assertEqual(sorted(listed), sorted(f"p{number}" for number in range(12)))

    def test_of_another_destination_is_another_lock(self):
        with open(self.tree.directory + "/fennik.lock", "wb") as other:
            fcntl.lockf(other, fcntl.LOCK_EX)
            self.assert_silent_success(self.fennik("--list-registered-products"))


class LogFile(Story):
    def setUp(self):
        super().setUp()
        self.log = self.tree.directory + "/log"

    def test_holds_the_run_from_start_to_end(self):
        self.fennik("--log-file", self.log, "--list-registered-products")
        text = read(self.log).decode()
        for part in (
            "DEBUG fennik - \n\nFennik starting...",
            'Command line arguments: "',
            f'" "--log-file" "{self.log}" "--list-registered-products"\n',
            "ProductRegistration: Getting list of registered products",
            "DEBUG fennik - Fennik terminating.\n\n",
        ):
            self.assertIn(part, text)

    def test_holds_errors_too_and_ends_before_they_are_reported(self):
        result = self.fennik("--log-file", self.log, "--list-namespaces", "--name", "x")
        self.assertEqual(result.status, 0, result.err)
        result = self.fennik("--log-file", self.log, "--set-owcimomd-config", "/none",
                             "--name", "x")
        text = read(self.log).decode()
        self.assertIn("An error has occurred.\nDetails: ", text)
        self.assertLess(text.rindex("Fennik terminating."), text.rindex("An error has occurred."))
        self.assertIn(result.err.strip(), text)

    def test_names_the_words_that_belong_to_no_option(self):
        mark = "Ignored words that belong to no option: "
        self.register()
        result = self.fennik(
            "--log-file", self.log, "--name", "sample", "--username", "al",
            "--register-namespace", "sample/a", "sample/b", "x")
        self.assert_silent_success(result)
        self.assertIn(mark + '"sample/b" "x"\n', read(self.log).decode())
        listed = self.fennik("--list-namespaces", "--name", "sample")
        self.assertEqual(listed.out, "sample/a\n")
        self.fennik("--log-file", self.log + "2", "--list-registered-products")
        self.assertNotIn(mark, read(self.log + "2").decode())

    def test_may_be_standard_error_or_a_link(self):
        result = self.fennik("--log-file", "/dev/stderr", "--list-registered-products")
        self.assertEqual((result.status, result.out), (0, ""))
        self.assertIn("Getting list of registered products", result.err)
        os.symlink(self.log, self.tree.directory + "/link")
        result = self.fennik(
            "--log-file", self.tree.directory + "/link", "--list-registered-products")
        self.assert_silent_success(result)
        self.assertIn(b"Getting list of registered products", read(self.log))

    def test_may_be_a_terminal(self):
        master, terminal = os.openpty()
        result = self.fennik(
            "--log-file", os.ttyname(terminal), "--list-registered-products")
        self.assert_silent_success(result)
        text = b""
        while b"Fennik terminating." not in text:
            text += os.read(master, 65536)
        self.assertIn(b"Getting list of registered products", text)
        os.close(terminal)
        os.close(master)

    def test_argument_with_a_placeholder_is_logged_as_it_is(self):
        self.fennik("--log-file", self.log, "--get-owcimomd-config", "--name", "%1%2")
        self.assertIn('"--name" "%1%2"', read(self.log).decode())

    def test_is_private(self):
        self.fennik("--log-file", self.log, "--list-registered-products")
        self.assertEqual(stat.S_IMODE(os.stat(self.log).st_mode), 0o600)

    def test_that_cannot_be_opened_is_reported_without_the_log(self):
        result = self.fennik("--log-file", "/nonexistent/log", "--list-registered-products")
        self.assertEqual((result.status, result.out), (1, ""))
        self.assertTrue(result.err.startswith("An error has occurred.\nDetails: "), result.err)
        self.assertIn("LoggerException", result.err)
        self.assertIn("/nonexistent/log", result.err)
        self.assertFalse(os.path.exists(self.tree.lock_file))

    def test_without_it_nothing_below_an_error_is_written(self):
        result = self.fennik("--register", "--name", "sample", "--username", "u")
        self.assertEqual(result, Result(0, "", ""))

    def test_on_a_full_disk_fails_the_registration_and_takes_it_back(self):
        self.fennik("--list-registered-products")
        before = self.tree.state()
        result = self.fennik(
            "--log-file", "/dev/full", "--register", "--name", "sample", "--username", "u"
        )
        self.assertEqual((result.status, result.out), (1, ""))
        self.assertIn("LoggerException", result.err)
        self.assertEqual(self.tree.state(), before)
