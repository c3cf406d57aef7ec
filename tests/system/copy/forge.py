#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Changes the repository like an attacker who has taken over the daemon's account. Writes correct
formats (docs/repository-format.md) and checksums.

usage: forge.py REPOSITORY.DB journal PATH    a hot journal that names PATH as its super-journal
       forge.py REPOSITORY.DB sql STATEMENT   changes the file
       forge.py REPOSITORY.DB logged          says in the header that there is a log beside it
       forge.py REPOSITORY.DB log STATEMENT   changes the file by a write-ahead log beside it
       forge.py REPOSITORY.DB exchange OTHER  exchanges its directory for OTHER and back, for ever"""

import ctypes
import errno
import os
import sqlite3
import struct
import sys

PAGE = 4096
MULTIPLIER = 0x9E3779B97F4A7C15
WORD = (1 << 64) - 1
JOURNAL_MAGIC = bytes.fromhex("d9d505f920a163d7")


def step(total, word):
    product = ((total ^ word) * MULTIPLIER) & WORD
    return ((product << 29) | (product >> 35)) & WORD


def page_checksum(page, offset):
    lanes = [((offset + 1) * MULTIPLIER) & WORD] * 4
    for i, (word,) in enumerate(struct.iter_unpack("<Q", page[: PAGE - 8])):
        lanes[i % 4] = step(lanes[i % 4], word)
    total = 0
    for lane in lanes:
        total = step(total, lane)
    return struct.pack("<Q", total)


def with_checksums(content):
    pages = (content[at : at + PAGE] for at in range(0, len(content), PAGE))
    return b"".join(p[: PAGE - 8] + page_checksum(p, i * PAGE) for i, p in enumerate(pages))


def read(path):
    with open(path, "rb") as file:
        return file.read()


def write(path, content):
    with open(path, "wb") as file:
        file.write(content)


def journal(path, other):
    """Writes a journal without pages that ends with the name of the other file."""
    name = other.encode()
    pages = os.path.getsize(path) // PAGE
    begin = (JOURNAL_MAGIC + struct.pack(">5I", 0, 7, pages, 512, PAGE)).ljust(512, b"\0")
    end = struct.pack(">I", 0) + name + struct.pack(">2I", len(name), sum(name)) + JOURNAL_MAGIC
    write(path + "-journal", begin + end)


def sql(path, statements):
    database = sqlite3.connect(path)
    database.executescript(statements)
    database.close()
    write(path, with_checksums(read(path)))


def logged(path):
    content = bytearray(read(path))
    content[18:20] = b"\2\2"
    write(path, with_checksums(bytes(content)))


def log(path, statements):
    before = read(path)
    database = sqlite3.connect(path)
    database.execute("PRAGMA journal_mode=WAL")
    database.executescript(statements)
    frames = read(path + "-wal")
    database.close()
    write(path, before)
    logged(path)
    write(path + "-wal", frames)


def exchange(path, other):
    libc = ctypes.CDLL(None, use_errno=True)
    ours, theirs = os.path.dirname(path).encode(), other.encode()
    here, exchanging = -100, 2
    # While a swap is between its renames there is no repository to exchange.
    while (libc.renameat2(here, ours, here, theirs, exchanging) == 0
           or ctypes.get_errno() == errno.ENOENT):
        pass
    sys.exit("cannot be exchanged: " + os.strerror(ctypes.get_errno()))


if __name__ == "__main__":
    {"journal": journal, "sql": sql, "logged": logged, "log": log,
     "exchange": exchange}[sys.argv[2]](sys.argv[1], *sys.argv[3:])
