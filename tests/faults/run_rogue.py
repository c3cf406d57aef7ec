#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs operations while a hostile program of the account owcimomd serves the daemon's socket. Each run
must end in bounded time, with a message, and leave nothing, or say what to repair.

usage: run_rogue.py [--all]

Without --all only a sample: a run for each way to be hostile, and only one that waits for as long as
an answer may take. Ends with status 1 when a run was wrong. For use inside scripts/sandbox."""

import os
import shutil
import signal
import subprocess
import sys
import time

sys.dont_write_bytecode = True

import operations  # noqa: E402
from installation import WORK, Live, Result, must, run  # noqa: E402
from repairs import HEAD  # noqa: E402
from rogue import UNACCEPTING, WAYS, Rogue  # noqa: E402
from verdict import Expectation, Wrong  # noqa: E402

# An answer may take a minute. What follows one that did not come may take 10 seconds in all.
LONGEST = 90
# After a signal: 10 seconds for the answer that is awaited, 10 seconds for the undo, and some more.
LONGEST_AFTER_SIGNAL = 40
# Ways in which no answer comes.
WAITING = ("silent", "silent_at_changes", "deaf", "byte_by_byte", UNACCEPTING)
# Claims that everything was done. A run has no means to find that out.
LYING = "empty"
CONNECTED = ("register", "get-owcimomd-config", "set-owcimomd-config", "remove-owcimomd-config",
             "register-namespace", "list-namespaces", "list-providers", "list-registered-products")
LIVE = Live()


def plain(operation):
    return run(operation.argv(LIVE), operation.stdin, patience=LONGEST)


def interrupted(operation):
    """Runs the operation and sends it a signal once it waits."""
    with subprocess.Popen(operation.argv(LIVE), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True) as child:
        time.sleep(3)
        child.send_signal(signal.SIGTERM)
        try:
            out, err = child.communicate(operation.stdin, timeout=LONGEST_AFTER_SIGNAL)
            return Result(child.returncode, out, err)
        except subprocess.TimeoutExpired:
            child.kill()
            return Result(None, *child.communicate())


def cases(everything):
    """The operations, the ways, and whether a signal is sent."""
    for way in [*WAYS, UNACCEPTING]:
        for name in CONNECTED if everything else ("register", "list-registered-products"):
            if way not in WAITING:
                yield name, way, plain
                continue
            yield name, way, interrupted
            if everything or (name, way) == ("register", "silent_at_changes"):
                yield name, way, plain


def listing(operation):
    """What the operation prints when no daemon runs."""
    return must(operation.argv(LIVE)).out


def judge(operation, way, result, before):
    """Names the outcome. Raises Wrong."""
    if way == LYING and result.status == 0:
        LIVE.put_back(operations.FULL)
        return "believed"
    after, out = (before, listing(operation)) if operation.lists else (None, None)
    expectation = Expectation(operation, LIVE, before, after, out, None)
    if result.status == 0:
        return expectation.judge(result, running=True)
    if HEAD in result.err:
        return expectation.judge_repair(result)
    if result.status == -signal.SIGTERM:
        return expectation.judge_signal(result, True)
    if "owcimomd" not in result.err:
        raise Wrong(f"the message does not name the daemon: {result}")
    return expectation.judge(result, running=True)


def prepare():
    shutil.rmtree(WORK, ignore_errors=True)
    os.makedirs(WORK, mode=0o755)
    operations.populate(LIVE)
    LIVE.settle()


def main():
    prepare()
    wrong = 0
    before = LIVE.state()
    for name, way, how in cases("--all" in sys.argv[1:]):
        operation = operations.named(name)
        LIVE.begin()
        begin = time.monotonic()
        with Rogue(way):
            result = how(operation)
        duration = time.monotonic() - begin
        LIVE.settle()
        try:
            outcome = judge(operation, way, result, before)
        except Wrong as e:
            outcome = f"WRONG: {e}"
            wrong += 1
        LIVE.put_back(operations.FULL)
        print(f"{name}, {way}{', SIGTERM' if how is interrupted else ''}: status {result.status}, "
              f"{duration:.1f} s, {outcome}", flush=True)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
