# SPDX-License-Identifier: Apache-2.0
"""The daemon on an installed system: started by root, with the system's log, with system calls that
fail, and over many runs of the tool."""

import shutil
import sys

from harness import FENNIK, is_sanitized
from live import AS_ACCOUNT, CONFIG, DAEMON, DROP_INS, INIT, PID_FILE, STATE, LiveStory

NO_RIGHTS = "0000000000000000"

# Replaces /dev by a directory with a log socket, and prints what is sent to it.
SYSLOG = f"""
import os, socket, subprocess
def run(*words):
    subprocess.run(words, check=True)
run("mount", "--bind", "/dev", "/mnt")
run("mount", "-t", "tmpfs", "-o", "mode=0755", "dev", "/dev")
for name in ("null", "zero", "urandom", "random"):
    open("/dev/" + name, "w").close()
    run("mount", "--bind", "/mnt/" + name, "/dev/" + name)
def listen():
    log = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    log.bind("/dev/log")
    os.chmod("/dev/log", 0o666)
    log.settimeout(10)
    return log
def tell(log):
    head, text = log.recv(10000).decode().rstrip("\\0\\n").split("]: ", 1)
    print(head.split(">")[0], head.split()[-1].split("[")[0], text, sep="|")
log = listen()
run("{INIT}", "start")
tell(log)
tell(log)
log.close()
os.unlink("/dev/log")
run("{DAEMON}", "--ping")
log = listen()
run("{INIT}", "stop")
tell(log)
"""


