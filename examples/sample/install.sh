#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# What the sample product's package runs after unpacking: registers the product, its configuration
# and its namespaces. It may be run again, after an update or after a run that failed half way: what
# is registered already stays as it is.
#
#   install.sh                 on this machine, as root
#   STAGE=/tmp/stage install.sh    in a staged tree that kov-setup has set up
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=examples/sample/product.sh
source "$here/product.sh"

stage=${STAGE:-}
fennik=("$stage/opt/tarvo/kov/bin/fennik")
[[ -z $stage ]] || fennik+=(--kov-build-system-dest-dir "$stage")

# fennik's exit statuses that an install script can do something about.
readonly ALREADY_REGISTERED=2 NOT_ROOT=8 NO_LOCK_FILE=9

# Repeats an option for each value: options --username a b gives --username a --username b.
options() {
    local option=$1 value
    shift
    for value in "$@"; do
        arguments+=("$option" "$value")
    done
}

# Ends the script after a step that failed. fennik has told why, and has undone that step.
give_up() {
    local step=$1 status=$2
    case $status in
        "$NOT_ROOT") echo "sample: the installation must be run as root" >&2 ;;
        "$NO_LOCK_FILE") echo "sample: is the KOV infrastructure installed and set up?" >&2 ;;
        *) echo "sample: $step failed with status $status; correct the cause and run this again" >&2 ;;
    esac
    exit "$status"
}

register_product() {
    local arguments=() status=0
    options --username "${users[@]}"
    # The one refusal that is no failure is told by its status; other messages are shown.
    local errors
    errors=$("${fennik[@]}" --register --name "$product" "${arguments[@]}" 2>&1) || status=$?
    case $status in
        0) echo "sample: product registered" ;;
        "$ALREADY_REGISTERED") echo "sample: product was registered already" ;;
        *)
            printf '%s\n' "$errors" >&2
            give_up "registering the product" "$status"
            ;;
    esac
}

set_configuration() {
    # From standard input: a path would be taken below the stage.
    "${fennik[@]}" --set-owcimomd-config - --name "$product" <"$here/sample.conf" ||
        give_up "setting the configuration" $?
    echo "sample: configuration set"
}

register_namespaces() {
    local registered namespace arguments=()
    registered=$("${fennik[@]}" --list-namespaces --name "$product") ||
        give_up "listing the namespaces" $?
    for namespace in "${namespaces[@]}"; do
        grep -Fxq "$namespace" <<<"$registered" || arguments+=(--register-namespace "$namespace")
    done
    if ((${#arguments[@]} == 0)); then
        echo "sample: namespaces were registered already"
        return
    fi
    options --username "${read_write_users[@]}"
    options --ro-username "${read_only_users[@]}"
    "${fennik[@]}" "${arguments[@]}" --name "$product" || give_up "registering the namespaces" $?
    echo "sample: namespaces registered"
}

register_product
set_configuration
register_namespaces
