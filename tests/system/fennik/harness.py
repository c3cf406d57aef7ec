# SPDX-License-Identifier: Apache-2.0
"""Shared by the stories of the installed tool: a staged tree of their own, running the tool in it,
comparing whole states, and making system calls fail.

The programs come from the tree that KOV_INSTALLED names (made by "cmake --install")."""

import contextlib
import functools
import hashlib
import os
import pty
import re
import shutil
import sqlite3
import subprocess
import tempfile
import unittest
from dataclasses import dataclass

INSTALLED = os.environ.get("KOV_INSTALLED", "")
FENNIK = INSTALLED + "/opt/tarvo/kov/bin/fennik"
KOV_SETUP = INSTALLED + "/opt/tarvo/kov/sbin/kov-setup"
NOBODY = 65534
PATIENCE = 120  # seconds; a run takes milliseconds

UNDO_HEAD = "The operation failed, and restoration to the previous state has also failed.\n"
UNDO_LEAD_IN = (
    "\nOnce the cause of the error has been resolved, to restore KOV to a valid state you should\n"
)


@dataclass
class Result:
    """The status of a run, and what it wrote to standard output and error."""

    status: int
    out: str
    err: str


def run(argv, stdin="", **options):
    done = subprocess.run(
        argv, input=stdin.encode(), capture_output=True, timeout=PATIENCE, check=False, **options
    )
    # Different bytes that are not UTF-8 stay different, so that texts can be compared.
    texts = [t.decode("utf-8", "surrogateescape") for t in (done.stdout, done.stderr)]
    return Result(done.returncode, *texts)


def run_at_terminal(argv):
    """The status of a run at a terminal, and what it wrote there, with the terminal's line ends
    changed back."""
    ours, theirs = pty.openpty()
    done = subprocess.Popen(argv, stdout=theirs, stderr=theirs)
    os.close(theirs)
    said = b""
    with contextlib.suppress(OSError):  # the end of a terminal
        while piece := os.read(ours, 65536):
            said += piece
    os.close(ours)
    return done.wait(timeout=PATIENCE), said.replace(b"\r\n", b"\n")


@functools.cache
def usage():
    """The usage text that the tool prints. Another story checks its content."""
    return run([FENNIK, "--help"]).err


class Tree:
    """A staged tree below `prefix` as kov-setup makes it, with an empty repository."""

    def __init__(self):
        self.directory = tempfile.mkdtemp(prefix="fennik-story-")
        self.prefix = self.directory + "/stage"
        shutil.copytree(
            INSTALLED + "/opt/tarvo/kov/share", self.prefix + "/opt/tarvo/kov/share"
        )
        made = run([KOV_SETUP, "--dest-dir", self.prefix])
        if made.status != 0:
            raise RuntimeError("kov-setup failed: " + made.err)

    def remove(self):
        shutil.rmtree(self.directory, ignore_errors=True)

    @property
    def configs(self):
        return self.prefix + "/etc/opt/tarvo/kov/openwbem/openwbem.conf.d"

    @property
    def repository(self):
        return self.prefix + "/var/opt/tarvo/kov/openwbem/repository"

    @property
    def lock_file(self):
        return self.prefix + "/var/opt/tarvo/kov/fennik.lock"

    def users_file(self, product):
        return f"{self.configs}/{product}.allowed_users.conf"

    def snippet(self, product):
        return f"{self.configs}/{product}.conf"

    def command(self, *arguments):
        return [FENNIK, "--kov-build-system-dest-dir", self.prefix, *arguments]

    def fennik(self, *arguments, stdin="", **options):
        return run(self.command(*arguments), stdin, **options)

    def give_to(self, uid):
        """Makes that user the owner of the tree."""
        os.chmod(self.directory, 0o755)
        for parent, directories, files in os.walk(self.prefix):
            for name in [".", *directories, *files]:
                os.chown(os.path.join(parent, name), uid, uid, follow_symlinks=False)

    def state(self):
        """Everything that a failed operation must leave as it was: type, mode, owner and content of
        each file, without the lock file, and the rows of the repository."""
        found = {}
        for parent, directories, files in os.walk(self.prefix):
            for name in [*directories, *files]:
                path = os.path.join(parent, name)
                if path != self.lock_file:
                    found[path] = describe(path)
        found["repository"] = self.rows()
        return found

    def rows(self):
        """The rows of the repository as SQL text."""
        with sqlite3.connect(
            f"file:{self.repository}/repository.db?mode=ro", uri=True
        ) as connection:
            rows = list(connection.iterdump())
        connection.close()
        return rows


