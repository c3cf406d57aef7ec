# SPDX-License-Identifier: Apache-2.0
"""What the account owcimomd, or a local user, can put in the way of root: the names that root works on in
places which they can write, taken from traces, and what is planted there.

For use inside scripts/sandbox."""

import ctypes
import os
import pwd
import re
import shutil
import signal
import socket
import subprocess

from installation import DATA, REPOSITORY, WORK, describe, must, run
from next_run import BACKUP, COPY

OUTSIDE = WORK + "/outside"
ASIDE = WORK + "/aside"
TRACE = WORK + "/names.trace"
# Calls with names, also those that only look whether something is there and would open it.
CALLS = "%file,connect,bind"
NAME = re.compile(r'(?:(?:AT_FDCWD|\d+)<([^<>]*)>, |sun_path=)?"((?:[^"\\]|\\.)*)"')
NEIGHBOURS = ("owcimomd", "nobody")
EXCHANGE = 2
AT_FDCWD = -100


def can_write(user, directory):
    """Whether the user may create and rename names in the directory, by its owner, mode and ACL."""
    return run(["setpriv", f"--reuid={user}", f"--regid={pwd.getpwnam(user).pw_gid}",
                "--clear-groups", "test", "-w", directory, "-a", "-x", directory]).status == 0


def traced(argv, stdin):
    """Runs the command. Returns the absolute paths that its calls name, and its output. Its children are
    not root."""
    result = run(["strace", "-qq", "-y", "-s", "4096", "-e", "trace=" + CALLS, "-o", TRACE, *argv],
                 stdin)
    if result.status != 0:
        raise RuntimeError(f"{argv}: {result}")
    with open(TRACE, encoding="utf-8", errors="surrogateescape") as lines:
        return {os.path.normpath(os.path.join(directory or "/", name))
                for line in lines for directory, name in NAME.findall(line) if name}, result.out


def within_reach(paths):
    """The names among the paths and their directories that a neighbour can replace, sorted."""
    found, judged = set(), {}
    for path in paths:
        while path != "/":
            parent = os.path.dirname(path)
            if parent not in judged:
                judged[parent] = os.path.isdir(parent) and any(
                    can_write(user, parent) for user in NEIGHBOURS)
            if judged[parent]:
                found.add(path)
            path = parent
    return sorted(found)


def link_to(target):
    return lambda path: os.symlink(target, path)


def write_garbage(path):
    with open(path, "wb") as file:
        # The head of a journal, with nothing sensible behind it.
        file.write(bytes.fromhex("d9d505f920a163d7") + os.urandom(8192))


def make_socket(path):
    with socket.socket(socket.AF_UNIX) as listening:
        listening.bind(path)


def make_directory(path):
    os.mkdir(path)
    with open(path + "/something", "w", encoding="utf-8") as file:
        file.write("in the way\n")


KINDS = {
    "link to a file": link_to(OUTSIDE + "/file"),
    "link to a directory": link_to(OUTSIDE + "/directory"),
    "hard link": lambda path: os.link(OUTSIDE + "/file", path),
    "FIFO": os.mkfifo,
    "socket": make_socket,
    "device": lambda path: os.mknod(path, 0o020666, os.makedev(1, 5)),  # /dev/zero never ends
    "directory": make_directory,
    "garbage": write_garbage,
}


def make_outside(repository):
    """Makes what must not be touched: copies of the repository, so that they would be of use."""
    shutil.rmtree(OUTSIDE, ignore_errors=True)
    shutil.copytree(repository, OUTSIDE + "/directory")
    shutil.copy2(repository + "/repository.db", OUTSIDE + "/file")
    for path in (OUTSIDE, OUTSIDE + "/directory"):
        os.chmod(path, 0o755)


def outside():
    """The state of what must not be touched. Hard links come and go."""
    found = {}
    for parent, directories, files in os.walk(OUTSIDE):
        for name in [*directories, *files, "."]:
            path = os.path.join(parent, name)
            text = describe(path)
            if os.path.isfile(path):
                mode, owner, _, rest = text.split(" ", 3)
                text = " ".join((mode, owner, rest))
            found[path] = f"{text} {os.lstat(path).st_mtime_ns}"
    return found


class Planted:
    """While it is entered, the thing stands at the path. What stood there returns afterwards, unless the
    thing was replaced or removed by then."""

    def __init__(self, kind, path):
        self.kind, self.path = kind, path
        self.had = os.path.lexists(path)

    def __enter__(self):
        if self.had:
            os.rename(self.path, ASIDE)
        KINDS[self.kind](self.path)
        if self.kind != "hard link":
            give_to_account(self.path)
        self.identity = identity(self.path)
        return self

    def __exit__(self, *_):
        if identity(self.path) == self.identity:
            remove(self.path)
        if self.had and not os.path.lexists(self.path):
            os.rename(ASIDE, self.path)
        remove(ASIDE)


def give_to_account(path):
    """The tool trusts links of root's."""
    account = pwd.getpwnam("owcimomd")
    os.chown(path, account.pw_uid, account.pw_gid, follow_symlinks=False)


def identity(path):
    return (os.lstat(path).st_dev, os.lstat(path).st_ino) if os.path.lexists(path) else None


def remove(path):
    if os.path.isdir(path) and not os.path.islink(path):
        shutil.rmtree(path)
    elif os.path.lexists(path):
        os.unlink(path)


class Exchanging:
    """While it is entered, the account exchanges the repository's directory, its copy and its backup again
    and again with a link to the outside, or with another directory."""

    def __init__(self, linked):
        self.linked, self.child = linked, None
        self.other = DATA + "/other"

    def __enter__(self):
        remove(self.other)
        if self.linked:
            os.symlink(OUTSIDE + "/directory", self.other)
            give_to_account(self.other)
        else:
            must(["cp", "-a", REPOSITORY, self.other])
        self.child = os.fork()
        if self.child == 0:
            try:
                self.exchange()
            finally:
                os._exit(1)
        return self

    def exchange(self):
        library = ctypes.CDLL(None)
        account = pwd.getpwnam("owcimomd")
        os.setgroups([])
        os.setgid(account.pw_gid)
        os.setuid(account.pw_uid)
        directories = [path.encode() for path in (REPOSITORY, COPY, BACKUP)]
        while True:
            for one in directories:
                library.renameat2(AT_FDCWD, one, AT_FDCWD, self.other.encode(), EXCHANGE)
                library.usleep(300)

    def __exit__(self, *_):
        os.kill(self.child, signal.SIGKILL)
        os.waitpid(self.child, 0)


def end_daemons():
    """Ends the daemons of this sandbox, whatever became of their pid file."""
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            if os.readlink(f"/proc/{pid}/exe").endswith("/owcimomd"):
                os.kill(int(pid), signal.SIGKILL)
        except OSError:
            continue  # it has just ended
