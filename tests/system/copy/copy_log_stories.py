# SPDX-License-Identifier: Apache-2.0
"""The debug log cannot be written any more while an operation holds the daemon stopped. Whichever
line is the last one, the daemon is started again and no copy stays."""

import os
import shutil
import subprocess

from deregister_stories import WholeProduct
from harness import read, write
from log_walk import LogWalk
from machine import DATA, PLAY
from providers import without_repository_file

SETTINGS = "/etc/opt/tarvo"
# The first answer makes the tool open the repository directly. Then the daemon seems to run.
ANSWERS = b"3\n0\n" + b"0\n" * 10


class EveryLogLine(LogWalk, WholeProduct):
    left_over = ()

    def setUp(self):
        super().setUp()
        self.need_strace()
        self.save_machine()

    def save_machine(self):
        for place, name in ((DATA, "data"), (SETTINGS, "settings")):
            shutil.rmtree(f"{PLAY}/{name}", ignore_errors=True)
            subprocess.run(["cp", "-a", place, f"{PLAY}/{name}"], check=True)
        self.before = self.tree.state()

    def reset(self):
        for place, name in ((DATA, "data"), (SETTINGS, "settings")):
            subprocess.run(["find", place, "-mindepth", "1", "-delete"], check=True)
            subprocess.run(["cp", "-a", f"{PLAY}/{name}/.", place], check=True)

    def traced(self, *words, **options):
        write(PLAY + "/plan", ANSWERS)
        write(PLAY + "/calls", b"")
        return super().traced(*words, **options)

    def assert_daemon_runs(self):
        calls = [line.split()[0] for line in read(PLAY + "/calls").decode().splitlines()]
        self.assertIn(calls, ([], ["status"], ["status", "status"],
                              ["status", "status", "stop", "start"]))

    def assert_as_before(self):
        self.assert_daemon_runs()
        for path in self.left_over:
            if os.path.exists(path):
                os.unlink(path)
        self.assertEqual(self.tree.state(), self.before)

    def assert_done(self):
        self.assert_daemon_runs()
        self.assertEqual(without_repository_file(self.tree.state()), self.after)
        self.reset()

    def walk(self, *arguments, least, **options):
        result = self.fennik(*arguments, stdin=options.get("stdin", ""))
        self.assertEqual((result.status, result.err), (0, ""))
        self.after = without_repository_file(self.tree.state())
        self.reset()
        self.walk_the_log(*arguments, output=result.out, least=least, **options)

    def test_of_deregistering_a_product(self):
        self.walk("--deregister", "--name", "sample", least=30)

    def test_of_deregistering_a_namespace(self):
        self.walk("--deregister-namespace", "sample/more", "--name", "sample", least=10)

    def test_of_replacing_providers(self):
        self.walk("--register-providers", "-", "--name", "sample", least=20,
                  stdin=self.PROVIDERS[0].line())

    def test_of_saving_the_state(self):
        self.walk("--dump-product-state", PLAY + "/state.xml", least=20)
        self.assertIn(b"sample.key = 1", read(PLAY + "/state.xml"))

    def test_of_restoring_the_state(self):
        file = PLAY + "/state.xml"
        self.assertEqual(self.fennik("--dump-product-state", file).status, 0)
        self.assertEqual(self.fennik("--deregister", "--name", "sample").status, 0)
        self.save_machine()
        # Registering a product and setting its configuration are not undone.
        self.left_over = (self.tree.users_file("sample"), self.tree.snippet("sample"))
        self.walk("--restore-product-state", file, least=40, stride=3)
