# SPDX-License-Identifier: Apache-2.0
"""A staged tree becomes the installation of a machine: kov-setup makes its owners, modes and access
lists, and touches nothing else."""

import os

from live import CONFIG, DROP_INS, REPOSITORY, STATE, LiveStory

EXAMPLE = os.environ.get("KOV_SOURCE", "") + "/examples/sample"
STAGE = "/var/opt/tarvo/stage"
BUILDER = "setpriv --reuid=12345 --regid=12345 --clear-groups"
PRIVILEGES = CONFIG.rsplit("/", 1)[0] + "/privileges"
# A staged tree of somebody without rights, with the sample product, copied to this machine.
COPIED = f"""
set -e
mkdir -p {STAGE}/opt/tarvo/kov
cp -a /opt/tarvo/kov/bin /opt/tarvo/kov/share {STAGE}/opt/tarvo/kov
chown -R 12345:12345 {STAGE}
{BUILDER} kov-setup --dest-dir {STAGE} >/dev/null
umask 002
env STAGE={STAGE} {BUILDER} {EXAMPLE}/install.sh >/dev/null
rm -rf /etc/opt/tarvo/kov /var/opt/tarvo/kov
cp -a {STAGE}/etc/opt/tarvo/kov /etc/opt/tarvo/
cp -a {STAGE}/var/opt/tarvo/kov /var/opt/tarvo/
"""
CONTENT = "find /etc/opt/tarvo /var/opt/tarvo/kov -type f -exec sha256sum {} +"


class GoingLive(LiveStory):
    def test_copied_tree_works_after_kov_setup(self):
        out = self.shell(
            COPIED + "tarvo-owcimomd_init start >/dev/null 2>&1 && echo 'not refused';"
            f"({CONTENT}) >/tmp/$$.1; kov-setup >/tmp/$$.said; ({CONTENT}) >/tmp/$$.2;"
            "diff /tmp/$$.1 /tmp/$$.2; echo --; cat /tmp/$$.said; rm /tmp/$$.*; echo --; kov-setup;"
            "echo --;"
            "tarvo-owcimomd_init start 2>&1 >/dev/null; fennik --list-registered-products;"
            "fennik --list-namespaces --name sample;"
            "fennik --register --name other --username nobody;"
            "fennik --deregister --name sample; fennik --list-registered-products"
        )
        content, said, again, works = out.split("--\n")
        self.assertEqual(content, "")
        self.assertIn(f'kov-setup: "{STATE}" belongs to owcimomd now.\n', said)
        self.assertIn(f'kov-setup: "{REPOSITORY}/repository.db" belongs to owcimomd now.\n', said)
        self.assertIn(f'kov-setup: owcimomd may read "{DROP_INS}/sample.conf" now.\n', said)
        self.assertEqual(again, f'kov-setup: "{REPOSITORY}" is ready.\n')
        self.assertEqual(works, "sample\nsample/inventory\nsample/events\nother\n")

    def test_owners_and_modes_are_those_of_an_installation_made_here(self):
        look = ("find /etc/opt/tarvo/kov /var/opt/tarvo/kov ! -name '*sample*' ! -name fennik.lock"
                " -exec getfacl -p {} + | grep -v '^$'")
        out = self.shell(f"({look}) >/var/opt/tarvo/fresh;" + COPIED +
                         f"kov-setup >/dev/null; ({look}) >/var/opt/tarvo/live;"
                         "diff /var/opt/tarvo/fresh /var/opt/tarvo/live && echo same")
        self.assertEqual(out, "same\n")

    def test_file_with_a_second_name_is_not_handed_over(self):
        for secret, place in (("/var/opt/tarvo/secret", f"{REPOSITORY}/repository.db-x"),
                              ("/etc/opt/tarvo/secret", f"{DROP_INS}/x.conf"),
                              ("/etc/opt/tarvo/secret", f"{PRIVILEGES}/x")):
            with self.subTest(place=place):
                out = self.shell(
                    f"echo secret >{secret}; chmod 600 {secret}; chown 12345:12345 {secret};"
                    f"ln {secret} {place};"
                    f"kov-setup 2>&1 || echo $?; rm {place}; stat -c '%U %a' {secret}")
                self.assertEqual(
                    out, f'kov-setup: error: "{place}" has a second name, so whose file it is cannot '
                         "be told. Remove it, or replace it by a copy, and run kov-setup again\n"
                         "1\nUNKNOWN 600\n")

    def test_links_and_pipes_are_not_followed(self):
        out = self.shell(
            "echo secret >/var/opt/tarvo/secret; chown 12345 /var/opt/tarvo/secret;"
            f"for place in {REPOSITORY}/a {DROP_INS}/a.conf {PRIVILEGES}/a; do "
            "ln -s /var/opt/tarvo/secret $place; mkfifo ${place}b; chown 12345 ${place}b; done;"
            f"timeout 20 kov-setup; stat -c '%u' /var/opt/tarvo/secret {REPOSITORY}/ab")
        self.assertEqual(out, f'kov-setup: "{REPOSITORY}" is ready.\n12345\n12345\n')

    def test_more_files_than_may_be_open_at_once(self):
        out = self.shell(
            f"cd {DROP_INS}; for n in $(seq 1100); do echo x >$n.conf; done; chmod 666 *.conf;"
            "(ulimit -n 256; kov-setup | wc -l); stat -c %a *.conf | sort -u")
        self.assertEqual(out, "1101\n644\n")

    def test_link_in_the_place_of_a_directory_is_refused(self):
        out = self.shell(
            f"mkdir /var/opt/tarvo/elsewhere; rm -r {PRIVILEGES};"
            f"mkdir /var/opt/tarvo/elsewhere/owcimomd; ln -s /var/opt/tarvo/elsewhere {PRIVILEGES};"
            "chown 12345 /var/opt/tarvo/elsewhere; kov-setup 2>&1 || echo $?;"
            "stat -c %u /var/opt/tarvo/elsewhere")
        self.assertEqual(out, f'kov-setup: error: cannot open the directory "{PRIVILEGES}": '
                              "20(Not a directory)\n1\n12345\n")

    def test_start_tells_what_it_has_to_leave_out(self):
        out = self.shell(
            f"echo 'a = b' >{DROP_INS}/x.conf; setfacl -b {DROP_INS}/x.conf; chmod 600 {DROP_INS}/x.conf;"
            f"echo 'no key' >{DROP_INS}/y.conf; tarvo-owcimomd_init start 2>&1 >/dev/null; echo $?")
        self.assertEqual(
            out,
            f'owcimomd: warning: the configuration file "{DROP_INS}/x.conf" cannot be read: '
            "Permission denied; it is left out\n"
            f'owcimomd: warning: {DROP_INS}/y.conf:1: there is no "="; the line is left out\n0\n')
