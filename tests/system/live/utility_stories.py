# SPDX-License-Identifier: Apache-2.0
"""owdeleteinstance and owdeletenamespace, which the messages of a failed undo tell an administrator
to use."""

import os
import re
import signal

from harness import Result
from live import DROP_INS, INIT, REPOSITORY, STATE, LiveStory

NAMESPACE_KEYS = {
    "SystemCreationClassName": "CIM_ComputerSystem", "SystemName": "localhost",
    "ObjectManagerCreationClassName": "CIM_ObjectManager", "ObjectManagerName": "owcimomd",
    "CreationClassName": "CIM_Namespace", "Name": "spare/a",
}
HOLD_LOCK = """
import fcntl, subprocess, sys
with open("{}", "w") as lock:
    fcntl.lockf(lock, fcntl.LOCK_EX)
    sys.exit(subprocess.run(["owdeletenamespace", "nowhere"]).returncode)
"""
FORGE = os.environ.get("KOV_SOURCE", "") + "/tests/system/copy/forge.py"
PRODUCT = 'KOV_Product.Name="{}"'


def quoted(word):
    """`word` in double quotes for the shell."""
    return '"' + re.sub(r'(["\\$`])', r"\\\1", word) + '"'


# Creates a namespace through the daemon, and a class in it. No product has reserved it.
SPARE = "".join(f'{name} = "{value}";' for name, value in NAMESPACE_KEYS.items())
MAKE_SPARE = (
    f"printf %s {quoted('instance of CIM_Namespace {' + SPARE + '};')} | owmofc -n root - && "
    f"echo {quoted('class Spare {};')} | owmofc -n spare/a -"
)


