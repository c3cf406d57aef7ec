# SPDX-License-Identifier: Apache-2.0
"""Makes every call on some files fail in turn, until a run meets no failure."""

import re

from harness import UNDO_HEAD, read

MOST = 1000


class FileWalk:
    """A mix-in for a Story. It calls `self.assert_as_before()` after each failed run."""

    def failing_in_turn(self, calls, error, files, *arguments, stdin=""):
        """Runs the tool with the first, the second, ... of these calls on the files failing. Yields
        each Result and the failed call's line of the trace, None for the last run."""
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
        """Makes each of these calls fail once, which must fail the run unless the call is one of
        `overcome`. At least `least` runs must fail. Calls `self.assert_done()` after a successful
        run, which must also restore the state of before."""
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
        """The file of the call in a line of a trace."""
        return re.search(r'\(\d+<(/[^>]*)>|"(/[^"]*)"', line).group(1, 2)
