# Shared by the scripts of this project; sourced, not run.
# shellcheck shell=bash

set -euo pipefail

# What root builds and installs must be readable for the user that serves it.
umask 022

source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '%s\n' "zeph: $*" >&2; }
fail() { say "$*"; exit 1; }

# Where builds go: outside the source tree, one folder for each clone of it. Under
# root the place must be readable for the users that the program then runs as.
build_root() {
    if [ -n "${ZEPH_BUILD_ROOT:-}" ]; then
        printf '%s\n' "$ZEPH_BUILD_ROOT"
        return
    fi
    local key
    key=$(printf '%s' "$source_dir" | cksum | cut -d ' ' -f 1)
    if [ "$(id -u)" -eq 0 ]; then
        printf '%s\n' "/var/cache/zeph-build/$key"
    elif [ -n "${XDG_CACHE_HOME:-${HOME:-}}" ]; then
        printf '%s\n' "${XDG_CACHE_HOME:-$HOME/.cache}/zeph-build/$key"
    else
        fail "HOME is not set; name a folder for the build in ZEPH_BUILD_ROOT"
    fi
}

# configure_and_build PRESET [FOLDER [OPTION...]]: leaves the folder's path in build_dir.
configure_and_build() {
    build_dir=$(build_root)/${2:-$1}
    mkdir -p "$build_dir"
    local log=$build_dir/configure.log
    if ! cmake -S "$source_dir" -B "$build_dir" --preset "$1" "${@:3}" >"$log" 2>&1; then
        cat "$log" >&2
        fail "the configuration of preset $1 failed; its output stands above"
    fi
    say "building preset $1 in $build_dir"
    cmake --build "$build_dir" >&2 || fail "the build of preset $1 failed"
}

# What is served and measured: the release without the tests, which need more packages.
build_programs() { configure_and_build release programs -DZEPH_TESTS=OFF; }
