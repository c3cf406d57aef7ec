# shellcheck shell=bash
# SPDX-License-Identifier: Apache-2.0
# Shared by the scripts of this folder: the root of the checkout, headings, configuring, building
# and comparing states. Sourced, never run.

# Absolute, so that a script may be called from anywhere.
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
JOBS=$(nproc)
readonly ROOT JOBS

heading() { printf '\n== %s\n' "$*"; }

die() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# configure DIR [CMAKE_OPTION...]: creates or updates a build directory. Warnings are errors there.
configure() {
    local dir=$1
    shift
    mkdir -p "$dir"
    cmake -G Ninja -S "$ROOT" -B "$dir" -DKOV_WERROR=ON "$@" >"$dir/configure.log" 2>&1 || {
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
        # Progress lines go to a log: nobody watches them.
        ninja -C "$dir" -j "$JOBS" "$@" >"$log" 2>&1 || {
            tail -n 100 "$log" >&2
            die "the build in $dir failed; the whole output is in $log"
        }
        tail -n 1 "$log"
    fi
}

# build_fuzz_targets DIR: installs what fuzzing needs, builds every fuzz target, and puts their names
# into the array fuzz_targets.
build_fuzz_targets() {
    "$ROOT/scripts/bootstrap" --developers
    heading "Building in $1"
    configure "$1" -DCMAKE_CXX_COMPILER=clang++ -DKOV_FUZZ=ON
    mapfile -t fuzz_targets < <(ninja -C "$1" -t targets all |
        sed -n '/^cmake_/!s/^\([a-z_]*_fuzz\): phony$/\1/p' | sort)
    ((${#fuzz_targets[@]} > 0)) || die "there is no fuzz target"
    build "$1" "${fuzz_targets[@]}"
}

# same_state BEFORE AFTER: compares two outputs of scripts/state and prints how many lines they
# have. Ends the script when they differ.
same_state() {
    printf '\n$ diff %s %s\n' "$(basename "$1")" "$(basename "$2")"
    diff "$1" "$2" || die "that should be the same"
    local files
    files=$(grep -c '^[-dl]' "$1")
    echo "[no difference: $(($(wc -l <"$1") - files)) lines of the repository's content, $files of the" \
        "configuration tree]"
}

# added_state BEFORE AFTER: prints the lines that were added, for a human reader: without hashes,
# without the qualifiers that every namespace has, and with long lines cut.
added_state() {
    local standard
    standard=$(sed -nE 's/^kov(: qualifier type [^ ]+ ).*/\1/p' "$1")
    comm -13 <(LC_ALL=C sort "$1") <(LC_ALL=C sort "$2") | grep -vF "$standard" |
        sed -E '/ refers to /d
            s/ [0-9a-f]{16,}( \[.*)?$//
            s/: instance [^.]*\.(.*) of ([^ ]*)$/: instance of \2, \1/
            s/^(.{104}).{4,}$/\1.../'
}
