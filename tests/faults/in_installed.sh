#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Runs a command in a sandbox of its own with the tree that KOV_INSTALLED names.
#
#   in_installed.sh COMMAND [ARGUMENT...]
#
# Ends with the command's status, and with 77 when there can be no sandbox or no tracing here.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/root"
cp -a "$KOV_INSTALLED/opt" "$work/root/opt"
chmod 755 "$work" "$work/root"

strace -qq -e trace=none true || exit 77
status=0
"$here/../../scripts/sandbox" --root "$work/root" "$@" || status=$?
exit "$status"
