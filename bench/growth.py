# SPDX-License-Identifier: Apache-2.0
"""Whether an operation's cost grows with an installation as it may."""

NOTHING, ALL, COPY = "nothing", "all products", "the copy"
# How many times as much as in the smallest installation an operation on one product may cost in the
# largest. What stands on one page of a small repository is on pages of its own in a large one.
CONSTANT = {"wall": 1.5, "memory": 1.5, "bytes": 2.0, "syncs": 1.0}
# How much faster than the number of products everything else may grow, from size to size.
LINEAR = 1.1
# Less than this is no growth: a few milliseconds of the machine, a few pages.
SLACK = {"wall": 0.003, "memory": 2 << 20, "bytes": 64 << 10, "syncs": 0}


def grows_too_fast(quantity, grows, sizes, values):
    """Whether these values, one for each size, break their limit. The sizes rise."""
    slack = SLACK[quantity]
    if grows == NOTHING:
        return values[-1] > CONSTANT[quantity] * values[0] + slack
    return any(after > LINEAR * size / smaller * before + slack
               for smaller, size, before, after in zip(sizes, sizes[1:], values, values[1:]))


def steps(values):
    """How many times the one before it each value is; None where that is nothing."""
    return [after / before if before else None for before, after in zip(values, values[1:])]