class Daemon(LiveStory):
    def setUp(self):
        super().setUp()
        self.need_daemon()

    def test_started_by_root_keeps_nothing_of_root(self):
        out = self.shell(
            f"exec 7</etc/shadow 8>/var/opt/tarvo/kov/by-root; {DAEMON} || exit 1;"
            f"cd /proc/$(cat {PID_FILE}); grep -E '^(Uid|Gid|Groups|Cap(Inh|Prm|Eff|Amb)):' status;"
            "echo Files: $(readlink fd/*); echo Account: $(id -u owcimomd) $(id -g owcimomd);"
            f"echo Owners: $(stat -c %u:%g {STATE}/* {STATE}/repository/* | sort -u)"
        )
        facts = {key: words.split() for key, words in
                 (line.split(":", 1) for line in out.splitlines())}
        uid, gid = facts["Account"]
        self.assertNotEqual(uid, "0")
        self.assertEqual(facts["Uid"], [uid] * 4)
        self.assertEqual(facts["Gid"], [gid] * 4)
        self.assertEqual(facts["Groups"], [gid])
        for rights in ("CapInh", "CapPrm", "CapEff", "CapAmb"):
            self.assertEqual(facts[rights], [NO_RIGHTS], rights)
        self.assertEqual(facts["Owners"], [f"{uid}:{gid}"])
        files = {name for name in facts["Files"] if name.startswith("/")}
        self.assertEqual(
            files,
            {"/dev/null", PID_FILE, f"{STATE}/repository", f"{STATE}/repository/repository.db",
             f"{STATE}/repository/repository.db-wal"},
        )

    def test_tells_the_systems_log_and_finds_a_new_one(self):
        self.shell(f"echo nonsense >{DROP_INS}/bad.conf")
        result = self.sandbox(sys.executable, "-c", SYSLOG)
        self.assertEqual(result.status, 0, result)
        lines = [line for line in result.out.splitlines() if line.startswith("<")]
        self.assertEqual(
            lines,
            [f'<27|owcimomd|{DROP_INS}/bad.conf:1: there is no "="; the line is left out',
             "<30|owcimomd|ready", "<30|owcimomd|ended"],
        )

    def test_is_as_confined_when_fennik_restarts_it(self):
        look = f"echo $(grep -E '^(NoNewPrivs|Seccomp):' /proc/$(cat {PID_FILE})/status)"
        out = self.shell(
            f"{INIT} start >/dev/null; first=$(cat {PID_FILE}); {look};"
            f"fennik --register --name x --username daemon || exit 91;"
            f"test $first != $(cat {PID_FILE}) || exit 92; {look}; {INIT} stop >/dev/null"
        )
        self.assertEqual(out, "NoNewPrivs: 1 Seccomp: 2\n" * 2)

    def test_goes_on_in_a_new_log_file_after_rotation(self):
        logs = "/var/opt/tarvo/log"
        out = self.shell(
            f"""install -d -o owcimomd -g owcimomd -m 0750 {logs} || exit 90
            echo owcimomd.log_file = {logs}/daemon.log >>{CONFIG}
            {INIT} start >/dev/null
            mv {logs}/daemon.log {logs}/daemon.log.1
            runuser -u owcimomd -- sh -c 'kill -HUP "$(cat {PID_FILE})"' || exit 91
            until [ -e {logs}/daemon.log ]; do sleep 0.05; done
            fennik --register-namespace sample/a --name none --username root 2>/dev/null
            fennik --register --name sample --username daemon || exit 92
            stat -c '%U %a' {logs}/daemon.log; cat {logs}/daemon.log; echo ==; cat {logs}/daemon.log.1
            {INIT} stop >/dev/null"""
        )
        new, _, old = out.partition("==\n")
        self.assertTrue(new.startswith("owcimomd 600\n"), out)
        self.assertIn("INFO the log was opened again\n", new)
        self.assertRegex(new, r'INFO audit: done user="root" uid=0 operation=\w+ namespace="kov"')
        self.assertNotIn("audit", old)

    def test_that_cannot_start_for_want_of_descriptors_says_so_and_logs_it(self):
        if is_sanitized(FENNIK):
            self.skipTest("the sanitizer needs descriptors of its own")
        log = f"{STATE}/log"
        out = self.shell(
            f"echo owcimomd.log_file = {log} >>{CONFIG}; for n in $(seq 5 14); do rm -f {log};"
            f"(ulimit -n $n; exec timeout 1 {DAEMON} --foreground) 2>&1 >/dev/null; cat {log}; echo ===; done")
        ends = [part.strip().splitlines() for part in out.split("===\n")[:-1]]
        failures = [lines for lines in ends if lines and lines[0].startswith("owcimomd: error: ")]
        self.assertGreater(len(failures), 4, out)
        self.assertLess(len(failures), len(ends), out)
        for said, *logged in failures:
            reason = said.partition("error: ")[2]
            self.assertTrue(any(line.endswith("ERROR " + reason) for line in logged), (said, logged))

    def test_does_not_serve_when_it_cannot_renounce_new_privileges(self):
        if shutil.which("strace") is None:
            self.skipTest("strace is not installed")
        out = self.shell(
            f"strace -f -qq -o /dev/null -e inject=prctl:error=EPERM:when=1 {DAEMON} --foreground "
            f"2>&1 >/dev/null; echo $?; test -e {STATE}/owcimomd.sock; echo $?")
        self.assertEqual(
            out, "owcimomd: error: cannot renounce new privileges: 1(Operation not permitted)\n1\n1\n")

    def test_goes_on_when_clients_cannot_be_accepted(self):
        if shutil.which("strace") is None:
            self.skipTest("strace is not installed")
        for fault, lost in (
            ("accept4:error=ENFILE:when=1..3", 0),
            ("accept4:error=EMFILE:when=2..4", 0),
            ("accept4:error=ECONNABORTED:when=2", 0),
            ("accept4:error=EPERM:when=3..5", 0),
            ("getsockopt:error=ENOMEM:when=1..2", 2),
        ):
            with self.subTest(fault=fault):
                out = self.shell(
                    f"strace -f -qq -o /dev/null -e inject={fault} {DAEMON} --foreground "
                    f"2>{STATE}/errors & until [ -S {STATE}/owcimomd.sock ]; do sleep 0.05; done;"
                    f"for i in 1 2 3 4 5; do timeout 20 {DAEMON} --ping 2>/dev/null; echo $?; done;"
                    f"kill $(cat {PID_FILE}); wait; cat {STATE}/errors; rm {STATE}/errors"
                )
                self.assertEqual(out.split()[:5], ["1"] * lost + ["0"] * (5 - lost), out)
                self.assertIn("owcimomd: ended", out)

    def test_keeps_every_owner_and_mode_over_twenty_cycles(self):
        everything = (
            "find /var/opt/tarvo /etc/opt/tarvo -not -name owcimomd.pid -not -name owcimomd.sock "
            "-not -name 'repository.db-*' -printf '%y %U:%G %m %p\\n' | sort"
        )
        product = "--name sample"
        out = self.shell(
            f"""set -e
            {INIT} start >/dev/null
            fennik --register {product} --username daemon
            {everything}; echo ==
            for i in $(seq 20); do
                fennik --register-namespace sample/a {product} --username daemon --ro-username games
                echo 'sample.key = 1' | fennik --set-owcimomd-config - {product}
                {everything}; echo ==
                {INIT} restart >/dev/null
                fennik --deregister-namespace sample/a {product}
                fennik --remove-owcimomd-config {product}
                {everything}; echo ==
            done
            {INIT} status >/dev/null; {INIT} stop >/dev/null
            id -u owcimomd
            {AS_ACCOUNT} find {STATE} -not -readable -o -not -user owcimomd
            {AS_ACCOUNT} find {DROP_INS} -not -readable
            {AS_ACCOUNT} rm -rf {STATE}/repository
            """
        )
        *states, rest = out.split("==\n")
        self.assertEqual(len(states), 41)
        self.assertEqual(set(states[0::2]), {states[0]})
        self.assertEqual(set(states[1::2]), {states[1]})
        self.assertEqual(
            set(states[1].splitlines()) - set(states[0].splitlines()),
            {line for line in states[1].splitlines() if line.endswith("/sample.conf")},
        )
        self.assertEqual(len(rest.split()), 1, rest)
