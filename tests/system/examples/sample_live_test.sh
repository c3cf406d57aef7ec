#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# The sample product's scripts on a live system, in a sandbox. The uninstall script removes every
# object and file that the install script has made, with the daemon running and without. Ends with
# status 77 where sandboxes cannot be made.
#
#   sample_live_test.sh SOURCE_DIR INSTALLED_DIR
set -euo pipefail

# shellcheck source=tests/system/examples/expect.sh
source "$(dirname "${BASH_SOURCE[0]}")/expect.sh"

outside() {
    local source_dir=$1 installed=$2
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    chmod 755 "$work"
    mkdir "$work/live"
    cp -R "$installed/." "$work/live"
    # LeakSanitizer does not work in every namespace. Other tests look for leaks.
    ASAN_OPTIONS=detect_leaks=0 "$source_dir/scripts/sandbox" --root "$work/live" \
        "${BASH_SOURCE[0]}" --inside "$source_dir" "$work"
}

# The state of the installation. The daemon must be stopped.
state() { "$source_dir/scripts/state"; }
install_sample() { "$source_dir/examples/sample/install.sh" 2>&1; }
uninstall_sample() { "$source_dir/examples/sample/uninstall.sh" 2>&1; }
providers() { fennik --list-providers --name sample; }
init() { tarvo-owcimomd_init "$@" >/dev/null; }
# The files outside of the configuration, which scripts/state lists.
places() { { find /opt/sample /var/opt/tarvo/kov -maxdepth 2 2>/dev/null || true; } | LC_ALL=C sort; }

install_and_uninstall() {
    expect "everything is installed" "sample: files installed in /opt/sample
sample: product registered
sample: configuration set
sample: namespaces registered
sample: providers registered" "$(install_sample)"
    expect "the providers are listed" "$PROVIDERS" "$(providers)"
    expect "they have their privilege files" "$PRIVILEGE_FILES" "$(privilege_files "")"
    expect "it may be installed again" "sample: files installed in /opt/sample
sample: product was registered already
sample: configuration set
sample: namespaces were registered already
sample: providers registered" "$(install_sample)"
    expect "and the providers are the same" "$PROVIDERS" "$(providers)"
    expect "everything is uninstalled" "sample: deregistered
sample: files removed from /opt/sample" "$(uninstall_sample)"
    expect "no product is listed" "" "$(fennik --list-registered-products)"
    expect "it may be uninstalled again" "sample: was not registered
sample: files removed from /opt/sample" "$(uninstall_sample)"
}

# The daemon must be stopped.
refuse_and_recover() {
    install_sample >/dev/null
    state >"$work/installed"
    cp -R "$source_dir/examples/sample" "$work/broken"
    sed -i 's|/opt/sample/bin/sample-services|/opt/sample/bin/none|' \
        "$work/broken/providers/services.reg.mof"
    refused "a provider without a program is refused" 14 \
        "sample: the providers were not registered, and those of before are as they were" \
        "$work/broken/install.sh"
    expect "and nothing has changed" "$(<"$work/installed")" "$(state)"

    local users=/etc/opt/tarvo/kov/openwbem/openwbem.conf.d/sample.allowed_users.conf
    rm "$users"
    state >"$work/without"
    refused "a missing file of allowed users is a failure of deregistering" 25 \
        "sample: deregistering failed with status 25; correct the cause and run this again" \
        "$source_dir/examples/sample/uninstall.sh"
    expect "which changes nothing" "$(<"$work/without")" "$(state)"
    touch "$users"
    expect "and what the script says about it helps" "sample: deregistered
sample: files removed from /opt/sample" "$(uninstall_sample)"
}

inside() {
    source_dir=$1 work=$2
    # The first run of fennik makes this file, and it stays.
    touch /var/opt/tarvo/kov/fennik.lock
    local places
    places=$(places)
    state >"$work/before"

    echo "With the daemon running:"
    init start
    install_and_uninstall
    init status || expect "the daemon runs in the end" yes no
    init stop
    expect "the repository and the configuration are as before" "$(<"$work/before")" "$(state)"
    expect "and nothing else is left" "$places" "$(places)"

    echo "With the daemon stopped:"
    install_and_uninstall
    expect "the repository and the configuration are as before" "$(<"$work/before")" "$(state)"

    refuse_and_recover
    expect "the repository and the configuration are as before" "$(<"$work/before")" "$(state)"
    expect "and nothing else is left" "$places" "$(places)"
}

if [[ $1 == --inside ]]; then
    inside "$2" "$3"
else
    outside "$1" "$2"
fi
