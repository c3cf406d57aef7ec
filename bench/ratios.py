#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Prints the ratios that matter, each with its limit.

A ratio compares two things measured in the same run on the same machine, so that it means the same
on a slow and on a fast one. Of repeated runs the quickest counts: everything slower is the machine.
Whole processes are started alternately, so that both sides meet the same disturbances.
"""

import json
import os
import re
import shutil
import subprocess
import sys

import table
from state_rows import state_rows
from trees import Tree, fail, run

# Where a process happens to lie in memory decides how quick all of it is, and the machine is quick
# at times and slow at others: what is compared takes turns.
TURNS = 3
LOADS = 12
LISTINGS = 100
PRODUCTS = 1000
ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SANDBOX_CANNOT_RUN_HERE = 77
TOP_FILE = "cim_schema_2.41.0.mof"


def microbenchmark(build, program, filtered):
    report = os.path.join(build, program + ".json")
    done = subprocess.run([os.path.join(build, "bench", program), "--benchmark_out=" + report,
                           "--benchmark_filter=" + filtered,
                           # What is compared sees the machine in the same state.
                           "--benchmark_enable_random_interleaving=true"],
                          stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, cwd=build, check=False)
    if done.returncode != 0:
        fail(f"{program} failed: {done.stderr.decode()}")
    with open(report, encoding="utf-8") as text:
        return json.load(text)["benchmarks"]


def microbenchmarks(build):
    """Each of them, once."""
    return [row for program, filtered in (("mof_bench", "."), ("storage_bench", "."),
                                          ("client_bench", "CreateInstance"))
            for row in microbenchmark(build, program, filtered)]


def quickest(benchmarks, name, clock):
    """The least milliseconds of a microbenchmark, by the wall clock ("real_time") or the processor
    ("cpu_time")."""
    return min(row[clock] for row in benchmarks
               if row["run_type"] == "iteration" and row["name"].split("/")[0] == name)


def schema_files(schema_dir):
    """The schema's top file and those that it includes."""
    top = os.path.join(schema_dir, TOP_FILE)
    with open(top, encoding="utf-8") as text:
        names = re.findall(r'^#pragma include \("([^"]+)"\)', text.read(), re.MULTILINE)
    return [top, *(os.path.join(schema_dir, name) for name in names)]


def schema_load(build, schema, schema_dir):
    """The quickest milliseconds and the largest memory of loading the schema into a new tree, and
    the quickest milliseconds of a process that reads and scans the same files."""
    seconds, memory, passes = [], [], []
    token_pass = [os.path.join(build, "bench/token_pass"), *schema_files(schema_dir)]
    for _ in range(LOADS):
        tree = Tree(build, "load", schema)
        run(tree.fennik("--register", "--name", "dmtf", "--username", "root"))
        run(tree.fennik("--register-namespace", "dmtf/cimv2", "--name", "dmtf", "--username",
                        "root"))
        # What others have written is not this load's to wait for.
        os.sync()
        elapsed, peak = tree.load("dmtf/cimv2", os.path.join(schema_dir, TOP_FILE))
        seconds.append(elapsed)
        memory.append(peak)
        passes.append(run(token_pass)[0])
    return min(seconds) * 1000, max(memory), min(passes) * 1000


def register_products(tree):
    path = os.path.join(tree.prefix, "products.mof")
    with open(path, "w", encoding="ascii") as out:
        for number in range(PRODUCTS):
            out.write(f'instance of KOV_Product {{ Name = "product{number:04}"; '
                      f'Usernames = {{"user{number:04}"}}; }};\n')
    tree.load("kov", path)


def plain_database(tree):
    """A database of the repository's size whose one table has a row for each product."""
    path = os.path.join(tree.prefix, "plain.db")
    filling = tree.repository_size() // PRODUCTS
    script = ("CREATE TABLE products(name TEXT, data BLOB);"
              "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i+1 FROM n WHERE i<%d) "
              "INSERT INTO products SELECT printf('product%%04d', i), zeroblob(%d) FROM n;"
              % (PRODUCTS - 1, max(filling - 20, 0)))
    subprocess.run(["sqlite3", path, script], check=True)
    return path


def listing(tree):
    """The quickest milliseconds of the listing and of the shell that reads as many rows."""
    ours = tree.fennik("--list-registered-products")
    shell = [shutil.which("sqlite3"), plain_database(tree), "SELECT name FROM products"]
    names = subprocess.run(ours, check=True, stdout=subprocess.PIPE).stdout.split()
    if len(names) != PRODUCTS:
        fail(f"{len(names)} products are listed instead of {PRODUCTS}")
    times = ([], [])
    for _ in range(LISTINGS):
        for command, seconds in zip((ours, shell), times):
            seconds.append(run(command)[0])
    return min(times[0]) * 1000, min(times[1]) * 1000


