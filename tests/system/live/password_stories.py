# SPDX-License-Identifier: Apache-2.0
"""owpasswd: the passwords with which users speak to the object manager over HTTP."""

import os
import re
import sys

from harness import Result, can_trace
from live import AS_ACCOUNT, CONFIG, DROP_INS, LiveStory, as_nobody

PASSWORDS = "/etc/opt/tarvo/kov/openwbem/owcimomd.passwords"
UNFINISHED = PASSWORDS + ".owpasswd"
LOCK = "/var/opt/tarvo/kov/owpasswd.lock"
TERMINAL = [sys.executable, os.path.dirname(os.path.abspath(__file__)) + "/terminal.py"]
# A user that every machine has, besides root.
USER = "nobody"
OTHER = "daemon"
HASH = r"\$y\$j9T\$[./0-9A-Za-z]{22}\$[./0-9A-Za-z]{43}"
UNKNOWN = f'owpasswd: warning: no owcimomd.allowed_users names "{USER}", so the object manager ' \
    "lets nobody connect with this password\n"
ALLOW = f"echo owcimomd.allowed_users = {USER} {OTHER} >>{CONFIG}; "
ASKED = f"New password for {USER}: "
AGAIN = "The same again: "


class Passwords(LiveStory):
    def content(self):
        with open(self.root + PASSWORDS, encoding="utf-8") as file:
            return file.read()

    def set(self, user=USER, password="a password", *options):
        return self.sandbox("owpasswd", *options, user, stdin=password + "\n")

    def assert_refused(self, result, text, status=1):
        self.assertEqual(result, Result(status, "", f"owpasswd: error: {text}\n"))

    def assert_matches(self, password, line):
        """Compares with what the system's own library makes of the password."""
        user, line_hash = line.split(":")
        script = (
            "import ctypes, sys; crypt = ctypes.CDLL('libcrypt.so.1').crypt;"
            "crypt.restype = ctypes.c_char_p;"
            "print(crypt(*(word.encode() for word in sys.argv[1:])).decode())")
        made = self.sandbox(sys.executable, "-c", script, password, line_hash.strip())
        self.assertEqual(made.out.strip(), line_hash.strip(), user)

    def test_password_is_set_from_a_pipe(self):
        self.shell(ALLOW)
        self.assertEqual(self.set(password="pässword: 1\nignored"), Result(0, "", ""))
        self.assertRegex(self.content(), rf"\A{USER}:{HASH}\n\Z")
        self.assert_matches("pässword: 1", self.content())

    def test_only_root_and_the_account_may_read_it(self):
        self.shell(f"umask 0; {ALLOW}")
        self.set()
        out = self.shell(
            f"stat -c '%a %U:%G' {PASSWORDS}; {AS_ACCOUNT} head -c 6 {PASSWORDS}; echo;"
            f"{AS_ACCOUNT} sh -c 'echo >>{PASSWORDS}' 2>/dev/null || echo kept;"
            f"setpriv --reuid=65534 --regid=65534 --clear-groups cat {PASSWORDS} 2>/dev/null || echo hidden;"
            f"stat -c '%a %U:%G' {LOCK}")
        self.assertEqual(out, "640 root:root\nnobody\nkept\nhidden\n600 root:root\n")

    def test_changing_one_password_keeps_the_others_and_comments(self):
        self.shell(ALLOW)
        self.set()
        self.set(OTHER)
        self.shell(f"sed -i '1i # from the operators' {PASSWORDS}")
        before = self.content().splitlines()
        self.assertEqual(self.set(password="new"), Result(0, "", ""))
        after = self.content().splitlines()
        self.assertEqual([after[0], after[2]], [before[0], before[2]])
        self.assertNotEqual(after[1], before[1])
        self.assert_matches("new", after[1])
        self.assertEqual(self.sandbox("owpasswd", "--list"), Result(0, f"{OTHER}\n{USER}\n", ""))
        self.assertEqual(self.sandbox("owpasswd", "--remove", USER), Result(0, "", ""))
        self.assertEqual(self.content().splitlines(), [after[0], after[2]])

    def test_nothing_is_listed_or_removed_where_there_is_no_file(self):
        self.assertEqual(self.sandbox("owpasswd", "--list"), Result(0, "", ""))
        self.assert_refused(self.sandbox("owpasswd", "--remove", USER),
                            f'the user "{USER}" has no password')
        self.assertFalse(os.path.exists(self.root + PASSWORDS))

    def test_user_who_may_not_connect_is_warned_about(self):
        self.assertEqual(self.set(), Result(0, "", UNKNOWN))
        self.assertRegex(self.content(), rf"\A{USER}:{HASH}\n\Z")
        self.shell(f"echo 'owcimomd.allowed_users = {USER}' >{DROP_INS}/x.conf")
        self.assertEqual(self.set(), Result(0, "", ""))

    def test_who_gets_no_password(self):
        root = 'the user "{}" is root, who gets no password: root may never use the object ' \
            "manager over HTTP"
        self.assert_refused(self.set("root"), root.format("root"))
        self.assert_refused(
            self.set("owcimomd"),
            'the user "owcimomd" is the account of the object manager, which gets no password')
        self.assert_refused(self.set("no-such-user"), 'this machine has no user "no-such-user"')
        for name in ("a:b", "#a", "a b", "", "x" * 257):
            self.assert_refused(
                self.set(name), f'"{name}" cannot be the name of a user here: it is empty, longer '
                'than 256 bytes, begins with "#", or has a blank, a colon or a control character '
                "in it")
        self.assertFalse(os.path.exists(self.root + PASSWORDS))

    def test_another_name_of_root_or_of_the_account_gets_no_password(self):
        added = ("cp /etc/passwd /mnt; for id in 0 $(id -u owcimomd); do "
                 "echo other$id:x:$id:$id::/:/bin/false >>/mnt/passwd; done;"
                 "mount --bind /mnt/passwd /etc/passwd;")
        result = self.sandbox(
            "sh", "-c", "mount -t tmpfs own /mnt;" + added +
            "echo x | owpasswd other0; echo x | owpasswd other$(id -u owcimomd)")
        self.assertEqual(result.status, 1)
        self.assertIn('the user "other0" is root, who gets no password', result.err)
        self.assertRegex(result.err, r'the user "other\d+" is the account of the object manager')
        self.assertFalse(os.path.exists(self.root + PASSWORDS))

    def test_passwords_that_cannot_be_used(self):
        cannot = "the password cannot be used: "
        for password, why in (("", "it is empty"), ("x" * 257, "it is longer than 256 bytes"),
                              ("a\tb", "there is a control character in it")):
            self.assert_refused(self.set(password=password), cannot + why)
        self.assert_refused(self.sandbox("owpasswd", USER), "no password was given")
        self.assertEqual(
            self.shell(f"printf '\\344' | owpasswd {USER} 2>&1 || true"),
            f"owpasswd: error: {cannot}it is not UTF-8\n")
        endless = self.sandbox("sh", "-c", f"owpasswd {USER} </dev/zero")
        self.assert_refused(endless, cannot + "it is longer than 256 bytes")
        self.assertFalse(os.path.exists(self.root + PASSWORDS))

    def test_a_line_each_is_read_from_one_input(self):
        self.shell(ALLOW + f"printf 'one\\ntwo\\n' | (owpasswd {USER}; owpasswd {OTHER})")
        lines = self.content().splitlines()
        self.assert_matches("one", lines[0])
        self.assert_matches("two", lines[1])

    def test_only_root_changes_the_machines_passwords(self):
        for words in ([USER], ["--remove", USER], ["--list"]):
            self.assert_refused(
                self.sandbox(*as_nobody("owpasswd", *words)),
                "it must be run as root to work on this machine's passwords (--dest-dir works on a "
                "tree elsewhere)")

    def test_command_lines_that_cannot_be_read(self):
        for words in ([], [USER, OTHER], ["--list", USER], ["--list", "--remove", USER]):
            result = self.sandbox("owpasswd", *words)
            self.assertEqual((result.status, result.out), (2, ""))
            self.assertTrue(result.err.startswith(
                "owpasswd: error: give one user, or --remove or --list alone\n\nUsage: owpasswd "),
                result.err)

    def test_file_that_cannot_be_trusted_is_left_as_it_is(self):
        self.shell(ALLOW)
        self.set()
        good = self.content()
        cannot = f'cannot use the password file "{PASSWORDS}": '
        for damage, why in (
            (f"chmod 660 {PASSWORDS}", cannot + "others than its owner may write it"),
            (f"chown {USER} {PASSWORDS}", cannot + "it does not belong to root"),
            (f"echo x >>{PASSWORDS}", cannot + 'line 2: there is no ":"'),
            (f"rm {PASSWORDS}; mkfifo {PASSWORDS}", cannot + "it is not a regular file"),
        ):
            with self.subTest(damage=damage):
                self.shell(damage)
                for words in ([OTHER], ["--remove", USER], ["--list"]):
                    self.assert_refused(self.sandbox("owpasswd", *words, stdin="x\n"), why)
                os.unlink(self.root + PASSWORDS)
                self.replace_passwords(good)

    def replace_passwords(self, content):
        self.shell(f"umask 77; cat >{PASSWORDS} <<'END'\n{content}END")

    def test_link_is_not_followed(self):
        self.shell(f"echo precious >/var/opt/tarvo/other; ln -s /var/opt/tarvo/other {PASSWORDS};"
                   f"ln -s /var/opt/tarvo/other {UNFINISHED}")
        self.assert_refused(
            self.set(), f'cannot read the password file "{PASSWORDS}": 40(Too many levels of '
            "symbolic links)")
        os.unlink(self.root + PASSWORDS)
        self.assertEqual(self.set().status, 0)
        self.assertEqual(self.shell("cat /var/opt/tarvo/other"), "precious\n")

    def test_many_at_once_lose_nothing(self):
        users = self.shell("getent passwd | cut -d: -f1,3 | grep -v ':0$' | cut -d: -f1 |"
                           "grep -v owcimomd | head -n 12").split()
        self.assertGreater(len(users), 5)
        script = "".join(f"echo {user} | owpasswd {user} 2>/dev/null & " for user in users)
        self.shell(script + "wait")
        self.assertEqual(self.sandbox("owpasswd", "--list").out.split(), sorted(users))
        self.assertFalse(os.path.exists(self.root + UNFINISHED))

    def test_signal_ends_the_wait_for_another_one(self):
        out = self.shell(
            f"flock_holder='import fcntl, time; lock = open(\"{LOCK}\", \"w\");"
            "fcntl.lockf(lock, fcntl.LOCK_EX); print(flush=True); time.sleep(100)';"
            f'python3 -c "$flock_holder" >/tmp/held & while ! [ -s /tmp/held ]; do sleep 0.1; done;'
            f"echo x >/tmp/password; owpasswd {USER} </tmp/password & waiting=$!; sleep 1;"
            "kill -TERM $waiting; wait $waiting; echo status $?; rm /tmp/held /tmp/password")
        self.assertEqual(out, "status 143\n")
        self.assertFalse(os.path.exists(self.root + PASSWORDS))

    def test_failing_call_leaves_the_file_as_it_was(self):
        if not can_trace():
            self.skipTest("programs cannot be traced here (strace)")
        self.shell(ALLOW)
        self.set()
        before = self.content()
        for call, text in (
            ("fsync", f'cannot write "{UNFINISHED}": 5(Input/output error)'),
            ("rename", f'cannot replace the file "{PASSWORDS}": 5(Input/output error)'),
            ("fsetxattr", f'cannot set the access list of "{UNFINISHED}": 5(Input/output error)'),
        ):
            with self.subTest(call=call):
                traced = self.sandbox(
                    "strace", "-qq", "-o", "/dev/null", "-e", f"trace={call}", "-e",
                    f"inject={call}:error=EIO:when=1", "owpasswd", USER, stdin="new\n")
                self.assert_refused(traced, text)
                self.assertEqual(self.content(), before)
                self.assertFalse(os.path.exists(self.root + UNFINISHED))

    def test_what_a_killed_run_left_is_named_and_replaced(self):
        self.shell(ALLOW + f"echo half >{UNFINISHED}")
        told = self.sandbox("kov-verify")
        self.assertIn(f'"{UNFINISHED}" is left over: an owpasswd was interrupted\n'
                      f"      rm -rf {UNFINISHED}\n", told.out)
        self.assertEqual(self.set(), Result(0, "", ""))
        self.assertEqual(self.sandbox("kov-verify").status, 0)

    def test_missing_installation_is_named(self):
        self.assert_refused(
            self.sandbox("sh", "-c", f"rm -rf /var/opt/tarvo/kov; echo x | owpasswd {USER}"), f'the directory of the lock file "{LOCK}" is missing; kov-setup makes it')

    def test_staged_tree_needs_no_user_and_no_root(self):
        out = self.shell(
            "mkdir -p /tmp/s.$$/opt/tarvo/kov; cp -r /opt/tarvo/kov/share /tmp/s.$$/opt/tarvo/kov;"
            "kov-setup --dest-dir /tmp/s.$$ >/dev/null; chown -R 65534:65534 /tmp/s.$$;"
            "as='setpriv --reuid=65534 --regid=65534 --clear-groups --';"
            "echo x | $as owpasswd --dest-dir /tmp/s.$$ future 2>/dev/null; echo $?;"
            "echo x | $as owpasswd --dest-dir /tmp/s.$$ root 2>/dev/null; echo $?;"
            "$as owpasswd --dest-dir /tmp/s.$$ --list;"
            f"stat -c '%a %u' /tmp/s.$${PASSWORDS}; cp /tmp/s.$${PASSWORDS} {PASSWORDS};"
            "rm -rf /tmp/s.$$; kov-verify; kov-setup; kov-verify")
        lines = out.splitlines()
        self.assertEqual(lines[:4], ["0", "1", "future", "600 65534"])
        self.assertIn(f'  "{PASSWORDS}" is not readable for owcimomd and nobody else', lines)
        self.assertIn(f'kov-setup: owcimomd and nobody else may read "{PASSWORDS}" now, besides '
                      "root.", lines)
        self.assertTrue(lines[-1].startswith("kov-verify: everything is as registered"), lines)

    def test_owner_and_mode_are_put_right(self):
        self.shell(ALLOW)
        self.set()
        acl = f"getfacl -c --omit-header {PASSWORDS}"
        good = self.shell(acl)
        for damage in (f"chmod 644 {PASSWORDS}", f"chown nobody {PASSWORDS}",
                       f"setfacl -b {PASSWORDS}", f"setfacl -m u:nobody:r {PASSWORDS}"):
            with self.subTest(damage=damage):
                self.shell(damage)
                told = self.sandbox("kov-verify")
                self.assertEqual(told.status, 1)
                self.assertIn(PASSWORDS, told.out)
                self.assertIn(PASSWORDS, self.shell("kov-setup"))
                self.assertEqual(self.shell(acl + f"; stat -c %a:%U:%G {PASSWORDS}"),
                                 good + "640:root:root\n")
                self.assertEqual(self.sandbox("kov-verify").status, 0)


