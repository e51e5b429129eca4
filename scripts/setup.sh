#!/usr/bin/env bash
# Installs the Debian packages that the project needs and that are missing.
#
#   scripts/setup.sh [build] [serve] [test] [fuzz] [bench]
#
# Each word names what is to be done; without one, all of it. Works as root or with
# sudo; with nothing missing it changes nothing and needs neither.

. "$(dirname "$0")/common.sh"

packages_for() {
    case $1 in
        build) echo "g++ cmake ninja-build" ;;
        serve) echo "lighttpd" ;;
        test)  echo "libgtest-dev libcrypt-dev libbenchmark-dev python3 lighttpd" ;;
        fuzz)  echo "clang libclang-rt-14-dev" ;;
        bench) echo "python3 lighttpd wrk php-cgi php-cli lua5.4 perl valgrind libbenchmark-dev" ;;
        *)     fail "setup.sh knows build, serve, test, fuzz and bench, not '$1'" ;;
    esac
}

[ $# -gt 0 ] || set -- build serve test fuzz bench

missing=()
for purpose in "$@"; do
    for package in $(packages_for "$purpose"); do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
            missing+=("$package")
    done
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || fail "missing packages: ${missing[*]}; install them as root"
    as_root=(sudo)
fi
say "installing ${missing[*]}"
# RUNLEVEL=1 keeps Debian from starting a server that it installs: the project starts
# its own.
{
    "${as_root[@]}" apt-get update -q &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive RUNLEVEL=1 apt-get install -q -y \
            --no-install-recommends "${missing[@]}"
} >&2 || fail "the packages ${missing[*]} could not be installed"
