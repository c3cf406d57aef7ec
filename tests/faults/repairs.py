# SPDX-License-Identifier: Apache-2.0
"""Does what the tool's messages tell the administrator to do, to the letter."""

import os
import re
import shlex
import shutil
import time

from installation import PROGRAMS, run

HEAD = "The operation failed, and restoration to the previous state has also failed.\n"
LEAD_IN = "Once the cause of the error has been resolved, to restore KOV to a valid state you should\n"
OWMOFC = PROGRAMS + "/bin/owmofc"
OWDELETEINSTANCE = PROGRAMS + "/bin/owdeleteinstance"
BUSY = "another process holds the repository; stop owcimomd or wait for the other program to end"
ATTEMPTS = 60
# What a run says about something in its way that an earlier one has left.
LEFT_OVER = r'by "(owdelete(?:namespace|instance) .*?)"; then run the command again'


def write(path, contents):
    with open(path, "w", encoding="utf-8", errors="surrogateescape") as file:
        file.write(contents)


def move_files(source, target):
    os.makedirs(target, exist_ok=True)
    for name in os.listdir(source):
        os.rename(f"{source}/{name}", f"{target}/{name}")
    os.rmdir(source)


class Repairs:
    """The remedies of the undo steps, each with the pattern of its message between HEAD and the
    next message. The commands of the utilities work on the installation below `prefix`."""

    def __init__(self, prefix):
        self.below = ["--dest-dir", prefix] if prefix else []
        self.live = f"{prefix}/var/opt/tarvo/kov/openwbem/repository"
        self.remedies = [(re.compile(pattern + ".*?" + re.escape(remedy) + r"\s*(?P<rest>.*)", re.S),
                          function) for pattern, remedy, function in (
            (r"The attempt to delete the instance:\n(?P<path>.*?)\nin namspace (?P<ns>\S+)",
             "delete the instance. The owdeleteinstance utility can be used.",
             lambda path, ns, **_: self.delete([OWDELETEINSTANCE, *self.below, "-n", ns, path])),
            (r"The attempt to (?:create|modify) the (?:instance|class):\n(?P<mof>.*?)\n"
             r" in namespace (?P<ns>\S+)", "The owmofc utility can be used.",
             lambda mof, ns, **_: self.must([OWMOFC, *self.below, "-n", ns, "-"], mof)),
            (r"The attempt to set the qualifier type (?P<ns>[^:]+):(?P<mof>.*?) failed with",
             "The owmofc utility can be used.",
             lambda mof, ns, **_: self.must([OWMOFC, *self.below, "-n", ns, "-"], mof)),
            (r"The attempt to delete the class (?P<name>\S+)", "The owmofc utility can be used.",
             lambda name, **_: self.delete([OWMOFC, *self.below, "--delete-class", name])),
            (r"The attempt to delete the qualifier type (?P<name>\S+)",
             "The owmofc utility can be used.",
             lambda name, **_: self.delete([OWMOFC, *self.below, "--delete-qualifier-type", name])),
            (r"The attempt to delete the file \(in restoring things to initial state\): (?P<path>\S+)",
             "delete the file.", lambda path, **_: os.unlink(path)),
            (r"The attempt to (?:open|write to) the file: (?P<path>\S+)",
             "the file with contents:\n", lambda path, rest, **_: write(path, rest)),
            (r"The attempt to rename the file (?P<source>\S+) to (?P<target>\S+)",
             "rename the file manually.",
             lambda source, target, **_: os.rename(source, target)),
            (r"The attempt to delete the directory: (?P<path>\S+)",
             "delete the directory and its contents.", lambda path, **_: shutil.rmtree(path)),
            (r"The attempt to put back the files of .*?move the files in (?P<path>\S+)",
             "into the repository directory.",
             lambda path, **_: move_files(path, self.live)),
        )]

    @staticmethod
    def patiently(argv, stdin=""):
        """Runs a command, and does what the message says when another program is at work: waits for
        it to end, and tries again."""
        for _ in range(ATTEMPTS):
            result = run(argv, stdin)
            if BUSY not in result.err:
                break
            time.sleep(1)
        return result

    @staticmethod
    def must(argv, stdin=""):
        result = Repairs.patiently(argv, stdin)
        if result.status != 0:
            raise RuntimeError(f"{' '.join(argv)}: {result.err}")

    @staticmethod
    def delete(argv):
        """What was perhaps not created need not be there."""
        result = Repairs.patiently(argv)
        if result.status != 0 and "not found" not in result.err:
            raise RuntimeError(f"{' '.join(argv)}: {result.err}")

    @staticmethod
    def delete_left_over(err):
        """Deletes what the message says an earlier run has left in the way."""
        for command in re.findall(LEFT_OVER, err, re.S):
            name, *words = shlex.split(command)
            Repairs.delete([f"{PROGRAMS}/bin/{name}", *words])

    def follow(self, err):
        """Carries out every remedy in the message. Returns how many there were. Raises an exception
        when one is not understood or does not work."""
        blocks = err.split(HEAD)[1:]
        for block in blocks:
            for pattern, remedy in self.remedies:
                match = pattern.match(block.split("An error has occurred.\n")[0])
                if match:
                    remedy(**match.groupdict())
                    break
            else:
                raise RuntimeError(f"not understood: {block}")
        return len(blocks)
