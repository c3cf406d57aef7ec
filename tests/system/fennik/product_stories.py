# SPDX-License-Identifier: Apache-2.0
"""Registering and listing products."""

import os
import stat

from harness import UNDO_HEAD, UNDO_LEAD_IN, Result, Story, read, run, write


class Registering(Story):
    def test_makes_the_product_and_its_users_known(self):
        self.register("sample", "bob", "alice", "bob")
        self.assertEqual(
            read(self.tree.users_file("sample")), b"owcimomd.allowed_users = bob alice bob\n"
        )
        self.assertEqual(
            self.fennik("--list-registered-products"), Result(0, "sample\n", "")
        )

    def test_users_file_is_private(self):
        self.register()
        self.assertEqual(stat.S_IMODE(os.stat(self.tree.users_file("sample")).st_mode), 0o600)

    def test_keeps_odd_user_names_as_they_are(self):
        self.register("sample", "%1%2", "-x", "a b", "ü")
        self.assertEqual(
            read(self.tree.users_file("sample")).decode(),
            "owcimomd.allowed_users = %1%2 -x a b ü\n",
        )

    def test_twice_leaves_the_first_as_it_is(self):
        self.register("sample", "alice")
        before = self.tree.state()
        result = self.fennik("--register", "--name", "sample", "--username", "mallory")
        self.assert_fennik_failure(result, 2, "The product has already been registered.")
        self.assertIn("CIMException", result.err, "the cause is told")
        self.assertEqual(self.tree.state(), before)

    def test_leaves_no_temporary_files(self):
        names = set(os.listdir(self.tree.repository))
        self.register()
        self.assertEqual(set(os.listdir(self.tree.repository)), names)
        self.assertEqual(os.listdir(self.tree.configs), ["sample.allowed_users.conf"])


class Listing(Story):
    def test_without_products_prints_nothing(self):
        self.assert_silent_success(self.fennik("--list-registered-products"))

    def test_prints_each_name_on_a_line(self):
        for name in ("b", "A", "with blank", "100%1"):
            self.register(name)
        result = self.fennik("--list-registered-products")
        self.assertEqual((result.status, result.err), (0, ""))
        self.assertEqual(
            sorted(result.out.splitlines()), ["100%1", "A", "b", "with blank"]
        )

    def test_changes_nothing(self):
        self.register()
        before = self.tree.state()
        self.fennik("--list-registered-products")
        self.assertEqual(self.tree.state(), before)


