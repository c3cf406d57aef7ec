#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Measures what a user would notice, against a lower bound of its cost. Run it inside
scripts/sandbox on a new state:

    scripts/sandbox --root DIR bench/figures.py RESULT.json SCHEMA_FLOOR DMTF_SCHEMA_DIR [PART...]

A PART is one of load, list, products, providers, copy, saving and window; all when absent.

A ratio compares two measurements taken in turn in the same run, so it means the same on a slow and
on a fast machine. Of repeated runs the quickest counts; anything slower is noise of the machine.
"""

import json
import os
import shutil
import subprocess
import sys

import saving
import window
from floors import copy_and_remove, restart, write_again, written
from products import Texts, write
from programs import INIT, LIVE, WORK, begin, best, fail, output, ratio, run
from tracing import daemon_memory, daemon_pid

TOP_FILE = "cim_schema_2.41.0.mof"
# The address layout of a process affects its speed, so each process is measured this many times.
TURNS = 3
LOADS = 10
ROUNDS = 8
LISTINGS = 100
PRODUCTS = 1000
PROVIDERS = 1000
REPOSITORY_BYTES = 200_000_000
BYTES_PER_INSTANCE = 50_000
INSTANCES_PER_FILE = 200
MEMORY_OF_A_LOAD = 60.0


def staged(fresh, name="staged"):
    return fresh.copy_to(f"{WORK}/{name}")


def register(installation, product):
    return installation.fennik("register", "--name", product, "--username", "root")


def register_namespace(installation, namespace, product):
    return installation.fennik("register-namespace", namespace, "--name", product, "--username",
                               "root")


def register_providers(installation, path, product):
    return installation.fennik("register-providers", path, "--name", product)


def load_rows(fresh, floor, top):
    """Loads the schema into new namespaces of a staged tree, and through the daemon."""
    floors, direct, live, daemon = [], [], [], []
    for _ in range(TURNS):
        floors.append([float(word) for word in output([floor, top, WORK + "/floor.db"]).split()])
        fresh.put_back()
        run([INIT, "start"])
        run(register(LIVE, "dmtf"))
        for number in range(LOADS):
            namespace = f"dmtf/n{number}"
            tree = staged(fresh)
            run(register(tree, "dmtf"))
            for installation, costs in ((tree, direct), (LIVE, live)):
                run(register_namespace(installation, namespace, "dmtf"))
                os.sync()
                costs.append(run(installation.owmofc(namespace, top)))
        daemon.append(daemon_memory())
        run([INIT, "stop"])
    least = sum(min(column) for column in zip(*floors))
    return [
        ratio("load the DMTF schema / token pass + synced insert", best(direct).wall, least, 2.5),
        ratio("load it, live / staged", best(live).wall, best(direct).wall, 1.5),
        ["peak memory of loading it", "", best(direct).memory / 1e6, MEMORY_OF_A_LOAD, " MB"],
        ["peak memory of the daemon that stores it", "", max(daemon) / 1e6, MEMORY_OF_A_LOAD,
         " MB"],
    ]


def plain_database(installation):
    """Makes a database of the repository's size. Its only table has a row for each product."""
    path = WORK + "/plain.db"
    row = os.path.getsize(installation.repository + "/repository.db") // PRODUCTS
    script = ("CREATE TABLE products(name TEXT, data BLOB);"
              "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i+1 FROM n WHERE i<%d) "
              "INSERT INTO products SELECT printf('product%%04d', i), zeroblob(%d) FROM n;"
              % (PRODUCTS - 1, max(row - 20, 0)))
    subprocess.run(["sqlite3", path, script], check=True)
    return path


def listing_rows(fresh):
    tree, path = staged(fresh), WORK + "/products.mof"
    write(path, "".join(f'instance of KOV_Product {{ Name = "product{number:04}"; '
                        f'Usernames = {{"user{number:04}"}}; }};\n' for number in range(PRODUCTS)))
    run(tree.owmofc("kov", path))
    tree.put_back()
    run([INIT, "start"])
    through, direct = (installation.fennik("list-registered-products")
                       for installation in (LIVE, tree))
    shell = [shutil.which("sqlite3"), plain_database(tree), "SELECT name FROM products"]
    for command in (through, direct):
        if len(output(command).split()) != PRODUCTS:
            fail(f"not all {PRODUCTS} products are listed")
    costs = [[], [], []]
    for _ in range(LISTINGS):
        for command, taken in zip((through, direct, shell), costs):
            taken.append(run(command))
    run([INIT, "stop"])
    live, ours, theirs = (best(taken).wall for taken in costs)
    return [ratio(f"list {PRODUCTS} products / sqlite3 shell", ours, theirs, 3.0),
            ratio(f"list {PRODUCTS} products, live / staged", live, ours, 2.0)]


