# SPDX-License-Identifier: Apache-2.0
"""Reads the manual pages in packaging/man. KOV_SOURCE names the checkout, KOV_INSTALLED the
installed tree."""

import functools
import glob
import os
import re

SOURCE = os.environ.get("KOV_SOURCE", "")
INSTALLED = os.environ.get("KOV_INSTALLED", "")
PROGRAMS = "/opt/tarvo/kov"

ESCAPES = {r"\-": "-", r"\(aq": "'", r"\(dq": '"', r"\e": "\\", r"\&": "", r"\(bu": "*"}


def text_of(path):
    with open(f"{SOURCE}/{path}", encoding="utf-8") as file:
        return file.read()


def page_names():
    """The paths of all manual pages, relative to the checkout."""
    files = glob.glob(f"{SOURCE}/packaging/man/*.[1-9]")
    return sorted(os.path.relpath(file, SOURCE) for file in files)


@functools.cache
def programs():
    """The installed programs: their paths by their names."""
    files = glob.glob(f"{INSTALLED}{PROGRAMS}/bin/*") + glob.glob(f"{INSTALLED}{PROGRAMS}/sbin/*")
    return {os.path.basename(file): file for file in files}


def page_of(program):
    """The path of a program's page, or None."""
    found = [name for name in page_names() if os.path.basename(name)[:-2] == program]
    return found[0] if len(found) == 1 else None


def plain(line):
    """A line of a page without its escapes."""
    line = re.sub(r"\\f.", "", line)
    for escape, character in ESCAPES.items():
        line = line.replace(escape, character)
    return line


def sections(page):
    """The sections of a page by their titles, as lists of lines."""
    found = {}
    for line in text_of(page).splitlines():
        if line.startswith(".SH "):
            lines = found.setdefault(line[4:].strip('"'), [])
        elif found:
            lines.append(line)
    return found


def argument_text(line):
    """What a macro such as .BR makes of its arguments."""
    macro, arguments = line.split(" ", 1)
    words = [quoted or bare for quoted, bare in re.findall(r'"([^"]*)"|(\S+)', arguments)]
    return plain((" " if macro in (".B", ".I") else "").join(words))


def tags(lines):
    """The tagged paragraphs of a section: pairs of the tag and the text below it."""
    found = []
    words = iter(lines)
    for line in words:
        if line in (".TP", ".TQ"):
            found.append((argument_text(next(words)), []))
        elif line in (".PP", ".EX") or not found:
            found.append((None, []))
        elif line.startswith("."):
            found[-1][1].append(plain(re.sub(r"^\.[A-Z]+ ?", "", line)))
        else:
            found[-1][1].append(plain(line))
    return [(tag, " ".join(text)) for tag, text in found if tag is not None]


def examples(page):
    """What a page shows as it is: each is a pair of its section and its lines."""
    found = []
    for title, lines in sections(page).items():
        text = "\n".join(lines)
        for block in re.findall(r"^\.(?:EX|nf)\n(.*?)^\.(?:EE|fi)$", text, re.M | re.S):
            found.append((title, [plain(line) for line in block.splitlines()]))
    return found
