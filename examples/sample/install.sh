#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# The sample product's package runs this after unpacking. It puts the product's files into place and
# registers the product, its configuration, its namespaces and its providers. It can be run again,
# after an update or after a run that failed halfway: it replaces the configuration and the
# providers, and keeps everything else that is registered already.
#
#   install.sh                     on this machine, as root
#   STAGE=/tmp/stage install.sh    in a staged tree that kov-setup has set up
set -euo pipefail

# shellcheck source=examples/sample/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# Appends an option, once for each value, to the array "arguments": options --username a b appends
# --username a --username b.
options() {
    local option=$1 value
    shift
    for value in "$@"; do
        arguments+=("$option" "$value")
    done
}

# With a real package, the package manager does this.
install_files() {
    install -d -m 755 "$stage$home/bin" "$stage$home/share"
    install -m 755 "$here"/bin/* "$stage$home/bin"
    install -m 644 "$here"/providers/* "$here/providers.list" "$stage$home/share"
    say "files installed in $home"
}

register_product() {
    local arguments=() status=0
    options --username "${users[@]}"
    # A product that is registered already is no failure; any other message is shown.
    local errors
    errors=$("${fennik[@]}" --register --name "$product" "${arguments[@]}" 2>&1) || status=$?
    case $status in
        0) say "product registered" ;;
        "$ALREADY_REGISTERED") say "product was registered already" ;;
        *)
            printf '%s\n' "$errors" >&2
            give_up "registering the product" "$status"
            ;;
    esac
}

set_configuration() {
    # From standard input, because fennik would look for a path below the stage.
    "${fennik[@]}" --set-owcimomd-config - --name "$product" <"$here/sample.conf" ||
        give_up "setting the configuration" $?
    say "configuration set"
}

register_namespaces() {
    local registered namespace arguments=()
    registered=$("${fennik[@]}" --list-namespaces --name "$product") ||
        give_up "listing the namespaces" $?
    for namespace in "${namespaces[@]}"; do
        grep -Fxq "$namespace" <<<"$registered" || arguments+=(--register-namespace "$namespace")
    done
    if ((${#arguments[@]} == 0)); then
        say "namespaces were registered already"
        return
    fi
    options --username "${read_write_users[@]}"
    options --ro-username "${read_only_users[@]}"
    "${fennik[@]}" "${arguments[@]}" --name "$product" || give_up "registering the namespaces" $?
    say "namespaces registered"
}

# Replaces the product's providers by those of the list.
register_providers() {
    local status=0
    "${fennik[@]}" --register-providers "$stage$home/share/providers.list" --name "$product" ||
        status=$?
    case $status in
        0) say "providers registered" ;;
        "$PRAGMA_IN_REGISTRATION" | "$BAD_PROVIDERS" | "$NO_PROVIDER_LIST" | "$BAD_MOF")
            say "the providers were not registered, and those of before are as they were" >&2
            exit "$status"
            ;;
        *) give_up "registering the providers" "$status" ;;
    esac
}

fennik_is_there || {
    say "there is no ${fennik[0]}; install the KOV infrastructure first" >&2
    exit 1
}
install_files
register_product
set_configuration
register_namespaces
register_providers
