# SPDX-License-Identifier: Apache-2.0
"""kov-verify on the sample product: each deviation is made, named by kov-verify, and mended by the
commands that it prints, typed as they are."""

import os
import re
import shlex

from live import AS_ACCOUNT, CONFIG, DROP_INS, INIT, REPOSITORY, STATE, LiveStory

SOURCE = os.environ.get("KOV_SOURCE", "")
PRIVILEGES = CONFIG.rsplit("/", 1)[0] + "/privileges"
USERS = f"{DROP_INS}/sample.allowed_users.conf"
SNIPPET = f"{DROP_INS}/sample.conf"
DISKS = f"{PRIVILEGES}/oop1-sample_disks"
START_DISKS = f"{PRIVILEGES}/owcimomd/oop1-sample_disks"
FENNIK_STATE = "/var/opt/tarvo/kov"
# What an administrator has to fill in.
FILLED_IN = {" BACKUP": " /var/opt/tarvo/backup", " LIST": " /opt/sample/share/providers.list",
             " FILE": "".join(f" /opt/sample/share/{name}.mof" for name in ("disks", "services", "events"))}
ALL_IS_WELL = "kov-verify: everything is as registered; products: 1.\n"
RIGHT = 'root/security:OpenWBEM_UserACL.nspace="{}",username="{}"'
CONTENT = ("find /etc/opt/tarvo /var/opt/tarvo /opt/sample -exec getfacl -p {} + -exec stat -c "
           "'%n %i %h %s %y %z' {} +; find /etc/opt/tarvo /var/opt/tarvo -type f -exec sha256sum {} +")
FILL_IN = "; ".join(["s/^ *//"] + [f"s={word}={value}=g" for word, value in FILLED_IN.items()])
# Runs kov-verify, and then the commands that it prints, once each.
MEND = f"""
mend() {{
    kov-verify >"$work/said" 2>&1; echo "status $?" >>"$work/said"
    cat "$work/said"
    grep '^      ' "$work/said" | sed '{FILL_IN}' |
        awk '!seen[$0]++' >"$work/commands"
    while IFS= read -r command; do
        bash -c "$command" >"$work/log" 2>&1 </dev/null || {{ echo "COMMAND FAILED: $command"; cat "$work/log"; }}
    done <"$work/commands"
}}
"""
INSTALL = f"{SOURCE}/examples/sample/install.sh >/dev/null"


def deviations(said):
    """The lines of kov-verify that tell what is wrong."""
    return [line.strip() for line in said.splitlines() if line.startswith("  ") and line[2] != " "]


