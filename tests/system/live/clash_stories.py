# SPDX-License-Identifier: Apache-2.0
"""Registering namespaces through the daemon, which cannot undo the creation of one. Clashes are
found before the first namespace is created."""

from live import INIT, LiveStory

REGISTER = "fennik --name sample --register-namespace sample/a --register-namespace "
AGAIN = "then run the command again"


class Clashes(LiveStory):
    def setUp(self):
        super().setUp()
        self.need_daemon()
        self.assertEqual(self.shell("fennik --register --name sample --username alice"), "")

    def assert_refused(self, *rows):
        """Expects that each command fails with its text. The repository is as before."""
        before = self.rows()
        steps = self.steps(f"{INIT} start", *[command for command, _ in rows], f"{INIT} stop")
        for (command, text), step in zip(rows, steps[1:]):
            with self.subTest(command=command):
                self.assertEqual(step.status, 1)
                self.assertIn(text, step.output)
        self.assertTrue(self.rows() == before, "something has changed")

    def test_nothing_is_left_by_what_is_named_twice_or_wrongly(self):
        twice = "is named twice"
        self.assert_refused(
            (REGISTER + "sample/b --username bob --username bob", f'the user "bob" {twice}'),
            (REGISTER + "sample/b --username bob --ro-username bob", f'the user "bob" {twice}'),
            (REGISTER + "sample/A --username bob", f'the namespace "sample/A" {twice}'),
            (REGISTER + "sample//b --username bob", '"sample//b" is not a namespace name'),
        )

    def test_nothing_is_left_by_what_is_there_already(self):
        self.shell("fennik --name sample --register-namespace sample/b --username bob")
        self.assert_refused(
            (REGISTER + "sample/b --username bob", 'the product "sample" has reserved it'))
        self.shell("owdeletenamespace --reserved sample/b")
        path = 'OpenWBEM_UserACL.nspace="sample/b",username="bob"'
        self.assert_refused((
            REGISTER + "sample/b --username bob",
            f'the instance {path} exists already in the namespace "root/security". Delete it by '
            f"\"owdeleteinstance -n root/security '{path}'\"; {AGAIN}"))

    def test_namespace_left_by_a_failed_run_is_deleted_as_its_text_says(self):
        qualifiers = "/opt/tarvo/kov/share/openwbem/qualifiers.mof"
        register = REGISTER + "sample/b --username bob"
        rows = (
            (f"{INIT} start", 0, ".*"),
            (f"mv {qualifiers} {qualifiers}.away", 0, ""),
            (register, 1, ".*qualifiers.mof.*"),
            (f"mv {qualifiers}.away {qualifiers}", 0, ""),
            (register, 1,
             ".*the namespace \"sample/a\" exists already, and nothing refers to it. If a run that "
             "failed has left it, delete it, with everything in it, by \"owdeletenamespace "
             f"sample/a\"; {AGAIN}.*"),
            ("owdeletenamespace sample/a", 0, ""),
            (register, 0, ""),
            ("fennik --list-namespaces --name sample", 0, "sample/a\nsample/b"),
            (f"{INIT} status", 0, ".*"),
        )
        self.assert_steps(*rows)
