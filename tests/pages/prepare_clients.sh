#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# What docs/clients.md takes for granted: clients, the sample product, and its users. Ends with 77
# where a client is not installed. For use inside scripts/sandbox, whose accounts are its own.
set -euo pipefail

for program in wbemcli curl openssl; do
    command -v "$program" >/dev/null || {
        echo "$program is not installed"
        exit 77
    } >&2
done
: "${KOV_SANDBOX:?this is for use inside a sandbox}"
id=64401
for user in sampleadm samplemon; do
    echo "$user:x:$((id++)):64401::/nonexistent:/usr/sbin/nologin" >>/etc/passwd
done
tarvo-owcimomd_init start
"$(dirname "${BASH_SOURCE[0]}")/../../examples/sample/install.sh"
