# SPDX-License-Identifier: Apache-2.0
"""An operation on a working copy of the repository, from beginning to end."""

import os
import re
import shutil

from harness import NOBODY, read, run
from machine import (
    BACKUP, COPY, DATA, DEREGISTER, FENNIK, LIVE, PLAY, SCRIPT, TRACE, MachineStory,
)


class Deregistering(MachineStory):
    def test_takes_the_namespace_away_and_nothing_else(self):
        self.assert_silent_success(run(DEREGISTER))
        self.assertEqual(self.calls(), ["status", "status"])
        self.assert_done()

    def test_leaves_nothing_of_it(self):
        run(DEREGISTER)
        self.not_running()
        words = [FENNIK, "--register-namespace", "sample/a", "--name", "sample", "--username", "al"]
        self.assert_silent_success(run(words))
        self.assertEqual(self.namespaces(), ["sample/b", "sample/a"])

    def test_takes_several_namespaces(self):
        self.assert_silent_success(run([*DEREGISTER, "--deregister-namespace", "sample/b"]))
        self.assertEqual(self.namespaces(), [])

    def test_that_is_refused_leaves_everything_as_it_was(self):
        for words, status, message in (
            (("other/x", "--name", "sample"), 7, "Namespace other/x must begin with sample."),
            (("other/x", "--name", "other"), 3, "The product has not been registered."),
        ):
            with self.subTest(words=words):
                self.not_running()
                result = run([FENNIK, "--deregister-namespace", *words])
                self.assert_fennik_failure(result, status, message)
                self.assert_as_before()

    def test_of_an_unknown_namespace_leaves_everything_as_it_was(self):
        words = ["--deregister-namespace", "sample/none", "--deregister-namespace", "sample/a"]
        result = run([FENNIK, *words, "--name", "sample"])
        self.assertEqual(result.status, 1)
        self.assertIn(
            "Error ignored: The namespace sample/none could not be deleted because it doesn't "
            "exist.", result.err,
        )
        self.assert_as_before()

    def test_twenty_times_leaves_everything_to_the_account(self):
        register = [FENNIK, "--register-namespace", "sample/a", "--name", "sample"]
        owners = {path: text.split()[:2] for path, text in self.before.items()}
        for cycle in range(20):
            with self.subTest(cycle=cycle):
                self.not_running()
                self.assert_silent_success(run(DEREGISTER))
                self.not_running()
                self.assert_silent_success(run([*register, "--username", "al"]))
                now = {path: text.split()[:2] for path, text in self.state().items()}
                self.assertEqual(now, owners)


class Order(MachineStory):
    def test_copy_is_made_and_swapped_while_the_daemon_is_stopped(self):
        self.running(0, 0)
        self.assert_silent_success(run(DEREGISTER))
        lines = read(PLAY + "/calls").decode().splitlines()
        self.assertEqual(
            [line.rstrip() for line in lines],
            ["status repository", "status repository", "stop repository", "start repository"],
        )
        self.assert_done()

    def test_content_is_on_the_disk_before_the_renames_and_these_before_the_removal(self):
        self.need_strace()
        run(["strace", "-f", "-y", "-s", "200", "-qq", "-o", TRACE, "-e",
             "trace=execve,rename,fsync,fdatasync,unlinkat", *DEREGISTER])
        trace = read(TRACE).decode(errors="replace")
        steps = []
        for pattern in (
            rf'execve\("\S*/cp", \["\S*/cp", "-pR", "{LIVE}", "{COPY}"\]',
            rf"f(data)?sync\(\d+<{COPY}/repository.db>",
            rf'unlinkat\(\d+<{COPY}>, "repository.db-journal", 0\) = 0',
            rf"fsync\(\d+<{COPY}>\) *= 0",
            rf'rename\("{LIVE}", "{BACKUP}"\) *= 0',
            rf'rename\("{COPY}", "{LIVE}"\) *= 0',
            rf"fsync\(\d+<{DATA}>\) *= 0",
            rf'execve\("\S*/rm", \["\S*/rm", "-rf", "{BACKUP}"\]',
        ):
            match = re.search(pattern, trace)
            self.assertIsNotNone(match, f"{pattern}\n{trace}")
            steps.append(match.start())
        self.assertEqual(steps, sorted(steps), trace)
        # Nothing is written to the copy once the renames have begun.
        after = trace[trace.index(f'rename("{LIVE}"'):]
        self.assertNotIn("-journal", after)


