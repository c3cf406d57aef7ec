# SPDX-License-Identifier: Apache-2.0
"""The table of what was measured, against its limits."""


def show(rows):
    """Prints each row of what was measured, the measurement, its ratio, the ratio's limit (None for
    one that is only compared) and unit. True when all limits are kept."""
    print(f"{'what':46} {'measured':24} {'result':>9} {'limit':>8}  verdict")
    kept = True
    for what, measured, value, limit, unit in rows:
        result = f"{what:46} {measured:24} {value:>6.2f}{unit or '   '}"
        if limit is None:
            print(f"{result}         -  for comparison")
            continue
        verdict = "ok" if value <= limit else "MISSED"
        kept = kept and value <= limit
        print(f"{result} {limit:>5.1f}{unit or '   '}  {verdict}")
    return kept
