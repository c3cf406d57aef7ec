# SPDX-License-Identifier: Apache-2.0
"""How the commands of the pages and documents are tried: what is there when they are typed, and
what they then print; and which commands are not tried, with the reason.

A scenario is a list of steps in an installation of its own: Prepare makes the state that commands
need, Shown writes a file that a page shows, Typed runs a block of a page as it stands there. Each
must end with status 0. What a Prepare expects to be refused stands in "(! ...)": a bare "!" would
hide a failure."""

from dataclasses import dataclass


@dataclass(frozen=True)
class Prepare:
    """A shell script."""

    script: str


@dataclass(frozen=True)
class Typed:
    """The block of the page whose first command begins with `start`, the `number`th of them. Its
    output has `says` in it."""

    page: str
    start: str
    says: str = ""
    number: int = 1


@dataclass(frozen=True)
class Shown:
    """Writes the block of the page that begins with `start`, which shows a file, into `file`."""

    page: str
    start: str
    file: str


FENNIK = "packaging/man/fennik.8"
LIST = "packaging/man/kov-provider-list.5"
PRIVILEGES = "packaging/man/kov-privilege-file.5"
SAVED_STATE = "packaging/man/kov-saved-state.5"
SETUP = "packaging/man/kov-setup.8"
CONFIG = "packaging/man/openwbem.conf.5"
DAEMON = "packaging/man/owcimomd.8"
DELETE_INSTANCE = "packaging/man/owdeleteinstance.1"
DELETE_NAMESPACE = "packaging/man/owdeletenamespace.1"
OWMOFC = "packaging/man/owmofc.1"
SHOW = "packaging/man/owshow.1"
PASSWORDS = "packaging/man/owpasswd.8"
VERIFY = "packaging/man/kov-verify.8"
INIT = "packaging/man/tarvo-owcimomd_init.8"

START = Prepare("tarvo-owcimomd_init start </dev/null")
# The examples are copied to /opt/examples: see command_stories.py.
PRODUCT = Prepare("/opt/examples/sample/install.sh")
FILES = Prepare("install -d /opt/sample/bin /opt/sample/share; cd /opt/examples/sample;"
                "cp bin/* /opt/sample/bin; cp providers/* providers.list /opt/sample/share")
REGISTERED = Prepare("fennik --register --name sample --username sampleadm")
INVENTORY = Prepare("fennik --register --name sample --username sampleadm;"
                    "fennik --register-namespace sample/inventory --name sample "
                    "--username sampleadm")
STAGE = Prepare("mkdir -p /tmp/stage/opt/tarvo/kov; cp -r /opt/tarvo/kov/share "
                "/tmp/stage/opt/tarvo/kov; kov-setup --dest-dir /tmp/stage")
SHARE = "/opt/sample/share"
INSTALLED_PRIVILEGES = "/etc/opt/tarvo/kov/openwbem/privileges"
STATE = "/var/opt/tarvo/kov/openwbem"
COPY = f"{STATE}/repository-copy_QLkJ235"
BACKUP = f"{STATE}/repository-back_LKjs2354"
KEPT_FILES = Prepare(f"mkdir {BACKUP}-files; mv {STATE}/repository/* {BACKUP}-files;"
                     f"chown owcimomd: {BACKUP}-files")
WORKS = Prepare("fennik --list-registered-products")
SERVICE = Prepare("""owmofc -n sample/inventory - <<'END'
Qualifier SAMPLE_Mark : string = null, Scope(class);
class SAMPLE_Service { [Key] string Name; boolean Running; };
END""")
LISTED = 'SAMPLE_Disk,root:OpenWBEM_OOPProviderRegistration.InstanceID="sample:disks"'

