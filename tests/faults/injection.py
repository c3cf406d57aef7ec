# SPDX-License-Identifier: Apache-2.0
"""Makes system calls fail, or kills at them, with strace: in the tool, in the programs that it
starts, and in the daemon that serves it."""

import os
import re
import shutil
import time
from dataclasses import dataclass

from installation import DATA, INIT, PATIENCE, WORK, must, run

TRACES = WORK + "/traces"
PID_FILE = DATA + "/owcimomd.pid"
# Who makes the call. A program that is called in several ways is watched in one of them.
TOOL, DAEMON = "fennik", "owcimomd"
PROGRAMS = {"cp": ("cp", "*"), "rm": ("rm", "*"), "init status": ("init", "status"),
            "init stop": ("init", "stop"), "init start": ("init", "start")}
# The calls that change something or that a change needs, and how they fail.
ERRORS = {
    "open": ("ENOSPC", "EACCES"), "openat": ("ENOSPC", "EACCES"),
    "write": ("ENOSPC", "EINTR"), "writev": ("ENOSPC",),
    "pwrite64": ("ENOSPC", "EIO"), "ftruncate": ("EIO",), "fallocate": ("ENOSPC",),
    "fsync": ("EIO",), "fdatasync": ("EIO",),
    "rename": ("EACCES",), "renameat": ("EACCES",), "renameat2": ("EACCES",),
    "unlink": ("EIO",), "unlinkat": ("EIO",), "rmdir": ("EIO",),
    "link": ("EIO",), "linkat": ("EIO",), "mkdir": ("ENOSPC",), "mkdirat": ("ENOSPC",),
    "chown": ("EIO",), "fchown": ("EIO",), "fchownat": ("EIO",), "lchown": ("EIO",),
    "chmod": ("EIO",), "fchmod": ("EIO",), "fchmodat": ("EIO",),
    "setxattr": ("ENOSPC",), "fsetxattr": ("ENOSPC",),
    "clone": ("ENOMEM",), "clone3": ("ENOMEM",), "vfork": ("ENOMEM",), "execve": ("EACCES",),
    "pipe2": ("EMFILE",), "wait4": ("EINTR",), "waitid": ("EINTR",), "poll": ("EINTR",),
    "socket": ("EMFILE",), "connect": ("EACCES", "EINTR"), "accept4": ("EMFILE",),
    "sendto": ("EPIPE", "EINTR"), "sendmsg": ("EPIPE", "EINTR"),
    "recvfrom": ("ECONNRESET", "EINTR"), "recvmsg": ("ECONNRESET", "EINTR"),
    "mmap": ("ENOMEM",), "brk": ("0",),
}
OPENING = ("open", "openat")
# Killing before these is killing between any two changes.
CHANGING = {"open", "openat", "write", "writev", "pwrite64", "ftruncate", "fallocate", "fsync",
            "fdatasync", "rename", "renameat", "renameat2", "unlink", "unlinkat", "rmdir", "link",
            "linkat", "mkdir", "mkdirat", "chown", "fchown", "fchownat", "chmod", "fchmod", "clone",
            "clone3", "wait4", "waitid", "sendto"}
KILL, TERM = "signal=KILL", "signal=TERM"
WRITING = re.compile(r"O_WRONLY|O_RDWR|O_CREAT|O_TRUNC")
# The tool's own work begins when it opens this. What is before it is the start of any program.
BEGINNING = "fennik.lock"


@dataclass(frozen=True)
class Fault:
    """The effect on the `number`-th such call of the program `target`, and, when `lasting`, on
    all later ones."""

    target: str
    call: str
    number: int
    effect: str
    lasting: bool = False

    def words(self):
        return ["-e", f"trace={self.call}", "-e",
                f"inject={self.call}:{self.effect}:when={self.number}{'+' if self.lasting else ''}"]

    def __str__(self):
        return (f"{self.target}: {self.call} {self.number}{'+' if self.lasting else ''} "
                f"{self.effect}")


def trace_of(target):
    return f"{TRACES}/{target.replace(' ', '-')}"


def put_programs_in_place():
    """Puts scripts in the place of the programs that the tool starts. They start the programs, under
    strace when watch() says so."""
    os.makedirs(TRACES)
    os.chmod(TRACES, 0o777)
    for name in ("cp", "rm", "init"):
        place = INIT if name == "init" else os.path.realpath(shutil.which(name))
        shutil.copy2(place, f"{WORK}/real-{name}")
        script = f"{WORK}/{name}"
        with open(script, "w", encoding="utf-8") as file:
            file.write(f"""#!/bin/sh
# {WORK}/{name}.watched has: the first argument, or *, and the words for strace.
if read -r first words <{WORK}/{name}.watched; then
    case $1 in
        $first) exec strace -D -f -qq -A $words {WORK}/real-{name} "$@" ;;
    esac
fi 2>/dev/null
exec {WORK}/real-{name} "$@"
""")
        os.chmod(script, 0o755)
        must(["mount", "--bind", script, place])


