# SPDX-License-Identifier: Apache-2.0
"""Deregistering a whole product while no daemon runs."""

import os
import shutil
import tempfile

from harness import Tree, UNDO_HEAD, describe, write
from machine import BACKUP, FENNIK, PLAY
from providers import (
    NOTHING, PRIVILEGES, PROGRAM, REGISTRATION, USER, Provider, ProviderStory, file_name, listing,
    live_provider, process, registration, schema, without_repository_file,
)

SNIPPET = b"sample.key = 1\n"
NOT_RUNNING = b"3\n" * 1000


class MachineTree(Tree):
    """The machine itself. The working copy is made of the repository at its real place."""

    def __init__(self):  # kov-setup has been here
        self.prefix = ""
        self.directory = tempfile.mkdtemp(prefix="fennik-story-")

    def command(self, *arguments):
        return [FENNIK, *arguments]

    def state(self):
        found = {"repository": self.rows()}
        for place in ("/etc/opt/tarvo", "/var/opt/tarvo/kov"):
            for parent, directories, files in os.walk(place):
                for path in (os.path.join(parent, name) for name in [*directories, *files]):
                    if path != self.lock_file:
                        found[path] = describe(path)
        return found


class ProductStory(ProviderStory):
    TREE = MachineTree

    def setUp(self):
        self.assertIn("KOV_SANDBOX", os.environ, "this story changes the machine that it runs on")
        os.environ["ASAN_OPTIONS"] = "detect_leaks=0"
        os.mkdir(PLAY)
        os.chmod(PLAY, 0o777)
        for name, content in (("plan", NOT_RUNNING), ("calls", b"")):
            write(f"{PLAY}/{name}", content)
            os.chmod(f"{PLAY}/{name}", 0o666)
        super().setUp()


class WholeProduct(ProductStory):
    """A product with a snippet, two namespaces and three providers."""

    PROVIDERS = (
        live_provider("disk", privileges=USER),
        live_provider("fan"),
        Provider("proc", process(Process=PROGRAM), schema("proc", "sample/more")),
    )

    def setUp(self):
        super().setUp()
        self.give_namespace("sample/more")
        write(self.tree.snippet("sample"), SNIPPET)
        self.assert_used(*self.PROVIDERS)
        self.before = self.tree.state()


