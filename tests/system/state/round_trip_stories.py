# SPDX-License-Identifier: Apache-2.0
"""Saving, installing anew, restoring and saving again: the two files are equal, and the listings,
snippets, allowed users files and privilege files are as before."""

import os
import re

from harness import Result, read, run, write
from hostile_mof import SCHEMA, all_types, dmtf_instances, text_literal
from machine import PLAY
from providers import CAPABILITIES, PROCESS, PROCESS_CAPABILITIES, USER, process, schema
from saved_state import OWMOFC, STATE_FILE, StateStory, live_provider, snippet


class RoundTrip(StateStory):
    @staticmethod
    def proc():
        return live_provider("proc", "sample", registration=process("proc", Process="/bin/true"),
                             mof=schema("proc"))

    def test_of_one_product_with_everything(self):
        self.make_whole_product()
        saved = self.tree(self.assert_round_trip())
        children = [child.tag for child in saved.find("SavedProducts/Product")]
        self.assertEqual(children, ["Name", "AllowedUsers", "ConfigFile", "NamespaceRegistration",
                                    "RegisteredProviders", "ProductInstances"])
        self.assertEqual([name.text for name in saved.iter("ProviderClassname")],
                         ["Sample_Disk", "Sample_Fan", "Sample_Proc"])
        entries = [(e.find("UserName").text, e.find("Capability").text)
                   for e in saved.find(".//Namespace").iter("NamespaceACLEntry")]
        self.assertEqual(entries, [("al", "rwRW"), ("zoe", "rwRW"), ("bo", "rR"), ("root", "rwRW")])

    def test_leaves_a_product_that_can_be_changed_and_removed(self):
        fresh = self.everything()
        self.make_whole_product()
        self.assert_round_trip()
        self.use("sample", live_provider("fan", "sample", "sample/b"))
        self.do("--deregister", "--name", "sample")
        now = self.everything()
        self.assertEqual({path: now[path] for path in now if not path.endswith("repository.db")},
                         {path: text for path, text in fresh.items()
                          if not path.endswith("repository.db")})
        self.assertEqual(self.fennik("--list-registered-products").out, "")

    def test_of_a_product_with_nothing(self):
        self.register("bare", "al")
        self.assert_round_trip()
        self.assertEqual(read(snippet("bare")), b"")

    def test_of_a_product_with_an_empty_snippet(self):
        self.register("bare", "al")
        self.set_snippet("bare", "")
        self.assert_round_trip()

    def test_of_fifty_products(self):
        for number in range(50):
            name = f"p{number:02}"
            self.register(name, "al", f"user{number}")
            self.set_snippet(name, f"p.{number} = {number}\n" * number)
            self.give_namespaces(name, name, users=(f"user{number}",))
            if number % 5 == 0:
                self.use(name, live_provider("disk", name, privileges=USER))
        self.assertEqual(len(self.tree(self.assert_round_trip()).find("SavedProducts")), 50)

    def test_of_a_process_with_its_capabilities(self):
        self.register("sample", "al")
        self.give_namespaces("sample", "sample")
        self.use("sample", self.proc())
        self.assert_round_trip()
        mofs = [m.text for m in self.tree().findall(".//RegistrationInstances/InstanceMOF")]
        self.assertEqual([mof.split()[2] for mof in mofs],
                         [PROCESS, CAPABILITIES, PROCESS_CAPABILITIES])
        # Removing it leaves nothing, or it could not be registered again.
        self.do("--register-providers", "-", "--name", "sample")
        self.assertEqual(self.fennik("--list-providers", "--name", "sample"), Result(0, "", ""))
        self.use("sample", self.proc())

    def test_of_names_beyond_ascii(self):
        name = "prüfung \u20ac\U0001f600"
        self.register("plain", "ä & <ö>", "\u00e9\u0301")
        self.give_namespaces("plain", "plain", users=("ä & <ö>",))
        self.use("plain", live_provider("plättli & <co>", "plain", privileges=USER,
                                        mof=schema("plaettli", "plain")))
        self.register(name, "ä & <ö>", "\u00e9\u0301")
        self.set_snippet(name, "ключ = значение & <больше>\r\n\tтаб \n")
        self.assert_round_trip()

    def test_of_texts_that_end_in_white_space(self):
        self.register("sample", "al")
        self.set_snippet("sample", "key = 1 \r\n\r\r\n \t \n\n")
        self.give_namespaces("sample", "sample")
        self.use("sample", live_provider("disk", "sample",
                                         privileges="unpriv_user { nobody }\r\n \t\n\n"))
        self.assert_round_trip()
        self.assertEqual(read(snippet("sample")), b"key = 1 \r\n\r\r\n \t \n\n")

    def test_takes_white_space_from_the_front_of_a_snippet(self):
        self.register("sample", "al")
        self.set_snippet("sample", " \r\n\t key = 1\n")
        self.save()
        self.install_anew()
        self.assertEqual(self.restore().status, 0)
        self.assertEqual(read(snippet("sample")), b"key = 1\n")
        self.assert_round_trip()

    def test_leaves_the_infrastructure_out(self):
        self.register("sample", "al")
        saved = self.assert_round_trip()
        self.register("Kov", "al")
        self.assertEqual(self.save()[0], saved)