SCENARIOS = {
    "a_product_in_a_staged_tree": [
        Typed(FENNIK, "mkdir -p /tmp/stage", "is ready.\nsample\n"),
    ],
    "a_staged_tree_of_the_manual": [
        Typed("docs/manual.md", "mkdir -p /tmp/stage", "is ready.\n"),
    ],
    "a_product_on_this_machine": [
        FILES, START,
        Typed(FENNIK, "fennik --register --name sample \\"),
        Typed(FENNIK, "fennik --list-registered-products",
              f"sample\nsample/inventory\nsample/events\n{LISTED}\n"),
        Typed(FENNIK, "fennik --register-providers"),
        Prepare('test -z "$(fennik --list-providers --name sample)"'),
        Typed(FENNIK, "fennik --dump-product-state", "sample"),
        Prepare("test sample/inventory = $(fennik --list-namespaces --name sample)"),
        Typed(FENNIK, "fennik --register --name sample --username sampleadm || [ $? -eq 2 ]"),
    ],
    "a_run_that_was_killed_before_the_swap": [
        PRODUCT, Prepare(f"cp -pr {STATE}/repository {COPY}"),
        Typed(FENNIK, "cd /var/opt/tarvo/kov/openwbem", "owcimomd was started"),
        Prepare(f"test ! -e {COPY}"), WORKS,
    ],
    "a_run_that_was_killed_between_the_renames": [
        PRODUCT, Prepare(f"cp -pr {STATE}/repository {COPY}; mv {STATE}/repository {BACKUP}"),
        Typed(FENNIK, "cd /var/opt/tarvo/kov/openwbem", "owcimomd was started"),
        Prepare(f"test ! -e {COPY} -a ! -e {BACKUP}"), WORKS,
    ],
    "undo_that_failed": [
        INVENTORY, SERVICE, START,
        Prepare("echo 'class SAMPLE_Lost { [Key] string Id; };' >lost.mof"),
        Typed(FENNIK, "owmofc -n sample/inventory lost.mof", "1 classes"),
        Typed(FENNIK, "owmofc --delete-class"),
        Typed(FENNIK, "owmofc -n root -", "1 instances"),
        Prepare("owmofc -n sample/events --check /dev/null"),
        Typed(FENNIK, "owdeletenamespace sample/events"),
        Prepare("(! owmofc -n sample/events --check /dev/null)"),
        Typed(FENNIK, "owdeleteinstance"),
        Prepare('test -z "$(fennik --list-registered-products)"'),
    ],
    "undo_that_left_files_beside_the_repository": [
        PRODUCT,
        KEPT_FILES, Typed(FENNIK, "runuser"), WORKS,
        KEPT_FILES, Typed("docs/working-copy.md", "runuser"), WORKS,
    ],
    "a_working_copy": [
        PRODUCT,
        Prepare(f"mkdir {COPY}"),
        Typed("docs/working-copy.md", f"rm -rf {COPY}"),
        Prepare(f"cp -pr {STATE}/repository {COPY}; mv {STATE}/repository {BACKUP}"),
        Typed("docs/working-copy.md", "cd /var/opt/tarvo/kov/openwbem"),
        Prepare(f"mkdir -p {BACKUP}/sub"),
        Typed("docs/working-copy.md", f"rm -rf {BACKUP}"),
        Prepare("fennik --register-providers - --name sample </dev/null"),
        Typed("docs/working-copy.md", "fennik --deregister-namespace"),
        Prepare('test -z "$(fennik --list-registered-products)"'),
    ],
    "provider_list": [
        PRODUCT, Shown(LIST, "oop1,", f"{SHARE}/providers.list"),
        Shown(LIST, "instance of", f"{SHARE}/disks.reg.mof"),
        Typed(LIST, "fennik --register-providers", LISTED),
        Shown(PRIVILEGES, "# The privileges", f"{SHARE}/disks.priv"),
        Typed(PRIVILEGES, "fennik --register-providers"),
        Prepare(f"cmp {SHARE}/disks.priv {INSTALLED_PRIVILEGES}/oop1-sample_disks"),
        Shown("docs/providers.md", "oop1,", f"{SHARE}/providers.list"),
        Shown("docs/privilege-files.md", "# The disk provider", f"{SHARE}/disks.priv"),
        Prepare(f"touch {INSTALLED_PRIVILEGES}/sample-common"),
        Typed("docs/providers.md", "fennik --register-providers", LISTED),
        Prepare("rm /etc/opt/tarvo/kov/openwbem/openwbem.conf.d/sample.allowed_users.conf;"
                "(! fennik --deregister --name sample)"),
        Typed("docs/providers.md", "touch"),
        Prepare("fennik --deregister --name sample"),
    ],
    "saved_state": [
        PRODUCT, START,
        Typed(SAVED_STATE, "fennik --dump-product-state", "sample"),
        Typed(SAVED_STATE, "/opt/tarvo/kov/sbin/tarvo-owcimomd_init stop", "was started"),
        Prepare("test 3 = $(fennik --list-providers --name sample | wc -l)"),
    ],
    "saved_state_of_the_document": [
        PRODUCT, Typed("docs/state-file.md", "fennik --dump-product-state", "sample"),
        Prepare("fennik --deregister --name sample"),
        Typed("docs/state-file.md", "fennik --restore-product-state", "sample"),
        Prepare("test sample = $(fennik --list-registered-products)"),
    ],
    "kov_setup_on_this_machine": [
        Prepare("rm -r /etc/opt/tarvo/kov /var/opt/tarvo/kov"),
        Typed("docs/kov-setup.md", "kov-setup", "is ready."),
        Prepare("rm -r /etc/opt/tarvo/kov /var/opt/tarvo/kov"),
        Typed(SETUP, "kov-setup\n/opt", "was started"),
        Prepare(f"tarvo-owcimomd_init stop; rm -r {STATE}/repository;"
                "mkdir /var/opt/tarvo/kov/repository.kov-setup; (! kov-setup)"),
        Typed(SETUP, "rm -r", "is ready."),
    ],
    "kov_setup_of_a_staged_tree": [
        Prepare("rm -r /etc/opt/tarvo/kov /var/opt/tarvo/kov"),
        Typed(SETUP, "mkdir -p", "belongs to owcimomd now"), START, WORKS,
    ],
    "configuration": [
        REGISTERED, START,
        Shown(CONFIG, "# /etc", "/etc/opt/tarvo/kov/openwbem/openwbem.conf"),
        Typed(CONFIG, "/opt/tarvo/kov/sbin/tarvo-owcimomd_init restart", "was started"),
        Prepare(f"grep -q ready {STATE}/owcimomd.log"),
        Typed(DAEMON, "cd /var/opt/tarvo/kov/openwbem"),
        Prepare(f"until test -e {STATE}/owcimomd.log; do sleep 0.1; done; owcimomd --ping"),
        Typed(CONFIG, "echo", "sample.events_kept_days = 14\n"),
    ],
    "daemon": [
        Typed(DAEMON, "/opt/tarvo/kov/sbin/tarvo-owcimomd_init start", "was stopped"),
        Typed(INIT, "/opt/tarvo/kov/sbin/tarvo-owcimomd_init start", "was stopped"),
        START,
        Typed(INIT, "/opt/tarvo/kov/sbin/tarvo-owcimomd_init status", "owcimomd runs"),
        Prepare("test sample = $(fennik --list-registered-products)"),
        START, Typed("docs/owcimomd.md", "runuser"),
        Prepare("owcimomd --ping"),
    ],
    "daemon_of_a_staged_tree": [
        STAGE, Typed(DAEMON, "timeout", "owcimomd: ready\n"),
    ],
    "verifying": [
        PRODUCT, Typed(VERIFY, "kov-verify", "kov-verify: everything is as registered"),
        Typed(VERIFY, "kov-verify --name sample", "kov-verify: everything is as registered"),
        START, Typed("docs/kov-verify.md", "kov-verify"),
    ],
    "passwords": [
        REGISTERED,
        Prepare("cp /etc/passwd own; echo sampleadm:x:64999:64999::/:/bin/false >>own;"
                "mount --bind own /etc/passwd; echo one >password"),
        Typed(PASSWORDS, "owpasswd sampleadm"),
        Prepare("test sampleadm = $(owpasswd --list)"),
        Typed(PASSWORDS, "owpasswd --remove"),
        Prepare('test -z "$(owpasswd --list)"'),
    ],
    "removing_the_programs": [
        Typed("docs/administration.md", "rm -rf /opt/tarvo/kov"),
        Prepare("test ! -e /opt/tarvo/kov"),
    ],
    "daemon_at_boot": [
        Typed("docs/init-script.md", "ln -s"),
        Prepare("/etc/init.d/tarvo-owcimomd start </dev/null; tarvo-owcimomd_init stop"),
        Typed("docs/init-script.md", "cp /opt/tarvo/kov/share/systemd"),
    ],
    "looking": [
        PRODUCT,
        Typed(SHOW, "owshow --products sample", "sample\n  users\n    sampleadm\n"),
        Prepare("grep -q 'class SAMPLE_Disk' inventory.mof"),
        Typed("docs/owshow.md", "owshow --namespaces"),
        Typed("docs/owshow.md", "owshow 'sample/inventory"),
        Typed("docs/owshow.md", "owshow -n sample/inventory --mof", "5 classes"),
        Typed("docs/owshow.md", "owshow --products sample"), START,
        Typed("docs/owshow.md", "owshow --products sample"),
    ],
    "drawing": [
        PRODUCT, Typed(SHOW, "owshow --dot"), Prepare("grep -q '<svg' products.svg"),
        Typed("docs/owshow.md", "owshow --products sample --dot"),
        Prepare("grep -q sampleadm sample.svg"),
    ],
    "deleting_instances": [
        PRODUCT,
        Typed(DELETE_INSTANCE, "owdeleteinstance -n sample/inventory"),
        Typed(DELETE_INSTANCE, "owdeleteinstance -n kov"),
        Prepare('test -z "$(fennik --list-registered-products)"'),
    ],
    "deleting_an_instance_by_its_full_path": [
        REGISTERED, START, Typed(DELETE_INSTANCE, "owdeleteinstance 'kov:KOV_Product"),
        Prepare('test -z "$(fennik --list-registered-products)"'),
    ],
    "deleting_instances_of_the_document": [
        REGISTERED, Prepare("fennik --register --name other --username sampleadm"),
        Typed("docs/owdelete.md", "owdeleteinstance -n kov"),
        Prepare('test -z "$(fennik --list-registered-products)"'),
    ],
    "deleting_namespaces": [
        START,
        Prepare("for ns in inventory events; do owmofc -n root - <<END\n"
                'instance of CIM_Namespace { SystemCreationClassName = "CIM_ComputerSystem";\n'
                'SystemName = "localhost"; ObjectManagerCreationClassName = "CIM_ObjectManager";\n'
                'ObjectManagerName = "owcimomd"; CreationClassName = "CIM_Namespace";\n'
                'Name = "sample/$ns"; };\nEND\ndone'),
        Typed(DELETE_NAMESPACE, "owdeletenamespace sample/inventory"), PRODUCT,
        Typed(DELETE_NAMESPACE, "owdeletenamespace --reserved"),
        Prepare("test sample/inventory = $(fennik --list-namespaces --name sample)"),
    ],
    "compiling": [
        FILES, INVENTORY,
        Typed(OWMOFC, "owmofc --check", "sample/inventory: 0 qualifier types, 1 classes"),
        Typed(OWMOFC, "owmofc -n sample/inventory -", "1 instances"),
        Typed(OWMOFC, "owdeleteinstance"),
    ],
    "compiling_as_in_the_document": [
        INVENTORY, Prepare("echo 'class KOV_Thing { [Key] string Id; };' >lost.mof;"
                           "echo 'Qualifier Mark : string = null, Scope(class);' |"
                           "owmofc -n sample/inventory -"),
        Typed("docs/owmofc.md", "owmofc -n kov lost.mof", "1 classes"),
        Typed("docs/owmofc.md", "owmofc --delete-class kov:KOV_Thing"),
    ],
}

