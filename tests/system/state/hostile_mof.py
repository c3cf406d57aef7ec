# SPDX-License-Identifier: Apache-2.0
"""MOF of instances with values at the limits of their types, the same in every run."""

import os
import random
import re

from harness import read

SCHEMA = os.environ.get("KOV_MOF_CORPUS", "") + "/dmtf-cim-2.41"
CLASS = re.compile(r"^class\s+(\w+)(?:\s*:\s*(\w+))?\s*\{(.*?)^\};", re.M | re.S)
PROPERTY = re.compile(r"^\s*(?:(\[.*?\])\s*)??(\w+)\s+(?:(REF)\s+)?(\w+)(\[\d*\])?(?:\s*=[^;]*)?;",
                      re.M | re.S)

TEXTS = [
    "", " ", "plain", " both ends ", "\r\n", "\rraw\r", "\ttab\n\n", "ünïcödé \u20ac \U0001f600",
    "\x01\x02\x1f\x7f", "\ufffe\uffff\ufffd", '"quoted" \\"twice\\"', "\\n \\r \\x0041 \\",
    "]]> & <a> &amp; &#13;", "/* no */ // comment", "#pragma namespace(\"root\")",
    'Process = "{\\nName = x;\\n}";', "};\ninstance of X {", "x" * 5000, "\u0085\u2028\u00a0",
]
INTEGERS = {
    "uint8": (0, 2**8 - 1), "sint8": (-(2**7), 2**7 - 1), "uint16": (0, 2**16 - 1),
    "sint16": (-(2**15), 2**15 - 1), "uint32": (0, 2**32 - 1), "sint32": (-(2**31), 2**31 - 1),
    "uint64": (0, 2**64 - 1), "sint64": (-(2**63), 2**63 - 1),
}
REALS = {
    "real32": ["0.0", "-0.0", "1.5", "3.4028235E38", "-1.0E-45", "0.1"],
    "real64": ["0.0", "-0.0", "1.7976931348623157E308", "4.9E-324", "0.1", "-2.5E-10"],
}
DATETIMES = ["00000000000000.000000:000", "99999999235959.999999:000",
             "20240229235959.999999+720", "19700101000000.000000-720", "2024**********.******+000"]


def text_literal(text):
    escapes = {'"': '\\"', "\\": "\\\\", "\n": "\\n", "\r": "\\r", "\t": "\\t"}
    units = []
    for c in text:
        if c in escapes:
            units.append(escapes[c])
        elif ord(c) < 0x20 or ord(c) in (0x7F, 0xFFFE, 0xFFFF):
            units.append(f"\\x{ord(c):04X}")
        else:
            units.append(c)
    return '"' + "".join(units) + '"'


def value(kind, chance):
    """A random literal of that type."""
    if kind in INTEGERS:
        low, high = INTEGERS[kind]
        return str(chance.choice([low, high, 0, 1, chance.randint(low, high)]))
    if kind in REALS:
        return chance.choice(REALS[kind])
    if kind == "boolean":
        return chance.choice(["TRUE", "FALSE"])
    if kind == "char16":
        return "'\\x%04X'" % chance.choice([1, 0x0D, 0x22, 0x27, 0x5C, 0x20AC, 0xD800, 0xFFFE, 0xFFFF])
    if kind == "datetime":
        return text_literal(chance.choice(DATETIMES))
    return text_literal(chance.choice(TEXTS))


def array(kind, chance):
    items = [chance.choice([value(kind, chance), "NULL"]) for _ in range(chance.randint(0, 4))]
    return "{" + ", ".join(items) + "}"


EVERY_TYPE = [*INTEGERS, *REALS, "boolean", "char16", "datetime", "string"]


