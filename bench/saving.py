# SPDX-License-Identifier: Apache-2.0
"""Measures saving and restoring a namespace with the DMTF schema, alone and with many instances,
against loading the MOF of the saved file. Compares processor time: these operations wait only for
syncs, and processor time excludes most of the machine's noise."""

import filecmp
import os
import subprocess
import sys

from products import write
from programs import LIVE, WORK, best, fail, ratio, run

NAMESPACE = "dmtf/cimv2"
STATE_FILE = WORK + "/state.xml"
INSTANCES = 10_000
RUNS = 5
SAVING, RESTORING, MEMORY = 4.0, 6.0, 6.0
# Instances of these have 57 properties on average, most of them null.
DEVICES = ("CIM_LogicalDisk", "CIM_EthernetPort", "CIM_Fan", "CIM_Processor", "CIM_Memory",
           "CIM_StorageVolume", "CIM_NumericSensor", "CIM_PowerSupply")


def instances():
    for number in range(INSTANCES):
        name = DEVICES[number % len(DEVICES)]
        yield (f'instance of {name} {{ SystemCreationClassName = "CIM_ComputerSystem"; '
               f'SystemName = "host{number // 100}.example.com"; '
               f'CreationClassName = "{name}"; DeviceID = "{name}:{number}"; '
               f'ElementName = "device {number}"; Description = "The device with the number '
               f'{number}, in its place since the machine was built."; '
               "OperationalStatus = {2}; HealthState = 5; EnabledState = 2; };\n")


def saved_mof(path):
    """Writes the MOF of the state file to `path`. Uses another process, so that this one stays
    small."""
    script = ("import re, sys; from xml.sax.saxutils import unescape; "
              "text = open(sys.argv[1], encoding='utf-8', newline='').read(); "
              "mof = re.search('<ProductInstances>.*<InstanceMOF>(.*)</InstanceMOF>', text, "
              "re.S)[1]; "
              "open(sys.argv[2], 'w', encoding='utf-8').write(unescape(mof, {'&#13;': '\\r'}))")
    subprocess.run([sys.executable, "-c", script, STATE_FILE, path], check=True)


def schema_rows(fresh, name, *files):
    """Measures saving, then loading the same MOF with owmofc and restoring in turn."""
    registered = [LIVE.fennik("register", "--name", "dmtf", "--username", "root"),
                  LIVE.fennik("register-namespace", NAMESPACE, "--name", "dmtf", "--username",
                              "root")]

    def register():
        fresh.put_back()
        for command in registered:
            run(command)

    register()
    for file in files:
        run(LIVE.owmofc(NAMESPACE, file))
    dump = LIVE.fennik("dump-product-state", STATE_FILE)
    saves, loads, restores = [run(dump) for _ in range(RUNS)], [], []
    mof = WORK + "/saved.mof"
    saved_mof(mof)
    for _ in range(RUNS):
        register()
        loads.append(run(LIVE.owmofc(NAMESPACE, mof)))
        fresh.put_back()
        restores.append(run(LIVE.fennik("restore-product-state", STATE_FILE)))
    run(LIVE.fennik("dump-product-state", STATE_FILE + ".again"))
    if not filecmp.cmp(STATE_FILE, STATE_FILE + ".again", shallow=False):
        fail("the state that was restored is not the one that was saved")
    load, size = best(loads), os.path.getsize(STATE_FILE)
    rows = []
    for what, costs, limit in (("save", saves, SAVING), ("restore", restores, RESTORING)):
        mine = best(costs)
        rows.append(ratio(f"{what} {name} / owmofc, processor", mine.processor, load.processor,
                          limit))
        rows.append([f"{what} {name}, peak memory / file",
                     f"{mine.memory / 1e6:.1f} MB / {size / 1e6:.1f} MB", mine.memory / size,
                     MEMORY, ""])
    return rows


def rows(fresh, top):
    path = WORK + "/instances.mof"
    write(path, "".join(instances()))
    return [*schema_rows(fresh, "schema", top),
            *schema_rows(fresh, f"schema and {INSTANCES} instances", top, path)]