BUILDS = "it builds everything, which is what runs this test"
LONG = "it takes minutes to hours; a test runs a sample of it"
PACKAGES = "it builds everything again; package.build makes the package of a finished build"
# By page and command.
NOT_TRIED = {
    ("README.md", "scripts/demo"): "it builds everything; continuous integration runs it",
    ("README.md", "scripts/test"): BUILDS,
    ("README.md", "scripts/package"): PACKAGES,
    ("docs/packaging.md", "scripts/package"): PACKAGES,
    ("docs/packaging.md", "cmake -G Ninja -S . -B build -DKOV_TESTS=OFF && ninja -C build && "
     "DESTDIR=X cmake --install build"): BUILDS,
    ("docs/development.md", "cmake -G Ninja -S . -B build && ninja -C build"): BUILDS,
    ("docs/development.md", "DESTDIR=$PWD/build/stage cmake --install build"): BUILDS,
    ("docs/development.md",
     "build/stage/opt/tarvo/kov/sbin/kov-setup --dest-dir $PWD/build/stage"):
        "it needs the installation of the command above it",
    ("docs/development.md",
     "build/stage/opt/tarvo/kov/bin/fennik --kov-build-system-dest-dir $PWD/build/stage --help"):
        "it needs the installation of the command above it",
    ("docs/administration.md", "userdel owcimomd"):
        "the list of accounts is a mount in a sandbox, which userdel cannot replace",
    ("docs/init-script.md", "systemctl enable --now tarvo-owcimomd"):
        "there is no systemd in a sandbox",
    ("docs/owmofc.md", "owmofc --delete-qualifier-type sample/inventory:Key"):
        "an example of a name: every class with a key uses that qualifier type",
    ("docs/reliability.md", "scripts/faults"): LONG,
    ("docs/reliability.md", "scripts/neighbours"): LONG,
    ("docs/sandbox.md", "scripts/sandbox                                      # a shell to try "
                        "things in"): "it opens a shell; every scenario runs in a sandbox",
    ("docs/sandbox.md", "scripts/sandbox fennik --list-registered-products    # one command"):
        "every scenario runs in a sandbox",
    ("docs/sandbox.md", "ninja -C build programs && DESTDIR=$PWD/build/sandbox cmake --install "
                        "build"): BUILDS,
}

# Other tests type the commands below these titles as they stand there: by page, the test's file.
TRIED_ELSEWHERE = {
    "docs/providers.md": ("tests/system/live/repair_stories.py", [
        "A registration instance is gone", "The association of a capability is gone",
        "An instance of the provider MOF is gone", "A class or a qualifier type is gone",
        "The namespace is gone", "A privilege file is gone", "A privilege file was emptied",
        "Another class is derived from a class of the provider",
        "An instance embeds a class of the provider",
        "Another class uses a qualifier type of the provider",
    ]),
}