class Daemon(MachineStory):
    def stop_fails(self):
        return f"Failed to stop owcimomd. {SCRIPT} exited with status 4 and output: script says 4\n"

    def test_that_cannot_be_stopped_is_not_started(self):
        self.running(4)
        self.assert_fennik_failure(run(DEREGISTER), 23, self.stop_fails())
        self.assertEqual(self.calls(), ["status", "status", "stop"])
        self.assert_as_before()

    def test_script_that_is_killed_ends_the_run(self):
        for answers, command in (([3, "kill"], "status"), ([3, 0, "kill"], "stop")):
            with self.subTest(command=command):
                self.plan(*answers)
                self.assert_fennik_failure(
                    run(DEREGISTER), 21,
                    f"Failed running {SCRIPT} {command}: killed by signal 9 (Killed) and output: ",
                )
                self.assert_as_before()

    def test_that_does_not_come_up_again_makes_the_status_one(self):
        self.running(0, 5)
        result = run(DEREGISTER)
        self.assertEqual((result.status, result.out), (1, ""))
        self.assertRegex(
            result.err,
            r"\AFailed to start cimom\.  Details: \S+: \d+ FennikException: 22: Failed starting "
            rf"owcimomd\. {SCRIPT} exited with status 5 and output: script says 5\n\n\Z",
        )
        self.assert_done()

    def test_start_that_is_killed_makes_the_status_one(self):
        self.running(0, "kill")
        result = run(DEREGISTER)
        self.assertEqual(result.status, 1)
        self.assertTrue(result.err.startswith("Failed to start cimom.  Details: "), result.err)
        self.assertNotIn("An error has occurred", result.err)
        self.assert_done()

    def test_is_started_again_after_a_failed_operation(self):
        self.running(0, 0)
        result = run([FENNIK, "--deregister-namespace", "x", "--name", "sample"])
        self.assert_fennik_failure(result, 7, "Namespace x must begin with sample.")
        self.assertEqual(self.calls(), ["status", "status", "stop", "start"])
        self.assert_as_before()

    def test_that_does_not_come_up_after_a_failure_keeps_the_operations_status(self):
        self.running(0, 5)
        result = run([FENNIK, "--deregister-namespace", "x", "--name", "sample"])
        self.assertEqual(result.status, 7)
        first, second = result.err.split("An error has occurred.\n")
        self.assertTrue(first.startswith("Failed to start cimom.  Details: "), result.err)
        self.assertIn("Namespace x must begin with sample.", second)

    def test_is_started_again_when_no_copy_can_be_made(self):
        os.mkdir(COPY)
        self.running(0, 0)
        self.assertEqual(run(DEREGISTER).status, 26)
        self.assertEqual(self.calls(), ["status", "status", "stop", "start"])


class BelowAPrefix(MachineStory):
    """With a prefix, the copy is looked for at the place on the machine."""

    def staged(self):
        prefix = "/var/opt/tarvo/stage"
        share = "/opt/tarvo/kov/share"
        shutil.copytree(share, prefix + share)
        self.assertEqual(run(["kov-setup", "--dest-dir", prefix]).status, 0)
        for parent, directories, files in os.walk(prefix):
            for name in [".", *directories, *files]:
                os.chown(os.path.join(parent, name), NOBODY, NOBODY)
        words = ["--kov-build-system-dest-dir", prefix, "--deregister-namespace", "s", "--name", "s"]
        user = ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups"]
        return prefix, [*user, FENNIK, *words]

    def assert_refused(self, prefix, result):
        self.assert_other_failure(
            result, "cannot be opened", f'made at "{prefix}{COPY}"', f'looked for at "{COPY}"'
        )
        self.assertEqual(os.listdir(prefix + DATA), ["repository"])
        self.assertEqual(self.calls(), [])

    def test_operation_is_refused_and_the_copy_removed(self):
        prefix, command = self.staged()
        self.plan()
        content = read(prefix + LIVE + "/repository.db")
        self.assert_refused(prefix, run(command))
        self.assertEqual(read(prefix + LIVE + "/repository.db"), content)
        self.assert_as_before()

    def test_machines_own_copy_is_neither_opened_nor_removed(self):
        self.need_strace()
        prefix, command = self.staged()
        shutil.copytree(LIVE, COPY)
        os.chmod(DATA, 0o777)
        for parent, _, files in os.walk(COPY):
            for name in [".", *files]:
                os.chmod(os.path.join(parent, name), 0o777)
        self.plan()
        before = self.state()
        user = command[: command.index(FENNIK)]
        trace = prefix + "/trace"
        result = run([*user, "strace", "-f", "-qq", "-o", trace, *command[len(user):]])
        self.assert_refused(prefix, result)
        self.assertEqual(self.state(), before)
        calls = read(trace).decode(errors="replace")
        self.assertNotIn(f'"{COPY}', calls.replace(prefix + COPY, ""))

    def test_blanks_in_the_prefix_are_refused(self):
        prefix, command = self.staged()
        spaced = prefix + " with blanks"
        shutil.copytree(prefix, spaced)
        for parent, directories, files in os.walk(spaced):
            for name in [".", *directories, *files]:
                os.chown(os.path.join(parent, name), NOBODY, NOBODY)
        result = run([spaced if word == prefix else word for word in command])
        self.assertEqual((result.status, result.out), (26, ""))
        self.assertIn("The path has blanks in it.", result.err)
        self.assertTrue(os.path.isdir(prefix))
        self.assertEqual(os.listdir(spaced + DATA), ["repository"])
