#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Measures saving and restoring the state of all products; to be run inside scripts/sandbox, on a
state that holds nothing else:

    scripts/sandbox --root DIR bench/state.py RESULT.json DMTF_SCHEMA_DIR

The result has for each state the bytes of its file and, for each program, the least seconds by the
wall clock and by the processor, and the most memory. Every restored state is saved again and has to
give the same file.
"""

import filecmp
import json
import os
import shutil
import subprocess
import sys
from xml.sax import saxutils

PROGRAMS = "/opt/tarvo/kov"
FENNIK = PROGRAMS + "/bin/fennik"
OWMOFC = PROGRAMS + "/bin/owmofc"
PLACES = ("/var/opt/tarvo/kov/openwbem", "/etc/opt/tarvo/kov")
WORK = "/var/opt/tarvo/state-bench"
STATE_FILE = WORK + "/state.xml"
NAMESPACE = "dmtf/cimv2"
TOP_FILE = "cim_schema_2.41.0.mof"
INSTANCES = 10_000
PRODUCTS = 50
RUNS = 5
# Their instances have 57 properties on average, most of them null.
DEVICES = ("CIM_LogicalDisk", "CIM_EthernetPort", "CIM_Fan", "CIM_Processor", "CIM_Memory",
           "CIM_StorageVolume", "CIM_NumericSensor", "CIM_PowerSupply")


# A program's peak memory counts what it was forked from, so a small process starts it.
LAUNCHER = """
import posix, sys, time
start = time.perf_counter()
pid = posix.posix_spawn(sys.argv[2], sys.argv[2:], posix.environ)
_, status, usage = posix.wait4(pid, 0)
with open(sys.argv[1], "w") as report:
    report.write(f"{status} {time.perf_counter() - start} {usage.ru_utime + usage.ru_stime} "
                 f"{usage.ru_maxrss * 1024}")
