#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Registers and deregisters a product again and again, and creates and deletes an instance through one
daemon again and again. Descriptors, memory, files and the repository must not grow.

usage: run_soak.py CYCLES

Prints what was measured after a tenth of the cycles and at the end, and ends with status 1 when
something has grown. For use inside scripts/sandbox."""

import os
import re
import shutil
import sys
import time

sys.dont_write_bytecode = True

from installation import DATA, INIT, PLACES, PROGRAMS, WORK, Live, is_sanitized, must  # noqa: E402

PID_FILE = DATA + "/owcimomd.pid"
DESCRIPTORS = "descriptors of the daemon"
PATIENCE = 10  # seconds
# Memory and the repository may be this much larger at the end.
TOLERANCE = 1.1
# The log of the repository begins anew when it is 16 MiB long.
LOG_LIMIT = 17 << 20
INSTANCE = 'instance of KOV_Product { Name = "soaked"; Usernames = { "daemon" }; };'
LIVE = Live()


def read(path):
    with open(path, encoding="ascii") as file:
        return file.read()


def descriptors(pid, usual):
    """How many the daemon has. It may not have noticed yet that the last client has gone."""
    end = time.monotonic() + PATIENCE
    while True:
        count = len(os.listdir(f"/proc/{pid}/fd"))
        if count <= usual or time.monotonic() > end:
            return count
        time.sleep(0.1)


def measured(before=None):
    """What must not grow, by name. `before`: what was measured first."""
    pid = read(PID_FILE).strip()
    files = [path for place in PLACES for path, _, _ in os.walk(place)]
    files += [os.path.join(path, name) for place in PLACES for path, _, names in os.walk(place)
              for name in names]
    return {
        DESCRIPTORS: descriptors(pid, before[DESCRIPTORS] if before else sys.maxsize),
        "memory of the daemon, kB": int(re.search(r"VmRSS:\s+(\d+)", read(f"/proc/{pid}/status"))[1]),
        "files": len(files),
        "repository, bytes": os.path.getsize(DATA + "/repository/repository.db"),
        "log of the repository, bytes": os.path.getsize(DATA + "/repository/repository.db-wal"),
    }


def register_and_deregister():
    must(LIVE.fennik("--register", "--name", "soak", "--username", "daemon"))
    must(LIVE.fennik("--set-owcimomd-config", "-", "--name", "soak"), stdin="soak = 1\n")
    must(LIVE.fennik("--register-namespace", "soak/one", "--name", "soak", "--username", "daemon"))
    must(LIVE.fennik("--deregister", "--name", "soak"))


def create_and_delete():
    must([PROGRAMS + "/bin/owmofc", "-n", "kov", "-"], stdin=INSTANCE)
    must([PROGRAMS + "/bin/owdeleteinstance", "-n", "kov", 'KOV_Product.Name="soaked"'])


def soak(cycle, cycles):
    """Runs the cycles. Returns what has grown."""
    early = None
    for number in range(cycles):
        cycle()
        if number == cycles // 10:
            # Begins the log of a daemon that was just started.
            create_and_delete()
            early = measured()
    create_and_delete()
    late = measured(early)
    grown = []
    for name, value in late.items():
        print(f"{name}: {early[name]:,} after {cycles // 10 + 1} cycles, {value:,} after {cycles}",
              flush=True)
        if "memory" in name and is_sanitized():
            continue
        tolerance = TOLERANCE if "memory" in name or "bytes" in name else 1
        if value > (LOG_LIMIT if "log" in name else early[name] * tolerance):
            grown.append(name)
    return grown


def main():
    cycles = int(sys.argv[1])
    shutil.rmtree(WORK, ignore_errors=True)
    os.makedirs(WORK, mode=0o755)
    must([INIT, "start"])
    grown = []
    for what, cycle in (("Registering and deregistering", register_and_deregister),
                        ("Creating and deleting through one daemon", create_and_delete)):
        print(what, flush=True)
        grown += soak(cycle, cycles)
    must([INIT, "stop"])
    print(f"Grown: {', '.join(grown)}" if grown else "Nothing has grown.")
    return 1 if grown else 0


if __name__ == "__main__":
    sys.exit(main())