class FailingRegistration(Story):
    """Each failure leaves everything as it was."""

    REGISTER = ("--register", "--name", "sample", "--username", "alice")

    def setUp(self):
        super().setUp()
        self.users_file = self.tree.users_file("sample")
        self.before = self.tree.state()

    def assert_failure(self, result, status, message, before=""):
        self.assert_fennik_failure(result, status, message, before)
        self.assertEqual(self.tree.state(), self.before)

    def test_missing_directory(self):
        os.rmdir(self.tree.configs)
        self.before = self.tree.state()
        self.assert_failure(
            self.fennik(*self.REGISTER), 12, f"Failed to create {self.users_file}"
        )

    def test_unwritable_directory(self):
        command = self.as_nobody(*self.tree.command(*self.REGISTER))
        os.chmod(self.tree.configs, 0o555)
        self.before = self.tree.state()
        self.assert_failure(run(command), 12, f"Failed to create {self.users_file}")

    def test_file_that_is_there_already(self):
        write(self.users_file, b"precious")
        self.before = self.tree.state()
        result = self.fennik(*self.REGISTER)
        self.assert_failure(result, 12, f"Failed to create {self.users_file}")
        self.assertIn(" FileSystemException: 17: File exists>\n", result.err)

    def test_dangling_link_in_its_place(self):
        os.symlink(self.tree.directory + "/elsewhere", self.users_file)
        self.before = self.tree.state()
        self.assert_failure(
            self.fennik(*self.REGISTER), 12, f"Failed to create {self.users_file}"
        )

    def test_product_name_that_cannot_be_used(self):
        for name, problem in (
            ("", "is empty"),
            (".", "stands for a directory"),
            ("..", "stands for a directory"),
            ("../../x", "has a slash in it"),
            ("a/b", "has a slash in it"),
            ("/etc/passwd", "has a slash in it"),
            ("x" * 300, "is longer than 236 bytes"),
            ("sam.allowed_users",
             'ends in ".allowed_users", which is for the files of allowed users'),
            ("p ", "begins or ends with white space"),
            (" p", "begins or ends with white space"),
            ("p\u0001q", "has a control character in it"),
        ):
            with self.subTest(name=name):
                result = self.fennik("--register", "--name", name, "--username", "u")
                path = f"{self.tree.configs}/{name}.allowed_users.conf"
                self.assertEqual(self.tree.state(), self.before)
                self.assertEqual((result.status, result.out), (12, ""))
                if problem != "has a control character in it":
                    self.assert_failure(result, 12, f"Failed to create {path}")
                    self.assertIn(f'the product name "{name}" {problem}>\n', result.err)
                self.assertIn(problem, result.err)

    def test_user_name_that_cannot_be_used(self):
        for name, problem in (
            ("", "is empty"),
            ("alice ", "begins or ends with white space"),
            (" alice", "begins or ends with white space"),
            ("alice\nowcimomd.log_level = debug", "has a control character in it"),
        ):
            with self.subTest(name=name):
                result = self.fennik(
                    "--register", "--name", "sample", "--username", "u", "--username", name)
                self.assert_failure(result, 12, f"Failed to create {self.users_file}")
                self.assertIn(f'the user name "{name}" {problem}>\n', result.err)

    def test_name_that_is_not_utf8(self):
        result = self.fennik("--register", "--name", b"\xff\xfe", "--username", "u")
        self.assertEqual((result.status, result.out), (12, ""))
        self.assertIn("is not UTF-8; use the encoding of a UTF-8 locale>\n", result.err)
        self.assertEqual(self.tree.state(), self.before)

    def test_no_space_for_the_users(self):
        result = self.failing(["write:error=ENOSPC"], *self.REGISTER, path=self.users_file)
        self.assert_failure(result, 13, f"Failed to write contents of {self.users_file}")

    def test_users_written_in_part(self):
        result = self.failing(["write:retval=5"], *self.REGISTER, path=self.users_file)
        self.assert_failure(result, 13, f"Failed to write contents of {self.users_file}")

    def test_users_that_cannot_be_synced(self):
        result = self.failing(
            ["fsync,fdatasync:error=EIO"], *self.REGISTER, path=self.users_file
        )
        self.assert_failure(result, 13, f"Failed to flush {self.users_file}")

    def test_users_file_that_cannot_be_closed(self):
        result = self.failing(["close:error=EIO"], *self.REGISTER, path=self.users_file)
        self.assert_failure(result, 13, f"Failed to close {self.users_file}")

    def test_undo_that_fails_tells_what_to_delete(self):
        result = self.failing(
            ["write:error=ENOSPC", "unlink,unlinkat:error=EACCES"],
            *self.REGISTER, path=self.users_file,
        )
        self.assert_fennik_failure(
            result, 13, f"Failed to write contents of {self.users_file}",
            before=UNDO_HEAD
            + "The attempt to delete the file (in restoring things to initial state): "
            + f"{self.users_file} failed with error:\nPermission denied{UNDO_LEAD_IN}"
            + "delete the file.\n",
        )
        os.unlink(self.users_file)
        self.assertEqual(self.tree.state(), self.before, "the instance was taken back")

    def test_undo_whose_close_fails_still_deletes_the_file(self):
        result = self.failing(
            ["write:error=ENOSPC", "close:error=EIO"], *self.REGISTER, path=self.users_file
        )
        self.assert_failure(
            result, 13, f"Failed to write contents of {self.users_file}",
            before=f"Failed to close file: {self.users_file}: Input/output error\n",
        )

    def test_missing_repository_is_named(self):
        os.unlink(self.tree.repository + "/repository.db")
        result = self.fennik(*self.REGISTER)
        self.assert_other_failure(result, "CIMException", self.tree.repository)
        self.assertEqual(os.listdir(self.tree.configs), [])

    def test_schema_without_products_is_an_error(self):
        os.rename(self.tree.repository, self.tree.repository + ".full")
        share = self.tree.prefix + "/opt/tarvo/kov/share/openwbem"
        write(share + "/kov.mof", b"")
        made = run([os.environ["KOV_INSTALLED"] + "/opt/tarvo/kov/sbin/kov-setup",
                    "--dest-dir", self.tree.prefix])
        self.assertEqual(made.status, 0, made.err)
        self.assert_other_failure(self.fennik(*self.REGISTER), "CIMException", "KOV_Product")
        self.assertEqual(os.listdir(self.tree.configs), [])


class FailingCommit(Story):
    """Each write and sync of the repository fails in turn, until a run meets no failure."""

    REGISTER = ("--register", "--name", "sample", "--username", "alice")

    def fail_in_turn(self, call, error):
        self.fennik("--list-registered-products")
        before = self.tree.state()
        failures = 0
        for number in range(1, 200):
            result = self.failing([f"{call}:error={error}:when={number}"], *self.REGISTER)
            if result.status == 0:
                return failures
            failures += 1
            with self.subTest(call=call, number=number):
                self.assertTrue(result.err.startswith("An error has occurred."), result.err)
                self.assertNotIn(UNDO_HEAD, result.err, "a false alarm")
                self.assertEqual(self.tree.state(), before)
        self.fail("never succeeded")

    def test_full_disk_at_any_write(self):
        self.assertGreater(self.fail_in_turn("pwrite64", "ENOSPC"), 0)

    def test_failing_sync_at_any_sync(self):
        self.assertGreater(self.fail_in_turn("fdatasync", "EIO"), 0)

    def test_killed_at_any_write_leaves_the_repository_as_it_was(self):
        """The users file may stay. The repository is the old or the new one, and complete."""
        self.fennik("--list-registered-products")
        old = self.tree.rows()
        for number in range(1, 200):
            result = self.failing([f"pwrite64:signal=KILL:when={number}"], *self.REGISTER)
            listed = self.fennik("--list-registered-products")
            self.assertEqual((listed.status, listed.err), (0, ""))
            if listed.out:
                break
            self.assertNotEqual(result.status, 0)
            self.assertEqual(self.tree.rows(), old)
            if os.path.exists(self.tree.users_file("sample")):
                os.unlink(self.tree.users_file("sample"))
        self.assertEqual(listed.out, "sample\n")
