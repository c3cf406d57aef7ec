# SPDX-License-Identifier: Apache-2.0
"""Shared by the stories of providers: the files that a product needs to register them, and a staged
tree in which the product "sample" is registered."""

import os
from dataclasses import dataclass

from harness import Result, Story, write

PRIVILEGES = "/etc/opt/tarvo/kov/openwbem/privileges"
FILES = "opt/tarvo/sample"  # the product's own files, below the prefix
REGISTRATION = "OpenWBEM_OOPProviderRegistration"
PROCESS = "OpenWBEM_OOPProviderProcess"
CAPABILITIES = "OpenWBEM_OOPProviderCapabilities"
PROCESS_CAPABILITIES = "OpenWBEM_OOPProviderProcessCapabilities"
PROGRAM = "/bin/true"  # every machine has it
USER = "unpriv_user { nobody }\n"
FENNIK_ERROR = 14
MOF_ERROR = 33


def literal(value):
    """The MOF of a value."""
    if isinstance(value, list):
        return "{" + ", ".join(literal(item) for item in value) + "}"
    if not isinstance(value, str):
        return str(value)
    escaped = value.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n")
    return f'"{escaped}"'


def instance(class_name, **properties):
    """The MOF of an instance, without the properties that are None."""
    lines = [f" {name} = {literal(value)};\n" for name, value in properties.items()
             if value is not None]
    return f"instance of {class_name} {{\n{''.join(lines)}}};\n"


def registration(name="disk", product="sample", of=REGISTRATION, **changed):
    """A valid registration instance with some properties changed."""
    values = {
        "InstanceID": f"{product}:{name}", "Process": f"/usr/lib/{product}/{name}",
        "Protocol": "owcpp1", "ClassName": "Sample_" + name.capitalize(), "UserContext": 3,
    }
    if of == REGISTRATION:
        values |= {"NamespaceNames": [product], "ProviderTypes": [1]}
    return instance(of, **(values | changed))


def process(name="proc", product="sample", **changed):
    """A process that serves one class."""
    capabilities = f'{CAPABILITIES}.InstanceID="{product}:{name}-caps"'
    served = f'{PROCESS}.InstanceID="{product}:{name}"'
    return (
        registration(name, product, of=PROCESS, **changed)
        + instance(CAPABILITIES, InstanceID=f"{product}:{name}-caps", ClassName="Sample_Served",
                   NamespaceNames=[product], ProviderTypes=[1, 5])
        + instance(PROCESS_CAPABILITIES, ManagedElement=served, Capabilities=capabilities)
    )


def schema(name="disk", namespace="sample"):
    """A provider MOF: a qualifier type, a class and its subclass, and instances of both."""
    upper = "Sample_" + name.capitalize()
    return (
        f'#pragma namespace("{namespace}")\n'
        f"Qualifier {upper}Unit : string, Scope(property);\n"
        f"class {upper} {{ [Key] string Id; [{upper}Unit(\"byte\")] uint64 Size; }};\n"
        f"class {upper}Part : {upper} {{ uint32 Number; }};\n"
        + instance(upper, Id="whole", Size=7)
        + instance(upper + "Part", Id="part", Size=3, Number=1)
    )


def linked_schema():
    """A provider MOF with associations of associations: their keys are references to instances
    whose keys are references, three levels deep."""
    link = f"L.One={literal('A.Id=1')},Other={literal('A.Id=2')}"
    link_of_link = f"M.Of={literal(link)},Number=3"
    return (
        '#pragma namespace("sample")\n'
        "class A { [Key] uint8 Id; };\n"
        "[Association] class L { [Key] A REF One; [Key] A REF Other; };\n"
        "[Association] class M { [Key] L REF Of; [Key] sint16 Number; };\n"
        "[Association] class N { [Key] M REF Of; [Key] A REF By; };\n"
        + instance("A", Id=1) + instance("A", Id=2) + instance("L", One="A.Id=1", Other="A.Id=2")
        + instance("M", Of=link, Number=3) + instance("N", Of=link_of_link, By="A.Id=1")
    )


