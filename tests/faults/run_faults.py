#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Makes every changing system call of every operation fail in turn, in the tool, in the programs that
it starts and in the daemon that serves it; kills and interrupts at these, and at random moments; and cuts
the power. Judges what each run leaves.

usage: run_faults.py RESULTS.jsonl [--share K/N] [--sample N] [--moments COUNT] [--cuts COUNT]
                     [--seed SEED] [--only 'live register:'...]

Appends a line of JSON for each fault to RESULTS.jsonl and skips those whose outcome is there, so
that a run can be interrupted and resumed. Does the K-th of N shares. --sample does only every N-th
system call; --moments and --cuts add COUNT random moments and power
cuts for each operation.
Ends with status 1 when a run has left something wrong. For use inside scripts/sandbox."""

import argparse
import json
import os
import signal
import sys

import injection
import moments
import operations
import power
from installation import run
from verdict import COMPLETE, UNNOTICED, Expectation, Wrong, read

sys.dont_write_bytecode = True


class Suite:
    def __init__(self, words):
        self.results, self.sample, self.only = words.results, words.sample, words.only
        self.moments, self.cuts, self.seed = words.moments, words.cuts, words.seed
        self.share, self.shares = map(int, words.share.split("/"))
        self.wrong = 0
        self.known = set()
        if os.path.exists(self.results):
            with open(self.results, encoding="utf-8") as lines:
                self.known = {found["fault"] for found in map(json.loads, lines)
                              if found["outcome"] != "WRONG"}
        # The installation and the saved state that it is in.
        self.present = None

    def run_all(self):
        live, staged = operations.prepare()
        injection.put_programs_in_place()
        self.walk_all(live)
        # Saving the state of a staged tree reads this machine's privilege files.
        live.put_back(operations.FULL)
        self.walk_all(staged)

    def walk_all(self, installation):
        for operation in operations.OPERATIONS:
            if (operation.staged or not installation.prefix) and (
                    not self.only or f"{installation.name} {operation.name}:" in self.only):
                self.walk(operation, installation)

    def walk(self, operation, installation):
        self.begin(operation, installation)
        result = run(operation.argv(installation), operation.stdin)
        if result.status != 0:
            raise RuntimeError(f"{operation.name} failed: {result}")
        installation.settle()
        after = installation.state()
        written = read(operation.writes) if operation.writes else None
        self.put_back(operation, installation)
        expectation = Expectation(operation, installation, installation.state(), after, result.out,
                                  written)
        targets = [injection.TOOL]
        if not installation.prefix:
            targets += [*injection.PROGRAMS, injection.DAEMON]
        for target in targets:
            self.walk_target(target, operation, installation, expectation)
        self.walk_moments(operation, installation, expectation)
        self.walk_cuts(operation, installation, expectation)

    def walk_target(self, target, operation, installation, expectation):
        self.begin(operation, installation)
        calls, _ = injection.calls_of(target, operation, installation)
        installation.settle()
        self.put_back(operation, installation)
        self.judge_all(list(injection.faults_of(target, calls))[::self.sample],
                       self.begun(injection.failing), expectation)

    def walk_moments(self, operation, installation, expectation):
        if self.moments == 0:
            return
        self.begin(operation, installation)
        seconds = moments.duration(operation, installation)
        installation.settle()
        self.put_back(operation, installation)
        self.judge_all(moments.moments_of(operation, installation, self.moments, self.seed),
                       self.begun(lambda moment, *words: moments.disturbed(moment, seconds, *words)),
                       expectation)

    def walk_cuts(self, operation, installation, expectation):
        if self.cuts == 0:
            return
        self.begin(operation, installation)
        cuts = power.PowerCuts(operation, installation)
        installation.settle()
        self.put_back(operation, installation)
        self.judge_all([power.PowerCut(self.seed, number) for number in range(self.cuts)], cuts.cut,
                       expectation)

    def begun(self, failing):
        """The same for an installation that is not yet begun."""
        def begin(fault, operation, installation):
            self.begin(operation, installation)
            return failing(fault, operation, installation)
        return begin

    def judge_all(self, faults, failing, expectation):
        """Judges this share of the faults; `failing` runs the operation with one."""
        for number, fault in enumerate(faults):
            key = f"{expectation.installation.name} {expectation.operation.name}: {fault}"
            if key not in self.known and number % self.shares == self.share:
                self.note(key, *self.judge(fault, failing, expectation))

    def judge(self, fault, failing, expectation):
        operation, installation = expectation.operation, expectation.installation
        try:
            result, hit = failing(fault, operation, installation)
        except RuntimeError as e:
            raise RuntimeError(f"{installation.name} {operation.name}: {fault}: {e}") from e
        try:
            outcome = self.outcome(fault, result, installation, expectation)
            text = result.err
            if not hit and outcome == COMPLETE:
                outcome = UNNOTICED
        except Wrong as wrong:
            outcome, text = "WRONG", str(wrong)
        self.put_back(operation, installation)
        return outcome, result.status, hit, text

    @staticmethod
    def outcome(fault, result, installation, expectation):
        if result.status == -signal.SIGKILL:
            return expectation.judge_death()
        running = installation.settle()
        if fault.effect in (injection.TERM, moments.INT):
            return expectation.judge_signal(result, running)
        return expectation.judge(result, running, must_run=fault.effect not in (injection.KILL, power.EFFECT))

    def begin(self, operation, installation):
        if self.present != (installation, operation.base):
            self.put_back(operation, installation)
        if operation.writes and os.path.exists(operation.writes):
            os.unlink(operation.writes)
        installation.begin()

    def put_back(self, operation, installation):
        installation.put_back(operation.base)
        self.present = installation, operation.base

    def note(self, key, outcome, status, hit, text):
        with open(self.results, "a", encoding="utf-8") as out:
            out.write(json.dumps({"fault": key, "outcome": outcome, "status": status, "call": hit,
                                  "text": text}) + "\n")
        if outcome == "WRONG":
            self.wrong += 1
            print(f"WRONG: {key}: {hit}\n{text}", flush=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("results")
    parser.add_argument("--share", default="0/1")
    parser.add_argument("--sample", type=int, default=1)
    parser.add_argument("--moments", type=int, default=0)
    parser.add_argument("--cuts", type=int, default=0)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only", nargs="*", metavar="'WORLD OPERATION:'")
    words = parser.parse_args()
    if words.moments or words.cuts:
        print(f"random moments and power cuts: seed {words.seed}", flush=True)
    suite = Suite(words)
    suite.run_all()
    return 1 if suite.wrong else 0


if __name__ == "__main__":
    sys.exit(main())
