# shellcheck shell=bash
# SPDX-License-Identifier: Apache-2.0
# Shared by the tests of the examples. Sourced, never run.

# expect WHAT WANTED ACTUAL: ends the test when the two differ.
expect() {
    [[ $2 == "$3" ]] || {
        printf 'FAILED: %s\n--- wanted\n%s\n--- but was\n%s\n' "$1" "$2" "$3" >&2
        exit 1
    }
    echo "ok: $1"
}

# refused WHAT STATUS LAST_LINE COMMAND...: expects that the command ends with that status and that
# last line of output.
refused() {
    local what=$1 wanted=$2 line=$3 status=0 output
    shift 3
    output=$("$@" 2>&1) || status=$?
    expect "$what" "$wanted $line" "$status ${output##*$'\n'}"
}

# The listing of the sample product's providers, and their privilege files.
# shellcheck disable=SC2034 # used by whoever sources this
readonly PROVIDERS='SAMPLE_Disk,root:OpenWBEM_OOPProviderRegistration.InstanceID="sample:disks"
SAMPLE_Service,root:OpenWBEM_OOPProviderRegistration.InstanceID="sample:services"
SAMPLE_Event,root:OpenWBEM_OOPProviderProcess.InstanceID="sample:events"'
# shellcheck disable=SC2034
readonly PRIVILEGE_FILES='oop1-sample_disks
owcimomd/oop1-sample_disks
owcimomd/oop1-sample_events
owcimomd/oop1-sample_services'

# privilege_files PREFIX: lists all privilege files.
privilege_files() {
    find "$1/etc/opt/tarvo/kov/openwbem/privileges" -type f -printf '%P\n' | LC_ALL=C sort
}
