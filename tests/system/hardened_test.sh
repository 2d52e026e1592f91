#!/bin/bash
# The units are sound, and the programs run inside what the units allow them: as an unprivileged
# user without any capability, and with no system call beyond the units' filter.
# usage: hardened_test.sh ZULBENCH ZULSERVER ZULFLEET
set -euo pipefail

# shellcheck source=tests/support/checks.sh
source "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../support/checks.sh"

units=$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../../packaging
place=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; wait; rm -rf "$place"' EXIT

# Any user may run these copies, wherever the tree lies.
install -m 755 "$1" "$2" "$3" "$place"
chmod 755 "$place"
mkdir "$place/home"

# The threshold is systemd's measure of what a unit leaves open, 0 to 100.
unit_is_sound() { # UNIT INSTANCE THRESHOLD [--user]
    local unit=$1 instance=$2 threshold=$3 output
    shift 3
    # Beside the unit's own programs, which are not installed here.
    sed "s#/usr/bin/#$place/#" "$units/$unit" >"$place/$instance"
    output=$(XDG_RUNTIME_DIR=$place systemd-analyze "$@" verify --man=no "$place/$instance" 2>&1) || fail "$unit: $output"
    [[ -z $output ]] || fail "$unit: $output"
    output=$(systemd-analyze security --offline=true --threshold="$threshold" "$place/$instance" 2>&1) ||
        fail "$unit is too open: $(tail -n 1 <<<"$output")"
}

# The system calls of a set and of the sets in it, one a line. A comment line says what the set is for.
calls_of() {
    local name
    while read -r name; do
        case $name in
            '' | '#'* | "$1") ;;
            @*) calls_of "$name" ;;
            *) echo "$name" ;;
        esac
    done < <(systemd-analyze syscall-filter "$1")
}

allowed_calls() {
    comm -23 <(calls_of @system-service | sort -u) <({ calls_of @privileged; calls_of @resources; } | sort -u)
}

unprivileged=(env "HOME=$place/home")
if [[ $(id -u) -eq 0 ]]; then
    chown 65534:65534 "$place/home"
    unprivileged+=(setpriv --reuid=65534 --regid=65534 --clear-groups --bounding-set=-all --inh-caps=-all)
fi
unprivileged+=(setpriv --no-new-privs)

# Starts a program in the background, with a record of its system calls.
start() {
    local name=$1
    shift
    "${unprivileged[@]}" strace -f -qq -o "$place/home/$name.calls" "$place/$name" "$@" \
        </dev/null >"$place/$name.lines" 2>"$place/$name.errors" &
}

programs_do_their_work() {
    local port
    start zulserver --port 0 --command "wait device" --command "get din *" --command "wait event OBJ_PORT_DIN"
    within 60 grep -q '"port"' "$place/zulserver.lines" || fail "the server does not listen"
    port=$(sed -n 's/.*"listening".*"port":\([0-9]*\).*/\1/p' "$place/zulserver.lines")
    printf 'Connection IP address: 127.0.0.1\nConnection port number: %s\n' "$port" >"$place/server.con"
    cp "$units/../examples/demo.dev" "$place/Panel.dev"
    echo 'sender.sleep(500); receiver.setDigitalInput_Slot(1, 1); sender.sleep(60000);' >"$place/input.js"
    chmod 644 "$place"/*.con "$place"/*.dev "$place"/*.js
    start zulbench --headless --device "$place/Panel.dev" --connection "$place/server.con" --connect \
        --script "$place/input.js"
    local bench=$!
    within 60 grep -q '"command":"wait event OBJ_PORT_DIN","status":"ok"' "$place/zulserver.lines" ||
        fail "no event came: $(cat "$place"/*.errors)"
    # Only the tracer is this shell's child; its end is the program's.
    pkill -TERM -P "$bench" zulbench
    wait "$bench" || fail "zulbench ended with $?"
}

a_fleet_does_its_work() {
    local port
    start zulserver --port 0
    local server=$!
    within 60 grep -q '"port"' "$place/zulserver.lines" || fail "the server does not listen"
    port=$(sed -n 's/.*"listening".*"port":\([0-9]*\).*/\1/p' "$place/zulserver.lines")
    start zulfleet --server "127.0.0.1:$port" --shard 0/2 --count 20 --din 2 --ain 1 --seed 1 --events 50 \
        --duration 1 --report "$place/home/0.json"
    wait "$!" || fail "zulfleet ended with $?: $(<"$place/zulfleet.errors")"
    [[ -s $place/home/0.json ]] || fail "zulfleet wrote no report"
    pkill -TERM -P "$server" zulserver
    wait "$server" || fail "zulserver ended with $?"
}

no_call_is_beyond_the_filter() {
    local name beyond
    allowed_calls >"$place/allowed"
    [[ $(wc -l <"$place/allowed") -gt 200 ]] || fail "the filter's calls could not be listed"
    for name in zulbench zulserver zulfleet; do
        sed -n 's/^[0-9]* *\([a-z0-9_]*\)(.*/\1/p' "$place/home/$name.calls" | sort -u >"$place/$name.used"
        [[ $(wc -l <"$place/$name.used") -gt 20 ]] || fail "the calls of $name were not recorded"
        beyond=$(comm -23 "$place/$name.used" "$place/allowed")
        [[ -z $beyond ]] || fail "$name calls ${beyond//$'\n'/, }, which its unit forbids"
    done
}

export LC_ALL=C
unit_is_sound zulserver.service zulserver.service 15
unit_is_sound zulbench@.service zulbench@Panel.service 15
unit_is_sound ../examples/fleet/zulfleet@.service zulfleet@0.service 15
# A user's own service manager has no rights to give away: what it can do against its services is little.
unit_is_sound program/user/zulbench@.service zulbench@Panel.service 65 --user
programs_do_their_work
a_fleet_does_its_work
no_call_is_beyond_the_filter
exit "$failed"