class Terminal(LiveStory):
    def at_terminal(self, *conversation):
        """Has a conversation with owpasswd. Returns what was shown, the status and the echo."""
        result = self.sandbox(*TERMINAL, "owpasswd", USER, stdin="\n".join(conversation) + "\n")
        self.assertEqual(result.status, 0, result)
        shown, end = result.out.replace("\r\n", "\n").rsplit("\n", 2)[:2]
        return shown.removesuffix("\n"), end

    def is_set(self):
        return os.path.exists(self.root + PASSWORDS)

    def test_password_is_asked_for_twice_and_not_shown(self):
        shown, end = self.at_terminal(ASKED, "secret word\\n", AGAIN, "secret word\\n")
        self.assertEqual((shown, end),
                         (f"{ASKED}\n{AGAIN}\n{UNKNOWN.strip()}", "status 0, echo"))
        self.assertTrue(self.is_set())

    def test_two_that_differ_change_nothing(self):
        shown, end = self.at_terminal(ASKED, "one\\n", AGAIN, "two\\n")
        self.assertEqual((shown, end), (
            f"{ASKED}\n{AGAIN}\nowpasswd: error: the passwords differ; nothing has changed",
            "status 1, echo"))
        self.assertFalse(self.is_set())

    def test_end_of_input_is_no_password(self):
        shown, end = self.at_terminal(ASKED, "\\x04")
        self.assertEqual((shown, end), (f"{ASKED}\nowpasswd: error: no password was given",
                                        "status 1, echo"))
        self.assertFalse(self.is_set())

    def test_interrupt_leaves_the_terminal_with_its_echo(self):
        for conversation in ((ASKED, "half\\x03"), (ASKED, "one\\n", AGAIN, "half\\x03")):
            shown, end = self.at_terminal(*conversation)
            self.assertNotIn("half", shown)
            self.assertEqual(end, "status -2, echo")
            self.assertFalse(self.is_set())

    def test_keys_that_stop_and_quit_have_no_effect(self):
        _, end = self.at_terminal(ASKED, "\\x1a\\x1c\\n")
        self.assertEqual(end, "status 1, echo")

    def test_long_line_is_refused_and_dropped(self):
        shown, end = self.at_terminal(ASKED, "x" * 3000 + "\\n")
        self.assertEqual(re.findall("error: .*", shown),
                         ["error: the password cannot be used: it is longer than 256 bytes"])
        self.assertNotIn("xxx", shown)
        self.assertEqual(end, "status 1, echo")
