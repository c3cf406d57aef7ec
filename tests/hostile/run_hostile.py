#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Gives the installed tool generated files, and compares the state after each run: it is complete,
which is shown by taking it back again, or as before. A state that was saved and restored is the same.

usage: run_hostile.py [--seed N] [--count N]

Each number up to --count is a case of its own, made from the seed plus that number. A case that fails
is printed with its files, and the status is 1. For use inside scripts/sandbox."""

import argparse
import collections
import difflib
import hashlib
import os
import random
import re
import shutil
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [HERE, os.path.join(HERE, "../faults")]
sys.dont_write_bytecode = True

from damage import gently, wildly  # noqa: E402
from installation import WORK, Live, must, run  # noqa: E402
from repairs import OWMOFC  # noqa: E402
from verdict import BROKEN, DROP_INS, PRIVILEGES, difference  # noqa: E402

SAMPLE = os.path.join(HERE, "../../examples/sample")
STATE = os.path.join(HERE, "../../scripts/state")
FILES, SAVED, AGAIN = WORK + "/files", WORK + "/saved.xml", WORK + "/again.xml"
LIVE = Live()
# How scripts/state shows an empty file.
EMPTY = hashlib.sha256().hexdigest()[:16]
# Nothing is registered; the sample product is, with its namespaces and without providers.
FRESH, BARE = "fresh", "bare"
PROVIDERS = {"disks": ("reg.mof", "mof", "priv"), "services": ("reg.mof", "mof"),
             "events": ("reg.mof", "mof")}
# A provider's record names what is not there.
GONE = re.compile(r'needs the (?P<kind>class|qualifier type) "(?P<name>[^"]*)" of the namespace '
                  r'"(?P<namespace>[^"]*)", which is gone\. Compile the provider MOF')
GONE_INSTANCE = re.compile(r'needs that instance of the namespace "(?P<namespace>[^"]*)", which is gone\. '
                           r"Write this into FILE and compile it:\n(?P<mof>.*?)\n {4}\S*owmofc ", re.S)
USERS = ("daemon", "bin", "nobody", "root", "sampleadm")


class Wrong(Exception):
    """What a run has left or printed is not right."""


def read(path):
    with open(path, "rb") as file:
        return file.read()


def write(path, content):
    with open(path, "wb") as file:
        file.write(content)


def fennik(*arguments):
    """Runs the tool. Raises Wrong when it hangs, breaks down or fails without a message."""
    result = run(LIVE.fennik(*arguments))
    if result.status is None:
        raise Wrong("hung")
    if result.status < 0 or BROKEN.search(result.err):
        raise Wrong(f"broke down with {result.status}: {result.err}")
    if result.status != 0 and not result.err.strip():
        raise Wrong(f"status {result.status} without a message")
    return result


def succeed(*arguments):
    result = fennik(*arguments)
    if result.status != 0:
        raise Wrong(f"{' '.join(arguments)} fails with {result.status}: {result.err}")
    return result


def expect(before, what):
    after = LIVE.state()
    if after != before:
        raise Wrong(f"{what}: {difference(before, after)}")


def provider_files(chance, change):
    """Writes the files of some of the sample's providers and a list of them, changed at random."""
    shutil.rmtree(FILES, ignore_errors=True)
    os.makedirs(FILES)
    names = chance.sample(sorted(PROVIDERS), chance.randint(1, len(PROVIDERS)))
    lines = [b"oop1," + b",".join(f"{FILES}/{name}.{kind}".encode() for kind in PROVIDERS[name])
             for name in names]
    texts = {f"{name}.{kind}": read(f"{SAMPLE}/providers/{name}.{kind}")
             for name in names for kind in PROVIDERS[name]}
    texts["list"] = b"\n".join(lines) + b"\n"
    # Few at a time, because the first one that is refused hides the others.
    for name in chance.sample(sorted(texts), chance.randint(1, 2)):
        texts[name] = change(chance, texts[name])
    for name, text in texts.items():
        write(f"{FILES}/{name}", text)


