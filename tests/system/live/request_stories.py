# SPDX-License-Identifier: Apache-2.0
"""A user who may connect sends requests that use much memory, unpack to much, or keep the daemon
busy. The others are served all the same."""

import os
import shutil
import sys

from live import CONFIG, DAEMON, INIT, PID_FILE, STATE, LiveStory

ATTACK = f"{sys.executable} {os.path.dirname(os.path.abspath(__file__))}/attack.py"
AS_USER = "setpriv --reuid=games --regid=games --clear-groups --"
SOCKET = f"{STATE}/owcimomd.sock"
WIRE = os.environ.get("KOV_SOURCE", "") + "/platform/openwbem/wire/rpc.capnp"
SOON = 25  # seconds; the attacks last longer where they succeed
MIB = 1 << 20

CARS = """
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);
class Story_Car { [Key] string Name; };
"""


def enumeration(namespace, names):
    """A call that enumerates instances with these properties, as text for capnp."""
    listed = ", ".join(f'"{name}"' for name in names)
    return (
        f'(id = 1, enumerate = (operation = enumInstances, nameSpace = "{namespace}", '
        f'name = "Story_Car", hasPropertyList = true, propertyList = [{listed}]))'
    )


class Requests(LiveStory):
    def setUp(self):
        super().setUp()
        self.need_daemon()
        self.shell(f"echo owcimomd.allowed_users = games >>{CONFIG}")

    def write_call(self, text, name="call"):
        """Writes a call into a file. Returns the file's path in the sandbox."""
        if shutil.which("capnp") is None:
            self.skipTest("capnp is not installed")
        path = f"{self.root}/{name}"
        with open(f"{path}.txt", "w", encoding="ascii") as file:
            file.write(text)
        self.shell(f"capnp encode {WIRE} Call <{path}.txt >{path}")
        return path

    def make_cars(self, count, name):
        """Creates instances in the namespace "story", in which the user games has all rights."""
        with open(f"{self.root}/cars.mof", "w", encoding="ascii") as file:
            file.write(CARS)
            for number in range(count):
                file.write(f'instance of Story_Car {{ Name = "{name}{number}"; }};\n')
        self.shell(
            f"""set -e
            fennik --register --name story --username games
            fennik --register-namespace story --name story --username games
            owmofc -n story {self.root}/cars.mof >/dev/null"""
        )

    def kib(self, out, name):
        return int(next(line for line in out.splitlines() if line.startswith(name)).split()[1])

    def test_that_are_never_finished_hold_little(self):
        out = self.shell(
            f"""{INIT} start >/dev/null
            {AS_USER} {ATTACK} hold {SOCKET} {60 * MIB} 8 >{self.root}/attack.out &
            attacker=$!
            for i in $(seq 600); do grep -q ready {self.root}/attack.out && break; sleep 0.05; done
            timeout {SOON} {DAEMON} --ping; echo ping $?
            timeout {SOON} fennik --list-registered-products; echo list $?
            grep VmRSS /proc/$(cat {PID_FILE})/status
            kill $attacker; cat {self.root}/attack.out; rm {self.root}/attack.out"""
        )
        self.assertIn("ping 0", out)
        self.assertIn("list 0", out)
        self.assertEqual(out.count("than owcimomd has memory for; try again later"), 7, out)
        self.assertLess(self.kib(out, "VmRSS"), 200 * 1024)

    def test_that_are_too_large_are_told_so(self):
        out = self.shell(
            f"""echo owcimomd.max_request_size = 1048576 >>{CONFIG}
            {INIT} start >/dev/null
            {AS_USER} {ATTACK} hold {SOCKET} {250 * MIB} 2 >{self.root}/attack.out &
            attacker=$!
            for i in $(seq 600); do grep -q ready {self.root}/attack.out && break; sleep 0.05; done
            timeout {SOON} {DAEMON} --ping; echo ping $?
            kill $attacker; cat {self.root}/attack.out; rm {self.root}/attack.out"""
        )
        self.assertIn("ping 0", out)
        self.assertEqual(out.count("larger than owcimomd takes from this user"), 2, out)

    def test_without_the_right_are_not_unpacked(self):
        call = self.write_call(enumeration("kov", ["x" * 60] * 400000))
        out = self.shell(
            f"""{INIT} start >/dev/null
            {AS_USER} {ATTACK} ask {SOCKET} <{call}
            grep VmHWM /proc/$(cat {PID_FILE})/status"""
        )
        self.assertIn("may not read instances", out)
        self.assertLess(self.kib(out, "VmHWM"), 28 * 1024 + os.path.getsize(call) // 1024, out)

    def test_with_a_huge_list_keep_nobody_waiting(self):
        call = self.write_call(
            enumeration("story", ["Name"] + [f"Property{i}" for i in range(300000)])
        )
        self.make_cars(600, "")
        out = self.shell(
            f"""{INIT} start >/dev/null
            {AS_USER} {ATTACK} ask {SOCKET} <{call} >{self.root}/attack.out &
            sleep 1
            timeout {SOON} {DAEMON} --ping; echo ping $?
            timeout {SOON} fennik --list-registered-products; echo list $?
            wait; cat {self.root}/attack.out; rm {self.root}/attack.out"""
        )
        self.assertIn("ping 0", out)
        self.assertIn("list 0", out)
        self.assertIn("the property list has more than 4096 names", out)

    def test_for_the_rest_of_an_enumeration_need_the_right_still(self):
        first = self.write_call(enumeration("story", ["Name"]), "first")
        following = self.write_call("(id = 2, next = 1)", "next")
        self.make_cars(5000, "x" * 200)
        acl = (
            'instance of OpenWBEM_UserACL '
            '{ nspace = "story"; username = "games"; capability = "%s"; };'
        )
        for capability, answer in (("r", "xxxxx"), ("w", "may not read instances")):
            with self.subTest(capability=capability):
                out = self.shell(
                    f"""{INIT} start >/dev/null
                    mkfifo {self.root}/go
                    {AS_USER} {ATTACK} go-on {SOCKET} {first} {following} \\
                        <{self.root}/go >{self.root}/out &
                    exec 3>{self.root}/go
                    for i in $(seq 600); do grep -q ready {self.root}/out && break; sleep 0.05; done
                    echo '{acl % capability}' | owmofc -n root/security - || echo failed
                    echo >&3; wait %1; sed '1,/ready/d' {self.root}/out; rm {self.root}/go {self.root}/out"""
                )
                self.assertNotIn("failed", out)
                self.assertIn(answer, out)
