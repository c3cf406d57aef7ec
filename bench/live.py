#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Measures the live system; to be run inside scripts/sandbox, on a state that holds nothing else:

    scripts/sandbox --root DIR bench/live.py RESULT.json STAGED_PREFIX PRODUCTS

STAGED_PREFIX is a staged tree with PRODUCTS products. The result has the quickest seconds of each
of two things that are compared.
"""

import json
import os
import shutil
import subprocess
import sys
import time

PROGRAMS = "/opt/tarvo/kov"
FENNIK = PROGRAMS + "/bin/fennik"
OWMOFC = PROGRAMS + "/bin/owmofc"
INIT = PROGRAMS + "/sbin/tarvo-owcimomd_init"
STATE = "/var/opt/tarvo/kov/openwbem"
REPOSITORY = STATE + "/repository"
REPOSITORY_BYTES = 200_000_000
LISTINGS = 50
SWAPS = 9
BYTES_PER_INSTANCE = 50_000
INSTANCES_PER_FILE = 200


def run(*argv):
    start = time.perf_counter()
    done = subprocess.run(argv, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, check=False)
    seconds = time.perf_counter() - start
    if done.returncode != 0:
        sys.exit(f"live.py: {' '.join(argv)} ended with {done.returncode}: {done.stdout.decode()}")
    return seconds, done.stdout.decode()


def products_listed(*argv):
    return len(run(FENNIK, *argv, "--list-registered-products")[1].split())


def listing(prefix, count):
    """The quickest listing through the daemon and of the staged tree, taken in turn."""
    run(OWMOFC, "-n", "kov", os.path.join(prefix, "products.mof"))
    run(INIT, "start")
    staged = ["--kov-build-system-dest-dir", prefix]
    for listed in (products_listed(), products_listed(*staged)):
        if listed != count:
            sys.exit(f"live.py: {listed} products are listed instead of {count}")
    live, direct = [], []
    for _ in range(LISTINGS):
        live.append(run(FENNIK, "--list-registered-products")[0])
        direct.append(run(FENNIK, *staged, "--list-registered-products")[0])
    run(INIT, "stop")
    return {"live": min(live), "direct": min(direct)}


def fill_repository():
    """A product whose namespace holds so many instances that the repository has its size."""
    run(FENNIK, "--register", "--name", "large", "--username", "root")
    run(FENNIK, "--register-namespace", "large/data", "--name", "large", "--username", "root")
    path = STATE + "/large.mof"
    number = 0
    with open(path, "w", encoding="ascii") as out:
        out.write("class Large_Data { [Key] string Name; string Text; };\n")
    run(OWMOFC, "-n", "large/data", path)
    while repository_bytes() < REPOSITORY_BYTES:
        with open(path, "w", encoding="ascii") as out:
            for _ in range(INSTANCES_PER_FILE):
                number += 1
                out.write(f'instance of Large_Data {{ Name = "{number}"; '
                          f'Text = "{"x" * BYTES_PER_INSTANCE}"; }};\n')
        run(OWMOFC, "-n", "large/data", path)
    os.remove(path)


def repository_bytes():
    return sum(entry.stat().st_size for entry in os.scandir(REPOSITORY))


def copy_and_remove():
    """cp -pR, one sync of the copy, rm -rf."""
    other = REPOSITORY + ".bench"
    start = time.perf_counter()
    run("/bin/cp", "-pR", REPOSITORY, other)
    for entry in os.scandir(other):
        handle = os.open(entry.path, os.O_RDONLY)
        os.fsync(handle)
        os.close(handle)
    run("/bin/rm", "-rf", other)
    return time.perf_counter() - start


def swapping():
    """The quickest removal of an empty namespace, which works on a copy that is swapped in, and of
    the bare copying and removing of the same directory."""
    fill_repository()
    size = repository_bytes()
    swaps, bare = [], []
    for number in range(SWAPS):
        namespace = f"large/swap{number}"
        run(FENNIK, "--register-namespace", namespace, "--name", "large", "--username", "root")
        # What was written before is not theirs to wait for.
        os.sync()
        bare.append(copy_and_remove())
        os.sync()
        swaps.append(run(FENNIK, "--deregister-namespace", namespace, "--name", "large",
                         "--username", "root")[0])
    return {"swap": min(swaps), "bare": min(bare), "bytes": size}


def main():
    result, prefix, count = sys.argv[1:]
    measured = {"listing": listing(prefix, int(count)), "swapping": swapping()}
    with open(result, "w", encoding="ascii") as out:
        json.dump(measured, out)
    shutil.rmtree(REPOSITORY)


if __name__ == "__main__":
    main()
