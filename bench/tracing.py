# SPDX-License-Identifier: Apache-2.0
"""Observes the daemon, and what a run writes: counts, with strace, the bytes written to files and
the syncs of a command, of the commands that it starts and of the daemon."""

import os
import re
import signal
import subprocess
import time

from programs import STATE, WORK, fail

SYNCS = ("fsync", "fdatasync", "syncfs", "sync", "sync_file_range")
WRITES = ("write", "pwrite64", "writev", "pwritev", "pwritev2", "copy_file_range", "sendfile")
PID_FILE = f"/{STATE}/openwbem/owcimomd.pid"
CALL = re.compile(r"(\d+) +(<\.\.\. )?(\w+)")
# The target is the first descriptor; copying has a source and its offset before it.
TARGET = re.compile(r"^[^(]*\((?:\d+<[^>]*>, (?:NULL|\[\d+\]), )?\d+<([^>]*)>")
RESULT = re.compile(r"= (\d+)$")


def daemon_pid():
    """The daemon's process id; None when it is not running."""
    try:
        with open(PID_FILE, encoding="ascii") as text:
            pid = int(text.read())
        os.kill(pid, 0)
        return pid
    except (FileNotFoundError, ProcessLookupError):
        return None


def daemon_memory():
    """The daemon's peak memory so far, in bytes."""
    with open(f"/proc/{daemon_pid()}/status", encoding="ascii") as status:
        return 1024 * next(int(line.split()[1]) for line in status if line.startswith("VmHWM"))


def is_file(target):
    return target.startswith("/") and not target.startswith(("/dev/", "/proc/"))


def count(lines):
    """The bytes and the syncs in a trace. A call that is interrupted by another process has two
    lines: the first has the target, the second the result."""
    written, syncs, targets = 0, 0, {}
    for line in lines:
        call = CALL.match(line)
        if not call:
            continue
        pid, resumed, name = call.groups()
        if name in SYNCS:
            syncs += not resumed
        elif name in WRITES:
            target = targets.pop(pid, None) if resumed else TARGET.search(line)
            result = RESULT.search(line.rstrip())
            if not result:
                targets[pid] = target
            elif target and is_file(target[1]):
                written += int(result[1])
    return written, syncs


def traced(argv):
    """Runs a command. Returns the bytes that it writes and its syncs."""
    trace, done, failed = (f"{WORK}/trace{ending}" for ending in ("", ".done", ".failed"))
    for path in (done, failed):
        if os.path.exists(path):
            os.remove(path)
    daemon = daemon_pid()
    strace = subprocess.Popen(
        ["strace", "-f", "-I", "2", "-y", "-qq", "-s", "0", "-e",
         "trace=" + ",".join(SYNCS + WRITES), "-e", "signal=none", "-o", trace,
         *(["-p", str(daemon)] if daemon else []),
         "sh", "-c", 'if "$@"; then : >"$0.done"; else : >"$0.failed"; fi', trace, *argv],
        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
    # strace does not end by itself while the daemon runs.
    while strace.poll() is None and not os.path.exists(done) and not os.path.exists(failed):
        time.sleep(0.01)
    strace.send_signal(signal.SIGINT)
    strace.wait()
    if not os.path.exists(done):
        fail(f"{' '.join(argv)} failed, or cannot be traced here")
    with open(trace, encoding="ascii", errors="replace") as lines:
        return count(lines)