class Deregistering(WholeProduct):
    def test_leaves_what_was_there_before_the_product(self):
        self.assertEqual(self.deregister(), NOTHING)
        self.assertEqual(
            without_repository_file(self.tree.state()),
            without_repository_file(self.before_the_product),
        )

    def test_is_refused_before_a_file_has_gone_while_an_old_backup_is_there(self):
        os.mkdir(BACKUP)
        write(BACKUP + "/repository.db", b"old")
        before = self.tree.state()
        result = self.deregister()
        self.assertEqual((result.status, result.out), (27, ""))
        self.assertIn(f'"{BACKUP}" is in the way.', result.err)
        self.assertNotIn(UNDO_HEAD, result.err)
        self.assertEqual(self.tree.state(), before)
        shutil.rmtree(BACKUP)
        self.assertEqual(self.tree.state(), self.before)
        self.assertEqual(self.deregister(), NOTHING)

    def test_is_told_in_the_debug_log(self):
        text, _ = self.log_of("--deregister", "--name", "sample")
        position = 0
        for line in ('ProductRegistration: Deregistering product "sample"',
                     'Checking product registration for "sample"',
                     'ProviderRegistration: Deregistering providers for "sample"'):
            found = text.find(line, position)
            self.assertGreaterEqual(found, 0, line)
            position = found

    def test_leaves_other_products_alone(self):
        self.register("samples", "bob")  # a name that begins with that of the product
        write(self.tree.snippet("samples"), SNIPPET)
        self.give_namespace("samples", product="samples")
        theirs = Provider("x", registration=registration("x", "samples", Process=PROGRAM),
                          mof=schema("x", "samples"))
        self.assert_used(theirs, product="samples")
        users = self.tree.users_file("samples")
        self.assertEqual(self.deregister(), NOTHING)
        self.assertEqual(self.fennik("--list-registered-products").out, "samples\n")
        self.assertEqual(self.fennik("--list-namespaces", "--name", "samples").out, "samples\n")
        self.assertIn("samples:x", self.listed("samples"))
        for path in (users, self.tree.snippet("samples"), self.start_file("x", "samples")):
            self.assertTrue(os.path.exists(path), path)

    def test_may_be_followed_by_registering_again(self):
        self.assertEqual(self.deregister(), NOTHING)
        self.register("sample", "alice")
        self.give_namespace("sample", "sample/more")
        write(self.tree.snippet("sample"), SNIPPET)
        self.assert_used(*self.PROVIDERS)
        self.assertEqual(
            without_repository_file(self.tree.state()), without_repository_file(self.before)
        )

    def test_needs_no_snippet(self):
        os.unlink(self.tree.snippet("sample"))
        self.assertEqual(self.deregister(), NOTHING)

    def assert_refused_for(self, product, status, message):
        self.assert_fennik_failure(self.deregister(product), status, message)
        self.assertEqual(self.tree.state(), self.before)

    def test_of_the_infrastructure_is_refused(self):
        self.assert_refused_for("kov", 29, "Deregistration of kov is not allowed.")
        self.register("kov", "alice")
        self.before = self.tree.state()
        self.assert_refused_for("kov", 29, "Deregistration of kov is not allowed.")

    def test_of_unknown_products_is_refused(self):
        for name in ("KOV", "Kov", "Sample", "sampl", "", "..", "../sample", "a/b", "sample\n",
                     'sample"', "{sample}", "x" * 5000):
            with self.subTest(name=name):
                self.assert_refused_for(name, 3, "The product has not been registered.")

    def test_of_a_product_named_like_the_infrastructure_in_capitals(self):
        self.register("KOV", "alice")
        self.assertEqual(self.deregister("KOV"), NOTHING)

    def test_twice_is_refused(self):
        self.assertEqual(self.deregister(), NOTHING)
        self.before = self.tree.state()
        self.assert_refused_for("sample", 3, "The product has not been registered.")


class FailingDeregistration(WholeProduct):
    """Leaves everything as it was, apart from the allowed users file, which is not put back."""

    def assert_undone(self, result, status, message, without=()):
        self.assert_fennik_failure(result, status, message)
        state = self.tree.state()
        self.assertEqual(
            state, {path: text for path, text in self.before.items() if path not in without}
        )
        self.assertNotIn(UNDO_HEAD, result.err)

    def test_for_want_of_the_users_file(self):
        path = self.tree.users_file("sample")
        os.unlink(path)
        self.assert_undone(self.deregister(), 25, f"Failed to remove {path}", without=[path])
        self.assertEqual(self.listed().count("\n"), 3)

    def test_because_the_users_file_is_a_directory(self):
        path = self.tree.users_file("sample")
        os.unlink(path)
        os.mkdir(path)
        self.before = self.tree.state()
        self.assert_undone(self.deregister(), 25, f"Failed to remove {path}")

    def test_because_the_users_file_cannot_be_removed(self):
        path = self.tree.users_file("sample")
        result = self.failing(
            ["unlink,unlinkat:error=EPERM"], "--deregister", "--name", "sample", path=path
        )
        self.assert_undone(result, 25, f"Failed to remove {path}")

    def test_because_the_snippet_cannot_be_removed(self):
        path = self.tree.snippet("sample")
        result = self.failing(
            ["unlink,unlinkat,rename,renameat,renameat2:error=EPERM"], "--deregister", "--name",
            "sample", path=path,
        )
        self.assertEqual((result.status, result.out), (17, ""), result.err)
        self.assertNotIn(UNDO_HEAD, result.err)
        self.assertEqual(self.tree.state(), self.before)

    def test_because_a_privilege_file_is_gone(self):
        for path in (self.start_file("fan"), self.privilege_file("disk")):
            with self.subTest(path=path):
                aside = self.tree.prefix + "/etc/opt/tarvo/aside"
                os.rename(path, aside)
                before = self.tree.state()
                result = self.deregister()
                self.assertEqual(result.status, 14, result.err)
                self.assertIn("Provider deregistration failed: ", result.err)
                self.assertIn(path, result.err)
                self.assertEqual(self.tree.state(), before)
                os.rename(aside, path)

    def test_because_the_working_copy_is_there_already(self):
        copy = self.tree.repository + "-copy_QLkJ235"
        os.mkdir(copy)
        before = self.tree.state()
        self.assert_fennik_failure(
            self.deregister(), 26,
            "An error occured while creating a copy of the repository. "
            f"{copy} : directory already exists. You should remove this directory and run fennik "
            "again.",
        )
        self.assertEqual(self.tree.state(), before)