def check_providers(chance, base):
    """Registers generated providers for the sample product."""
    provider_files(chance, chance.choice((gently, wildly, wildly)))
    result = fennik("--register-providers", FILES + "/list", "--name", "sample")
    if result.status != 0:
        expect(base, f"status {result.status}, but")
        return f"providers, status {result.status}"
    lines = [line.split(b",") for line in read(FILES + "/list").split(b"\n") if line]
    listed = {line.split("root:", 1)[-1]
              for line in succeed("--list-providers", "--name", "sample").out.splitlines()}
    # Every provider has the privileges to be started, and some have their own.
    expected = len(lines), len(lines), sum(len(line) > 3 for line in lines)
    found = len(listed), len(os.listdir(PRIVILEGES + "/owcimomd")), len(os.listdir(PRIVILEGES)) - 1
    if found != expected:
        raise Wrong(f"{found} instead of {expected} providers and privilege files of two kinds")
    complete = LIVE.state()
    succeed("--register-providers", FILES + "/list", "--name", "sample")
    expect(complete, "not the same when it is registered again")
    succeed("--register-providers", "-", "--name", "sample")
    expect(base, "not as before after removing the providers")
    return "providers, complete"


def check_configuration(chance, base):
    """Sets a generated snippet."""
    snippet = wildly(chance, read(SAMPLE + "/sample.conf"))
    os.makedirs(FILES, exist_ok=True)
    write(FILES + "/conf", snippet)
    result = fennik("--set-owcimomd-config", FILES + "/conf", "--name", "sample")
    if result.status != 0:
        expect(base, f"status {result.status}, but")
        return f"configuration, status {result.status}"
    if read(DROP_INS + "/sample.conf") != snippet:
        raise Wrong("another snippet is in the file")
    # What Python reads from a program has "\n" at the end of each line.
    lines = snippet.replace(b"\r\n", b"\n").replace(b"\r", b"\n").decode(errors="surrogateescape")
    read_back = succeed("--get-owcimomd-config", "--name", "sample").out
    if read_back != lines:
        raise Wrong(f"another snippet is read back: {read_back!r}")
    succeed("--remove-owcimomd-config", "--name", "sample")
    expect(base, "not as before after removing the snippet")
    return "configuration, complete"


def register(chance, name):
    """Registers a generated product, valid or nearly so. What is refused is left out."""
    def users(option, most):
        return [word for user in chance.sample(USERS, chance.randint(0, most))
                for word in (option, user)]

    succeed("--register", "--name", name, *(users("--username", 4) or ("--username", "daemon")))
    for namespace in chance.sample(("inventory", "events", "x/y"), chance.randint(0, 3)):
        fennik("--register-namespace", f"{name}/{namespace}", "--name", name,
               *(users("--username", 2) or ("--username", "bin")), *users("--ro-username", 1))
    if chance.random() < 0.7:
        os.makedirs(FILES, exist_ok=True)
        # White space at its beginning is not saved.
        write(FILES + "/conf", b"#" + wildly(chance, read(SAMPLE + "/sample.conf")))
        fennik("--set-owcimomd-config", FILES + "/conf", "--name", name)
    if name == "sample":
        provider_files(chance, gently)
        fennik("--register-providers", FILES + "/list", "--name", name)


def content():
    """What is registered, without the numbers of rows. A product without a snippet is restored with
    an empty one, so that both are the same."""
    return [line for line in must([STATE]).out.splitlines() if f".conf {EMPTY} " not in line]


def expect_content(expected, what):
    found = content()
    if found != expected:
        raise Wrong(what + ":\n" + "\n".join(difflib.unified_diff(expected, found, n=0, lineterm="")))


def check_saving(chance, base):
    """Saves a generated state and restores it."""
    LIVE.put_back(FRESH)
    products = chance.sample(("alpha", "beta", "gamma-2", "sample"), chance.randint(1, 4))
    for name in products:
        register(chance, name)
    result = fennik("--dump-product-state", SAVED)
    if result.status != 0:
        if "XML" not in result.err:
            raise Wrong(f"cannot be saved: {result.err}")
        LIVE.put_back(BARE)
        return "state, refused when it is saved"
    saved = content()
    LIVE.put_back(FRESH)
    succeed("--restore-product-state", SAVED)
    expect_content(saved, "what is restored is not what was saved")
    succeed("--dump-product-state", AGAIN)
    if read(SAVED) != read(AGAIN):
        raise Wrong("the state that was restored is saved as another file")
    for name in products:
        succeed("--deregister", "--name", name)
    LIVE.put_back(BARE)
    expect(base, "not put back")
    return "state, restored"


