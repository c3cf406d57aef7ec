#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Measures every operation in installations of different sizes. Run it inside scripts/sandbox on a
new state:

    scripts/sandbox --root DIR bench/scale.py RESULT.json SIZE...

An installation of SIZE products is made by restoring a state file. Each product in it is a copy,
under another name, of one that the tool has registered and saved.
"""

import filecmp
import json
import sys
import time

from growth import ALL, COPY, NOTHING, RESTART, START
from products import Texts, write, write_pattern_state, write_state
from programs import INIT, LIVE, WORK, begin, best, fail, run
from tracing import daemon_memory, traced

# The quickest of RUNS runs counts. After SECONDS seconds, LEAST_RUNS are enough.
RUNS = 9
LEAST_RUNS = 3
SECONDS = 20
PROVIDERS = 10


class Measurement:
    """The costs of the operations in an installation of one size."""

    def __init__(self):
        self.rows = {}

    def measure(self, *steps):
        """Runs the sequence of steps repeatedly, and once more to count what they write. A step is
        a name, what its cost may grow with, and a function from the number of the run to the
        command. A step without a name is a preparation: only its function is called."""
        costs, begun, number = {}, time.monotonic(), 0
        while number < LEAST_RUNS or (number < RUNS and time.monotonic() - begun < SECONDS):
            for name, _, command in steps:
                argv = command(number)
                if name:
                    costs.setdefault(name, []).append(measured(argv))
            number += 1
        for name, grows, command in steps:
            argv = command(number)
            if name:
                written, syncs = traced(argv)
                least = best(costs[name])
                self.rows[name] = {"grows": grows, "wall": least.wall, "memory": least.memory,
                                   "bytes": written, "syncs": syncs}


def measured(argv):
    """The cost of a run. For the start of the daemon, the memory is the daemon's."""
    cost = run(argv)
    return cost._replace(memory=daemon_memory()) if argv == [INIT, "start"] else cost


def product_steps(installation, where):
    """The operations on one product, and the listing of all, in the order in which a product's
    scripts use them. Each run uses another product."""
    restart = NOTHING if installation.prefix else RESTART
    names = [f"measured{number}" for number in range(RUNS + 1)]
    texts = [Texts(installation, name, PROVIDERS) for name in names]

    def step(operation, *arguments, grows=NOTHING, product=True):
        def command(number):
            words = [word.format(name=names[number], list=texts[number].list,
                                 snippet=texts[number].snippet) for word in arguments]
            return installation.fennik(operation, *words,
                                       *(["--name", names[number]] if product else []))
        return f"{operation}, {where}", grows, command

    steps = [
        step("register", "--username", "writer", grows=restart),
        step("set-owcimomd-config", "{snippet}", grows=restart),
        step("get-owcimomd-config"),
        step("register-namespace", "{name}", "--username", "writer"),
        step("list-namespaces"),
        step("register-providers", "{list}", grows=restart),
        step("list-providers"),
        step("list-registered-products", grows=ALL, product=False),
        step("remove-owcimomd-config", grows=restart),
    ]
    if installation.prefix:
        return steps
    # Deregistering works on an installed system only. Removes a second namespace, because the first
    # one has the providers.
    _, _, another = step("register-namespace", "{name}/another", "--username", "writer")
    return [*steps, ("", None, lambda number: run(another(number))),
            step("deregister-namespace", "{name}/another", grows=COPY),
            step("deregister", grows=COPY)]


def whole_state(measurement, fresh, path):
    """Measures restoring all products into a new installation, and saving them. They stay there."""
    again = path + ".again"
    measurement.measure(("", None, lambda _: fresh.put_back()),
                        ("restore", ALL, lambda _: LIVE.fennik("restore-product-state", path)))
    measurement.measure(("save", ALL, lambda _: LIVE.fennik("dump-product-state", again)))
    if not filecmp.cmp(path, again, shallow=False):
        fail("the state that was restored is not the one that was saved")


def measure(fresh, pattern, size):
    measurement, path = Measurement(), WORK + "/state.xml"
    write_state(path, pattern, size)
    whole_state(measurement, fresh, path)
    measurement.measure(*product_steps(LIVE.copy_to(WORK + "/staged"), "staged"))
    measurement.measure(("", None, lambda number: number and run([INIT, "stop"])),
                        (START, ALL, lambda _: [INIT, "start"]))
    measurement.measure(*product_steps(LIVE, "live"))
    run([INIT, "stop"])
    return measurement.rows


def main():
    result, sizes = sys.argv[1], sorted({int(size) for size in sys.argv[2:]})
    fresh, pattern = begin(), WORK + "/pattern.xml"
    write_pattern_state(pattern)
    rows = {}
    for size in sizes:
        print(f"An installation of {size} products", flush=True)
        for name, row in measure(fresh, pattern, size).items():
            rows.setdefault(name, []).append(row)
    fresh.put_back()
    write(result, json.dumps({"sizes": sizes, "operations": rows}))


if __name__ == "__main__":
    main()
