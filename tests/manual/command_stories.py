# SPDX-License-Identifier: Apache-2.0
"""The commands of the manual pages and of the documents work as they are written there. Each is
either typed in a scenario, or listed with the reason why not."""

import re
import shlex
import shutil
import unittest

from commands import blocks, blocks_of, is_form
from live import LiveStory
from pages import SOURCE, text_of
from scenarios import NOT_TRIED, SCENARIOS, TRIED_ELSEWHERE, Prepare, Shown, Typed

# Nothing of the machine is changed: where commands write, the sandbox has directories of its own.
SURROUNDINGS = f"""
cp -r {shlex.quote(SOURCE)}/examples /opt/examples
for place in /tmp /root /etc/init.d /etc/rc?.d /etc/systemd/system; do
    [ ! -d "$place" ] || mount -t tmpfs -o mode=755 own "$place"
done
cd /root
"""
END = "\x1f"
# Other programs that a machine may not have.
NEEDED = {"dot"}


def typed_commands(block):
    """The commands of a block that can be typed."""
    return [command for command in block.commands
            if not is_form(command) and (block.page, command) not in NOT_TRIED]


def is_tried_elsewhere(block):
    return block.section in TRIED_ELSEWHERE.get(block.page, ("", []))[1]


def block_of(step):
    """The block that a step types."""
    found = [block for block in blocks() if block.page == step.page
             and "\n".join(typed_commands(block)).startswith(step.start)]
    if len(found) < step.number:
        raise LookupError(f"{step.page} has no such commands: {step.start}")
    return found[step.number - 1]


def script_of(step):
    if isinstance(step, Prepare):
        return step.script
    if isinstance(step, Shown):
        shown = ["\n".join(lines) for _, lines in blocks_of(step.page)]
        text = next(text for text in shown if text.startswith(step.start))
        return f"printf '%s\\n' {shlex.quote(text)} >{step.file}"
    return "\n".join(typed_commands(block_of(step)))


class Commands(LiveStory):
    def play(self, steps):
        self.need_daemon()
        for program in NEEDED.intersection(re.findall(r"\w+", " ".join(map(script_of, steps)))):
            if shutil.which(program) is None:
                self.skipTest(f"{program} is not installed")
        script = SURROUNDINGS
        for step in steps:
            command = shlex.quote(script_of(step))
            # At the end of each output its status; the first failure ends the scenario.
            script += (f"bash -euo pipefail -c {command} 2>&1 && status=0 || status=$?\n"
                       f"printf '{END}%s{END}' $status; [ $status = 0 ] || exit 0\n")
        said = self.shell(script).split(END)
        for step, output, status in zip(steps, said[::2], said[1::2]):
            self.assertEqual(status, "0", f"{script_of(step)}\n{output}")
            if isinstance(step, Typed):
                self.assertIn(step.says, output, script_of(step))
                shown = block_of(step).output
                self.assertIn(shown, (None, output), script_of(step))
        self.assertEqual(len(said) // 2, len(steps))


def story_of(steps):
    return lambda self: self.play(steps)


for name, steps in SCENARIOS.items():
    setattr(Commands, "test_" + name, story_of(steps))


class Coverage(unittest.TestCase):
    maxDiff = None

    def test_each_command_is_typed_or_listed(self):
        typed = [block_of(step) for steps in SCENARIOS.values() for step in steps
                 if isinstance(step, Typed)]
        missing = [f"{block.page}: {command}" for block in blocks()
                   for command in typed_commands(block)
                   if block not in typed and not is_tried_elsewhere(block)]
        self.assertEqual(missing, [], "write a scenario, or list it in scenarios.py")

    def test_lists_have_nothing_that_is_gone(self):
        there = {(block.page, command) for block in blocks() for command in block.commands}
        self.assertEqual(set(NOT_TRIED) - there, set())
        titles = {(block.page, block.section) for block in blocks()}
        for page, (test, listed) in TRIED_ELSEWHERE.items():
            for title in listed:
                self.assertIn((page, title), titles)
                self.assertIn(f'"{title}"', text_of(test))

    def test_commands_are_found(self):
        found = blocks()
        self.assertGreater(len(found), 60)
        self.assertIn("fennik --deregister --name sample",
                      [command for block in found for command in block.commands])
