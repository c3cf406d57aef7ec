# SPDX-License-Identifier: Apache-2.0
"""Finds the commands in the examples of the manual pages and in the blocks of the documents."""

import functools
import glob
import os
import re
import textwrap
from dataclasses import dataclass

from pages import SOURCE, examples, page_names, programs, text_of

# Where one of our programs is not the first word of a line, one of these is.
SHELL = {"cd", "cp", "echo", "install", "ln", "mkdir", "mv", "printf", "rm", "rmdir", "runuser", "sudo",
         "systemctl", "timeout", "touch", "umask", "update-rc.d", "ninja", "cmake", "ctest", "["}
# What stands for something else: the line shows the form of a command.
FORM = re.compile(r"\[(-|[A-Z]{2}|options)|\.\.\.|"
                  r"\b(PREFIX|FILE|DIR|PRODUCT|NAMESPACE|OPERATION|COMMAND|OBJECTPATH|CLASS|NAME|"
                  r"ARGUMENT|USER)\b")


@dataclass(frozen=True)
class Block:
    """Commands that stand together, and in a transcript what they print."""

    page: str
    section: str
    commands: tuple
    output: str | None


def documents():
    files = glob.glob(f"{SOURCE}/docs/*.md") + [f"{SOURCE}/README.md"]
    return sorted(os.path.relpath(file, SOURCE) for file in files)


def is_session(page):
    """Whether the page's ```sh blocks run as one session, with ```text for what they print."""
    return f" {page}" in text_of("tests/pages.cmake")


def first_word(line):
    return re.sub(r"^(\w+=\S* )+", "", line).split(" ", 1)[0]


def is_ours(line):
    """Whether the line begins with one of our programs."""
    word = first_word(line)
    return word in programs() or word.startswith(
        ("/opt/tarvo/kov/bin/", "/opt/tarvo/kov/sbin/", "scripts/", "examples/", "build/stage/"))


def parted(lines):
    """What was typed in a transcript, the lines with a prompt, and what was printed. Other blocks
    show nothing that is printed."""
    if not any(line.startswith("$ ") for line in lines):
        return lines, None
    typed = [line[2:] for line in lines if line.startswith("$ ")]
    return typed, "".join(line + "\n" for line in lines if not line.startswith("$ "))


def is_form(command):
    return FORM.search(command.split("<<", 1)[0]) is not None


def joined(lines):
    """The lines, with those that belong to one command joined."""
    found = []
    rest = iter(lines)
    for line in rest:
        command = line
        while command.endswith(("\\", "|", "&&", "||")):
            line = next(rest)
            command += "\n" + line
        here = re.search(r"<<'?(\w+)'?", line)
        while here and line != here[1]:
            line = next(rest)
            command += "\n" + line
        found.append(command)
    return found


def blocks_of_document(page):
    """The indented and fenced blocks of a document, with the titles above them, without those of a
    session."""
    section, lines, fenced = "", [], False
    text = text_of(page)
    if is_session(page):
        text = re.sub(r"^```(sh|text)\n.*?^```$", "", text, flags=re.M | re.S)
    for line in [*text.splitlines(), ""]:
        if line.startswith("```"):
            fenced = not fenced
            line = ""
        elif fenced:
            line = "    " + line
        if line.startswith("    ") or (line == "" and lines and lines[-1] != ""):
            lines.append(line)
            continue
        yield section, lines
        lines = []
        if line.startswith("#"):
            section = line.lstrip("# ")
    yield section, lines


def blocks_of(page):
    """All blocks of a page: pairs of the section and the lines."""
    of_page = examples(page) if re.search(r"\.[1-9]$", page) else blocks_of_document(page)
    return [(section, textwrap.dedent("\n".join(lines)).strip("\n").splitlines())
            for section, lines in of_page]


@functools.cache
def blocks():
    """All blocks that begin with a command, or in which a line begins with one of our programs."""
    found = []
    for page in page_names() + documents():
        for section, lines in blocks_of(page):
            lines, output = parted(lines)
            if lines and (first_word(lines[0]) in SHELL or any(map(is_ours, lines))):
                commands = [line for line in joined(lines) if line.strip()]
                found.append(Block(page, section, tuple(commands), output))
    return found
