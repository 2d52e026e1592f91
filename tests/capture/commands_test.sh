#!/bin/bash
# The commands that zulcapture makes of a recorded session pass in a second one, and fail with a device that answers
# otherwise.
# usage: commands_test.sh ZULBENCH ZULSERVER ZULCAPTURE
set -euo pipefail

# shellcheck source=tests/support/checks.sh
source "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../support/checks.sh"

zulbench=$1
zulserver=$2
zulcapture=$3
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; wait; rm -rf "$work"' EXIT
export HOME=$work QT_QPA_PLATFORM=offscreen

# Runs the commands of a file with a device of its own, and sets status.
session() { # NAME COMMANDS OPTION...
    local name=$1 commands=$2 server device
    shift 2
    "$zulserver" --port 0 --port-file "$work/$name.port" --capture "$work/$name.pcapng" --commands "$commands" \
        --timeout 60 >"$work/$name.lines" 2>"$work/$name.errors" &
    server=$!
    within 30 test -s "$work/$name.port" || fail "$name: no server"
    "$zulbench" --headless --serial 7 "$@" --server "127.0.0.1:$(<"$work/$name.port")" >/dev/null 2>&1 &
    device=$!
    status=0
    wait "$server" || status=$?
    kill "$device"
    wait "$device" || true
}

printf '%s\n' 'wait device' 'get din *' 'set dout 2 state=high' 'set aout 1 value=12.5' 'get dout 2' 'get aout 1' \
    'get capability' 'set ain 1 rate=10 gain=2' 'get ain 1' >"$work/typed"
session first "$work/typed" --din 2 --dout 2 --ain 1 --aout 1
[[ $status -eq 0 ]] || fail "the recorded session ended with $status"

"$zulcapture" commands "$work/first.pcapng" >"$work/made"
for line in 'wait device' 'set dout 2 state=high' 'set aout 1 value=12.5' 'set ain 1 rate=10 gain=2'; do
    grep -qx "$line" "$work/made" || fail "no \"$line\" in $(<"$work/made")"
done

session second "$work/made" --din 2 --dout 2 --ain 1 --aout 1
[[ $status -eq 0 ]] || fail "the second session ended with $status: $(grep -v '"ok"' "$work/second.lines")"

# An expectation looks for 10 seconds.
sed -i '/^expect/s/$/ within=0.3/' "$work/made"
session other "$work/made" --din 2 --dout 2 --ain 1 --aout 1 --label other
[[ $status -eq 4 ]] || fail "with a device of another label the status was $status"
exit "$failed"
