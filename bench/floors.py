# SPDX-License-Identifier: Apache-2.0
"""Lower bounds for the cost of an operation: writing and syncing again what it has written."""

import os
import sqlite3
import subprocess
import time
from collections import Counter
from typing import NamedTuple

from programs import INIT, LIVE, PLACES, run


class Written(NamedTuple):
    """The sizes of rows and files, in bytes."""
    rows: list
    files: list


def written(before, after):
    """What has been added to the installation `after` since it was a copy of `before`."""
    new = files(after)
    for path, content in files(before).items():
        if new.get(path) == content:
            del new[path]
    return Written(sorted((row_sizes(after) - row_sizes(before)).elements()),
                   [len(content) for content in new.values()])


def files(installation):
    """The content of each file outside the repository, by its path below the prefix."""
    contents = {}
    for place in PLACES:
        for directory, _, names in os.walk(f"{installation.prefix}/{place}"):
            for path in (os.path.join(directory, name) for name in names):
                if directory != installation.repository and os.path.isfile(path):
                    with open(path, "rb") as file:
                        contents[os.path.relpath(path, installation.prefix)] = file.read()
    return contents


def row_sizes(installation):
    """The number of rows of each size, over all tables."""
    database = sqlite3.connect(f"file:{installation.repository}/repository.db?mode=ro", uri=True)
    tables = [name for (name,) in
              database.execute("SELECT name FROM sqlite_master WHERE type = 'table'")]
    sizes = Counter(sum(map(size, row)) for table in tables
                    for row in database.execute(f'SELECT * FROM "{table}"'))
    database.close()
    return sizes


def size(value):
    """The size of a value in a row, in bytes."""
    if isinstance(value, str):
        return len(value.encode())
    return 0 if value is None else len(value) if isinstance(value, bytes) else 8


def write_again(parts, directory):
    """Writes `parts` into a new directory: the rows in one transaction, then each file, synced by
    itself, then the directory's sync. Returns the seconds."""
    os.makedirs(directory)
    os.sync()
    start = time.perf_counter()
    database = sqlite3.connect(directory + "/rows.db", isolation_level=None)
    database.execute("PRAGMA synchronous=FULL")
    database.execute("BEGIN")
    database.execute("CREATE TABLE objects(id INTEGER PRIMARY KEY, data BLOB)")
    database.executemany("INSERT INTO objects(data) VALUES(zeroblob(?))",
                         [(row,) for row in parts.rows])
    database.execute("COMMIT")
    database.close()
    for number, length in enumerate(parts.files):
        handle = os.open(f"{directory}/{number}", os.O_WRONLY | os.O_CREAT | os.O_EXCL)
        os.write(handle, bytes(length))
        os.fsync(handle)
        os.close(handle)
    sync(directory)
    return time.perf_counter() - start


def sync(path):
    handle = os.open(path, os.O_RDONLY)
    os.fsync(handle)
    os.close(handle)


def copy_and_remove():
    """Copies the live repository, syncs the copy and removes it. Returns the seconds."""
    copy = LIVE.repository + ".bench"
    os.sync()
    start = time.perf_counter()
    subprocess.run(["cp", "-pR", LIVE.repository, copy], check=True)
    for entry in os.scandir(copy):
        sync(entry.path)
    subprocess.run(["rm", "-rf", copy], check=True)
    return time.perf_counter() - start


def restart():
    """Stops and starts the daemon. Returns the seconds."""
    return run([INIT, "stop"]).wall + run([INIT, "start"]).wall