class Verifying(LiveStory):
    def tell(self, damage, *expected, before="true", rounds=1):
        """Does the damage, expects these beginnings of what is wrong in the first round, and types
        the commands of each round. In the end all must be well."""
        script = "\n".join([
            "set -e", "work=$(mktemp -d)", MEND, INSTALL, before, damage, "set +e",
            *["mend; echo =="] * rounds, "kov-verify", "echo $?", "rm -rf $work"])
        result = self.sandbox("bash", "-c", script)
        self.assertEqual(result.status, 0, result)
        *said, end = result.out.split("==\n")
        found = deviations(said[0])
        self.assertEqual(len(found), len(expected), result.out)
        for line, begin in zip(found, expected):
            self.assertEqual(line[:len(begin)], begin, result.out)
        self.assertIn("status 1\n", said[0])
        self.assertNotIn("COMMAND FAILED", result.out)
        self.assertTrue(end.startswith("kov-verify: everything is as registered; "), result.out)
        self.assertTrue(end.endswith("\n0\n"), result.out)

    def test_product_is_as_registered_after_its_installation(self):
        out = self.shell(f"kov-verify; {INSTALL}; kov-verify; kov-verify --name sample")
        self.assertEqual(out, ALL_IS_WELL.replace("1", "0") + ALL_IS_WELL * 2)

    def test_through_the_daemon(self):
        self.need_daemon()
        out = self.shell(f"{INSTALL}; {INIT} start >/dev/null 2>&1 </dev/null; kov-verify;"
                         f"{INIT} status >/dev/null && echo runs")
        self.assertEqual(
            out, ALL_IS_WELL + "kov-verify: the repository's file was not checked.\nruns\n")

    def test_nothing_is_changed(self):
        damage = (f"chmod 666 {SNIPPET}; rm {DISKS}; echo x >{USERS}; ln -s /etc/passwd {DROP_INS}/l.conf;"
                  f"mkdir {STATE}/repository-copy_QLkJ235; touch {PRIVILEGES}/oop1-other")
        out = self.shell(
            f"{INSTALL}; {damage}; ({CONTENT}) >/tmp/$$.1; kov-verify >/dev/null; echo $?;"
            f"({CONTENT}) >/tmp/$$.2; diff /tmp/$$.1 /tmp/$$.2; rm /tmp/$$.*")
        self.assertEqual(out, "1\n")

    def test_file_of_allowed_users(self):
        for damage, expected in (
            (f"rm {USERS}", f'"{USERS}" is missing'),
            (f"echo 'owcimomd.allowed_users = sampleadm samplemon eve' >{USERS}",
             f'"{USERS}" does not have exactly the product\'s users'),
            (f"rm {USERS}; ln -s /etc/passwd {USERS}", f'"{USERS}" is a symbolic link and not a file'),
            (f"rm {USERS}; mkfifo {USERS}", f'"{USERS}" is a pipe, a socket or a device and not'),
            (f"rm {USERS}; mkdir {USERS}", f'"{USERS}" is a directory and not a file'),
            (f"chown 12345 {USERS}", f'"{USERS}" does not belong to root'),
            (f"setfacl -b {USERS}; chmod 600 {USERS}", f'owcimomd may not read "{USERS}"'),
        ):
            with self.subTest(damage=damage):
                self.tell(damage, expected)
                self.setUp()
        self.assertEqual(self.shell("stat -c %a /etc/passwd"), "644\n")

    def test_snippet(self):
        for damage, expected in (
            (f"chmod 666 {SNIPPET}", f'"{SNIPPET}" has the mode 0666 instead of 0644'),
            (f"chown 12345 {SNIPPET}", f'"{SNIPPET}" does not belong to root'),
            (f"rm {SNIPPET}; ln -s /etc/shadow {SNIPPET}", f'"{SNIPPET}" is a symbolic link'),
            (f"rm {SNIPPET}; mkfifo {SNIPPET}", f'"{SNIPPET}" is a pipe'),
            (f"ln {SNIPPET} {DROP_INS}/../second", f'"{SNIPPET}" has a second name'),
        ):
            with self.subTest(damage=damage):
                # The other name of the file is a file of the configuration, too.
                more = [f'"{CONFIG.rsplit("/", 1)[0]}/second" has a second name'] * ("second" in damage)
                self.tell(damage, *more, expected)
                self.setUp()

    def test_rights(self):
        self.tell(
            f"owdeleteinstance '{RIGHT.format('sample/events', 'root')}';"
            'printf %s \'instance of OpenWBEM_UserACL { nspace = "sample/inventory"; username = '
            '"samplemon"; capability = "rwRWx"; }; instance of OpenWBEM_UserACL { nspace = '
            '"SAMPLE/inventory"; username = "eve"; capability = "rwRW"; }; instance of '
            'OpenWBEM_UserACL { nspace = "sample/gone"; username = "eve"; capability = "r"; };\' |'
            "owmofc -n root/security - >/dev/null",
            '"samplemon" has the rights "rwRWx" in the namespace "sample/inventory"',
            '"eve" has rights in the namespace "sample/inventory" under the name "SAMPLE/inventory"',
            'root has no rights in the namespace "sample/events"',
            '"eve" has rights in the namespace "sample/gone", which does not exist')

    def test_namespace(self):
        self.tell(
            "owdeletenamespace --reserved sample/events",
            'the namespace "sample/events" is missing',
            'the provider "sample:events" has lost the namespace "sample/events" with its classes')
        self.assertEqual(self.shell("fennik --list-namespaces --name sample | sort"),
                         "sample/events\nsample/inventory\n")

    def test_objects_of_a_provider(self):
        bay = "owdeleteinstance -n sample/inventory 'SAMPLE_Enclosure.Id=\"bay-0\"'"
        for damage, *expected in (
            (bay, 'the provider "sample:disks" has lost the instance sample/inventory:SAMPLE_Enclosure.'),
            (f"{bay}; owmofc --delete-class sample/inventory:SAMPLE_Enclosure",
             'the provider "sample:disks" has lost the class "SAMPLE_Enclosure" in the namespace',
             'the provider "sample:disks" has lost the instance sample/inventory:SAMPLE_Enclosure.'
             'Id="bay-0" with its class'),
            ("owmofc --delete-class sample/inventory:SAMPLE_Service",
             'the provider "sample:services" has lost the class "SAMPLE_Service" in the namespace'),
            ("owdeleteinstance 'root:OpenWBEM_OOPProviderRegistration.InstanceID=\"sample:disks\"'",
             'the provider "sample:disks" has lost its registration'),
        ):
            with self.subTest(damage=damage):
                self.tell(damage, *expected)
                self.assertEqual(self.shell("fennik --list-providers --name sample | wc -l"), "3\n")
                self.setUp()

    def test_privilege_files(self):
        for damage, expected in (
            (f"rm {DISKS}", f'the provider "sample:disks" has lost its privileges: "{DISKS}" is missing'),
            (f": >{DISKS}", f'the provider "sample:disks" has lost its privileges: "{DISKS}" is empty'),
            (f"echo 'open_r {{ /x }}' >{DISKS}", 'the provider "sample:disks" has lost its privileges: '
             f'"{DISKS}": Invalid privileges: unpriv_user not specified'),
            (f"rm {DISKS}; mkfifo {DISKS}",
             f'the provider "sample:disks" has lost its privileges: "{DISKS}" is a pipe'),
            (f"chmod 666 {DISKS}", f'"{DISKS}" has the mode 0666 instead of 0644'),
            (f"rm {START_DISKS}",
             f'the provider "sample:disks" cannot be started: "{START_DISKS}" is missing'),
            (f"sed -i s/owprovdr/root/ {START_DISKS[:-5]}services",
             'the provider "sample:services" may not be started as it is registered, but as '
             f'"{START_DISKS[:-5]}services" says'),
            (f"echo 'x {{ }}' >{PRIVILEGES}/oop1-sample_gone",
             f'"{PRIVILEGES}/oop1-sample_gone" is left over: no provider has it'),
            (f"touch {PRIVILEGES}/oop1-sample_services {PRIVILEGES}/owcimomd/oop1-x",
             f'"{PRIVILEGES}/oop1-sample_services" is left over',
             ),
        ):
            more = ([f'"{PRIVILEGES}/owcimomd/oop1-x" is left over'] if "oop1-x" in damage else [])
            with self.subTest(damage=damage):
                self.tell(damage, expected, *more)
                self.setUp()

    def test_programs(self):
        program = "/opt/sample/bin/sample-disks"
        self.tell(f"chmod a-x {program}",
                  f'the provider "sample:disks" has the program "{program}", which cannot be executed')
        self.setUp()
        self.tell(f"rm {program}",
                  f'the provider "sample:disks" has the program "{program}", which is missing')

    def test_directories_and_repository(self):
        for damage, *expected in (
            (f"chmod 777 {PRIVILEGES}", f'"{PRIVILEGES}" has the mode 0777 instead of 0755'),
            (f"setfacl -k {DROP_INS}", f'owcimomd may not read every new file in "{DROP_INS}"'),
            (f"chown 0:0 {STATE}", f'"{STATE}" does not belong to owcimomd'),
            (f"chmod 644 {REPOSITORY}/repository.db",
             f'"{REPOSITORY}/repository.db" has the mode 0644 instead of 0600'),
            (f"rm {CONFIG}", f'"{CONFIG}" is missing'),
            (f"mv {DROP_INS} {DROP_INS}2; ln -s {DROP_INS}2 {DROP_INS}",
             f'"{DROP_INS}" is not a directory'),
        ):
            with self.subTest(damage=damage):
                # Behind the link are the product's files; the new directory is empty.
                self.tell(damage, *expected, rounds=1 + ("ln -s" in damage))
                self.setUp()

    def test_left_overs(self):
        copy, back = f"{STATE}/repository-copy_QLkJ235", f"{STATE}/repository-back_LKjs2354"
        for damage, *expected in (
            (f"mkdir {copy}; touch {copy}/x", f'"{copy}" is left over: a run on a working copy'),
            (f"cp -a {REPOSITORY} {back}", f'"{back}" is left over: removing the previous'),
            (f"mv {REPOSITORY} {back}",
             f'the repository "{REPOSITORY}" is missing: an interrupted run has left it at "{back}"',
             f'the directory "{REPOSITORY}" is missing'),
            (f"mkdir {FENNIK_STATE}/repository.kov-setup",
             f'"{FENNIK_STATE}/repository.kov-setup" is left over: a kov-setup was interrupted'),
            (f"touch {DROP_INS}/.fennik-tmp-abcdefgh", f'"{DROP_INS}/.fennik-tmp-abcdefgh" is left over'),
            (f"echo owcimomd.allowed_users = eve >{DROP_INS}/other.allowed_users.conf",
             f'"{DROP_INS}/other.allowed_users.conf" is left over: there is no such product'),
            (f"mkdir {back}-files; ln {REPOSITORY}/repository.db {back}-files; "
             f"chown -R owcimomd: {back}-files", f'"{back}-files" is left over'),
        ):
            with self.subTest(damage=damage):
                self.tell(damage, *expected)
                self.setUp()

    def test_log_of_a_killed_daemon(self):
        self.need_daemon()
        self.tell(
            f"{INIT} start >/dev/null 2>&1 </dev/null; fennik --register-namespace sample/more --name sample --username x;"
            f"kill -KILL $(cat {STATE}/owcimomd.pid); sleep 1",
            f'"{REPOSITORY}/repository.db-wal" is left over: a run or the daemon was killed')

    def test_empty_log_of_a_daemon_that_was_killed_early(self):
        self.need_daemon()
        log = f"{REPOSITORY}/repository.db-wal"
        self.tell(
            f"{INIT} start >/dev/null 2>&1 </dev/null; kill -KILL $(cat {STATE}/owcimomd.pid); sleep 1",
            f'"{log}" is left over: a run or the daemon was killed')
        out = self.shell(f"{INSTALL}; setpriv --reuid=owcimomd --regid=owcimomd --clear-groups sh -c 'umask 77;"
                         f"touch {log}'; kov-verify")
        self.assertEqual(out, ALL_IS_WELL, "an empty log that no file has means nothing")

    def test_damaged_repository(self):
        backup = "/var/opt/tarvo/backup"
        self.tell(
            f"cp -a {REPOSITORY} {backup}; size=$(stat -c %s {REPOSITORY}/repository.db);"
            f"dd if=/dev/zero of={REPOSITORY}/repository.db bs=1 seek=$((size / 2)) count=3000 "
            "conv=notrunc 2>/dev/null",
            f'failed: The repository "{REPOSITORY}/repository.db" cannot be used: the file is damaged')

    def test_second_name_of_the_repository_while_the_daemon_runs(self):
        self.need_daemon()
        self.tell(
            f"{INIT} start >/dev/null 2>&1 </dev/null; ln {REPOSITORY}/repository.db "
            "/var/opt/tarvo/second", f'"{REPOSITORY}/repository.db" has a second name')

    def test_commands_write_nothing_as_root_where_the_account_could_put_a_link(self):
        out = self.shell(f"{INSTALL}; ln {REPOSITORY}/repository.db /var/opt/tarvo/second;"
                         "kov-verify || true")
        as_account = "setpriv --reuid=owcimomd --regid=owcimomd --clear-groups "
        self.assertIn(f"{as_account}cp -aT --remove-destination {REPOSITORY}/repository.db ", out)
        self.assertIn(f"&& {as_account}mv -T {REPOSITORY}/repository.db.copy ", out)
        out = self.shell(f"cd {REPOSITORY}; size=$(stat -c %s repository.db); dd if=/dev/zero "
                         "of=repository.db bs=1 seek=$((size / 2)) count=3000 conv=notrunc "
                         "2>/dev/null; kov-verify || true")
        self.assertIn("cp -aT BACKUP /var/opt/tarvo/kov/repository.restored && ", out)
        self.assertIn(f"&& mv -T /var/opt/tarvo/kov/repository.restored {REPOSITORY}\n", out)

    def test_what_a_client_has_recorded_is_not_made_true(self):
        out = self.shell(
            f"{INSTALL}; owmofc -n kov - >/dev/null <<'END'\n"
            'instance of KOV_Product { Name = "evil"; Usernames = {"u\\nowcimomd.log_file = /x"}; };\n'
            "END\n"
            "owmofc -n root - >/dev/null <<'END'\n"
            'instance of OpenWBEM_OOPProviderRegistration { InstanceID = "sample:services"; '
            'Process = "/etc/passwd"; Protocol = "owcpp1"; ClassName = "SAMPLE_Service"; '
            'NamespaceNames = {"sample/inventory"}; ProviderTypes = {1}; UserContext = 3; };\n'
            "END\n"
            "kov-verify || true")
        self.assertIn("no user can have the name", out)
        self.assertIn("has a control character in it\n      "
                      "owdeleteinstance 'kov:KOV_Product.Name=\"evil\"'\n", out)
        self.assertNotIn("evil.allowed_users.conf", out)
        self.assertIn('has the program "/etc/passwd", which cannot be executed', out)
        self.assertNotIn("chmod", out)

    def test_records_of_nobody(self):
        self.tell(
            "printf %s 'instance of KOV_ReservedNamespace { Name = \"other/a\"; }; instance of "
            'KOV_OOP1Provider { CreationClassName = "KOV_OOP1Provider"; Name = "other:x"; '
            'ProductName = "other"; RegistrationInstanceID = "other:x"; RegistrationClassName = '
            '"OpenWBEM_OOPProviderRegistration"; };\' | owmofc -n kov - >/dev/null',
            'the reservation kov:KOV_ReservedNamespace.Name="other/a" is left over',
            "the record of a provider kov:KOV_OOP1Provider.CreationClassName=")

    def test_empty_namespace_of_a_failed_registration(self):
        self.need_daemon()
        keys = ('SystemCreationClassName = "CIM_ComputerSystem"; SystemName = "localhost"; '
                'ObjectManagerCreationClassName = "CIM_ObjectManager"; ObjectManagerName = '
                '"owcimomd"; CreationClassName = "CIM_Namespace"; Name = "spare/a";')
        self.tell(
            f"{INIT} start >/dev/null 2>&1 </dev/null; printf %s 'instance of CIM_Namespace {{ {keys} }};' |"
            f" owmofc -n root - >/dev/null; {INIT} stop >/dev/null",
            'the namespace "spare/a" is left over: it has no classes')

    def test_names_cannot_print_commands_of_their_own(self):
        """Whoever may write in the namespace "kov" chooses the names of products."""
        name = "x\\n      touch /var/opt/tarvo/hacked\\n'; touch /var/opt/tarvo/hacked; '\\x1b[2J/"
        product = shlex.quote('instance of KOV_Product { Name = "' + name + '"; };')
        self.tell(
            f"printf '%s' {product} |"
            " owmofc -n kov - >/dev/null", 'no product can have the name "x\\n')
        self.assertEqual(self.shell("ls /var/opt/tarvo"), "kov\n")

    def test_records_that_a_client_has_spoilt(self):
        record = ('KOV_OOP1Provider.CreationClassName="KOV_OOP1Provider",Name="sample:services",'
                  'ProductName="sample"')
        keys = ('CreationClassName = "KOV_OOP1Provider"; Name = "sample:services"; ProductName = '
                '"sample"; RegistrationInstanceID = "sample:services"; RegistrationClassName = "{}"; '
                'ProviderMofNamespace = "sample/inventory"; ProviderMofClassNames = {{"SAMPLE_Service"}}; '
                'ProviderMofQualifierTypeNames = {}; ProviderMofInstanceNames = {};')
        right = "OpenWBEM_OOPProviderRegistration"
        for fields, expected in (
            (keys.format(right, "{}", '{"nonsense=", "SAMPLE_Service.Wrong=1"}'),
             ["has a record that names the impossible instance nonsense=",
              "has a record that names the impossible instance SAMPLE_Service.Wrong=1"]),
            (keys.format(right, "NULL", "{}"), ["has a record without the names of its objects"]),
        ):
            with self.subTest(fields=fields):
                spoilt = shlex.quote("instance of KOV_OOP1Provider { " + fields + " };")
                self.tell(f"printf %s {spoilt} | owmofc -n kov - >/dev/null",
                          *[f'the provider "sample:services" {text}' for text in expected],
                          rounds=len(expected))
                self.setUp()
        spoilt = shlex.quote(
            "instance of KOV_OOP1Provider { " + keys.format("CIM_Nothing", "{}", "{}") + " };")
        out = self.sandbox("sh", "-c", f"{INSTALL}; printf %s {spoilt} | owmofc -n kov - >/dev/null; "
                                       "kov-verify").out
        self.assertIn('the provider "sample:services" has a record of an unknown kind\n', out)
        self.assertIn(shlex.quote(f"kov:{record}"), out)

    def test_registration_that_a_client_has_changed_is_not_written_into_the_file(self):
        """The repository is the weaker witness: the product's own list mends it."""
        change = shlex.quote(
            'instance of OpenWBEM_OOPProviderRegistration { InstanceID = "sample:services"; Process '
            '= "/bin/sh"; Protocol = "owcpp1"; ClassName = "SAMPLE_Service"; NamespaceNames = '
            '{"sample/inventory"}; ProviderTypes = {1}; UserContext = 3; };')
        self.tell(
            f"printf %s {change} | owmofc -n root - >/dev/null",
            'the provider "sample:services" may not be started as it is registered, but as ')
        self.assertNotIn("/bin/sh", self.shell(f"cat {START_DISKS[:-5]}services"))

    def test_example_in_the_documents(self):
        with open(f"{SOURCE}/docs/kov-verify.md", encoding="utf-8") as file:
            text = file.read()
        example = re.search(r'^    installation:\n(?:^    .*\n)+', text, re.M)[0]
        result = self.sandbox("sh", "-c", (
            f"{INSTALL}; chmod 666 {SNIPPET}; rm {START_DISKS[:-5]}services;"
            f"mkdir {STATE}/repository-copy_QLkJ235; kov-verify"))
        self.assertEqual(result.status, 1)
        self.assertEqual(result.out, re.sub(r"^    ", "", example, flags=re.M))

    def test_users_with_odd_names(self):
        users = f"{DROP_INS}/odd.allowed_users.conf"
        self.tell(f"rm {users}", f'"{users}" is missing',
                  before="fennik --register --name odd --username \"o'x\" --username 'DOM\\tim'")

    def test_hostile_repository_directory(self):
        """The account exchanges the repository's directory for a link to what only root may read."""
        out = self.shell(
            f"{INSTALL}; mkdir -m 700 /var/opt/tarvo/secret; mv {REPOSITORY} /var/opt/tarvo/away;"
            f"setpriv --reuid=owcimomd --regid=owcimomd --clear-groups ln -s /var/opt/tarvo/secret "
            f"{REPOSITORY}; timeout 60 kov-verify 2>&1; echo $?; ls /var/opt/tarvo/secret")
        self.assertRegex(out, r"(?s)\Akov-verify: error: .*repository.*\n2\n\Z")

    def test_link_in_the_place_of_the_repository_tells_nothing_about_what_is_behind_it(self):
        """Behind it is something that looks like a repository with a log."""
        secret = "/var/opt/tarvo/secret"
        result = self.sandbox(
            "sh", "-c", f"mkdir -m 700 {secret}; head -c 18 /dev/zero >{secret}/repository.db;"
            f"printf '\\002' >>{secret}/repository.db; echo x >{secret}/repository.db-wal;"
            f"mv {REPOSITORY} /var/opt/tarvo/away; {AS_ACCOUNT} ln -s {secret} {REPOSITORY}; kov-verify")
        self.assertEqual((result.status, result.out), (2, ""))
        self.assertNotIn("left over", result.err)

    def test_more_files_in_the_repositorys_directory_than_can_be_looked_at(self):
        self.tell(
            f"cd {REPOSITORY}; {AS_ACCOUNT} sh -c 'umask 77; mkdir d; touch d/x repository.db-more;"
            "seq -f x%.0f 2000 | xargs touch'; cd /",
            f'"{REPOSITORY}" has more than 1000 files')
        self.setUp()
        result = self.sandbox(
            "sh", "-c", f"cd {REPOSITORY}; {AS_ACCOUNT} sh -c 'seq 2000 | xargs touch'; kov-setup")
        self.assertEqual(result.status, 1)
        self.assertIn(f'kov-setup: error: "{REPOSITORY}" has more than 1000 files. kov-verify shows '
                      "how to remove them\n", result.err)

    def test_more_deviations_than_can_be_kept(self):
        result = self.sandbox(
            "sh", "-c", f"{INSTALL}; for i in $(seq 8000); do printf 'instance of OpenWBEM_UserACL {{ "
            "nspace = \"gone/x\"; username = \"%01000d\"; capability = \"r\"; };\\n' $i; done |"
            "owmofc -n root/security - >/dev/null; kov-verify")
        self.assertEqual(result.status, 2)
        self.assertEqual(
            result.err, "kov-verify: error: there are more deviations than these. Mend them first, "
            "then run kov-verify again\n")
        found = deviations(result.out)
        self.assertGreater(len(found), 1000)
        self.assertLess(len(found), 8000)
        self.assertRegex(result.out, rf"(?m)^kov-verify: deviations: {len(found)}\. ")

    def test_refusals(self):
        self.assert_steps(
            ("kov-verify --name nix", 2,
             'kov-verify: error: the product "nix" is not registered; "fennik '
             '--list-registered-products" lists those that are'),
            ("kov-verify --name=", 2, "kov-verify: error: --name needs the name of a product"),
            ("kov-verify --dest-dir=", 2, "kov-verify: error: --dest-dir needs a directory"),
            ("kov-verify sample", 2, "kov-verify: error: unexpected argument: sample.*"),
            ("kov-verify >/dev/full", 2, "kov-verify: error: cannot write to standard output"),
            ("setpriv --reuid=12345 --clear-groups kov-verify", 2,
             "kov-verify: error: it must be run as root to verify this machine .*"),
            (f"flock -n -F {FENNIK_STATE}/fennik.lock true; python3 -c \"import fcntl, subprocess; "
             f"lock = open(\\\"{FENNIK_STATE}/fennik.lock\\\", \\\"w\\\"); fcntl.lockf(lock, "
             "fcntl.LOCK_EX); raise SystemExit(subprocess.run([\\\"kov-verify\\\"]).returncode)\"", 2,
             "kov-verify: error: fennik is running: .*"),
        )

    def test_staged_tree(self):
        stage = "/var/opt/tarvo/stage"
        builder = "setpriv --reuid=12345 --regid=12345 --clear-groups"
        users = f"{stage}{DROP_INS}/sample.allowed_users.conf"
        out = self.shell(
            f"mkdir -p {stage}/opt/tarvo/kov; cp -a /opt/tarvo/kov/bin /opt/tarvo/kov/share "
            f"{stage}/opt/tarvo/kov; chown -R 12345:12345 {stage}; cd {stage};"
            f"{builder} kov-setup --dest-dir {stage} >/dev/null;"
            f"env STAGE={stage} {builder} {SOURCE}/examples/sample/install.sh >/dev/null;"
            f"{builder} kov-verify --dest-dir {stage}; rm {users};"
            f"owdeletenamespace --reserved --dest-dir {stage} sample/events;"
            f"work=$(mktemp -d); kov-verify --dest-dir {stage} >$work/said; echo $?;"
            "grep '^      ' $work/said | sed 's/^ *//; s=FILE=/opt/sample/share/events.mof='"
            f" | sed 's={stage}/opt/sample/share=/opt/sample/share=; s= /opt/sample/share= {stage}/opt/sample/share='"
            f" | sed 's= LIST= {stage}/opt/sample/share/providers.list=' >$work/commands;"
            f"{builder} true; chmod 755 $work; cd {stage};"
            "while IFS= read -r command; do bash -c \"$command\" </dev/null >/dev/null || exit 9;"
            f" done <$work/commands; kov-verify --dest-dir {stage}; rm -rf $work")
        self.assertEqual(out, ALL_IS_WELL + "1\n" + ALL_IS_WELL)
