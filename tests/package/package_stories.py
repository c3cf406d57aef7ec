# SPDX-License-Identifier: Apache-2.0
"""Stories of the Debian package, one on each machine that tests/package/machine makes.

    package_stories.py --list        prints their names
    package_stories.py DIR NAME      runs one, as root on such a machine, with the package in DIR"""

import glob
import os
import pathlib
import re
import subprocess
import sys
import time
import unittest

PROGRAMS = "/opt/tarvo/kov"
INIT = PROGRAMS + "/sbin/tarvo-owcimomd_init"
STATE = "/var/opt/tarvo/kov/openwbem"
CONFIG = "/etc/opt/tarvo/kov/openwbem/openwbem.conf"
LOGS = "/var/log/owcimomd"
POLICY = "/usr/sbin/policy-rc.d"
SAMPLE = "/usr/share/doc/fennik/examples/sample"
# Where a package may leave something. What dpkg, man-db and the account's tools keep is not its own.
PLACES = ["/etc", "/opt", "/var", "/usr", "/lib"]
KEPT = ("/var/lib/dpkg", "/var/cache", "/var/log/dpkg.log", "/etc/passwd", "/etc/group", "/etc/shadow",
        "/etc/gshadow", "/etc/subuid", "/etc/subgid", "/etc/.pwd.lock")


def shell(text):
    return subprocess.run(["sh", "-c", text], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, check=False)


def package():
    return glob.glob(f"{PACKAGES}/fennik_*.deb")[0]


def names():
    """Every path that a package may have left."""
    found = shell("find " + " ".join(PLACES) + " -xdev -print").stdout.splitlines()
    return {name for name in found if not name.startswith(KEPT)}


