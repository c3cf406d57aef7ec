# SPDX-License-Identifier: Apache-2.0
"""Cuts the power at random moments of a run: notes the changes that the tool, its programs and the
daemon make to files, does them again on a model of the disk up to one of them, and puts in place what
the model says is left then."""

import contextlib
import copy
import os
import random
import re
import signal
import threading
import time
from dataclasses import dataclass

from disk import Directory, Disk, File, Metadata
from injection import PID_FILE, TRACES, read, wait_for_programs
from installation import PATIENCE, PLACES, VOLATILE, Result, run
from operations import WRITTEN

TRACE = TRACES + "/changes"
# The calls that change files. One that Replay does not know ends the suite.
CALLS = ("open", "openat", "creat", "write", "writev", "pwrite64", "pwritev", "ftruncate", "truncate",
         "fallocate", "copy_file_range", "sendfile", "splice", "fsync", "fdatasync", "sync", "syncfs",
         "rename", "renameat", "renameat2", "unlink", "unlinkat", "rmdir", "link", "linkat", "symlink",
         "symlinkat", "mkdir", "mkdirat", "mknod", "mknodat")
EFFECT = "power cut"


@dataclass(frozen=True)
class PowerCut:
    """The `number`-th power cut of those that a seed makes."""

    seed: int
    number: int
    effect = EFFECT

    def __str__(self):
        return f"machine: {EFFECT} {self.number} of seed {self.seed}"


def text_of(hexadecimal):
    return bytes.fromhex(hexadecimal.replace("\\x", ""))


class Call:
    """A line of a trace: the call, its arguments as texts, and what it returned."""

    LINE = re.compile(r"\d+ +(\w+)\((.*)\) += (-?\d+)(?:<([^>]*)>)?")

    def __init__(self, match):
        self.name, arguments, result, path = match.groups()
        self.arguments = arguments.split(", ")
        self.result = int(result)
        self.opened = os.fsdecode(text_of(path)) if path else None

    def path(self, number):
        """The path that an argument names: a descriptor's, or a name below the descriptor before it."""
        descriptor = re.fullmatch(r"(?:\d+|AT_FDCWD)<([^>]*)>(\(deleted\))?", self.arguments[number])
        if descriptor:
            return os.fsdecode(text_of(descriptor[1])) + (descriptor[2] or "")
        name = os.fsdecode(self.data(number))
        below = self.path(number - 1) if number > 0 and "<" in self.arguments[number - 1] else "/"
        return os.path.normpath(os.path.join(below, name))

    def data(self, number):
        return text_of(self.arguments[number].strip('"'))

    def __str__(self):
        return f"{self.name} {self.opened or ''}"


def calls_in(trace):
    """The calls of a trace that succeeded, in the order in which they ended."""
    begun = {}
    for line in read(trace).splitlines():
        begin = re.match(r"(\d+) +(.*) <unfinished \.\.\.>$", line)
        if begin:
            begun[begin[1]] = begin[2]
            continue
        end = re.match(r"(\d+) +<\.\.\. \w+ resumed>(.*)", line)
        if end:
            line = f"{end[1]} {begun.pop(end[1])}{end[2]}"
        match = Call.LINE.match(line)
        if match and int(match[3]) >= 0:
            yield Call(match)


