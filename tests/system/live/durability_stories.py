# SPDX-License-Identifier: Apache-2.0
"""When a run has succeeded, its changes are on the disk: the daemon's log and the files."""

import os
import re
import shutil

from live import DROP_INS, INIT, PID_FILE, REPOSITORY, STATE, LiveStory
from providers import PRIVILEGES, USER, live_provider

DAEMON_TRACE = "/var/opt/tarvo/daemon.trace"
TRACE = "/var/opt/tarvo/trace"
BEGUN = "Qualifier Begun : string, Scope(any);"
MOF = "instance of KOV_Product { Name = \\\"made\\\"; Usernames = {\\\"daemon\\\"}; };"
ADD = "fennik --register-namespace x/a --name x --username daemon"


class Durable(LiveStory):
    def setUp(self):
        super().setUp()
        self.need_daemon()
        if shutil.which("strace") is None:
            self.skipTest("strace is not installed")
        self.shell("fennik --register --name x --username daemon")

    def served(self, command, traced="trace=pwrite64,fdatasync,fsync"):
        """The status of a command while a traced daemon runs, which is killed right after it."""
        return int(self.shell(
            f"{INIT} start >/dev/null; pid=$(cat {PID_FILE});"
            # Begins the log, because the header of a new log is synced by itself.
            f"echo '{BEGUN}' | owmofc -n kov - >/dev/null;"
            f"strace -qq -y -e {traced} -o {DAEMON_TRACE} -p $pid &"
            "while grep -q '^TracerPid:.0$' /proc/$pid/status; do sleep 0.05; done;"
            f"{command} >/dev/null 2>&1; status=$?; kill -9 $pid; wait; echo $status"
        ))

    def synced(self, command):
        """The paths that the command itself has synced, in that order."""
        self.shell(f"strace -f -qq -y -e trace=fsync -o {TRACE} {command} >/dev/null")
        with open(self.root + TRACE, encoding="utf-8") as file:
            return re.findall(r"fsync\(\d+<([^>]*)>\)", file.read())

    def test_is_what_the_daemon_has_answered_when_the_run_ends(self):
        for command in (
            ADD,
            f'echo "{MOF}" | owmofc -n kov -',
            'owdeleteinstance -n kov "KOV_Product.Name=\\"made\\""',
        ):
            with self.subTest(command=command):
                self.assertEqual(self.served(command), 0)
                with open(self.root + DAEMON_TRACE, encoding="utf-8") as file:
                    calls = re.findall(r"(\w+)\(\d+<[^>]*/repository\.db-wal>", file.read())
                self.assertIn("pwrite64", calls)
                self.assertEqual(calls.index("fdatasync"), len(calls) - 1, "one, the last call")

    def test_is_nothing_when_the_daemon_cannot_sync(self):
        self.shell("fennik --list-registered-products")
        before = self.rows()
        register = "fennik --register --name y --username daemon"
        self.assertEqual(self.served(register, "inject=fdatasync:error=EIO"), 1)
        self.assertFalse(os.path.exists(f"{self.root}{DROP_INS}/y.allowed_users.conf"))
        self.shell("fennik --list-registered-products")  # merges the killed daemon's log
        self.assertEqual([row for row in self.rows() if "'begun'" not in row], before)

    def test_is_of_a_namespace_only_the_empty_namespace_when_the_daemon_cannot_sync(self):
        self.shell("fennik --list-registered-products")
        before = self.rows()
        self.assertEqual(self.served(ADD, "inject=fdatasync:error=EIO"), 1)
        self.shell("fennik --list-registered-products")  # merges the killed daemon's log
        after = self.rows()
        self.assertEqual([row for row in before if row not in after], [])
        left = [row for row in after if row not in before and "'begun'" not in row]
        self.assertEqual(len(left), 1, left)
        self.assertRegex(left[0], r"INSERT INTO \"?namespace\"? VALUES\(\d+,'x/a','x/a'")

    def test_are_the_files_of_a_product_and_their_names(self):
        self.assertEqual(
            self.synced("fennik --register --name y --username daemon")[:2],
            [f"{DROP_INS}/y.allowed_users.conf", DROP_INS],
        )
        temporary, directory = self.synced(f"fennik --set-owcimomd-config {DROP_INS}/"
                                           "y.allowed_users.conf --name y")
        self.assertEqual((temporary.rpartition("/")[0], directory), (DROP_INS, DROP_INS))
        self.assertEqual(self.synced("fennik --remove-owcimomd-config --name y"), [DROP_INS])
        self.assertIn(DROP_INS, self.synced("fennik --deregister --name y"))

    def test_is_the_content_of_a_configuration_before_it_has_its_name(self):
        self.shell(f"echo 'a = 1' | strace -f -qq -y -e trace=fsync,rename -o {TRACE} "
                   "fennik --set-owcimomd-config - --name x")
        with open(self.root + TRACE, encoding="utf-8") as file:
            calls = re.findall(r'(fsync|rename)\((?:\d+<([^>]*)>|"([^"]*)", "([^"]*)")', file.read())
        synced, renamed, names = calls[:3]
        self.assertEqual(renamed, ("rename", "", synced[1], f"{DROP_INS}/x.conf"))
        self.assertEqual((synced[0], names), ("fsync", ("fsync", DROP_INS, "", "")))

    def test_is_a_repository_that_kov_setup_makes(self):
        self.shell(f"rm -r {REPOSITORY};"
                   f"strace -f -qq -y -e trace=fsync,renameat2 -o {TRACE} kov-setup >/dev/null")
        with open(self.root + TRACE, encoding="utf-8") as file:
            calls = re.findall(r'fsync\(\d+<([^>]*)>|renameat2\([^"]*"([^"]*)", [^"]*"([^"]*)"',
                               file.read())
        unfinished, parent = "/var/opt/tarvo/kov/repository.kov-setup", "/var/opt/tarvo/kov"
        self.assertEqual(calls[-4:], [(unfinished, "", ""), ("", unfinished, REPOSITORY),
                                      (STATE, "", ""), (parent, "", "")])

    def test_are_the_privilege_files_and_their_names(self):
        provider = live_provider("disk", privileges=USER)
        provider.write_below(self.root)
        self.shell("fennik --register --name sample --username daemon;"
                   "fennik --register-namespace sample --name sample --username daemon")
        with open(self.root + "/var/opt/tarvo/list", "w", encoding="utf-8") as file:
            file.write(provider.line())
        use = "fennik --register-providers /var/opt/tarvo/list --name sample"
        added = self.synced(use)
        names = [f"{PRIVILEGES}/owcimomd/oop1-sample_disk", f"{PRIVILEGES}/oop1-sample_disk"]
        directories = [PRIVILEGES, f"{PRIVILEGES}/owcimomd"]
        self.assertEqual([name for name in added if name.startswith(PRIVILEGES)],
                         names + directories)
        self.shell(": >/var/opt/tarvo/list")
        self.assertEqual([name for name in self.synced(use) if name.startswith(PRIVILEGES)],
                         directories)
