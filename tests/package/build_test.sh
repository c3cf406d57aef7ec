#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Packages the build, has lintian look at it, and puts the package and the stories into DIR. Ends with
# status 77 where the tools are missing.
#
#   build_test.sh SOURCE_DIR BUILD_DIR DIR
set -euo pipefail

source_dir=$1 build=$2 dir=$3

rm -rf "$dir"
mkdir -p "$dir"
for tool in dpkg-buildpackage dh lintian; do
    command -v "$tool" >/dev/null || {
        echo "there is no $tool: scripts/bootstrap --package installs it"
        exit 77
    }
done
"$source_dir/scripts/package" --build-dir "$build" --output "$dir"
cp "$source_dir/tests/package/package_stories.py" "$dir"
