# SPDX-License-Identifier: Apache-2.0
"""Registering and listing the namespaces of a product."""

import os

from harness import UNDO_HEAD, Result, Story, read, write


class NamespaceStory(Story):
    def setUp(self):
        super().setUp()
        self.register("sample")

    @property
    def qualifiers(self):
        return self.tree.prefix + "/opt/tarvo/kov/share/openwbem/qualifiers.mof"

    def words(self, *namespaces, product="sample", users=("alice",), readers=()):
        words = ["--name", product]
        for option, values in (
            ("--register-namespace", namespaces),
            ("--username", users),
            ("--ro-username", readers),
        ):
            for value in values:
                words += [option, value]
        return words

    def register_namespaces(self, *namespaces, **details):
        return self.fennik(*self.words(*namespaces, **details))

    def listed(self, product="sample"):
        result = self.fennik("--list-namespaces", "--name", product)
        self.assertEqual((result.status, result.err), (0, ""))
        return result.out.splitlines()

    def log_of(self, *words):
        """Runs the tool. Returns the texts that its log has after "NamespaceRegistration: "."""
        log = self.tree.directory + "/log"
        result = self.fennik("--log-file", log, *words)
        self.assertEqual(result.status, 0, result.err)
        lines = read(log).decode().splitlines()
        mark = "NamespaceRegistration: "
        return [line.split(mark, 1)[1] for line in lines if mark in line]


class RegisteringNamespaces(NamespaceStory):
    def test_lists_them_in_order(self):
        self.assert_silent_success(self.register_namespaces("sample/b", "sample", "sample/a"))
        self.assertEqual(
            self.fennik("--list-namespaces", "--name", "sample"),
            Result(0, "sample/b\nsample\nsample/a\n", ""),
        )

    def test_grants_access_in_the_order_of_the_lists(self):
        lines = self.log_of(*self.words("sample", users=("bob", "al"), readers=("dave",)))
        self.assertEqual(
            [line for line in lines if line.startswith("Giving")],
            [
                'Giving user "bob" read/write access to "sample"',
                'Giving user "al" read/write access to "sample"',
                'Giving user "dave" read access to "sample"',
                'Giving root read/write access to "sample"',
            ],
        )

    def test_logs_each_step(self):
        lines = self.log_of(*self.words("sample", "sample/x", users=("root",)))
        steps = []
        for ns in ("sample", "sample/x"):
            steps += [
                f'Creating namespace "{ns}"',
                f'Giving root read/write access to "{ns}"',
                f'Importing qualifiers into namespace "{ns}"',
                f'Marking namespace "{ns}" as reserved',
                f'Creating product->namespace association "sample"->"{ns}"',
            ]
        first = 'Registering namespaces for product "sample": "sample" "sample/x"'
        self.assertEqual(lines, [first, *steps])

    def test_root_in_either_list_adds_nothing(self):
        result = self.register_namespaces(
            "sample", users=("root", "bob", "root"), readers=("root",)
        )
        self.assert_silent_success(result)

    def test_reads_the_qualifiers_once_for_many_namespaces(self):
        self.need_strace()
        self.traced(
            self.tree.command(*self.words("sample", "sample/a", "sample/b")),
            "-e", "trace=openat,open", "-P", self.qualifiers,
        )
        trace = read(self.tree.directory + "/trace").decode()
        self.assertEqual(trace.count("qualifiers.mof"), 1)

    def test_product_dorvik_may_also_begin_with_zeb(self):
        self.register("dorvik")
        for ns in ("dorvik/a", "zebra"):
            self.assert_silent_success(self.register_namespaces(ns, product="dorvik"))
        self.assertEqual(self.listed("dorvik"), ["dorvik/a", "zebra"])
        self.assert_fennik_failure(
            self.register_namespaces("other", product="dorvik"), 6,
            "Namespace other must begin with dorvik.",
        )

    def test_prefix_needs_no_separator(self):
        self.assert_silent_success(self.register_namespaces("sampleandmore"))


class ListingNamespaces(NamespaceStory):
    def test_without_namespaces_prints_nothing(self):
        self.assert_silent_success(self.fennik("--list-namespaces", "--name", "sample"))

    def test_shows_only_the_products_own(self):
        self.register("sam")
        self.register_namespaces("sample/x")
        self.register_namespaces("sam/y", product="sam")
        self.assertEqual(self.listed("sample"), ["sample/x"])
        self.assertEqual(self.listed("sam"), ["sam/y"])


