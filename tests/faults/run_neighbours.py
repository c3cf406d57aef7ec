#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Plants links, pipes, devices and more at each name that root works on in a place that others can write,
and runs the operation.

usage: run_neighbours.py [--sample N] [--only OPERATION] [--exchanges COUNT]

Does every N-th case. Exchanges the repository's directory while COUNT runs of each operation go on.
Prints a table, a row for each operation, and ends with status 1 when a run was wrong: when it
touched what is outside, did not end, ended with 0 without its effect, left something or did not name
what was in the way. For use inside scripts/sandbox."""

import argparse
import collections
import os
import sys

sys.dont_write_bytecode = True

import neighbours  # noqa: E402
import operations  # noqa: E402
import repairs  # noqa: E402
from installation import INIT, REPOSITORY, WORK, Installation, Live, must, run  # noqa: E402
from neighbours import KINDS, Exchanging, Planted  # noqa: E402
from verdict import (BROKEN, COMPLETE, REPAIRED, ROLLED_BACK, Expectation, Wrong,  # noqa: E402
                     difference, read)

LONGEST = 60
LEFT_OVER = "left over"
HEAD = ("operation", "names", "runs", COMPLETE, ROLLED_BACK, REPAIRED, LEFT_OVER, "wrong")
# Delays the calls between which a directory can be exchanged.
SLOWLY = ["strace", "-qq", "-o", "/dev/null", "-e", "trace=%file", "-e",
          "inject=%file:delay_enter=2000"]


class Stopped(Live):
    """The same without its daemon: the tool opens the repository itself."""

    name = "stopped"

    def begin(self):
        run([INIT, "stop"])


class Suite:
    def __init__(self, installation, words):
        self.installation, self.words = installation, words
        self.turn, self.wrong = 0, 0
        self.rows = []

    def walk(self, operation):
        self.put_back(operation)
        self.installation.begin()
        paths, out = neighbours.traced(operation.argv(self.installation), operation.stdin)
        names = neighbours.within_reach(paths)
        self.calm()
        after = self.installation.state()
        written = read(operation.writes) if operation.writes else None
        self.put_back(operation)
        expectation = Expectation(operation, self.installation, self.installation.state(), after,
                                  out, written)
        counts = collections.Counter()
        for name in names:
            for kind in KINDS:
                self.turn += 1
                if self.turn % self.words.sample == 0:
                    self.count(counts, f"{kind} at {name}", operation,
                               lambda k=kind, n=name: self.plant(k, n, operation, expectation))
        # Nobody can exchange the directories of a staged tree.
        for number in range(0 if self.installation.prefix else self.words.exchanges):
            self.count(counts, f"exchange {number}", operation,
                       lambda n=number: self.exchange(n, operation))
        self.rows.append((f"{operation.name}, {self.installation.name}", len(names),
                          sum(counts.values()), *(counts[key] for key in HEAD[3:])))

    def count(self, counts, what, operation, judged):
        try:
            outcome = judged()
        except Wrong as e:
            outcome = "wrong"
            self.wrong += 1
            print(f"WRONG: {self.installation.name} {operation.name}: {what}: {e}", flush=True)
        counts[outcome] += 1
        self.put_back(operation)

    def plant(self, kind, name, operation, expectation):
        self.installation.begin()
        untouched = neighbours.outside()
        with Planted(kind, name):
            result = run(operation.argv(self.installation), operation.stdin, patience=LONGEST)
            self.judge(result, untouched)
        self.calm()
        if result.status != 0 and os.path.basename(name) not in result.err:
            raise Wrong(f"{name} is not named: {result}")
        outcome = expectation.judge(result, running=True)
        return outcome if outcome in HEAD else LEFT_OVER

    def exchange(self, number, operation):
        """Only that nothing outside is touched and that the run ends: which of the repositories it has
        changed is up to the account, whose directories they are."""
        self.installation.begin()
        untouched = neighbours.outside()
        with Exchanging(linked=number % 2 == 0):
            result = run([*SLOWLY, *operation.argv(self.installation)], operation.stdin,
                         patience=LONGEST)
        self.judge(result, untouched)
        neighbours.end_daemons()
        if result.status == 0:
            return COMPLETE
        return REPAIRED if repairs.HEAD in result.err else ROLLED_BACK

    @staticmethod
    def judge(result, untouched):
        if result.status is None:
            raise Wrong(f"did not end: {result}")
        if result.status < 0 or BROKEN.search(result.err):
            raise Wrong(f"broke down: {result}")
        if result.status != 0 and not result.err.strip():
            raise Wrong(f"no message: {result}")
        found = neighbours.outside()
        if found != untouched:
            neighbours.make_outside(OUTSIDE_MODEL)
            raise Wrong(f"touched the outside: {difference(untouched, found)}\n{result}")

    def calm(self):
        """Ends the daemon, and lets the tool open the repository."""
        run([INIT, "stop"])
        neighbours.end_daemons()
        Installation.settle(self.installation)

    def put_back(self, operation):
        self.installation.put_back(operation.base)

    def table(self):
        for row in self.rows:
            print("| " + " | ".join(map(str, row)) + " |", flush=True)


OUTSIDE_MODEL = WORK + "/saved/live/full" + REPOSITORY


def prepare():
    live, staged = operations.prepare()
    live.settle()
    neighbours.make_outside(OUTSIDE_MODEL)
    must(["cp", "-a", WORK + "/saved/live", WORK + "/saved/stopped"])
    return live, Stopped(), staged


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--sample", type=int, default=1)
    parser.add_argument("--exchanges", type=int, default=6)
    parser.add_argument("--only")
    words = parser.parse_args()
    wrong = 0
    suites = [Suite(installation, words) for installation in prepare()]
    for suite in suites:
        # Saving the state of a staged tree reads this machine's privilege files.
        suites[0].installation.put_back(operations.FULL)
        for operation in operations.OPERATIONS:
            staged = suite.installation.prefix != ""
            if words.only in (None, operation.name) and (operation.staged or not staged):
                suite.walk(operation)
    print("| " + " | ".join(HEAD) + " |")
    print("|" + "---|" * len(HEAD))
    for suite in suites:
        suite.table()
        wrong += suite.wrong
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