class Utilities(LiveStory):
    def setUp(self):
        super().setUp()
        out = self.shell(
            "for name in one two three; do fennik --register --name $name --username alice; done;"
            "fennik --register-namespace one/a --name one --username bob >/dev/null"
        )
        self.assertEqual(out, "")

    def products(self):
        return self.shell("fennik --list-registered-products").split()

    def assert_refused(self, words, *parts, status=1):
        """Expects that the command fails with these words in its message and changes nothing."""
        before = self.rows()
        result = self.sandbox(*words)
        self.assertEqual((result.status, result.out), (status, ""), result.err)
        self.assertTrue(result.err.startswith(words[0] + ": error: "), result.err)
        for part in parts:
            self.assertIn(part, result.err)
        self.assertEqual(self.rows(), before)

    def test_instances_are_deleted(self):
        paths = [PRODUCT.format("one"), "kov:" + PRODUCT.format("three")]
        done = self.sandbox("owdeleteinstance", "-n", "kov", *paths)
        self.assertEqual(done, Result(0, "", ""))
        self.assertEqual(self.products(), ["two"])

    def test_names_in_a_path_are_taken_without_regard_to_case(self):
        done = self.sandbox("owdeleteinstance", "-n", "KOV", 'kov_product.NAME="two"')
        self.assertEqual(done, Result(0, "", ""))
        self.assertEqual(sorted(self.products()), ["one", "three"])

    def test_one_instance_that_is_not_there_keeps_all(self):
        self.assert_refused(
            ["owdeleteinstance", "-n", "kov", PRODUCT.format("one"), PRODUCT.format("nobody")],
            f'cannot delete the instance "{PRODUCT.format("nobody")}": ',
        )
        self.assertEqual(len(self.products()), 3)

    def test_same_instance_twice_keeps_it(self):
        self.assert_refused(["owdeleteinstance", "-n", "kov"] + [PRODUCT.format("one")] * 2, "one")

    def test_paths_that_name_no_instance_are_refused(self):
        for path, reason in (
            ("KOV_Product", "it names no key, so it is the path of a class"),
            ("KOV_Product.Name=", "KOV_Product.Name="),
            ("", 'the instance ""'),
            ("KOV_Nothing.Name=\"x\"", "KOV_Nothing"),
            ("nowhere:" + PRODUCT.format("one"), "nowhere"),
            ('KOV_Product.Wrong="one"', "Wrong"),
        ):
            with self.subTest(path=path):
                self.assert_refused(["owdeleteinstance", "-n", "kov", path], reason)

    def make_spare(self):
        """Creates a namespace with a class that no product has reserved."""
        self.shell(f"{INIT} start; " + MAKE_SPARE + f"; {INIT} stop")

    def test_namespaces_are_deleted_with_what_is_in_them(self):
        self.make_spare()
        before = [row for row in self.rows() if "spare" not in row]
        self.assertNotEqual(before, self.rows())
        done = self.sandbox("owdeletenamespace", "SPARE/a")
        self.assertEqual(done, Result(0, "", ""))
        self.assertFalse([row for row in self.rows() if "spare" in row])
        self.assert_refused(
            ["owdeletenamespace", "spare/a"],
            'cannot delete the namespace "spare/a": there is no namespace "spare/a"')

    def test_one_namespace_that_is_not_there_keeps_all(self):
        self.make_spare()
        self.assert_refused(["owdeletenamespace", "spare/a", "nowhere"], '"nowhere"')

    def test_reserved_namespace_is_deleted_only_when_that_is_said(self):
        self.assert_refused(
            ["owdeletenamespace", "ONE/a"],
            'cannot delete the namespace "ONE/a": the product "one" has reserved it. "fennik '
            '--deregister-namespace ONE/a --name one" takes it back whole; --reserved deletes it '
            "nevertheless",
        )
        done = self.sandbox("owdeletenamespace", "--reserved", "ONE/a")
        self.assertEqual(done, Result(0, "", ""))
        done = self.sandbox("fennik", "--deregister-namespace", "one/a", "--name", "one")
        self.assertEqual(done, Result(
            0, "", "Error ignored: The namespace one/a could not be deleted because it doesn't "
            "exist.\n"), "what referred to it can still be removed")

    def test_namespace_with_a_reservation_alone_is_kept(self):
        self.shell("owdeleteinstance " + quoted(
            'kov:KOV_ProductReservedNamespace.Product="kov:KOV_Product.Name=\\"one\\"",'
            'ReservedNamespace="kov:KOV_ReservedNamespace.Name=\\"one/a\\""'))
        self.assert_refused(
            ["owdeletenamespace", "one/a"],
            "it is reserved; --reserved deletes it nevertheless")

    def test_namespaces_that_every_installation_needs_are_kept(self):
        for name in ("root", "Root/Security", "kov"):
            with self.subTest(name=name):
                self.assert_refused(
                    ["owdeletenamespace", "--reserved", "one/a", name],
                    f'cannot delete the namespace "{name}": ', "every installation needs it",
                )

    def test_command_lines_that_cannot_be_read(self):
        for words, reason in (
            (["owdeleteinstance"], "no object path is given"),
            (["owdeleteinstance", "-n"], "the option needs an argument"),
            (["owdeletenamespace"], "no namespace is given"),
            (["owdeletenamespace", "--force", "one/a"], "unknown option"),
        ):
            with self.subTest(words=words):
                self.assert_refused(words, reason, f"Usage: {words[0]} ", status=2)

    def test_repository_below_a_prefix(self):
        self.shell(
            "mkdir -p /tmp/p.$$/opt/tarvo/kov; cp -r /opt/tarvo/kov/share /tmp/p.$$/opt/tarvo/kov;"
            "kov-setup --dest-dir /tmp/p.$$ >/dev/null; fennik --kov-build-system-dest-dir /tmp/p.$$"
            " --register --name x --username y; owdeleteinstance --dest-dir /tmp/p.$$ -n kov"
            " 'KOV_Product.Name=\"x\"'; fennik --kov-build-system-dest-dir /tmp/p.$$"
            " --list-registered-products; rm -rf /tmp/p.$$"
        )
        self.assertEqual(len(self.products()), 3)

    def test_missing_repository_is_named(self):
        os.rename(self.root + REPOSITORY, self.root + REPOSITORY + "-away")
        for words in (["owdeletenamespace", "x"], ["owdeleteinstance", PRODUCT.format("one")]):
            result = self.sandbox(*words, cwd="/")
            self.assertEqual(result.status, 1)
            self.assertIn(REPOSITORY, result.err)

    def served(self, command, *more):
        """Runs commands while the daemon runs. Returns their Steps."""
        self.need_daemon()
        return self.steps(f"{INIT} start", command, *more)[1:]

    def test_namespaces_are_deleted_while_the_daemon_runs(self):
        """The daemon is stopped meanwhile and runs again in the end."""
        made, done, status, gone = self.served(
            MAKE_SPARE, "owdeletenamespace spare/a", f"{INIT} status",
            "owmofc -n spare/a /opt/tarvo/kov/share/openwbem/qualifiers.mof")
        self.assertEqual(made.status, 0, made.output)
        self.assertEqual((done.status, done.output), (0, ""))
        self.assertEqual(status.status, 0, status.output)
        self.assertIn("spare/a", gone.output)
        self.assertEqual(gone.status, 1)
        self.assertFalse([row for row in self.rows() if "spare" in row])

    def test_refused_namespace_does_not_interrupt_the_daemon(self):
        pid = "cat /var/opt/tarvo/kov/openwbem/owcimomd.pid"
        before, reserved, missing, after = self.served(
            pid, "owdeletenamespace one/a", "owdeletenamespace nowhere", pid)
        self.assertEqual((reserved.status, missing.status), (1, 1))
        self.assertIn("has reserved it", reserved.output)
        self.assertIn("there is no namespace", missing.output)
        self.assertEqual(before, after)

    def test_daemon_that_cannot_be_started_again_is_named(self):
        script = self.root + INIT
        with open(script, encoding="utf-8") as file:
            text = file.read()
        broken = '[ "$1" != start ] || [ ! -e /opt/tarvo/broken ] || { echo oops; exit 7; }\n'
        self.replace(INIT, text.replace("#!/bin/sh\n", "#!/bin/sh\n" + broken))
        _, done = self.served(
            MAKE_SPARE + "; touch /opt/tarvo/broken", "owdeletenamespace spare/a")
        self.assertEqual(done.status, 1)
        self.assertIn(
            "error: everything was done, but owcimomd is stopped and could not be started again: "
            f'"{INIT} start" exited with status 7 and printed: oops', done.output)
        self.assertFalse([row for row in self.rows() if "spare" in row])

    def test_signal_waits_until_the_daemon_runs_again(self):
        """A run that is ended while the daemon is stopped would leave it stopped."""
        with open(self.root + INIT, encoding="utf-8") as file:
            text = file.read()
        marker = f"{STATE}/stopping"
        slow = f'[ "$1" != stop ] || {{ : >{marker}; sleep 1; }}\n'
        self.replace(INIT, text.replace("#!/bin/sh\n", "#!/bin/sh\n" + slow))
        _, done, status = self.served(
            MAKE_SPARE,
            f"rm -f {marker}; owdeletenamespace spare/a & until [ -e {marker} ]; do sleep 0.02; done;"
            "kill -TERM $!; wait $!", f"{INIT} status")
        self.assertEqual(done.status, 128 + signal.SIGTERM, done.output)
        self.assertEqual(status.status, 0, status.output)
        self.assertFalse([row for row in self.rows() if "spare" in row])

    def test_nothing_is_reserved_where_nothing_can_be(self):
        for forged in (
            "UPDATE class SET name = 'gone' WHERE name = lower('KOV_ProductReservedNamespace')",
            "UPDATE class SET name = 'gone2' WHERE name = lower('KOV_ReservedNamespace')",
            "UPDATE namespace SET name = 'gone', spelling = 'gone' WHERE name = 'kov'",
        ):
            with self.subTest(forged=forged):
                (made,) = self.served(MAKE_SPARE)
                self.assertEqual(made.status, 0, made.output)
                before = self.rows()
                self.shell(f'python3 {FORGE} {REPOSITORY}/repository.db sql "{forged}"')
                self.assertNotEqual(self.rows(), before)
                done = self.sandbox("owdeletenamespace", "spare/a")
                self.assertEqual((done.status, done.err), (0, ""))
                self.assertFalse([row for row in self.rows() if "spare" in row])

    def test_run_of_fennik_is_not_disturbed(self):
        lock = "/var/opt/tarvo/kov/fennik.lock"
        (held,) = self.served(
            f"python3 -c {quoted(HOLD_LOCK.format(lock))}")
        self.assertEqual(held.status, 1, held.output)
        self.assertIn(f'error: fennik is running: it holds "{lock}". Wait for its end, then run '
                      "the command again", held.output)

    def test_instances_are_deleted_through_the_daemon(self):
        path = 'KOV_Product.Name="two"'
        done, again = self.served(*[f"owdeleteinstance -n kov {quoted(path)}"] * 2)
        self.assertEqual((done.status, done.output), (0, ""))
        self.assertEqual(again.status, 1)
        self.assertIn("cannot delete the instance", again.output)
        self.assertEqual(sorted(self.products()), ["one", "three"])

    def test_failure_of_a_deletion_through_the_daemon_brings_the_others_back(self):
        path = quoted('KOV_Product.Name="two"')
        (step,) = self.served(f"owdeleteinstance -n kov {path} {path}")
        self.assertEqual(step.status, 1)
        self.assertEqual(len(self.products()), 3)

    def test_instance_that_cannot_be_brought_back_is_named_and_the_others_come_back(self):
        """The user deletes the right to change rights, so it alone does not come back."""
        rights = "".join(
            f'instance of OpenWBEM_UserACL {{ nspace = "{ns}"; username = "games"; '
            'capability = "rw"; };' for ns in ("kov", "root/security"))
        self.shell(f"echo {quoted(rights)} | owmofc -n root/security - >/dev/null;"
                   f"echo owcimomd.allowed_users = games >{DROP_INS}/games.conf")
        right = 'root/security:OpenWBEM_UserACL.nspace="root/security",username="games"'
        paths = [quoted(path) for path in (
            "kov:" + PRODUCT.format("one"), "kov:" + PRODUCT.format("two"), right,
            "kov:" + PRODUCT.format("one"))]
        games = "setpriv --reuid=games --regid=games --clear-groups --"
        (step,) = self.served(f"{games} owdeleteinstance {' '.join(paths)}")
        self.assertEqual(step.status, 1)
        self.assertRegex(
            step.output,
            r'cannot delete the instance "kov:KOV_Product.Name="one"": .*; cannot bring back the '
            f'instance "{right}", which is deleted: .*may not write instances')
        self.assertEqual(step.output.count("cannot bring back"), 1, step.output)
        self.assertEqual(sorted(self.products()), ["one", "three", "two"])

    def test_users_who_may_not_connect_delete_nothing(self):
        path = quoted('KOV_Product.Name="two"')
        nobody = "setpriv --reuid=65534 --regid=65534 --clear-groups --"
        (step,) = self.served(f"{nobody} owdeleteinstance -n kov {path}")
        self.assertEqual(step.status, 1)
        self.assertIn("access denied", step.output)
        self.assertEqual(len(self.products()), 3)

    def test_file_may_be_a_pipe(self):
        product = 'instance of KOV_Product { Name = "four"; };'
        compile_it = f"printf %s {quoted(product)} | owmofc -n kov /dev/stdin"
        wrong = "echo wrong | owmofc -n kov /dev/stdin"
        self.assert_steps(
            (compile_it, 0, "kov: 0 qualifier types, 0 classes, 1 instances"),
            ("true | owmofc -n kov /dev/stdin", 0, "kov: 0 qualifier types.*|"),
            (wrong, 1, "/dev/stdin:1:1: error: .*"),
        )
        self.assertIn("four", self.products())

    def test_files_are_compiled_through_the_daemon(self):
        product = 'instance of KOV_Product { Name = "four"; };'
        compile_it = f"printf %s {quoted(product)} | owmofc -n kov -"
        done, wrong = self.served(compile_it, "echo wrong | owmofc -n kov -")
        self.assertEqual((done.status, done.output), (
            0, "kov: 0 qualifier types, 0 classes, 1 instances"))
        self.assertEqual(wrong.status, 1)
        self.assertIn("standard input:1:1: error: ", wrong.output)
        self.assertIn("four", self.products())

    def test_checking_a_file_writes_nothing(self):
        product = 'instance of KOV_Product { Name = "four"; };'
        unknown = 'instance of KOV_Nothing { Name = "four"; };'
        nowhere = '#pragma namespace("nowhere")\nclass KOV_Spare { string Id; };'
        done, wrong, lost = self.served(*[
            f"printf %s {quoted(text)} | owmofc --check -n kov -"
            for text in (product, unknown, nowhere)])
        self.assertEqual((done.status, done.output), (0, ""))
        self.assertEqual(lost.status, 1)
        self.assertIn('standard input:1:19: error: the namespace "nowhere" does not exist', lost.output)
        self.assertEqual(wrong.status, 1)
        self.assertIn("KOV_Nothing", wrong.output)
        self.assertNotIn("four", self.products())

    def test_classes_and_qualifier_types_are_deleted(self):
        before = self.rows()
        declare = quoted("Qualifier Spare : string, Scope(any); class KOV_Spare { [Key] string Id; };")
        delete = ("owmofc --delete-class kov:KOV_Spare",
                  "owmofc -n kov --delete-qualifier-type Spare")
        for steps in (self.steps, self.served):
            with self.subTest(steps=steps.__name__):
                made, *deleted = steps(f"printf %s {declare} | owmofc -n kov -", *delete)
                self.assertEqual(made.status, 0, made.output)
                self.assertEqual([(step.status, step.output) for step in deleted], [(0, ""), (0, "")])
                self.assertEqual(self.rows(), before)

    def test_one_class_that_cannot_be_deleted_keeps_all(self):
        declare = quoted("class KOV_Spare { [Key] string Id; };")
        self.shell(f"printf %s {declare} | owmofc -n kov -")
        for words, reason in (
            (["--delete-class", "kov:KOV_Spare", "kov:KOV_Product"], 'class has instances: cannot delete the class "kov:KOV_Product"'),
            (["--delete-class", "kov:KOV_Spare", "KOV_Spare"], 'not found: cannot delete the class "KOV_Spare"'),
            (["--delete-qualifier-type", "kov:Key"], 'delete the qualifier type "kov:Key": '),
            (["--check", "--delete-class", "kov:KOV_Spare"], "only one of "),
        ):
            with self.subTest(words=words):
                self.assert_refused(["owmofc", *words], reason)
