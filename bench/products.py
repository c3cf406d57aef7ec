# SPDX-License-Identifier: Apache-2.0
"""Makes the products that are measured: their providers, and a saved state with many of them."""

import os
import re

from programs import FENNIK, LIVE, WORK, run

REGISTRATION = """instance of OpenWBEM_OOPProviderRegistration {{
    InstanceID = "{product}:{name}"; Process = "/bin/true"; Protocol = "owcpp1";
    ClassName = "Sample_{name}"; NamespaceNames = {{"{product}"}}; ProviderTypes = {{1}};
    UserContext = 4;
}};
"""
MOF = """#pragma namespace("{product}")
class Sample_{name} {{ [Key] string Id; string Text; uint32 Number; }};
instance of Sample_{name} {{ Id = "one"; Text = "the first"; Number = {number}; }};
"""
PRIVILEGES = "unpriv_user {{ nobody }}\nopen_r {{ /etc/sample/{name} }}\n"
PATTERN = "pattern"
PATTERN_INSTANCES = 10


class Texts:
    """The files with which a product registers, written below an installation: a configuration
    snippet, and `providers` providers, each with a class, an instance and a privilege file."""

    def __init__(self, installation, product, providers):
        directory = f"{WORK}/texts/{product}"
        os.makedirs(installation.prefix + directory, exist_ok=True)
        self.snippet = directory + "/snippet"
        write(installation.prefix + self.snippet, f"{product}.setting = 1\n")
        self.list = f"{installation.prefix}{directory}/list"
        self.registrations, self.mofs, lines = [], [], []
        for number in range(providers):
            name = f"p{number:05}"
            files = [f"{directory}/{name}.{kind}" for kind in ("reg", "mof", "priv")]
            for file, text in zip(files, (REGISTRATION, MOF, PRIVILEGES)):
                write(installation.prefix + file,
                      text.format(product=product, name=name, number=number))
            self.registrations.append(installation.prefix + files[0])
            self.mofs.append(installation.prefix + files[1])
            lines.append(f"oop1,{','.join(files)}\n")
        write(self.list, "".join(lines))


def write(path, text):
    with open(path, "w", encoding="utf-8") as out:
        out.write(text)


def write_pattern_state(path):
    """Registers a product that has everything a product may have in the live installation, whose
    daemon is stopped, and saves it."""
    run(LIVE.fennik("register", "--name", PATTERN, "--username", "writer", "--username", "reader"))
    texts = Texts(LIVE, PATTERN, 1)
    run(LIVE.fennik("set-owcimomd-config", texts.snippet, "--name", PATTERN))
    run(LIVE.fennik("register-namespace", PATTERN, "--name", PATTERN, "--username", "writer",
                    "--ro-username", "reader"))
    run(LIVE.fennik("register-providers", texts.list, "--name", PATTERN))
    parts = WORK + "/parts.mof"
    write(parts, "class Part { [Key] string Name; string Description; };\n" + "".join(
        f'instance of Part {{ Name = "{number}"; Description = "A part of the product"; }};\n'
        for number in range(PATTERN_INSTANCES)))
    run(LIVE.owmofc(PATTERN, parts))
    run([FENNIK, "--dump-product-state", path])


def write_state(path, pattern_state, count):
    """Writes the state of `count` products, each a copy of the pattern under another name."""
    with open(pattern_state, encoding="utf-8", newline="") as text:
        before, product, after = re.fullmatch(r"(.*?)( *<Product>.*</Product>\n)(.*)", text.read(),
                                              re.DOTALL).groups()
    with open(path, "w", encoding="utf-8", newline="") as out:
        out.write(before)
        for number in range(count):
            out.write(product.replace(PATTERN, f"product{number:05}"))
        out.write(after)
