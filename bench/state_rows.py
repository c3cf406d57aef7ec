# SPDX-License-Identifier: Apache-2.0
"""The rows of the table that tell what saving and restoring the state of all products costs, from
what state.py has measured."""

SAVING = 4.0
RESTORING = 6.0
DOUBLING = 2.2
MEMORY = 6.0


def compared(what, mine, other, limit, clock):
    """A row of two measured times."""
    return (what, f"{1000 * mine[clock]:.0f} ms / {1000 * other[clock]:.0f} ms",
            mine[clock] / other[clock], limit, "")


def schema_rows(name, state):
    size = state["bytes"]
    for what, limit in (("save", SAVING), ("restore", RESTORING)):
        mine, load = state[what], state["load"]
        yield compared(f"{what} {name} / owmofc, processor", mine, load, limit, "cpu")
        yield compared("the same by the wall clock", mine, load, None, "wall")
        yield (f"{what} {name}, peak memory / file",
               f"{mine['memory'] / 1e6:.1f} MB / {size / 1e6:.1f} MB", mine["memory"] / size,
               MEMORY, "")


def state_rows(measured):
    """Nothing but the syncs is waited for, so the limits are on the processor's time, which leaves
    most of what else the machine does out; the wall clock stands beside it."""
    once, twice = measured["products"], measured["twice"]
    rows = [*schema_rows("schema", measured["schema"]),
            *schema_rows("10000 instances too", measured["instances"])]
    for what in ("save", "restore"):
        rows.append(compared(f"{what} 100 products / 50, by the processor", twice[what], once[what],
                             DOUBLING, "cpu"))
        rows.append(compared("the same by the wall clock", twice[what], once[what], None, "wall"))
    return rows
