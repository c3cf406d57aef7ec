# SPDX-License-Identifier: Apache-2.0
"""The provider list: its lines, the files that they name, and what registering makes of them."""

import os

from harness import read, write
from providers import (
    FILES, NOTHING, REGISTRATION, USER, Provider, ProviderStory, listing, registration, schema,
)


class Lines(ProviderStory):
    PADDED = "the provider list has white space at the beginning or the end of this path"

    def setUp(self):
        super().setUp()
        self.disk = Provider("disk", privileges="")
        self.disk.write_below(self.tree.prefix)

    def test_of_a_product_without_providers_may_be_empty(self):
        before = self.tree.state()
        for text in ("", "\n", "\n\n\n"):
            with self.subTest(text=text):
                self.assertEqual(self.use_list(text), NOTHING)
                self.assertEqual(self.tree.state(), before)

    def test_that_are_blank_are_no_entries(self):
        self.assertEqual(self.use_list("\n\n" + self.disk.line() + "\n\n"), NOTHING)
        self.assertEqual(self.listed(), listing("disk"))

    def test_path_with_a_nul_is_refused_and_not_cut_there(self):
        cut = self.disk.line().replace(",", "\0/rest,", 2).replace("oop1\0/rest", "oop1")
        self.assertEqual(cut.count("\0"), 1)
        self.assert_list_fails(cut, r'\x00/rest" has a NUL character in it')

    def test_need_no_newline_at_the_end(self):
        self.assertEqual(self.use_list(self.disk.line().rstrip("\n")), NOTHING)
        self.assertEqual(self.listed(), listing("disk"))

    def test_may_hold_empty_fields(self):
        line = self.disk.line().strip().replace(",", ",,") + ",\n"
        self.assertEqual(self.use_list("," + line), NOTHING)
        self.assertEqual(self.listed(), listing("disk"))

    def test_of_commas_alone_are_refused(self):
        for text in (",,,", ",", f"{self.disk.line()},,\n"):
            with self.subTest(text=text):
                self.assert_list_refused(text, "Empty line in provider registration list")

    def test_of_another_type_are_refused(self):
        rest = self.disk.line().removeprefix("oop1").strip()
        for kind in ("OOP1", " oop1", "oop1 ", "\toop1", "oop2", "# a comment", "oop1\r"):
            with self.subTest(kind=kind):
                shown = kind.replace("\r", "\\r")
                self.assert_list_refused(kind + rest, f"Invalid provider type: {shown}")

    def test_with_too_few_or_too_many_fields_are_refused(self):
        for line in ("oop1", "oop1,a.mof", "oop1,,a.mof", "oop1,a,b,c,d", "oop1,a,b,c,d,e"):
            with self.subTest(line=line):
                self.assert_list_refused(
                    f"\n{line}\n",
                    f"Invalid number of fields in oop1 provider registration entry: {line}",
                )

    def test_are_refused_as_a_whole(self):
        """The last entry is wrong, and the earlier ones are not registered either."""
        self.assert_used(Provider("gone"))
        fan = Provider("fan")
        fan.write_below(self.tree.prefix)
        self.assert_list_refused(
            self.disk.line() + fan.line() + "oop3,a,b\n", "Invalid provider type: oop3"
        )
        self.assertEqual(self.listed(), listing("gone"))

    def test_are_read_up_to_the_first_that_is_wrong(self):
        self.assert_list_refused(
            "oop1,a.mof\nwrong,a,b\n",
            "Invalid number of fields in oop1 provider registration entry: oop1,a.mof",
        )

    def test_keep_the_carriage_return_that_ends_them(self):
        line = f"oop1,{self.disk.path('reg')},{self.disk.path('mof')}\r\n"
        self.assert_list_fails(line, f"{self.full(self.disk, 'mof')}\\r", "No such file",
                               self.PADDED)

    def test_keep_blanks_around_a_path(self):
        line = f"oop1,{self.disk.path('reg')}, {self.disk.path('mof')}\n"
        self.assert_list_fails(line, f"{self.tree.prefix}/ {self.disk.path('mof')}", self.PADDED)

    def test_that_name_a_provider_twice(self):
        line = self.disk.line()
        self.assert_list_refused(
            line + line,
            'The provider list has "sample:disk" twice; name each provider once')

    def test_with_zero_bytes_and_odd_bytes_do_no_harm(self):
        for text in (b"oop1\0,a,b\n", b"\xff\xfe\n", b"oop1,a\0b,c\n", b"\0" * 1000):
            with self.subTest(text=text[:20]):
                before = self.tree.state()
                path = self.tree.directory + "/list"
                write(path, text)
                result = self.fennik("--register-providers", path, "--name", "sample")
                self.assertNotEqual(result.status, 0)
                self.assertTrue(result.err.startswith("An error has occurred.\n"), result.err)
                self.assertEqual(self.tree.state(), before)


