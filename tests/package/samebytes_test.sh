#!/bin/bash
# Who builds the packages anew, elsewhere, with another umask and no object of the first build, gets the same bytes.
# usage: samebytes_test.sh PACKAGES
set -euo pipefail

packages=$1
root=$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../..
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

umask 002
env -u CMAKE_CXX_COMPILER_LAUNCHER CCACHE_DISABLE=1 "$root/packaging/build" "$work/elsewhere/deeper" >"$work/made"

[[ $(wc -l <"$work/made") -eq 2 ]] || {
    echo "FAIL: packaging/build made: $(<"$work/made")" >&2
    exit 1
}
failed=0
while read -r package; do
    cmp "$package" "$packages/$(basename "$package")" || failed=1
done <"$work/made"
exit "$failed"