class Watched:
    """While it is entered, the program `target` runs under strace with `words`."""

    def __init__(self, target, words):
        self.target, self.words = target, ["-o", trace_of(target), *words]
        self.tracer = None

    def prefix(self):
        """What stands before the tool's command line."""
        return ["strace", "-qq", *self.words] if self.target == TOOL else []

    def __enter__(self):
        with open(trace_of(self.target), "w", encoding="utf-8"):
            os.chmod(trace_of(self.target), 0o666)
        if self.target in PROGRAMS:
            name, first = PROGRAMS[self.target]
            with open(f"{WORK}/{name}.watched", "w", encoding="utf-8") as file:
                file.write(" ".join([first, *self.words]) + "\n")
        elif self.target == DAEMON:
            self.attach()
        return self

    def attach(self):
        with open(PID_FILE, encoding="ascii") as file:
            pid = file.read().strip()
        self.tracer = os.posix_spawnp("strace", ["strace", "-f", "-qq", *self.words, "-p", pid],
                                      os.environ)
        deadline = time.monotonic() + PATIENCE
        while re.search(r"^TracerPid:\t0$", read(f"/proc/{pid}/status"), re.M):
            if time.monotonic() > deadline:
                raise RuntimeError("the daemon cannot be traced")
            time.sleep(0.005)

    def __exit__(self, *_):
        if self.target in PROGRAMS:
            os.unlink(f"{WORK}/{PROGRAMS[self.target][0]}.watched")
        elif self.tracer:
            os.kill(self.tracer, 15)
            os.waitpid(self.tracer, 0)


def read(path):
    with open(path, encoding="utf-8", errors="replace") as file:
        return file.read()


def run_watched(watched, operation, installation):
    with watched:
        result = run([*watched.prefix(), *operation.argv(installation)], operation.stdin)
        wait_for_programs()
        return result


def wait_for_programs():
    """Waits until the programs that the tool has started have ended; it may have been killed."""
    deadline = time.monotonic() + PATIENCE
    while left := [pid for pid in os.listdir("/proc") if pid.isdigit() and is_program(pid)]:
        if time.monotonic() > deadline:
            raise RuntimeError(f"does not end: {[words_of(pid) for pid in left]}")
        time.sleep(0.01)


def is_program(pid):
    return any(word in (f"{WORK}/real-cp", f"{WORK}/real-rm", f"{WORK}/real-init")
               for word in words_of(pid)[:3])


def words_of(pid):
    """The command line of a process, empty when it has ended."""
    try:
        return read(f"/proc/{pid}/cmdline").split("\0")
    except OSError:
        return []


def failing(fault, operation, installation):
    """Runs the operation with the fault. Returns the result, and the trace of the call, empty when
    no such call was made."""
    result = run_watched(Watched(fault.target, fault.words()), operation, installation)
    trace = read(trace_of(fault.target))
    hit = next((line for line in trace.splitlines() if "(INJECTED)" in line), "")
    if fault.effect in (KILL, TERM) and re.search(r"^(\d+ +)?(--- SIGTERM|\+\+\+ killed)", trace, re.M):
        hit = "\n".join(trace.splitlines()[-3:])
    return result, hit


def calls_of(target, operation, installation):
    """The calls of the target in a run without faults, as (call, number, trace line), in that
    order. A call of a program that forks has the number that it has in its process."""
    result = run_watched(Watched(target, ["-e", "trace=" + ",".join(ERRORS)]), operation,
                         installation)
    if result.status != 0:
        raise RuntimeError(f"{operation.name} failed: {result}")
    begun, counts, calls = target != TOOL, {}, {}
    for line in read(trace_of(target)).splitlines():
        match = re.match(r"(?:(\d+)\s+)?(\w+)\(", line)
        if not match or match[2] not in ERRORS:
            continue
        key = match[1], match[2]
        counts[key] = counts.get(key, 0) + 1
        begun = begun or BEGINNING in line
        if begun and not (match[2] in OPENING and not WRITING.search(line)):
            calls.setdefault((match[2], counts[key]), line)
    return [(call, number, line) for (call, number), line in calls.items()], result


def faults_of(target, calls):
    """The faults to inject into these calls."""
    for call, number, _ in calls:
        for error in ERRORS[call]:
            # A connection that breaks is one that the daemon has closed. It is made to do so itself.
            if target == TOOL and error == "ECONNRESET":
                continue
            # When brk fails, the kernel returns an address, and no error.
            yield Fault(target, call, number, ("retval=" if call == "brk" else "error=") + error)
    signals = {TOOL: (KILL, TERM), DAEMON: (KILL,)}.get(target, ())
    for call, number, _ in calls:
        for effect in signals if call in CHANGING else ():
            yield Fault(target, call, number, effect)