class Files(ProviderStory):
    def test_are_looked_for_below_the_prefix(self):
        disk = Provider("disk")
        disk.write_below(self.tree.prefix)
        self.assertEqual(self.use_list(disk.line()), NOTHING)

    def test_may_be_given_by_absolute_paths(self):
        disk = Provider("disk", privileges=USER)
        disk.write_below(self.tree.prefix)
        self.assertEqual(self.use_list(disk.line().replace(",", ",/")), NOTHING)
        self.assertEqual(self.listed(), listing("disk"))

    def test_that_are_missing_are_named(self):
        disk = Provider("disk", privileges=USER)
        for kind in ("reg", "mof", "priv"):
            with self.subTest(kind=kind):
                disk.write_below(self.tree.prefix)
                os.unlink(self.full(disk, kind))
                self.assert_list_fails(disk.line(), self.full(disk, kind), "No such file")

    def test_that_are_directories_are_named(self):
        disk = Provider("disk", privileges=USER)
        for kind in ("reg", "mof", "priv"):
            with self.subTest(kind=kind):
                disk.write_below(self.tree.prefix)
                os.unlink(self.full(disk, kind))
                os.mkdir(self.full(disk, kind))
                self.assert_list_fails(disk.line(), self.full(disk, kind), "Is a directory")
                os.rmdir(self.full(disk, kind))

    def test_with_names_too_long_are_named(self):
        name = "x" * 5000
        self.assert_list_fails(f"oop1,{name},b\n", "File name too long")

    def test_may_hold_classes_beside_the_registration(self):
        """Such classes are used to compile the registration, and not created."""
        text = "class Sample_Aside { [Key] string Id; };\n" + registration("disk")
        self.assert_used(Provider("disk", registration=text, mof=""))
        self.assertFalse(self.stored("Sample_Aside"))


class List(ProviderStory):
    def test_that_is_missing_is_named(self):
        path = self.tree.directory + "/missing"
        before = self.tree.state()
        self.assert_fennik_failure(
            self.fennik("--register-providers", path, "--name", "sample"), 24,
            f"The specified path {path} : does not exist.",
        )
        self.assertEqual(self.tree.state(), before)

    def test_is_not_looked_for_below_the_prefix(self):
        write(f"{self.tree.prefix}/{FILES}/list", b"")
        result = self.fennik("--register-providers", f"/{FILES}/list", "--name", "sample")
        self.assert_fennik_failure(
            result, 24, f"The specified path /{FILES}/list : does not exist."
        )

    def test_may_come_from_a_file(self):
        disk = Provider("disk")
        disk.write_below(self.tree.prefix)
        path = self.tree.directory + "/list"
        write(path, disk.line().encode())
        self.assertEqual(
            self.fennik("--register-providers", path, "--name", "sample"), NOTHING
        )
        self.assertEqual(self.listed(), listing("disk"))

    def test_that_is_a_directory_is_an_error(self):
        before = self.tree.state()
        result = self.fennik("--register-providers", self.tree.directory, "--name", "sample")
        self.assert_other_failure(result, self.tree.directory)
        self.assertEqual(self.tree.state(), before)

    def test_without_a_product_is_a_wrong_command_line(self):
        self.assert_usage_alone(self.fennik("--register-providers", "-"))
        self.assert_usage_alone(self.fennik("--list-providers"))
        self.assert_usage_alone(self.fennik("--deregister"))

    def test_of_an_unknown_product_is_refused_for_its_namespace(self):
        other = Provider("disk", registration=registration("disk", product="other"), mof="")
        self.assert_refused_for(
            other, "other",
            "Instance other:disk: NamespaceNames property contains a namespace (other) that is "
            "not registered",
        )

    def assert_refused_for(self, provider, product, message):
        provider.write_below(self.tree.prefix)
        before = self.tree.state()
        self.assert_fennik_failure(self.use_list(provider.line(), product), 14, message)
        self.assertEqual(self.tree.state(), before)

    def test_that_is_empty_changes_nothing_for_an_unknown_product(self):
        before = self.tree.state()
        self.assertEqual(self.use_list("", "unknown"), NOTHING)
        self.assertEqual(self.tree.state(), before)
        self.assertEqual(self.listed("unknown"), "")

    def test_is_told_in_the_debug_log(self):
        disk = Provider("disk", privileges=USER)
        disk.write_below(self.tree.prefix)
        text, result = self.log_of(
            "--register-providers", "-", "--name", "sample", stdin=disk.line()
        )
        self.assertEqual(result, NOTHING)
        paths = [disk.path(kind) for kind in ("reg", "mof", "priv")]
        full = [self.full(disk, kind) for kind in ("reg", "mof", "priv")]
        position = 0
        for line in (
            'Registering providers for "sample" from file "-"',
            f"Provider file contents:\n{disk.line()}",
            "Parsing input data...",
            f"Parsing line {disk.line().strip()}",
            'Creating oop registration.  Reg mof path="{}"  provider mof="{}"  privilege '
            'file="{}"'.format(*paths),
            f"Loading registration mof from {full[0]}",
            f"Loading provider mof from {full[1]}",
            f"Loading privileges from {full[2]}",
            f"Building OOP registration instances from {full[0]}",
            f"Provider mof contains:\n{disk.registration}",
            # From here on the two paths are exchanged.
            f"Building OOP provider instances from {full[2]}",
            "Found 2 provider instances and 2 classes",
            f"Verifying privileges for {full[1]}",
            "Privileges look fine.",
        ):
            with self.subTest(line=line):
                found = text.find("ProviderRegistration: " + line, position)
                self.assertGreaterEqual(found, 0, text[position:])
                position = found + len(line)


