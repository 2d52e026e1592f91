#!/bin/bash
# A figure that is off is told, with its case and both figures; one that fits is not.
# usage: counts_test.sh PROGRAM
set -euo pipefail

# shellcheck source=tests/support/checks.sh
source "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../support/checks.sh"

program=$1
counts_sh=$(dirname "$(realpath "${BASH_SOURCE[0]}")")/counts.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Runs counts.sh on one case with this figure and leaves what it says in $said and its status in $status.
check() { # FIGURE [COMPILER]
    printf '# compiler: ours\n# a remark\nframe - %s\n' "$1" >"$work/counts.txt"
    status=0
    said=$("$counts_sh" "$program" "${2-ours}" "$work/counts.txt") || status=$?
}

says() {
    [[ $said == *"$1"* ]] || fail "it does not say '$1' but: $said"
}

ends() {
    [[ $status -eq $1 ]] || fail "the status is $status, not $1, with: $said"
}

printf '# compiler: none\n# a remark\nframe - 1\n' >"$work/written.txt"
"$counts_sh" --write "$program" ours "$work/written.txt" || fail "the figures are not written"
[[ $(head -n 2 "$work/written.txt") == $'# compiler: ours\n# a remark' ]] || fail "the remarks are not kept"
figure=$(sed -n 's/^frame - //p' "$work/written.txt")

check "$figure"
ends 0
says "frame: $figure instructions, $figure expected"

check $((figure * 104 / 100))
ends 0
check $((figure * 96 / 100))
ends 0

slower=$((figure * 93 / 100))
check $slower
ends 1
says "frame: $figure instructions instead of $slower: that is 7 % more."
says "--write $program 'ours' $work/counts.txt"

faster=$((figure * 108 / 100))
check $faster
ends 1
says "frame: $figure instructions instead of $faster: that is 7 % fewer. Write the new figure down."

CI='' check 1 theirs
ends 77
says "nothing was compared"
CI=true check 1 theirs
ends 1
says "nothing was compared"

exit "$failed"
