# SPDX-License-Identifier: Apache-2.0
"""Root works on a repository that an attacker with the daemon's account has forged. No other file
is touched, no run hangs, and the message says what to do."""

import os
import shutil
import socket
import subprocess
import sys

from harness import describe, is_sanitized, read, run, write
from machine import DATA, FENNIK, LIVE, PLAY, MachineStory

AS_ACCOUNT = ("setpriv", "--reuid=owcimomd", "--regid=owcimomd", "--clear-groups", "--")
FORGE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "forge.py")
FILE = LIVE + "/repository.db"
SECRET = "/var/opt/tarvo/secret"
PRECIOUS = SECRET + "/precious"
# A run takes milliseconds.
IN_TIME = ("timeout", "20")
LIST = (*IN_TIME, FENNIK, "--list-registered-products")
REGISTER = (*IN_TIME, FENNIK, "--register", "--name", "other", "--username", "al")
BESIDE = ("-journal", "-wal")


class Forged(MachineStory):
    def setUp(self):
        super().setUp()
        os.mkdir(SECRET, 0o700)
        write(PRECIOUS, b"precious")
        self.precious = describe(PRECIOUS)
        shutil.copy2(FORGE, PLAY + "/forge.py")

    def forge_command(self, *words):
        return [*AS_ACCOUNT, sys.executable, PLAY + "/forge.py", FILE, *words]

    def forge(self, *words):
        done = run(self.forge_command(*words))
        self.assertEqual(done.status, 0, done.err)

    def as_account(self, *words):
        self.assertEqual(run([*AS_ACCOUNT, *words]).status, 0, words)

    def assert_refused(self, *texts, argv=LIST):
        self.not_running()
        result = run(argv)
        self.assertTrue(os.path.lexists(PRECIOUS), "root has removed it")
        self.assertEqual(describe(PRECIOUS), self.precious)
        self.assertEqual((result.status, result.out), (1, ""), result.err)
        for text in texts:
            self.assertIn(text, result.err)

    def assert_works(self):
        self.not_running()
        result = run(LIST)
        self.assertEqual((result.status, result.out, result.err), (0, "sample\n", ""))


class Journal(Forged):
    def test_that_names_a_file_of_roots_has_nothing_removed(self):
        self.forge("journal", PRECIOUS)
        journal = describe(FILE + "-journal")
        for argv in (LIST, REGISTER):
            self.assert_refused(f'"{FILE}"', "the journal beside it names another file",
                                "Then move the journal away", argv=argv)
            self.assertEqual(describe(FILE + "-journal"), journal)
        os.rename(FILE + "-journal", PLAY + "/journal")
        self.assert_works()

    def test_that_names_a_pipe_is_not_waited_for(self):
        self.as_account("mkfifo", DATA + "/pipe")
        self.forge("journal", DATA + "/pipe")
        self.assert_refused("the journal beside it names another file")
        os.unlink(FILE + "-journal")
        self.assert_works()

    def test_is_rolled_back_and_removed_without_a_proc_file_system(self):
        if is_sanitized(FENNIK):
            self.skipTest("the sanitizer needs a proc file system")
        self.forge("journal", "")
        without = ["unshare", "-m", "sh", "-c", 'mount -t tmpfs none /proc && exec "$@"', "sh"]
        self.not_running()
        result = run([*without, *LIST])
        self.assertEqual((result.status, result.out), (0, "sample\n"), result.err)
        self.assertFalse(os.path.lexists(FILE + "-journal"))


def listen(path):
    with socket.socket(socket.AF_UNIX) as listening:
        os.chdir(os.path.dirname(path))  # the name of a socket must be short
        listening.bind(os.path.basename(path))
        os.chdir("/")


