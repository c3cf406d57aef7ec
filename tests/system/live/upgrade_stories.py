# SPDX-License-Identifier: Apache-2.0
"""A newer schema comes to a machine: kov-setup brings the repository up to date, with and without a
running daemon."""

from harness import can_trace
from live import REPOSITORY, LiveStory

SCHEMA = "/var/opt/tarvo/schema"
# The schema of a newer version, with one more property in a class and one more class.
NEWER = f"""
cp -r /opt/tarvo/kov/share/openwbem {SCHEMA}
sed -i 's/^class KOV_Product {{/& uint8 Level = 3;/' {SCHEMA}/kov.mof
echo 'class KOV_Newer {{ [Key] string k; }};' >>{SCHEMA}/kov.mof
"""
# One that takes a property away that instances have.
BREAKING = f"""
cp -r /opt/tarvo/kov/share/openwbem {SCHEMA}
sed -i 's/string Usernames/string Others/' {SCHEMA}/kov.mof
"""
UPGRADE = f"kov-setup --schema-dir {SCHEMA}"
CHANGES = ('kov-setup: the class "KOV_Product" in the namespace "kov" was changed.\n'
           'kov-setup: the class "KOV_Newer" in the namespace "kov" was added.\n')
RESTARTED = "kov-setup: owcimomd was stopped for that and runs again.\n"
READY = f'kov-setup: "{REPOSITORY}" is ready.\n'
START = "tarvo-owcimomd_init start >/dev/null;"
PROCESS = "tarvo-owcimomd_init status | sed 's/.*process \\([0-9]*\\).*/\\1/'"


class Upgrade(LiveStory):
    def test_works_while_no_daemon_runs(self):
        out = self.shell(NEWER + "fennik --register --name sample --username nobody;"
                         f"{UPGRADE}; {UPGRADE}; stat -c %U {REPOSITORY}/*;"
                         "fennik --list-registered-products")
        self.assertEqual(out, CHANGES + READY + READY + "owcimomd\nsample\n")

    def test_stops_the_daemon_for_a_change_and_starts_it_again(self):
        self.need_daemon()
        out = self.shell(NEWER + "fennik --register --name sample --username nobody;" + START +
                         f"{UPGRADE}; fennik --list-registered-products;"
                         "echo 'instance of KOV_Newer { k = \"1\"; };' | owmofc -n kov -;"
                         "tarvo-owcimomd_init status >/dev/null; echo $?")
        self.assertEqual(out, CHANGES + RESTARTED + READY + "sample\n"
                              "kov: 0 qualifier types, 0 classes, 1 instances\n0\n")

    def test_leaves_the_daemon_alone_when_nothing_is_to_be_changed(self):
        self.need_daemon()
        out = self.shell(NEWER + f"{UPGRADE} >/dev/null;" + START +
                         "printf 'instance of KOV_ReservedNamespace { Name = \"a\\\\n/\"; };' |"
                         "owmofc -n kov - >/dev/null;"
                         f"one=$({PROCESS}); {UPGRADE}; two=$({PROCESS});"
                         'test "$one" -gt 1 && test "$one" = "$two" && echo same')
        self.assertEqual(out, READY + "same\n")

    def test_daemon_runs_again_after_a_refusal(self):
        self.need_daemon()
        out = self.shell(BREAKING + "fennik --register --name sample --username nobody;" + START +
                         f"{UPGRADE} 2>&1 || echo $?; fennik --list-registered-products;"
                         "tarvo-owcimomd_init status >/dev/null; echo $?")
        self.assertEqual(
            out,
            f'kov-setup: error: the repository "{REPOSITORY}" cannot be brought up to date with the '
            "schema of this version, and nothing was changed in it: cannot change the class "
            '"KOV_Product" in the namespace "kov": the change would make instances of class '
            'KOV_Product invalid: they have the property "Usernames". Remove what stands in the way '
            "and run kov-setup again, or install the former version again\n1\nsample\n0\n")

    def test_daemon_opens_what_a_killed_run_leaves(self):
        self.need_daemon()
        if not can_trace():
            self.skipTest("programs cannot be traced here (strace)")
        for call in ("pwrite64", "fdatasync", "unlinkat"):
            with self.subTest(call=call):
                out = self.shell(
                    f"rm -rf {SCHEMA}; {NEWER} echo 'class KOV_{call} {{}};' >>{SCHEMA}/kov.mof;"
                    "fennik --register --name sample --username nobody;"
                    f"strace -f -qq -o /dev/null -e inject={call}:signal=SIGKILL {UPGRADE} >/dev/null 2>&1;"
                    f"ls {REPOSITORY}; " + START + f"fennik --list-registered-products; {UPGRADE} | tail -1;"
                    "tarvo-owcimomd_init stop >/dev/null; fennik --deregister --name sample")
                self.assertEqual(out, "repository.db\nrepository.db-journal\nsample\n" + READY)
