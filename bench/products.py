# SPDX-License-Identifier: Apache-2.0
"""The files that the measured products register themselves with."""

import os

from programs import WORK

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


class Texts:
    """The files that a product registers itself with, below an installation: a snippet of
    configuration, and so many providers with a class, an instance and a privilege file each."""

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