class Replay:
    """Does traced calls on a model of the disk."""

    SAME = {"openat": "open", "creat": "open", "fdatasync": "fsync", "renameat": "renameat2",
            "mkdirat": "mkdir"}

    def __init__(self, disk):
        self.disk, self.created = disk, []

    def do(self, call):
        """Does a call. Raises AttributeError for one that it does not know."""
        getattr(self, "do_" + self.SAME.get(call.name, call.name))(call)

    def enter(self, path, node):
        if node is not None:
            self.created.append(node)
        self.disk.enter(os.path.dirname(path), (os.path.basename(path), node))

    def file(self, call, number=0):
        """The file that an argument names; one that nobody sees when it is outside of the model."""
        node = self.disk.find(call.path(number))
        return node if isinstance(node, File) else File()

    def do_open(self, call):
        flags = ",".join(call.arguments)
        node = self.disk.find(call.opened)
        if node is None and "O_CREAT" in flags:
            self.enter(call.opened, File())
        elif isinstance(node, File) and "O_TRUNC" in flags:
            node.change(0, None)

    def do_write(self, call):
        # Without an offset, files are written from their beginning or at their end.
        file = self.file(call)
        file.change(len(file.now), call.data(1)[:call.result])

    def do_pwrite64(self, call):
        self.file(call).change(int(call.arguments[3]), call.data(1)[:call.result])

    def do_copy_file_range(self, call):
        source, target = self.file(call, 0), self.file(call, 2)
        begin = len(target.now)
        target.change(begin, bytes(source.now[begin:begin + call.result]))

    def do_ftruncate(self, call):
        self.file(call).change(int(call.arguments[1]), None)

    def do_fsync(self, call):
        node = self.disk.find(call.path(0))
        if node is not None:
            node.sync()

    def do_unlink(self, call):
        self.enter(call.path(0), None)

    def do_unlinkat(self, call):
        self.enter(call.path(1), None)

    def do_mkdir(self, call):
        self.enter(call.path(len(call.arguments) - 2), Directory())

    def do_rename(self, call):
        self.rename(call.path(0), call.path(1))

    def do_renameat2(self, call):
        self.rename(call.path(1), call.path(3))

    def rename(self, source, target):
        directory = os.path.dirname(source)
        assert directory == os.path.dirname(target), f"{source} is moved to {target}"
        node = self.disk.find(source)
        self.disk.enter(directory, (os.path.basename(source), None), (os.path.basename(target), node))

    def do_linkat(self, call):
        node, target = self.disk.find(call.path(1)), call.path(3)
        self.disk.enter(os.path.dirname(target), (os.path.basename(target), node))


class PowerCuts:
    """The calls of a run of an operation, which is about to begin, to cut the power between them."""

    def __init__(self, operation, installation):
        self.before = Disk([installation.prefix + place for place in PLACES] + [WRITTEN])
        self.result = self.trace(operation, installation)
        self.calls = list(calls_in(TRACE))
        after, created = self.replayed(len(self.calls))
        compare(after)
        paths = {id(node): path for path, node in after.paths().items()}
        self.metadata = [Metadata(paths[id(node)]) if id(node) in paths else None for node in created]

    @staticmethod
    def trace(operation, installation):
        words = ["strace", "-D", "-I1", "-f", "-y", "-qq", "-xx", "-s", "100000000", "-o", TRACE, "-e",
                 "trace=" + ",".join(CALLS)]
        if not installation.prefix:
            words += ["-p", read(PID_FILE).strip()]
        result = run([*words, *operation.argv(installation)], operation.stdin,
                     meanwhile=lambda child: threading.Thread(target=end_tracing_after, args=[child]))
        wait_for_programs()
        return result

    def replayed(self, count):
        """A model after so many of the calls, and what they have created."""
        replay = Replay(copy.deepcopy(self.before))
        for call in self.calls[:count]:
            replay.do(call)
        return replay.disk, replay.created

    def cut(self, power_cut, *_):
        """Puts in place what a power cut leaves. Returns a result as of a run that was killed, or of
        the whole run, and what was called last."""
        choice = random.Random(str(power_cut))
        # One in five is after the end, when everything must be there.
        count = len(self.calls) if choice.random() < 0.2 else choice.randrange(len(self.calls))
        disk, created = self.replayed(count)
        for node, metadata in zip(created, self.metadata):
            node.metadata = metadata
        disk.write_after_cut(choice)
        if count == len(self.calls):
            return self.result, "the end"
        return Result(-signal.SIGKILL, "", ""), f"call {count} of {len(self.calls)}: {self.calls[count]}"


def end_tracing_after(child):
    """strace has the child's standard output open, too, as long as it traces the daemon."""
    child.wait()
    deadline = time.monotonic() + PATIENCE
    while tracers := [pid for pid in os.listdir("/proc") if pid.isdigit() and name_of(pid) == "strace"]:
        if time.monotonic() > deadline:
            raise RuntimeError("strace does not end")
        for pid in tracers:
            with contextlib.suppress(ProcessLookupError):  # it has just ended
                os.kill(int(pid), signal.SIGTERM)
        time.sleep(0.01)


def name_of(pid):
    try:
        return read(f"/proc/{pid}/comm").strip()
    except OSError:
        return ""  # it has just ended


def compare(disk):
    """Raises RuntimeError when the model, with every call done, is not what is in place."""
    found = Disk(disk.roots).paths()
    for path, node in disk.paths().items():
        real = found.pop(path, None)
        if os.path.basename(path) not in VOLATILE and (
                real is None or isinstance(node, File) and node.now != real.now):
            raise RuntimeError(f"the model is wrong about {path}")
    if any(os.path.basename(path) not in VOLATILE for path in found):
        raise RuntimeError(f"the model does not know {sorted(found)}")
