# SPDX-License-Identifier: Apache-2.0
"""After a run was killed: runs the operation again, doing what the messages and the documents say
whenever a run fails, until the operation is complete."""

import os
import re
import shlex
import shutil

from installation import DATA, PLACES, PROGRAMS, run
from repairs import LEFT_OVER

# Restoring names one file at a time that is in the way.
ROUNDS = 32
COPY, BACKUP = DATA + "/repository-copy_QLkJ235", DATA + "/repository-back_LKjs2354"
USERS_FILE = PLACES[0] + "/openwbem/openwbem.conf.d/sample.allowed_users.conf"


def remove(path):
    if os.path.isdir(path) and not os.path.islink(path):
        shutil.rmtree(path)
    else:
        os.unlink(path)


class NextRun:
    """Runs an operation again in an installation after a run of it was killed."""

    def __init__(self, operation, installation):
        self.operation, self.installation = operation, installation
        # What the text of a failure tells the administrator to do.
        self.advice = [(re.compile(pattern, re.S), function) for pattern, function in (
            (r"copy of the repository. (\S+) : directory already exists. You should remove this "
             r"directory and run fennik", remove),
            (r'does not exist: an earlier run was interrupted.*rename "([^"]+)" to "([^"]+)"',
             self.put_repository_back),
            (r'Unable to move .*"([^"]+)" is in the way', remove),
            (r"createFile\((\S+)\) failed: 17\(File exists\)", remove),
            (r'the file "([^"]+)" is missing or empty.* by "(owdeleteinstance .*?)"; then run the '
             r"command again", self.delete_half),
            (LEFT_OVER, self.run_command),
            (r"Cannot open (?:file )?\"?(/\S*/privileges/\S*oop1-[^\s\":]+)", self.put_file_back),
            (r"Failed to remove .*allowed_users", lambda: self.write(USERS_FILE)),
            (r"(/\S*allowed_users\.conf)", remove),
            # Killed after the swap: all is done but the removal of the backup.
            (r"The product has (?:not|already) been registered", self.remove_backup),
        )]

    def write(self, path, text=""):
        with open(self.installation.prefix + path, "w", encoding="utf-8") as file:
            file.write(text)

    def put_repository_back(self, backup, live):
        os.rename(backup, live)
        if os.path.exists(COPY):
            shutil.rmtree(COPY)

    @staticmethod
    def remove_backup():
        if not os.path.exists(BACKUP):
            raise RuntimeError("not complete, but the next run says that it is")
        remove(BACKUP)

    def put_file_back(self, path):
        """Its content does not matter: registering replaces it."""
        with open(path, "w", encoding="utf-8") as file:
            file.write("# lost\n")

    def delete_half(self, file, command):
        if os.path.exists(file):
            os.unlink(file)
        self.run_command(command)

    @staticmethod
    def run_command(command):
        name, *words = shlex.split(command)
        result = run([f"{PROGRAMS}/bin/{name}", *words])
        if result.status != 0:
            raise RuntimeError(f"{command}: {result.err}")

    def complete(self, is_after):
        """Returns the number of failed runs on the way. `is_after()` tells whether the operation
        is complete. Raises RuntimeError when a message does not help."""
        for number in range(ROUNDS):
            result = run(self.operation.argv(self.installation), self.operation.stdin)
            if result.status == 0 or is_after():
                return number
            for pattern, function in self.advice:
                match = pattern.search(result.err)
                if match:
                    function(*match.groups())
                    break
            else:
                raise RuntimeError(f"the next run does not say what to do: {result.err}")
        raise RuntimeError(f"after {ROUNDS} runs: {result.err}")
