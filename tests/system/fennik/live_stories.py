# SPDX-License-Identifier: Apache-2.0
"""The tool on a live system: root, limits, and the daemon's init script. The stories run in a mount
namespace of their own in which the tree is at its real places and the account owcimomd exists. A
script that follows a plan replaces the daemon."""

import errno
import os
import shutil

from harness import FENNIK, NOBODY, UNDO_HEAD, Result, Story, read, run, usage, write

SCRIPT = "/opt/tarvo/kov/sbin/tarvo-owcimomd_init"
LOCK = "/var/opt/tarvo/kov/fennik.lock"

# Each call takes the next line of the plan: the exit status, or "kill".
FAKE_SCRIPT = b"""#!/bin/sh
echo "$1 uid=$(id -u)" >> /var/opt/script/calls
answer=$(sed -n "$(wc -l < /var/opt/script/calls)p" /var/opt/script/plan)
[ "$answer" != kill ] || kill -9 $$
echo "script says $answer"
exit "$answer"
"""

ENTER = r"""
for place in opt etc/opt var/opt; do mount --bind "$TREE/$place" "/$place" || exit 125; done
for file in passwd group; do mount --bind "$TREE/../$file" "/etc/$file" || exit 125; done
exec "$@"
"""


class LiveStory(Story):
    ACCOUNT = 64321

    def setUp(self):
        if os.geteuid() != 0 or run(["unshare", "-m", "true"]).status != 0:
            self.skipTest("needs root and a mount namespace of its own")
        super().setUp()
        os.chmod(self.tree.directory, 0o755)
        for name, line in (
            ("passwd", f"owcimomd:x:{self.ACCOUNT}:{self.ACCOUNT}::/:/bin/false\n"),
            ("group", f"owcimomd:x:{self.ACCOUNT}:\n"),
        ):
            lines = read("/etc/" + name).decode().splitlines(keepends=True)
            kept = [kept for kept in lines if not kept.startswith("owcimomd:")]
            write(f"{self.tree.directory}/{name}", "".join([*kept, line]).encode())
        self.script_directory = self.tree.prefix + "/var/opt/script"
        os.mkdir(self.script_directory)
        os.chmod(self.script_directory, 0o777)
        os.makedirs(os.path.dirname(self.tree.prefix + SCRIPT), exist_ok=True)
        write(self.tree.prefix + SCRIPT, FAKE_SCRIPT)
        os.chmod(self.tree.prefix + SCRIPT, 0o755)

    def plan(self, *answers):
        write(self.script_directory + "/plan", "".join(f"{a}\n" for a in answers).encode())
        write(self.script_directory + "/calls", b"")
        os.chmod(self.script_directory + "/calls", 0o666)

    def calls(self):
        lines = read(self.script_directory + "/calls").decode().splitlines()
        return [line.split()[0] for line in lines]

    def inside(self, *argv, stdin=""):
        environment = dict(os.environ, TREE=self.tree.prefix, ASAN_OPTIONS="detect_leaks=0")
        command = ["unshare", "-m", "--propagation", "private", "sh", "-c", ENTER, "sh", *argv]
        return run(command, stdin, env=environment)

    def live(self, *arguments, stdin=""):
        return self.inside(FENNIK, *arguments, stdin=stdin)


