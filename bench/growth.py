# SPDX-License-Identifier: Apache-2.0
"""Checks whether the cost of an operation grows too fast with the size of the installation."""

NOTHING, RESTART, ALL, COPY = "nothing", "the restart", "all products", "the copy"
# The name of that operation on all products.
START = "start of the daemon"
# The largest factor between the cost of an operation on one product in the largest and in the
# smallest installation. Rows that share a page in a small repository have separate pages in a large
# one.
CONSTANT = {"wall": 1.5, "memory": 1.5, "bytes": 2.0, "syncs": 1.0}
# From one size to the next, everything else may grow this much faster than the number of products.
LINEAR = 1.1
# Smaller differences are not growth but noise: a few milliseconds, a few pages.
SLACK = {"wall": 0.003, "memory": 2 << 20, "bytes": 64 << 10, "syncs": 0}


def grows_too_fast(quantity, grows, sizes, values, restart=0):
    """Whether `values`, one for each of the ascending `sizes`, break their limit. `restart` is
    how much more the daemon's restart costs in the largest installation than in the smallest."""
    slack = SLACK[quantity]
    if grows == RESTART:
        slack += restart
    if grows in (NOTHING, RESTART):
        return values[-1] > CONSTANT[quantity] * values[0] + slack
    return any(after > LINEAR * size / smaller * before + slack
               for smaller, size, before, after in zip(sizes, sizes[1:], values, values[1:]))


def steps(values):
    """The factor from each value to the next; None where the earlier one is 0."""
    return [after / before if before else None for before, after in zip(values, values[1:])]
