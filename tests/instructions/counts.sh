#!/bin/bash
# Counts the instructions of the codec and of answers.
set -euo pipefail

usage() {
    cat <<'END'
usage: counts.sh [--write] PROGRAM CASES COUNTS

Counts the instructions that the cases in the file CASES take, under callgrind, and compares them with the file
COUNTS. The exit status is 1 if a figure differs by more than 5 percent, in either direction. PROGRAM is
instructioncases. Each compiler has a file of its own; if COUNTS does not exist, the counts are only printed.

  --write   write the counts to COUNTS instead
  --help    print this text
END
}

write=
case ${1-} in
    --help | -h)
        usage
        exit 0
        ;;
    --write)
        write=yes
        shift
        ;;
esac
if [[ $# -ne 3 ]]; then
    usage >&2
    exit 2
fi
program=$1
cases=$2
counts=$3
percent=5
times=20

# The C library chooses its functions by the processor and by its caches: here it takes those that every
# processor has, so that all machines count the same.
tunables=$(<"$(dirname "${BASH_SOURCE[0]}")/tunables.txt")

fixed=()
if setarch --addr-no-randomize true 2>/dev/null; then
    fixed=(setarch --addr-no-randomize)
fi

# The instructions that all rounds of a case take: CASE [PORTS].
count() {
    local log
    if ! log=$(env -i PATH="$PATH" LC_ALL=C GLIBC_TUNABLES="$tunables" \
        "${fixed[@]}" valgrind --tool=callgrind --callgrind-out-file=/dev/null \
        --toggle-collect=countedRounds "$program" "$1" "$times" ${2:+"$2"} 2>&1); then
        printf '%s\n' "$log" >&2
        return 1
    fi
    awk '/Collected/ { print $4; found = 1 } END { exit !found }' <<<"$log"
}

# Prints how a count compares; false if it differs too much.
compare() { # NAME EXPECTED COUNTED
    local off=$(($3 * 1000 / $2 - 1000))
    if ((off > percent * 10)); then
        echo "$1: $3 instructions instead of $2: that is $((off / 10)) % more."
    elif ((off < -percent * 10)); then
        echo "$1: $3 instructions instead of $2: that is $((-off / 10)) % fewer. Write the new figure down."
    else
        echo "$1: $3 instructions, $2 expected"
        return 0
    fi
    return 1
}

declare -A expected=()
if [[ -e $counts ]]; then
    while read -r name ports figure; do
        expected["$name $ports"]=$figure
    done < <(grep -v '^#' "$counts")
elif [[ -z $write ]]; then
    echo "There is no $(basename "$counts"), so these counts are compared with nothing:"
fi

status=0
lines=("# Instructions of $times rounds of each case, written by counts.sh --write.")
while read -r name ports; do
    title=$name
    [[ $ports == - ]] || title+=" $ports"
    counted=$(count "$name" "${ports#-}")
    lines+=("$name $ports $counted")
    if [[ -n ${expected["$name $ports"]-} ]]; then
        compare "$title" "${expected["$name $ports"]}" "$counted" || status=1
    else
        echo "$title: $counted instructions"
        # A file that lacks a case does not guard it.
        [[ ! -e $counts ]] || status=1
    fi
done < <(grep -v '^#' "$cases")

if [[ -n $write ]]; then
    printf '%s\n' "${lines[@]}" >"$counts"
    exit 0
fi
if [[ $status -ne 0 ]]; then
    cat <<END
If the change is meant, write the new figures with
  $(realpath --relative-to="$PWD" "${BASH_SOURCE[0]}") --write $program $cases $counts
END
fi
exit $status
