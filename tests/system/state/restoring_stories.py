# SPDX-License-Identifier: Apache-2.0
"""Restoring: what it reads, what it refuses with nothing registered, and what is in the way."""

import os
import re
import resource
import subprocess
import time

from harness import Result, read, run, write
from machine import BACKUP, COPY, DATA, FENNIK, LIVE, PLAY
from providers import PRIVILEGES, USER
from saved_state import (
    RESTORE, STATE_FILE, VERSION_LINE, StateStory, document, live_provider, own_file, product,
    snippet, start_file, users_file,
)

INVALID = f'Invalid state dump found in "{STATE_FILE}" during restoration:'
SECONDS = 30  # at most, on a busy machine
MEMORY = 600 * 2**20  # for the small bombs


class Refused(StateStory):
    """Files that are refused with a clear error. Nothing is registered."""

    def setUp(self):
        super().setUp()
        self.register("other", "al")
        self.save()
        self.before = self.everything()

    def assert_refused(self, content, status, message, out=None):
        write(STATE_FILE, content if isinstance(content, bytes) else content.encode())
        result = self.restore()
        self.assertEqual(result.status, status, result)
        self.assertRegex(result.err, rf"Details: \S+ \d+ FennikException: ({status}: )?"
                         + re.escape(message))
        if out is not None:
            self.assertEqual(result.out, out)
        self.assertNotIn("restoration to the previous state has also failed", result.err)
        self.assertEqual(self.everything(), self.before)
        return result

    def test_when_it_is_no_xml(self):
        for content in (b"", b"text", b"<a", b"<a></b>", b"<a/><b/>", b"<a>\xff</a>", b"<a>\xc3</a>",
                        b"<a>&#1;</a>", b"<a>&unknown;</a>", b"\xff\xfe<\0a\0/\0", b"\0" * 1000,
                        document().encode() + b"x"):
            with self.subTest(content=content):
                result = self.assert_refused(content, 14, INVALID + " <", "")
                self.assertTrue(result.err.startswith(INVALID + ": "), result.err)
                self.assertRegex(result.err, r"XMLParseException: line \d+, column \d+: ")

    def test_when_it_has_another_document_element(self):
        self.assert_refused(
            "<SavedProducts/>", 14, 'Invalid product state root node: Found XML node '
            '"SavedProducts" when node "SavedProductState" was expected\n', "")

    def test_when_an_element_is_missing_or_another(self):
        for content, message in (
            ("<Other/>", 'Invalid product node: Found XML node "Other" when node "Product" was expected'),
            ("<Product/>", 'No node with product name: Found NULL XML node when node "Name" was expected'),
            ("<Product><Name>sample</Name></Product>",
             'Invalid allowed users node: Found NULL XML node when node "AllowedUsers" was expected'),
        ):
            with self.subTest(content=content):
                self.assert_refused(document(content), 14, message + "\n")

    def test_when_version_or_products_are_missing(self):
        for content in ("<SavedProductState/>",
                        "<SavedProductState><Version>1</Version></SavedProductState>"):
            result = self.assert_refused(content, 255, f"Failed restoring state dump from {STATE_FILE} <")
            self.assertIn("XMLNodeException", result.err)

    def test_when_a_name_would_not_come_back(self):
        for name, users, fault in (
                ("sam.allowed_users", "<UserName>al</UserName>",
                 'its name ends in ".allowed_users", which is for the files of allowed users'),
                ("sample ", "<UserName>al</UserName>", "its name begins or ends with white space"),
                ("sample", "<UserName> al</UserName>",
                 'its user " al" begins or ends with white space')):
            with self.subTest(name=name, users=users):
                self.assert_refused(
                    document(product("first") + product(name, users=users)), 12,
                    f'The product "{name}" of the saved state cannot be restored: {fault}. ')

    def test_when_it_cannot_be_opened(self):
        for path in (PLAY + "/missing", PLAY, ""):
            result = self.fennik(RESTORE, path)
            self.assertEqual((result.status, result.out), (37, ""))
            self.assertIn(f'FennikException: 37: Failed to open state file: "{path}" <', result.err)
            self.assertEqual(self.everything(), self.before)

    def test_when_it_is_cut_anywhere(self):
        """Tries some forty lengths. A unit test of the XML reader tries every length."""
        self.make_whole_product()
        whole, _ = self.save(PLAY + "/whole")
        self.install_anew()
        self.register("other", "al")
        self.before = self.everything()
        for size in range(0, len(whole.rstrip()), max(1, len(whole) // 40)):
            self.assert_refused(whole[:size], 14, INVALID)

    def limited(self, content):
        """Restores `content`, which must keep limits of time and memory. Returns the Result."""
        write(STATE_FILE, content)
        self.not_running()
        start = time.monotonic()
        with subprocess.Popen(
            [FENNIK, RESTORE, STATE_FILE], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
        ) as process:
            out, err = process.communicate(timeout=120)
        peak = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss * 1024
        self.assertLess(time.monotonic() - start, SECONDS)
        self.assertLess(peak, MEMORY)
        return Result(process.returncode, out.decode(), err.decode("utf-8", "replace"))

    def assert_bomb_refused(self, content, status=14, message=INVALID):
        result = self.limited(content)
        self.assertEqual(result.status, status, result.err[:2000])
        self.assertIn(message, result.err)
        self.assertEqual(self.everything(), self.before)

    def test_when_entities_would_expand(self):
        levels = "".join(f'<!ENTITY l{n} "{"&l" + str(n - 1) + ";" if n else "lol"}'
                         f'{("&l" + str(n - 1) + ";") * 9 if n else ""}">' for n in range(12))
        self.assert_bomb_refused(
            f"<!DOCTYPE a [{levels}]><SavedProductState>&l11;</SavedProductState>".encode())

    def test_when_it_names_other_files(self):
        secret = PLAY + "/secret"
        write(secret, b"secret")
        for text in (f'<!DOCTYPE a [<!ENTITY x SYSTEM "file://{secret}">]><SavedProductState>&x;'
                     "</SavedProductState>",
                     f'<!DOCTYPE a SYSTEM "{secret}"><SavedProductState/>',
                     f'<!DOCTYPE a [<!ENTITY % p SYSTEM "{secret}"> %p;]><SavedProductState/>',
                     '<!DOCTYPE a SYSTEM "http://127.0.0.1:1/x"><SavedProductState/>'):
            self.assert_bomb_refused(text.encode())
        self.need_strace()
        trace = PLAY + "/trace"
        self.not_running()
        write(STATE_FILE, text.encode())
        run(["strace", "-qq", "-o", trace, "-e", "trace=network,openat", FENNIK, RESTORE, STATE_FILE])
        calls = read(trace).decode(errors="replace")
        self.assertNotIn("AF_INET", calls)
        self.assertNotIn(secret, calls)

    def test_when_it_is_deep_wide_or_long(self):
        self.assert_bomb_refused(b"<a>" * 100000)
        deep = b"<a>" * 100000 + b"</a>" * 100000
        self.assert_bomb_refused(deep, message="Invalid product state root node: ")
        self.assert_bomb_refused(b'<SavedProductState a="' + b"x" * 10 * 2**20 + b'"/>', 255,
                                 f"Failed restoring state dump from {STATE_FILE}")
        self.assert_bomb_refused(document("<" + "x" * 10 * 2**20 + "/>").encode(),
                                 message="Invalid product node: ")

    def test_when_it_is_two_gigabytes(self):
        with open(STATE_FILE, "wb") as file:
            file.truncate(2 * 2**30)
        self.not_running()
        start = time.monotonic()
        result = run([FENNIK, RESTORE, STATE_FILE])
        self.assertLess(time.monotonic() - start, SECONDS)
        self.assertEqual(result.status, 37, result.err)
        self.assertIn("Failed to open state file: ", result.err)
        self.assertEqual(self.everything(), self.before)


class Form(StateStory):
    """Files with white space anywhere and without optional elements."""

    def test_product_without_optional_elements(self):
        result = self.restore_text(document(product()))
        self.assertEqual(result, Result(
            0, VERSION_LINE + "Restoring product registration for sample\n", ""))
        self.assertEqual(read(users_file("sample")), b"owcimomd.allowed_users = al\n")
        self.assertFalse(os.path.exists(snippet("sample")))
        self.assertEqual(self.listings()["sample", "--list-namespaces"].out, "")

    def test_white_space_anywhere_between_elements(self):
        self.make_whole_product()
        saved, _ = self.save()
        listings = self.listings()
        text = saved.decode()
        header, body = text.split("]>\n", 1)
        body = re.sub(r">\s*<", "><", body)
        for spaced in (body, re.sub(r"><", ">\r\n\t <!-- x --> <", body),
                       re.sub("<(Name|UserName|Capability|Version)>([^<]*)<", "<\\1>\n\t \\2 \r\n<", body)):
            self.install_anew()
            result = self.restore_text(header + "]>\n" + spaced)
            self.assertEqual((result.status, result.err), (0, ""))
            self.assertEqual(self.listings(), listings)
            self.assertEqual(self.save(STATE_FILE + ".again")[0], saved)

    def test_raw_carriage_returns_of_mof(self):
        content = ("<NamespaceRegistration><Namespace><Name>sample</Name></Namespace>"
                   "</NamespaceRegistration><ProductInstances><NamespaceInstances><Name>sample</Name>"
                   '<InstanceMOF>class S { [Key] string Id; };\r\ninstance of S { Id = "a\rb\r"; };'
                   "\r\n</InstanceMOF></NamespaceInstances></ProductInstances>")
        result = self.restore_text(document(product(rest=content)))
        self.assertEqual((result.status, result.err), (0, ""))
        self.assertIn(b'Id = "a\\rb\\r";', self.save()[0])

    def test_access_of_other_kinds_is_dropped(self):
        entries = "".join(
            f"<NamespaceACLEntry><UserName>u{n}</UserName><Capability>{capability}</Capability>"
            "</NamespaceACLEntry>"
            for n, capability in enumerate(("rw", "", "rwRW ", "RWrw", " rR", "r", "rwRWx")))
        result = self.restore_text(document(product(rest=(
            f"<NamespaceRegistration><Namespace><Name>sample</Name>{entries}</Namespace>"
            "</NamespaceRegistration>"))))
        self.assertEqual((result.status, result.err), (0, ""))
        self.save()
        self.assertEqual(
            [(e.find("UserName").text, e.find("Capability").text)
             for e in self.tree().iter("NamespaceACLEntry")],
            [("u2", "rwRW"), ("u4", "rR"), ("root", "rwRW")])

    def test_provider_of_another_type(self):
        before = self.everything()
        result = self.restore_text(document(product(
            rest="<RegisteredProviders><OOP9Registration/></RegisteredProviders>")))
        self.assertEqual(result.status, 14)
        self.assertIn('Bad provider registration node type: "OOP9Registration"', result.err)
        self.assertEqual(self.state(), {k: before[k] for k in self.state()})

    def test_log_tells_every_step(self):
        self.make_whole_product()
        self.save()
        self.install_anew()
        log = PLAY + "/log"
        self.assertEqual(self.fennik("--log-file", log, RESTORE, STATE_FILE).status, 0)
        text = read(log).decode()
        at = 0
        for line in (f'Loading product registration state from "{STATE_FILE}"',
                     'Have product node for "sample":\n<Product>', "Found config file node",
                     "Found namespace registration node",
                     'Restoring product instances for namespace "sample/a"',
                     'Restoring product instances.  MOF:\n#pragma namespace("sample/a")',
                     "createRegistrationFromNode() called", "createOOP1RegistrationFromNode() called",
                     "Have NS=sample/a", "Have classname=Sample_Disk", "Have provPrivs=unpriv_user",
                     "Have provOOPIPrivs=monitored_exec", 'Have qualifiers: "Sample_DiskUnit"',
                     "Have provider instances: ", "Have classes: ", "Have registration mof:\n",
                     "createOOP1RegistrationFromNode() done", "createRegistrationFromNode() done",
                     f'Successfully loaded product registration state from "{STATE_FILE}"'):
            at = text.find(line, at)
            self.assertGreaterEqual(at, 0, line)


class InTheWay(StateStory):
    """Something of an earlier registration or run is still there."""

    def setUp(self):
        super().setUp()
        self.make_whole_product("one")
        self.make_whole_product("two")
        self.save()
        self.install_anew()

    def assert_fails(self, status, *parts, left):
        """Expects that restoring fails, and changes nothing but adds the files `left`."""
        before = self.everything()
        result = self.restore()
        self.assertEqual(result.status, status, result)
        for part in parts:
            self.assertIn(part, result.err)
        self.assertNotIn("restoration to the previous state has also failed", result.err)
        after = self.everything()
        self.assertEqual({path for path in after if path not in before}, set(left))
        self.assertEqual({path: after.get(path) for path in before}, before)

    def clear(self):
        """Removes the files that the documentation says to remove, and the snippets."""
        for name in ("one", "two"):
            for path in (users_file(name), snippet(name)):
                if os.path.exists(path):
                    os.unlink(path)

    def test_product(self):
        self.register("two", "someone")
        self.assert_fails(2, "The product has already been registered.",
                          left=[users_file("one"), snippet("one")])

    def test_product_that_comes_first(self):
        self.register("one", "someone")
        self.assert_fails(2, "The product has already been registered.", left=[])

    def test_allowed_users_file(self):
        write(users_file("two"), b"old")
        self.assert_fails(12, f"Failed to create {users_file('two')}",
                          left=[users_file("one"), snippet("one")])

    def test_privilege_file(self):
        for path in (own_file("two", "disk"), start_file("two", "fan")):
            with self.subTest(path=path):
                self.clear()
                write(path, b"old")
                self.assert_fails(
                    255, f"createFile({path}) failed",
                    left=[users_file("one"), snippet("one"), users_file("two"), snippet("two")])
                os.unlink(path)

    def test_snippet_is_replaced(self):
        write(snippet("two"), b"old")
        self.assertEqual(self.restore().status, 0)
        self.assertEqual(read(snippet("two")), b"two.key = 1\n")

    def test_copy_of_an_earlier_run(self):
        os.mkdir(COPY)
        self.assert_fails(26, f"{COPY} : directory already exists.", left=[])

    def test_backup_of_an_earlier_run(self):
        os.mkdir(BACKUP)
        write(BACKUP + "/in-the-way", b"")
        self.assert_fails(27, f"Unable to move {LIVE} to {BACKUP}", left=[])

    def test_after_what_is_in_the_way_was_removed_restoring_works(self):
        write(users_file("two"), b"old")
        self.assertEqual(self.restore().status, 12)
        self.clear()
        self.assertEqual(self.restore().status, 0)
        self.assertEqual(self.save(PLAY + "/again")[0], read(STATE_FILE))

    def test_swap_that_fails_undoes_the_restore(self):
        """The privilege files are removed, and only the failure itself is reported."""
        self.play_rm("exit 1")
        self.assert_fails(
            28, f"Unable to remove temporary directory: /bin/rm -rf {BACKUP}",
            left=[users_file("one"), snippet("one"), users_file("two"), snippet("two")])
        self.assertEqual(os.listdir(PRIVILEGES), ["owcimomd"])

    def test_daemon_is_stopped_and_started_again_also_when_it_fails(self):
        for status in (0, 2):
            self.running(0, 0)
            self.assertEqual(run([FENNIK, RESTORE, STATE_FILE]).status, status)
            self.assertEqual(self.calls()[-2:], ["stop", "start"])
