# shellcheck shell=bash
# SPDX-License-Identifier: Apache-2.0
# What the tests of the examples share. Sourced, never run.

# expect WHAT WANTED ACTUAL
expect() {
    [[ $2 == "$3" ]] || {
        printf 'FAILED: %s\n--- wanted\n%s\n--- but was\n%s\n' "$1" "$2" "$3" >&2
        exit 1
    }
    echo "ok: $1"
}

# refused WHAT STATUS LAST_LINE COMMAND...: the command ends with that status, and the last line that
# it prints is that one.
refused() {
    local what=$1 wanted=$2 line=$3 status=0 output
    shift 3
    output=$("$@" 2>&1) || status=$?
    expect "$what" "$wanted $line" "$status ${output##*$'\n'}"
}

# What the sample product's providers are listed as, and the privilege files that they have.
# shellcheck disable=SC2034 # used by whoever sources this
readonly PROVIDERS='SAMPLE_Disk,root:OpenWBEM_OOPProviderRegistration.InstanceID="sample:disks"
SAMPLE_Service,root:OpenWBEM_OOPProviderRegistration.InstanceID="sample:services"
SAMPLE_Event,root:OpenWBEM_OOPProviderProcess.InstanceID="sample:events"'
# shellcheck disable=SC2034
readonly PRIVILEGE_FILES='oop1-sample_disks
owcimomd/oop1-sample_disks
owcimomd/oop1-sample_events
owcimomd/oop1-sample_services'

# privilege_files PREFIX
privilege_files() {
    find "$1/etc/opt/tarvo/kov/openwbem/privileges" -type f -printf '%P\n' | LC_ALL=C sort
}
