# SPDX-License-Identifier: Apache-2.0
"""Registering, replacing, listing and removing providers on a live system while the daemon runs.
The daemon is stopped meanwhile and runs again in the end."""

import os
import re
import sqlite3

from harness import Result, describe, write
from live import INIT, REPOSITORY, LiveStory
from providers import (
    PRIVILEGES, PROCESS, PROGRAM, USER, Provider, linked_schema, listing, live_provider, process, registration,
    schema,
)

# Files that come and go with the daemon and the tool, and the repository's file, whose rows are
# compared instead.
TRANSIENT = re.compile(r"(owcimomd\.(pid|sock)|repository\.db(-wal)?|fennik\.lock)$")

USE = "fennik --register-providers - --name sample"
LIST = "fennik --list-providers --name sample"
DEREGISTER = "fennik --deregister --name sample"


class Providers(LiveStory):
    def setUp(self):
        super().setUp()
        self.need_daemon()
        self.before_the_product = self.state()
        self.shell(
            "fennik --register --name sample --username daemon;"
            "fennik --register-namespace sample --name sample --username daemon;"
            "echo sample.key = 1 | fennik --set-owcimomd-config - --name sample"
        )
        self.disk = live_provider("disk", privileges=USER)
        self.fan = live_provider("fan")
        self.proc = live_provider("proc", registration=process(Process=PROGRAM), mof=schema("proc"))
        for provider in (self.disk, self.fan, self.proc):
            provider.write_below(self.root)

    def state(self):
        """The configuration, the privilege files and the rows of the repository. Call it while no
        daemon runs."""
        found = {}
        for place in ("/etc/opt/tarvo", "/var/opt/tarvo/kov"):
            for parent, directories, files in os.walk(self.root + place):
                for name in [*directories, *files]:
                    path = os.path.join(parent, name)
                    if not TRANSIENT.search(name):
                        found[path.removeprefix(self.root)] = describe(path)
        file = f"file:{self.root}{REPOSITORY}/repository.db?mode=ro"
        connection = sqlite3.connect(file, uri=True)
        found["repository"] = list(connection.iterdump())
        connection.close()
        return found

    def served(self, script, stdin=""):
        """Starts the daemon and runs a script. Returns its Result, with status 98 or 99 when the
        daemon does not run afterwards or does not start."""
        return self.sandbox(
            "sh", "-c",
            f"{INIT} start </dev/null >/dev/null || exit 99;"
            f"{script}\nstatus=$?; {INIT} status </dev/null >/dev/null || exit 98; exit $status",
            stdin=stdin,
        )

    def lines(self, *providers):
        return "".join(provider.line() for provider in providers)

    def use(self, *providers):
        self.assertEqual(self.served(USE, self.lines(*providers)), Result(0, "", ""))

    def assert_refused(self, script, status, message, stdin="", without=()):
        before = self.state()
        result = self.served(script, stdin)
        self.assertEqual((result.status, result.out), (status, ""), result.err)
        self.assertIn(f" FennikException: {status}: {message}", result.err)
        self.assertNotIn("restoration to the previous state has also failed", result.err)
        self.assertEqual(
            self.state(), {path: text for path, text in before.items() if path not in without}
        )

    def test_are_registered_listed_replaced_and_removed_with_their_product(self):
        process_line = f'Sample_Proc,root:{PROCESS}.InstanceID="sample:proc"\n'
        self.use(self.disk, self.fan, self.proc)
        listed = self.served(LIST)
        self.assertEqual((listed.status, listed.err), (0, ""))
        self.assertEqual(
            sorted(listed.out.splitlines(True)),
            sorted([*listing("disk", "fan").splitlines(True), process_line]),
        )
        self.use(self.fan)
        self.assertEqual(self.served(LIST), Result(0, listing("fan"), ""))
        self.assertFalse(os.path.exists(f"{self.root}{PRIVILEGES}/oop1-sample_disk"))
        self.use(self.proc, self.disk)
        self.assertEqual(self.served(DEREGISTER), Result(0, "", ""))
        self.assertEqual(self.state(), self.before_the_product)
        self.assertEqual(self.served(LIST), Result(0, "", ""))

    def test_with_associations_of_associations_live_as_all_others(self):
        links = live_provider("links", mof=linked_schema())
        links.write_below(self.root)
        self.use(links)
        self.assertEqual(self.served(LIST), Result(0, listing("links"), ""))
        self.use(links)
        saved = "/var/opt/tarvo/saved.xml"
        self.assertEqual(self.served(f"fennik --dump-product-state {saved}").status, 0)
        self.assertEqual(self.served(DEREGISTER), Result(0, "", ""))
        self.assertEqual(self.state(), self.before_the_product)
        self.assertEqual(self.served(f"fennik --restore-product-state {saved}").status, 0)
        self.assertEqual(self.served(LIST), Result(0, listing("links"), ""))
        self.use(self.disk)
        self.assertEqual(self.served(LIST), Result(0, listing("disk"), ""))

    def test_are_the_same_through_the_daemon_and_without_it(self):
        self.use(self.disk, self.fan, self.proc)
        self.assertEqual(self.served(LIST), self.sandbox(*LIST.split()))

    def test_are_registered_while_no_daemon_runs(self):
        done = self.sandbox("sh", "-c", f"{USE} && ! {INIT} status >/dev/null 2>&1 </dev/null",
                            stdin=self.lines(self.disk))
        self.assertEqual(done, Result(0, "", ""))

    def test_list_is_not_eaten_by_the_init_script(self):
        """This init script reads its whole standard input at every command."""
        os.rename(self.root + INIT, self.root + INIT + ".real")
        with open(self.root + INIT, "w", encoding="ascii") as script:
            script.write(f'#!/bin/sh\ncat >/dev/null\nexec {INIT}.real "$@"\n')
        os.chmod(self.root + INIT, 0o755)
        self.use(self.disk, self.fan)
        self.assertEqual(
            sorted(self.served(LIST).out.splitlines(True)),
            sorted(listing("disk", "fan").splitlines(True)),
        )

    def test_list_is_read_when_the_daemon_has_stopped(self):
        """The list is written only after the daemon has stopped."""
        self.disk.write_below(self.root)
        result = self.served(
            f"(until ! {INIT} status </dev/null >/dev/null 2>&1; do sleep 0.05; done;"
            f"echo '{self.disk.line().strip()}') | timeout 60 {USE}"
        )
        self.assertEqual(result, Result(0, "", ""))
        self.assertEqual(self.served(LIST).out, listing("disk"))

    def test_program_must_be_there(self):
        for path in ("/nonexistent", "/etc/passwd", "", "bin/true"):
            with self.subTest(path=path):
                bad = Provider("bad", mof="", registration=registration("bad", Process=path))
                bad.write_below(self.root)
                self.assert_refused(
                    USE, 14,
                    "Instance sample:bad: Process property does not identify a valid executable: "
                    f"{path}\n", bad.line(),
                )

    def test_program_cannot_be_a_second_statement(self):
        """The program exists. Its name ends the statement and begins another."""
        name = "x @ root } user_exec_check_args { /bin/sh"
        program = f"/var/opt/tarvo/{name}"
        os.makedirs(os.path.dirname(self.root + program), exist_ok=True)
        write(self.root + program, b"#!/bin/sh\n")
        os.chmod(self.root + program, 0o755)
        bad = Provider("bad", mof="", registration=registration("bad", Process=program))
        bad.write_below(self.root)
        self.assert_refused(
            USE, 14, "Instance sample:bad: Process property cannot be written into a privilege "
            "file: ", bad.line(),
        )

    def test_that_are_wrong_change_nothing(self):
        self.use(self.disk, self.fan)
        self.assert_refused(USE, 14, "Invalid provider type: oop2\n",
                            self.lines(self.fan) + "oop2,x,y\n")
        self.assert_refused(
            "fennik --register-providers /missing --name sample", 24,
            "The specified path /missing : does not exist.\n",
        )

    def test_that_fail_halfway_bring_the_earlier_ones_back(self):
        self.use(self.disk, self.fan)
        write(f"{self.root}{PRIVILEGES}/owcimomd/oop1-sample_proc", b"left over")
        self.assert_refused(USE, 14, "Provider registration failed: ",
                            self.lines(self.disk, self.fan, self.proc))

    def test_go_with_their_product_or_not_at_all(self):
        self.use(self.disk, self.fan, self.proc)
        users = "/etc/opt/tarvo/kov/openwbem/openwbem.conf.d/sample.allowed_users.conf"
        self.assert_refused("fennik --deregister --name kov", 29,
                            "Deregistration of kov is not allowed.\n")
        self.assert_refused("fennik --deregister --name nobody", 3,
                            "The product has not been registered.")
        self.assert_refused(f"rm {users}; {DEREGISTER}", 25, f"Failed to remove {users}",
                            without=[users])
        self.assertEqual(len(self.served(LIST).out.splitlines()), 3)
