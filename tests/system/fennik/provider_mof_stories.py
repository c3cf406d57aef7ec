# SPDX-License-Identifier: Apache-2.0
"""The rules for a provider's two MOF texts and for its registration."""

import re

from harness import write
from providers import (
    CAPABILITIES, MOF_ERROR, PROCESS, PROCESS_CAPABILITIES, REGISTRATION, USER, Provider,
    ProviderStory, instance, listing, literal, process, registration, schema,
)

ONE_LEADING = (
    "{} must contain only one instance of interop's provider registration, and it must lead the "
    "list."
)
CAPS = instance(CAPABILITIES, InstanceID="sample:caps", ClassName="Sample_Disk")


class MofStory(ProviderStory):
    def assert_mof_error(self, provider, path, *parts):
        """Expects an error of the compiler under the name of that file."""
        provider.write_below(self.tree.prefix)
        before = self.tree.state()
        result = self.use_list(provider.line())
        self.assertEqual((result.status, result.out), (MOF_ERROR, ""), result.err)
        head = re.escape(f": MOF Compiler exception compiling {path}.  Error: ")
        self.assertRegex(result.err, rf"\AAn error has occurred\.\nDetails: \S+: \d+ "
                                     rf"FennikException: {MOF_ERROR}{head}")
        for part in parts:
            self.assertIn(part, result.err)
        self.assertEqual(self.tree.state(), before)


class RegistrationMof(MofStory):
    def provider(self, text):
        return Provider("disk", registration=text, mof="")

    def assert_text_refused(self, text, message, status=14):
        provider = self.provider(text)
        self.assert_refused(provider, message.format(self.full(provider, "reg")), status)

    def assert_accepted(self, text):
        self.assert_used(self.provider(text))

    def test_must_not_name_a_namespace(self):
        for before in ("", " ", "\t \t", "// first\n", "\n\n  "):
            for pragma in ('#pragma namespace("root")', '#pragma\t namespace("sample")'):
                with self.subTest(before=before, pragma=pragma):
                    self.assert_text_refused(
                        f"{before}{pragma}\n{registration()}",
                        "{} must not contain #pragma namespace", 4,
                    )

    def test_may_name_one_where_no_line_begins(self):
        self.assert_accepted(f'/* */ // #pragma namespace("x")\n{registration()}')

    def test_is_compiled_in_root(self):
        self.assert_accepted(registration())
        self.assertEqual(self.listed(), listing("disk"))

    def test_that_does_not_compile_is_shown_with_the_place(self):
        provider = self.provider("instance of {\n")
        self.assert_mof_error(provider, self.full(provider, "reg"), ":1:13: ", "instance of {")

    def test_with_a_property_that_the_class_has_not(self):
        provider = self.provider(registration(Colour="red"))
        self.assert_mof_error(provider, self.full(provider, "reg"), "Colour")

    def test_must_not_hold_qualifier_types(self):
        self.assert_text_refused(
            "Qualifier SampleUnit : string, Scope(property);\n" + registration(),
            "{} cannot contain qualifier types.",
        )

    def test_must_hold_an_instance(self):
        for text in ("", "// nothing\n", "class Sample_Aside { [Key] string Id; };\n"):
            with self.subTest(text=text):
                self.assert_text_refused(
                    text,
                    "Provider Registration requires an OOP Registration instance.  {} has no "
                    "instances.",
                )

    def test_that_registers_a_class_holds_nothing_else(self):
        for rest, count in ((CAPS, 2), (registration("fan"), 2), (CAPS + registration("f"), 3)):
            with self.subTest(count=count):
                self.assert_text_refused(
                    registration() + rest,
                    '"ProviderRegistration" types must contain only that instance.  {} has '
                    f"{count}.",
                )

    def test_must_begin_with_a_registration(self):
        for text in (CAPS, CAPS + registration(), CAPS + registration(of=PROCESS)):
            with self.subTest(text=text):
                self.assert_text_refused(text, ONE_LEADING)

    def test_must_not_hold_a_second_registration(self):
        for second in (registration("b"), registration("b", of=PROCESS)):
            for between in ("", CAPS):
                with self.subTest(second=second, between=between):
                    self.assert_text_refused(
                        registration(of=PROCESS) + between + second,
                        "{} must contain only one instance of interop's provider registration.",
                    )

    def test_of_a_process_may_hold_capabilities(self):
        self.assert_accepted(process("disk"))
        self.assertEqual(
            self.listed(), f'Sample_Disk,root:{PROCESS}.InstanceID="sample:disk"\n'
        )

    def test_must_not_take_the_capabilities_of_others(self):
        """Otherwise removing the process would remove them, or would always fail."""
        self.register("other", "bob")
        self.give_namespace("other", product="other")
        theirs = process("theirs", "other")
        self.assert_used(Provider("theirs", registration=theirs, mof=""), product="other")
        mine = process("mine")
        self.assert_used(Provider("mine", registration=mine, mof=""))
        own = f'{PROCESS}.InstanceID="sample:disk"'
        for owner in ("other:theirs", "sample:mine"):
            for spelling in ("", "root:", "ROOT:"):
                with self.subTest(owner=owner, spelling=spelling):
                    caps = f'{spelling}{CAPABILITIES}.InstanceID="{owner}-caps"'
                    link = {"ManagedElement": own, "Capabilities": caps}
                    keys = ",".join(f"{key}={literal(path)}" for key, path in link.items())
                    self.assert_text_refused(
                        process("disk") + instance(PROCESS_CAPABILITIES, **link),
                        f"{{}}: the association {PROCESS_CAPABILITIES}.{keys} names {caps}, which "
                        "that file does not declare.  Associations in a registration MOF connect "
                        "the process and the capabilities of the same file.",
                    )


