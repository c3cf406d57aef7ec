#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Hostile clients against the installed daemon: a stranger and a user who may connect pass descriptors,
leave half messages on a thousand connections, send random and mutated messages, and ask expensive
questions. Meanwhile well-behaved clients must be answered soon, and the daemon's memory must stay
within its budget.

usage: run_clients.py MESSAGES [SEED]

Ends with status 1 when something was wrong. For use inside scripts/sandbox."""

import os
import random
import re
import resource
import shutil
import signal
import sys
import threading
import time

sys.dont_write_bytecode = True

import hostile_client  # noqa: E402
import operations  # noqa: E402
from installation import DATA, PLACES, PROGRAMS, WORK, Live, is_sanitized, must, run  # noqa: E402
from rogue import RECORDED, RECORDING, Rogue, answer_to_ping  # noqa: E402

# The user with rights to the namespaces of two products, and one without any.
ALLOWED, STRANGER = "daemon", "nobody"
# What the documents allow one user: requests of 64 MiB that are received and one of them unpacked,
# which may take four times its size and 16 MiB; and what the daemon itself takes, mostly for pages.
BUDGET_KB = (64 + 4 * 64 + 16 + 96) << 10
# On a busy machine. Without load the longest is below a tenth.
LONGEST_PING, LONGEST_LISTING = 3, 10
LOG = DATA + "/owcimomd.log"
BROKEN = re.compile(r"terminate|assert|Sanitizer|runtime error|FATAL|fatal", re.I)
RIGHTS = 'instance of OpenWBEM_UserACL { nspace = "kov"; username = "daemon"; capability = "rR"; };'
CONTENT = """Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);
class Fuzz_Thing { [Key] string Name; uint32 Number; string Notes[]; };
instance of Fuzz_Thing { Name = "one"; Number = 1; Notes = { "a", "b" }; };
"""
MANY = "".join(f'instance of Fuzz_Thing {{ Name = "{number}"; Notes = {{ "{"n" * 900}" }}; }};\n'
               for number in range(600))
LIVE = Live()


class Neighbourhood(threading.Thread):
    """Well-behaved clients: pings all the time, and lists the products now and then."""

    def __init__(self):
        super().__init__()
        self.ended = threading.Event()
        self.longest = {"ping": 0.0, "listing": 0.0}
        self.failures = []
        self.counts = {"ping": 0, "listing": 0}

    def run(self):
        number = 0
        while not self.ended.wait(0.05):
            self.timed("ping", answer_to_ping)
            number += 1
            if number % 20 == 1:
                self.timed("listing", self.list_products)

    def timed(self, what, call):
        begin = time.monotonic()
        try:
            call()
        except Exception as e:  # pylint: disable=broad-except  # whatever it is, it counts
            self.failures.append(f"{what}: {e}")
        self.counts[what] += 1
        self.longest[what] = max(self.longest[what], time.monotonic() - begin)

    @staticmethod
    def list_products():
        found = must(LIVE.fennik("--list-registered-products")).out.split()
        if not {"sample", "alpha", "beta"} <= set(found):
            raise RuntimeError(f"only {found}")


def prepare():
    """Populates the installation, starts the daemon and records valid messages."""
    shutil.rmtree(WORK, ignore_errors=True)
    os.makedirs(WORK, mode=0o755)
    resource.setrlimit(resource.RLIMIT_NOFILE, (8192, 8192))
    operations.populate(LIVE)
    with open(PLACES[0] + "/openwbem/openwbem.conf.d/zz.conf", "w", encoding="utf-8") as file:
        file.write(f"owcimomd.log_file = {LOG}\n")
    os.chmod(file.name, 0o644)
    LIVE.begin()
    with Rogue(RECORDING):
        owmofc = [PROGRAMS + "/bin/owmofc", "-n"]
        must([*owmofc, "root/security", "-"], stdin=RIGHTS)
        must([*owmofc, "alpha/one", "-"], stdin=CONTENT)
        for name in ("list-registered-products", "list-namespaces", "list-providers",
                     "register-namespace"):
            run(operations.named(name).argv(LIVE))
        must([PROGRAMS + "/bin/owdeleteinstance", "-n", "alpha/one", 'Fuzz_Thing.Name="one"'])
        must([*owmofc, "alpha/one", "-"], stdin=CONTENT)
    must([*owmofc, "alpha/one", "-"], stdin=MANY)
    with open(RECORDED, "rb") as file:
        return hostile_client.messages_in(file.read())


def daemon_status():
    """The daemon's process id, start and memory."""
    with open(DATA + "/owcimomd.pid", encoding="utf-8") as file:
        pid = file.read().strip()
    with open(f"/proc/{pid}/stat", encoding="utf-8") as file:
        started = file.read().rpartition(")")[2].split()[19]
    with open(f"/proc/{pid}/status", encoding="utf-8") as file:
        peak = int(re.search(r"VmHWM:\s+(\d+)", file.read())[1])
    return pid, started, peak, len(os.listdir(f"/proc/{pid}/fd"))


def attack(messages, count, seed):
    """Runs the attacks, of both users at once. Yields what was wrong."""
    for what, arguments in (("descriptors", ()), ("half_messages", (1000,)), ("expensive", ()),
                            ("mutated", (messages, count, seed))):
        neighbours = Neighbourhood()
        neighbours.start()
        begin = time.monotonic()
        children = [hostile_client.start(user, what, *arguments) for user in (ALLOWED, STRANGER)]
        statuses = [os.waitpid(child, 0)[1] for child in children]
        duration = time.monotonic() - begin
        neighbours.ended.set()
        neighbours.join()
        peak = daemon_status()[2]
        longest = neighbours.longest
        print(f"{what}: {duration:.1f} s; {neighbours.counts['ping']} pings, the longest "
              f"{longest['ping']:.3f} s; {neighbours.counts['listing']} listings, the longest "
              f"{longest['listing']:.3f} s; memory {peak:,} kB", flush=True)
        yield from neighbours.failures[:3]
        if any(statuses):
            yield f"{what}: the attackers ended with {statuses}"
        if longest["ping"] > LONGEST_PING or longest["listing"] > LONGEST_LISTING:
            yield f"{what}: others had to wait"
        if peak > BUDGET_KB and not is_sanitized():
            yield f"{what}: {peak} kB of memory"


def main():
    count = int(sys.argv[1])
    seed = int(sys.argv[2]) if len(sys.argv) > 2 else random.randrange(1 << 32)
    print(f"{count} messages, seed {seed}", flush=True)
    messages = prepare()
    print(f"{len(messages)} recorded messages", flush=True)
    before = daemon_status()
    problems = list(attack(messages, count, seed))
    time.sleep(2)  # the daemon closes what its clients have left
    after = daemon_status()
    if before[:2] != after[:2]:
        problems.append("the daemon has ended")
    if after[3] > before[3] + 3:
        problems.append(f"{before[3]} descriptors before, {after[3]} afterwards")
    with open(LOG, encoding="utf-8", errors="replace") as file:
        log = file.read()
    problems += [f"log: {line}" for line in log.splitlines() if BROKEN.search(line)][:5]
    print(f"descriptors: {before[3]} before, {after[3]} afterwards; the log has {len(log):,} bytes")
    LIVE.settle()
    LIVE.state()  # raises when the repository is damaged
    print(*problems, sep="\n")
    return 1 if problems else 0


if __name__ == "__main__":
    signal.signal(signal.SIGPIPE, signal.SIG_IGN)
    sys.exit(main())