def describe(path):
    info = os.lstat(path)
    text = f"{info.st_mode:o} {info.st_uid}:{info.st_gid}"
    if os.path.islink(path):
        return text + " -> " + os.readlink(path)
    if os.path.isfile(path):
        return text + " " + hashlib.sha256(read(path)).hexdigest()
    return text


def is_sanitized(program):
    """Whether the program was built with the sanitizers."""
    return b"__ubsan" in read(program)


def read(path):
    with open(path, "rb") as file:
        return file.read()


def write(path, content):
    with open(path, "wb") as file:
        file.write(content)


@functools.cache
def can_trace():
    probe = "strace", "-f", "-qq", "-o", "/dev/null", "-e", "inject=uname:error=EPERM", "true"
    return shutil.which("strace") is not None and run(list(probe)).status == 0


class Story(unittest.TestCase):
    """A story in a tree of its own. `self.fennik` runs the tool there."""

    maxDiff = None
    TREE = Tree

    def setUp(self):
        self.tree = self.TREE()
        self.addCleanup(self.tree.remove)

    def fennik(self, *arguments, **options):
        return self.tree.fennik(*arguments, **options)

    def register(self, product="sample", *users):
        pairs = [word for user in users or ("alice",) for word in ("--username", user)]
        self.assert_silent_success(self.fennik("--register", "--name", product, *pairs))

    def assert_silent_success(self, result):
        self.assertEqual(result, Result(0, "", ""))

    def assert_usage_alone(self, result):
        self.assertEqual(result, Result(1, "", usage()))

    def assert_fennik_failure(self, result, status, message, before=""):
        """Expects an error of the tool with exactly this message, and its code as exit status.
        `before` is what the undo must have printed first."""
        self.assertEqual((result.status, result.out), (status, ""), result.err)
        self.assertEqual(result.err[: len(before)], before)
        details = re.compile(
            r"An error has occurred\.\nDetails: \S+: \d+ FennikException: (\d+): (.*)\n", re.S
        )
        match = details.fullmatch(result.err[len(before) :])
        self.assertIsNotNone(match, result.err)
        self.assertEqual(int(match[1]), status)
        self.assertEqual(match[2].split(" <")[0], message)

    def assert_other_failure(self, result, *parts):
        """Expects a failure that is not the tool's own: status 1 and `parts` in the message."""
        self.assertEqual((result.status, result.out), (1, ""), result.err)
        self.assertTrue(result.err.startswith("An error has occurred.\nDetails: "), result.err)
        for part in parts:
            self.assertIn(part, result.err)

    # Failing system calls.

    def need_strace(self):
        if not can_trace():
            self.skipTest("programs cannot be traced here (strace)")

    def traced(self, argv, *options, **run_options):
        """Runs `argv` under strace with these options. LeakSanitizer does not work there."""
        environment = dict(os.environ, ASAN_OPTIONS="detect_leaks=0")
        return run(
            ["strace", "-f", "-qq", "-o", self.tree.directory + "/trace", *options, *argv],
            env=environment,
            **run_options,
        )

    def failing(self, injections, *arguments, path=None, **options):
        """Runs the tool while system calls fail. `injections` are those of strace, such as
        "write:error=ENOSPC"; `path` restricts them to calls on that path."""
        self.need_strace()
        words = [word for injection in injections for word in ("-e", "inject=" + injection)]
        if path is not None:
            words += ["-P", path]
        return self.traced(self.tree.command(*arguments), *words, **options)

    def nth_call(self, call, fragment, *arguments):
        """Runs the tool with these arguments. Returns the number, among the calls of that name, of
        the first one whose line in the trace contains `fragment`."""
        self.need_strace()
        self.traced(self.tree.command(*arguments), "-y", "-e", "trace=" + call)
        lines = read(self.tree.directory + "/trace").decode(errors="replace").splitlines()
        for number, line in enumerate([line for line in lines if call + "(" in line], 1):
            if fragment in line:
                return number
        self.fail(f"no {call} with {fragment} in {lines}")

    # Other users.

    def as_nobody(self, *argv):
        """The command line that runs `argv` as an unprivileged user. Root gives the tree to that
        user; any other user runs it as himself."""
        if os.geteuid() != 0:
            return list(argv)
        prefix = ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups"]
        if shutil.which("setpriv") is None or run(prefix + ["test", "-x", FENNIK]).status != 0:
            self.skipTest("an unprivileged user cannot run the installed tool here")
        self.tree.give_to(NOBODY)
        return prefix + list(argv)
