# SPDX-License-Identifier: Apache-2.0
"""Judges what a run has left: whether it is complete, undone, or something that the manual names."""

import re
import signal

from installation import PLACES, PROGRAMS, run
from next_run import BACKUP, NextRun
from repairs import HEAD, Repairs

COMPLETE, ROLLED_BACK, RESTART = "complete", "rolled back", "complete, daemon not restarted"
REPAIRED = "repaired as the message says"
NEXT_RUN = "completed by the next run"
NEXT_RUN_AFTER_REPAIR = "completed by the next run, after a repair as its message says"
UNNOTICED = "no fault met"
LEFT = "; left over: a file that the next run passes over"
DROP_INS = PLACES[0] + "/openwbem/openwbem.conf.d"
PRIVILEGES = PLACES[0] + "/openwbem/privileges"
# What a killed run leaves and the next one passes over: of a configuration snippet, and of a backup.
PASSED_OVER = re.compile(rf"{DROP_INS}/\.fennik-tmp-\w+$|{BACKUP}-files(?:/|$)")
BROKEN = re.compile(r"terminate called|Assertion|AddressSanitizer|runtime error:")


class Wrong(Exception):
    """The run has left something that it must not leave, or its message does not help."""


class Expectation:
    """What an operation in an installation may leave: the states before and after it, and what it
    prints when it succeeds."""

    def __init__(self, operation, installation, before, after, out, written):
        self.operation, self.installation = operation, installation
        self.before, self.after, self.out, self.written = before, after, out, written

    def judge(self, result, running, must_run=True):
        """Names the outcome of a run in which a call failed; `running` tells whether the daemon ran
        afterwards, `must_run` whether it must. Raises Wrong."""
        running = running or not must_run
        if result.status is None:
            raise Wrong("hung")
        if BROKEN.search(result.err) or result.status < 0:
            raise Wrong(f"broke down with {result.status}: {result.err}")
        if result.status == 0:
            return COMPLETE + self.must_be_complete(result, running)
        state = self.look()
        if not result.err.strip():
            raise Wrong(f"status {result.status} without a message")
        if HEAD in result.err:
            return self.judge_repair(result)
        # When the daemon could not be stopped in order, it may have ended nevertheless.
        restart_failed = "Failed to start cimom" in result.err or result.status in (21, 22, 23)
        if self.installation.prefix == "" and not running and not restart_failed:
            raise Wrong(f"the daemon does not run again: {result.err}")
        if state == self.before:
            return ROLLED_BACK
        if state == self.after and restart_failed:
            return RESTART
        return self.left_over(result, state)

    def judge_signal(self, result, running):
        """The same of a run that got a SIGTERM or a SIGINT: all is undone, or all is done."""
        if result.status in (-signal.SIGTERM, -signal.SIGINT):
            if self.installation.prefix == "" and not running:
                raise Wrong(f"interrupted, and the daemon does not run: {result.err}")
            state = self.look()
            return ROLLED_BACK if state == self.before else self.left_over(result, state)
        return self.judge(result, running)

    def judge_death(self):
        """The same of a run that was killed, before anything else was done."""
        following = NextRun(self.operation, self.installation)
        try:
            failed = following.complete(self.is_complete)
        except Exception as e:
            raise Wrong(f"killed; {e}\n{difference(self.after, self.look_past_rest()[0])}") from e
        self.installation.settle()
        state, rest = self.look_past_rest()
        if state != self.after:
            raise Wrong(f"killed, and run again: {difference(self.after, state)}")
        return (NEXT_RUN if failed == 0 else NEXT_RUN_AFTER_REPAIR) + (LEFT if rest else "")

    def is_complete(self):
        self.installation.settle()
        try:
            return self.look_past_rest()[0] == self.after
        except Wrong:
            return False

    def look_past_rest(self):
        """The state without what the next run passes over, and the paths of that."""
        state = self.look()
        rest = {path for path in state if PASSED_OVER.match(path)}
        return {path: what for path, what in state.items() if path not in rest}, rest

    def look(self):
        try:
            return self.installation.state()
        except Exception as e:
            raise Wrong(f"the repository is damaged: {e}") from e

    def must_be_complete(self, result, running):
        """Returns what is to be added to the outcome."""
        state, rest = self.look_past_rest()
        if state != self.after:
            raise Wrong(f"status 0, but not complete: {difference(self.after, state)}")
        if self.operation.lists and result.out != self.out:
            raise Wrong("status 0, but the output is not complete")
        if self.operation.writes and read(self.operation.writes) != self.written:
            raise Wrong("status 0, but the file is not complete")
        if self.installation.prefix == "" and not running:
            raise Wrong("status 0, but the daemon does not run")
        return LEFT if rest else ""

    def judge_repair(self, result):
        try:
            Repairs(self.installation.prefix).follow(result.err)
        except Exception as e:
            raise Wrong(f"the repair does not work: {e}\n{result.err}") from e
        state = self.look()
        return REPAIRED if state == self.before else (
            f"{REPAIRED}; {self.left_over(result, state)}")

    def left_over(self, result, state):
        """The left-overs that docs/manual.md names."""
        different = {key for key in self.before.keys() | state.keys()
                     if self.before.get(key) != state.get(key)}
        name = self.operation.name
        if name in ("set-owcimomd-config", "register") and state == self.after:
            return "left over: " + {"set-owcimomd-config": "the new snippet",
                                    "register": "?"}[name]
        if name == "register-namespace" and different == {"rows"}:
            run([PROGRAMS + "/bin/owdeletenamespace", "alpha/more"])
            if self.look() == self.before:
                return "left over: empty namespaces"
        if name == "deregister" and different == {f"{DROP_INS}/sample.allowed_users.conf"}:
            return "left over: no file of allowed users"
        if name == "restore-product-state" and all(
                path.startswith(DROP_INS) for path in different):
            return "left over: files of allowed users and snippets"
        if name in ("register-providers", "restore-product-state") and all(
                (path.startswith(PRIVILEGES) and path in result.err) or path.startswith(DROP_INS)
                for path in different):
            return "left over: an incomplete privilege file, named"
        raise Wrong(f"status {result.status}, but {difference(self.before, state)}\n{result.err}")


def read(path):
    try:
        with open(path, encoding="utf-8", errors="surrogateescape") as file:
            return file.read()
    except FileNotFoundError:
        return None


def difference(expected, found):
    """What differs between two states, for a person."""
    lines = []
    for key in sorted(expected.keys() | found.keys()):
        one, other = expected.get(key), found.get(key)
        if one == other:
            continue
        if key == "rows" and one and other:
            gone, new = set(one) - set(other), set(other) - set(one)
            lines += [f"- {row[:200]}" for row in sorted(gone)[:5]]
            lines += [f"+ {row[:200]}" for row in sorted(new)[:5]]
            lines.append(f"rows: {len(gone)} gone, {len(new)} new")
        else:
            lines.append(f"{key}: {str(one)[:120]} became {str(other)[:120]}")
    return "\n".join(lines)
