#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs one story of the installed tool on a machine of its own, or lists them all.

usage: run_copy_story.py DIR --list | run_copy_story.py DIR MODULE.CLASS.test_NAME

The stories are the modules of DIR named NAME_stories.py.

The machine is a sandbox (scripts/sandbox): the tree that KOV_INSTALLED names stands at its real
places, set up by kov-setup, and the daemon's init script is a stand-in. Ends with 77 when the story
cannot be told here; the reason is printed."""

import os
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
SANDBOX = os.path.join(HERE, "../../../scripts/sandbox")
sys.path[:0] = [HERE, os.path.join(HERE, "../fennik")]
sys.dont_write_bytecode = True

import run_story  # noqa: E402

INSIDE = "KOV_STORY_INSIDE"
INIT_SCRIPT = "/opt/tarvo/kov/sbin/tarvo-owcimomd_init"

# Each call takes the next line of the plan: the exit status, or "kill". The sandbox's own question
# at the end is answered, and not counted.
STAND_IN = """#!/bin/sh
[ -z "$KOV_SANDBOX" ] || exit 3
echo "$1 $(ls /var/opt/tarvo/kov/openwbem | tr '\\n' ' ')" >> /var/opt/tarvo/script/calls
answer=$(sed -n "$(wc -l < /var/opt/tarvo/script/calls)p" /var/opt/tarvo/script/plan)
[ "$answer" != kill ] || kill -9 $$
echo "script says $answer"
exit "$answer"
"""


def link_or_copy(source, target):
    try:
        os.link(source, target)
    except OSError:
        shutil.copy2(source, target)


def make_machine(root):
    os.chmod(root, 0o755)
    shutil.copytree(
        os.environ["KOV_INSTALLED"] + "/opt", root + "/opt", copy_function=link_or_copy
    )
    if os.path.exists(root + INIT_SCRIPT):
        os.rename(root + INIT_SCRIPT, root + INIT_SCRIPT + ".real")
    with open(root + INIT_SCRIPT, "w", encoding="ascii") as script:
        script.write(STAND_IN)
    os.chmod(root + INIT_SCRIPT, 0o755)


def tell_inside(directory, story):
    root = tempfile.mkdtemp(prefix="fennik-copy-")
    try:
        make_machine(root)
        done = subprocess.run(
            [SANDBOX, "--root", root, sys.executable, os.path.abspath(__file__), directory,
             story],
            env=dict(os.environ, **{INSIDE: "1"}),
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
        )
    finally:
        shutil.rmtree(root, ignore_errors=True)
    text = done.stdout.decode(errors="replace")
    if done.returncode == run_story.SKIPPED and ": Skipped\n" not in text:
        text = f"{story}: Skipped\n{text}"
    print(text, end="")
    return done.returncode


if __name__ == "__main__":
    if sys.argv[-1] == "--list" or os.environ.pop(INSIDE, None):
        sys.exit(run_story.main())
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.exit(tell_inside(*sys.argv[1:]))
