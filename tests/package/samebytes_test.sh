#!/bin/bash
# Who builds the packages anew, elsewhere, with another umask and no object of the first build, gets the same bytes.
# usage: samebytes_test.sh PACKAGES
set -euo pipefail

# shellcheck source=tests/support/checks.sh
source "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../support/checks.sh"

packages=$1
root=$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../..
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

umask 002
env -u CMAKE_CXX_COMPILER_LAUNCHER CCACHE_DISABLE=1 "$root/packaging/build" "$work/elsewhere/deeper" >"$work/made"

[[ $(wc -l <"$work/made") -eq 3 ]] || fail "packaging/build made: $(<"$work/made")"
while read -r package; do
    cmp "$package" "$packages/$(basename "$package")" || fail "$package"
done <"$work/made"
exit "$failed"
