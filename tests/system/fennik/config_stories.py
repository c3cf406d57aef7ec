# SPDX-License-Identifier: Apache-2.0
"""Setting, reading and removing a product's configuration snippet."""

import os
import re
import resource
import stat
import subprocess

from harness import Result, Story, read, run, write

ALL_BYTES = bytes(range(1, 128)).decode()


class Setting(Story):
    def set_from(self, text, product="sample"):
        self.assert_silent_success(
            self.fennik("--set-owcimomd-config", "-", "--name", product, stdin=text)
        )

    def test_from_standard_input_keeps_every_byte(self):
        self.set_from(ALL_BYTES)
        self.assertEqual(read(self.tree.snippet("sample")).decode(), ALL_BYTES)
        result = self.fennik("--get-owcimomd-config", "--name", "sample")
        self.assertEqual(result, Result(0, ALL_BYTES, ""))

    def test_from_empty_standard_input_writes_an_empty_snippet(self):
        self.set_from("")
        self.assertEqual(read(self.tree.snippet("sample")), b"")

    def test_from_a_file_takes_the_file_below_the_destination(self):
        write(self.tree.prefix + "/source", b"a = b\n")
        result = self.fennik("--set-owcimomd-config", "/source", "--name", "sample")
        self.assert_silent_success(result)
        self.assertEqual(read(self.tree.snippet("sample")), b"a = b\n")

    def set_from_file(self, source, **options):
        command = self.tree.command("--set-owcimomd-config", source, "--name", "sample")
        self.assert_silent_success(run(command, **options))
        return read(self.tree.snippet("sample"))

    def test_from_a_link_takes_what_it_leads_to(self):
        write(self.tree.directory + "/elsewhere", b"a = b\n")
        os.symlink(self.tree.directory + "/elsewhere", self.tree.prefix + "/link")
        self.assertEqual(self.set_from_file("/link"), b"a = b\n")

    def test_from_a_pipe_that_may_be_empty(self):
        os.symlink("/dev", self.tree.prefix + "/dev")
        for text in ("a = b\n", ""):
            self.assertEqual(self.set_from_file("/dev/stdin", stdin=text), text.encode())

    def test_from_a_fifo_waits_for_its_writer(self):
        fifo = self.tree.prefix + "/fifo"
        os.mkfifo(fifo)
        for text in ("a = b\n", ""):
            writer = subprocess.Popen(["sh", "-c", f"sleep 0.3; printf '{text}' > {fifo}"])
            self.assertEqual(self.set_from_file("/fifo"), text.encode())
            self.assertEqual(writer.wait(timeout=60), 0)

    def test_twice_replaces_the_first_content_completely(self):
        self.set_from("x" * 100000)
        self.set_from("short")
        self.assertEqual(read(self.tree.snippet("sample")), b"short")

    def test_needs_no_registered_product_and_leaves_the_repository_alone(self):
        before = self.tree.rows()
        self.set_from("x", "never-registered")
        self.assertEqual(self.tree.rows(), before)

    def test_snippet_is_private(self):
        self.set_from("x")
        mode = stat.S_IMODE(os.stat(self.tree.snippet("sample")).st_mode)
        self.assertEqual(mode, 0o600)

    def test_does_not_touch_the_allowed_users_file(self):
        self.register()
        self.set_from("x")
        self.assertEqual(
            read(self.tree.users_file("sample")), b"owcimomd.allowed_users = alice\n"
        )

    def test_never_reaches_an_allowed_users_file_through_a_product_name(self):
        self.register()
        users = read(self.tree.users_file("sample"))
        name = ("--name", "sample.allowed_users")
        result = self.fennik("--set-owcimomd-config", "-", *name, stdin="x")
        self.assertEqual(result.status, 16)
        self.assertIn("Unable to create the file ", result.err)
        self.assertEqual(self.fennik("--get-owcimomd-config", *name), Result(0, "", ""))
        self.assert_silent_success(self.fennik("--remove-owcimomd-config", *name))
        self.assertEqual(read(self.tree.users_file("sample")), users)


