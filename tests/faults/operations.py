# SPDX-License-Identifier: Apache-2.0
"""The operations that are made to fail, and the installation that they work on: the sample product
with everything that a product may have, and two others."""

import os
import shutil

from installation import FENNIK, WORK, Installation, Live, must, run

SAMPLE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../examples/sample")
LIST = WORK + "/changed.list"
# The directory of the files that operations write.
WRITTEN = WORK + "/written"
SAVED = WRITTEN + "/saved.xml"
STATE_FILE = WORK + "/state.xml"
# The state of the installation: everything is registered, or nothing is.
FULL, FRESH = "full", "fresh"


class Operation:
    """One operation: its arguments, its standard input, the state in which it begins, whether it
    works in a staged tree, the file that it writes, and whether its output is what it is for."""

    def __init__(self, name, *arguments, stdin="", base=FULL, staged=True, writes=None,
                 lists=False):
        self.name, self.arguments, self.stdin = name, arguments, stdin
        self.base, self.staged, self.writes, self.lists = base, staged, writes, lists

    def argv(self, installation):
        return installation.fennik("--" + self.name, *self.arguments)


OPERATIONS = (
    Operation("register", "--name", "gamma", "--username", "daemon", "--username", "nobody"),
    Operation("set-owcimomd-config", "-", "--name", "sample", stdin="sample.changed = 1\n"),
    Operation("get-owcimomd-config", "--name", "sample", lists=True),
    Operation("remove-owcimomd-config", "--name", "sample"),
    Operation("register-namespace", "alpha/more", "--name", "alpha", "--username", "daemon",
              "--ro-username", "nobody"),
    Operation("list-namespaces", "--name", "sample", lists=True),
    Operation("register-providers", LIST, "--name", "sample"),
    Operation("list-providers", "--name", "sample", lists=True),
    Operation("list-registered-products", lists=True),
    Operation("dump-product-state", SAVED, writes=SAVED),
    Operation("deregister-namespace", "alpha/one", "--name", "alpha", staged=False),
    Operation("deregister", "--name", "sample", staged=False),
    Operation("restore-product-state", STATE_FILE, base=FRESH, staged=False),
)


def named(name):
    return next(operation for operation in OPERATIONS if operation.name == name)


def populate(installation):
    """Registers the products in an installation as kov-setup has made it, and saves both states.
    No daemon may run."""
    installation.save(FRESH)
    must([SAMPLE + "/install.sh"], env=dict(os.environ, STAGE=installation.prefix))
    for product in ("alpha", "beta"):
        must(installation.fennik("--register", "--name", product, "--username", "daemon"))
        must(installation.fennik("--register-namespace", product + "/one", "--name", product,
                                 "--username", "daemon"))
        must(installation.fennik("--set-owcimomd-config", "-", "--name", product),
             stdin=product + ".on = 1\n")
    installation.save(FULL)


def prepare():
    """Makes and populates the live installation and a staged one, and writes the files that the
    operations name."""
    shutil.rmtree(WORK, ignore_errors=True)
    os.makedirs(WORK, mode=0o755)
    os.mkdir(WRITTEN)
    live, staged = Live(), Installation()
    share = staged.prefix + "/opt/tarvo/kov"
    os.makedirs(share)
    must(["cp", "-a", "/opt/tarvo/kov/bin", "/opt/tarvo/kov/share", share])
    must(["kov-setup", "--dest-dir", staged.prefix])
    for installation in (live, staged):
        populate(installation)
    write_files()
    return live, staged


def write_files():
    """Writes the files that the operations name. The live installation is populated."""
    # The sample's list without its second provider, in another order.
    with open(SAMPLE + "/providers.list", encoding="utf-8") as lines:
        disks, _, events = lines
    with open(LIST, "w", encoding="utf-8") as file:
        file.write(events + disks)
    must(Live().fennik("--dump-product-state", STATE_FILE))
    assert run([FENNIK, "--list-providers", "--name", "sample"]).out.count("\n") == 3
