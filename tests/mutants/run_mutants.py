#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Makes small changes to the sources, one at a time, builds, and tells for each room how many of them
the tests have noticed.

usage: run_mutants.py DIRECTORY COUNT [--seed SEED] [--near]

Works in DIRECTORY, which has a checkout in source and a build of it in build, and writes a line of JSON
for each change to DIRECTORY/outcomes.jsonl. Changes whose outcome is there are skipped. With --near
only the unit tests and the stories that are nearest to a change are asked; a run without asks all
tests about what has survived these."""

import argparse
import collections
import glob
import json
import os
import re
import subprocess
import sys

from mutations import chosen

NOTICED, SURVIVED, UNBUILDABLE = "noticed", "survived", "does not compile"
SURVIVED_NEAR = "survived the nearest tests"
# A change may make a test hang.
BUILD_LIMIT, UNIT_LIMIT, SYSTEM_LIMIT = 900, 600, 3600
# The stories that are most likely to notice a change below a folder: the first row counts.
NEAR = (
    ("fennik/cimom", "copy[.]|system[.]startup"),
    ("fennik/cli", "system[.](command_line|startup|log|terminal)"),
    ("fennik/common", "system[.](command_line|config|product|log)"),
    ("fennik/mofrepair", "system[.]real_mof|state[.]restoring"),
    ("fennik/namespace", "system[.]namespace|copy[.]deregister"),
    ("fennik/product", "system[.](product|config)|copy[.]whole_product"),
    ("fennik/provider", "system[.](provider|privilege)"),
    ("fennik/state", "state[.]"),
    ("fennik/undo", "copy[.]failure|system[.]provider_fault|live[.]repair"),
    ("owcimomd/http", "live[.](window|wbemcli|discovery|password)"),
    ("owcimomd", "live[.](init|daemon|request|descriptor|durability|surroundings|discovery)"),
    ("platform/credentials", "live[.]password"),
    ("platform/openwbem/repository", "system[.](product|provider_mof)|copy[.]hostile_repository"),
    ("utilities/kov-setup", "live[.](setup|going_live|upgrade)|system[.]stored_repository"),
    ("utilities/kov-verify", "live[.](verify|password)"),
    ("utilities/ownership", "live[.](setup|going_live|verify)"),
    ("utilities/owpasswd", "live[.]password"),
    ("utilities/owshow", "live[.]show"),
    ("utilities", "live[.](utility|repair|surroundings)"),
)


def succeeds(argv, limit, **options):
    """Whether a command ends with 0 in so many seconds."""
    try:
        return subprocess.run(argv, timeout=limit, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, check=False, **options).returncode == 0
    except subprocess.TimeoutExpired:
        return False


class Mutants:
    def __init__(self, directory, near):
        self.source, self.build = f"{directory}/source", f"{directory}/build"
        self.outcomes, self.near = f"{directory}/outcomes.jsonl", near

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
        try:
            write(path, "\n".join(lines))
            if not self.builds(f"{path}^"):  # what ninja makes of it
                return UNBUILDABLE
            if self.is_noticed(mutation.room):
                return NOTICED
            return SURVIVED_NEAR if self.near else SURVIVED
        finally:
            write(path, text)

    def builds(self, *targets):
        return succeeds(["ninja", "-C", self.build, *targets], BUILD_LIMIT)

    def libraries(self, room):
        return [os.path.relpath(path, self.build)
                for path in glob.glob(f"{self.build}/{room}/lib*.a")]

    def unit_tests(self, room):
        """The test programs that a room is linked into, those with the fewest other rooms first."""
        libraries = self.libraries(room)
        if not libraries:
            return []
        known = subprocess.run(["ninja", "-C", self.build, "-t", "query", *libraries],
                               stdout=subprocess.PIPE, text=True, check=True).stdout
        tests = set(re.findall(r"^ +(tests/\w+_test)$", known, re.M))
        return sorted(tests, key=lambda test: os.stat(f"{self.build}/{test}").st_size)

    def is_noticed(self, room):
        for test in self.unit_tests(room):
            if not self.builds(test):
                return True  # it asks a test program for its tests
            if not succeeds([f"{self.build}/{test}", "--gtest_fail_fast", "--gtest_brief=1"],
                            UNIT_LIMIT, cwd=f"{self.build}/tests"):
                return True
        near = next((stories for folder, stories in NEAR if room.startswith(folder)), None)
        if near is not None and not self.passes(near, "programs"):
            return True
        return not self.near and not self.passes(".")

    def passes(self, stories, *targets):
        return self.builds(*targets) and succeeds(
            ["ctest", "--test-dir", self.build, "-L", "system", "-R", stories, "--stop-on-failure",
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
        changes = counts[NOTICED] + counts[SURVIVED] + counts[SURVIVED_NEAR]
        print(f"| {room:32} | {changes:7} | {counts[NOTICED]:7} |")
    for found in outcomes:
        if found["outcome"] in (SURVIVED, SURVIVED_NEAR):
            print(f"{found['outcome']}: {found['change']}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("directory")
    parser.add_argument("count", type=int)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--near", action="store_true")
    words = parser.parse_args()
    mutants = Mutants(words.directory, words.near)
    known = mutants.known()
    done = (NOTICED, SURVIVED, UNBUILDABLE) + ((SURVIVED_NEAR,) if words.near else ())
    for mutation in chosen(mutants.source, words.count, words.seed):
        if known.get(str(mutation), {}).get("outcome") not in done:
            outcome = mutants.judge(mutation)
            mutants.note(mutation, outcome)
            print(f"{outcome}: {mutation}", flush=True)
    report(mutants.known().values())


if __name__ == "__main__":
    sys.exit(main())
