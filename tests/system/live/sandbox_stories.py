# SPDX-License-Identifier: Apache-2.0
"""The sandbox: what is in it, what it leaves alone outside, and how it ends."""

import hashlib
import os
import signal
import subprocess
import time

from harness import read, run
from live import INIT, PID_FILE, PROGRAMS, SANDBOX, STATE, LiveStory, as_nobody

PLACES = ("/opt", "/etc/opt", "/var/opt")
ACCOUNTS = ("/etc/passwd", "/etc/group", "/etc/shadow", "/etc/gshadow")


def machine():
    """The state of the machine that a sandbox must not change."""
    names = {place: sorted(os.listdir(place)) for place in PLACES}
    accounts = {
        path: (os.stat(path).st_ino, hashlib.sha256(read(path)).hexdigest())
        for path in ACCOUNTS
        if os.path.exists(path)
    }
    return names, accounts


def wait_for(condition):
    end = time.monotonic() + 30
    while not condition() and time.monotonic() < end:
        time.sleep(0.05)
    return condition()


class Sandbox(LiveStory):
    def test_ends_as_its_command(self):
        for command, status in (("true", 0), ("exit 5", 5), ("exit 255", 255), ("kill -9 $$", 137)):
            with self.subTest(command=command):
                self.assertEqual(self.sandbox("sh", "-c", command).status, status)
        self.assertEqual(self.sandbox("/no/such/command").status, 127)

    def test_passes_words_and_streams_through(self):
        result = self.sandbox("sh", "-c", 'cat; echo "$2" >&2', "sh", "a", "b  c*", stdin="in\n")
        self.assertEqual((result.status, result.out, result.err), (0, "in\n", "b  c*\n"))

    def test_has_the_installation_at_its_real_places(self):
        out = self.shell(
            "for name in fennik owmofc kov-setup tarvo-owcimomd_init; do command -v $name; done; id -u"
        )
        programs = ["bin/fennik", "bin/owmofc", "sbin/kov-setup", "sbin/tarvo-owcimomd_init"]
        self.assertEqual(out.split(), [f"{PROGRAMS}/{name}" for name in programs] + ["0"])
        self.assertEqual(self.sandbox("fennik", "--list-registered-products").status, 0)

    def test_has_the_account(self):
        out = self.shell("id -un owcimomd; id -Gn owcimomd; getent passwd owcimomd | cut -d: -f6,7")
        self.assertEqual(out, "owcimomd\nowcimomd\n/nonexistent:/usr/sbin/nologin\n")

    def test_keeps_the_machines_other_files_in_sight(self):
        for place in PLACES:
            with self.subTest(place=place):
                inside = self.shell(f"ls -A {place}").split()
                self.assertEqual(sorted(set(inside) - {"tarvo"}), sorted(os.listdir(place)))

    def processes_with(self, word):
        """The processes with that word in their command lines, among those that see this sandbox's
        state. Other sandboxes may run at the same time."""
        own = os.stat(self.root + STATE)
        found = []
        for pid in filter(str.isdigit, os.listdir("/proc")):
            try:
                words = read(f"/proc/{pid}/cmdline").decode(errors="replace").split("\0")
                if word in words and os.path.samestat(own, os.stat(f"/proc/{pid}/root{STATE}")):
                    found.append(pid)
            except OSError:
                continue
        return found

    def test_leaves_nothing_on_the_machine(self):
        before = machine()
        self.shell(
            "for place in /opt /etc/opt /var/opt; do touch $place/tarvo/left $place/left; done;"
            "sleep 987001 >/dev/null 2>&1 &"
        )
        self.assertEqual(machine(), before)
        self.assertEqual(self.processes_with("987001"), [])
        with open("/proc/self/mounts", encoding="utf-8") as mounts:
            self.assertNotIn(self.root, mounts.read())
        self.assertTrue(os.path.exists(self.root + "/etc/opt/tarvo/left"))

    def test_keeps_its_state_between_uses(self):
        self.shell("fennik --register --name sample --username alice")
        out = self.shell("fennik --list-registered-products; id -u owcimomd")
        self.assertEqual(out.split()[0], "sample")
        owner = os.stat(self.root + "/var/opt/tarvo/kov/openwbem/repository").st_uid
        self.assertEqual(out.split()[-1], str(owner))

    def test_stops_a_daemon_that_is_left_running(self):
        self.need_daemon()
        result = self.sandbox(INIT, "start")
        self.assertEqual((result.status, "killed" in result.err), (0, False), result)
        self.assertEqual(self.processes_with(PROGRAMS + "/sbin/owcimomd"), [])
        self.assertFalse(os.path.exists(self.root + PID_FILE))

    def test_killed_takes_everything_with_it(self):
        sandbox = subprocess.Popen(
            [SANDBOX, "--root", self.root, "sh", "-c", "setsid sleep 987002 & exec sleep 987002"]
        )
        self.assertTrue(wait_for(lambda: len(self.processes_with("987002")) == 2))
        sandbox.send_signal(signal.SIGKILL)
        sandbox.wait()
        self.assertTrue(wait_for(lambda: self.processes_with("987002") == []))

    def test_is_not_shared(self):
        with subprocess.Popen(
            [SANDBOX, "--root", self.root, "sh", "-c", "echo in; read word"],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
        ) as first:
            self.assertEqual(first.stdout.readline(), b"in\n")
            second = self.sandbox("true")
            self.assertEqual(second.status, 1)
            self.assertIn(f"another sandbox uses {self.root}", second.err)
            first.stdin.close()

    def test_refuses_users_other_than_root(self):
        if run(as_nobody("test", "-x", SANDBOX)).status != 0:
            self.skipTest("an unprivileged user cannot read the checkout here")
        result = run(as_nobody(SANDBOX, "--root", self.root, "true"))
        self.assertEqual(result.status, 77)
        self.assertEqual(
            result.err, "sandbox: it must be run as root, to make a mount namespace\n"
        )

    def test_refuses_a_machine_without_mount_namespaces(self):
        # Without the capability the system call fails like on a machine that forbids it.
        result = run(
            ["setpriv", "--bounding-set=-sys_admin", "--inh-caps=-sys_admin", "--"]
            + [SANDBOX, "--root", self.root, "true"]
        )
        self.assertEqual(result.status, 77)
        self.assertIn("this machine allows no mount namespaces of one's own: ", result.err)

    def test_refuses_a_command_line_that_it_does_not_know(self):
        for words in (["--rot", "/x", "true"], ["--root"], ["--root", ""], ["--inside", "/x", "true"]):
            with self.subTest(words=words):
                result = run([SANDBOX, *words])
                self.assertEqual((result.status, result.out), (2, ""))
                self.assertIn("usage: sandbox [--root DIR] [COMMAND [ARGUMENT...]]", result.err)
