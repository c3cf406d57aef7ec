#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks that every room includes only what its target links, directly or through others.

A static library with an include upwards also builds if it uses headers only. Prints each include
that breaks the rule, and ends with 1 if there is one.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1])
HOUSES = ("fennik", "owcimomd", "platform", "utilities")


def targets():
    """Yields each library with its folder and the libraries that it links."""
    for house in HOUSES:
        for path in sorted((ROOT / house).rglob("CMakeLists.txt")):
            text = path.read_text()
            for name, body in re.findall(r"(?:kov_room|add_library)\((\S+)([^)]*)\)", text):
                links = re.search(r"\sLINKS([^)]*)", body)
                words = links.group(1).split() if links else []
                for more in re.findall(rf"target_link_libraries\({name}\s([^)]*)\)", text):
                    words += more.split()
                yield path.parent.relative_to(ROOT), name, words


def main():
    folders, links = {}, {}
    for folder, name, words in targets():
        folders.setdefault(folder, set()).add(name)
        links[name] = words

    def reach(names, seen):
        for name in names:
            if name in links and name not in seen:
                seen.add(name)
                reach(links[name], seen)
        return seen

    failures = []
    for folder, names in folders.items():
        below = reach(names, set())
        for source in sorted((ROOT / folder).glob("*.?pp")):
            for included in re.findall(r'^#include "(.+)/[^/"]+"', source.read_text(), re.M):
                for room in (pathlib.Path(included), pathlib.Path("platform", included)):
                    if room in folders and not folders[room] & below:
                        failures.append(f"{source.relative_to(ROOT)} includes {included}")
    print(f"{len(folders)} rooms", *failures, sep="\n")
    return bool(failures) or not folders


sys.exit(main())
