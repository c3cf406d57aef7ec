# SPDX-License-Identifier: Apache-2.0
"""Makes the disk full from the n-th line of a run's debug log on, for each n until a run has fewer
lines."""

import os
import re

from harness import UNDO_HEAD, Result, read

MOST = 1000
FAILED = re.compile(
    r"(?:.*\n)?An error has occurred\.\nDetails: \S+ \d+ LoggerException: 28: Cannot write to the log file "
    r"\"[^\"]*\": 28\(No space left on device\)\n"
)
TOO_LATE = re.compile(
    r"The operation is complete, but the debug log is not: Cannot write to the log file \"[^\"]*\": "
    r"28\(No space left on device\)\n"
)


class LogWalk:
    """A mix-in for a Story. It calls `self.assert_as_before()` after a failed run, and
    `self.assert_done()` after a successful one, which must also restore the state of before."""

    def walk_the_log(self, *arguments, stdin="", output="", least, stride=1):
        """Expects that a run fails as long as it can be undone, and is complete later and says that
        the log is not. At least `least` runs must fail. A `stride` above 1 skips lines."""
        self.need_strace()
        log = self.tree.directory + "/log"
        outcomes = []
        for number in range(1, MOST, stride):
            if os.path.exists(log):
                os.unlink(log)
            result = self.traced(
                self.tree.command("--log-file", log, *arguments),
                "-y", "-e", f"inject=write:error=ENOSPC:when={number}+", "-P", log, stdin=stdin,
            )
            trace = read(self.tree.directory + "/trace").decode(errors="replace")
            with self.subTest(number=number):
                if "(INJECTED)" not in trace:
                    self.assertEqual(result, Result(0, output, ""))
                    self.assert_done()
                    break
                self.assertNotIn(UNDO_HEAD, result.err)
                outcomes.append(result.status == 0)
                if result.status == 0:
                    self.assertRegex(result.err, rf"\A{TOO_LATE.pattern}\Z")
                    self.assertEqual(result.out, output)
                    self.assert_done()
                else:
                    self.assertEqual(result.status, 1)
                    self.assertRegex(result.err, rf"\A{FAILED.pattern}\Z")
                    self.assert_as_before()
        else:
            self.fail("there is no end to the log")
        failures = outcomes.count(False)
        self.assertGreaterEqual(failures, least)
        self.assertEqual(outcomes, sorted(outcomes), "a run failed after it was complete")
        print(f"{failures} runs failed and were undone, {len(outcomes) - failures} were complete")
