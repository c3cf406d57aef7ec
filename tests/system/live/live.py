# SPDX-License-Identifier: Apache-2.0
"""Shared by the stories of the live system: an installation of their own, and running commands in
it through scripts/sandbox.

The programs come from the tree that KOV_INSTALLED names; the installations are made below
KOV_LIVE_DIR. KOV_SOURCE names the checkout."""

import os
import re
import shutil
import sqlite3
import unittest
from dataclasses import dataclass

from harness import INSTALLED, NOBODY, run

SANDBOX = os.environ.get("KOV_SOURCE", "") + "/scripts/sandbox"
LIVE_DIR = os.environ.get("KOV_LIVE_DIR", "")
CANNOT_RUN_HERE = 77

PROGRAMS = "/opt/tarvo/kov"
INIT = PROGRAMS + "/sbin/tarvo-owcimomd_init"
DAEMON = PROGRAMS + "/sbin/owcimomd"
CONFIG = "/etc/opt/tarvo/kov/openwbem/openwbem.conf"
DROP_INS = CONFIG + ".d"
STATE = "/var/opt/tarvo/kov/openwbem"
REPOSITORY = STATE + "/repository"
PID_FILE = STATE + "/owcimomd.pid"
AS_ACCOUNT = "setpriv --reuid=owcimomd --regid=owcimomd --clear-groups --"


@dataclass
class Step:
    """The status of one command of several, and what it printed."""

    status: int
    output: str


def link_or_copy(source, target):
    """Links files that are only read. replace() replaces the others."""
    try:
        os.link(source, target)
    except OSError:
        shutil.copy2(source, target)


class LiveStory(unittest.TestCase):
    """A story in an installation of its own, which is removed in the end."""

    maxDiff = None

    def setUp(self):
        self.root = f"{LIVE_DIR}/{self.id()}"
        shutil.rmtree(self.root, ignore_errors=True)
        shutil.copytree(INSTALLED, self.root, symlinks=True, copy_function=link_or_copy)
        self.addCleanup(shutil.rmtree, self.root, ignore_errors=True)
        first_use = self.sandbox("true")
        if first_use.status == CANNOT_RUN_HERE:
            self.skipTest(first_use.err.strip())
        self.assertEqual(first_use.status, 0, first_use)

    def need_daemon(self):
        if not os.path.exists(self.root + DAEMON):
            self.skipTest("owcimomd is not part of this build")

    def replace(self, path, content, mode=0o755):
        """Replaces a file of the installation."""
        os.unlink(self.root + path)
        with open(self.root + path, "w", encoding="utf-8") as file:
            file.write(content)
        os.chmod(self.root + path, mode)

    def sandbox(self, *argv, stdin="", **options):
        # LeakSanitizer does not work in every namespace. Other tests look for leaks.
        environment = dict(os.environ, ASAN_OPTIONS="detect_leaks=0")
        return run([SANDBOX, "--root", self.root, *argv], stdin, env=environment, **options)

    def shell(self, text):
        """Runs a shell script in the sandbox. It must end with 0. Returns its standard output."""
        result = self.sandbox("sh", "-c", text)
        self.assertEqual(result.status, 0, result)
        return result.out

    def rows(self):
        """The rows of the repository as SQL text."""
        file = f"file:{self.root}{REPOSITORY}/repository.db?mode=ro"
        connection = sqlite3.connect(file, uri=True)
        rows = list(connection.iterdump())
        connection.close()
        return rows

    def steps(self, *commands):
        """Runs the commands in one sandbox. Returns a Step for each. A process that a command
        leaves running must close the command's output, or collecting it would never end."""
        script = ""
        for command in commands:
            script += (
                f"output=$(timeout 60 sh -c '{command}' 2>&1 </dev/null)\n"
                "printf '%s\\037%s\\036' \"$?\" \"$output\"\n"
            )
        found = re.findall(r"(\d+)\x1f([^\x1e]*)\x1e", self.shell(script))
        self.assertEqual(len(found), len(commands), found)
        return [Step(int(status), output) for status, output in found]

    def assert_steps(self, *rows):
        """Runs commands. Each row is a command, its status and a pattern for its whole output."""
        for (command, status, pattern), step in zip(rows, self.steps(*[row[0] for row in rows])):
            with self.subTest(command=command):
                self.assertEqual(step.status, status, step.output)
                self.assertRegex(step.output, re.compile(rf"\A(?:{pattern})\Z", re.S))


def as_nobody(*argv):
    return ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups", *argv]
