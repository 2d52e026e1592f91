#!/bin/bash
# A figure that differs too much is reported, with its case and both figures; one that fits is not.
# usage: counts_test.sh PROGRAM
set -euo pipefail

# shellcheck source=tests/support/checks.sh
source "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../support/checks.sh"

program=$1
counts_sh=$(dirname "$(realpath "${BASH_SOURCE[0]}")")/counts.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

printf '# a remark\nframe -\n' >"$work/cases.txt"

# Runs counts.sh on one case with this figure; sets said and status.
check() { # FIGURE
    printf '# a remark\nframe - %s\n' "$1" >"$work/counts.txt"
    run_counts
}

run_counts() {
    status=0
    said=$("$counts_sh" "$program" "$work/cases.txt" "$work/counts.txt") || status=$?
}

says() {
    [[ $said == *"$1"* ]] || fail "it does not say '$1' but: $said"
}

ends() {
    [[ $status -eq $1 ]] || fail "the status is $status, not $1, with: $said"
}

run_counts
ends 0
says "There is no counts.txt"
figure=$(sed -n 's/^frame: \([0-9]*\) instructions$/\1/p' <<<"$said")

"$counts_sh" --write "$program" "$work/cases.txt" "$work/counts.txt" >"$work/said" || fail "the figures are not written"
[[ $(grep -v '^#' "$work/counts.txt") == "frame - $figure" ]] || fail "written: $(<"$work/counts.txt")"

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
says "--write $program $work/cases.txt $work/counts.txt"

faster=$((figure * 108 / 100))
check $faster
ends 1
says "frame: $figure instructions instead of $faster: that is 7 % fewer. Write the new figure down."

printf '# no case\nencode - 1\n' >"$work/counts.txt"
run_counts
ends 1
says "frame: $figure instructions"

exit "$failed"