class Registration(ProviderStory):
    """Rules for the registration instance. Each refusal names the InstanceID."""

    def refuse(self, message, of=REGISTRATION, privileges=None, **changed):
        if privileges:
            changed.setdefault("UserContext", 4)
        text = registration(of=of, **changed)
        provider = Provider("disk", registration=text, mof="", privileges=privileges)
        self.assert_refused(provider, message)

    def accept(self, of=REGISTRATION, **changed):
        self.assert_used(Provider("disk", registration=registration(of=of, **changed), mof=""))

    def test_must_begin_with_the_product(self):
        for identifier in ("", "disk", "sample", "Sample:disk", " sample:disk", "sample2:disk"):
            with self.subTest(identifier=identifier):
                self.refuse(
                    f"InstanceID property value ({identifier}) must begin with sample:",
                    InstanceID=identifier,
                )

    def test_of_a_program_of_the_infrastructure_is_its_own(self):
        for path in ("/opt/tarvo/kov/bin/x", "/opt/tarvo/kov", "/opt/tarvo/kovx/y"):
            with self.subTest(path=path):
                self.refuse(
                    "Instance sample:disk: Process property cannot start with /opt/tarvo/kov",
                    Process=path,
                )
        self.accept(Process="/opt/tarvo/other")

    def test_of_the_infrastructure_may_name_its_programs(self):
        self.register("kov", "alice")
        self.give_namespace("kov/x", product="kov")
        text = registration(product="kov", Process="/opt/tarvo/kov/bin/x",
                            NamespaceNames=["kov/x"])
        self.assert_used(Provider("disk", registration=text, mof=""), product="kov")

    def test_of_a_program_that_is_not_there_is_accepted_below_a_prefix(self):
        for path in ("/nonexistent/program", "relative"):
            with self.subTest(path=path):
                self.accept(Process=path)

    def test_must_speak_the_protocol(self):
        for protocol in ("owcpp2", "OWCPP1", "", "owcpp1 "):
            with self.subTest(protocol=protocol):
                self.refuse(
                    "Instance sample:disk: Protocol property must be owcpp1", Protocol=protocol
                )
                self.refuse(
                    "Instance sample:disk: Protocol property must be owcpp1", PROCESS,
                    Protocol=protocol,
                )

    def test_must_say_where_it_serves(self):
        self.refuse(
            "Instance sample:disk: NamespaceNames property must be set", NamespaceNames=None
        )

    def test_may_say_that_it_serves_nowhere(self):
        self.accept(NamespaceNames=[])

    def test_must_serve_in_namespaces_of_the_product(self):
        for names, wrong in ((["root"], "root"), (["sample", "Sample", "x"], "Sample"),
                             (["sample/x"], "sample/x"), ([""], "")):
            with self.subTest(names=names):
                self.refuse(
                    "Instance sample:disk: NamespaceNames property contains a namespace "
                    f"({wrong}) that is not registered", NamespaceNames=names,
                )

    def test_may_serve_in_several_namespaces(self):
        self.give_namespace("sample/a", "sample/b")
        self.accept(NamespaceNames=["sample/b", "sample", "sample/a"])

    def test_must_be_of_a_known_type(self):
        for types, wrong in (([0], 0), ([9], 9), ([1, 2, 65535, 0], 65535)):
            with self.subTest(types=types):
                self.refuse(
                    "Instance sample:disk: ProviderTypes property contains an invalid value: "
                    f"{wrong}", ProviderTypes=types,
                )

    def test_may_be_of_all_types(self):
        self.accept(
            ProviderTypes=list(range(1, 9)), IndicationExportHandlerClassNames=["Sample_Handler"]
        )

    def test_may_have_no_type(self):
        self.accept(ProviderTypes=None)
        self.accept(ProviderTypes=[])

    def test_that_exports_indications_must_name_the_handlers(self):
        message = (
            "Instance sample:disk: Indication Export providers must set the "
            "IndicationExportHandlerClassNames property"
        )
        self.refuse(message, ProviderTypes=[7])
        self.refuse(message, ProviderTypes=[1, 7, 9])
        self.accept(ProviderTypes=[7], IndicationExportHandlerClassNames=[])

    def test_of_a_process_needs_no_namespaces(self):
        self.accept(of=PROCESS)

    def test_says_whether_there_is_a_privilege_file(self):
        text = "Instance sample:disk: UserContext property contains an invalid value: {}"
        for of in (REGISTRATION, PROCESS):
            for context in (4, 2, 5, 0):
                with self.subTest(of=of, context=context):
                    self.refuse(text.format(context), of, UserContext=context)
            for context in (3, 5):
                with self.subTest(of=of, context=context):
                    self.refuse(text.format(context), of, USER, UserContext=context)
            self.refuse(text.format(""), of, UserContext=None)

    def test_with_an_empty_privilege_file_has_none(self):
        text = "Instance sample:disk: UserContext property contains an invalid value: 4"
        wrong = registration(UserContext=4)
        self.assert_refused(Provider("disk", registration=wrong, mof="", privileges=""), text)
        self.assert_used(Provider("disk", privileges=""))

    def test_must_not_name_a_privilege_file(self):
        message = (
            "Instance sample:disk: MonitorPrivilegesFile property has a value but must be NULL"
        )
        for name in ("/etc/passwd", ""):
            for of in (REGISTRATION, PROCESS):
                with self.subTest(name=name, of=of):
                    self.refuse(message, of, MonitorPrivilegesFile=name)
                    self.refuse(message, of, USER, MonitorPrivilegesFile=name)

    def test_is_examined_in_order(self):
        """Correcting an error shows the next one."""
        wrong = {
            "InstanceID": "x:disk", "Process": "/opt/tarvo/kov/p", "Protocol": "x",
            "NamespaceNames": ["x"], "ProviderTypes": [7, 9], "UserContext": 9,
            "MonitorPrivilegesFile": "/x",
        }
        name = "Instance sample:disk: "
        for message, repair in (
            ("InstanceID property value (x:disk) must begin with sample:",
             {"InstanceID": "sample:disk"}),
            (name + "Process property cannot start with /opt/tarvo/kov", {"Process": "/p"}),
            (name + "Protocol property must be owcpp1", {"Protocol": "owcpp1"}),
            (name + "NamespaceNames property contains a namespace (x) that is not registered",
             {"NamespaceNames": ["sample"]}),
            (name + "Indication Export providers must set the IndicationExportHandlerClassNames "
             "property", {"IndicationExportHandlerClassNames": ["H"]}),
            (name + "ProviderTypes property contains an invalid value: 9", {"ProviderTypes": [7]}),
            (name + "UserContext property contains an invalid value: 9", {"UserContext": 3}),
            (name + "MonitorPrivilegesFile property has a value but must be NULL",
             {"MonitorPrivilegesFile": None}),
        ):
            with self.subTest(message=message):
                self.refuse(message, **wrong)
                wrong |= repair
        self.accept(**wrong)


