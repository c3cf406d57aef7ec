# SPDX-License-Identifier: Apache-2.0
"""The daemon of the live installation."""

import os

from programs import STATE

PID_FILE = f"/{STATE}/openwbem/owcimomd.pid"


def daemon_pid():
    """None where no daemon runs."""
    try:
        with open(PID_FILE, encoding="ascii") as text:
            pid = int(text.read())
        os.kill(pid, 0)
        return pid
    except (FileNotFoundError, ProcessLookupError):
        return None
