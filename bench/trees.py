# SPDX-License-Identifier: Apache-2.0
"""What the measuring programs share: staged installations, and running programs in them."""

import os
import shutil
import subprocess
import sys
import time

# Set in the environment of a program that has a mount namespace of its own.
OWN_MOUNTS = "KOV_BENCH_OWN_MOUNTS"


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
    """Starts the program again with a new ext4 file system where the build's trees are, in a mount
    namespace of its own: it ends with the program. Where there can be none, the trees stay where
    the build is, and that is said."""
    if OWN_MOUNTS not in os.environ:
        if subprocess.run(["unshare", "--mount", "true"], stderr=subprocess.DEVNULL,
                          check=False).returncode == 0:
            os.environ[OWN_MOUNTS] = "1"
            os.execvp("unshare", ["unshare", "--mount", sys.executable, *sys.argv])
        print("No disk of its own: no mount namespaces are allowed here.")
        return
    image, trees = os.path.join(build, "disk"), os.path.join(build, "trees")
    os.makedirs(trees, exist_ok=True)
    with open(image, "wb") as disk:
        disk.truncate(size)
    for command in (["mkfs.ext4", "-q", "-F", image], ["mount", "-o", "loop", image, trees]):
        done = subprocess.run(command, stderr=subprocess.PIPE, check=False)
        if done.returncode != 0:
            print(f"No disk of its own: {' '.join(command)} failed: {done.stderr.decode()}")
            break
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