"""


def run(*argv):
    """Runs a program; gives back its seconds by both clocks and its peak memory in bytes."""
    report = WORK + "/report"
    done = subprocess.run([sys.executable, "-I", "-S", "-c", LAUNCHER, report, *argv],
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=True)
    with open(report, encoding="ascii") as text:
        status, wall, processor, memory = text.read().split()
    if status != "0":
        sys.exit(f"state.py: {' '.join(argv)} ended with wait status {status}: "
                 f"{done.stdout.decode(errors='replace')}")
    return float(wall), float(processor), int(memory)


def best(runs):
    wall, processor, memory = zip(*runs)
    return {"wall": min(wall), "cpu": min(processor), "memory": max(memory)}


def keep_installation():
    for number, place in enumerate(PLACES):
        subprocess.run(["cp", "-a", place, f"{WORK}/fresh{number}"], check=True)


def install_anew():
    for number, place in enumerate(PLACES):
        shutil.rmtree(place)
        subprocess.run(["cp", "-a", f"{WORK}/fresh{number}", place], check=True)


def register_schema_product():
    run(FENNIK, "--register", "--name", "dmtf", "--username", "root")
    run(FENNIK, "--register-namespace", NAMESPACE, "--name", "dmtf", "--username", "root")


def write_instances(path):
    with open(path, "w", encoding="ascii") as out:
        for number in range(INSTANCES):
            name = DEVICES[number % len(DEVICES)]
            out.write(f'instance of {name} {{ SystemCreationClassName = "CIM_ComputerSystem"; '
                      f'SystemName = "host{number // 100}.example.com"; '
                      f'CreationClassName = "{name}"; DeviceID = "{name}:{number}"; '
                      f'ElementName = "device {number}"; Description = "The device with the number '
                      f'{number}, in its place since the machine was built."; '
                      "OperationalStatus = {2}; HealthState = 5; EnabledState = 2; };\n")


def saved_mof(path):
    """Writes the MOF that the state file holds. In a process of its own, so that this one stays
    small."""
    script = ("import re, sys; from xml.sax.saxutils import unescape; "
              "text = open(sys.argv[1], encoding='utf-8', newline='').read(); "
              "mof = re.search('<ProductInstances>.*<InstanceMOF>(.*)</InstanceMOF>', text, re.S)[1]; "
              "open(sys.argv[2], 'w', encoding='utf-8').write(unescape(mof, {'&#13;': '\\r'}))")
    subprocess.run([sys.executable, "-c", script, STATE_FILE, path], check=True)


def expect_same(file, other):
    if not filecmp.cmp(file, other, shallow=False):
        sys.exit("state.py: the state that was restored is not the one that was saved")


def save_again():
    run(FENNIK, "--dump-product-state", STATE_FILE + ".again")
    expect_same(STATE_FILE, STATE_FILE + ".again")


def schema_state(*files):
    """Saving, loading the same MOF with owmofc and restoring, taken in turn."""
    install_anew()
    register_schema_product()
    for file in files:
        run(OWMOFC, "-n", NAMESPACE, file)
    saves, loads, restores = [], [], []
    for _ in range(RUNS):
        saves.append(run(FENNIK, "--dump-product-state", STATE_FILE))
    mof = WORK + "/saved.mof"
    saved_mof(mof)
    for _ in range(RUNS):
        install_anew()
        register_schema_product()
        loads.append(run(OWMOFC, "-n", NAMESPACE, mof))
        install_anew()
        restores.append(run(FENNIK, "--restore-product-state", STATE_FILE))
    save_again()
    return {"bytes": os.path.getsize(STATE_FILE), "save": best(saves), "load": best(loads),
            "restore": best(restores)}


def element(name, *content):
    return f"<{name}>{''.join(content)}</{name}>"


def product(number):
    """A product with a snippet and a namespace of which two users have access."""
    name = f"product{number:03}"
    mof = f'class P{number}_Part {{ [Key] string Name; string Description; uint32 Size; }};\n'
    mof += "".join(f'instance of P{number}_Part {{ Name = "{part}"; Size = {part}; Description = '
                   f'"A part of the product that {name} calls its own"; }};\n'
                   for part in range(200))
    access = "".join(element("NamespaceACLEntry", element("UserName", user),
                             element("Capability", capability))
                     for user, capability in ((f"writer{number}", "rwRW"), (f"reader{number}", "rR")))
    return element(
        "Product", element("Name", name),
        element("AllowedUsers", element("UserName", f"writer{number}"),
                element("UserName", f"reader{number}")),
        element("ConfigFile", f"{name}.setting = {number}\n"),
        element("NamespaceRegistration",
                element("Namespace", element("Name", name), access)),
        element("ProductInstances",
                element("NamespaceInstances", element("Name", name),
                        element("InstanceMOF", saxutils.escape(mof)))))


def write_products(count):
    """The state file of so many products, as the tool itself writes it."""
    path = f"{WORK}/products{count}.xml"
    with open(path, "w", encoding="ascii") as out:
        out.write('<?xml version="1.0"?>\n' + element(
            "SavedProductState", element("Version", "1.4.0Release.824"),
            element("SavedProducts", *(product(number) for number in range(count)))))
    install_anew()
    run(FENNIK, "--restore-product-state", path)
    run(FENNIK, "--dump-product-state", path)
    return path


def product_states(*counts):
    """Restoring and saving so many products, the numbers taken in turn."""
    paths = [write_products(count) for count in counts]
    saves, restores = ([[] for _ in counts] for _ in range(2))
    for _ in range(RUNS):
        for path, saved, restored in zip(paths, saves, restores):
            install_anew()
            restored.append(run(FENNIK, "--restore-product-state", path))
            saved.append(run(FENNIK, "--dump-product-state", STATE_FILE))
            expect_same(path, STATE_FILE)
    return [{"save": best(saved), "restore": best(restored)}
            for saved, restored in zip(saves, restores)]


def main():
    result, schema_dir = sys.argv[1:]
    schema = os.path.join(schema_dir, TOP_FILE)
    shutil.rmtree(WORK, ignore_errors=True)
    os.makedirs(WORK, mode=0o700)
    keep_installation()
    write_instances(WORK + "/instances.mof")
    measured = {
        "schema": schema_state(schema),
        "instances": schema_state(schema, WORK + "/instances.mof"),
    }
    measured["products"], measured["twice"] = product_states(PRODUCTS, 2 * PRODUCTS)
    install_anew()
    shutil.rmtree(WORK)
    with open(result, "w", encoding="ascii") as out:
        json.dump(measured, out)


if __name__ == "__main__":
    main()
