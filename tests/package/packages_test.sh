#!/bin/bash
# cpack makes all packages, under any umask, and lintian finds no fault in them.
# usage: packages_test.sh BUILD PACKAGES
set -euo pipefail

# shellcheck source=tests/support/checks.sh
source "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../support/checks.sh"

build=$1
packages=$2
root=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../..")

# The odd umask shows what takes over the caller's.
packages_are_made() {
    rm -rf "$packages"
    (umask 077 && cpack --config "$build/CPackConfig.cmake" -B "$packages") || {
        fail "cpack"
        exit 1
    }
    chmod -R u=rwX,go=rX "$packages"
}

lintian_is_content() {
    local output
    output=$(lintian --allow-root --fail-on error,warning "$packages"/*.deb 2>&1) || fail "lintian: $output"
}

# Rights, owner and name of everything in a package.
contents() {
    dpkg-deb --contents "$packages/$1"_*.deb | awk '{ print $1, $2, $NF }'
}

rights_are_the_usual_ones() {
    local odd
    odd=$({ contents zulbench; contents libzulobj-dev; contents python3-zul; } |
        grep -vE '^(drwxr-xr-x root/root .*/|-rw-r--r-- root/root .*|-rwxr-xr-x root/root \./usr/bin/.*)$') || true
    [[ -z $odd ]] || fail "odd rights: $odd"
}

nothing_of_this_machine_is_in_it() {
    local package place
    for package in zulbench libzulobj-dev python3-zul; do
        mkdir "$packages/$package"
        dpkg-deb -x "$packages/$package"_*.deb "$packages/$package"
        for place in "$build" "$root"; do
            ! grep -rlF "$place" "$packages/$package" || fail "$package knows the place $place"
        done
        rm -r "${packages:?}/$package"
    done
}

nothing_is_started() {
    local scripts
    scripts=$(dpkg-deb --ctrl-tarfile "$packages"/zulbench_*.deb | tar -t | grep -vE '^\./(control|md5sums)?$') || true
    [[ -z $scripts ]] || fail "the package runs something when it is installed: $scripts"
}

packages_are_made
lintian_is_content
rights_are_the_usual_ones
nothing_of_this_machine_is_in_it
nothing_is_started
exit "$failed"
