# SPDX-License-Identifier: Apache-2.0
"""Registering, replacing, listing and removing a product's providers."""

import os

from harness import UNDO_HEAD, run, write
from providers import (
    CAPABILITIES, FENNIK_ERROR, NOTHING, PROCESS, REGISTRATION, USER, Provider, ProviderStory,
    instance, linked_schema, listing, literal, process, registration, schema,
    without_repository_file,
)


class Replacing(ProviderStory):
    def setUp(self):
        super().setUp()
        self.empty = self.tree.state()

    def assert_empty(self):
        """Everything is as before the registration, apart from the product's own files."""
        state = self.tree.state()
        handed_over = self.tree.prefix + "/opt/tarvo/sample/"
        kept = {path: text for path, text in state.items() if not path.startswith(handed_over)}
        self.assertEqual(without_repository_file(kept), without_repository_file(self.empty))

    def test_by_nothing_leaves_nothing(self):
        self.assert_used(
            Provider("disk", privileges=USER), Provider("fan"),
            Provider("proc", registration=process("proc"), mof=schema("proc")),
        )
        self.assertEqual(self.use_list(""), NOTHING)
        self.assertEqual(self.listed(), "")
        self.assert_empty()

    def test_by_a_shorter_list_keeps_what_is_on_it(self):
        disk, fan = Provider("disk", privileges=USER), Provider("fan")
        self.assert_used(disk)
        alone = self.tree.state()
        self.assert_used(disk, fan)
        self.assert_used(disk)
        fan_files = {self.full(fan, kind) for kind in ("reg", "mof")}
        state = {path: text for path, text in self.tree.state().items() if path not in fan_files}
        self.assertEqual(without_repository_file(state), without_repository_file(alone))

    def test_by_the_same_list_changes_nothing(self):
        providers = [Provider("disk", privileges=USER), Provider("fan")]
        self.assert_used(*providers)
        before = self.tree.state()
        self.assert_used(*providers)
        self.assertEqual(
            without_repository_file(self.tree.state()), without_repository_file(before)
        )

    def test_takes_the_new_texts(self):
        self.assert_used(Provider("disk", privileges=USER))
        self.assert_used(Provider("disk", registration=registration(ClassName="Other"), mof=""))
        self.assertEqual(
            self.listed(), f'Other,root:{REGISTRATION}.InstanceID="sample:disk"\n'
        )
        self.assertFalse(os.path.exists(self.privilege_file("disk")))
        self.assertFalse(self.stored("Sample_Disk"))

    def test_leaves_other_products_alone(self):
        self.register("other", "bob")
        self.give_namespace("other", product="other")
        theirs = Provider("fan", registration=registration("fan", product="other"),
                          mof=schema("fan", "other"))
        self.assert_used(theirs, product="other")
        before = self.tree.rows()
        self.assert_used(Provider("disk"))
        self.assert_used()
        self.assertEqual(self.tree.rows(), before)
        self.assertEqual(
            self.listed("other"), f'Sample_Fan,root:{REGISTRATION}.InstanceID="other:fan"\n'
        )

    def test_that_fails_brings_everything_back(self):
        """The two new providers declare the same class."""
        self.assert_used(Provider("disk", privileges=USER), Provider("fan"))
        twice = [Provider("a", mof=schema("x")), Provider("b", mof=schema("x"))]
        for provider in twice:
            provider.write_below(self.tree.prefix)
        before = self.tree.state()
        result = self.use_list("".join(provider.line() for provider in twice))
        self.assert_wrapped(result, "registration", "Sample_X")
        self.assertEqual(self.tree.state(), before)

    def test_by_one_that_cannot_be_added_brings_everything_back(self):
        disk, fan = Provider("disk", privileges=USER), Provider("fan")
        self.assert_used(disk)
        fan.write_below(self.tree.prefix)
        write(self.start_file("fan"), b"left over")
        before = self.tree.state()
        result = self.use_list(disk.line() + fan.line())
        self.assert_wrapped(result, "registration", self.start_file("fan"))
        self.assertEqual(self.tree.state(), before)

    def assert_wrapped(self, result, what, *parts):
        """Expects that `what` failed, with `parts` in the message of the wrapped failure."""
        self.assertEqual((result.status, result.out), (FENNIK_ERROR, ""), result.err)
        self.assertRegex(
            result.err, r"\AAn error has occurred\.\nDetails: \S+: \d+ FennikException: 14: "
            rf"Provider {what} failed: ",
        )
        for part in parts:
            self.assertIn(part, result.err)

    def test_tells_its_steps_in_the_debug_log(self):
        disk = Provider("disk", privileges=USER)
        self.assert_used(disk)
        text, result = self.log_of(
            "--register-providers", "-", "--name", "sample", stdin=disk.line()
        )
        self.assertEqual(result, NOTHING)
        record = 'kov:KOV_OOP1Provider.CreationClassName="KOV_OOP1Provider",Name="sample:disk"'
        position = 0
        for component, line in (
            ("fennik.deRegister", f"Deleting association to sample's provider: {record}"),
            ("fennik.deRegister", f"Deleting provider: {record}"),
            ("fennik.deRegister", "Deleting mof instance: sample:"),
            ("fennik.deRegister", "Deleting mof instance: sample:"),
            ("fennik.deRegister", "Iterating through instances of class: sample:Sample_DiskPart"),
            ("fennik.deRegister", "Deleting class: sample:Sample_DiskPart"),
            ("fennik.deRegister", "Iterating through instances of class: sample:Sample_Disk"),
            ("fennik.deRegister", "Deleting class: sample:Sample_Disk"),
            ("fennik.deRegister", "Deleting qualifier type: sample:Sample_DiskUnit"),
            ("fennik.deRegister", "Deleting registration instance: root:"),
            ("fennik.deRegister", f"Removing oop privilege file: {self.start_file('disk')}"),
            ("fennik.deRegister", f"Removing privilege file: {self.privilege_file('disk')}"),
            ("fennik.registerProvider.privilegeFiles", "Creating ow privileges file for"),
            ("fennik.registerProvider.privilegeFiles", "Creating provider privileges file for"),
            ("fennik.registerProvider.registrationInstances", "Creating registration instances"),
            ("fennik.registerProvider.registrationInstances",
             "Done creating registration instances"),
            ("fennik.registerProvider.nonRegInstances",
             "Creating class for sample:disk: Sample_Disk"),
            ("fennik.registerProvider.nonRegInstances",
             "Creating class for sample:disk: Sample_DiskPart"),
            ("fennik.registerProvider.nonRegInstances",
             "Creating instance of class: Sample_Disk for sample:disk"),
            ("fennik.registerProvider.nonRegInstances",
             "Creating instance of class: Sample_DiskPart for sample:disk"),
            ("fennik.registerProvider.oopRegistrationInstances", ""),
        ):
            with self.subTest(line=line):
                found = text.find("ProviderRegistration: " + line, position)
                self.assertGreaterEqual(found, 0, text[position:])
                start = text.rfind("\n", 0, found) + 1
                self.assertIn(component + " ", text[start:found] + " ")
                position = found + len(line)