class HostileNames(ProductStory):
    """Odd names of products. Each works like any other, or the message names what is refused."""

    NAMES = ('with "quotes"', "{braces}", "'", "a\nb", "$(reboot)", "%1%2", "-x", "a,b", "a:b",
             "<x>", "\\", "sample.Name=\"x\"")

    def test_are_names_like_any_other(self):
        for name in self.NAMES:
            with self.subTest(name=name):
                self.register(name, "alice")
                before = self.tree.rows()
                text = registration("x", product=name, NamespaceNames=[],
                                    Process=PROGRAM)
                odd = Provider("odd", registration=text, mof="", privileges=None)
                self.assertEqual(self.use(odd, product=name), NOTHING)
                self.assertEqual(self.listed(name).count(REGISTRATION), 1)
                self.assertEqual(self.use_list("", name), NOTHING)
                self.assertEqual(self.tree.rows(), before)
                self.assertEqual(self.use(odd, product=name), NOTHING)
                self.assertEqual(self.deregister(name), NOTHING)
                self.assertEqual(os.listdir(f"{self.tree.prefix}{PRIVILEGES}/owcimomd"), [])
                self.assertEqual(
                    self.fennik("--list-registered-products").out, "sample\n"
                )

    def test_that_lead_elsewhere_stay_inside(self):
        """None of these can be registered. Providers that need no namespace can be, and removed."""
        for name in ("..", "../../../../../tmp/x", "a/b", "/etc", "\n", "x" * 5000):
            with self.subTest(name=name):
                text = registration("x", product=name, NamespaceNames=[],
                                    Process=PROGRAM)
                odd = Provider("odd", registration=text, mof="")
                odd.write_below(self.tree.prefix)
                before = self.tree.state()
                result = self.use_list(odd.line(), name)
                if result.status != 0:
                    self.assertTrue(result.err.startswith("An error has occurred.\n"), result.err)
                    self.assertIn("File name too long", result.err)
                    self.assertEqual(self.tree.state(), before)
                    continue
                files = set(self.tree.state()) - set(before)
                self.assertEqual(files, {self.start_file_of(name)})
                self.assert_fennik_failure(
                    self.deregister(name), 3, "The product has not been registered."
                )
                self.assertEqual(self.use_list("", name), NOTHING)
                self.assertEqual(
                    without_repository_file(self.tree.state()), without_repository_file(before)
                )

    def start_file_of(self, product):
        return f"{self.tree.prefix}{PRIVILEGES}/owcimomd/{file_name(product + ':x')}"


class ThousandProviders(ProductStory):
    def test_come_and_go_with_their_product(self):
        pragma = '#pragma namespace("sample")\n'
        providers = [
            live_provider(
                f"p{number}", privileges=USER,
                mof=f"{pragma}class Sample_P{number} {{ [Key] string Id; }};\n"
                f'instance of Sample_P{number} {{ Id = "x"; }};\n',
            )
            for number in range(1000)
        ]
        self.assert_used(*providers)
        names = [provider.name for provider in providers]
        self.assertEqual(sorted(self.listed().splitlines(True)),
                         sorted(listing(*names).splitlines(True)))
        self.assertTrue(all(os.path.exists(self.privilege_file(name)) for name in names))
        self.assertEqual(self.deregister(), NOTHING)
        self.assertEqual(self.fennik("--list-registered-products"), NOTHING)
        self.assertFalse(any(os.path.exists(self.privilege_file(name)) for name in names))
        self.assertEqual(
            without_repository_file(self.tree.state()),
            without_repository_file(self.before_the_product),
        )