class Daemon(LiveStory):
    REGISTER = ("--register", "--name", "sample", "--username", "alice")
    REMOVE = ("--remove-owcimomd-config", "--name", "sample")

    def test_that_does_not_run_is_not_restarted(self):
        self.plan(3, 3)
        self.assert_silent_success(self.live(*self.REGISTER))
        self.assertEqual(self.calls(), ["status", "status"])
        self.assertTrue(os.path.exists(self.tree.users_file("sample")))

    def test_that_runs_is_restarted_after_each_change(self):
        for words in (self.REGISTER, ("--set-owcimomd-config", "-", "--name", "x"), self.REMOVE):
            with self.subTest(words=words):
                self.plan(3, 0, 0)
                self.assert_silent_success(self.live(*words))
                self.assertEqual(self.calls(), ["status", "status", "restart"])

    def test_is_left_alone_by_listings_and_namespaces(self):
        self.plan(3, 3)
        self.live(*self.REGISTER)
        for words in (
            ["--list-registered-products"],
            ["--get-owcimomd-config", "--name", "sample"],
            ["--list-namespaces", "--name", "sample"],
            ["--register-namespace", "sample", "--name", "sample", "--username", "bob"],
        ):
            with self.subTest(words=words):
                self.plan(3)
                result = self.live(*words)
                self.assertEqual((result.status, result.err), (0, ""))
                self.assertEqual(self.calls(), ["status"])

    def test_is_left_alone_in_a_build_system(self):
        self.plan()
        result = self.live("--kov-build-system-dest-dir", self.tree.prefix, *self.REGISTER)
        self.assert_silent_success(result)
        self.assertEqual(self.calls(), [])

    def test_script_runs_as_the_account(self):
        self.plan(3)
        self.live("--list-registered-products")
        self.assertEqual(
            read(self.script_directory + "/calls").decode(), f"status uid={self.ACCOUNT}\n"
        )

    def test_failing_restart_puts_the_removed_snippet_back(self):
        write(self.tree.snippet("sample"), b"a = b\n")
        self.plan(3, 0, 7)
        self.assert_fennik_failure(
            self.live(*self.REMOVE), 21,
            f"Failed restarting owcimomd. {SCRIPT} exited with status 7 and output: "
            "script says 7\n",
        )
        self.assertEqual(read(self.tree.snippet("sample")), b"a = b\n")

    def test_snippet_that_cannot_be_put_back_is_shown_in_full(self):
        write(self.tree.snippet("sample"), b"a = b\n")
        self.plan(3, 0, 7)
        self.need_strace()
        place = self.tree.snippet("sample")[len(self.tree.prefix) :]
        result = self.inside(
            "strace", "-qq", "-o", "/dev/null", "-P", place,
            "-e", "inject=openat:error=EACCES:when=2", FENNIK, *self.REMOVE,
        )
        self.assert_fennik_failure(
            result, 21,
            f"Failed restarting owcimomd. {SCRIPT} exited with status 7 and output: "
            "script says 7\n",
            before=UNDO_HEAD
            + f"The attempt to open the file: {place} failed with error:Permission denied\n"
            "Once the cause of the error has been resolved, to restore KOV to a valid state you "
            "should\ncreate the file with contents:\na = b\n\n",
        )

    def test_failing_restart_after_registering_keeps_the_product(self):
        self.plan(3, 0, 1)
        self.assertEqual(self.live(*self.REGISTER).status, 21)
        self.plan(3)
        self.assertEqual(self.live("--list-registered-products").out, "sample\n")

    def test_script_that_is_killed_is_an_error(self):
        self.plan("kill")
        self.assert_fennik_failure(
            self.live("--list-registered-products"), 21,
            f"Failed running {SCRIPT} status: killed by signal 9 (Killed) and output: ",
        )

    def test_missing_script_is_an_error(self):
        os.unlink(self.tree.prefix + SCRIPT)
        result = self.live("--list-registered-products")
        self.assertEqual((result.status, result.out), (21, ""))
        self.assertIn(f"Failed running {SCRIPT} status: not run and output: ", result.err)

    def test_that_does_not_answer_is_an_error(self):
        self.plan(0)
        self.assert_other_failure(
            self.live("--list-registered-products"), "owcimomd cannot be reached", "is it running?"
        )

    def test_status_lines_are_in_the_debug_log(self):
        self.plan(3)
        self.live("--log-file", "/var/opt/script/log", "--list-registered-products")
        log = read(self.script_directory + "/log").decode()
        self.assertIn('Runing init script with command "status"', log)
        self.assertIn("Init script returned exited with status 3", log)


class Root(LiveStory):
    def test_anybody_else_is_refused_before_the_lock(self):
        if shutil.which("setpriv") is None:
            self.skipTest("needs setpriv")
        self.plan()
        nobody = ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups"]
        if run([*nobody, "test", "-x", FENNIK]).status != 0:
            self.skipTest("an unprivileged user cannot run the installed tool here")
        result = self.inside(*nobody, FENNIK, "--deregister")
        self.assert_fennik_failure(result, 8, "fennik must be run as root")
        self.assertFalse(os.path.exists(self.tree.prefix + LOCK))
        self.assertEqual(self.calls(), [])

    def test_works_on_the_installed_repository(self):
        self.plan(3)
        self.assertEqual(self.live(), Result(1, "", "No options supplied.\n" + usage()))
        self.assertTrue(os.path.exists(self.tree.prefix + LOCK))


class DescriptorLimit(LiveStory):
    def traced_live(self, injection, soft):
        self.need_strace()
        self.plan(3)
        return self.inside(
            "prlimit", f"--nofile={soft}:1024", "strace", "-qq", "-o", "/dev/null",
            "-e", "inject=" + injection, FENNIK, "--list-registered-products",
        )

    def nofile_call(self, fragment):
        """The number of the call of prlimit64 whose line in the trace contains `fragment`."""
        self.need_strace()
        self.plan(3)
        self.inside(
            "prlimit", "--nofile=255:1024", "strace", "-qq", "-o", "/var/opt/script/trace",
            "-e", "trace=prlimit64", FENNIK, "--list-registered-products",
        )
        os.unlink(self.tree.prefix + LOCK)
        lines = read(self.script_directory + "/trace").decode().splitlines()
        return 1 + next(number for number, line in enumerate(lines) if fragment in line)

    def test_that_cannot_be_read_ends_with_the_system_error(self):
        number = self.nofile_call("RLIMIT_NOFILE, NULL")
        result = self.traced_live(f"prlimit64:error=EFAULT:when={number}", 255)
        self.assert_fennik_failure(
            result, errno.EFAULT, f"getrlimit failed: {errno.EFAULT}(Bad address)"
        )

    def test_that_cannot_be_raised_ends_with_the_system_error(self):
        number = self.nofile_call("RLIMIT_NOFILE, {")
        result = self.traced_live(f"prlimit64:error=EPERM:when={number}", 255)
        self.assert_fennik_failure(
            result, errno.EPERM, f"setrlimit failed: {errno.EPERM}(Operation not permitted)"
        )
        self.assertFalse(os.path.exists(self.tree.prefix + LOCK))