class Schema(ProviderStory):
    """What the provider MOF declares is created and removed with the provider."""

    def setUp(self):
        super().setUp()
        self.rows = self.tree.rows()

    def use_mof(self, *mofs):
        texts = ['#pragma namespace("sample")\n' + mof for mof in mofs]
        providers = [Provider(f"p{number}", mof=text) for number, text in enumerate(texts)]
        self.assert_used(*providers)

    def assert_comes_and_goes(self, *mofs):
        self.use_mof(*mofs)
        there = self.tree.rows()
        self.assertNotEqual(there, self.rows)
        self.break_a_replacement()
        self.assertEqual(self.tree.rows(), there)
        self.assert_used()
        self.assertEqual(self.tree.rows(), self.rows)

    def break_a_replacement(self):
        """All providers are removed, and put back when adding the new one fails."""
        bad = Provider("bad", mof="", registration=registration("x" * 300))
        bad.write_below(self.tree.prefix)
        result = self.use_list(bad.line())
        self.assertEqual(result.status, FENNIK_ERROR)
        self.assertNotIn(UNDO_HEAD, result.err)

    def test_children_before_parents(self):
        self.assert_comes_and_goes(
            "class A { [Key] string Id; };\nclass B : A {};\nclass C : B { uint8 N; };\n"
            'instance of C { Id = "c"; };\ninstance of A { Id = "a"; };\n'
            'instance of B { Id = "b"; };\n'
        )

    def test_instances_that_refer_to_each_other(self):
        self.assert_comes_and_goes(
            "class A { [Key] string Id; };\n"
            "[Association] class L { [Key] A REF One; [Key] A REF Other; };\n"
            'instance of A { Id = "1"; };\ninstance of A { Id = "2"; };\n'
            'instance of L { One = "A.Id=\\"1\\""; Other = "A.Id=\\"2\\""; };\n'
            'instance of L { One = "A.Id=\\"2\\""; Other = "A.Id=\\"1\\""; };\n'
        )

    def test_associations_of_associations(self):
        """The record has their names as texts, which do not show what in them is a path."""
        links = Provider("links", mof=linked_schema())
        self.assert_used(links)
        there = self.tree.rows()
        self.assertEqual(self.listed(), listing("links"))
        self.assert_used(links)
        self.assertEqual(self.tree.rows(), there)
        self.break_a_replacement()
        self.assertEqual(self.tree.rows(), there)
        self.assert_used()
        self.assertEqual(self.tree.rows(), self.rows)

    def test_associations_of_associations_deleted_by_their_text(self):
        self.assert_used(Provider("links", mof=linked_schema()))
        delete = os.environ["KOV_INSTALLED"] + "/opt/tarvo/kov/bin/owdeleteinstance"
        link = f"L.One={literal('A.Id=1')},Other={literal('A.Id=2')}"
        path = f"sample:N.By={literal('A.Id=1')},Of={literal(f'M.Number=3,Of={literal(link)}')}"
        self.assertTrue(self.stored("n.by="))
        done = run([delete, "--dest-dir", self.tree.prefix, path])
        self.assertEqual(done.status, 0, done.err)
        self.assertFalse(self.stored("n.by="))

    def test_qualifier_types_of_its_own(self):
        self.assert_comes_and_goes(
            'Qualifier Mine : string = "x", Scope(any);\n'
            '[Mine("y")] class A { [Key, Mine] string Id; };\n'
        )

    def test_qualifier_types_that_were_there(self):
        """They stay when the provider is removed, and are restored when registering fails."""
        mof = 'Qualifier Description : string = "changed", Scope(any), Flavor(Translatable);\n'
        self.assert_used(Provider("d", mof='#pragma namespace("sample")\n' + mof))
        self.assertTrue(self.stored("changed"))
        there = [row for row in self.tree.rows() if '"qualifier_type"' in row]
        self.assert_used()
        self.assertEqual([row for row in self.tree.rows() if '"qualifier_type"' in row], there)

    def test_qualifier_types_that_were_there_come_back_when_it_fails(self):
        mof = 'Qualifier Description : string = "changed", Scope(any), Flavor(Translatable);\n'
        one = Provider("a", mof='#pragma namespace("sample")\n' + mof)
        one.write_below(self.tree.prefix)
        before = self.tree.state()
        self.assertEqual(self.use_list(one.line() * 2).status, FENNIK_ERROR)
        self.assertEqual(self.tree.state(), before)

    def test_instances_that_came_later(self):
        """Instances that the provider itself has created are removed with their class."""
        self.use_mof('class A { [Key] string Id; };\ninstance of A { Id = "a"; };\n')
        later = self.tree.directory + "/later.mof"
        write(later, b'instance of A { Id = "later"; };\n')
        owmofc = os.environ["KOV_INSTALLED"] + "/opt/tarvo/kov/bin/owmofc"
        done = run([owmofc, "--dest-dir", self.tree.prefix, "-n", "sample", later])
        self.assertEqual(done.status, 0, done.err)
        there = self.tree.rows()
        self.break_a_replacement()
        self.assertEqual(self.tree.rows(), there)
        self.assert_used()
        self.assertEqual(self.tree.rows(), self.rows)

    def test_of_two_providers_the_second_using_the_first(self):
        base = Provider("base", mof='#pragma namespace("sample")\n'
                        "class A { [Key] string Id; };\n")
        self.assert_used(base)
        user = Provider("user", mof='#pragma namespace("sample")\nclass B : A {};\n')
        self.assert_used(base, user)
        there = self.tree.rows()
        self.break_a_replacement()
        self.assertEqual(self.tree.rows(), there)
        # It cannot be registered alone: the class that it uses is removed first.
        result = self.use(user)
        self.assertEqual(result.status, FENNIK_ERROR)
        self.assertIn("Provider registration failed: ", result.err)
        self.assertEqual(self.tree.rows(), there)
        self.assert_used()
        self.assertEqual(self.tree.rows(), self.rows)

    def test_defaults_that_another_provider_brings_arrive_at_once(self):
        """The instance is compiled against the old class."""
        pragma = '#pragma namespace("sample")\n'

        def base(text):
            return Provider("base", mof=f'{pragma}class A {{ [Key] string Id; {text} }};\n')

        user = Provider("user", mof=f'{pragma}instance of A {{ Id = "a"; }};\n')
        self.assert_used(base('string Text = "old default"; string Gone = "gone";'))
        changed = base('string Text = "new default";')
        self.assert_used(changed, user)
        self.assertFalse(self.stored("old default"))
        there = self.tree.rows()
        self.assert_used(changed, user)
        self.assertEqual(self.tree.rows(), there)

    def test_is_undone_when_an_instance_is_there(self):
        self.use_mof('class A { [Key] string Id; };\ninstance of A { Id = "a"; };\n')
        self.break_a_replacement()
        twice = Provider("twice", mof='#pragma namespace("sample")\nclass B { [Key] string Id; };\n'
                         'instance of B { Id = "b"; };\ninstance of B { Id = "b"; };\n')
        twice.write_below(self.tree.prefix)
        before = self.tree.state()
        self.assertNotEqual(self.use_list(twice.line()).status, 0)
        self.assertEqual(self.tree.state(), before)


