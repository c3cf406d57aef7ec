# SPDX-License-Identifier: Apache-2.0
"""Runs a command at a terminal of its own.

usage: terminal.py COMMAND [ARGUMENT...]

Reads pairs of lines from standard input, "EXPECT" and "SEND": waits until the terminal shows the
first, then types the second, in Python's notation and without an end of line. Prints what the
terminal showed, and then a line with the command's status (-N: ended by the signal N) and whether
the terminal echoes again."""

import ast
import contextlib
import fcntl
import os
import pty
import sys
import termios

def read_more(terminal):
    with contextlib.suppress(OSError):  # the end of a terminal
        return os.read(terminal, 65536)
    return b""


def converse(terminal, pairs):
    """Returns everything that was shown."""
    shown = b""
    for expected, answer in pairs:
        start = len(shown)
        while expected not in shown[start:]:
            piece = read_more(terminal)
            if not piece:
                return shown
            shown += piece
        os.write(terminal, answer)
    while piece := read_more(terminal):
        shown += piece
    return shown


def main():
    lines = [ast.literal_eval(f"'{line}'").encode() for line in sys.stdin.read().splitlines()]
    # This process keeps the other side open, to ask the terminal when the command is gone.
    ours, theirs = pty.openpty()
    child = os.fork()
    if child == 0:
        os.close(ours)
        os.setsid()
        fcntl.ioctl(theirs, termios.TIOCSCTTY, 0)
        for stream in range(3):
            os.dup2(theirs, stream)
        os.execvp(sys.argv[1], sys.argv[1:])
    watcher = os.fork()
    if watcher == 0:
        os.close(theirs)
        sys.stdout.buffer.write(converse(ours, list(zip(lines[::2], lines[1::2]))))
        sys.stdout.flush()
        os._exit(0)
    _, status = os.waitpid(child, 0)
    echoes = bool(termios.tcgetattr(theirs)[3] & termios.ECHO)
    os.close(theirs)
    os.waitpid(watcher, 0)
    print(f"\nstatus {os.waitstatus_to_exitcode(status)}, {'echo' if echoes else 'no echo'}")


main()
