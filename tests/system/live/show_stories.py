# SPDX-License-Identifier: Apache-2.0
"""owshow, which shows what the repository holds: to root, to a user with rights in one namespace,
and to a stranger; with the daemon and without."""

import os
import shutil
import subprocess
import textwrap

from harness import FENNIK, is_sanitized, run_at_terminal
from live import INIT, REPOSITORY, SANDBOX, LiveStory

SOURCE = os.environ.get("KOV_SOURCE", "")
CONTENT = r"""
class Story_Zebra { [Key] string id; string text = "default"; };
class Story_Ape : Story_Zebra { uint8 numbers[] = {1, 2}; };
[Association] class Story_Link { [Key] Story_Zebra REF from; [Key] Story_Zebra REF to; };
instance of Story_Zebra { id = "z"; text = "a\"b\\c\nd\x009B" "\x001B"; };
instance of Story_Ape { id = "a"; numbers = null; };
instance of Story_Link { from = "Story_Zebra.id=\"z\""; to = "Story_Ape.id=\"a\""; };
"""
GAMES = "setpriv --reuid=games --regid=games --clear-groups --"
# Prints how much a command has printed and the most memory that it had, in bytes.
MEASURE = """
import resource, subprocess, sys
with subprocess.Popen(sys.argv[1:], stdout=subprocess.PIPE) as process:
    size = 0
    while piece := process.stdout.read(1 << 20):
        size += len(piece)
print(size, resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss * 1024)
"""
NOBODY = "setpriv --reuid=65534 --regid=65534 --clear-groups --"


