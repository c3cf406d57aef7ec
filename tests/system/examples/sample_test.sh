#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# The sample product's install script: registers everything, may be repeated, finishes what an
# earlier run left half done, and passes fennik's exit status on.
#
#   sample_test.sh SOURCE_DIR INSTALLED_DIR
set -euo pipefail

source_dir=$1 installed=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# expect WHAT WANTED ACTUAL
expect() {
    [[ $2 == "$3" ]] || {
        printf 'FAILED: %s\n--- wanted\n%s\n--- but was\n%s\n' "$1" "$2" "$3" >&2
        exit 1
    }
    echo "ok: $1"
}

# new_stage NAME: a stage with the installed programs, not yet set up.
new_stage() {
    STAGE=$work/$1
    export STAGE
    mkdir "$STAGE"
    cp -R "$installed/." "$STAGE"
}

set_up() { "$STAGE/opt/tarvo/kov/sbin/kov-setup" --dest-dir "$STAGE" >/dev/null; }
fennik() { "$STAGE/opt/tarvo/kov/bin/fennik" --kov-build-system-dest-dir "$STAGE" "$@"; }
install_sample() { "$source_dir/examples/sample/install.sh" 2>&1; }
namespaces() { fennik --list-namespaces --name sample | sort; }

both=$'sample/events\nsample/inventory'

new_stage fresh
set_up
expect "a fresh stage gets everything" \
    $'sample: product registered\nsample: configuration set\nsample: namespaces registered' \
    "$(install_sample)"
expect "the product is listed" sample "$(fennik --list-registered-products)"
expect "its namespaces are listed" "$both" "$(namespaces)"
expect "its configuration is there" "$(<"$source_dir/examples/sample/sample.conf")" \
    "$(fennik --get-owcimomd-config --name sample)"
expect "it may be repeated" \
    $'sample: product was registered already\nsample: configuration set
sample: namespaces were registered already' "$(install_sample)"
expect "and then nothing is there twice" "$both" "$(namespaces)"

new_stage half
set_up
fennik --register --name sample --username sampleadm --username samplemon
fennik --register-namespace sample/events --username sampleadm --name sample
install_sample >/dev/null
expect "what was half done is finished" "$both" "$(namespaces)"

new_stage unprepared
status=0
output=$(install_sample) || status=$?
expect "a stage that was not set up is refused with fennik's status" 9 "$status"
[[ $output == *"is the KOV infrastructure installed and set up?" ]]