@dataclass
class Provider:
    """The three files of a provider, or two when it has no privilege file."""

    name: str = "disk"
    registration: str = None
    mof: str = None
    privileges: str = None

    def __post_init__(self):
        if self.registration is None:
            context = 3 if not self.privileges else 4
            self.registration = registration(self.name, UserContext=context)
        if self.mof is None:
            self.mof = schema(self.name)

    def path(self, kind):
        return f"{FILES}/{self.name}.{kind}"

    def write_below(self, root):
        os.makedirs(f"{root}/{FILES}", exist_ok=True)
        for kind, text in self.texts().items():
            write(f"{root}/{self.path(kind)}", text.encode("utf-8", "surrogateescape"))

    def texts(self):
        texts = {"reg": self.registration, "mof": self.mof, "priv": self.privileges}
        return {kind: text for kind, text in texts.items() if text is not None}

    def line(self):
        return ",".join(["oop1", *(self.path(kind) for kind in self.texts())]) + "\n"


def live_provider(name="disk", **details):
    """A provider whose program exists."""
    context = 4 if details.get("privileges") else 3
    details.setdefault(
        "registration", registration(name, Process=PROGRAM, UserContext=context)
    )
    return Provider(name, **details)


def file_name(instance_id):
    """The file name of a registration's privilege files."""
    unsafe = " \"'()/:<>[]\\^`{}|"
    return "oop1-" + "".join("_" if c in unsafe else c for c in instance_id)


def listing(*providers):
    """What --list-providers prints for providers of the product "sample"."""
    return "".join(
        f'Sample_{name.capitalize()},root:{REGISTRATION}.InstanceID="sample:{name}"\n'
        for name in providers
    )


def without_repository_file(state):
    """`state` without the bytes of the repository file, so that only its rows count."""
    return {path: text for path, text in state.items() if not path.endswith("/repository.db")}


class ProviderStory(Story):
    """A story of the product "sample", which owns the namespace "sample"."""

    def setUp(self):
        super().setUp()
        self.before_the_product = self.tree.state()
        self.register("sample", "alice")
        self.give_namespace("sample")
        os.makedirs(f"{self.tree.prefix}/{FILES}", exist_ok=True)

    def give_namespace(self, *namespaces, product="sample"):
        words = [word for ns in namespaces for word in ("--register-namespace", ns)]
        self.assert_silent_success(
            self.fennik(*words, "--name", product, "--username", "alice")
        )

    def privilege_file(self, name, product="sample"):
        return f"{self.tree.prefix}{PRIVILEGES}/oop1-{product}_{name}"

    def start_file(self, name, product="sample"):
        """The path of the file that lets the provider agent start the process."""
        return f"{self.tree.prefix}{PRIVILEGES}/owcimomd/oop1-{product}_{name}"

    def use(self, *providers, product="sample"):
        """Replaces the product's providers by these. Returns the Result."""
        for provider in providers:
            provider.write_below(self.tree.prefix)
        return self.use_list("".join(provider.line() for provider in providers), product)

    def use_list(self, text, product="sample"):
        return self.fennik("--register-providers", "-", "--name", product, stdin=text)

    def assert_used(self, *providers, product="sample"):
        self.assert_silent_success(self.use(*providers, product=product))

    def stored(self, text):
        """Whether the repository contains that text, in a value or in a name."""
        rows = "".join(self.tree.rows())
        return text in rows or text.encode().hex().upper() in rows

    def listed(self, product="sample"):
        result = self.fennik("--list-providers", "--name", product)
        self.assertEqual((result.status, result.err), (0, ""))
        return result.out

    def full(self, provider, kind):
        """The path of a provider's file as messages show it."""
        return f"{self.tree.prefix}/{provider.path(kind) if kind else ''}"

    def assert_refused(self, provider, message, status=FENNIK_ERROR):
        """Expects that the provider is refused with that message, and that nothing changes."""
        provider.write_below(self.tree.prefix)
        self.assert_list_refused(provider.line(), message, status)

    def assert_list_refused(self, text, message, status=FENNIK_ERROR):
        before = self.tree.state()
        self.assert_fennik_failure(self.use_list(text), status, message)
        self.assertEqual(self.tree.state(), before)

    def assert_list_fails(self, text, *parts):
        """Expects a failure that is not the tool's own, and that nothing changes."""
        before = self.tree.state()
        self.assert_other_failure(self.use_list(text), *parts)
        self.assertEqual(self.tree.state(), before)

    def deregister(self, product="sample"):
        return self.fennik("--deregister", "--name", product)

    def log_of(self, *arguments, **options):
        """Runs the tool. Returns its debug log and its Result."""
        path = self.tree.directory + "/log"
        result = self.fennik("--log-file", path, *arguments, **options)
        with open(path, encoding="utf-8") as file:
            return file.read(), result


NOTHING = Result(0, "", "")
