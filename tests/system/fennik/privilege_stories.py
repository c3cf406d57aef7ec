# SPDX-License-Identifier: Apache-2.0
"""Privilege files: their content, where they are written, and names that would lead elsewhere."""

import os
import stat

from harness import UNDO_HEAD, read, write
from providers import (
    FENNIK_ERROR, PRIVILEGES, USER, Provider, ProviderStory, file_name, registration,
)


class PrivilegeText(ProviderStory):
    """Messages about a privilege file name the provider MOF: the two paths are exchanged there."""

    def refuse(self, text, message):
        provider = Provider("disk", mof="", privileges=text)
        self.assert_refused(provider, message.format(self.full(provider, "mof")))

    def accept(self, text):
        self.assert_used(Provider("disk", privileges=text))
        self.assertEqual(read(self.privilege_file("disk")).decode(), text)

    def test_is_installed_as_it_is(self):
        for text in (
            USER, "# only a comment before\nunpriv_user{nobody}", 'unpriv_user { "a b" }\n',
            USER + "open_r { /etc/fstab }\r\nstat {}\nuser_exec_check_args { /bin/x a @ b /y @ c }",
        ):
            with self.subTest(text=text):
                self.accept(text)

    def test_that_cannot_be_parsed_is_shown_with_the_place(self):
        for text, place in (
            (USER + "frobnicate { x }\n", "column 1 of line 2"),
            ("unpriv_user {", "column 14 of line 1"),
            ("\n\n  unpriv_user nobody", "column 15 of line 3"),
        ):
            with self.subTest(text=text):
                provider = Provider("disk", mof="", privileges=text)
                provider.write_below(self.tree.prefix)
                before = self.tree.state()
                result = self.use_list(provider.line())
                self.assertEqual((result.status, result.out), (FENNIK_ERROR, ""))
                self.assertRegex(
                    result.err,
                    rf"\AAn error has occurred\.\nDetails: \S+: \d+ FennikException: 14: Parsing "
                    rf"{self.full(provider, 'mof')} failed at {place}: .+\n\Z",
                )
                self.assertEqual(self.tree.state(), before)

    def test_must_not_name_root(self):
        for text in ("unpriv_user { root }", 'unpriv_user { "root" }', 'unpriv_user {"\\x72oot"}'):
            with self.subTest(text=text):
                self.refuse(text, "Invalid privileges: root is not an allowed user")

    def test_must_name_a_user(self):
        for text in ("\n", "# unpriv_user { nobody }\n", "open_r { /etc/fstab }",
                     'unpriv_user { "" }'):
            with self.subTest(text=text):
                self.refuse(text, "Invalid privileges: unpriv_user not specified")

    def test_must_include_files_that_are_there(self):
        for name in ("missing", "sub/missing", "../missing"):
            with self.subTest(name=name):
                self.refuse(
                    f"{USER}include {{ {name} }}\n",
                    f"{{}} includes a non-existent file: {self.tree.prefix}{PRIVILEGES}/{name}",
                )

    def test_may_include_files_that_nobody_reads(self):
        write(f"{self.tree.prefix}{PRIVILEGES}/common", b"} this is not parsed {")
        self.accept(f"{USER}include {{ common }}\n")


