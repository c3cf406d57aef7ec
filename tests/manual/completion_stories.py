# SPDX-License-Identifier: Apache-2.0
"""Completion in bash: what is offered for a command line, and that no name on it, nor one that is
registered, is run."""

import os
import shlex
import unittest

from harness import run
from live import INIT, LiveStory
from pages import INSTALLED, programs, text_of
from pages_test import INIT_SCRIPT, options_of_help

LOADER = "/usr/share/bash-completion/bash_completion"
END = "\x1f"
# Prints what is offered for the words; the last one is being typed. compopt works only while
# readline completes, so it is shown instead.
COMPLETE = text_of("packaging/completion/kov.bash") + f"""
_KOV_PATIENCE=60  # other tests may need the processor
compopt() {{ printf '%s{END}' "compopt $*"; }}
offered() {{
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    _kov "$1" "${{COMP_WORDS[COMP_CWORD]}}" "${{COMP_WORDS[COMP_CWORD - 1]}}"
    [[ ${{#COMPREPLY[@]}} = 0 ]] || printf '%s{END}' "${{COMPREPLY[@]}}"
}}
"""
# Each is the name of a product, and a command or a word break where it is not quoted.
NAMES = ["sample", "two words", "$(touch run)", "`touch run`", "x;touch run", "x&&touch run",
         "it's", '"', "back\\slash", "a:b=c", "*", "-x", "caf\u00e9", "~root"]


def register(names):
    return "\n".join(f"fennik --register --name {shlex.quote(name)} --username alice"
                     for name in names)