class Process(ProviderStory):
    def test_comes_and_goes_with_its_capabilities(self):
        before = self.tree.rows()
        self.assert_used(Provider("proc", registration=process(), mof=""))
        self.assertTrue(self.stored("sample:proc-caps"))
        self.assertEqual(
            self.listed(), f'Sample_Proc,root:{PROCESS}.InstanceID="sample:proc"\n'
        )
        there = self.tree.rows()
        self.assert_used(Provider("proc", registration=process(), mof=""))
        self.assertEqual(self.tree.rows(), there)
        self.assert_used()
        self.assertEqual(self.tree.rows(), before)

    def test_takes_along_what_it_is_not_connected_with(self):
        """Other instances may follow the process without an association to it."""
        before = self.tree.rows()
        lonely = instance(CAPABILITIES, InstanceID="sample:lonely", ClassName="X")
        for mof in ("", schema("proc")):
            with self.subTest(mof=mof):
                proc = Provider("proc", registration=process() + lonely, mof=mof)
                self.assert_used(proc)
                there = self.tree.rows()
                self.assertTrue(self.stored("sample:lonely"))
                self.assert_used(proc)
                self.assertEqual(self.tree.rows(), there)
                self.assert_used()
                self.assertEqual(self.tree.rows(), before)

    def test_with_a_privilege_file(self):
        before = self.tree.rows()
        self.assert_used(
            Provider("proc", registration=process(UserContext=4), mof="", privileges=USER)
        )
        self.assert_used()
        self.assertEqual(self.tree.rows(), before)

    def test_without_capabilities(self):
        before = self.tree.rows()
        self.assert_used(Provider("proc", registration=registration("proc", of=PROCESS), mof=""))
        self.assert_used()
        self.assertEqual(self.tree.rows(), before)

    def test_whose_capabilities_are_there_already_is_taken_back(self):
        self.assert_used(Provider("proc", registration=process(), mof=""))
        second = Provider("second", mof="", registration=(
            registration("second", of=PROCESS)
            + instance(CAPABILITIES, InstanceID="sample:second-caps")
            + instance(CAPABILITIES, InstanceID="sample:second-caps")
        ))
        second.write_below(self.tree.prefix)
        before = self.tree.state()
        self.assertNotEqual(self.use_list(second.line()).status, 0)
        self.assertEqual(self.tree.state(), before)


