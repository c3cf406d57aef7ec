# SPDX-License-Identifier: Apache-2.0
"""Deregistering a product when the swap fails or the daemon does not stop or start. After a failed
swap everything is put back, apart from the allowed users file."""

import errno
import os

from harness import UNDO_HEAD, describe, run, write
from machine import BACKUP, COPY, FENNIK, LIVE, SCRIPT, DaemonStory, MachineStory
from providers import PRIVILEGES, USER, Provider, process, registration, schema

CONFIGS = "/etc/opt/tarvo/kov/openwbem/openwbem.conf.d"
USERS_FILE = CONFIGS + "/sample.allowed_users.conf"
SNIPPET = CONFIGS + "/sample.conf"
DEREGISTER = (FENNIK, "--deregister", "--name", "sample")
LIST = (FENNIK, "--list-providers", "--name", "sample")
CANNOT_MOVE = "Unable to move {0} to {1}. ::rename set errno = {2}"
PLACES = ("/etc/opt/tarvo", "/var/opt/tarvo/kov")


class ProductStory(MachineStory):
    """A product with a snippet, two namespaces and three providers."""

    def setUp(self):
        super().setUp()
        write(SNIPPET, b"sample.key = 1\n")
        os.chmod(SNIPPET, 0o640)
        text = registration("disk", Process="/bin/true", UserContext=4,
                            NamespaceNames=["sample/a"])
        fan = registration("fan", Process="/bin/true", NamespaceNames=["sample/b"])
        providers = [
            Provider("disk", text, schema("disk", "sample/a"), USER),
            Provider("fan", fan, schema("fan", "sample/b")),
            Provider("proc", process(Process="/bin/true"), ""),
        ]
        for provider in providers:
            provider.write_below("/")
        self.not_running()
        lines = "".join(provider.line() for provider in providers)
        self.assert_silent_success(
            run([FENNIK, "--register-providers", "-", "--name", "sample"], lines)
        )
        self.before = self.everything()
        self.listed = self.list_providers()
        self.assertEqual(len(self.listed.splitlines()), 3)
        self.not_running()

    def list_providers(self):
        self.not_running()
        result = run(LIST)
        self.assertEqual((result.status, result.err), (0, ""))
        return result.out

    @staticmethod
    def everything():
        found = {}
        for place in PLACES:
            for parent, directories, files in os.walk(place):
                for name in [*directories, *files]:
                    path = os.path.join(parent, name)
                    if not path.endswith("/fennik.lock"):
                        found[path] = describe(path)
        return found

    def assert_put_back(self):
        """Everything but the allowed users file is as before."""
        now = self.everything()
        self.assertNotIn(USERS_FILE, now)
        self.assertEqual(
            now, {path: text for path, text in self.before.items() if path != USERS_FILE}
        )
        self.assertEqual(self.list_providers(), self.listed)
        self.assertEqual(self.namespaces(), ["sample/a", "sample/b"])

    def write_users_file(self):
        """Makes the file of allowed users again, as an administrator does."""
        write(USERS_FILE, b"owcimomd.allowed_users = al\n")
        os.chmod(USERS_FILE, int(self.before[USERS_FILE].split()[0][-3:], 8))


class Swapping(ProductStory):
    def test_that_works_removes_everything(self):
        self.assert_silent_success(run(DEREGISTER))
        self.assertEqual(self.list_providers(), "")
        for path in (USERS_FILE, SNIPPET):
            self.assertFalse(os.path.exists(path), path)
        self.assertEqual(os.listdir(PRIVILEGES), ["owcimomd"])
        self.assertEqual(os.listdir(PRIVILEGES + "/owcimomd"), [])

    def test_that_fails_puts_the_files_back(self):
        for number, names in ((1, (LIVE, BACKUP)), (2, (COPY, LIVE))):
            with self.subTest(names=names):
                self.not_running()
                result = self.with_calls(f"rename:error=EIO:when={number}", argv=DEREGISTER)
                self.assert_fennik_failure(
                    result, 27, CANNOT_MOVE.format(*names, errno.EIO)
                )
                self.assert_put_back()
                self.write_users_file()
                self.assertEqual(self.everything(), self.before)

    def test_whose_backup_stays_puts_the_files_back(self):
        self.play_rm("echo cannot; exit 1")
        self.assert_fennik_failure(
            run(DEREGISTER), 28,
            f"Unable to remove temporary directory: /bin/rm -rf {BACKUP} \n exited with status 1 "
            "\n cannot\n",
        )
        self.assert_put_back()

    def test_whose_backup_is_gone_when_it_fails_puts_the_files_back(self):
        self.play_rm('"$REAL" "$@"; echo cannot; exit 1')
        self.assertEqual(run(DEREGISTER).status, 28)
        self.assert_put_back()