class Reading(Story):
    def test_missing_snippet_prints_nothing(self):
        self.assert_silent_success(self.fennik("--get-owcimomd-config", "--name", "sample"))

    def test_adds_no_newline(self):
        write(self.tree.snippet("sample"), b"no newline")
        result = self.fennik("--get-owcimomd-config", "--name", "sample")
        self.assertEqual(result, Result(0, "no newline", ""))

    def test_larger_one_than_can_be_set_is_printed_and_removed(self):
        size = (64 << 20) + 1
        write(self.tree.snippet("sample"), b"#" * size)
        result = self.fennik("--get-owcimomd-config", "--name", "sample")
        self.assertEqual((result.status, len(result.out), result.err), (0, size, ""))
        self.assert_silent_success(self.fennik("--remove-owcimomd-config", "--name", "sample"))
        self.assertFalse(os.path.exists(self.tree.snippet("sample")))

    def test_name_that_is_no_file_name_has_no_snippet(self):
        write(self.tree.prefix + "/x.conf", b"not a snippet")
        for name in ("", ".", "..", "../../../../../../x"):
            result = self.fennik("--get-owcimomd-config", "--name", name)
            self.assert_silent_success(result)


class SomethingElseInItsPlace(Story):
    def assert_named_and_left(self, what):
        self.fennik("--list-registered-products")
        before = self.tree.state()
        for option in ("--get-owcimomd-config", "--remove-owcimomd-config"):
            with self.subTest(option=option):
                self.assert_other_failure(
                    self.fennik(option, "--name", "sample"),
                    f'"{self.tree.snippet("sample")}" is {what} and not a file: fennik neither '
                    "reads nor removes it. Remove it, or put a file with the configuration in "
                    "its place; then run the command again.",
                )
                self.assertEqual(self.tree.state(), before)

    def test_link(self):
        write(self.tree.directory + "/secret", b"secret")
        os.symlink(self.tree.directory + "/secret", self.tree.snippet("sample"))
        self.assert_named_and_left("a symbolic link")

    def test_link_to_nothing(self):
        os.symlink("nothing", self.tree.snippet("sample"))
        self.assert_named_and_left("a symbolic link")

    def test_directory(self):
        os.mkdir(self.tree.snippet("sample"))
        self.assert_named_and_left("a directory")

    def test_fifo(self):
        os.mkfifo(self.tree.snippet("sample"))
        self.assert_named_and_left("a pipe or a device")


class Removing(Story):
    def test_removes_the_snippet(self):
        write(self.tree.snippet("sample"), b"x")
        self.assert_silent_success(self.fennik("--remove-owcimomd-config", "--name", "sample"))
        self.assertFalse(os.path.exists(self.tree.snippet("sample")))

    def test_missing_snippet_is_no_error(self):
        self.fennik("--list-registered-products")
        before = self.tree.state()
        self.assert_silent_success(self.fennik("--remove-owcimomd-config", "--name", "sample"))
        self.assertEqual(self.tree.state(), before)

    def test_name_that_is_no_file_name_removes_nothing(self):
        write(self.tree.prefix + "/x.conf", b"not a snippet")
        result = self.fennik("--remove-owcimomd-config", "--name", "../../../../../../x")
        self.assert_silent_success(result)
        self.assertEqual(read(self.tree.prefix + "/x.conf"), b"not a snippet")

    def test_that_fails_is_told_and_changes_nothing(self):
        write(self.tree.snippet("sample"), b"x")
        self.fennik("--list-registered-products")
        before = self.tree.state()
        result = self.failing(
            ["unlink,unlinkat:error=EPERM"], "--remove-owcimomd-config", "--name", "sample",
            path=self.tree.snippet("sample"),
        )
        self.assert_fennik_failure(
            result, 17, "Unable to delete " + self.tree.snippet("sample")
        )
        self.assertEqual(self.tree.state(), before)

    def test_in_an_unwritable_directory_is_told(self):
        write(self.tree.snippet("sample"), b"x")
        command = self.as_nobody(
            *self.tree.command("--remove-owcimomd-config", "--name", "sample")
        )
        os.chmod(self.tree.configs, 0o555)
        self.assert_fennik_failure(
            run(command), 17, "Unable to delete " + self.tree.snippet("sample")
        )