class Files(ProviderStory):
    def test_of_a_provider_without_privileges_are_one(self):
        self.assert_used(Provider("disk"))
        self.assertTrue(os.path.exists(self.start_file("disk")))
        self.assertFalse(os.path.exists(self.privilege_file("disk")))
        self.assertFalse(self.stored(PRIVILEGES))

    def test_of_a_provider_with_privileges_are_two(self):
        self.assert_used(Provider("disk", privileges=USER))
        self.assertTrue(os.path.exists(self.start_file("disk")))
        self.assertEqual(read(self.privilege_file("disk")).decode(), USER)

    def test_are_private(self):
        self.assert_used(Provider("disk", privileges=USER))
        for path in (self.start_file("disk"), self.privilege_file("disk")):
            self.assertEqual(stat.S_IMODE(os.stat(path).st_mode), 0o600)

    def test_are_named_to_the_daemon_without_the_prefix(self):
        self.assert_used(Provider("disk", privileges=USER))
        self.assertTrue(self.stored(f"{PRIVILEGES}/oop1-sample_disk"))
        self.assertFalse(self.stored(self.tree.prefix))

    def test_are_told_in_the_debug_log(self):
        disk = Provider("disk", privileges=USER)
        disk.write_below(self.tree.prefix)
        text, _ = self.log_of("--register-providers", "-", "--name", "sample", stdin=disk.line())
        for line in (
            f"Creating ow privileges file for sample:disk: {self.start_file('disk')}",
            f"Creating provider privileges file for sample:disk: {self.privilege_file('disk')}",
        ):
            self.assertIn("ProviderRegistration: " + line, text)
        self.assertIn("fennik.registerProvider.privilegeFiles", text)

    def test_are_named_by_the_safe_characters_of_the_identifier(self):
        every = "".join(chr(code) for code in range(32, 127) if chr(code) != "'")
        for name in ("Disk Provider/1", "a/../../../../x", "..", "/", every, "'"):
            with self.subTest(name=name):
                self.assert_used(
                    Provider("odd", registration=registration(name, Process="/p"), mof="")
                )
                expected = [file_name("sample:" + name)]
                directory = self.tree.prefix + PRIVILEGES + "/owcimomd"
                self.assertEqual(os.listdir(directory), expected)
                self.assert_used()
                self.assertEqual(os.listdir(directory), [])

    def refuse(self, instance_id, properties, privileges=None):
        """Expects that a registration is refused that would not be written as one command."""
        provider = Provider(
            "odd", mof="", privileges=privileges,
            registration=registration("odd", UserContext=4 if privileges else 3, **properties),
        )
        for name in properties:
            rule = (
                "give each argument a value" if name == "Args" else
                "it must be a text without blanks, control characters, quotes, backslashes and "
                "braces that does not begin with # or @"
            )
            self.assert_refused(provider, f"Instance {instance_id}: {name} property cannot be "
                                          f"written into a privilege file: {rule}")

    def test_let_nothing_be_started_but_the_process(self):
        """The name of a program may look like a second statement."""
        self.assert_used(Provider("disk", privileges=USER))
        for path in (
            "/x @ root } user_exec_check_args { /bin/sh", "/x @ root /bin/sh", "/x } include { y",
            "/x -c", "/x\n/bin/sh", "/x\t", '"/x"', "#/x", "@x", "", "/x}", "{", "\x01",
        ):
            for privileges in (None, USER):
                with self.subTest(path=path, privileges=privileges):
                    self.refuse("sample:odd", {"Process": path}, privileges)
        self.refuse("sample:a\nb", {"InstanceID": "sample:a\nb"}, USER)

    def test_keep_control_characters_of_the_identifier(self):
        self.assert_used(
            Provider("odd", registration=registration("a\nb\u00e9", Process="/p"), mof="")
        )
        directory = self.tree.prefix + PRIVILEGES + "/owcimomd"
        self.assertEqual(os.listdir(directory), ["oop1-sample_a\nb\u00e9"])
        self.assert_used()
        self.assertEqual(os.listdir(directory), [])


class FilesThatCannotBeWritten(ProviderStory):
    def setUp(self):
        super().setUp()
        self.assert_used(Provider("disk", privileges=USER))
        self.fan = Provider("fan", privileges=USER)
        self.fan.write_below(self.tree.prefix)
        self.before = self.tree.state()

    def assert_failed(self, result, path, what, reason):
        self.assertEqual((result.status, result.out), (FENNIK_ERROR, ""), result.err)
        self.assertRegex(
            result.err,
            r"\AAn error has occurred\.\nDetails: \S+: \d+ FennikException: 14: Provider "
            r"registration failed: \S+: \d+ IOException: \d+: ",
        )
        self.assertIn(what.format(path), result.err)
        self.assertIn(reason, result.err)
        self.assertNotIn(UNDO_HEAD, result.err)

    def test_for_a_name_too_long(self):
        long = Provider("long", registration=registration("x" * 5000), mof="")
        long.write_below(self.tree.prefix)
        self.before = self.tree.state()
        path = f"{self.tree.prefix}{PRIVILEGES}/owcimomd/oop1-sample_{'x' * 5000}"
        self.assert_failed(
            self.use_list(long.line()), path, "createFile({}) failed", "File name too long"
        )
        self.assertEqual(self.tree.state(), self.before)

    def test_because_something_is_there(self):
        """In turn a file of an earlier run, a link to a file, a dangling link, a directory."""
        elsewhere = self.tree.directory + "/elsewhere"
        for path in (self.start_file("fan"), self.privilege_file("fan")):
            for make in (
                lambda p: write(p, b"left over"),
                lambda p: os.symlink("/etc/passwd", p),
                lambda p: os.symlink(elsewhere, p),
                os.mkdir,
            ):
                with self.subTest(path=path):
                    make(path)
                    before = self.tree.state()
                    self.assert_failed(
                        self.use_list(self.fan.line()), path, "createFile({}) failed",
                        "File exists",
                    )
                    self.assertEqual(self.tree.state(), before)
                    self.assertFalse(os.path.lexists(elsewhere))
                    remove(path)

    def test_because_another_identifier_has_the_same_file_name(self):
        first, second = (
            Provider(f"p{number}", registration=registration(name, Process="/p"), mof="")
            for number, name in enumerate(("a b", "a/b"))
        )
        first.write_below(self.tree.prefix)
        second.write_below(self.tree.prefix)
        self.assert_list_refused(
            first.line() + second.line(),
            'The provider list has "sample:a b" and "sample:a/b", whose privilege files would both '
            'be named "oop1-sample_a_b"; give one of them another InstanceID',
        )

    def test_because_there_is_no_directory(self):
        os.rename(f"{self.tree.prefix}{PRIVILEGES}/owcimomd", self.tree.directory + "/aside")
        before = self.tree.state()
        result = self.use_list(self.fan.line())
        self.assertEqual(result.status, FENNIK_ERROR)
        self.assertIn("No such file or directory", result.err)
        self.assertEqual(self.tree.state(), before)

    def test_because_the_disk_is_full(self):
        for path in (self.start_file("fan"), self.privilege_file("fan")):
            for injection, what, reason in (
                ("write:error=ENOSPC", "write to {} failed", "No space left on device"),
                ("write:retval=3", "write to {} failed", "No space left on device"),
                ("fsync:error=EIO", "write to {} failed", "Input/output error"),
                ("close:error=EIO", "close of {} failed", "Input/output error"),
            ):
                with self.subTest(path=path, injection=injection):
                    result = self.failing(
                        [injection], "--register-providers", "-", "--name", "sample", path=path,
                        stdin=self.fan.line(),
                    )
                    self.assert_failed(result, path, what, reason)
                    # The incomplete file stays, and the message has named it.
                    os.unlink(path)
                    self.assertEqual(self.tree.state(), self.before)


