# SPDX-License-Identifier: Apache-2.0
"""Shared by the stories of the saved state: a machine that can be installed anew, products on it,
and saving and restoring their state.

Runs inside the sandbox only (copy/run_copy_story.py)."""

import os
import re
import shutil
import subprocess
from xml.etree import ElementTree

from harness import Result, describe, read, run, write
from machine import DATA, FENNIK, PLAY, MachineStory
from providers import PRIVILEGES, USER, Provider, process, registration, schema

PROGRAMS = "/opt/tarvo/kov"
OWMOFC = PROGRAMS + "/bin/owmofc"
KOV_SETUP = PROGRAMS + "/sbin/kov-setup"
SETTINGS = "/etc/opt/tarvo"
VARIABLE = "/var/opt/tarvo/kov"
CONFIGS = "/etc/opt/tarvo/kov/openwbem/openwbem.conf.d"
STATE_FILE = PLAY + "/state.xml"
DUMP = "--dump-product-state"
RESTORE = "--restore-product-state"
VERSION_LINE = "Restoring product registration from KOV version 1.4.0Release.824\n"


def users_file(product):
    return f"{CONFIGS}/{product}.allowed_users.conf"


def snippet(product):
    return f"{CONFIGS}/{product}.conf"


def own_file(product, name):
    return f"{PRIVILEGES}/oop1-{product}_{name}"


def start_file(product, name):
    return f"{PRIVILEGES}/owcimomd/oop1-{product}_{name}"


def document(products=""):
    """A state file; `products` are Product elements."""
    return (
        '<?xml version="1.0"?>\n<SavedProductState><Version>1.4.0Release.824</Version>'
        f"<SavedProducts>{products}</SavedProducts></SavedProductState>"
    )


def product(name="sample", rest="", users="<UserName>al</UserName>"):
    return f"<Product><Name>{name}</Name><AllowedUsers>{users}</AllowedUsers>{rest}</Product>"


def live_provider(name, owner, namespace=None, **details):
    """A provider whose program exists."""
    namespace = namespace or owner
    details.setdefault("registration", registration(
        name, owner, Process="/bin/true", UserContext=4 if details.get("privileges") else 3,
        NamespaceNames=[namespace]))
    details.setdefault("mof", schema(name, namespace))
    return Provider(name, **details)