class Completion(LiveStory):
    def offered(self, before, *lines, after=""):
        """Runs the script `before`, completes the lines, each a list of words, and runs `after`,
        which prints what is wrong. Returns what is offered for each line."""
        script = "mount -t tmpfs own /tmp; cd /tmp\n" + before + COMPLETE
        for words in lines:
            script += f"offered {shlex.join(words)}; printf '\\n'\n"
        script += "[[ ! -e run ]] || echo something was run\n" + after
        result = self.sandbox("bash", "-c", script)
        self.assertEqual((result.status, result.err), (0, ""))
        found = [line.split(END)[:-1] for line in result.out.splitlines()]
        self.assertEqual(len(found), len(lines), found)
        return found

    def test_options_are_those_of_the_program(self):
        names = sorted(set(programs()) - {INIT_SCRIPT})
        for name, found in zip(names, self.offered("", *([name, "-"] for name in names))):
            self.assertEqual(set(found), options_of_help(programs()[name]), name)

    def test_options_that_begin_as_typed_are_offered(self):
        found = self.offered("", ["fennik", "--list-"], ["/opt/tarvo/kov/bin/fennik", "--dereg"],
                             ["owcimomd", "--p"], ["kov-setup", ""])
        self.assertEqual(found[:3], [
            ["--list-registered-products", "--list-providers", "--list-namespaces"],
            ["--deregister", "--deregister-namespace"], ["--ping"]])
        self.assertIn("--schema-dir", found[3])

    def test_files_directories_users_and_commands(self):
        self.assertEqual(
            self.offered(
                "", ["owmofc", "x"], ["owmofc", "--delete-class", "x"],
                ["fennik", "--register-providers", ""], ["fennik", "--log-file", "=", "x"],
                ["kov-setup", "--dest-dir", ""], ["fennik", "--username", "nobo"],
                ["owpasswd", "nobo"], ["owpasswd", "--remove", "nobo"],
                ["fennik", "--register-namespace", ""], [INIT_SCRIPT, "st"], [INIT, "try"]),
            [["compopt -o default"], [], ["compopt -o default"], ["compopt -o default"],
             ["compopt -o dirnames"], ["nobody"], ["nobody"], ["nobody"], [], ["start", "stop", "status"],
             ["try-restart"]])

    def test_products_are_offered_quoted(self):
        start = register(NAMES) + f"\n{INIT} start </dev/null >/dev/null\n"
        found = self.offered(
            start, ["fennik", "--deregister", "--name", ""], ["owshow", "--products", ""],
            ["fennik", "--name", "="],
            ["fennik", "--name", "=", "sam"], ["fennik", "--name", "two\\ "])
        self.assertEqual(found[1:3], [found[0]] * 2)
        self.assertEqual(found[3:], [["sample"], ["two\\ words"]])
        # What the shell makes of each word is the name, and nothing is run.
        words = run(["bash", "-c", "\n".join(f"printf '%s\\n' {word}" for word in found[0])],
                    cwd=self.root)
        self.assertFalse(os.path.exists(self.root + "/run"))
        self.assertEqual((sorted(words.out.splitlines()), words.err), (sorted(NAMES), ""))

    def test_products_are_offered_to_root_only_and_while_the_daemon_answers_only(self):
        line = "offered fennik --name ''; printf '\\n'\n"
        nobody = shlex.quote(COMPLETE + line)
        out = self.sandbox("bash", "-c", "\n".join([
            "cd /", register(["sample"]), COMPLETE, line,
            f"{INIT} start </dev/null >/dev/null", line,
            f"setpriv --reuid=65534 --regid=65534 --clear-groups bash -c {nobody}"]))
        self.assertEqual((out.out, out.err), (f"\nsample{END}\n\n", ""))

    def test_namespaces_of_the_product_are_offered(self):
        start = "\n".join([
            register(["sample", "other"]),
            "fennik --register-namespace sample/a --register-namespace sample/b --name sample "
            "--username alice",
            "fennik --register-namespace other/c --name other --username alice",
            f"{INIT} start </dev/null >/dev/null\n"])
        self.assertEqual(
            self.offered(
                start, ["fennik", "--name", "sample", "--deregister-namespace", ""],
                ["fennik", "--name", "=", "other", "--deregister-namespace", "=", "o"],
                ["owmofc", "-n", ""], ["owdeletenamespace", "--reserved", "sample/"]),
            [["sample/a", "sample/b"], ["other/c"],
             ["root", "root/security", "kov", "sample/a", "sample/b", "other/c"],
             ["sample/a", "sample/b"]])

    def test_products_of_an_own_staged_tree_are_offered_and_nothing_is_made_there(self):
        stage = ["fennik", "--kov-build-system-dest-dir", "/tmp/stage", "--name", ""]
        make = ("mkdir -p /tmp/stage/opt/tarvo/kov; cp -r /opt/tarvo/kov/share "
                "/tmp/stage/opt/tarvo/kov; kov-setup --dest-dir /tmp/stage >/dev/null\n")
        registered = ("fennik --kov-build-system-dest-dir /tmp/stage "
                      "--register --name p --username u\n")
        self.assertEqual(
            self.offered(make, stage, after="find /tmp/stage -name fennik.lock"), [[]])
        self.assertEqual(self.offered(make + registered, stage), [["p"]])
        others = "chown 65534 /tmp/stage/var/opt/tarvo/kov/fennik.lock\n"
        self.assertEqual(self.offered(make + registered + others, stage), [[]])

    def test_nothing_on_the_line_is_run(self):
        hostile = "$(touch run)"
        start = f"{register(['sample'])}\n{INIT} start </dev/null >/dev/null\n"
        found = self.offered(
            start, *(["fennik", *words] for words in [
                ["--name", hostile], ["--name", f'"{hostile}'], [hostile],
                ["--kov-build-system-dest-dir", hostile, "--name", ""],
                ["--name", hostile, "--deregister-namespace", ""],
                ["--username", hostile], ["--dest-dir", f"/tmp/{hostile}", "--name", ""]]))
        self.assertEqual([words for words in found if any("touch" in word for word in words)], [])

    def test_program_in_the_working_directory_is_not_run(self):
        hostile = "printf '#!/bin/sh\\ntouch run\\n' >fennik; chmod +x fennik\n"
        found = self.offered(hostile, ["./fennik", "--list-p"])
        self.assertEqual(found, [["--list-providers"]])


class Installed(unittest.TestCase):
    def test_is_found_by_bash_completion(self):
        if not os.path.exists(LOADER):
            self.skipTest("bash-completion is not installed")
        for name in programs():
            found = run(["bash", "--norc", "-c", f"source {LOADER}; _completion_loader {name};"
                         f"complete -p {name}"],
                        env={**os.environ, "XDG_DATA_DIRS": f"{INSTALLED}/usr/share"})
            self.assertEqual(found.out, f"complete -F _kov {name}\n", found.err)
