# SPDX-License-Identifier: Apache-2.0
"""kov-setup on a machine: the account, owners, modes and the access list."""

import shutil

from live import AS_ACCOUNT, CONFIG, DROP_INS, REPOSITORY, STATE, LiveStory

# Gives the sandbox an /etc of its own, without the account, in which useradd can work, and removes
# what the first set-up made.
ANEW = """
set -e
mount -t tmpfs -o mode=0755 etc /mnt
for entry in /etc/*; do
    case $entry in /etc/opt) ;; *) cp -a "$entry" /mnt ;; esac
done
mkdir -p /mnt/opt/tarvo
mount --bind /mnt /etc
mount -t tmpfs log /var/log
for file in passwd group shadow gshadow; do sed -i /^owcimomd:/d /etc/$file; done
rm -rf /var/opt/tarvo/kov
"""


class Setup(LiveStory):
    def test_gives_the_repository_and_its_parent_to_the_account(self):
        out = self.shell(f"stat -c '%n %a %U:%G' /var/opt/tarvo/kov {STATE} {REPOSITORY} {REPOSITORY}/*")
        self.assertEqual(
            out.splitlines(),
            [
                "/var/opt/tarvo/kov 755 root:root",
                f"{STATE} 755 owcimomd:owcimomd",
                f"{REPOSITORY} 700 owcimomd:owcimomd",
                f"{REPOSITORY}/repository.db 600 owcimomd:owcimomd",
            ],
        )

    def test_keeps_the_configuration_roots(self):
        base = CONFIG.rsplit("/", 1)[0]
        places = f"{base} {CONFIG} {DROP_INS} {base}/privileges {base}/privileges/owcimomd"
        rows = [line.split(" ", 1)[1] for line in self.shell(
            f"stat -c '%n %a %U:%G' {places}").splitlines()]
        self.assertEqual(rows, ["755 root:root", "644 root:root"] + ["755 root:root"] * 3)

    def test_lets_the_account_read_what_root_writes_into_the_drop_in_directory(self):
        out = self.shell(
            f"umask 077; echo 'a = b' >{DROP_INS}/x.conf; {AS_ACCOUNT} cat {DROP_INS}/x.conf;"
            f"setpriv --reuid=65534 --regid=65534 --clear-groups cat {DROP_INS}/x.conf 2>&1 || true;"
            f"{AS_ACCOUNT} sh -c 'echo more >>{DROP_INS}/x.conf' 2>/dev/null && echo written;"
            f"{AS_ACCOUNT} touch {DROP_INS}/y.conf 2>/dev/null && echo made; true"
        )
        self.assertEqual(
            out.splitlines(), ["a = b", f"cat: {DROP_INS}/x.conf: Permission denied"]
        )

    def test_lets_the_account_read_what_fennik_writes_there(self):
        out = self.shell(
            "fennik --register --name sample --username alice;"
            "echo 'a = b' | fennik --set-owcimomd-config - --name sample;"
            f"{AS_ACCOUNT} cat {DROP_INS}/sample.conf {DROP_INS}/sample.allowed_users.conf"
        )
        self.assertIn("a = b", out)
        self.assertIn("alice", out)

    def test_repository_can_be_used_and_removed_by_the_account(self):
        out = self.shell(
            "fennik --register --name sample --username alice;"
            f"{AS_ACCOUNT} cp -pR {REPOSITORY} {STATE}/copy; {AS_ACCOUNT} rm -rf {REPOSITORY};"
            f"ls {STATE}"
        )
        self.assertEqual(out, "copy\n")

    def test_name_that_the_account_has_chosen_forges_no_line(self):
        out = self.shell(f"cd {REPOSITORY}; {AS_ACCOUNT} touch \"$(printf 'x\\nkov-setup: forged')\";"
                         "kov-setup")
        self.assertEqual(out.splitlines(), [
            f'kov-setup: "{REPOSITORY}/x\\nkov-setup: forged" has the mode 0600 now.',
            f'kov-setup: "{REPOSITORY}" is ready.'])

    def test_makes_the_account_where_there_is_none(self):
        out = self.shell(
            ANEW + "! id owcimomd 2>/dev/null; kov-setup; id -gn owcimomd;"
            f"getent passwd owcimomd | cut -d: -f6,7; stat -c %U:%G {STATE} {REPOSITORY};"
            "grep ^owcimomd: /etc/shadow | cut -d: -f2"
        )
        made = "owcimomd:owcimomd"
        self.assertEqual(
            out.splitlines()[1:],
            ["owcimomd", "/nonexistent:/usr/sbin/nologin", made, made, "!"],
        )

    def test_makes_nothing_where_the_account_cannot_be_made(self):
        result = self.sandbox(
            "sh", "-c", ANEW + f"rm /etc/shadow; mkdir /etc/shadow; kov-setup || echo $?; ls -d {STATE} || true"
        )
        self.assertIn('cannot create the account "owcimomd": /usr/sbin/useradd', result.err)
        self.assertEqual(result.out, "1\n")

    def test_names_the_configuration_that_it_cannot_write(self):
        if shutil.which("strace") is None:
            self.skipTest("strace is not installed")
        result = self.sandbox(
            "sh", "-c", f"rm {CONFIG}; strace -f -qq -o /dev/null -P {CONFIG} "
            "-e inject=openat:error=ENOSPC kov-setup")
        self.assertEqual((result.status, result.out), (1, ""))
        self.assertEqual(
            result.err,
            f'kov-setup: error: cannot write "{CONFIG}": 28(No space left on device)\n')

    def test_does_nothing_the_second_time(self):
        look = "find /etc/opt/tarvo /var/opt/tarvo -printf '%p %m %u %g %n %T@ %C@\n' | grep -v tarvo/root"
        out = self.shell(f"kov-setup; ({look}) >/tmp/$$.1; kov-setup; ({look}) >/tmp/$$.2;"
                         "diff /tmp/$$.1 /tmp/$$.2; rm /tmp/$$.1 /tmp/$$.2")
        self.assertEqual(out, f'kov-setup: "{REPOSITORY}" is ready.\n' * 2)

    def test_leaves_a_running_daemon_alone(self):
        out = self.shell("tarvo-owcimomd_init start >/dev/null; kov-setup;"
                         "tarvo-owcimomd_init status | sed 's/process .*/process)/'")
        self.assertEqual(out, f'kov-setup: "{REPOSITORY}" is ready.\n'
                              "owcimomd runs (process)\n")