# Texts that the repair could take for broken embedded instances: plain texts that look like one...
PLAIN = ["Handle = 7;", "{\nName = x;\nParameters = a,b;\n}", "}", "a\\nName = b;",
         "a\nHandle = 7;\nb", ""]
# ...and embedded objects with nulls, numbers, and texts whose lines look like entries.
EMBEDDED = [
    ("S_Process", "instance of S_Process { Name = \"a,b\"; Handle = 7; UserName = NULL; "
     'Parameters = {"-a", "-b,c"}; };'),
    ("S_Process", 'instance of S_Process { Name = "x\\nName = y"; Parameters = NULL; '
     'OSName = "a;\\nOSName = b;\\n}\\nUserName = c"; ParentProcessID = "\\\\nName = z"; };'),
    ("S_Any", 'instance of S_Scalar { Name = "1"; Parameters = "one, two"; };'),
    ("S_Any", 'class S_Odd { string Name = "a\\nName = b"; string Parameters[] = {"\\nName = c"}; };'),
]


def metered(number, kind, embedded):
    holder = "S_Metered" if kind == "S_Process" else kind
    return (f"instance of {holder} {{ Id = \"{number}\"; "
            f"Process = {text_literal(embedded)}; }};\n")


def in_a_log(text):
    """The text as a log shows it, with escapes for control characters."""
    return re.sub("[\x00-\x08\x0b-\x1f\x7f-\x9f]",
                  lambda m: "".join(f"\\x{byte:02x}" for byte in m[0].encode()), text)


class ContentStory(StateStory):
    """The content of the namespaces of two products."""

    def setUp(self):
        super().setUp()
        self.register("sample", "al")
        self.give_namespaces("sample", "sample", "sample/b")
        self.register("third", "al")
        self.give_namespaces("third", "third")

    def assert_needs_no_repair(self, saved):
        """Both repairs leave what the tool has saved unchanged to the byte. The log of a restore
        shows the repaired text."""
        self.install_anew()
        log = PLAY + "/log"
        result = self.fennik("--log-file", log, "--restore-product-state", STATE_FILE)
        self.assertEqual((result.status, result.err), (0, ""))
        text = read(log).decode()
        mofs = [m.text for m in self.tree(saved).findall(".//NamespaceInstances/InstanceMOF")]
        self.assertGreater(len(mofs), 0)
        for mof in mofs:
            self.assertTrue("Restoring product instances.  MOF:\n" + in_a_log(mof) in text)
        self.assertTrue("improperly escaped" not in text)
        return text


