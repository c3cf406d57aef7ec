#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Makes every N-th of the faults of scripts/faults happen, in a sandbox with the tree that
# KOV_INSTALLED names.
#
#   sample.sh N
#
# Ends with 1 when a run has left something wrong, and with 77 when there can be no sandbox here.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/root"
cp -a "$KOV_INSTALLED/opt" "$work/root/opt"
chmod 755 "$work" "$work/root"

strace -qq -e trace=none true || exit 77
status=0
"$here/../../scripts/sandbox" --root "$work/root" \
    python3 -B "$here/run_faults.py" "$work/outcomes" --sample "$1" || status=$?
((status <= 1)) || exit "$status"
python3 -B "$here/report.py" "$work/outcomes"
