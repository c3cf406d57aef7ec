# shellcheck shell=bash
# SPDX-License-Identifier: Apache-2.0
# Shared by the install and the uninstall script of the sample product. Sourced, never run.
# shellcheck disable=SC2034 # used by whoever sources this

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=examples/sample/product.sh
source "$here/product.sh"

stage=${STAGE:-}
fennik=("$stage/opt/tarvo/kov/bin/fennik")
[[ -z $stage ]] || fennik+=(--kov-build-system-dest-dir "$stage")

# The exit statuses of fennik that these scripts handle.
readonly ALREADY_REGISTERED=2 NOT_REGISTERED=3 PRAGMA_IN_REGISTRATION=4 NOT_ROOT=8 NO_LOCK_FILE=9
readonly BAD_PROVIDERS=14 NO_PROVIDER_LIST=24 NO_ALLOWED_USERS_FILE=25 BAD_MOF=33

say() { echo "$product: $*"; }

fennik_is_there() { [[ -x ${fennik[0]} ]]; }

# give_up STEP STATUS: ends the script after a failed step. fennik has printed why and undone the
# step.
give_up() {
    local step=$1 status=$2
    case $status in
        "$NOT_ROOT") say "this must be run as root" >&2 ;;
        "$NO_LOCK_FILE") say "is the KOV infrastructure installed and set up?" >&2 ;;
        *) say "$step failed with status $status; correct the cause and run this again" >&2 ;;
    esac
    exit "$status"
}
