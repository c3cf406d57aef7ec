# SPDX-License-Identifier: Apache-2.0
"""Small changes to C++ sources, each of which is a mistake that somebody could make."""

import glob
import hashlib
import os
import re
from dataclasses import dataclass

# What is changed, and what it becomes.
CHANGES = (
    (r" == ", " != "), (r" != ", " == "), (r" <= ", " < "), (r" >= ", " > "),
    (r"(?<=\w) < (?=\w)", " <= "), (r"(?<=\w) > (?=\w)", " >= "), (r" && ", " || "), (r" \|\| ", " && "), (r"\btrue\b", "false"),
    (r"\bfalse\b", "true"), (r"(?<=[\w)]) \+ (?=1\b)", " - "), (r"(?<=[\w)]) - (?=1\b)", " + "),
    (r"\bif \(!", "if ("), (r"\bif \((?=\w[\w.:>-]*\([^()]*\)\) \{$)", "if (!"), (r"\+\+(?=\w)", "--"),
    (r"\bcontinue;", "break;"), (r"\bbreak;", "continue;"),
    # A statement that calls something for its effect, alone on its line, is left out.
    (r"^ +(?!return|throw|delete|using|co_)[\w.:>\[\]-]+\([^;{}]*\);$", ""),
    (r"(?<=[ (])0(?=[;,)])", "1"), (r"(?<=[ (])1(?=[;,)])", "2"),
)
SOURCES = ("fennik", "owcimomd", "platform", "utilities")
# What nobody would notice in a run: declarations, and what goes to the log.
PASSED_OVER = re.compile(r"^\s*(//|#|using |template)|static_assert|\blog\(\)|LOG_DEBUG")


@dataclass(frozen=True)
class Mutation:
    """A change of one line of a file. `line` counts from 0."""

    path: str
    line: int
    before: str
    after: str

    @property
    def room(self):
        return os.path.dirname(self.path)

    def __str__(self):
        """Without the number of the line, which other changes of the file move."""
        return f"{self.path}: {self.before.strip()} -> {self.after.strip() or '(nothing)'}"


def mutations_of(root, path):
    """Every possible change of a file."""
    found = []
    with open(os.path.join(root, path), encoding="utf-8") as lines:
        for number, line in enumerate(lines.read().split("\n")):
            code = re.sub(r'"(?:\\.|[^"\\])*"', lambda text: "\x01" * len(text[0]), line)
            code = code.split(" //")[0]
            if PASSED_OVER.search(line):
                continue
            for pattern, replacement in CHANGES:
                for match in re.finditer(pattern, code):
                    after = line[:match.start()] + replacement + line[match.end():]
                    found.append(Mutation(path, number, line, after))
    return found


def chosen(root, count, seed):
    """`count` changes, spread evenly over the rooms. Their order depends on the seed and themselves
    alone, so most are chosen again after the sources have changed."""
    rooms = {}
    for source in SOURCES:
        for path in sorted(glob.glob(f"{source}/**/*.cpp", root_dir=root, recursive=True)):
            rooms.setdefault(os.path.dirname(path), []).extend(mutations_of(root, path))
    for mutations in rooms.values():
        mutations.sort(key=lambda found: hashlib.sha256(f"{seed} {found}".encode()).digest())
    result = []
    while len(result) < count and any(rooms.values()):
        for mutations in rooms.values():
            if mutations and len(result) < count:
                result.append(mutations.pop())
    return result
