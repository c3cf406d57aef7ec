#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks that debian/control and scripts/bootstrap name the same packages that building needs, and that
debian/changelog has the version of CMakeLists.txt.

    dependencies_test.py SOURCE_DIR
"""
import pathlib
import re
import sys

SOURCE = pathlib.Path(sys.argv[1])
# Every Debian machine that builds packages has it.
ESSENTIAL = {"g++"}
# scripts/bootstrap --package installs it.
OF_PACKAGES = {"debhelper-compat"}


def text(name):
    return (SOURCE / name).read_text(encoding="utf-8")


def found(pattern, name):
    match = re.search(pattern, text(name), re.S | re.M)
    if match is None:
        sys.exit(f"{name}: there is no {pattern}")
    return match.group(1)


def main():
    bootstrap = set(found(r"# building\n(.*?)# testing", "scripts/bootstrap").split()) - ESSENTIAL
    control = found(r"^Build-Depends:(.*?)^\S", "debian/control")
    control = {entry.split()[0] for entry in control.split(",")} - OF_PACKAGES
    failures = [f"only scripts/bootstrap names {name}" for name in sorted(bootstrap - control)]
    failures += [f"only debian/control names {name}" for name in sorted(control - bootstrap)]
    version = found(r"^project\(fennik VERSION (\S+)", "CMakeLists.txt")
    packaged = found(r"\Afennik \(([^)]*)\)", "debian/changelog")
    if packaged != version:
        failures.append(f"debian/changelog has version {packaged}, CMakeLists.txt {version}")
    print(f"{len(bootstrap)} packages, version {version}", *failures, sep="\n")
    return bool(failures) or not bootstrap


sys.exit(main())