class FailingNamespaces(NamespaceStory):
    """Each failure leaves everything as it was, and the undo reports no failure of its own."""

    def setUp(self):
        super().setUp()
        self.before = self.tree.state()

    def tearDown(self):
        self.assertEqual(self.tree.state(), self.before)

    def test_bad_name_though_it_is_the_last(self):
        self.assert_fennik_failure(
            self.register_namespaces("sample", "sample/x", "Sample"), 6,
            "Namespace Sample must begin with sample.",
        )

    def test_product_that_is_not_registered(self):
        self.assert_fennik_failure(
            self.register_namespaces("nobody", product="nobody"), 3,
            "The product has not been registered.",
        )

    def test_namespace_given_twice(self):
        result = self.register_namespaces("sample", "sample")
        self.assert_other_failure(
            result, "NamespaceUtilsException: Unable to create the Namespace: ",
            'CIMException: 11: already exists: the namespace "sample" is named twice\n',
        )
        self.assertNotIn(UNDO_HEAD, result.err)

    def test_namespace_that_exists_names_its_product(self):
        self.assert_silent_success(self.register_namespaces("sample/a"))
        self.before = self.tree.state()
        result = self.register_namespaces("sample/b", "sample/A")
        self.assert_other_failure(
            result, "NamespaceUtilsException: Unable to create the Namespace: ",
            'CIMException: 11: already exists: the namespace "sample/A" exists already; the '
            'product "sample" has reserved it\n',
        )

    def test_user_given_twice(self):
        for details in (
            {"users": ("bob", "bob")},
            {"readers": ("bob", "bob")},
            {"users": ("bob",), "readers": ("bob",)},
        ):
            with self.subTest(**details):
                result = self.register_namespaces("sample", **details)
                self.assert_other_failure(
                    result, 'CIMException: 11: already exists: the user "bob" is named twice; '
                    "name each user once, with --username or with --ro-username\n")
                self.assertNotIn(UNDO_HEAD, result.err)

    def test_user_name_that_cannot_be_used(self):
        for details in ({"users": ("bob ",)}, {"readers": (" bob",)}, {"users": ("",)}):
            with self.subTest(**details):
                result = self.register_namespaces("sample", **details)
                self.assert_other_failure(result, 'NameException: the user name "')

    def test_name_that_is_no_namespace_name(self):
        for name in ("sample/", "sample//x", "sample:x", "sample x", "sample/\u00e9\n"):
            with self.subTest(name=name):
                result = self.register_namespaces(name)
                self.assert_other_failure(result, "NamespaceUtilsException")

    def test_missing_qualifiers(self):
        os.rename(self.qualifiers, self.tree.directory + "/aside")
        result = self.register_namespaces("sample")
        self.assert_other_failure(result, self.qualifiers)
        os.rename(self.tree.directory + "/aside", self.qualifiers)

    def test_broken_qualifiers_are_shown_with_their_place(self):
        whole = read(self.qualifiers)
        write(self.qualifiers, b"Qualifier Key : oops;\n")
        result = self.register_namespaces("sample")
        self.assert_other_failure(result, f"{self.qualifiers}:1:17: ", "Qualifier Key : oops;")
        write(self.qualifiers, whole)

    def test_full_disk_at_any_write_of_the_repository(self):
        self.fail_in_turn("pwrite64:error=ENOSPC")

    def test_failing_sync(self):
        self.fail_in_turn("fdatasync:error=EIO")

    def test_full_disk_at_the_commit_of_many_namespaces(self):
        """The disk is full at the writes of the journal and then of the commit. The undo list is
        long then, and its steps find nothing to undo."""
        self.fill_disk_while_registering(500, (1, 30, 100))

    def test_full_disk_before_the_commit_of_many_namespaces(self):
        """These changes are larger than the repository's page cache."""
        self.fill_disk_while_registering(3000, (400,))

    def fill_disk_while_registering(self, count, failing_writes):
        many = [f"sample/n{number}" for number in range(count)]
        for number in failing_writes:
            result = self.failing(
                [f"pwrite64:error=ENOSPC:when={number}"], *self.words(*many)
            )
            self.assert_other_failure(result, "the file system is full")
            self.assertEqual(self.tree.state(), self.before)

    def fail_in_turn(self, injection):
        """Makes each of the first calls of the commit fail in turn."""
        for number in range(1, 6):
            result = self.failing([f"{injection}:when={number}"], *self.words("sample"))
            if result.status == 0:
                self.assertGreater(number, 1)
                self.before = self.tree.state()
                return
            with self.subTest(number=number):
                self.assertTrue(result.err.startswith("An error has occurred."), result.err)
                self.assertNotIn(UNDO_HEAD, result.err)
                self.assertEqual(self.tree.state(), self.before)
