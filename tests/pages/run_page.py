#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs the commands of a page in the installed system and compares what they print with the page.

usage: run_page.py PAGE [COMMAND]

The blocks that begin with ```sh are typed, one after the other, into one shell, which must not end with a
failure before the page does. Where a block with ```text follows, its lines must be what the commands have
printed; otherwise they must have printed nothing on standard output. In such a line, "..." stands for any
characters. COMMAND runs before the page; where it ends with status 77, the page is skipped. The home directory is an empty one: pages put their files there.
Ends with status 1 and the differences.

For use inside scripts/sandbox."""

import os
import re
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"^```(sh|text)\n(.*?)^```$", re.M | re.S)
TIME_LIMIT = 120
SKIPPED = 77


def steps(page):
    """The commands of a page, each with the lines that it shows below them (None: it shows none)."""
    found, end = [], 0
    for block in BLOCK.finditer(page):
        line = page.count("\n", 0, block.start()) + 1
        if block[1] == "sh":
            found.append([line, block[2], None])
        elif not found or found[-1][2] is not None or page[end:block.start()].strip():
            sys.exit(f"line {line}: there are no commands above this output")
        else:
            found[-1][2] = block[2].splitlines()
        end = block.end()
    return found


def marker(number):
    return f"--- step {number} has ended ---"


def typed(found):
    """Prints what `found` says in one shell. Returns what each step printed: all of it where the page
    shows it, otherwise standard output."""
    script = "set -e\n"
    for number, (_, commands, shown) in enumerate(found):
        everything = "" if shown is None else " 2>&1"
        script += f"{{\n{commands}\n}}{everything}\necho {marker(number)!r}\n"
    run = subprocess.run(["bash", "-c", script], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                         text=True, timeout=TIME_LIMIT, check=False)
    rest, printed = run.stdout, []
    for number in range(len(found)):
        before, end, rest = rest.partition(marker(number) + "\n")
        printed.append(before.splitlines())
        if not end:
            break
    return printed, run.returncode


def same(shown, printed):
    patterns = [re.escape(line).replace(re.escape("..."), ".*") for line in shown]
    return re.fullmatch("\n".join(patterns), "\n".join(printed)) is not None


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        found = steps(file.read())
    if not found:
        sys.exit("the page has no commands")
    with tempfile.TemporaryDirectory() as home:
        os.environ["HOME"] = home
        return verdict(found, sys.argv[2:])


def verdict(found, preparation):
    for command in preparation:
        status = subprocess.run(["bash", "-ec", command], stdout=subprocess.DEVNULL, check=False).returncode
        if status == SKIPPED:
            return SKIPPED
        if status != 0:
            sys.exit(f"what comes before the page ends with status {status}: {command}")
    printed, status = typed(found)
    wrong = 0
    for (line, _, shown), lines in zip(found, printed):
        if not same(shown or [], lines):
            wrong += 1
            print(f"line {line}: the commands print", *lines, "instead of", *(shown or ["nothing"]),
                  sep="\n  ")
    if status != 0 or len(printed) < len(found):
        wrong += 1
        print(f"the commands of line {found[len(printed) - 1][0]} end with status {status}")
    print(f"{len(found)} steps, {wrong} wrong")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
