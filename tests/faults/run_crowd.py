#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Fifty runs of different operations at once, while the daemon is started and stopped by hand. None is
lost, and of five that register the same product one succeeds.

usage: run_crowd.py

A run that fails because the daemon came or went in its midst is repeated, after doing what its message
says. Ends with status 1 when something is missing. For use inside scripts/sandbox."""

import os
import shutil
import sys
import threading
import time
from concurrent.futures import ThreadPoolExecutor

sys.dont_write_bytecode = True

from installation import INIT, WORK, Live, must, run  # noqa: E402
from repairs import Repairs  # noqa: E402

EACH = 10
ATTEMPTS = 20
ALREADY_REGISTERED = 2
LIVE = Live()
ONE_REPAIR = threading.Lock()


def fennik(*words, stdin=""):
    """Runs the tool until it succeeds, or fails in a way that the daemon has nothing to do with.
    Returns the result."""
    for _ in range(ATTEMPTS):
        result = run(LIVE.fennik(*words), stdin)
        if result.status in (0, ALREADY_REGISTERED):
            return result
        with ONE_REPAIR:
            repairs = Repairs("")
            repairs.follow(result.err)
            repairs.delete_left_over(result.err)
        if "Failed to start cimom" in result.err:
            return result  # everything else was done
    raise RuntimeError(f"{' '.join(words)}: {result}")


def namespace(name):
    return name + "/one"


def crowd():
    """The operations: a function for each run."""
    for number in range(EACH):
        made, old = f"new{number}", f"old{number}"
        yield lambda made=made: fennik("--register", "--name", made, "--username", "daemon")
        yield lambda old=old: fennik("--set-owcimomd-config", "-", "--name", old,
                                     stdin=f"{old} = 1\n")
        yield lambda old=old: fennik("--register-namespace", f"{old}/two", "--name", old,
                                     "--username", "daemon")
        yield lambda old=old: fennik("--list-namespaces", "--name", old)
    for number in range(EACH // 2):
        gone = f"gone{number}"
        yield lambda gone=gone: fennik("--deregister-namespace", namespace(gone), "--name", gone)
        yield lambda: fennik("--register", "--name", "same", "--username", "daemon")


def disturb(ended):
    """Starts and stops the daemon by hand."""
    while not ended.is_set():
        run([INIT, "start"])
        time.sleep(0.3)
        run([INIT, "stop"])
        time.sleep(0.2)


def prepare():
    shutil.rmtree(WORK, ignore_errors=True)
    os.makedirs(WORK, mode=0o755)
    for number in range(EACH):
        for name in [f"old{number}"] + ([f"gone{number}"] if number < EACH // 2 else []):
            must(LIVE.fennik("--register", "--name", name, "--username", "daemon"))
            must(LIVE.fennik("--register-namespace", namespace(name), "--name", name,
                             "--username", "daemon"))


def missing():
    """What is not as it must be in the end."""
    products = set(must(LIVE.fennik("--list-registered-products")).out.split())
    expected = {"kov", "same"} | {f"{kind}{number}" for kind in ("new", "old")
                                  for number in range(EACH)}
    expected |= {f"gone{number}" for number in range(EACH // 2)}
    if products | {"kov"} != expected:
        yield f"products: {products ^ expected}"
    for number in range(EACH):
        old, gone = f"old{number}", f"gone{number}"
        found = must(LIVE.fennik("--list-namespaces", "--name", old)).out.split()
        if sorted(found) != [f"{old}/one", f"{old}/two"]:
            yield f"{old}: {found}"
        if must(LIVE.fennik("--get-owcimomd-config", "--name", old)).out != f"{old} = 1\n":
            yield f"{old}: no configuration"
        if gone in products and must(LIVE.fennik("--list-namespaces", "--name", gone)).out:
            yield f"{gone}: has a namespace"


def main():
    prepare()
    ended = threading.Event()
    disturber = threading.Thread(target=disturb, args=(ended,))
    disturber.start()
    try:
        with ThreadPoolExecutor(5 * EACH) as pool:
            results = [(run_it, pool.submit(run_it)) for run_it in crowd()]
        statuses = [future.result().status for _, future in results]
    finally:
        ended.set()
        disturber.join()
    run([INIT, "stop"])
    problems = list(missing())
    # More, when one was done but for the restart of the daemon, and was repeated.
    registered = statuses.count(ALREADY_REGISTERED)
    if registered < EACH // 2 - 1:
        problems.append(f"{registered} runs found the product registered")
    print(*problems, f"{len(statuses)} runs at once", sep="\n")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
