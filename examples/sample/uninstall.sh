#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# The sample product's package runs this before it is removed. It deregisters the product with
# everything that belongs to it and removes its files. It can be run again after a run that failed:
# it ignores what is gone already. As root, on an installed system only.
set -euo pipefail

# shellcheck source=examples/sample/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

if [[ -n $stage ]]; then
    # fennik needs a working copy of the repository for this, and makes one on an installed system
    # only.
    say "a product cannot be deregistered in a staged tree; nothing was changed." \
        "Make the tree again without it" >&2
    exit 1
fi

deregister() {
    local status=0 errors
    errors=$("${fennik[@]}" --deregister --name "$product" 2>&1) || status=$?
    case $status in
        0) say "deregistered" ;;
        "$NOT_REGISTERED") say "was not registered" ;;
        *)
            printf '%s\n' "$errors" >&2
            [[ $status != "$NO_ALLOWED_USERS_FILE" ]] || say "if the file that could not be" \
                "removed is missing, make an empty one and run this again" >&2
            give_up "deregistering" "$status"
            ;;
    esac
}

remove_files() {
    local file
    for file in "$here"/bin/*; do
        rm -f "$home/bin/${file##*/}"
    done
    for file in "$here"/providers/* "$here/providers.list"; do
        rm -f "$home/share/${file##*/}"
    done
    # Keeps directories into which somebody else has put files.
    rmdir "$home/bin" "$home/share" "$home" 2>/dev/null || true
    say "files removed from $home"
}

if fennik_is_there; then
    deregister
else
    say "the KOV infrastructure has gone already, and the registrations with it"
fi
remove_files