class StateStory(MachineStory):
    """A machine without products."""

    def setUp(self):  # no products, and no copy of the data
        self.assertIn("KOV_SANDBOX", os.environ, "this story changes the machine that it runs on")
        os.environ["ASAN_OPTIONS"] = "detect_leaks=0"
        os.mkdir(PLAY)
        os.chmod(PLAY, 0o777)
        self.not_running()

    def not_running(self):
        self.plan(*[3] * 20)

    # The tool.

    def fennik(self, *arguments, stdin="", **_):
        self.not_running()
        return run([FENNIK, *arguments], stdin)

    def do(self, *arguments, stdin=""):
        """Runs the tool, which must succeed silently."""
        self.assertEqual(self.fennik(*arguments, stdin=stdin), Result(0, "", ""))

    def save(self, path=STATE_FILE):
        """Saves the state. Returns the content of the file and what was printed."""
        result = self.fennik(DUMP, path)
        self.assertEqual((result.status, result.err), (0, ""))
        return read(path), result.out

    def restore(self, path=STATE_FILE):
        return self.fennik(RESTORE, path)

    def restore_text(self, text):
        write(STATE_FILE, text.encode("utf-8", "surrogateescape") if isinstance(text, str) else text)
        return self.restore()

    def listings(self):
        """The Result of every listing, for every product."""
        found = {}
        for name in self.fennik("--list-registered-products").out.splitlines():
            for option in ("--list-namespaces", "--list-providers", "--get-owcimomd-config"):
                found[name, option] = self.fennik(option, "--name", name)
        return found

    # Products.

    def register(self, name, *users):
        pairs = [word for user in users for word in ("--username", user)]
        self.do("--register", "--name", name, *pairs)

    def give_namespaces(self, name, *namespaces, users=("al",), readers=()):
        words = [word for ns in namespaces for word in ("--register-namespace", ns)]
        words += [word for user in users for word in ("--username", user)]
        words += [word for user in readers for word in ("--ro-username", user)]
        self.do(*words, "--name", name)

    def set_snippet(self, name, text):
        self.do("--set-owcimomd-config", "-", "--name", name, stdin=text)

    def use(self, name, *providers):
        for provider in providers:
            provider.write_below("/")
        self.do("--register-providers", "-", "--name", name,
                stdin="".join(provider.line() for provider in providers))

    def compile(self, namespace, *files):
        result = run([OWMOFC, "-n", namespace, *files])
        self.assertEqual((result.status, result.err), (0, ""))

    def compile_text(self, namespace, mof):
        write(PLAY + "/content.mof", mof.encode())
        self.compile(namespace, PLAY + "/content.mof")

    def make_whole_product(self, name="sample"):
        """Registers a product with users, a snippet, two namespaces and three providers."""
        self.register(name, "al", "bo")
        self.set_snippet(name, f"{name}.key = 1\n")
        self.give_namespaces(name, f"{name}/a", f"{name}/b", users=("al", "zoe"), readers=("bo",))
        self.use(
            name,
            live_provider("disk", name, name + "/a", privileges=USER),
            live_provider("fan", name, name + "/b"),
            live_provider("proc", name, registration=process("proc", name, Process="/bin/true"),
                          mof=schema("proc", name + "/a")),
        )

    # Whole states.

    def install_anew(self):
        """Makes the machine a new installation."""
        for place in (SETTINGS, VARIABLE):
            for name in os.listdir(place):
                path = os.path.join(place, name)
                if os.path.isdir(path):
                    shutil.rmtree(path)
                else:
                    os.unlink(path)
        result = run([KOV_SETUP])
        self.assertEqual(result.status, 0, result)

    @staticmethod
    def settings():
        """Type, mode, owner and content of every file of the configuration."""
        found = {}
        for parent, directories, files in os.walk(SETTINGS):
            for name in [*directories, *files]:
                path = os.path.join(parent, name)
                found[path] = describe(path)
        return found

    def everything(self):
        """Type, mode, owner and content of every file of the configuration and the data."""
        return self.settings() | self.state()

    def assert_round_trip(self):
        """Saves, installs anew, restores and saves again; nothing is lost. Returns the file."""
        first, out = self.save()
        self.assertTrue(first.startswith(b'<?xml version="1.0"?>\n<!DOCTYPE SavedProductState [\n'))
        listings, settings = self.listings(), self.settings()
        names = re.findall("^Saving product registration for (.*)\n", out, re.M)
        self.assertEqual(out, "".join(f"Saving product registration for {n}\n" for n in names))
        self.install_anew()
        result = self.restore()
        self.assertEqual((result.status, result.err), (0, ""))
        self.assertEqual(result.out, VERSION_LINE + "".join(
            f"Restoring product registration for {name}\n" for name in names))
        self.assertEqual(self.listings(), listings)
        # Restoring makes an empty snippet for a product that had none.
        empty = {path: text for path, text in self.settings().items() if path not in settings}
        self.assertEqual({path for path in empty if os.path.getsize(path) != 0}, set())
        self.assertLessEqual(set(empty), {snippet(name) for name in names})
        self.assertEqual(self.settings(), settings | empty)
        self.assertEqual(os.listdir(DATA), ["repository"])
        again, _ = self.save(STATE_FILE + ".again")
        self.assertEqual(first == again, True, self.difference(first, again))
        return first

    @staticmethod
    def difference(first, again):
        lines = zip(first.splitlines(), again.splitlines())
        return next((pair for pair in lines if pair[0] != pair[1]), "one has more lines")

    def tree(self, content=None):
        return ElementTree.fromstring(content if content is not None else read(STATE_FILE))