class Names(Forged):
    """Something else has the name of a file that belongs to a repository."""

    def each_name(self):
        for ending in ("", *BESIDE):
            self.reset()
            if ending == "-wal":
                self.forge("logged")
            if ending == "":
                os.unlink(FILE)
            yield FILE + ending

    def assert_each_refused(self, put, text):
        for name in self.each_name():
            with self.subTest(name=name):
                put(name)
                found = os.lstat(name)
                self.assert_refused(f'"{name}"', text)
                self.assertEqual(os.lstat(name).st_ino, found.st_ino)
                self.assertEqual(os.listdir(SECRET), ["precious"])

    def test_pipes(self):
        self.assert_each_refused(lambda name: self.as_account("mkfifo", name), "regular file")

    def test_links(self):
        self.assert_each_refused(
            lambda name: self.as_account("ln", "-s", PRECIOUS, name), "regular file"
        )

    def test_links_to_nothing(self):
        self.assert_each_refused(
            lambda name: self.as_account("ln", "-s", SECRET + "/new", name), "regular file"
        )

    def test_directories(self):
        self.assert_each_refused(lambda name: self.as_account("mkdir", name), "regular file")

    def test_sockets(self):
        self.assert_each_refused(listen, "regular file")

    def test_second_names_of_roots_files(self):
        # A machine with fs.protected_hardlinks=0 lets everybody make them.
        for name in self.each_name():
            with self.subTest(name=name):
                os.link(PRECIOUS, name)
                self.precious = describe(PRECIOUS)
                self.assert_refused(f'"{name}"', "(a hard link)")
                os.unlink(name)
                self.assertEqual(read(PRECIOUS), b"precious")
                self.precious = describe(PRECIOUS)


class Place(Forged):
    def test_that_is_a_link_of_the_account_is_not_followed(self):
        self.as_account("mv", LIVE, DATA + "/moved")
        self.as_account("ln", "-s", DATA + "/moved", LIVE)
        self.assert_refused("is a link of another user and is not followed")

    def test_exchanged_while_root_works_leads_nowhere_else(self):
        shutil.copytree(LIVE, SECRET + "/repository")
        write(SECRET + "/repository/repository.db-wal", b"precious")
        before = {name: describe(f"{SECRET}/repository/{name}")
                  for name in os.listdir(SECRET + "/repository")}
        self.as_account("ln", "-s", SECRET + "/repository", DATA + "/link")
        exchanging = subprocess.Popen(self.forge_command("exchange", DATA + "/link"))
        try:
            statuses = set()
            for _ in range(40):
                self.not_running()
                statuses.add(run(REGISTER).status)
                self.not_running()
                statuses.add(run([*IN_TIME, FENNIK, "--deregister", "--name", "other"]).status)
        finally:
            ended = exchanging.poll()
            exchanging.kill()
            exchanging.wait()
        self.assertIsNone(ended, "nothing was exchanged")
        self.assertNotIn(124, statuses)
        self.assertIn(1, statuses)
        after = {name: describe(f"{SECRET}/repository/{name}")
                 for name in os.listdir(SECRET + "/repository")}
        self.assertEqual(after, before)


class Content(Forged):
    def test_that_could_carry_something_out_is_refused(self):
        for name, statement in (
            ("trigger", "CREATE TRIGGER t AFTER INSERT ON instance BEGIN DELETE FROM class; END"),
            ("view", "CREATE VIEW v AS SELECT 1"),
            ("table", "CREATE VIRTUAL TABLE v USING fts5(text)"),
            ("table", "ALTER TABLE instance ADD COLUMN more AS (abs(id))"),
            ("index", "CREATE INDEX i ON instance (abs(id))"),
        ):
            with self.subTest(statement=statement):
                self.reset()
                self.forge("sql", statement)
                for argv in (LIST, REGISTER):
                    self.assert_refused(
                        f'The file "{FILE}" does not have exactly the tables of a repository: '
                        f"the {name} ", "put a backup of it back, or move it away", argv=argv
                    )
        self.reset()
        self.forge("sql", "UPDATE namespace SET spelling=spelling")
        self.assert_works()

    def test_of_a_log_is_held_to_the_same(self):
        for statement in (
            "CREATE TRIGGER t AFTER INSERT ON instance BEGIN DELETE FROM class; END",
            "CREATE VIEW v AS SELECT 1",
            "CREATE VIRTUAL TABLE v USING fts5(text)",
        ):
            with self.subTest(statement=statement):
                self.reset()
                self.forge("log", statement)
                self.assert_refused("does not have exactly the tables of a repository")
        for command in (("log", "UPDATE namespace SET spelling=spelling"), ("logged",)):
            self.reset()
            self.forge(*command)
            self.assert_works()