class Daemon(ProductStory):
    def test_is_started_again(self):
        self.running(0, 0)
        self.assert_silent_success(run(DEREGISTER))
        self.assertEqual(self.calls(), ["status", "status", "stop", "start"])

    def test_is_started_again_after_a_failed_swap(self):
        self.play_rm("exit 1")
        self.running(0, 0)
        self.assertEqual(run(DEREGISTER).status, 28)
        self.assertEqual(self.calls(), ["status", "status", "stop", "start"])
        self.assert_put_back()

    def test_is_started_again_after_a_refusal(self):
        for name, status in (("kov", 29), ("nobody", 3)):
            with self.subTest(name=name):
                self.running(0, 0)
                self.assertEqual(run([*DEREGISTER[:-1], name]).status, status)
                self.assertEqual(self.calls(), ["status", "status", "stop", "start"])
                self.assertEqual(self.everything(), self.before)

    def test_that_does_not_stop_changes_nothing(self):
        self.running(7)
        self.assertEqual(run(DEREGISTER).status, 23)
        self.assertEqual(self.calls(), ["status", "status", "stop"])
        self.assertEqual(self.everything(), self.before)

    def test_that_does_not_start_is_told(self):
        self.running(0, 9)
        result = run(DEREGISTER)
        self.assertEqual((result.status, result.out), (1, ""))
        self.assertTrue(result.err.startswith("Failed to start cimom.  Details: "), result.err)
        self.assertNotIn(UNDO_HEAD, result.err)
        self.assertEqual(self.list_providers(), "")

    def test_that_does_not_start_after_registering_is_told(self):
        self.running(0, 9)
        result = run([FENNIK, "--register-providers", "-", "--name", "sample"])
        self.assertEqual(result.status, 1)
        self.assertTrue(result.err.startswith("Failed to start cimom.  Details: "), result.err)
        self.assertEqual(self.list_providers(), "")

    def test_is_stopped_once_and_started_once_for_a_list(self):
        for text, status in (("", 0), ("oop2,a,b\n", 14)):
            with self.subTest(text=text):
                self.running(0, 0)
                words = [FENNIK, "--register-providers", "-", "--name", "sample"]
                self.assertEqual(run(words, text).status, status)
                self.assertEqual(self.calls(), ["status", "status", "stop", "start"])


class RealDaemon(DaemonStory, ProductStory):
    """The daemon answers again after the operation."""

    def assert_answers(self, listed):
        self.assertEqual(run([SCRIPT, "status"]).status, 0)
        result = run(LIST)
        self.assertEqual((result.status, result.err, result.out), (0, "", listed))
        for path in (COPY, BACKUP):
            self.assertFalse(os.path.lexists(path), path)

    def assert_files_are_back(self):
        self.assertFalse(os.path.exists(USERS_FILE))
        self.write_users_file()
        now = self.everything()
        for path, text in self.before.items():
            if not path.startswith(LIVE + "/"):
                self.assertEqual(now.get(path), text, path)

    def test_answers_after_a_deregistration(self):
        self.assert_silent_success(run(DEREGISTER))
        self.assert_answers("")

    def test_answers_after_a_failed_rename(self):
        for number, names in ((1, (LIVE, BACKUP)), (2, (COPY, LIVE))):
            with self.subTest(names=names):
                result = self.with_calls(f"rename:error=EIO:when={number}", argv=DEREGISTER)
                self.assert_fennik_failure(
                    result, 27, CANNOT_MOVE.format(*names, errno.EIO)
                )
                self.assert_answers(self.listed)
                self.assert_files_are_back()

    def test_answers_after_a_failed_removal_of_the_backup(self):
        self.play_rm("echo cannot; exit 1")
        result = run(DEREGISTER)
        self.assertEqual(result.status, 28)
        self.assertNotIn(UNDO_HEAD, result.err)
        self.assert_answers(self.listed)
        self.assert_files_are_back()
