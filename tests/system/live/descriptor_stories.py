# SPDX-License-Identifier: Apache-2.0
"""Attackers pass descriptors of a socket whose close takes a minute through the local socket: a
user who may not connect to the daemon, and the account of the daemon to root's programs. Each story
runs with the machine's kernel, and with one that cannot refuse descriptors."""

import os
import shutil
import sys

from harness import NOBODY
from live import AS_ACCOUNT, DAEMON, INIT, PID_FILE, STATE, LiveStory

ATTACK = f"{sys.executable} {os.path.dirname(os.path.abspath(__file__))}/attack.py"
AS_STRANGER = f"setpriv --reuid={NOBODY} --regid={NOBODY} --clear-groups --"
SOCKET = f"{STATE}/owcimomd.sock"
KINDS = ("first", "behind", "out-of-band", "out-of-band-behind")
# Seconds; well below the minute.
SOON = 25

# An older kernel does not know the first of the two options that a socket gets.
OLD_KERNEL = "strace -f -qq -o /dev/null -e inject=setsockopt:error=ENOPROTOOPT:when=1+2"


def wait_for(what):
    return f"for i in $(seq 600); do {what} && break; sleep 0.05; done"


class Descriptors(LiveStory):
    def setUp(self):
        super().setUp()
        self.need_daemon()

    def need_strace(self):
        if shutil.which("strace") is None:
            self.skipTest("strace is not installed")

    def served_while_attacked(self, start, stop):
        """The statuses of commands during the attack and of `stop`, and the attack's output."""
        out = self.shell(
            f"""{start}
            {AS_STRANGER} {ATTACK} pass {SOCKET} {" ".join(KINDS)} >{self.root}/attack.out &
            attacker=$!
            {wait_for(f'grep -q ready {self.root}/attack.out')}
            for i in 1 2 3; do
                timeout {SOON} {DAEMON} --ping; echo $?
                timeout {SOON} fennik --list-registered-products; echo $?
            done
            timeout {SOON} sh -c '{stop}' >/dev/null; echo $?
            kill $attacker; cat {self.root}/attack.out; rm {self.root}/attack.out"""
        )
        return out.splitlines()

    def test_do_not_stop_the_daemon(self):
        lines = self.served_while_attacked(f"{INIT} start >/dev/null", f"{INIT} stop")
        self.assertEqual(lines[:7], ["0"] * 7, lines)

    def test_do_not_stop_the_daemon_where_the_kernel_lets_them_pass(self):
        self.need_strace()
        lines = self.served_while_attacked(
            f"{OLD_KERNEL} {DAEMON} --foreground 2>/dev/null & {wait_for(f'[ -S {SOCKET} ]')}",
            f"kill $(cat {PID_FILE}); while [ -e {SOCKET} ]; do sleep 0.05; done",
        )
        self.assertEqual(lines, ["0"] * 7 + ["ready"], lines)

    def refused_by_root(self, kind, prefix=""):
        """The statuses of two of root's programs that a false daemon answers, and the output of the
        first one. The second one goes on without a daemon."""
        out = self.shell(
            f"""{AS_ACCOUNT} {ATTACK} serve {SOCKET} {kind} >{self.root}/attack.out &
            attacker=$!
            {wait_for(f'grep -q ready {self.root}/attack.out')}
            timeout -s KILL {SOON} {prefix} {DAEMON} --ping 2>&1; echo $?
            timeout -s KILL {SOON} {prefix} fennik --list-registered-products; echo $?
            kill $attacker; rm {SOCKET} {self.root}/attack.out"""
        )
        return out.splitlines()

    def test_do_not_hold_up_root(self):
        for kind in KINDS:
            with self.subTest(kind=kind):
                self.assertEqual(self.refused_by_root(kind)[1:], ["1", "0"])

    def test_do_not_hold_up_root_where_the_kernel_lets_them_pass(self):
        self.need_strace()
        once = OLD_KERNEL.replace("when=1+2", "when=1+3")
        for kind in KINDS:
            with self.subTest(kind=kind):
                told, *statuses = self.refused_by_root(kind, once)
                self.assertEqual(statuses, ["1", "0"], told)
                self.assertIn("the daemon has sent descriptors", told)
