# SPDX-License-Identifier: Apache-2.0
"""Saving: the file, and what is refused before an earlier file is touched."""

import os
import subprocess

from harness import Result, read, run, write
from machine import FENNIK, PLAY
from providers import USER
from saved_state import (
    DUMP, OWMOFC, STATE_FILE, StateStory, live_provider, own_file, snippet, start_file,
)

FULL = PLAY + "/full"
OWDELETEINSTANCE = "/opt/tarvo/kov/bin/owdeleteinstance"


class Saving(StateStory):
    def assert_refused(self, message, path=STATE_FILE, out="Saving product registration for sample\n",
                       status=36):
        result = self.fennik(DUMP, path)
        self.assertEqual((result.status, result.out), (status, out), result.err)
        self.assertIn(f"FennikException: {status}: {message}", result.err)
        self.assertIn("An error has occurred.\nDetails: ", result.err)

    def assert_refused_before(self, message):
        """Expects that saving is refused and leaves an earlier file as it was."""
        write(STATE_FILE, b"earlier")
        self.assert_refused(message)
        self.assertEqual(read(STATE_FILE), b"earlier")

    def record(self, name, user):
        """Records a product with names that registering refuses. Other clients can do that."""
        text = f'instance of KOV_Product {{ Name = "{name}"; Usernames = {{ "{user}" }}; }};'
        self.assertEqual(run([OWMOFC, "-n", "kov", "-"], text).status, 0)

    def test_nothing(self):
        content, out = self.save()
        self.assertEqual(out, "")
        self.assertTrue(content.endswith(
            b"]>\n<SavedProductState>\n  <Version>1.4.0Release.824</Version>\n"
            b"  <SavedProducts/>\n</SavedProductState>\n"), content)
        before = self.everything()
        self.assertEqual(self.restore(), Result(
            0, "Restoring product registration from KOV version 1.4.0Release.824\n"
            "Nothing to do.  No products exist in the saved state.\n", ""))
        self.assertEqual(self.settings().keys(), {k for k in before if k in self.settings()})

    def test_makes_a_private_file_and_changes_nothing_else(self):
        self.make_whole_product()
        before = self.everything()
        self.save()
        self.assertEqual(os.stat(STATE_FILE).st_mode & 0o7777, 0o600)
        self.assertEqual(self.everything(), before)

    def test_leaves_the_infrastructure_out_in_any_case(self):
        for name in ("KoV", "kovi", "KOV", "akov"):
            self.register(name, "al")
        content, out = self.save()
        self.assertEqual(sorted(out.splitlines()), ["Saving product registration for akov",
                                                    "Saving product registration for kovi"])
        listed = self.fennik("--list-registered-products").out.splitlines()
        self.assertEqual([name.text for name in self.tree(content).findall(".//Product/Name")],
                         [name for name in listed if name.lower() != "kov"])

    def test_to_a_place_that_is_none(self):
        self.register("sample", "al")
        for path in (PLAY + "/missing/state.xml", PLAY, ""):
            with self.subTest(path=path):
                self.assert_refused(f'Failed to create state file: "{path}"', path)

    def test_through_a_link_and_into_a_pipe(self):
        self.register("sample", "al")
        content, _ = self.save()
        os.symlink(PLAY + "/target", PLAY + "/link")
        self.assertEqual(self.fennik(DUMP, PLAY + "/link").status, 0)
        self.assertEqual(read(PLAY + "/target"), content)
        self.assertTrue(os.path.islink(PLAY + "/link"))
        result = self.fennik(DUMP, "/dev/stderr")
        self.assertEqual((result.status, result.err), (0, content.decode()))

    def test_to_a_full_device(self):
        self.register("sample", "al")
        if not os.path.exists("/dev/full"):
            self.skipTest("there is no /dev/full")
        self.assert_refused('Failed to create state file: "/dev/full"', "/dev/full")

    def test_to_a_full_disk_leaves_no_half_file(self):
        self.make_whole_product()
        os.mkdir(FULL)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=16k", "tiny", FULL], check=True)
        self.addCleanup(subprocess.run, ["umount", FULL], check=True)
        path = FULL + "/state.xml"
        self.assert_refused(f'Failed to create state file: "{path}"', path)
        self.assertIn("No space left", self.fennik(DUMP, path).err)
        self.assertEqual(os.listdir(FULL), [])

    def test_a_snippet_with_what_xml_cannot_hold(self):
        self.register("good", "al")
        self.register("sample", "al")
        for content, what in ((b"a\nb\0c", "the control character U+0000 in line 2, byte 2"),
                              (b"\x1b", "the control character U+001B in line 1, byte 1"),
                              (b"a\n\xff", "the byte 0xff, which is not UTF-8, in line 2, byte 1"),
                              (b"\xc3\xa4\xc3", "the byte 0xc3, which is not UTF-8, in line 1, byte 3"),
                              (b"\xef\xbf\xbf", "a code that is no character in line 1, byte 1")):
            with self.subTest(content=content):
                write(snippet("sample"), content)
                write(STATE_FILE, b"earlier")
                result = self.fennik(DUMP, STATE_FILE)
                self.assertEqual(result.status, 36)
                self.assertIn(
                    'The state of product "sample" cannot be saved: XML cannot hold the element '
                    f"Product/ConfigFile[1]: its text has {what} <", result.err)
                self.assertEqual(read(STATE_FILE), b"earlier")

    def test_a_privilege_text_with_what_xml_cannot_hold(self):
        self.register("sample", "al")
        self.give_namespaces("sample", "sample")
        self.use("sample", live_provider("disk", "sample", privileges=USER))
        for path, element in ((own_file("sample", "disk"), "ProviderPrivileges[1]"),
                              (start_file("sample", "disk"), "ProviderOOPIPrivileges[1]")):
            kept = read(path)
            write(path, kept + b"\x07")
            self.assert_refused_before(
                'The state of product "sample" cannot be saved: XML cannot hold the element '
                f"Product/RegisteredProviders[1]/OOP1ProviderRegistration[1]/{element}: its text has "
                "the control character U+0007 in line 2, byte 1")
            write(path, kept)

    def test_names_with_what_xml_cannot_hold(self):
        self.record("sample", "a\\x0001l")
        self.assert_refused_before(
            'The state of product "sample" cannot be saved: XML cannot hold the element '
            "Product/AllowedUsers[1]/UserName[1]: its text has the control character U+0001")

    def test_a_key_of_an_instance_with_what_xml_cannot_hold(self):
        self.register("sample", "al")
        self.give_namespaces("sample", "sample")
        mof = ('#pragma namespace("sample")\nclass S { [Key] string Id; };\n'
               'instance of S { Id = "a\\x0001"; };\n')
        self.use("sample", live_provider("disk", "sample", mof=mof))
        self.assert_refused_before(
            'The state of product "sample" cannot be saved: XML cannot hold the element Product/'
            "RegisteredProviders[1]/OOP1ProviderRegistration[1]/ProviderInstances[1]/Name[1]: its "
            "text has the control character U+0001")

    def test_a_user_who_would_come_back_as_another(self):
        self.register("sample", "al")
        self.give_namespaces("sample", "sample")
        self.compile_text("root/security", (
            'instance of OpenWBEM_UserACL { nspace = "sample"; username = "al "; '
            'capability = "rR"; };\n'))
        self.assert_refused_before(
            'The state of product "sample" cannot be saved: its user "al " begins or ends '
            'with white space')

    def test_content_that_would_not_compile_names_the_instance_and_the_command_that_mends_it(self):
        self.register("sample", "al")
        self.give_namespaces("sample", "sample")
        # Since references may be dangling, the class that they name can be replaced.
        self.compile_text("sample", (
            "class S_Thing { [Key] string Id; };\n"
            "[Association] class S_Link { [Key] S_Thing REF From; [Key] S_Thing REF To; };\n"
            'instance of S_Link { From = "S_Thing.Id=\\"a\\""; To = "S_Thing.Id=\\"b\\""; };\n'))
        self.save()
        self.compile_text("sample", "class S_Thing { string Id; [Key] uint8 Number; };\n")
        path = r'sample:S_Link.From="sample:S_Thing.Id=\"a\"",To="sample:S_Thing.Id=\"b\""'
        self.assert_refused_before(
            f'The state of product "sample" cannot be saved: the instance {path} could not be '
            "restored: MOF:")
        err = self.fennik(DUMP, STATE_FILE).err
        self.assertIn(f"Delete it (owdeleteinstance '{path}') or give it values that fit its class, "
                      "then save again.", err)
        self.assertEqual(run([OWDELETEINSTANCE, path]).status, 0)
        self.save()

    def test_without_a_privilege_file_fails_before_the_file_is_opened(self):
        self.register("sample", "al")
        self.give_namespaces("sample", "sample")
        self.use("sample", live_provider("disk", "sample", privileges=USER))
        os.unlink(start_file("sample", "disk"))
        write(STATE_FILE, b"earlier")
        result = self.fennik(DUMP, STATE_FILE)
        self.assertEqual(result.status, 255)
        self.assertIn("FennikException: Failed creating state dump <", result.err)
        self.assertIn(start_file("sample", "disk"), result.err)
        self.assertEqual(read(STATE_FILE), b"earlier")

    def test_reads_snippets_of_this_machine_for_a_staged_tree(self):
        """Snippets and privilege files are read from the machine, not from the staged tree."""
        stage = PLAY + "/stage"
        os.makedirs(stage + "/opt/tarvo/kov")
        subprocess.run(["cp", "-a", "/opt/tarvo/kov/share", stage + "/opt/tarvo/kov"], check=True)
        self.assertEqual(run(["kov-setup", "--dest-dir", stage]).status, 0)
        staged = [FENNIK, "--kov-build-system-dest-dir", stage]
        self.assertEqual(run([*staged, "--register", "--name", "sample", "--username", "al"]).status, 0)
        write(stage + snippet("sample"), b"staged = 1\n")
        write(snippet("sample"), b"here = 1\n")
        result = run([*staged, DUMP, STATE_FILE])
        self.assertEqual((result.status, result.err), (0, ""))
        self.assertEqual(self.tree().find(".//ConfigFile").text, "here = 1\n")

    def test_goes_on_when_nobody_reads_its_progress(self):
        self.register("sample", "al")
        self.not_running()
        done = subprocess.run(["sh", "-c", f"{FENNIK} {DUMP} {STATE_FILE} >&-"], check=False)
        self.assertEqual(done.returncode, 0)
        self.assertTrue(read(STATE_FILE).endswith(b"</SavedProductState>\n"))

    def test_stops_the_daemon_and_starts_it_again(self):
        self.register("sample", "al")
        self.running(0, 0)
        self.assertEqual(run([FENNIK, DUMP, STATE_FILE]).status, 0)
        self.assertEqual(self.calls()[-2:], ["stop", "start"])