class FailingSetting(Story):
    """Each failure leaves the old snippet and no temporary file."""

    SET = ("--set-owcimomd-config", "-", "--name", "sample")

    def setUp(self):
        super().setUp()
        self.snippet = self.tree.snippet("sample")
        write(self.snippet, b"old")
        self.before = self.tree.state()

    def assert_failure(self, result, status, message):
        self.assert_fennik_failure(result, status, message)
        self.assertEqual(self.tree.state(), self.before)

    def failing_temporary_file(self, call, how):
        """Sets the snippet while that call on the temporary file fails."""
        number = self.nth_call(call, ".fennik-tmp-", *self.SET)
        write(self.snippet, b"old")
        self.before = self.tree.state()
        return self.failing([f"{call}:{how}:when={number}"], *self.SET, stdin="new")

    def temporary_path(self, result):
        match = re.search(r"\S*/\.fennik-tmp-\w+", result.err)
        self.assertIsNotNone(match, result.err)
        return match[0]

    def test_missing_source(self):
        self.assert_failure(
            self.fennik("--set-owcimomd-config", "/none", "--name", "sample"), 15,
            f"The specified path {self.tree.prefix}/none : does not exist.",
        )

    def test_source_that_is_a_directory(self):
        result = self.fennik("--set-owcimomd-config", "/opt", "--name", "sample")
        self.assert_other_failure(result, self.tree.prefix + "/opt")
        self.assertEqual(self.tree.state(), self.before)

    def test_source_without_an_end(self):
        os.symlink("/dev/zero", self.tree.prefix + "/zero")
        result = self.fennik("--set-owcimomd-config", "/zero", "--name", "sample")
        self.assert_other_failure(
            result, f'Cannot read "{self.tree.prefix}/zero": it is longer than 64 MiB, which is '
            "the most that a product's configuration may have")
        os.unlink(self.tree.prefix + "/zero")
        with open("/dev/zero", "rb") as zero:
            done = subprocess.run(
                self.tree.command(*self.SET), stdin=zero, capture_output=True, check=False
            )
        self.assertEqual(done.returncode, 1)
        self.assertIn(b'Cannot read "standard input": it is longer than 64 MiB', done.stderr)
        self.assertEqual(self.tree.state(), self.before)

    def test_missing_directory(self):
        os.unlink(self.snippet)
        os.rmdir(self.tree.configs)
        result = self.fennik(*self.SET, stdin="new")
        self.assertEqual((result.status, result.out), (16, ""))
        self.assertIn(self.tree.configs, result.err)

    def test_no_space(self):
        self.assert_failure(
            self.failing_temporary_file("write", "error=ENOSPC"), 16,
            "Unable to write to temp file.: 28(No space left on device)",
        )

    def test_written_in_part(self):
        result = self.failing_temporary_file("write", "retval=1")
        self.assertEqual(result.status, 16)
        self.assertIn("Incomplete write while creating temp file.: ", result.err)
        self.assertEqual(self.tree.state(), self.before)

    def test_written_in_part_tells_what_stopped_it(self):
        result = self.fennik(
            *self.SET, stdin="x" * 2000,
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1000, 1000)),
        )
        self.assert_failure(
            result, 16, "Incomplete write while creating temp file.: 27(File too large)"
        )

    def test_close_that_fails(self):
        result = self.failing_temporary_file("close", "error=EIO")
        path = self.temporary_path(result)
        self.assert_failure(result, 16, f"Error closing {path}: 5(Input/output error)")

    def test_rename_that_fails(self):
        self.assert_failure(
            self.failing(["rename,renameat,renameat2:error=EACCES"], *self.SET, stdin="new"), 16,
            f"Unable to create the file {self.snippet}: 13(Permission denied)",
        )

    def test_directory_in_its_place(self):
        os.unlink(self.snippet)
        os.mkdir(self.snippet)
        self.before = self.tree.state()
        self.assert_failure(
            self.fennik(*self.SET, stdin="new"), 16,
            f"Unable to create the file {self.snippet}: 21(Is a directory)",
        )

    def test_temporary_file_that_cannot_be_deleted_is_named(self):
        result = self.failing(
            ["rename,renameat,renameat2:error=EACCES", "unlink,unlinkat:error=EPERM"],
            *self.SET, stdin="new",
        )
        path = self.temporary_path(result)
        self.assert_fennik_failure(
            result, 16,
            f"Unable to create the file {self.snippet}: 13(Permission denied). "
            f"Unable to delete temp file. You should run rm {path} to delete the file.",
        )
        self.assertEqual(read(path), b"new")
        self.assertEqual(read(self.snippet), b"old")

    def test_name_that_is_no_file_name(self):
        for name, problem in (
            ("", "is empty"),
            (".", "stands for a directory"),
            ("..", "stands for a directory"),
            ("../x", "has a slash in it"),
            ("a/b", "has a slash in it"),
            ("x" * 300, "is longer than 250 bytes"),
            ("sample.allowed_users",
             'ends in ".allowed_users", which is for the files of allowed users'),
        ):
            with self.subTest(name=name):
                result = self.fennik("--set-owcimomd-config", "-", "--name", name, stdin="new")
                self.assert_failure(
                    result, 16, f"Unable to create the file {self.tree.configs}/{name}.conf: "
                    "22(Invalid argument)",
                )
                self.assertIn(f'the product name "{name}" {problem}>\n', result.err)