class PackageStory(unittest.TestCase):
    maxDiff = None

    def run_ok(self, text):
        done = shell(text)
        self.assertEqual(done.returncode, 0, f"{text}\n{done.stdout}")
        return done.stdout

    def install(self):
        return self.run_ok(f"dpkg -i {package()}")

    def next_version(self):
        """The same package, with a later version and a class more in its schema."""
        self.run_ok(f"dpkg-deb -R {package()} /tmp/next")
        with open(f"/tmp/next{PROGRAMS}/share/openwbem/kov.mof", "a", encoding="utf-8") as schema:
            schema.write("class KOV_Next { [Key] string Name; };\n")
        self.run_ok("sed -i 's/^Version: .*/&+next1/' /tmp/next/DEBIAN/control")
        self.run_ok("dpkg-deb -Zgzip -z1 -b /tmp/next /tmp/next.deb")
        return "/tmp/next.deb"

    def daemon(self):
        """The daemon's process id; None when it does not run."""
        done = shell(f"{INIT} status")
        return int(done.stdout.split("process ")[1].split(")")[0]) if done.returncode == 0 else None

    def assert_runs(self):
        self.assertIsNotNone(self.daemon(), shell(f"{INIT} status").stdout)
        self.run_ok(f"{PROGRAMS}/sbin/owcimomd --ping")

    def wait_for(self, condition, what):
        end = time.monotonic() + 30
        while not condition():
            self.assertLess(time.monotonic(), end, f"waiting for {what}")
            time.sleep(0.1)

    def registered(self):
        return [self.run_ok(f"fennik {command}") for command in
                ("--list-registered-products", "--list-namespaces --name sample",
                 "--list-providers --name sample")]

    def register_sample(self):
        self.run_ok("useradd -M alice; useradd -M bob; useradd -M carol; " + SAMPLE + "/install.sh")
        registered = self.registered()
        self.assertEqual(registered[0], "sample\n")
        return registered

    def test_installing_makes_a_machine_ready(self):
        self.install()
        self.assert_runs()
        self.assertEqual(self.run_ok(f"stat -c %U /proc/{self.daemon()}"), "owcimomd\n")
        self.assertEqual(self.run_ok("dpkg --audit; dpkg --verify fennik"), "")
        version = self.run_ok("dpkg-query -W -f '${Version}' fennik")
        self.assertIn(version, self.run_ok("kov-setup --version").split())
        self.assertEqual(self.run_ok("kov-setup"),
                         f'kov-setup: "{STATE}/repository" is ready.\n')
        self.register_sample()
        self.run_ok("kov-verify")

    def test_every_program_with_a_manual_page_is_found(self):
        self.install()
        programs = set(os.listdir(PROGRAMS + "/bin") + os.listdir(PROGRAMS + "/sbin"))
        found = set()
        for section, place in (("1", "/usr/bin/"), ("8", "/usr/sbin/")):
            pages = self.run_ok(f"dpkg -L fennik | grep /man{section}/").split()
            for page in pages:
                name = os.path.basename(page).split(".")[0]
                target = os.readlink(place + name)
                self.assertIn(target, (f"{PROGRAMS}/bin/{name}", f"{PROGRAMS}/sbin/{name}"))
                self.assertEqual(self.run_ok(f"man -w {name}").strip(), page)
                found.add(name)
        self.assertLessEqual({"fennik", "kov-setup", "owmofc"}, found)
        self.assertLessEqual(found, programs)

    def test_every_link_in_the_documents_leads_to_a_shipped_file(self):
        self.install()
        shipped = set(self.run_ok("dpkg -L fennik").splitlines())
        checked = 0
        for page in (name for name in shipped if name.endswith(".md")):
            text = pathlib.Path(page).read_text(encoding="utf-8")
            for target in re.findall(r"\]\(([^)#\s]+)", text):
                if not re.match(r"[a-z]+:", target):
                    path = os.path.normpath(os.path.join(os.path.dirname(page), target))
                    self.assertIn(path, shipped, f"{page} links to {target}")
                    checked += 1
        self.assertGreater(checked, 100)

    def test_an_upgrade_keeps_the_products_and_runs_the_new_daemon(self):
        self.install()
        registered = self.register_sample()
        pathlib.Path(CONFIG).write_text("owcimomd.log_level = debug\n", encoding="utf-8")
        before = self.daemon()
        self.run_ok(f"dpkg -i {self.next_version()}")
        self.assertIn("+next1", self.run_ok("dpkg-query -W fennik"))
        self.assert_runs()
        self.assertNotEqual(self.daemon(), before)
        self.assertEqual(self.registered(), registered)
        self.run_ok("echo 'class KOV_AfterNext : KOV_Next {};' | owmofc -n kov -")
        self.assertEqual(pathlib.Path(CONFIG).read_text(encoding="utf-8"),
                         "owcimomd.log_level = debug\n")
        self.assertEqual(self.run_ok("kov-setup"),
                         f'kov-setup: "{STATE}/repository" is ready.\n')

    def test_an_upgrade_leaves_a_disabled_daemon_stopped(self):
        self.install()
        self.run_ok(f"{INIT} stop; update-rc.d tarvo-owcimomd disable")
        self.run_ok(f"dpkg -i {self.next_version()}")
        self.assertIsNone(self.daemon())

    def test_where_no_daemon_may_be_started_a_running_one_runs_again(self):
        pathlib.Path(POLICY).write_text("#!/bin/sh\nexit 101\n", encoding="utf-8")
        os.chmod(POLICY, 0o755)
        self.install()
        self.assertIsNone(self.daemon())
        self.assertTrue(os.path.isdir(STATE + "/repository"))
        self.run_ok(f"{INIT} start")
        before = self.daemon()
        self.run_ok(f"dpkg -i {self.next_version()}")
        self.assert_runs()
        self.assertNotEqual(self.daemon(), before)
        self.run_ok("dpkg --remove fennik")
        self.assertFalse(os.path.exists(f"/proc/{before}"))
        self.assertEqual(shell("pgrep -u owcimomd").stdout, "")

    def test_a_damaged_repository_is_named_and_mended_later(self):
        self.install()
        registered = self.register_sample()
        self.run_ok(f"{INIT} stop; mv {STATE}/repository {STATE}/kept; "
                    f"echo no repository >{STATE}/repository")
        failed = shell(f"dpkg -i {self.next_version()}")
        self.assertNotEqual(failed.returncode, 0)
        self.assertIn(f'"{STATE}/repository" is not a directory', failed.stdout)
        self.assertIn('Mend it, then run "dpkg --configure fennik".', failed.stdout)
        self.run_ok(f"rm {STATE}/repository; mv {STATE}/kept {STATE}/repository; "
                    "dpkg --configure fennik")
        self.assert_runs()
        self.assertEqual(self.registered(), registered)

    def test_removing_keeps_the_data_for_the_next_installation(self):
        self.install()
        registered = self.register_sample()
        self.run_ok("dpkg --remove fennik")
        self.assertEqual(shell("pgrep -u owcimomd").stdout, "")
        self.assertFalse(os.path.exists(PROGRAMS))
        self.assertTrue(os.path.exists(CONFIG))
        self.assertEqual(self.run_ok("sh /etc/init.d/tarvo-owcimomd start"), "")
        self.install()
        self.assert_runs()
        self.assertEqual(self.registered(), registered)

    def test_purging_leaves_only_the_account(self):
        self.run_ok("useradd -M alice; useradd -M bob; useradd -M carol")
        before = names()
        self.install()
        self.run_ok(SAMPLE + "/install.sh && " + SAMPLE + "/uninstall.sh")
        pathlib.Path(LOGS + "/owcimomd.log").write_text("a line\n", encoding="utf-8")
        self.run_ok("dpkg --purge fennik")
        self.assertEqual(sorted(names() - before), [])
        self.assertEqual(sorted(before - names()), [])
        self.assertEqual(self.run_ok("getent passwd owcimomd").split(":")[6], "/usr/sbin/nologin\n")

    def test_purging_touches_nothing_outside_and_no_other_product(self):
        os.makedirs("/etc/opt/tarvo/other")
        os.makedirs("/precious/directory")
        pathlib.Path("/precious/file").write_text("kept\n", encoding="utf-8")
        pathlib.Path("/precious/directory/file").write_text("kept\n", encoding="utf-8")
        self.install()
        for name in (STATE + "/to-a-directory", LOGS + "/to-a-directory"):
            os.symlink("/precious", name)
        self.run_ok("dpkg --purge fennik")
        self.assertFalse(os.path.lexists("/var/opt/tarvo"))
        self.assertFalse(os.path.lexists(LOGS))
        self.assertEqual(os.listdir("/etc/opt/tarvo"), ["other"])
        self.assertEqual(sorted(os.listdir("/precious")), ["directory", "file"])
        self.assertEqual(os.listdir("/precious/directory"), ["file"])

    def test_its_log_is_rotated_as_the_account(self):
        if shell("command -v logrotate").returncode != 0:
            self.skipTest("there is no logrotate")
        self.install()
        pathlib.Path(CONFIG).write_text(f"owcimomd.log_file = {LOGS}/owcimomd.log\n", encoding="utf-8")
        self.run_ok(f"{INIT} restart")
        before = pathlib.Path(LOGS + "/owcimomd.log").read_text(encoding="utf-8")
        self.assertNotEqual(before, "")
        pathlib.Path("/precious").write_text("kept\n", encoding="utf-8")
        os.symlink("/precious", LOGS + "/evil.log")
        pid = self.daemon()
        self.run_ok("logrotate --force /etc/logrotate.d/tarvo-owcimomd")
        rotated = pathlib.Path(LOGS + "/owcimomd.log.1")
        self.assertTrue(rotated.read_text(encoding="utf-8").startswith(before))
        self.assertEqual(rotated.owner(), "owcimomd")
        self.assertEqual(pathlib.Path("/precious").read_text(encoding="utf-8"), "kept\n")
        self.wait_for(lambda: os.path.exists(LOGS + "/owcimomd.log"), "a new log")
        self.assertEqual(pathlib.Path(LOGS + "/owcimomd.log").owner(), "owcimomd")
        self.assertEqual(self.daemon(), pid)


if __name__ == "__main__":
    if sys.argv[1:] == ["--list"]:
        print("\n".join(unittest.defaultTestLoader.getTestCaseNames(PackageStory)))
        sys.exit(0)
    PACKAGES = sys.argv[1]
    if not glob.glob(f"{PACKAGES}/fennik_*.deb"):
        print("there is no package")
        sys.exit(77)
    result = unittest.TextTestRunner(verbosity=2).run(PackageStory(sys.argv[2]))
    if result.skipped:
        sys.exit(77)
    sys.exit(0 if result.wasSuccessful() and result.testsRun == 1 else 1)
