# SPDX-License-Identifier: Apache-2.0
"""Walking a failure through every call on some files, by number, until a run meets none."""

import re

from harness import UNDO_HEAD, read

MOST = 1000


class FileWalk:
    """For a Story. After a failed run `self.assert_as_before()` is to hold."""

    def failing_in_turn(self, calls, error, files, *arguments, stdin=""):
        """Runs the tool with the first, the second ... of these calls on the files failing; gives
        each Result and the line of the trace that tells the failed call, None for the last run."""
        self.need_strace()
        paths = [word for path in files for word in ("-P", path)]
        for number in range(1, MOST):
            result = self.traced(
                self.tree.command(*arguments), "-y", "-e",
                f"inject={calls}:error={error}:when={number}", *paths, stdin=stdin,
            )
            trace = read(self.tree.directory + "/trace").decode(errors="replace").splitlines()
            failed = next((line for line in trace if "(INJECTED)" in line), None)
            yield result, failed
            if failed is None:
                return
        self.fail("there is no end to the calls")

    def walk(self, calls, error, files, *arguments, least, overcome=(), stdin=""):
        """Every one of these calls fails once, and the run with it; those whose name is in
        `overcome` may fail without harm. `self.assert_done()` is to hold after a run that
        succeeded; it puts everything back to where it was."""
        injected = 0
        for result, failed in self.failing_in_turn(calls, error, files, *arguments, stdin=stdin):
            with self.subTest(failed=failed):
                if result.status == 0:
                    self.assertTrue(failed is None or self.name_of(failed) in overcome, failed)
                    self.assert_done()
                    continue
                self.assertIsNotNone(failed, result.err)
                self.assertNotIn(UNDO_HEAD, result.err)
                self.assert_as_before(self.file_of(failed), result)
                injected += 1
        self.assertGreaterEqual(injected, least)
        print(f"{calls}: {injected} failures injected, all rolled back")

    @staticmethod
    def name_of(line):
        return re.search(r"(\w+)\(", line)[1]

    @staticmethod
    def file_of(line):
        """The file that the call in a line of a trace was about."""
        return re.search(r'\(\d+<(/[^>]*)>|"(/[^"]*)"', line).group(1, 2)