class ProviderMof(MofStory):
    """Messages about a provider MOF name the privilege file, or the prefix when there is none."""

    def assert_mof_refused(self, mof, message, privileges=USER):
        provider = Provider("disk", mof=mof, privileges=privileges)
        self.assert_refused(
            provider, message.format(self.full(provider, "priv" if privileges else ""))
        )

    def test_may_be_empty(self):
        before = self.tree.rows()
        self.assert_used(Provider("disk", mof=""))
        self.assertEqual(self.listed(), listing("disk"))
        self.assert_used()
        self.assertEqual(self.tree.rows(), before)

    def test_must_name_its_namespace(self):
        for mof in ("\n", "// x\n", "class X {};", '/* */ #pragma namespace("sample")\n',
                    '#pragma namespace ("sample")\n', '#pragma namespace("")\n',
                    '#PRAGMA namespace("sample")\n', '#pragma namespace("sample"\n)\n'):
            for privileges in (USER, None):
                with self.subTest(mof=mof, privileges=privileges):
                    self.assert_mof_refused(
                        mof, "{} must contain a #pragma namespace", privileges
                    )

    def test_may_name_it_on_any_line(self):
        text = schema()
        pragma, rest = text.split("\n", 1)
        self.assert_used(Provider("disk", mof=f"// first\n\n \t{pragma}\n{rest}"))

    def test_must_name_a_namespace_of_the_product(self):
        self.register("other", "bob")
        self.give_namespace("other", product="other")
        for name in ("root", "kov", "other", "Sample", "sample/", "nowhere"):
            with self.subTest(name=name):
                self.assert_mof_refused(
                    schema(namespace=name),
                    f"{{}} uses a namespace ({name}) that is not registered",
                )

    def test_must_name_it_once(self):
        pragma = '#pragma namespace("sample")\n'
        for second in (pragma, "  " + pragma, '#pragma namespace("root")\n'):
            with self.subTest(second=second):
                self.assert_mof_refused(
                    schema() + second, "{} must contain only one #pragma namespace"
                )

    def test_names_the_registered_namespace_before_the_second(self):
        self.assert_mof_refused(
            '#pragma namespace("x")\n#pragma namespace("sample")\n',
            "{} uses a namespace (x) that is not registered",
        )

    def test_that_does_not_compile_is_shown_with_the_place(self):
        broken = schema() + "class {\n"
        for privileges, kind in ((USER, "priv"), (None, "")):
            with self.subTest(privileges=privileges):
                provider = Provider("disk", mof=broken, privileges=privileges)
                line = broken.count("\n")
                self.assert_mof_error(provider, self.full(provider, kind), f":{line}:7: ")

    def test_with_an_unknown_superclass(self):
        provider = Provider("disk", mof=schema() + "class Sample_X : Sample_None {};\n")
        self.assert_mof_error(provider, self.full(provider, ""), "Sample_None")

    def test_may_use_what_an_earlier_provider_declared(self):
        """The class exists when the second list is read, which has the first provider, too."""
        disk = Provider("disk")
        self.assert_used(disk)
        sub = '#pragma namespace("sample")\nclass Sample_Sub : Sample_Disk { string More; };\n'
        self.assert_used(disk, Provider("sub", mof=sub))
        self.assertEqual(sorted(self.listed().splitlines(True)),
                         sorted(listing("disk", "sub").splitlines(True)))
        self.assert_used(disk, Provider("sub", mof=sub))
        self.assert_used()
        self.assertFalse(self.stored("Sample_"))

    def test_must_not_include_files(self):
        """The provider MOF is compiled as a text, which has no directory."""
        write(f"{self.tree.prefix}/opt/tarvo/sample/more.mof", b"class Sample_More {};\n")
        provider = Provider(
            "disk", mof='#pragma namespace("sample")\n#pragma include("more.mof")\n'
        )
        self.assert_mof_error(provider, self.full(provider, ""), "more.mof")

    def test_of_many_megabytes_without_a_pragma_is_refused(self):
        self.assert_mof_refused("// x\n" * 2_000_000, "{} must contain a #pragma namespace")

    def test_of_one_long_line_is_refused(self):
        self.assert_mof_refused(
            "#pragma" + " " * 5_000_000 + 'namespace("', "{} must contain a #pragma namespace"
        )

    def test_with_zero_bytes_is_an_error(self):
        provider = Provider("disk", mof=schema() + "\0class X {};\n")
        provider.write_below(self.tree.prefix)
        before = self.tree.state()
        self.assertNotEqual(self.use_list(provider.line()).status, 0)
        self.assertEqual(self.tree.state(), before)