def remove(path):
    if os.path.isdir(path) and not os.path.islink(path):
        os.rmdir(path)
    else:
        os.unlink(path)


class FilesThatAreChanged(ProviderStory):
    """Privilege files that were edited or removed by hand."""

    def setUp(self):
        super().setUp()
        self.assert_used(Provider("disk", privileges=USER))

    def test_by_hand_are_put_back_as_they_were(self):
        write(self.privilege_file("disk"), b"edited by hand\n\xff\x00")
        write(self.start_file("disk"), b"edited, too\n")
        bad = Provider("bad", mof='#pragma namespace("sample")\nclass Sample_Bad : Sample_Disk {};')
        bad.write_below(self.tree.prefix)
        before = self.tree.state()
        result = self.use_list(bad.line())  # its superclass is removed before it is added
        self.assertEqual(result.status, FENNIK_ERROR, result.err)
        self.assertIn("Provider registration failed: ", result.err)
        self.assertIn("Sample_Disk", result.err)
        self.assertNotIn(UNDO_HEAD, result.err)
        self.assertEqual(self.tree.state(), before)

    def test_that_are_gone_end_the_next_command(self):
        fan = Provider("fan")
        fan.write_below(self.tree.prefix)
        for path in (self.start_file("disk"), self.privilege_file("disk")):
            content = read(path)
            os.unlink(path)
            before = self.tree.state()
            for text, what in (("", "deregistration"), (fan.line(), "registration")):
                with self.subTest(path=path, what=what):
                    result = self.use_list(text)
                    self.assertEqual(result.status, FENNIK_ERROR)
                    self.assertIn(f"Provider {what} failed: ", result.err)
                    self.assertIn(path, result.err)
                    self.assertEqual(self.tree.state(), before)
            self.assert_other_failure(
                self.fennik("--list-providers", "--name", "sample"), path, "No such file"
            )
            write(path, content)
        self.assert_used()

    def test_that_cannot_be_removed_are_put_back(self):
        self.need_strace()
        before = self.tree.state()
        for path in (self.start_file("disk"), self.privilege_file("disk")):
            with self.subTest(path=path):
                result = self.failing(
                    ["unlink,unlinkat:error=EROFS"], "--register-providers", "-", "--name",
                    "sample", path=path,
                )
                self.assertEqual(result.status, FENNIK_ERROR, result.err)
                self.assertIn("Provider deregistration failed: ", result.err)
                self.assertIn(f"Failed to remove: {path}", result.err)
                self.assertIn("Read-only file system", result.err)
                self.assertNotIn(UNDO_HEAD, result.err)
                self.assertEqual(self.tree.state(), before)

    def test_that_cannot_be_put_back_are_shown_in_full(self):
        self.need_strace()
        start = self.start_file("disk")
        unlink, create = self.privilege_file("disk"), start
        result = self.traced(
            self.tree.command("--register-providers", "-", "--name", "sample"),
            "-P", unlink, "-P", create, "-e", "inject=unlink,unlinkat:error=EROFS:when=2",
            "-e", "inject=openat:error=ENOSPC:when=3",
        )
        self.assertEqual(result.status, FENNIK_ERROR, result.err)
        self.assertIn(
            UNDO_HEAD + f"The attempt to open the file: {start} failed with error:"
            "No space left on device\nOnce the cause of the error has been resolved, to restore "
            "KOV to a valid state you should\ncreate the file with contents:\n"
            "monitored_exec_check_args { /usr/lib/sample/disk  @ oop1-sample_disk }\n",
            result.err,
        )
