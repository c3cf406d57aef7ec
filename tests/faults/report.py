#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Prints the outcomes of run_faults.py as a table, a row for each operation. Ends with status 1 when
one is wrong.

usage: report.py OUTCOMES.jsonl"""

import collections
import json
import re
import sys

COLUMNS = {
    "no fault met": "not met",
    "complete": "complete",
    "complete, daemon not restarted": "complete",
    "rolled back": "rolled back",
    "repaired as the message says": "repaired",
    "completed by the next run": "next run",
    "completed by the next run, after a repair as its message says": "repaired, next run",
}
HEAD = ("operation", "faults", "complete", "rolled back", "repaired", "next run",
        "repaired, next run", "left over", "wrong")


def column(outcome):
    if outcome == "WRONG":
        return "wrong"
    return COLUMNS.get(outcome, "left over")


def main():
    counts, left = collections.defaultdict(collections.Counter), collections.Counter()
    with open(sys.argv[1], encoding="utf-8") as lines:
        # The last outcome of a fault counts.
        for found in {found["fault"]: found for found in map(json.loads, lines)}.values():
            world, operation = re.match(r"(\w+) (\S+):", found["fault"]).groups()
            row = counts[f"{operation}, {world}"]
            name = column(found["outcome"])
            row[name] += 1
            row["faults"] += name != "not met"
            if name == "left over":
                left[found["outcome"]] += 1
    rows = [[name, *(str(row[key]) for key in HEAD[1:])] for name, row in sorted(counts.items())]
    total = sum(counts.values(), collections.Counter())
    rows.append(["all", *(str(total[key]) for key in HEAD[1:])])
    widths = [max(map(len, cells)) for cells in zip(HEAD, *rows)]
    for cells in (HEAD, ["-" * width for width in widths], *rows):
        print("| " + " | ".join(cell.ljust(width) for cell, width in zip(cells, widths)) + " |")
    for outcome, count in left.most_common():
        print(f"{count} {outcome}")
    return 1 if total["wrong"] else 0


if __name__ == "__main__":
    sys.exit(main())
