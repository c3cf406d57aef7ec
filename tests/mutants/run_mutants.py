#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Makes small changes to the sources, one at a time, builds, and tells for each room how many of them
the tests have noticed.

usage: run_mutants.py DIRECTORY COUNT [--seed SEED] [--unit]

Works in DIRECTORY, which has a checkout in source and a build of it in build, and writes a line of JSON
for each change to DIRECTORY/outcomes.jsonl. Changes whose outcome is there are skipped. With --unit
only the unit tests are asked."""

import argparse
import collections
import json
import os
import subprocess
import sys
import time

from mutations import chosen

NOTICED, SURVIVED, UNBUILDABLE = "noticed", "survived", "does not compile"
# A change may make a test hang.
BUILD_LIMIT, UNIT_LIMIT, SYSTEM_LIMIT = 900, 600, 3600


def succeeds(argv, limit, **options):
    """Whether a command ends with 0 in so many seconds."""
    try:
        return subprocess.run(argv, timeout=limit, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, check=False, **options).returncode == 0
    except subprocess.TimeoutExpired:
        return False


class Mutants:
    def __init__(self, directory, unit):
        self.source, self.build = f"{directory}/source", f"{directory}/build"
        self.outcomes, self.unit = f"{directory}/outcomes.jsonl", unit

    def known(self):
        if not os.path.exists(self.outcomes):
            return {}
        with open(self.outcomes, encoding="utf-8") as lines:
            return {found["change"]: found for found in map(json.loads, lines)}

    def judge(self, mutation):
        path = os.path.join(self.source, mutation.path)
        with open(path, encoding="utf-8") as file:
            text = file.read()
        lines = text.split("\n")
        lines[mutation.line] = mutation.after
        begin = time.time()
        try:
            write(path, "\n".join(lines))
            if not succeeds(["ninja", "-C", self.build], BUILD_LIMIT):
                return UNBUILDABLE
            return NOTICED if self.is_noticed(begin) else SURVIVED
        finally:
            write(path, text)

    def is_noticed(self, begin):
        # The programs that have changed, those of other rooms last: these are linked from more.
        tests = [entry for entry in os.scandir(f"{self.build}/tests")
                 if entry.name.endswith("_test") and entry.stat().st_mtime >= begin]
        for test in sorted(tests, key=lambda entry: entry.stat().st_size):
            if not succeeds([test.path, "--gtest_fail_fast", "--gtest_brief=1"], UNIT_LIMIT,
                            cwd=f"{self.build}/tests"):
                return True
        return not self.unit and not succeeds(
            ["ctest", "--test-dir", self.build, "-L", "system", "--stop-on-failure",
             "-j", str(os.cpu_count())], SYSTEM_LIMIT)

    def note(self, mutation, outcome):
        with open(self.outcomes, "a", encoding="utf-8") as out:
            out.write(json.dumps({"change": str(mutation), "room": mutation.room,
                                  "outcome": outcome}) + "\n")


def write(path, text):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def report(outcomes):
    rooms = collections.defaultdict(collections.Counter)
    for found in outcomes:
        rooms[found["room"]][found["outcome"]] += 1
    print(f"| {'room':32} | changes | noticed |")
    print(f"| {'-' * 32} | ------- | ------- |")
    for room, counts in [*sorted(rooms.items()), ("all", sum(rooms.values(), collections.Counter()))]:
        print(f"| {room:32} | {counts[NOTICED] + counts[SURVIVED]:7} | {counts[NOTICED]:7} |")
    for found in outcomes:
        if found["outcome"] == SURVIVED:
            print(f"unnoticed: {found['change']}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("directory")
    parser.add_argument("count", type=int)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--unit", action="store_true")
    words = parser.parse_args()
    mutants = Mutants(words.directory, words.unit)
    known = mutants.known()
    for mutation in chosen(mutants.source, words.count, words.seed):
        if str(mutation) not in known:
            outcome = mutants.judge(mutation)
            mutants.note(mutation, outcome)
            print(f"{outcome}: {mutation}", flush=True)
    report(mutants.known().values())


if __name__ == "__main__":
    sys.exit(main())
