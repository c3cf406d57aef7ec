# SPDX-License-Identifier: Apache-2.0
"""A provider that declares fifty classes of the DMTF schema, their superclasses and what they refer
to. KOV_MOF_CORPUS names the directory that has the schema."""

import os
import re

from harness import read
from providers import NOTHING, USER, Provider, ProviderStory, listing

SCHEMA = os.environ.get("KOV_MOF_CORPUS", "") + "/dmtf-cim-2.41"
CLASS = re.compile(r"^class\s+(\w+)(?:\s*:\s*(\w+))?\s*\{", re.M)
REFERENCE = re.compile(r"^\s*(?:\[[^;]*\]\s*)?(\w+)\s+REF\s+\w+", re.M)
LEAVES = 50


def classes_of_the_schema():
    """The name of each class, its MOF and the classes that it needs."""
    found = {}
    for parent, _, files in os.walk(SCHEMA):
        for name in files:
            text = read(os.path.join(parent, name)).decode("utf-8", "surrogateescape")
            declared = CLASS.search(text)
            if declared:
                needed = {declared[2], *REFERENCE.findall(text[declared.end():])} - {None}
                found[declared[1]] = (text, declared[2], needed)
    return found


def leaves_and_what_they_need(classes):
    """Fifty classes without subclasses from all over the schema; and these with the classes that
    they need, each before its use."""
    parents = {superclass for _, superclass, _ in classes.values()}
    leaves = sorted(set(classes) - parents)
    leaves = leaves[:: len(leaves) // LEAVES][:LEAVES]
    ordered = []

    def add(name, seen):
        if name in ordered or name in seen:
            return
        for needed in sorted(classes[name][2]):
            add(needed, seen | {name})
        ordered.append(name)

    for leaf in leaves:
        add(leaf, frozenset())
    return leaves, ordered


class FiftyClasses(ProviderStory):
    def setUp(self):
        if not os.path.isdir(SCHEMA):
            self.skipTest("the DMTF schema is not here (KOV_MOF_CORPUS)")
        super().setUp()
        classes = classes_of_the_schema()
        self.leaves, self.names = leaves_and_what_they_need(classes)
        self.assertEqual(len(self.leaves), LEAVES)
        self.mof = '#pragma namespace("sample")\n' + "".join(
            classes[name][0] for name in self.names
        )

    def test_come_and_go(self):
        before = self.tree.rows()
        real = Provider("real", mof=self.mof, privileges=USER)
        self.assert_used(real)
        self.assertEqual(self.listed(), listing("real"))
        there = self.tree.rows()
        self.assertGreater(len(there), len(before) + LEAVES)
        for name in self.leaves:
            self.assertTrue(any(name in row for row in there), name)

        self.assert_used(real)
        self.assertEqual(self.tree.rows(), there, "replaced by itself")

        self.assert_used(Provider("fan"))
        self.assertEqual(self.listed(), listing("fan"))
        self.assertEqual(self.use_list(""), NOTHING)
        self.assertEqual(self.tree.rows(), before)

    def test_come_back_when_their_removal_fails(self):
        self.assert_used(Provider("real", mof=self.mof, privileges=USER))
        before = self.tree.state()
        result = self.failing(
            ["unlink,unlinkat:error=EROFS"], "--register-providers", "-", "--name", "sample",
            path=self.privilege_file("real"),
        )
        self.assertIn("Failed to remove: " + self.privilege_file("real"), result.err)
        self.assertEqual(self.tree.state(), before)

    def test_divided_among_providers_that_use_each_other(self):
        """Each of ten providers declares a tenth of the classes."""
        before = self.tree.rows()
        classes = classes_of_the_schema()
        size = -(-len(self.names) // 10)
        parts = [self.names[start : start + size] for start in range(0, len(self.names), size)]
        providers = []
        for number, part in enumerate(parts):
            mof = '#pragma namespace("sample")\n' + "".join(classes[name][0] for name in part)
            providers.append(Provider(f"part{number}", mof=mof))
            self.assert_used(*providers)
        self.assert_used()
        self.assertEqual(self.tree.rows(), before)
