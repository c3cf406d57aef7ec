#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs random sequences of operations, some with a failing system call, on the installed tool and on
a simple model of it, and compares what is registered and the status after each.

usage: run_sequences.py [--seed N] [--count N]

A sequence that shows a difference is made as short as it can be and printed. Ends with status 1 then.
For use inside scripts/sandbox."""

import argparse
import os
import random
import shutil
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [HERE, os.path.join(HERE, "../faults")]
sys.dont_write_bytecode = True

from installation import WORK, Live, must, run  # noqa: E402
from model import Model, read_saved  # noqa: E402
from repairs import Repairs  # noqa: E402

LENGTH = 25
PRODUCTS = ("alpha", "beta", "gamma")
USERS = ("daemon", "bin", "nobody", "root")
PROVIDERS = ("p1", "p2", "p3")
SNIPPETS = ("one = 1\n", "two = 2\nthree = 3\n", "# nothing but this\n")
SAVED, CONFIGURATION = WORK + "/saved.xml", "/etc/opt/tarvo/kov"
FRESH = "fresh"
# A system call that fails, with the highest number that is tried.
FAULTS = (("pwrite64", "ENOSPC", 12), ("fdatasync", "EIO", 4), ("fsync", "EIO", 8),
          ("unlink", "EIO", 4), ("rename", "EACCES", 3), ("openat", "EACCES", 40),
          ("write", "ENOSPC", 6), ("mmap", "ENOMEM", 40), ("linkat", "EIO", 2),
          ("clone", "ENOMEM", 4))
REGISTRATION = """instance of OpenWBEM_OOPProviderRegistration {{
    InstanceID = "{product}:{name}"; Process = "/bin/true"; Protocol = "owcpp1";
    ClassName = "{product}_{name}"; NamespaceNames = {{"{product}/main"}}; ProviderTypes = {{1}};
    UserContext = 4;
}};
"""
MOF = """#pragma namespace("{product}/main")
class {product}_{name} {{ [Key] string Id; uint32 Number; }};
instance of {product}_{name} {{ Id = "one"; Number = 1; }};
"""
PRIVILEGES = "unpriv_user {{ nobody }}\nopen_r {{ /etc/{product}/{name} }}\n"


class Step:
    """One operation, and the fault that meets it, or None."""

    def __init__(self, operation, product, fault=None, **options):
        self.operation, self.product, self.fault, self.options = operation, product, fault, options

    def argv(self):
        words, options = [], self.options
        namespaces = options.get("namespaces", ())
        if namespaces:
            words += [word for name in namespaces for word in ("--" + self.operation, name)]
        elif self.operation in ("register-providers", "set-owcimomd-config"):
            words += ["--" + self.operation, "-"]
        else:
            words += ["--" + self.operation]
        words += [word for user in options.get("users", ()) for word in ("--username", user)]
        words += [word for user in options.get("readers", ()) for word in ("--ro-username", user)]
        words = Live().fennik(*words, "--name", self.product)
        if self.fault:
            call, error, number = self.fault
            words = ["strace", "-qq", "-o", WORK + "/trace", "-e",
                     f"inject={call}:error={error}:when={number}", *words]
        return words

    def stdin(self):
        if self.operation == "register-providers":
            return "".join("oop1," + ",".join(f"{WORK}/{self.product}.{name}.{kind}"
                                              for kind in ("reg", "mof", "priv")) + "\n"
                           for name in self.options["providers"])
        return self.options.get("snippet", "")

    def __str__(self):
        text = " ".join(self.argv())
        return f"printf '%s' {self.stdin()!r} | {text}" if self.stdin() else text


def write_providers():
    for product in PRODUCTS:
        for name in PROVIDERS:
            for kind, text in (("reg", REGISTRATION), ("mof", MOF), ("priv", PRIVILEGES)):
                with open(f"{WORK}/{product}.{name}.{kind}", "w", encoding="utf-8") as file:
                    file.write(text.format(product=product, name=name))


def random_step(chance, model):
    """A step that makes sense in most cases."""
    some = lambda words, most: chance.sample(words, chance.randint(1, most))  # noqa: E731
    product = chance.choice(PRODUCTS)
    has = model.products.get(product)
    names = [product + "/main", product + "/x", product + "/y"]
    kinds = ["register", "register-namespace", "register-providers", "deregister",
             "deregister-namespace"]
    if has:
        kinds += ["set-owcimomd-config", "remove-owcimomd-config", "register-namespace",
                  "register-providers", "register-providers"]
    operation = chance.choice(kinds)
    options = {}
    if operation == "register":
        options = {"users": some(USERS, 3)}
    elif operation == "set-owcimomd-config":
        options = {"snippet": chance.choice(SNIPPETS)}
    elif operation == "register-namespace":
        options = {"namespaces": some(names, 2) if chance.random() < 0.9 else ["other/x"],
                   "users": some(USERS, 2), "readers": some(USERS, 1) if chance.random() < 0.5
                   else []}
    elif operation == "register-providers":
        options = {"providers": chance.sample(PROVIDERS, chance.randint(0, 3))}
    elif operation == "deregister-namespace":
        # Providers need their namespace.
        options = {"namespaces": some(names[1 if has and has["providers"] else 0:], 1)}
    fault = None
    if chance.random() < 0.4:
        call, error, most = chance.choice(FAULTS)
        fault = call, error, chance.randint(1, most)
    return Step(operation, product, fault, **options)


def random_sequence(seed):
    chance, model, steps = random.Random(seed), Model(), []
    for _ in range(LENGTH):
        step = random_step(chance, model)
        steps.append(step)
        if not step.fault:
            model.copy().apply(step.operation, step.product, **step.options)
            model.apply(step.operation, step.product, **step.options)
    return steps


def difference(steps):
    """Runs the steps in a new installation. Returns how the tool differs from the model, or None."""
    live, model = Live(), Model()
    live.put_back(FRESH)
    for number, step in enumerate(steps):
        if step.operation.endswith("owcimomd-config") and step.product not in model.products:
            continue
        if step.operation == "deregister-namespace" and step.product + "/main" in step.options[
                "namespaces"] and model.products.get(step.product, {}).get("providers"):
            continue
        problem = differs(step, live, model)
        if problem:
            return f"step {number}: {step}\n{problem}"
    return None


def differs(step, live, model):
    after = model.copy()
    expected = after.apply(step.operation, step.product, **step.options)
    shutil.rmtree(WORK + "/configuration", ignore_errors=True)
    must(["cp", "-a", CONFIGURATION, WORK + "/configuration"])
    result = run(step.argv(), step.stdin())
    if step.fault is None and result.status != expected:
        return f"status {result.status} instead of {expected}: {result.err}"
    possible = [model]
    if result.status == 0:
        possible = [after]
        if expected != 0:
            return f"status 0 instead of {expected}"
    elif step.fault:
        # What could not be undone is repaired as the message says, and what a failed run may
        # leave in the configuration by hand.
        Repairs("").follow(result.err)
        if expected == 0 and may_have_its_effect(step, result):
            possible.append(after)
    must(live.fennik("--dump-product-state", SAVED))
    saved = read_saved(SAVED)
    for candidate in possible:
        if saved == candidate.saved():
            model.products = candidate.products
            if candidate is model and result.status != 0:
                shutil.rmtree(CONFIGURATION)
                must(["cp", "-a", WORK + "/configuration", CONFIGURATION])
            return None
    return (f"status {result.status}; registered is {saved}, and not {possible[0].saved()}\n"
            f"{result.err}")


def may_have_its_effect(step, result):
    """Whether a run that has failed may leave everything that it should do, as the manual says."""
    return (result.status == 21 or "Failed to start cimom" in result.err
            or (step.operation == "set-owcimomd-config"
                and "Cannot put the directory" in result.err))


def shortened(steps):
    """Leaves out every step that is not needed to show a difference."""
    position = 0
    while position < len(steps):
        fewer = steps[:position] + steps[position + 1:]
        if difference(fewer):
            steps = fewer
        else:
            position += 1
    return steps


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(10**6))
    parser.add_argument("--count", type=int, default=40)
    words = parser.parse_args()
    shutil.rmtree(WORK, ignore_errors=True)
    os.makedirs(WORK, mode=0o755)
    write_providers()
    Live().save(FRESH)
    for seed in range(words.seed, words.seed + words.count):
        steps = random_sequence(seed)
        if difference(steps):
            steps = shortened(steps)
            print(f"seed {seed}: {difference(steps)}", "The steps:", *steps, sep="\n")
            return 1
    print(f"{words.count} sequences of {LENGTH} steps, seeds from {words.seed}: no difference")
    return 0


if __name__ == "__main__":
    sys.exit(main())