def product_rows(fresh):
    """Registers a product and its namespace, staged and live, and deregisters it live."""
    steps = {"register": lambda installation: register(installation, "sample"),
             "register-namespace":
                 lambda installation: register_namespace(installation, "sample", "sample")}
    parts, before = {}, fresh
    for name, command in steps.items():
        after = before.copy_to(f"{WORK}/{name}")
        run(command(after))
        parts[name], before = written(before, after), after
    taken = {}

    def note(name, seconds):
        taken[name] = min(seconds, taken.get(name, seconds))

    for number in range(ROUNDS):
        tree = staged(fresh)
        fresh.put_back()
        run([INIT, "start"])
        note("restart", restart())
        for name, command in steps.items():
            note(name + " again", write_again(parts[name], f"{WORK}/again-{name}{number}"))
            os.sync()
            note(name, run(command(tree)).wall)
            daemon = daemon_pid()
            note(name + " live", run(command(LIVE)).wall)
        if daemon_pid() != daemon:
            fail("register-namespace has stopped the daemon")
        note("copy", copy_and_remove())
        note("deregister", run(LIVE.fennik("deregister", "--name", "sample")).wall)
        run([INIT, "stop"])
    return [
        ratio("register / its rows and files", taken["register"], taken["register again"], 4.0),
        ratio("register, live / staged + restart", taken["register live"],
              taken["register"] + taken["restart"], 1.5),
        ratio("register-namespace / its rows", taken["register-namespace"],
              taken["register-namespace again"], 4.0),
        ratio("register-namespace, live / staged", taken["register-namespace live"],
              taken["register-namespace"], 1.5),
        ratio("deregister / restart + cp, sync, rm", taken["deregister"],
              taken["restart"] + taken["copy"], 1.5),
    ]


def copy_rows(fresh):
    """Removes an empty namespace of a large repository, on a copy that is swapped in."""
    fresh.put_back()
    run(register(LIVE, "large"))
    run(register_namespace(LIVE, "large/data", "large"))
    path, number = WORK + "/large.mof", 0
    text = "class Large_Data { [Key] string Name; string Text; };\n"
    size = 0
    while size < REPOSITORY_BYTES:
        for number in range(number + 1, number + 1 + INSTANCES_PER_FILE):
            text += (f'instance of Large_Data {{ Name = "{number}"; '
                     f'Text = "{"x" * BYTES_PER_INSTANCE}"; }};\n')
        write(path, text)
        run(LIVE.owmofc("large/data", path))
        text = ""
        size = sum(entry.stat().st_size for entry in os.scandir(LIVE.repository))
    swaps, bare = [], []
    for number in range(ROUNDS):
        namespace = f"large/swap{number}"
        run(register_namespace(LIVE, namespace, "large"))
        bare.append(copy_and_remove())
        os.sync()
        swaps.append(run(LIVE.fennik("deregister-namespace", namespace, "--name", "large")).wall)
    return [ratio(f"copy and swap {size / 1e6:.0f} MB / cp, sync, rm", min(swaps), min(bare), 1.2)]


def provider_times(fresh, count):
    """The shortest times, in seconds, of the work on `count` providers in a staged tree: compiling
    their texts and writing their rows and files; registering, listing, replacing and removing them.
    Also returns the tree without them."""
    base = staged(fresh, f"base{count}")
    run(register(base, "sample"))
    run(register_namespace(base, "sample", "sample"))
    texts = Texts(base, "sample", count)
    nothing = WORK + "/nothing"
    write(nothing, "")
    check = base.owmofc("root", "--check", *texts.registrations, *texts.mofs)
    list_providers = ("list-providers", "--name", "sample")
    parts, rounds = None, []
    for number in range(ROUNDS):
        tree = base.copy_to(WORK + "/staged")
        Texts(tree, "sample", count)
        compiled = run(check).wall
        os.sync()
        registered = run(register_providers(tree, texts.list, "sample")).wall
        parts = parts or written(base, tree)
        again = write_again(parts, f"{WORK}/again-providers{count}-{number}")
        listed = run(tree.fennik(*list_providers)).wall
        replaced = run(register_providers(tree, texts.list, "sample")).wall
        if output(tree.fennik(*list_providers)).count("\n") != count:
            fail(f"not all of the {count} providers are listed")
        removed = run(register_providers(tree, nothing, "sample")).wall
        rounds.append((compiled + again, registered, listed, replaced, removed))
    return [min(column) for column in zip(*rounds)], base


def live_providers(base, count):
    base.put_back()
    path = Texts(LIVE, "sample", count).list
    costs, restarts = [], []
    run([INIT, "start"])
    for _ in range(ROUNDS):
        restarts.append(restart())
        costs.append(run(register_providers(LIVE, path, "sample")).wall)
        run(register_providers(LIVE, WORK + "/nothing", "sample"))
    run([INIT, "stop"])
    return min(costs), min(restarts)


def provider_rows(fresh):
    twice, _ = provider_times(fresh, 2 * PROVIDERS)
    once, base = provider_times(fresh, PROVIDERS)
    live, restarted = live_providers(base, PROVIDERS)
    least, registered, listed, replaced, removed = once
    _, registered2, listed2, _, removed2 = twice
    many = f"{2 * PROVIDERS} / {PROVIDERS} providers"
    return [
        ratio(f"register-providers, {PROVIDERS} / their rows, files, texts", registered, least,
              4.0),
        ratio("the same, live / staged + restart", live, registered + restarted, 1.5),
        ratio(f"replace / register {PROVIDERS} providers", replaced, registered, 3.0),
        ratio("register " + many, registered2, registered, 2.2),
        ratio("list " + many, listed2, listed, 2.2),
        ratio("remove " + many, removed2, removed, 2.2),
    ]


def main():
    result, floor, schema, *wanted = sys.argv[1:]
    fresh, top = begin(), os.path.join(schema, TOP_FILE)
    parts = {"load": lambda: load_rows(fresh, floor, top), "list": lambda: listing_rows(fresh),
             "products": lambda: product_rows(fresh), "providers": lambda: provider_rows(fresh),
             "copy": lambda: copy_rows(fresh), "saving": lambda: saving.rows(fresh, top),
             "window": lambda: window.rows(fresh, top)}
    rows = []
    for part in wanted or parts:
        rows += parts[part]()
        print(f"{len(rows)} figures are measured", flush=True)
    write(result, json.dumps(rows))


if __name__ == "__main__":
    main()