def all_types(prefix, number, seed=1):
    """A class with a property of every type, as a scalar and as arrays, and with embedded objects;
    and `number` instances of it."""
    chance = random.Random(seed)
    lines = [f"class {prefix}_Part {{ [Key] string Id; string Text; }};",
             f"class {prefix}_All {{ [Key] string Id; [Key] uint64 Number;"]
    for kind in EVERY_TYPE:
        lines.append(f"  {kind} A_{kind}; {kind} B_{kind}[]; {kind} C_{kind}[3];")
    lines.append(f'  [EmbeddedInstance("{prefix}_Part")] string Part;')
    lines.append(f'  [EmbeddedInstance("{prefix}_Part")] string Parts[];')
    lines.append("  [EmbeddedObject] string Any;\n  string WithDefault = \"default\";\n};")
    for number_of_it in range(number):
        lines.append(f"instance of {prefix}_All {{")
        lines.append(f" Id = {text_literal(chance.choice(TEXTS))}; Number = {number_of_it};")
        for kind in EVERY_TYPE:
            if chance.random() < 0.8:
                lines.append(f" A_{kind} = {value(kind, chance)};")
            if chance.random() < 0.8:
                lines.append(f" B_{kind} = {array(kind, chance)};")
            if chance.random() < 0.5:
                lines.append(f" C_{kind} = {{{', '.join(value(kind, chance) for _ in range(3))}}};")
        part = text_literal(f"instance of {prefix}_Part {{ Id = {value('string', chance)}; "
                            f"Text = {value('string', chance)}; }};")
        lines.append(f" Part = {part}; Parts = {{{part}, {part}}}; Any = {part};")
        if chance.random() < 0.5:
            lines.append(" WithDefault = NULL;")
        lines.append("};")
    return "\n".join(lines) + "\n"


def declared_properties(classes, name):
    """The properties of a class by name: the type, and whether each is a key, an array and a
    reference. Without those that hold embedded objects."""
    found = {}
    while name:
        superclass, body = classes[name]
        for qualifiers, kind, reference, spelling, brackets in PROPERTY.findall(body):
            if re.search(r"\bembedded", qualifiers, re.I):
                continue  # stays null, since it does not take any text
            old = found.get(spelling, ("", False, False, False))
            is_key = old[1] or bool(re.search(r"\bkey\b", qualifiers, re.I))
            found[spelling] = (old[0] or kind, is_key, bool(brackets), bool(reference))
        name = superclass
    return found


def dmtf_instances(number, seed=1):
    """The MOF of `number` instances of concrete classes of the DMTF schema, and the number of these
    classes."""
    chance = random.Random(seed)
    classes, abstract = {}, set()
    for parent, _, files in sorted(os.walk(SCHEMA)):
        for file in sorted(files):
            text = re.sub(r"//[^\n]*", "", read(os.path.join(parent, file)).decode("utf-8", "replace"))
            text = re.sub(r'"(?:[^"\\]|\\.)*"', '""', text)
            match = CLASS.search(text)
            if match:
                classes[match[1]] = (match[2], match[3])
                if re.search(r"\babstract\b", text[: match.start()], re.I):
                    abstract.add(match[1])
    usable = []
    for name in sorted(set(classes) - abstract):
        properties = declared_properties(classes, name)
        keys = [kind for kind, is_key, _, _ in properties.values() if is_key]
        plain = all(kind in EVERY_TYPE and not reference for kind, _, _, reference in properties.values())
        if "string" in keys and plain:
            usable.append((name, properties))
    lines = []
    for count in range(number):
        name, properties = usable[count % len(usable)]
        lines.append(f"instance of {name} {{")
        marked = False
        for spelling, (kind, is_key, is_array, _) in properties.items():
            if is_key and kind == "string" and not marked:
                marked = True
                lines.append(f" {spelling} = {text_literal(f'{count} ' + chance.choice(TEXTS[:15]))};")
            elif is_key:
                lines.append(f" {spelling} = {value(kind, chance)};")
            elif kind == "string" and chance.random() < 0.1 and not is_array:
                lines.append(f" {spelling} = {value(kind, chance)};")
            elif chance.random() < 0.2 and kind != "string":
                literal = array(kind, chance) if is_array else value(kind, chance)
                lines.append(f" {spelling} = {literal};")
        lines.append("};")
    return "\n".join(lines) + "\n", len(usable)
