# shellcheck shell=bash
# SPDX-License-Identifier: Apache-2.0
# What the scripts of this folder share: the root of the checkout, headings, and the one way to
# configure and build. Sourced, never run.

# Absolute, so that a script may be called from anywhere.
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
JOBS=$(nproc)
readonly ROOT JOBS

# A heading, so that a long run can be read from far away.
heading() { printf '\n== %s\n' "$*"; }

die() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# configure DIR [CMAKE_OPTION...]: an existing build directory is brought up to date.
configure() {
    local dir=$1
    shift
    mkdir -p "$dir"
    cmake -G Ninja -S "$ROOT" -B "$dir" "$@" >"$dir/configure.log" 2>&1 || {
        cat "$dir/configure.log" >&2
        die "CMake could not configure $dir"
    }
}

# build DIR [TARGET...]
build() {
    local dir=$1
    shift
    local log=$dir/build.log
    if [[ -t 1 ]]; then
        ninja -C "$dir" -j "$JOBS" "$@"
    else
        # Into a log: a thousand progress lines help nobody who reads the output later.
        ninja -C "$dir" -j "$JOBS" "$@" >"$log" 2>&1 || {
            tail -n 100 "$log" >&2
            die "the build in $dir failed; the whole output is in $log"
        }
        tail -n 1 "$log"
    fi
}
