#!/bin/bash
# --help, the manual pages and the completion name the same options, and the commands of the server and
# the proxy likewise.
# The completion offers files by what they are.
# usage: options_test.sh ZULBENCH ZULSERVER ZULFLEET ZULPROXY ZULCAPTURE MANUALS
set -euo pipefail

# shellcheck source=tests/support/checks.sh
source "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../support/checks.sh"

zulbench=$1
zulserver=$2
zulfleet=$3
zulproxy=$4
zulcapture=$5
manuals=$6
completions=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../../packaging/program/completions")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export LC_ALL=C

# One word a line, sorted.
words() {
    tr -s ', \t' '\n' | sed '/^$/d' | sort -u
}

options_of_help() { # PROGRAM [WORD]
    "$@" --help | sed -n 's/^  \(-[^ ]*\).*/\1/p' | words
}

# The lines of one section of a page; a paragraph is one line.
section() {
    MANWIDTH=2000 man -l "$manuals/$1.1" | awk -v name="$2" '/^[A-Z]/ { inside = $0 == name; next } inside'
}

options_of_page() {
    section "$1" OPTIONS | sed -n 's/^       \(-.*\)/\1/p' | grep -oE '(^|[ ,])--?[a-z-]+' | words
}

# What the words "$@" are completed to, the last one being begun.
completed() {
    (
        # shellcheck disable=SC1090,SC1091 # the system's own, and the one under test
        set +eu && source /usr/share/bash-completion/bash_completion && source "$completions/$1" || exit 1
        COMP_WORDS=("$@")
        COMP_CWORD=$(($# - 1))
        COMP_LINE="$*"
        COMP_POINT=${#COMP_LINE}
        COMPREPLY=()
        "_$1"
        printf '%s\n' "${COMPREPLY[@]}"
    )
}

same() { # WHAT EXPECTED ACTUAL
    [[ -n $2 ]] || fail "$1: nothing to compare with"
    [[ $2 == "$3" ]] || fail "$1: $(diff <(echo "$2") <(echo "$3"))"
}

options_agree() {
    local name program
    for program in "$zulbench" "$zulserver" "$zulfleet" "$zulproxy"; do
        name=$(basename "$program")
        same "$name(1)" "$(options_of_help "$program")" "$(options_of_page "$name")"
        same "completion of $name" "$(options_of_help "$program")" "$(completed "$name" - | words)"
        same "$name --vers" --version "$(completed "$name" --vers)"
    done
}

# The words behind the program's name.
subcommands() {
    "$zulcapture" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p' | sort
}

subcommands_agree() {
    local options subcommand
    options=$(options_of_help "$zulcapture")
    same "completed subcommands" "$(subcommands)" "$(completed zulcapture "" | words)"
    same "subcommands of zulcapture(1)" "$(subcommands)" "$(commands_of_page zulcapture)"
    same "completion of zulcapture" "$options" "$(completed zulcapture - | words)"
    for subcommand in $(subcommands); do
        same "completion of zulcapture $subcommand" "$(options_of_help "$zulcapture" "$subcommand")" \
            "$(completed zulcapture "$subcommand" - | words)"
        options+=$'\n'$(options_of_help "$zulcapture" "$subcommand")
    done
    same "zulcapture(1)" "$(words <<<"$options")" "$(options_of_page zulcapture)"
}

commands_of_page() {
    section "$1" COMMANDS | sed -n 's/^       \([a-z].*\)/\1/p' | commands_in
}

# The first words of commands, each of which may stand in a line with others behind commas.
commands_in() {
    sed -E 's/^([a-z]+), ([a-z]+), /\1\n\2\n/' | sed -n 's/^\([a-z]*\).*/\1/p' | sort -u
}

commands_agree() {
    local commands
    # Its sentences end in a full stop.
    commands=$("$zulserver" --port 0 --command help 2>&1 >/dev/null | sed -n '/\.$/d; s/^\([a-z]*\).*/\1/p' | sort -u)
    same "commands of zulserver(1)" "$commands" "$(commands_of_page zulserver)"
    same "completed commands" "$commands" "$(completed zulserver --command "" | words)"
    same "a command in quotes" wait "$(completed zulserver --command '"w')"
}

proxy_commands_agree() {
    local commands
    # Those that begin without a capital are commands; the other lines are sentences.
    commands=$("$zulproxy" --listen 127.0.0.1:0 --server 127.0.0.1:1 2>&1 >/dev/null <<<$'help\nquit' |
        sed '/\.$/d' | commands_in)
    same "commands of zulproxy(1)" "$commands" "$(commands_of_page zulproxy)"
}

# Every kind that is offered is one; what else the rule needs is said then.
rules_are_offered() {
    local kind kinds
    kinds=$(completed zulproxy --rule "" | words)
    [[ $kinds == *wrong-checksum* ]] || fail "kinds of rules: $kinds"
    for kind in $kinds; do
        [[ $("$zulproxy" --dry-run --against /dev/null --rule "$kind" 2>&1) != *"There is no"* ]] || fail "kind $kind"
    done
}

files_are_offered_by_their_kind() {
    mkdir "$work/folder"
    touch "$work"/one.{dev,con,js,txt}
    cd "$work"
    same "devices" $'folder\none.dev' "$(completed zulbench --device "" | words)"
    same "connections" $'folder\none.con' "$(completed zulbench --connection "" | words)"
    same "scripts" $'folder\none.js' "$(completed zulbench --device a.dev --script "" | words)"
    same "a script to end with" $'folder\none.js' "$(completed zulbench --run "" | words)"
    same "plain files" $'folder\none.con\none.dev\none.js' "$(completed zulbench --connect "" | words)"
    same "files of commands" "one.txt" "$(completed zulserver --commands one.t | words)"
    touch "$work/one.json"
    same "reports" $'folder\none.json' "$(completed zulfleet --merge "" | words)"
    touch "$work/one.pcapng"
    same "recordings" $'folder\none.pcapng' "$(completed zulproxy --against "" | words)"
    same "shown recordings" $'folder\none.pcapng' "$(completed zulcapture show "" | words)"
    [[ -z $(completed zulserver --port 5 | words) ]] || fail "something is offered for a port"
}

options_agree
subcommands_agree
commands_agree
proxy_commands_agree
rules_are_offered
files_are_offered_by_their_kind
exit "$failed"