class DamagedRecord(ProviderStory):
    """Records that the tool does not write."""

    def setUp(self):
        super().setUp()
        self.assert_used(Provider("disk"))

    def add(self, mof):
        path = self.tree.directory + "/damage.mof"
        write(path, mof.encode())
        owmofc = os.environ["KOV_INSTALLED"] + "/opt/tarvo/kov/bin/owmofc"
        done = run([owmofc, "--dest-dir", self.tree.prefix, "-n", "kov", path])
        self.assertEqual(done.status, 0, done.err)

    def record(self, missing=None, **values):
        """Adds a second record for the same registration."""
        values = {
            "CreationClassName": "KOV_OOP1Provider", "Name": "sample:x", "ProductName": "sample",
            "RegistrationInstanceID": "sample:disk", "RegistrationClassName": REGISTRATION,
            "ProviderMofNamespace": "", "ProviderMofInstanceNames": [],
            "ProviderMofClassNames": [], "ProviderMofQualifierTypeNames": [],
        } | values
        values.pop(missing, None)
        self.add(instance("KOV_OOP1Provider", **values))
        self.associate("KOV_OOP1Provider", values)

    def associate(self, class_name, values):
        keys = ",".join(f'{key}="{values[key]}"'
                        for key in ("CreationClassName", "Name", "ProductName"))
        self.add(instance("KOV_ProductProvider", Product='KOV_Product.Name="sample"',
                          Provider=f"{class_name}.{keys}"))

    def assert_told(self, message):
        before = self.tree.state()
        for words in (("--list-providers",), ("--register-providers", "-")):
            with self.subTest(words=words):
                result = self.fennik(*words, "--name", "sample")
                self.assert_fennik_failure(result, FENNIK_ERROR, message)
                self.assertEqual(self.tree.state(), before)

    def assert_missing_is_told(self, name):
        self.record(name)
        self.assert_told(name + " is NULL")

    def test_without_a_namespace(self):
        self.assert_missing_is_told("ProviderMofNamespace")

    def test_without_names_of_instances(self):
        self.assert_missing_is_told("ProviderMofInstanceNames")

    def test_without_names_of_classes(self):
        self.assert_missing_is_told("ProviderMofClassNames")

    def test_without_names_of_qualifier_types(self):
        self.assert_missing_is_told("ProviderMofQualifierTypeNames")

    def test_of_an_unknown_kind(self):
        self.add("class KOV_NewProvider : KOV_Provider {};\n")
        values = {"CreationClassName": "KOV_NewProvider", "Name": "sample:x",
                  "ProductName": "sample"}
        self.add(instance("KOV_NewProvider", **values))
        self.associate("KOV_NewProvider", values)
        result = self.fennik("--list-providers", "--name", "sample")
        self.assertEqual(result.status, FENNIK_ERROR)
        self.assertIn(
            "FennikException: 14: Unknown KOV_Provider subclass:\ninstance of KOV_NewProvider",
            result.err,
        )

    def test_of_a_registration_that_is_gone(self):
        self.record(RegistrationInstanceID="sample:gone")
        result = self.fennik("--list-providers", "--name", "sample")
        self.assert_other_failure(result, "CIMException: 6", "sample:gone")
        before = self.tree.state()
        result = self.use_list("")
        self.assertEqual(result.status, FENNIK_ERROR)
        self.assertIn("Provider deregistration failed: ", result.err)
        self.assertIn("sample:gone", result.err)
        self.assertEqual(self.tree.state(), before)
