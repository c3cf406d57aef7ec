#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Measures registering, replacing, listing and removing many providers, and prints the ratios with
their limits, or writes them into a file. Each provider has a class, an instance and a privilege
file.

usage: providers.py BUILD_DIR INSTALLED_SCHEMA_DIR [RESULT.json]"""

import json
import os
import shutil
import sqlite3
import subprocess
import sys

import table
from trees import Tree, fail, mount_own_disk, run

PROVIDERS = 1000
ROUNDS = 8
LISTINGS = 3
DISK_BYTES = 4 << 30

REGISTRATION = """instance of OpenWBEM_OOPProviderRegistration {{
    InstanceID = "sample:{name}"; Process = "/usr/lib/sample/provider"; Protocol = "owcpp1";
    ClassName = "Sample_{name}"; NamespaceNames = {{"sample"}}; ProviderTypes = {{1}};
    UserContext = 4;
}};
"""
MOF = """#pragma namespace("sample")
class Sample_{name} {{ [Key] string Id; string Text; uint32 Number; }};
instance of Sample_{name} {{ Id = "one"; Text = "the first"; Number = {number}; }};
"""
PRIVILEGES = "unpriv_user {{ nobody }}\nopen_r {{ /etc/sample/{name} }}\n"


class Providers:
    """A tree with the product "sample" and the files of many providers."""

    def __init__(self, build, schema, count):
        self.count = count
        self.tree = Tree(build, f"providers-{count}", schema)
        self.texts = os.path.join(self.tree.prefix, "texts")
        self.write_texts()
        run(self.tree.fennik("--register", "--name", "sample", "--username", "root"))
        run(self.tree.fennik("--register-namespace", "sample", "--name", "sample", "--username",
                             "root"))
        self.registered = []
        self.copies = [self.tree.prefix + ".saved"]
        shutil.rmtree(self.copies[0], ignore_errors=True)
        shutil.copytree(self.tree.prefix, self.copies[0], symlinks=True)

    def write_texts(self):
        os.makedirs(self.texts)
        lines = []
        for number in range(self.count):
            name = f"p{number:05}"
            for kind, text in (("reg", REGISTRATION), ("mof", MOF), ("priv", PRIVILEGES)):
                with open(f"{self.texts}/{name}.{kind}", "w", encoding="ascii") as out:
                    out.write(text.format(name=name, number=number))
            lines.append(f"oop1,texts/{name}.reg,texts/{name}.mof,texts/{name}.priv\n")
        self.list = os.path.join(self.tree.prefix, "list.txt")
        with open(self.list, "w", encoding="ascii") as out:
            out.writelines(lines)
        self.nothing = os.path.join(self.tree.prefix, "nothing.txt")
        with open(self.nothing, "w", encoding="ascii"):
            pass

    def reset(self):
        """What was used goes at the end only: removing it would be work for the disk."""
        self.put_aside()
        shutil.copytree(self.copies[0], self.tree.prefix, symlinks=True)
        os.sync()

    def put_aside(self):
        """Gives back where the tree is now, if there was one."""
        if not os.path.exists(self.tree.prefix):
            return None
        self.copies.append(f"{self.tree.prefix}.{len(self.copies)}")
        shutil.rmtree(self.copies[-1], ignore_errors=True)
        os.rename(self.tree.prefix, self.copies[-1])
        return self.copies[-1]

    def use(self, path):
        return run(self.tree.fennik("--register-providers", path, "--name", "sample"))[0]

    def listing(self):
        return self.tree.fennik("--list-providers", "--name", "sample")

    def register(self):
        """The seconds of registering all; the tree is put aside as it is then."""
        self.reset()
        seconds = self.use(self.list)
        self.registered.append(self.put_aside())
        return seconds

    def use_registered(self, number):
        """The seconds of listing all in such a tree, of replacing them by themselves and of removing
        them."""
        self.put_aside()
        os.rename(self.registered[number], self.tree.prefix)
        listed = min(run(self.listing())[0] for _ in range(LISTINGS))
        replaced = self.use(self.list)
        names = subprocess.run(self.listing(), check=True, stdout=subprocess.PIPE).stdout
        if names.count(b"\n") != self.count:
            fail(f"not all of the {self.count} providers are listed")
        removed = self.use(self.nothing)
        return listed, replaced, removed

    def row_sizes(self):
        """The sizes of the rows that registering adds to the repository."""
        self.reset()
        before = self.tables()
        self.use(self.list)
        added = []
        for table, sizes in self.tables().items():
            for size in before.get(table, []):
                sizes.remove(size)
            added += sizes
        return added

    def tables(self):
        path = os.path.join(self.tree.prefix, "var/opt/tarvo/kov/openwbem/repository/repository.db")
        connection = sqlite3.connect(f"file:{path}?mode=ro", uri=True)
        names = [row[0] for row in connection.execute(
            "SELECT name FROM sqlite_master WHERE type = 'table'")]
        sizes = {}
        for name in names:
            sizes[name] = [sum(size(value) for value in row)
                           for row in connection.execute(f'SELECT * FROM "{name}"')]
        connection.close()
        return sizes

    def least(self):
        """The milliseconds of creating the files, compiling the texts and inserting the rows."""
        sizes = os.path.join(self.tree.prefix, "row-sizes")
        rows = self.row_sizes()
        self.reset()
        with open(sizes, "w", encoding="ascii") as out:
            out.writelines(f"{row}\n" for row in rows)
        repository = os.path.join(self.tree.prefix, "var/opt/tarvo/kov/openwbem/repository")
        done = subprocess.run([self.tree.program("bench/provider_bench"), repository, self.texts,
                               sizes], check=True, stdout=subprocess.PIPE)
        return [float(word) for word in done.stdout.split()]

    def remove(self):
        for path in (self.tree.prefix, *self.copies):
            shutil.rmtree(path, ignore_errors=True)


def size(value):
    """The bytes that a value takes in a row."""
    if isinstance(value, (bytes, str)):
        return len(value if isinstance(value, bytes) else value.encode())
    return 0 if value is None else 8


def quickest(times):
    return [1000 * min(seconds) for seconds in zip(*times)]


def rows(build, schema):
    """What is measured, the measurement, the ratio, its limit and the unit."""
    once, twice = (Providers(build, schema, count) for count in (PROVIDERS, 2 * PROVIDERS))
    parts = once.least()
    least = sum(parts)
    # All registering comes before the first provider is removed.
    registered, registered2 = quickest(
        [(once.register(), twice.register()) for _ in range(ROUNDS)])
    listed, replaced, removed, listed2, replaced2, removed2 = quickest(
        [(*once.use_registered(number), *twice.use_registered(number)) for number in range(ROUNDS)])
    once.remove()
    twice.remove()

    def row(what, value, against, limit):
        return what, f"{value:.0f} ms / {against:.0f} ms", value / against, limit, ""

    return [
        row(f"register {PROVIDERS} providers / their parts", registered, least, 4.0),
        row(f"register {2 * PROVIDERS} / {PROVIDERS} providers", registered2, registered, 2.2),
        row(f"replace / register {PROVIDERS} providers", replaced, registered, 3.0),
        row(f"replace {2 * PROVIDERS} / {PROVIDERS} providers", replaced2, replaced, None),
        row(f"list {2 * PROVIDERS} / {PROVIDERS} providers", listed2, listed, 2.2),
        row(f"remove {2 * PROVIDERS} / {PROVIDERS} providers", removed2, removed, 2.2),
    ], parts


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    build, schema = (os.path.abspath(path) for path in sys.argv[1:3])
    mount_own_disk(build, DISK_BYTES)
    measured, parts = rows(build, schema)
    if len(sys.argv) == 4:
        with open(sys.argv[3], "w", encoding="ascii") as out:
            json.dump(measured, out)
        return 0
    print("the parts: files {:.1f} ms, compiling {:.1f} ms, rows {:.1f} ms".format(*parts))
    return 0 if table.show(measured) else 1


if __name__ == "__main__":
    sys.exit(main())
