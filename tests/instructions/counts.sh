#!/bin/bash
# Counts the instructions of the codec and of answers.
set -euo pipefail

usage() {
    cat <<'END'
usage: counts.sh [--write] PROGRAM COMPILER COUNTS

Counts what the cases in the file COUNTS take, under callgrind, and compares: the exit status is 1 where a
figure is off by more than 5 percent, be it worse or better. PROGRAM is instructioncases, COMPILER what it was
built with; of another compiler than that of COUNTS nothing is compared: the exit status is 77, or 1 where CI
is set.
--write puts what was counted into COUNTS instead.
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
compiler=$2
counts=$3
percent=5
times=20

# The C library chooses its functions by the processor and by its caches: here it takes those that every
# processor has, so that all machines count the same.
without=AVX,AVX2,AVX512F,AVX512BW,AVX512VL,AVX_Fast_Unaligned_Load,BMI1,BMI2,ERMS,FSRM,LZCNT,MOVBE,POPCNT
without+=,RTM,SSSE3,SSE4_1,SSE4_2,Fast_Unaligned_Copy,Prefer_No_VZEROUPPER
tunables=glibc.cpu.hwcaps=-${without//,/,-}
tunables+=:glibc.cpu.x86_data_cache_size=32768:glibc.cpu.x86_shared_cache_size=1048576
tunables+=:glibc.cpu.x86_non_temporal_threshold=786432

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

# Says how a count compares; false where it is off.
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

built=$(sed -n 's/^# compiler: //p' "$counts")
if [[ -z $write && $built != "$compiler" ]]; then
    echo "The counts are those of '$built', this build is by '$compiler': nothing was compared."
    # Where nobody reads that, the guard would be gone unseen.
    [[ -n ${CI-} ]] && exit 1
    exit 77
fi

status=0
lines=()
while read -r name ports expected; do
    if [[ $name == \#* ]]; then
        if [[ $name == '#' && $ports == compiler: ]]; then
            expected=$compiler
        fi
        lines+=("$name${ports:+ $ports}${expected:+ $expected}")
        continue
    fi
    ports=${ports#-}
    counted=$(count "$name" "$ports")
    lines+=("$name ${ports:--} $counted")
    if [[ -z $write ]]; then
        compare "$name${ports:+ $ports}" "$expected" "$counted" || status=1
    fi
done <"$counts"

if [[ -n $write ]]; then
    printf '%s\n' "${lines[@]}" >"$counts"
elif [[ $status -ne 0 ]]; then
    cat <<END
Where the change is meant, put the new figures down with
  $(realpath --relative-to="$PWD" "${BASH_SOURCE[0]}") --write $program '$compiler' $counts
END
fi
exit $status
