# SPDX-License-Identifier: Apache-2.0
"""Sends signals to the tool and to the daemon at random moments of a run."""

import os
import random
import signal
import threading
import time
from dataclasses import dataclass

from injection import DAEMON, KILL, PID_FILE, TERM, TOOL, read, wait_for_programs
from installation import run

INT = "signal=INT"
SIGNALS = {KILL: signal.SIGKILL, TERM: signal.SIGTERM, INT: signal.SIGINT}
# What is killed or interrupted, of a staged tree only the tool.
WAYS = ((TOOL, KILL), (TOOL, TERM), (TOOL, INT), (DAEMON, KILL))


@dataclass(frozen=True)
class Moment:
    """A signal to the program `target` after that share of the time that the run takes."""

    target: str
    effect: str
    share: float

    def __str__(self):
        return f"{self.target}: at {self.share:.4f} of the run {self.effect}"


def moments_of(operation, installation, count, seed):
    """As many random moments, the same ones for the same seed."""
    choice = random.Random(f"{seed} {installation.name} {operation.name}")
    ways = [way for way in WAYS if way[0] == TOOL or not installation.prefix]
    # A little beyond the end, since no run takes as long as another.
    return [Moment(*choice.choice(ways), choice.uniform(0, 1.1)) for _ in range(count)]


def duration(operation, installation):
    """How long a run takes that nobody disturbs, in seconds."""
    start = time.monotonic()
    run(operation.argv(installation), operation.stdin)
    return time.monotonic() - start


def disturbed(moment, seconds, operation, installation):
    """Runs the operation, which takes so many seconds, with the signal. Returns the result, and what
    got the signal, empty when it did not run any more."""
    hit = []

    def send(child):
        try:
            if moment.target == DAEMON:
                os.kill(int(read(PID_FILE)), SIGNALS[moment.effect])
            elif child.poll() is None:
                child.send_signal(SIGNALS[moment.effect])
            else:
                return
        except (OSError, ValueError):
            return  # the daemon does not run just now
        hit.append(moment.target)

    result = run(operation.argv(installation), operation.stdin,
                 meanwhile=lambda child: threading.Timer(moment.share * seconds, send, [child]))
    wait_for_programs()
    return result, "".join(hit)
