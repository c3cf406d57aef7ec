# SPDX-License-Identifier: Apache-2.0
"""Something of a provider of the sample product is gone or cannot be removed. The operations fail
and say what to do. The commands of docs/providers.md, exactly as written there, repair it."""

import re

from harness import read
from live import INIT, SANDBOX, LiveStory

SOURCE = SANDBOX[: -len("/scripts/sandbox")]
LIST = "/opt/sample/share/providers.list"
PRIVILEGES = "/etc/opt/tarvo/kov/openwbem/privileges"
INVENTORY, EVENTS = "sample/inventory", "sample/events"
REPLACE = f"fennik --register-providers {LIST} --name sample"
LISTING = "fennik --list-providers --name sample"
REMOVE = "fennik --register-providers - --name sample </dev/null"
DEREGISTER = "fennik --deregister --name sample"
CHANGES = (REPLACE, REMOVE, DEREGISTER)
SAVE = "fennik --dump-product-state /var/opt/tarvo/saved.xml"
FAILS = """
failing() {
    operation=$1
    shift
    if sh -c "$operation" >"$work/out" 2>&1; then echo "ended with 0: $operation"; return 1; fi
    for part; do
        grep -qF -- "$part" "$work/out" ||
            { echo "without \"$part\": $operation"; cat "$work/out"; return 1; }
    done
}
"""


def commands_of(title):
    """The commands in the section of the page with that title."""
    text = read(f"{SOURCE}/docs/providers.md").decode()
    part = text.split(f"\n### {title}\n")[1].split("\n## ")[0].split("\n### ")[0]
    lines = re.findall(r"^    (.*)\n", part, re.M)
    assert lines, f"nothing is said under {title}"
    return "\n".join(lines)


class Repairs(LiveStory):
    def setUp(self):
        super().setUp()
        self.need_daemon()

    def tell(self, title, damage, *parts, failing=(LISTING, SAVE, *CHANGES)):
        """Does the damage, expects that the operations `failing` fail with these words, runs the
        page's commands, and then lists, replaces and removes the providers and the product."""
        words = " ".join(f"'{part}'" for part in parts)
        for start in ("true", f"{INIT} start </dev/null >/dev/null"):
            with self.subTest(start=start):
                result = self.sandbox("sh", "-c", "\n".join([
                    "set -e", "work=$(mktemp -d)", FAILS,
                    f"{SOURCE}/examples/sample/install.sh >/dev/null", start, damage,
                    *(f"failing '{operation}' {words}" for operation in failing),
                    f"({commands_of(title)}\n) >\"$work/out\" 2>&1 || "
                    "{ cat \"$work/out\"; exit 1; }",
                    f"{LISTING} | wc -l", REPLACE, f"{LISTING} | wc -l", DEREGISTER,
                    "fennik --list-registered-products", f"find {PRIVILEGES} -name \"oop1-*\"",
                ]))
                self.assertEqual((result.status, result.out), (0, "3\n3\n"), result.err)

    def test_registration_instance(self):
        self.tell(
            "A registration instance is gone",
            "owdeleteinstance 'OpenWBEM_OOPProviderRegistration.InstanceID=\"sample:disks\"'",
            'The provider "sample:disks" of the product "sample" needs that instance',
            "owmofc -n root FILE", "MonitorPrivilegesFile = ",
        )

    def test_instance_of_the_provider_mof(self):
        self.tell(
            "An instance of the provider MOF is gone",
            f"owdeleteinstance -n {INVENTORY} 'SAMPLE_Enclosure.Id=\"bay-0\"'",
            'The provider "sample:disks" of the product "sample" needs that instance',
            f"owmofc -n {INVENTORY} FILE",
        )

    def test_class(self):
        again = (f"fennik --deregister-namespace {INVENTORY} --name sample;"
                 f"fennik --register-namespace {INVENTORY} --name sample --username sampleadm "
                 "--ro-username samplemon")
        self.tell(
            "A class or a qualifier type is gone", again,
            'The provider "sample:disks" of the product "sample" needs the class', "owmofc FILE",
        )

    def test_namespace(self):
        self.tell(
            "The namespace is gone", f"fennik --deregister-namespace {EVENTS} --name sample",
            'The provider "sample:events" of the product "sample" needs the namespace '
            f'"{EVENTS}"', f"fennik --register-namespace {EVENTS} --name sample", "owmofc FILE",
            # REPLACE is missing: its list names the namespace, which is refused first.
            failing=(LISTING, SAVE, REMOVE, DEREGISTER),
        )

    def test_namespace_that_was_deleted_with_its_reservation_left(self):
        """The page says to run --deregister-namespace first."""
        self.tell(
            "The namespace is gone",
            f"owdeletenamespace --reserved {EVENTS}\n"
            f"fennik --deregister-namespace {EVENTS} --name sample",
            f'needs the namespace "{EVENTS}"', failing=(LISTING, REMOVE),
        )

    def test_privilege_file(self):
        file = f"{PRIVILEGES}/owcimomd/oop1-sample_disks"
        self.tell(
            "A privilege file is gone", f"rm {file}",
            'The provider "sample:disks" of the product "sample" needs this file',
            f"> {file}",
        )

    def test_privilege_file_emptied_by_hand(self):
        file = f"{PRIVILEGES}/oop1-sample_disks"
        self.tell("A privilege file was emptied", f": >{file}",
                  f"createFile({file}) failed: 17(File exists)", failing=[REPLACE])

    def assert_in_the_way(self, title, mof, *parts):
        """Like tell(), with `mof` as the damage. The providers can be listed, but not removed."""
        self.tell(title, f"owmofc -n {INVENTORY} - >/dev/null <<'END'\n{mof}\nEND", *parts,
                  failing=CHANGES)

    def test_class_that_another_is_derived_from(self):
        self.assert_in_the_way(
            "Another class is derived from a class of the provider",
            'class LOCAL_Disk : SAMPLE_Disk { };\ninstance of LOCAL_Disk { Id = "sda"; };',
            "has to go first: LOCAL_Disk.", f"owmofc -n {INVENTORY} FILE",
        )

    def test_class_that_is_embedded(self):
        self.assert_in_the_way(
            "An instance embeds a class of the provider",
            "class LOCAL_Note { [Key] string Id; [EmbeddedObject] string About; };\n"
            'instance of LOCAL_Note { Id = "1"; About = "instance of SAMPLE_Disk { };"; };',
            'LOCAL_Note.Id="1"', f"owdeleteinstance -n {INVENTORY} OBJECTPATH",
        )

    def test_qualifier_type_that_is_used(self):
        self.assert_in_the_way(
            "Another class uses a qualifier type of the provider",
            'class LOCAL_Log { [Key, SAMPLE_Since ("1")] string Id; };',
            "class LOCAL_Log uses it", f"owmofc -n {INVENTORY} FILE",
        )

    def test_capabilities_that_nothing_connects_any_more(self):
        association = (
            'OpenWBEM_OOPProviderProcessCapabilities.ManagedElement="'
            'OpenWBEM_OOPProviderProcess.InstanceID=\\"sample:events\\"",Capabilities="'
            'OpenWBEM_OOPProviderCapabilities.InstanceID=\\"sample:events/events\\""'
        )
        self.tell("The association of a capability is gone", f"owdeleteinstance '{association}'",
                  "already exists", failing=[REPLACE])
