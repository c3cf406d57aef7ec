#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# The sample product's scripts in a staged tree. The install script registers everything, may be
# repeated, completes what an earlier run left half done, and passes fennik's exit status on. The
# uninstall script refuses.
#
#   sample_test.sh SOURCE_DIR INSTALLED_DIR
set -euo pipefail

# shellcheck source=tests/system/examples/expect.sh
source "$(dirname "${BASH_SOURCE[0]}")/expect.sh"

source_dir=$1 installed=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# new_stage NAME: makes a stage with the installed programs, not yet set up.
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
providers() { fennik --list-providers --name sample; }
state() { "$source_dir/scripts/state" "$STAGE"; }

both=$'sample/events\nsample/inventory'

new_stage fresh
set_up
expect "a fresh stage gets everything" "sample: files installed in /opt/sample
sample: product registered
sample: configuration set
sample: namespaces registered
sample: providers registered" "$(install_sample)"
expect "the product is listed" sample "$(fennik --list-registered-products)"
expect "its namespaces are listed" "$both" "$(namespaces)"
expect "its configuration is there" "$(<"$source_dir/examples/sample/sample.conf")" \
    "$(fennik --get-owcimomd-config --name sample)"
expect "its providers are listed" "$PROVIDERS" "$(providers)"
expect "they have their privilege files" "$PRIVILEGE_FILES" "$(privilege_files "$STAGE")"

privileges=$STAGE/etc/opt/tarvo/kov/openwbem/privileges
expect "the product's own one is as it was given" \
    "$(<"$source_dir/examples/sample/providers/disks.priv")" "$(<"$privileges/oop1-sample_disks")"
expect "the agent's let the processes start" \
    'monitored_exec_check_args { /opt/sample/bin/sample-disks "--scan-seconds" "30"  @ oop1-sample_disks }
user_exec_check_args { /opt/sample/bin/sample-events "--keep-days" "14"  @ owprovdr }
user_exec_check_args { /opt/sample/bin/sample-services  @ owprovdr }' \
    "$(cat "$privileges"/owcimomd/*)"
for program in sample-disks sample-services sample-events; do
    [[ -x $STAGE/opt/sample/bin/$program ]]
    refused "$program is there and says what it is" 1 \
        "$program: a placeholder that provides nothing; started with the arguments: -x y" \
        "$STAGE/opt/sample/bin/$program" -x y
done

state >"$work/state"
expect "it may be repeated" "sample: files installed in /opt/sample
sample: product was registered already
sample: configuration set
sample: namespaces were registered already
sample: providers registered" "$(install_sample)"
expect "and then everything is as it was" "$(<"$work/state")" "$(state)"

# An update with a mistake in its providers.
cp -R "$source_dir/examples/sample" "$work/broken"
sed -i 's/^class SAMPLE_Service/clas SAMPLE_Service/' "$work/broken/providers/services.mof"
refused "a mistake in a provider's MOF is told by fennik's status" 33 \
    "sample: the providers were not registered, and those of before are as they were" \
    "$work/broken/install.sh"
expect "and everything is as it was" "$(<"$work/state")" "$(state)"
rm "$work/broken/providers/services.mof" "$STAGE/opt/sample/share/services.mof"
refused "a missing file of the list is a failure" 1 \
    "sample: registering the providers failed with status 1; correct the cause and run this again" \
    "$work/broken/install.sh"
expect "and everything is as it was again" "$(<"$work/state")" "$(state)"

refused "a staged tree cannot be deregistered from" 1 \
    "sample: a product cannot be deregistered in a staged tree; nothing was changed. Make the tree \
again without it" "$source_dir/examples/sample/uninstall.sh"
expect "and nothing has changed" "$(<"$work/state")" "$(state)"

new_stage half
set_up
fennik --register --name sample --username sampleadm --username samplemon
fennik --register-namespace sample/events --username sampleadm --name sample
install_sample >/dev/null
expect "what was half done is finished" "$both" "$(namespaces)"
expect "with its providers" "$PROVIDERS" "$(providers)"

new_stage unprepared
refused "a stage that was not set up is refused with fennik's status" 9 \
    "sample: is the KOV infrastructure installed and set up?" "$source_dir/examples/sample/install.sh"

export STAGE=$work/empty
refused "without the tool nothing is installed" 1 \
    "sample: there is no $STAGE/opt/tarvo/kov/bin/fennik; install the KOV infrastructure first" \
    "$source_dir/examples/sample/install.sh"
expect "not even a directory" "" "$(ls -A "$STAGE" 2>/dev/null)"
