# SPDX-License-Identifier: Apache-2.0
"""A daemon that fennik starts has the limits and the priority that it has at boot, whatever those
of the caller are."""

from harness import FENNIK, is_sanitized
from live import INIT, PID_FILE, LiveStory

LOOK = (
    f"pid=$(cat {PID_FILE}); cat /proc/$pid/limits; cut -d\\  -f18-19,40-41 /proc/$pid/stat;"
    "cat /proc/$pid/oom_score_adj /proc/$pid/timerslack_ns; ionice -p $pid;"
    "grep -E '^(Cpus_allowed|Umask|SigIgn|SigBlk)' /proc/$pid/status;"
    "tr '\\0' '\\n' </proc/$pid/environ | grep -c ^TZ="
)
# Limits that a caller can lower. Raising some of them again needs a capability that root does not
# have in every container.
LIMITS = {"t": 5000, "f": 1000000, "s": 4096, "v": 8000000, "d": 7000000, "l": 32, "u": 3000}
REST = (
    "umask 0; echo 500 >/proc/self/oom_score_adj; export TZ=Asia/Tokyo;"
    "exec taskset -c 0 ionice -c3 "
)
CAP_SYS_NICE, CAP_SYS_RESOURCE = 23, 24


def has_right(number):
    """Whether this process has the capability with that number."""
    with open("/proc/self/status", encoding="ascii") as file:
        rights = next(line.split()[1] for line in file if line.startswith("CapEff"))
    return bool(int(rights, 16) >> number & 1)


def caller():
    """The beginning of a shell command that changes everything it can. A command must follow."""
    kind = "" if has_right(CAP_SYS_RESOURCE) else "-S"
    # The sanitizer reserves terabytes of address space, so that cannot be limited.
    given = {letter: value for letter, value in LIMITS.items()
             if letter not in "vd" or not is_sanitized(FENNIK)}
    limits = "".join(f"ulimit {kind} -{letter} {value};" for letter, value in given.items())
    files = "ulimit -n 200;" if has_right(CAP_SYS_RESOURCE) else ""
    return limits + files + REST + ("nice -n 7 chrt -b 0 " if has_right(CAP_SYS_NICE) else "")


class Surroundings(LiveStory):
    def setUp(self):
        super().setUp()
        self.need_daemon()

    def look_after(self, operation):
        """The surroundings of the daemon at boot, and after the operation has restarted it."""
        # These tests may run with a lower priority than an init system has.
        raise_priority = "renice -n 0 $$ >/dev/null;" if has_right(CAP_SYS_NICE) else ""
        out = self.shell(
            raise_priority +
            # An init system gives services 1024, whatever this container has.
            f"(ulimit -S -n 1024; {INIT} start) >/dev/null || exit 90; first=$(cat {PID_FILE}); ({LOOK}); echo ===;"
            f"bash -c '{caller()}{operation}' || exit 91;"
            f"test $first != $(cat {PID_FILE}) || exit 92; ({LOOK}); true"
        )
        boot, _, after = out.partition("===\n")
        self.assertIn("Max open files", boot)
        self.assertIn("Umask:\t0077\n", boot)
        return boot, after

    def test_after_a_restart_are_those_of_the_boot(self):
        boot, after = self.look_after("fennik --register --name x --username daemon")
        self.assertEqual(after, boot)

    def test_after_a_stop_and_a_start_are_those_of_the_boot(self):
        boot, after = self.look_after("fennik --dump-product-state /var/opt/tarvo/state.xml")
        self.assertEqual(after, boot)

    def test_after_a_namespace_was_deleted_are_those_of_the_boot(self):
        boot, after = self.look_after(
            'sh -c "fennik --register --name x --username daemon &&'
            " fennik --register-namespace x/left --name x --username daemon &&"
            ' owdeletenamespace --reserved x/left"'
        )
        self.assertEqual(after, boot)
