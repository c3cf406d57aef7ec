# SPDX-License-Identifier: Apache-2.0
"""The installed programs, the installations that they work on, and the cost of a run. For use
inside scripts/sandbox."""

import os
import shutil
import subprocess
import sys
from typing import NamedTuple

PROGRAMS = "/opt/tarvo/kov"
FENNIK = PROGRAMS + "/bin/fennik"
OWMOFC = PROGRAMS + "/bin/owmofc"
INIT = PROGRAMS + "/sbin/tarvo-owcimomd_init"
STATE = "var/opt/tarvo/kov"
PLACES = (STATE, "etc/opt/tarvo/kov")
WORK = "/var/opt/tarvo/bench"

# A program's peak memory includes that of the process that forked it, so a small process starts it.
LAUNCHER = """
import posix, sys, time
start = time.perf_counter()
pid = posix.posix_spawn(sys.argv[2], sys.argv[2:], posix.environ)
_, status, usage = posix.wait4(pid, 0)
with open(sys.argv[1], "w") as report:
    report.write(f"{time.perf_counter() - start} {usage.ru_utime + usage.ru_stime} "
                 f"{usage.ru_maxrss * 1024} {status}")
"""


class Cost(NamedTuple):
    """Wall clock and processor seconds, and the peak memory of the largest process in bytes."""
    wall: float
    processor: float
    memory: int


def fail(message):
    sys.exit(f"bench: {message}")


def launch(argv):
    """Runs a command and discards its standard output. Returns its cost and its wait status."""
    report = os.path.join(WORK, "report")
    subprocess.run([sys.executable, "-I", "-S", "-c", LAUNCHER, report, *argv],
                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, check=True)
    with open(report, encoding="ascii") as text:
        wall, processor, memory, status = text.read().split()
    return Cost(float(wall), float(processor), int(memory)), int(status)


def run(argv):
    cost, status = launch(argv)
    if status != 0:
        fail(f"{' '.join(argv)} ended with wait status {status}")
    return cost


def output(argv):
    return subprocess.run(argv, check=True, stdout=subprocess.PIPE).stdout.decode()


def best(costs):
    """The shortest times, as anything slower is noise of the machine, and the most memory."""
    wall, processor, memory = zip(*costs)
    return Cost(min(wall), min(processor), max(memory))


def ratio(what, value, against, limit):
    """A row of the table: two measured times in seconds, their ratio, and its limit."""
    return [what, f"{1000 * value:.1f} ms / {1000 * against:.1f} ms", value / against, limit, ""]


class Installation:
    """The live installation, or one staged below a prefix."""

    def __init__(self, prefix=""):
        self.prefix = prefix
        self.repository = f"{prefix}/{STATE}/openwbem/repository"

    def fennik(self, operation, *arguments):
        staged = ["--kov-build-system-dest-dir", self.prefix] if self.prefix else []
        return [FENNIK, *staged, "--" + operation, *arguments]

    def owmofc(self, namespace, *arguments):
        staged = ["--dest-dir", self.prefix] if self.prefix else []
        return [OWMOFC, *staged, "-n", namespace, *arguments]

    def copy_to(self, prefix):
        """Replaces the installation below `prefix` by a copy of this one, and returns it. The
        daemon must be stopped."""
        for place in PLACES:
            shutil.rmtree(os.path.join(prefix, place), ignore_errors=True)
            os.makedirs(os.path.dirname(os.path.join(prefix, place)), exist_ok=True)
            subprocess.run(["cp", "-a", f"{self.prefix}/{place}", os.path.join(prefix, place)],
                           check=True)
        share = f"{prefix}{PROGRAMS}/share"
        if not os.path.exists(share):
            os.makedirs(os.path.dirname(share))
            os.symlink(PROGRAMS + "/share", share)
        return Installation(prefix)

    def put_back(self):
        """Replaces the live installation by a copy of this one."""
        self.copy_to("/")


LIVE = Installation()


def begin():
    """Empties the working directory. Returns a copy of the live installation, made by kov-setup."""
    shutil.rmtree(WORK, ignore_errors=True)
    os.makedirs(WORK, mode=0o755)
    return LIVE.copy_to(WORK + "/fresh")
