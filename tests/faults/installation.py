# SPDX-License-Identifier: Apache-2.0
"""The installations that operations are made to fail in: the live one, with its daemon running, and
one staged below a prefix. Their whole state, saved, put back and compared.

For use inside scripts/sandbox."""

import hashlib
import os
import shutil
import signal
import sqlite3
import stat
import subprocess
import threading
from dataclasses import dataclass

PROGRAMS = "/opt/tarvo/kov"
FENNIK = PROGRAMS + "/bin/fennik"
INIT = PROGRAMS + "/sbin/tarvo-owcimomd_init"
WORK = "/var/opt/tarvo/faults"
# An operation that takes longer hangs.
PATIENCE = 30
# The state of an installation, below its prefix.
PLACES = ("/etc/opt/tarvo/kov", "/var/opt/tarvo/kov")
DATA = "/var/opt/tarvo/kov/openwbem"
REPOSITORY = DATA + "/repository"
# What differs from run to run, and what a daemon leaves that was killed. A journal holds nothing any
# more once the rows can be read.
VOLATILE = ("fennik.lock", "owcimomd.log", "owcimomd.pid", "owcimomd.sock", "repository.db-journal")
NOT_RUNNING = 3


@dataclass
class Result:
    """The status of a run (None when it hung), and what it wrote to standard output and error."""

    status: int
    out: str
    err: str


def is_sanitized():
    """Whether the programs were built with the sanitizers. Their memory is mostly the sanitizers'."""
    with open(FENNIK, "rb") as file:
        return b"__ubsan" in file.read()


def run(argv, stdin="", patience=PATIENCE, meanwhile=None, **options):
    """Runs a command for at most `patience` seconds, and beside it the thread that `meanwhile` makes
    for its process."""
    child = subprocess.Popen(argv, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, text=True, errors="surrogateescape", start_new_session=True,
                             **options)
    beside = meanwhile(child) if meanwhile else threading.Thread()
    beside.start()
    try:
        out, err = child.communicate(stdin, timeout=patience)
        return Result(child.returncode, out, err)
    except subprocess.TimeoutExpired:
        os.killpg(child.pid, signal.SIGKILL)  # strace and what it traces
        out, err = child.communicate()
        return Result(None, out, err)
    finally:
        beside.join()


def must(argv, stdin="", **options):
    result = run(argv, stdin, **options)
    if result.status != 0:
        raise RuntimeError(f"{' '.join(argv)} failed: {result}")
    return result


def describe(path):
    """Type, mode, owner, links, extended attributes (ACLs among them) and content of a file."""
    info = os.lstat(path)
    text = f"{info.st_mode:o} {info.st_uid}:{info.st_gid}"
    if not stat.S_ISDIR(info.st_mode):
        text += f" {info.st_nlink}"
    for name in sorted(os.listxattr(path, follow_symlinks=False)):
        text += f" {name}={os.getxattr(path, name, follow_symlinks=False).hex()}"
    if os.path.islink(path):
        return text + " -> " + os.readlink(path)
    if os.path.isfile(path):
        with open(path, "rb") as file:
            return text + " " + hashlib.sha256(file.read()).hexdigest()
    return text


def rows(file):
    """The rows of a repository file as SQL text. Raises sqlite3.Error when it is damaged."""
    connection = sqlite3.connect(f"file:{file}?mode=ro", uri=True)
    try:
        found = [row for (row,) in connection.execute("PRAGMA integrity_check")]
        if found != ["ok"]:
            raise sqlite3.DatabaseError(f"{file}: {found}")
        return list(connection.iterdump())
    finally:
        connection.close()


class Installation:
    """One staged below `prefix`."""

    name = "staged"

    def __init__(self, prefix=WORK + "/stage"):
        self.prefix = prefix

    def fennik(self, *arguments):
        return [FENNIK, "--kov-build-system-dest-dir", self.prefix, *arguments]

    def begin(self):
        """Gets ready for an operation."""

    def settle(self):
        """Ends what runs, and lets the tool open the repository, which completes or takes back what
        was interrupted. Returns whether the daemon ran; here there is none."""
        run(self.fennik("--list-registered-products"))
        return False

    def state(self):
        """A description of each file, and the rows of the repository. Nothing may run."""
        found = {}
        for place in PLACES:
            for parent, directories, files in os.walk(self.prefix + place):
                for name in [*directories, *files]:
                    path = os.path.join(parent, name)
                    if name not in VOLATILE:
                        found[path[len(self.prefix):]] = describe(path)
        file = f"{self.prefix}{REPOSITORY}/repository.db"
        if os.path.exists(file):
            # Rows that were undone may leave other bytes.
            found[REPOSITORY + "/repository.db"] = describe(file).rpartition(" ")[0]
            found["rows"] = rows(file)
        return found

    def save(self, name):
        """Saves the state under that name for put_back()."""
        for place in PLACES:
            target = f"{WORK}/saved/{self.name}/{name}{place}"
            os.makedirs(os.path.dirname(target), exist_ok=True)
            must(["cp", "-a", self.prefix + place, target])

    def put_back(self, name):
        for place in PLACES:
            shutil.rmtree(self.prefix + place)
            must(["cp", "-a", f"{WORK}/saved/{self.name}/{name}{place}", self.prefix + place])


class Live(Installation):
    """The installation of the machine; its daemon runs before each operation."""

    name = "live"

    def __init__(self):
        super().__init__("")

    def fennik(self, *arguments):
        return [FENNIK, *arguments]

    def begin(self):
        must([INIT, "start"])

    def settle(self):
        status = run([INIT, "status"]).status
        stopped = run([INIT, "stop"])
        if status == 0 and stopped.status != 0:
            raise RuntimeError(f"the daemon cannot be stopped: {stopped}")
        super().settle()
        return status == 0