def missing(message):
    """The namespace and the MOF of what a provider's record names and is not there, as the message
    says to write it."""
    gone = GONE.search(message)
    if gone:
        kind, name = gone["kind"], gone["name"]
        return gone["namespace"], (f"class {name} {{ }};" if kind == "class" else
                                   f"Qualifier {name} : boolean, Scope(any);")
    gone = GONE_INSTANCE.search(message)
    if not gone:
        raise Wrong(f"what was restored cannot be saved: {message}")
    return gone["namespace"], gone["mof"]


def save_restored():
    """Saves what was restored from a damaged file, which may say that a provider has made what is not
    there. Then does what the message says. Returns whether that was needed."""
    repaired = False
    for _ in range(10):
        result = fennik("--dump-product-state", AGAIN)
        if result.status == 0:
            return repaired
        namespace, mof = missing(result.err)
        must([OWMOFC, "-n", namespace, "-"], mof)
        repaired = True
    raise Wrong(f"what was restored cannot be saved after ten repairs: {result.err}")


def check_restoring(chance, base):
    """Restores a damaged state file."""
    LIVE.put_back(FRESH)
    before = LIVE.state()
    write(SAVED, wildly(chance, read(WORK + "/sample.xml")))
    result = fennik("--restore-product-state", SAVED)
    if result.status != 0:
        after = LIVE.state()
        # The manual names files of allowed users and snippets.
        left = {path for path in before.keys() | after.keys() if before.get(path) != after.get(path)}
        if not all(path.startswith(DROP_INS) for path in left):
            raise Wrong(f"status {result.status}, but {difference(before, after)}")
        outcome = f"damaged state, status {result.status}"
    else:
        repaired = save_restored()
        restored = content()
        LIVE.put_back(FRESH)
        succeed("--restore-product-state", AGAIN)
        expect_content(restored, "saved and restored again it is another")
        outcome = f"damaged state, complete{' after a repair as the message says' * repaired}"
    LIVE.put_back(BARE)
    expect(base, "not put back")
    return outcome


CHECKS = (check_providers, check_providers, check_providers, check_configuration, check_saving,
          check_restoring)


def prepare():
    """Saves both states and a state file of the whole sample product."""
    shutil.rmtree(WORK, ignore_errors=True)
    os.makedirs(FILES, mode=0o755)
    LIVE.save(FRESH)
    must([SAMPLE + "/install.sh"])
    must(LIVE.fennik("--dump-product-state", WORK + "/sample.xml"))
    must(LIVE.fennik("--register-providers", "-", "--name", "sample"))
    must(LIVE.fennik("--remove-owcimomd-config", "--name", "sample"))
    LIVE.save(BARE)


def show_files():
    for name in [*(f"{FILES}/{name}" for name in sorted(os.listdir(FILES))), SAVED]:
        if os.path.exists(name):
            print(f"--- {name}", repr(read(name)), sep="\n")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(10**6))
    parser.add_argument("--count", type=int, default=100)
    words = parser.parse_args()
    prepare()
    base = LIVE.state()
    outcomes = collections.Counter()
    for seed in range(words.seed, words.seed + words.count):
        chance = random.Random(seed)
        check = chance.choice(CHECKS)
        try:
            outcomes[check(chance, base)] += 1
        except Wrong as e:
            print(f"seed {seed}, {check.__name__}: {e}")
            show_files()
            return 1
    for outcome, count in sorted(outcomes.items()):
        print(f"{count:6} {outcome}")
    print(f"{words.count} cases, seeds from {words.seed}: each is complete or as before")
    return 0


if __name__ == "__main__":
    sys.exit(main())
