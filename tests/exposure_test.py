#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""That the unit leaves the daemon and its init script little to do harm with, by systemd's measure.

usage: exposure_test.py UNIT"""

import os
import re
import shutil
import subprocess
import sys
import tempfile

SKIPPED = 77
# In tenths: systemd calls up to 2 "ok" and less than 1 "safe".
LIMIT = 20


def analyzed(*words):
    return subprocess.run(("systemd-analyze", *words), stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True)


def skip(reason):
    print("skipped: " + reason)
    sys.exit(SKIPPED)


def main():
    if not shutil.which("systemd-analyze"):
        skip("systemd-analyze is not installed")
    with tempfile.TemporaryDirectory() as directory:
        unit = shutil.copy(sys.argv[1], directory)
        result = analyzed("security", "--offline=true", "--no-pager",
                          f"--threshold={LIMIT - 1}", unit)
        if "unrecognized option" in result.stdout:
            skip("this systemd-analyze cannot look at unit files")
        # What it only warns of, a misspelt directive would be lost with.
        checked = analyzed("verify", "--man=no", unit)
    level = re.search(r"exposure level for \S+: ([0-9.]+)", result.stdout)
    unknown = [line for line in checked.stdout.splitlines()
               if os.path.basename(unit) in line and re.search(r"Unknown|Failed to parse", line)]
    if not level or float(level[1]) * 10 >= LIMIT or result.returncode != 0 or unknown:
        sys.exit("\n".join([result.stdout, *unknown]))
    print(f"exposure level {level[1]}")


main()
