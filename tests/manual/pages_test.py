#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""That the manual pages say what the programs are: their options, exit statuses, keys and keywords,
no fewer and no more; and that the formatters find nothing wrong.

KOV_INSTALLED names the installed tree, KOV_SOURCE the checkout."""

import html
import os
import re
import shutil
import subprocess
import unittest

from pages import (INSTALLED, PROGRAMS, SOURCE, examples, page_names, page_of, plain, programs,
                   sections, tags, text_of)

INIT_SCRIPT = "tarvo-owcimomd_init"
# The pages of docs/ with a table of options, and the programs that have them.
OPTION_TABLES = {
    "docs/kov-setup.md": ["kov-setup"],
    "docs/kov-verify.md": ["kov-verify"],
    "docs/owcimomd.md": ["owcimomd"],
    "docs/owdelete.md": ["owdeleteinstance", "owdeletenamespace"],
    "docs/owmofc.md": ["owmofc"],
    "docs/owshow.md": ["owshow"],
}
OPTION = re.compile(r"(?<![\w-])--?[a-zA-Z][\w-]*")
# Options of other programs, in examples.
NOT_OURS = ("--output", "--preserve-status", "--scan-seconds")
LONG_OPTION = re.compile(r"(?<![\w-])--[a-z][\w-]*")


def run(*argv):
    return subprocess.run(argv, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=60, check=False)


def options_of_help(program):
    """The options that `program --help` lists."""
    text = run(program, "--help").stdout.split("\nOptions:\n")[1].split("\n\n")[0]
    found = set()
    for line in text.splitlines():
        if re.match(r"  ?-|      --", line):
            found.update(OPTION.findall(re.split(r"\s{2,}", line.strip())[0]))
    return found


def options_of_page(page):
    """The options that have a paragraph of their own."""
    found = set()
    for title in ("OPERATIONS", "OPTIONS"):
        for tag, _ in tags(sections(page).get(title, [])):
            for word in tag.split(", "):
                found.add(OPTION.match(word)[0])
    return found


class Pages(unittest.TestCase):
    maxDiff = None

    def each_program(self):
        """The names of the programs that have a --help."""
        found = sorted(set(programs()) - {INIT_SCRIPT})
        self.assertGreaterEqual(len(found), 6, found)
        return [(name, programs()[name], page_of(name)) for name in found]

    def test_each_program_has_one(self):
        for name in programs():
            self.assertIsNotNone(page_of(name), name)

    def test_each_is_installed_where_man_looks(self):
        for page in page_names():
            name = os.path.basename(page)
            path = f"{INSTALLED}{PROGRAMS}/share/man/man{name[-1]}/{name}"
            self.assertTrue(os.path.exists(path), path)

    def test_options_are_those_of_the_help(self):
        for _, program, page in self.each_program():
            self.assertEqual(options_of_page(page), options_of_help(program), page)

    def test_no_other_option_is_mentioned(self):
        known = {word for _, program, _ in self.each_program() for word in
                 options_of_help(program)}
        for page in page_names():
            commands = "\n".join(line for _, lines in examples(page) for line in lines)
            mentioned = set(LONG_OPTION.findall(plain(text_of(page))))
            mentioned -= {word for word in LONG_OPTION.findall(commands) if word in
                          NOT_OURS}
            self.assertLessEqual(mentioned, known, page)

    def test_tables_of_the_documents_have_the_options_of_the_help(self):
        for page, names in OPTION_TABLES.items():
            rows = re.search(r"^\| Option \|.*\n\|---.*\n((?:\|.*\n)+)", text_of(page), re.M)[1]
            told = set(OPTION.findall(" ".join(row.split("|")[1] for row in rows.splitlines())))
            there = set().union(*(options_of_help(programs()[name]) for name in names))
            self.assertEqual(told, there, page)

    def test_synopsis_names_only_options(self):
        for _, program, page in self.each_program():
            mentioned = set(OPTION.findall(plain("\n".join(sections(page)["SYNOPSIS"]))))
            self.assertLessEqual(mentioned, options_of_help(program), page)

    def test_exit_statuses_are_those_of_the_program(self):
        for name, program, page in self.each_program():
            if name == "fennik":  # a unit test holds its page against the table of error codes
                continue
            usage_error = run(program, "--no-such-option").returncode
            told = {tag for tag, _ in tags(sections(page)["EXIT STATUS"])}
            self.assertEqual(told, {"0", "1", str(usage_error)}, page)

    def test_exit_statuses_of_the_init_script_are_those_that_it_ends_with(self):
        script = text_of("packaging/init/" + INIT_SCRIPT)
        ends = set(re.findall(r"\b(?:fail|exit) (\d)\b", script)) | {"0"}
        told = {tag for tag, _ in tags(sections(page_of(INIT_SCRIPT))["EXIT STATUS"])}
        self.assertEqual(told, ends)

    def test_commands_of_the_init_script_are_told(self):
        usage = re.search(r"\{(\S+)\}", run(programs()[INIT_SCRIPT]).stdout)[1]
        told = {word for tag, _ in tags(sections(page_of(INIT_SCRIPT))["DESCRIPTION"])
                for word in tag.split(", ")}
        self.assertEqual(told, set(usage.split("|")))

    def test_exit_statuses_of_formats_are_those_of_fennik(self):
        known = {tag for tag, _ in tags(sections(page_of("fennik"))["EXIT STATUS"])}
        for page in page_names():
            if page.endswith(".5"):
                told = {tag for tag, _ in tags(sections(page).get("EXIT STATUS", []))}
                self.assertLessEqual(told, known, page)

    def test_sections_are_complete(self):
        for page in page_names():
            needed = {"NAME", "DESCRIPTION", "EXAMPLES", "SEE ALSO"}
            if not page.endswith(".5"):
                needed |= {"SYNOPSIS", "EXIT STATUS", "FILES"}
            self.assertLessEqual(needed, set(sections(page)), page)

    def test_examples_can_be_copied_from_a_terminal(self):
        """A formatter turns a bare hyphen or quote into another character."""
        for page in page_names():
            for block in re.findall(r"^\.(?:EX|nf)\n(.*?)^\.(?:EE|fi)$", text_of(page),
                                    re.M | re.S):
                without = re.sub(r"\\(-|e|&|\(..)", "", block)
                self.assertNotRegex(without, r"[-'`^~\\]", page)

    def test_pages_that_are_referred_to_exist(self):
        ours = {os.path.basename(page)[:-2] for page in page_names()}
        for page in page_names():
            for name in re.findall(r"^\.BR (\S+) \([1-8]\)", plain(text_of(page)), re.M):
                if re.match("fennik|kov|ow|openwbem|tarvo", name):
                    self.assertIn(name, ours, page)

    def assert_formatter_is_silent(self, *argv):
        """Runs the formatter on each page. Whatever it prints is a finding."""
        if shutil.which(argv[0]) is None:
            self.skipTest(f"{argv[0]} is not installed")
        for page in page_names():
            done = run(*argv, f"{SOURCE}/{page}")
            self.assertEqual((done.stdout, done.returncode), ("", 0), page)

    def test_man_finds_nothing_wrong(self):
        if shutil.which("man") is None:
            self.skipTest("man is not installed")
        self.assert_formatter_is_silent(
            "sh", "-c", 'man --warnings -E UTF-8 -l -Z -Tutf8 "$1" 2>&1 >/dev/null', "sh")

    def test_mandoc_finds_nothing_wrong(self):
        self.assert_formatter_is_silent("mandoc", "-Tlint", "-W", "warning")


class Methods(unittest.TestCase):
    """The table of the methods that standard clients call."""

    ROW = re.compile(r"^\| `(\w+)` \| ([^|]*) \| [^|]* \| ([^|]*) \|$", re.M)

    def test_each_method_is_in_the_table(self):
        known = re.findall(r'\.name = "(\w+)"', text_of("platform/openwbem/cimxml/MethodTable.cpp"))
        rows = self.ROW.findall(text_of("docs/clients.md"))
        self.assertEqual(known, [name for name, parameters, _ in rows if parameters != "not supported"])

    def test_tests_that_are_named_exist(self):
        there = set(re.findall(r"CIMXMLMethodTest, (\w+)|def test_(\w+)|kov_page\((\w+)", "".join(
            map(text_of, ("tests/unit/cimxml/method_test.cpp", "tests/pages.cmake",
                          "tests/system/live/wbemcli_stories.py")))))
        there = {name for names in there for name in names}
        for method, _, tests in self.ROW.findall(text_of("docs/clients.md")):
            for test in tests.split(", "):
                self.assertIn(test.strip("`").removeprefix("pages."), there, method)


class Overview(unittest.TestCase):
    def test_each_program_is_in_the_picture(self):
        for file in ("docs/overview.dot", "docs/overview.svg"):
            words = re.split(r"\\n|[^\w-]", html.unescape(text_of(file)))
            self.assertLessEqual(set(programs()) - {INIT_SCRIPT}, set(words), file)


class Undo(unittest.TestCase):
    SOURCES = ["fennik/undo/FNCleanupActions.cpp", "fennik/undo/FileCleanupActions.cpp",
               "fennik/namespace/NamespaceUtils.cpp", "fennik/cimom/HardLinkBackup.cpp"]

    def test_what_messages_say_that_you_should_do_is_explained(self):
        code = "".join(map(text_of, self.SOURCES))
        remedies = re.findall(r'(?:"|%4)((?:create|delete|modify|move|rename|restore|set|write) '
                              r'th(?:e|is)(?: [a-z]+)*)', code)
        self.assertGreaterEqual(len(set(remedies)), 15, remedies)
        told = [each for tag, _ in tags(sections(page_of("fennik"))["WHEN UNDO FAILED"])
                for each in tag.split(", ")]
        for remedy in remedies:
            self.assertTrue(any(remedy.startswith(each) or each.startswith(remedy)
                                for each in told), remedy)


class Formats(unittest.TestCase):
    def test_keys_of_the_configuration_are_those_that_the_daemon_reads(self):
        read = set(re.findall(r'"(owcimomd\.\w+)"',
                              text_of("owcimomd/process/Configuration.hpp")))
        self.assertGreaterEqual(len(read), 5)
        told = {tag for tag, _ in tags(sections("packaging/man/openwbem.conf.5")["OPTIONS"])}
        self.assertEqual(told, read)

    def test_numbers_of_the_configuration_are_those_of_the_daemon(self):
        header = text_of("owcimomd/process/Configuration.hpp")
        sizes = [int(count) << int(bits) for count, bits in
                 re.findall(r"REQUEST_SIZE = size_t\((\d+)\) << (\d+)U", header)]
        told = dict(tags(sections("packaging/man/openwbem.conf.5")["OPTIONS"]))
        numbers = [int(n) for n in re.findall(r"\d+", told["owcimomd.max_request_size"])]
        self.assertEqual(sorted(numbers), sorted(sizes))

    def test_keywords_of_privilege_files_are_those_that_are_parsed(self):
        lexer = text_of("platform/openwbem/privilege/PrivilegeLexer.ll")
        parsed = set(re.findall(r'^    \{"(\w+)", TOKEN_', lexer, re.M))
        self.assertGreaterEqual(len(parsed), 18)
        page = sections("packaging/man/kov-privilege-file.5")
        self.assertEqual({tag.split()[0] for tag, _ in tags(page["STATEMENTS"])}, parsed)

    def test_elements_of_the_saved_state_are_those_that_are_written(self):
        written = set(re.findall(r'^inline constexpr const char\* \w+ = "(\w+)";',
                                 text_of("fennik/state/StateFormat.hpp"), re.M))
        lines = sections("packaging/man/kov-saved-state.5")["DESCRIPTION"]
        tree = lines[lines.index(".nf") + 1 : lines.index(".fi")]
        told = set(re.findall(r"\w+", " ".join(tree)))
        self.assertLessEqual(told, written)
        for element in ("SavedProductState", "Product", "AllowedUsers", "ProductInstances"):
            self.assertIn(element, told)


if __name__ == "__main__":
    unittest.main()
