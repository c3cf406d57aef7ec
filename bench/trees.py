# SPDX-License-Identifier: Apache-2.0
"""What the measuring programs share: staged installations, and running programs in them."""

import ctypes
import os
import shutil
import subprocess
import sys
import time

CLONE_NEWNS = 0x00020000


def fail(message):
    sys.exit(f"bench: {message}")


def run(argv):
    """Runs a program; gives back its seconds and its peak memory in bytes."""
    output = os.open(os.devnull, os.O_WRONLY)
    start = time.perf_counter()
    pid = os.posix_spawn(argv[0], argv, os.environ,
                         file_actions=[(os.POSIX_SPAWN_DUP2, output, 1)])
    _, status, usage = os.wait4(pid, 0)
    seconds = time.perf_counter() - start
    os.close(output)
    if status != 0:
        fail(f"{' '.join(argv)} ended with wait status {status}")
    return seconds, usage.ru_maxrss * 1024


def mount_own_disk(build, size):
    """Puts a new ext4 file system where the build's trees are, in a mount namespace of this process,
    with which it ends. Where there can be none, the trees stay where the build is, and that is
    said."""
    image, trees = os.path.join(build, "disk"), os.path.join(build, "trees")
    os.makedirs(trees, exist_ok=True)
    if ctypes.CDLL(None).unshare(CLONE_NEWNS) != 0:
        print("No disk of its own: no mount namespaces are allowed here.")
        return
    with open(image, "wb") as disk:
        disk.truncate(size)
    commands = (["mount", "--make-rprivate", "/"],
                ["mkfs.ext4", "-q", "-F", "-E", "lazy_itable_init=0,lazy_journal_init=0", image],
                ["mount", "-o", "loop", image, trees])
    try:
        for command in commands:
            subprocess.run(command, stderr=subprocess.PIPE, check=True)
    except (OSError, subprocess.CalledProcessError) as failure:
        print(f"No disk of its own: {failure}")
    finally:
        # What is mounted stays there.
        os.unlink(image)


class Tree:
    """A staged installation to measure in; its programs are those of the build."""

    def __init__(self, build, name, schema):
        self.prefix = os.path.join(build, "trees", name)
        shutil.rmtree(self.prefix, ignore_errors=True)
        os.makedirs(self.prefix)
        self.programs = build
        share = os.path.join(self.prefix, "opt/tarvo/kov/share")
        os.makedirs(share)
        os.symlink(schema, os.path.join(share, "openwbem"))
        run([self.program("utilities/kov-setup/kov-setup"), "--dest-dir", self.prefix])

    def program(self, path):
        return os.path.join(self.programs, path)

    def repository_size(self):
        directory = os.path.join(self.prefix, "var/opt/tarvo/kov/openwbem/repository")
        return os.path.getsize(os.path.join(directory, "repository.db"))

    def fennik(self, *arguments):
        return [self.program("fennik/cli/fennik"), "--kov-build-system-dest-dir", self.prefix,
                *arguments]

    def load(self, namespace, path):
        return run([self.program("utilities/owmofc/owmofc"), "--dest-dir", self.prefix, "-n",
                    namespace, path])