class Show(LiveStory):
    def setUp(self):
        super().setUp()
        with open(self.root + "/content.mof", "w", encoding="ascii") as file:
            file.write(CONTENT)
        self.shell(
            f"""set -e
            fennik --register --name story --username games
            fennik --register-namespace story/a --register-namespace story/b \\
                --register-namespace story/c --register-namespace story/d --name story \\
                --username root --ro-username games
            owmofc -n story/a {self.root}/content.mof >/dev/null"""
        )

    def compile(self, ns, mof):
        with open(self.root + "/more.mof", "w", encoding="ascii") as file:
            file.write(mof)
        self.shell(f"owmofc -n {ns} {self.root}/more.mof >/dev/null")

    def both(self, *commands):
        """Runs the commands without the daemon, then with it. Yields the Steps of each."""
        yield self.steps(*commands)
        self.need_daemon()
        yield self.steps(f"{INIT} start", *commands, f"{INIT} stop")[1:-1]

    def assert_both(self, *rows):
        """Expects of each command, with the daemon and without, that status and output."""
        for steps in self.both(*[row[0] for row in rows]):
            for (command, status, output), step in zip(rows, steps):
                with self.subTest(command=command):
                    self.assertEqual((step.status, step.output), (status, output))

    def test_names_are_listed(self):
        link = (r'story/a:Story_Link.from="story/a:Story_Zebra.id=\"z\"",'
                r'to="story/a:Story_Ape.id=\"a\""')
        paths = f'story/a:Story_Ape.id="a"\n{link}\nstory/a:Story_Zebra.id="z"'
        self.assert_both(
            ("owshow --namespaces", 0, "kov\nroot\nroot/security\nstory/a\nstory/b\nstory/c\nstory/d"),
            ("owshow -n STORY/a --classes", 0, "Story_Ape\nStory_Link\nStory_Zebra"),
            ("owshow -n story/b --classes", 0, ""),
            ("owshow -n story/a --instances", 0, paths),
            ("owshow -n story/a --instances Story_Ape", 0, paths.splitlines()[0]),
            ("owshow -n story/a --qualifier-types | grep -x Key", 0, "Key"),
            ("owshow -n story/a --qualifier-types | sort -c", 0, ""),
        )

    def test_listed_path_names_the_instance_to_show(self):
        self.assert_both(
            ("owshow -n story/a --instances Story_Ape | xargs -d \"\\n\" owshow", 0,
             'instance of Story_Ape\n{\n    id = "a";\n    text = "default";\n'
             "    numbers = NULL;\n};"),
        )

    def test_mof_of_a_namespace_compiles_to_equal_objects(self):
        for steps in self.both(
            "owshow -n story/a --mof >/tmp/a.mof",
            "owmofc -n story/b /tmp/a.mof >/dev/null && owshow -n story/b --mof | cmp - /tmp/a.mof",
            "wc -l </tmp/a.mof",
        ):
            self.assertEqual([(step.status, step.output) for step in steps[:2]], [(0, "")] * 2)
            self.assertGreater(int(steps[2].output), 100)

    def test_schema_of_an_installation_compiles_to_equal_objects(self):
        for steps in self.both(*[
            f"owshow -n {ns} --classes --mof >/tmp/x.mof && owmofc -n {copy} /tmp/x.mof >/dev/null "
            f"&& grep -q ^class /tmp/x.mof && owshow -n {copy} --classes --mof | cmp - /tmp/x.mof"
            for ns, copy in (("kov", "story/b"), ("root", "story/c"), ("root/security", "story/d"))
        ]):
            self.assertEqual([(step.status, step.output) for step in steps], [(0, "")] * 3)

    def test_mof_of_the_own_namespaces_can_be_compiled_back(self):
        for steps in self.both(*[
            f"owshow -n {ns} --mof >/tmp/x.mof && owmofc -n {ns} /tmp/x.mof >/dev/null && "
            f"owshow -n {ns} --mof | cmp - /tmp/x.mof" for ns in ("kov", "root", "root/security")
        ], "owshow -n root --instances", "owshow -n root --mof | grep -c ^instance"):
            self.assertEqual([(step.status, step.output) for step in steps[:4]], [(0, "")] * 4)
            self.assertEqual(steps[4].output, "0")

    def test_much_content_takes_little_memory(self):
        text = "x" * 30000
        self.compile("story/a", "".join(
            f'instance of Story_Zebra {{ id = "{number}"; text = "{text}"; }};\n'
            for number in range(2000)))
        with open(self.root + "/measure.py", "w", encoding="ascii") as file:
            file.write(MEASURE)
        command = f"python3 {self.root}/measure.py owshow -n story/a --mof"
        for (step,) in self.both(command):
            self.assertEqual(step.status, 0, step.output)
            size, peak = [int(number) for number in step.output.split()]
            self.assertGreater(size, 60_000_000)
            if not is_sanitized(FENNIK):
                self.assertLess(peak, 40_000_000)

    def test_objects_are_shown(self):
        self.assert_both(
            ("owshow story/a:story_ape", 0,
             "class Story_Ape : Story_Zebra\n{\n    uint8 numbers[] = {1, 2};\n};"),
        )

    def test_failures_are_one_line(self):
        namespaces = '. "owshow --namespaces" lists the namespaces'
        classes = '. "owshow -n NAMESPACE --classes" lists the classes'
        both = '. "owshow -n NAMESPACE" with --classes or --instances lists what there is'
        products = '. "fennik --list-registered-products" lists the products'
        for command, message, remedy in (
            ("owshow -n nowhere --classes",
             'invalid namespace: cannot list the classes in the namespace "nowhere": ', namespaces),
            ("owshow -n story/a --instances Nothing",
             'invalid class: cannot list the instances of the class "Nothing" in the namespace '
             '"story/a": ', classes),
            ("owshow kov:KOV_Nothing", 'not found: cannot show "kov:KOV_Nothing": ', both),
            (r'owshow kov:KOV_Product.Name=\"x\"',
             'not found: cannot show "kov:KOV_Product.Name="x"": ', both),
            ("owshow kov:", 'invalid parameter: cannot show "kov:": ', ""),
            ("owshow --products nobody", 'not found: cannot show the product "nobody": ', products),
            ("owshow --dest-dir /nowhere --namespaces", "failed: ",
             "/nowhere/var/opt/tarvo/kov/openwbem/repository"),
        ):
            for (step,) in self.both(command):
                with self.subTest(command=command):
                    self.assertEqual(step.status, 1, step.output)
                    self.assertEqual(step.output.count("\n"), 0, step.output)
                    self.assertTrue(step.output.startswith("owshow: error: " + message),
                                    step.output)
                    self.assertIn(remedy, step.output)

    def test_command_lines_that_make_no_sense(self):
        for words, reason in (
            ([], "say what to show: a list, an object, or --mof for everything in a namespace"),
            (["--classes", "--instances"], "only one of "),
            (["--classes", "KOV_Product"], "unexpected argument: KOV_Product"),
            (["--instances", "a", "b"], "unexpected argument: b"),
            (["--namespaces", "--mof"], "namespaces and products have no MOF form"),
            (["--classes", "--dot"], "--dot needs --products"),
            (["--products", "-n", "kov"], "leave --namespace out"),
            (["--clases"], "unknown option"),
        ):
            with self.subTest(words=words):
                result = self.sandbox("owshow", *words)
                self.assertEqual((result.status, result.out), (2, ""), result.err)
                self.assertTrue(result.err.startswith("owshow: error: "), result.err)
                self.assertIn(reason, result.err)
                self.assertIn("Usage: owshow ", result.err)

    def test_nothing_is_changed(self):
        before = self.rows()
        self.shell("owshow -n kov --mof >/dev/null; owshow --products >/dev/null")
        self.assertEqual(self.rows(), before)

    def forge(self, statement):
        """Changes the repository as whoever has the account of the daemon could."""
        self.shell(f'python3 {SOURCE}/tests/system/copy/forge.py {REPOSITORY}/repository.db sql '
                   f'"{statement}"')

    def test_forged_name_stays_on_its_line(self):
        classes = self.shell("owshow -n story/a --classes").splitlines()
        self.forge("UPDATE class SET spelling = 'Story_Ape' || char(10) || 'x' || char(27) "
                   "WHERE spelling = 'Story_Ape'")
        shown = self.sandbox("owshow", "-n", "story/a", "--classes")
        self.assertEqual((shown.status, len(shown.out.splitlines())), (0, len(classes)))
        self.assertIn("Story_Ape\\nx\x1b\n", shown.out)

    def test_forged_objects_are_an_error_of_one_line(self):
        kept = self.root + "/repository.db"
        self.shell(f"cp -p {REPOSITORY}/repository.db {kept}")
        for statement, command in (
            ("UPDATE class SET body = x'00'", "owshow -n story/a --classes --mof"),
            ("UPDATE instance SET path = randomblob(100)", "owshow -n story/a --instances"),
            ("UPDATE instance SET body = randomblob(100)", "owshow --products"),
            ("UPDATE qualifier_type SET body = zeroblob(100000)",
             "owshow -n story/a --qualifier-types"),
        ):
            with self.subTest(statement=statement):
                self.shell(f"cp -p {kept} {REPOSITORY}/repository.db")
                self.forge(statement)
                for (step,) in self.both(command):
                    self.assertEqual(step.status, 1, step.output)
                    self.assertRegex(step.output, r"\Aowshow: error: .+\Z")

    def as_games(self, *commands):
        """Runs the commands through the daemon as a user who may read one namespace."""
        self.need_daemon()
        return self.steps(
            f"{INIT} start", *[f"{GAMES} {command}" for command in commands])[1:]

    def test_user_sees_what_the_rights_allow(self):
        classes, mof, others, namespaces, products = self.as_games(
            "owshow -n story/a --classes", "owshow -n story/a --instances --mof",
            "owshow -n kov --classes", "owshow --namespaces", "owshow --products")
        self.assertEqual(classes, type(classes)(0, "Story_Ape\nStory_Link\nStory_Zebra"))
        self.assertEqual(mof.status, 0)
        self.assertIn("instance of Story_Zebra", mof.output)
        for step, attempt in (
            (others, 'list the classes in the namespace "kov"'),
            (namespaces, "list the namespaces"), (products, "list the products"),
        ):
            with self.subTest(attempt=attempt):
                self.assertEqual(step.status, 1)
                self.assertRegex(
                    step.output, rf"\Aowshow: error: access denied: cannot {attempt}: the user "
                    r"\"games\" may not read .* in the namespace .*\. Run the command as root to see "
                    r"everything\Z")

    def test_parts_of_a_product_that_the_user_may_not_read_are_named(self):
        self.shell(
            'echo \'instance of OpenWBEM_UserACL { nspace = "kov"; username = "games"; '
            'capability = "rR"; };\' | owmofc -n root/security - >/dev/null')
        (step,) = self.as_games("owshow --products")
        self.assertEqual(step.status, 0, step.output)
        self.assertIn("    story/a\n      not shown: access denied: ", step.output)
        self.assertIn("  users\n    games\n", step.output)

    def test_stranger_sees_nothing(self):
        alone, served = [steps[0] for steps in self.both(f"{NOBODY} owshow --namespaces")]
        self.assertEqual((alone.status, served.status), (1, 1))
        self.assertIn("ermission denied", alone.output)
        self.assertIn("may not connect", served.output)

    def test_output_that_cannot_be_written_is_an_error(self):
        self.assert_both(
            ("owshow --namespaces >/dev/full", 1,
             "owshow: error: Unable to write to standard output: 28(No space left on device)"),
            ("owshow --namespaces >&-", 1,
             "owshow: error: Unable to write to standard output: 9(Bad file descriptor)"),
            ("owshow -n story/a --mof >/dev/full", 1,
             "owshow: error: Unable to write to standard output: 28(No space left on device)"),
        )

    def test_reader_that_goes_ends_it_quietly(self):
        gone, status = "/var/opt/tarvo/gone", "/var/opt/tarvo/status"
        for steps in self.both(
                f"rm -f {gone}; (until [ -e {gone} ]; do sleep 0.02; done; owshow -n root --mof; "
                f"echo $? >{status}) | (exec <&-; : >{gone}); cat {status}"):
            self.assertEqual(steps[0].output, "141")

    def at_terminal(self, *words):
        status, shown = run_at_terminal([SANDBOX, "--root", self.root, *words])
        self.assertEqual(status, 0, shown)
        return shown

    def test_terminal_gets_no_control_characters(self):
        shown = self.at_terminal("owshow", "story/a:Story_Zebra.id=\"z\"")
        self.assertIn(rb'text = "a\"b\\c\nd\xc2\x9b\x001B";', shown)
        self.compile("kov", r'instance of KOV_Product { Name = "x\x001B[2J\x009By"; };')
        self.assertIn(rb"x\x1b[2J\xc2\x9by", self.at_terminal("owshow", "--products"))

    def draw(self, graph):
        """What graphviz makes of a graph: its nodes, edges and labels as text."""
        if shutil.which("dot") is None:
            self.skipTest("graphviz is not installed")
        return subprocess.run(["dot", "-Tplain"], input=graph, check=True, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def test_tree_of_the_sample_product_is_as_documented(self):
        with open(SOURCE + "/docs/owshow.md", encoding="utf-8") as page:
            block = page.read().split("$ owshow --products sample\n")[1].split("\n\n")[0]
        tree = self.shell(f"{SOURCE}/examples/sample/install.sh >/dev/null;"
                          "owshow --products sample")
        self.assertEqual(tree, textwrap.dedent(block) + "\n")

    def test_picture_has_a_node_for_each_line_of_the_tree(self):
        tree = self.shell("owshow --products")
        drawn = self.draw(self.shell("owshow --products --dot"))
        self.assertEqual(drawn.stderr, "")
        nodes = [line for line in drawn.stdout.splitlines() if line.startswith("node ")]
        self.assertEqual(len(nodes), len(tree.splitlines()))
        self.assertIn('"story/a"', drawn.stdout.replace(" story/a ", ' "story/a" '))

    def test_hostile_name_stays_in_its_label(self):
        name = 'x"]; evil -> y; "&lt;\\N<b>'
        self.shell(f"fennik --register --name '{name}' --username u")
        tree = self.shell("owshow --products")
        self.assertIn(name + "\n", tree)
        drawn = self.draw(self.shell("owshow --products --dot"))
        self.assertEqual(drawn.stderr, "")
        lines = drawn.stdout.splitlines()
        self.assertEqual(sum(line.startswith("node ") for line in lines), len(tree.splitlines()))
        self.assertFalse([line for line in lines if line.startswith(("node evil", "node y"))])
