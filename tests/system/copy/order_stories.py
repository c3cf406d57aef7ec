# SPDX-License-Identifier: Apache-2.0
"""The order in which the undo of a swap renames, syncs and removes names. At a power cut the old
repository is on the disk, under a name that somebody looks for."""

import re

from harness import read, run
from machine import BACKUP, COPY, DATA, DEREGISTER, KEPT, LIVE, TRACE, MachineStory

CALLS = "rename,renameat,fsync,unlinkat"


class OrderOfUndo(MachineStory):
    def calls_with(self, *injections):
        """The status of a run, and its calls on the names in the data directory, in their order."""
        self.need_strace()
        words = [word for injection in injections for word in ("-e", "inject=" + injection)]
        options = ["-qq", "-y", "-o", TRACE, "-e", "trace=" + CALLS]
        result = run(["strace", *options, *words, *DEREGISTER])
        calls = []
        for name, arguments in re.findall(r"^(\w+)\((.*)\) += ", read(TRACE).decode(), re.M):
            paths = tuple(re.findall(rf'[<"]({DATA}[^>"]*)[>"]', arguments))
            if paths and not any(path.startswith(COPY + "/") for path in paths):
                calls.append((name, *paths))
        return result.status, calls

    def assert_ends_with(self, calls, *expected):
        self.assertEqual(calls[-len(expected):], list(expected))

    def test_of_a_swap_that_fails(self):
        """The old names are back, and on the disk, when the run ends."""
        status, calls = self.calls_with("rename:error=EIO:when=2")
        self.assertEqual(status, 27)
        self.assert_ends_with(
            [call for call in calls if call[0] != "unlinkat"],
            ("rename", LIVE, BACKUP),
            ("rename", COPY, LIVE),
            ("rename", BACKUP, LIVE),
            ("fsync", DATA),
        )
        self.assert_as_before()

    def test_of_files_that_are_put_back(self):
        """They are on the disk in their directory before their second names go."""
        self.play_rm('"$REAL" "$2/repository.db"; exit 1')
        status, calls = self.calls_with()
        self.assertEqual(status, 28)
        self.assert_ends_with(
            calls,
            ("fsync", DATA),
            ("renameat", KEPT, BACKUP),
            ("fsync", BACKUP),
            ("unlinkat", DATA),
            ("rename", LIVE, COPY),
            ("rename", BACKUP, LIVE),
            ("fsync", DATA),
        )
        self.assert_as_before()