class StartPrivileges(ProviderStory):
    """The file that lets the provider agent start the process."""

    def assert_start(self, name, expected, privileges=None, **changed):
        text = registration(name, UserContext=4 if privileges else 3, **changed)
        self.assert_used(Provider(name, registration=text, mof="", privileges=privileges))
        self.assertEqual(read(self.start_file(name)).decode(), expected)

    def test_name_the_agents_user(self):
        self.assert_start("a", "user_exec_check_args { /usr/lib/sample/a  @ owprovdr }\n")

    def test_name_the_privilege_file(self):
        """Without arguments, two blanks are in their place."""
        self.assert_start(
            "b", "monitored_exec_check_args { /usr/lib/sample/b  @ oop1-sample_b }\n", USER
        )

    def test_hold_the_arguments(self):
        self.assert_start(
            "c", 'user_exec_check_args { /usr/lib/sample/c "-d" "5"  @ owprovdr }\n',
            Args=["-d", "5"],
        )
        self.assert_start(
            "d", 'monitored_exec_check_args { /usr/lib/sample/d "-d"  @ oop1-sample_d }\n', USER,
            Args=["-d"],
        )

    def test_hold_odd_arguments_with_escapes(self):
        self.assert_start(
            "e",
            'user_exec_check_args { /usr/lib/sample/e "" "a b" "\\"" "\\\\" "%1" "x\\ny"  '
            "@ owprovdr }\n",
            Args=["", "a b", '"', "\\", "%1", "x\ny"],
        )

    def test_hold_nothing_for_an_empty_array(self):
        self.assert_start(
            "f", "user_exec_check_args { /usr/lib/sample/f  @ owprovdr }\n", Args=[]
        )


class ListedProviders(ProviderStory):
    def test_of_a_product_without_providers_are_none(self):
        self.assertEqual(self.listed(), "")

    def test_show_the_class_and_the_path(self):
        self.assert_used(Provider("disk"), Provider("fan"))
        self.assertEqual(sorted(self.listed().splitlines(True)),
                         sorted(listing("disk", "fan").splitlines(True)))

    def test_change_nothing(self):
        self.assert_used(Provider("disk", privileges=USER))
        before = self.tree.state()
        self.listed()
        self.assertEqual(self.tree.state(), before)

    def test_without_a_class_begin_with_the_comma(self):
        self.assert_used(
            Provider("disk", registration=registration("disk", ClassName=None), mof=schema())
        )
        self.assertEqual(
            self.listed(), f',root:{REGISTRATION}.InstanceID="sample:disk"\n'
        )

    def test_escape_what_is_odd_in_a_name(self):
        odd = registration('a"b\\c', Process="/bin/true")
        self.assert_used(Provider("odd", registration=odd, mof=""))
        self.assertIn('InstanceID="sample:a\\"b\\\\c"\n', self.listed())