class Contents(ContentStory):
    def test_of_every_type_come_back(self):
        self.compile_text("sample", all_types("S", 300))
        self.assert_needs_no_repair(self.assert_round_trip())

    def test_in_the_namespace_that_is_repaired_come_back(self):
        self.register("zeb", "al")
        self.give_namespaces("zeb", "zeb/SoftwareMeteringAgent")
        self.compile_text("zeb/SoftwareMeteringAgent", all_types("S", 100) + (
            'class S_Metered { [Key] string Id; [EmbeddedInstance("S_Process")] string Process;'
            " string Text; };\n"
            "class S_Process { [Key] string Name; string UserName; string ParentProcessID;"
            " uint32 Handle; string Parameters[]; string OSName; };\n"
            'class S_Scalar { [Key] string Name; string Parameters; };\n'
            'class S_Any { [Key] string Id; [EmbeddedObject] string Process; };\n'
            'class S_Plain { [Key] string Id; string Process; };\n'
            + "".join(metered(number, "S_Plain", text) for number, text in enumerate(PLAIN))
            + "".join(metered(number, *row) for number, row in enumerate(EMBEDDED))
        ))
        text = self.assert_needs_no_repair(self.assert_round_trip())
        self.assertTrue('Fixing invalid embedded instance mof for namespace "zeb/' in text)
        self.assertTrue("Nothing to replace.  Could not find any embedded instance lines." in text)

    def test_with_embedded_objects_stay_such_as_come_back(self):
        """An upgrade cannot change their classes so that they would not fit any more."""
        keys = "[Key] string Id; "
        holder = keys + '[EmbeddedInstance("S_Part")] string Part; string Text; '
        self.compile_text("sample", (
            f"Qualifier Mark : string = null, Scope(any);\nclass S_Part {{ {keys}uint8 Size; }};\n"
            f"class S_Holder {{ {holder}}};\nclass S_Any {{ {keys}[EmbeddedObject] string Any; }};\n"
            'instance of S_Holder { Id = "1"; Part = "instance of S_Part { Size = 7; };"; '
            'Text = "no object"; };\n'
            'instance of S_Any { Id = "1"; Any = "class S_Odd : S_Part { [Mark(\\"m\\")] string M; };"; '
            "};\n"))
        saved = self.assert_round_trip()
        part = 'the object embedded in property "Part" of instance S_Holder.Id="1"'
        for mof, refusal in (
                (f"class S_Part {{ {keys}}};\n", part),
                (f"class S_Part {{ {keys}string Size; }};\n", part),
                (f"class S_Holder {{ {holder.replace('string Text', '[EmbeddedObject] string Text')}}};\n",
                 'another kind of object embedded in the property "Text"'),
                (f"class S_Holder {{ {holder.replace('S_Part', 'S_Any')}}};\n",
                 'another kind of object embedded in the property "Part"'),
                ("Qualifier Mark : uint8 = null, Scope(any);\n",
                 'property "Any" of instance S_Any.Id="1"')):
            write(PLAY + "/content.mof", mof.encode())
            result = run([OWMOFC, "-n", "sample", PLAY + "/content.mof"])
            self.assertEqual(result.status, 1, mof)
            self.assertIn(refusal, result.err)
        self.assertEqual(self.save()[0], saved)

    def test_that_refer_to_other_namespaces_come_back(self):
        """They refer to a later namespace of the same product, and to one of a later product."""
        thing = "class S_Thing { [Key] string Id; };\ninstance of S_Thing { Id = \"x \\\"y\\\"\"; };\n"
        link = (
            "[Association] class S_Link { [Key] S_Thing REF From; [Key] S_Thing REF To; };\n"
            + "".join(
                f'instance of S_Link {{ From = "sample:S_Thing.Id=\\"x \\\\\\"y\\\\\\"\\""; '
                f'To = "{to}:S_Thing.Id=\\"x \\\\\\"y\\\\\\"\\""; }};\n'
                for to in ("sample", "sample/b", "third")))
        for ns in ("sample", "sample/b", "third"):
            self.compile_text(ns, thing)
        self.compile_text("sample", link)
        saved = self.assert_round_trip()
        self.assertEqual(saved.count(b"instance of S_Link"), 3)

    def test_that_are_a_schema_of_their_own_come_back(self):
        """Qualifier types, subclasses whose names come first, keys that are references, methods,
        defaults, nulls."""
        self.compile_text("sample", (
            "Qualifier Own : string[] = {\"a\", \"&<>\"}, Scope(any), Flavor(EnableOverride);\n"
            "[Own{\"x\"}, Description(\"a\\r\\nb\\x0001\")] class Z_Base { [Key] string Id = \"d\";\n"
            " [Description(NULL)] uint8 run([In] string a[], [In(FALSE), Out] datetime b); };\n"
            "class M_Middle : Z_Base { string More = \"m\"; };\n"
            "class A_Leaf : M_Middle { [Override(\"More\")] string More = NULL; sint64 N = -1; };\n"
            "class B_Empty { };\n"
            "[Association] class C_Link { [Key] Z_Base REF From; [Key] A_Leaf REF To; uint8 W; };\n"
            "instance of Z_Base { Id = \"z\"; };\ninstance of A_Leaf { Id = \"a\"; N = NULL; };\n"
            'instance of C_Link { From = "Z_Base.Id=\\"z\\""; To = "A_Leaf.Id=\\"a\\""; };\n'
        ))
        self.assert_needs_no_repair(self.assert_round_trip())


class WholeSchema(ContentStory):
    """The DMTF schema and ten thousand instances of its classes."""

    def setUp(self):
        if not os.path.isdir(SCHEMA):
            self.skipTest("the DMTF schema is not here (KOV_MOF_CORPUS)")
        super().setUp()
        root = [name for name in os.listdir(SCHEMA)
                if name.startswith("cim_schema_") and name.endswith(".mof")]
        self.compile("sample", os.path.join(SCHEMA, root[0]))

    def test_with_its_instances_comes_back(self):
        mof, classes = dmtf_instances(10000)
        self.assertGreater(classes, 100)
        self.compile_text("sample", mof)
        self.compile_text("sample/b", all_types("S", 100, seed=2))
        saved = self.assert_round_trip()
        self.assertEqual(saved.count(b"\ninstance of "), 10000 + 100)
        self.assert_needs_no_repair(saved)
