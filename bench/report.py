#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Prints what was measured as tables and judges it. Ends with status 1 when a limit is missed.

usage: report.py [--write] figures MEASURED.json

With --write the table also takes the place of the one in docs/performance.md.
"""

import json
import os
import platform
import re
import subprocess
import sys
import time

DOCS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../docs")


def table(head, rows):
    """Markdown that can be read on a terminal as well."""
    widths = [max(map(len, column)) for column in zip(head, *rows)]
    lines = [head, ["-" * width for width in widths], *rows]
    return "".join(f"| {' | '.join(cell.ljust(width) for cell, width in zip(line, widths))} |\n"
                   for line in lines)


def figures(rows):
    """The table, and whether all limits are kept."""
    lines = [[what, measured, f"{value:.2f}{unit}", f"{limit:.1f}{unit}",
              "ok" if value <= limit else "MISSED"] for what, measured, value, limit, unit in rows]
    return (table(["what / against what", "measured", "result", "limit", "verdict"], lines),
            all(value <= limit for _, _, value, limit, _ in rows))


def surroundings():
    """When, where and what was measured."""
    with open("/proc/cpuinfo", encoding="utf-8") as text:
        model = re.search(r"model name\s*: (.*)", text.read())
    commit = subprocess.run(["git", "-C", DOCS, "describe", "--always", "--dirty"], check=False,
                            stdout=subprocess.PIPE).stdout.decode().strip()
    return (f"Measured on {time.strftime('%d %B %Y')} at {commit or 'an unknown commit'}, on "
            f"{os.cpu_count()} processors ({model[1] if model else platform.machine()}), Linux "
            f"{platform.release()}.")


def put_into_page(name, text):
    path = os.path.join(DOCS, "performance.md")
    with open(path, encoding="utf-8") as page:
        before, begin, end, after = re.fullmatch(
            rf"(.*)(<!-- begin {name} -->\n).*(<!-- end {name} -->\n)(.*)", page.read(),
            re.DOTALL).groups()
    with open(path, "w", encoding="utf-8") as page:
        page.write(f"{before}{begin}{text}{end}{after}")


def main():
    arguments = sys.argv[1:]
    write = arguments[:1] == ["--write"]
    name, path = arguments[write:]
    with open(path, encoding="utf-8") as text:
        measured = json.load(text)
    text, kept = {"figures": figures}[name](measured)
    text = f"\n{surroundings()}\n\n{text}\n"
    print(text, end="")
    if write:
        put_into_page(name, text)
    return 0 if kept else 1


if __name__ == "__main__":
    sys.exit(main())
