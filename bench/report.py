#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Prints measurements as tables and judges them. Ends with status 1 when a limit is missed.

usage: report.py [--write] figures|scale MEASURED.json

--write also replaces the tables in docs/performance.md and, for scale, the plot
docs/performance.svg.
"""

import json
import os
import platform
import re
import subprocess
import sys
import time

import growth
import plot
from growth import START

DOCS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../docs")
QUANTITIES = {
    "wall": ("Time", lambda value: f"{1000 * value:,.1f} ms"),
    "memory": ("Peak memory", lambda value: f"{value / 1e6:.1f} MB"),
    "bytes": ("Bytes written", lambda value: f"{value / 1000:,.0f} kB"),
    "syncs": ("Syncs", lambda value: f"{value:,}"),
}


def table(head, rows):
    """A Markdown table that is readable on a terminal as well."""
    widths = [max(map(len, column)) for column in zip(head, *rows)]
    lines = [head, ["-" * width for width in widths], *rows]
    return "".join(f"| {' | '.join(cell.ljust(width) for cell, width in zip(line, widths))} |\n"
                   for line in lines)


def figures(rows):
    """The table, and whether every limit is kept."""
    lines = [[what, measured, f"{value:.2f}{unit}", f"{limit:.1f}{unit}",
              "ok" if value <= limit else "MISSED"] for what, measured, value, limit, unit in rows]
    return (table(["what / against what", "measured", "result", "limit", "verdict"], lines),
            all(value <= limit for _, _, value, limit, _ in rows))


def scale(measured):
    """The tables of all quantities, and whether no cost grows too fast."""
    sizes, texts, kept = measured["sizes"], [], True
    for quantity, (title, shown) in QUANTITIES.items():
        lines = []
        starts = [cost[quantity] for cost in measured["operations"][START]]
        for name, costs in measured["operations"].items():
            values, grows = [cost[quantity] for cost in costs], costs[0]["grows"]
            breaks = growth.grows_too_fast(quantity, grows, sizes, values,
                                           max(starts[-1] - starts[0], 0))
            kept = kept and not breaks
            steps = ", ".join("-" if step is None else f"{step:.1f}"
                              for step in growth.steps(values))
            lines.append([name, *map(shown, values), steps, grows, "GROWS" if breaks else "ok"])
        head = ["operation", *(f"{size:,}" for size in sizes), "step by step", "may grow with",
                "verdict"]
        texts.append(f"### {title}\n\n{table(head, lines)}")
    return "\n".join(texts), kept


def git(*words):
    return subprocess.run(["git", "-C", DOCS, *words], check=False,
                          stdout=subprocess.PIPE).stdout.decode().strip()


def surroundings():
    """When, where and what was measured."""
    with open("/proc/cpuinfo", encoding="utf-8") as text:
        model = re.search(r"model name\s*: (.*)", text.read())
    commit = git("describe", "--always")
    # This program changes the page itself.
    if git("status", "--porcelain", "--untracked-files=no", "..", ":!performance.*"):
        commit += "-dirty"
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
    text, kept = {"figures": figures, "scale": scale}[name](measured)
    text = f"\n{surroundings()}\n\n{text}\n"
    print(text, end="")
    if write:
        put_into_page(name, text)
        if name == "scale":
            plot.draw(measured, os.path.join(DOCS, "performance.svg"))
    return 0 if kept else 1


if __name__ == "__main__":
    sys.exit(main())
