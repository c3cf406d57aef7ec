# SPDX-License-Identifier: Apache-2.0
"""Hostile clients at the daemon's window for CIM-XML over HTTP. Those who may be there are served
all the same, and nothing grows without a limit."""

import os
import re
import socket
import sys

from harness import FENNIK, is_sanitized
from live import CONFIG, DAEMON, INIT, PID_FILE, STATE, LiveStory

ATTACK = f"{sys.executable} {os.path.dirname(os.path.abspath(__file__))}/window_attack.py"
SOCKET = f"{STATE}/owcimomd.sock"
LOG = f"{STATE}/owcimomd.log"

CARS = """
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);
class Story_Car { [Key] string Name; };
"""


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as server:
        return server.getsockname()[1]


class AWindow(LiveStory):
    def setUp(self):
        super().setUp()
        self.need_daemon()
        self.port = free_port()
        self.shell(
            f"""echo owcimomd.allowed_users = games >>{CONFIG}
            echo owcimomd.http_port = {self.port} >>{CONFIG}
            echo owcimomd.log_file = {LOG} >>{CONFIG}
            echo secret | owpasswd games"""
        )

    def make_cars(self, count):
        """Creates instances in the namespace "story", in which the user games has all rights."""
        with open(f"{self.root}/cars.mof", "w", encoding="ascii") as file:
            file.write(CARS)
            for number in range(count):
                file.write(f'instance of Story_Car {{ Name = "{number}"; }};\n')
        self.shell(
            f"""set -e
            fennik --register --name story --username games
            fennik --register-namespace story --name story --username games
            owmofc -n story {self.root}/cars.mof >/dev/null"""
        )

    def attack(self, kind):
        """What the attack prints, and the daemon's status after it."""
        return self.shell(
            f"""{INIT} start >/dev/null
            {ATTACK} {kind} {self.port} {SOCKET}
            {DAEMON} --ping; echo ping $?
            cat /proc/$(cat {PID_FILE})/status"""
        )

    def log(self):
        with open(self.root + LOG, encoding="utf-8") as file:
            return file.read()

    def number(self, out, name):
        return float(re.search(rf"{name}:?\s+([0-9.]+)", out)[1])

    def test_lets_a_right_password_in_during_a_flood_of_wrong_ones(self):
        out = self.attack("flood")
        self.assertEqual(out.count("right 200"), 3, out)
        self.assertIn("ping 0", out)

    def test_judges_ten_wrong_passwords_of_those_that_come_at_once(self):
        out = self.attack("tries")
        self.assertIn("401: 10, 503: 30", out)

    def test_keeps_names_in_their_quotes_in_the_log(self):
        self.assertIn("login 401", self.attack("forge"))
        self.assertRegex(
            self.log(),
            r'audit: refused user="x\\" address=9\.9\.9\.9 y=\\"\\n\\x1b" address=127\.0\.0\.1 '
            r"operation=login\n",
        )

    def test_charges_pulled_enumerations_for_what_opened_them(self):
        self.make_cars(2)
        out = self.attack("contexts")
        opened = self.number(out, "opened")
        self.assertGreater(opened, 10)
        self.assertLess(opened, 60)
        if not is_sanitized(FENNIK):
            self.assertLess(self.number(out, "VmHWM"), 200 * 1024)

    def test_costs_a_long_property_list_once(self):
        self.make_cars(1500)
        out = self.attack("list")
        self.assertIn("list 200 1500", out)
        self.assertLess(self.number(out, "processor"), 3, out)

    def test_finds_no_request_in_the_body_of_another_one(self):
        self.assertEqual(self.attack("codings").count("codings [b'501']"), 4)

    def test_gives_one_user_a_part_of_the_connections(self):
        self.shell(
            f"""echo owcimomd.allowed_users = news >>{CONFIG}
            echo secret | owpasswd news"""
        )
        out = self.attack("crowd")
        self.assertIn("200: 24, 503: 16", out)
        self.assertIn("other 200\nafterwards 200\n", out)

    def test_reads_no_message_that_would_keep_others_waiting(self):
        self.make_cars(1)
        out = self.attack("large")
        self.assertIn("large 413", out)
        self.assertIn("largest 200", out)
        self.assertLess(self.number(out, "processor"), 1, out)
