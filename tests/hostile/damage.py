# SPDX-License-Identifier: Apache-2.0
"""Changes the bytes of texts at random: gently, so that most stay valid, or wildly."""

import re

# What parsers and those who use their results may stumble over.
WORDS = (b"", b"\0", b"\n", b"\r\n", b"\"", b"\\", b"'", b"{", b"}", b"[", b"]", b"(", b")", b";", b",",
         b"=", b"#", b"@", b"/*", b"//", b"<", b">", b"&", b"&#0;", b"]]>", b"<!--", b"<?", b"\xff",
         b"\xc3\xa4", b"\xf0\x9f\x92\xa9", b"\xed\xa0\x80", b"../", b"../../../../etc/passwd",
         b"/dev/zero", b"/dev/stdin", b"/proc/self/mem", b"0", b"-1", b"1.5e999", b"0x", b"4294967296",
         b"18446744073709551616", b"null", b"true", b"oop1", b"oop2", b"class", b"instance of",
         b"Qualifier", b"[Key]", b"[Association]", b"REF", b"uint8", b"string", b"datetime", b"$Process",
         b"#pragma namespace(\"root\")\n", b"#pragma include(\"/etc/passwd\")\n", b"SAMPLE_Disk",
         b"SAMPLE_Missing", b"OpenWBEM_OOPProviderRegistration", b"KOV_Product", b"unpriv_user", b"root",
         b"user_exec_check_args", b"include", b"%s%n", b"$(id)", b"`id`", b"a" * 5000, b"[" * 3000,
         b"{" * 3000, b"<a>" * 3000)
# Short texts of many kinds: what is quoted, escaped and compared has its own rules in each file.
LETTERS = "abcXYZ 019.-_:/äß€\U0001f4a9'&<>;#$%*?!()[]~|^\t"
STRING = re.compile(rb'(?<== ")[^"\\\n]*(?=";)|(?<=Description \(")[^"\\]*(?="\))')
NUMBER = re.compile(rb"(?<= = )\d+(?=;)")


def gently(chance, text):
    """Another value for some of the strings and numbers that are values of properties or
    descriptions. References to names of other texts get lost by that, too."""
    def string(match):
        if chance.random() < 0.85:
            return match[0]
        return "".join(chance.choices(LETTERS, k=chance.randint(0, 12))).encode()

    def number(match):
        return match[0] if chance.random() < 0.7 else str(chance.randint(0, 9)).encode()

    return NUMBER.sub(number, STRING.sub(string, text))


def wildly(chance, text):
    """Up to three changes of any kind."""
    for _ in range(chance.randint(1, 3)):
        begin = chance.randint(0, len(text))
        end = min(len(text), begin + chance.choice((0, 0, 1, 2, 8, 40, 400)))
        lines = text.splitlines(keepends=True)
        kind = chance.randrange(7)
        if kind == 0:
            text = text[:begin] + text[end:]
        elif kind == 1:
            text = text[:begin] + chance.choice(WORDS) + text[end:]
        elif kind == 2:
            text = text[:end] + text[begin:end] * chance.choice((1, 2, 50)) + text[end:]
        elif kind == 3:
            text = text[:begin] + bytes(chance.choices(range(256), k=chance.randint(1, 4))) + text[end:]
        elif kind == 4:
            chance.shuffle(lines)
            text = b"".join(lines)
        elif kind == 5:
            # In the place of a whole word.
            words = list(re.finditer(rb"\w+", text))
            if words:
                word = chance.choice(words)
                other = chance.choice((chance.choice(words)[0], chance.choice(WORDS)))
                text = text[:word.start()] + other + text[word.end():]
        else:
            text = text[:begin]
    return text