def sandboxed(build, script, *arguments):
    """What a script measures in a sandbox of the same build; None where there can be none."""
    root = os.path.join(build, "sandbox")
    shutil.rmtree(root, ignore_errors=True)
    report = os.path.join(build, "sandbox.json")
    done = subprocess.run([os.path.join(ROOT, "scripts/sandbox"), "--root", root,
                           os.path.join(ROOT, "bench", script), report, *arguments],
                          env={**os.environ, "KOV_BUILD_DIR": build}, check=False)
    if done.returncode == SANDBOX_CANNOT_RUN_HERE:
        return None
    if done.returncode != 0:
        fail(f"bench/{script} ended with {done.returncode}")
    with open(report, encoding="ascii") as text:
        measured = json.load(text)
    shutil.rmtree(root)
    return measured


def sandboxed_rows(build, tree, schema_dir):
    measured = sandboxed(build, "live.py", tree.prefix, str(PRODUCTS))
    if measured is None:
        print("The live system is not measured: no sandbox can be made here.")
        return []
    return [*live_rows(measured), *state_rows(sandboxed(build, "state.py", schema_dir))]


def provider_rows(build, schema):
    report = os.path.join(build, "providers.json")
    program = os.path.join(ROOT, "bench/providers.py")
    if subprocess.run([sys.executable, program, build, schema, report], check=False).returncode != 0:
        fail("bench/providers.py failed")
    with open(report, encoding="ascii") as text:
        return json.load(text)


def live_rows(measured):
    through, direct = (1000 * measured["listing"][key] for key in ("live", "direct"))
    swap, bare = (1000 * measured["swapping"][key] for key in ("swap", "bare"))
    size = measured["swapping"]["bytes"] / 1e6
    return [
        (f"list {PRODUCTS} products, live / direct",
         f"{through:.2f} ms / {direct:.2f} ms", through / direct, 2.0, ""),
        (f"copy and swap {size:.0f} MB / cp -pR, sync, rm -rf",
         f"{swap:.0f} ms / {bare:.0f} ms", swap / bare, 1.2, ""),
    ]


def main():
    if len(sys.argv) != 4:
        fail("usage: ratios.py BUILD_DIR INSTALLED_SCHEMA_DIR DMTF_SCHEMA_DIR")
    build, schema, schema_dir = (os.path.abspath(path) for path in sys.argv[1:])

    micro, loads = [], []
    for _ in range(TURNS):
        micro += microbenchmarks(build)
        loads.append(schema_load(build, schema, schema_dir))
    loaded, memory, token_process = (
        best(column) for best, column in zip((min, max, min), zip(*loads)))
    # Neither waits for anything, so the processor's time leaves other programs out.
    compiled, tokens = (quickest(micro, name, "cpu_time")
                        for name in ("BM_CompileSchema", "BM_TokenPass"))
    # Whole processes and the disk are timed by the wall clock.
    insert = quickest(micro, "BM_SyncedInsert", "real_time")
    least = quickest(micro, "BM_TokenPass", "real_time") + insert
    client, handle = (quickest(micro, name, "real_time")
                      for name in ("BM_ClientCreateInstance", "BM_DirectCreateInstance"))
    tree = Tree(build, "listing", schema)
    register_products(tree)
    listed, shell = listing(tree)

    rows = [
        ("compile the DMTF schema / token pass",
         f"{compiled:.1f} ms / {tokens:.1f} ms", compiled / tokens, 3.0, ""),
        ("owmofc loads it / token pass + synced insert",
         f"{loaded:.1f} ms / {least:.1f} ms", loaded / least, 2.5, ""),
        ("the same / reading + token pass + insert",
         f"{loaded:.1f} ms / {token_process + insert:.1f} ms",
         loaded / (token_process + insert), None, ""),
        (f"list {PRODUCTS} products / sqlite3 shell",
         f"{listed:.2f} ms / {shell:.2f} ms", listed / shell, 3.0, ""),
        ("peak memory of the load", "", memory / 1e6, 60.0, " MB"),
        ("create 10000 instances, client / direct",
         f"{client:.0f} ms / {handle:.0f} ms", client / handle, None, ""),
        *sandboxed_rows(build, tree, schema_dir),
        *provider_rows(build, schema),
    ]
    print()
    return 0 if table.show(rows) else 1


if __name__ == "__main__":
    sys.exit(main())
