#!/bin/bash
# examples/fleet/fleet.sbatch on a Slurm of one node, with daemons, ports and files of its own, which are gone at the
# end.
# usage: slurm_test.sh ZULFLEET ZULSERVER
# shellcheck disable=SC2317 # the tests are called by their names
set -euo pipefail

tests=$(dirname "$(realpath "${BASH_SOURCE[0]}")")/..
# shellcheck source=tests/support/checks.sh
source "$tests/support/checks.sh"

ZULFLEET=$(realpath "$1")
export ZULFLEET
server=$2
example=$tests/../examples/fleet/fleet.sbatch
PATH=$PATH:/usr/sbin:/sbin
# A job that runs the tests is not theirs.
unset "${!SLURM_@}" "${!SBATCH_@}"

work=$(mktemp -d)
chmod 755 "$work"
server_process=
daemons=() # the last one started comes first

end_process() {
    kill -TERM "$1" 2>/dev/null || true
    wait "$1" || true
}

no_job_runs() {
    [[ -z $(squeue --noheader 2>/dev/null) ]]
}

# A node that ends leaves its jobs running.
end_everything() {
    local process
    if [[ ${#daemons[@]} -gt 1 ]]; then
        scancel --user="$(id -un)" || true
        within 60 no_job_runs || fail "jobs do not end"
    fi
    for process in $server_process "${daemons[@]}"; do
        end_process "$process"
    done
    server_process=
    daemons=()
}

clean_up() {
    end_everything
    rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 143' TERM INT HUP

nothing_of_it_runs() {
    ! pgrep -f "$work" >/dev/null
}

say_why() {
    tail -n 20 "$work"/*.log >&2
}

free_ports() { # COUNT
    python3 -c '
import socket, sys
held = [socket.create_server(("127.0.0.1", 0)) for _ in range(int(sys.argv[1]))]
print(*(one.getsockname()[1] for one in held))' "$1"
}

# munged refuses to run with more rights than it needs.
start_munged() {
    local as=()
    mkdir "$work/munge"
    if [[ $(id -u) -eq 0 ]]; then
        as=(setpriv --reuid=munge --regid=munge --clear-groups)
        chown munge:munge "$work/munge"
    fi
    # Everybody reaches the socket, and munge's own files are munge's alone.
    # shellcheck disable=SC2016 # the inner shell expands it
    "${as[@]}" bash -c 'umask 077; head -c 128 /dev/urandom >"$1/key"; chmod 755 "$1"' inner "$work/munge"
    "${as[@]}" munged --foreground --num-threads=1 --key-file="$work/munge/key" --socket="$work/munge/socket" \
        --pid-file="$work/munge/pid" --seed-file="$work/munge/seed" --log-file="$work/munge/log" \
        >"$work/munged.log" 2>&1 &
    daemons=($! "${daemons[@]}")
    within 30 test -S "$work/munge/socket"
}

write_configuration() {
    local controller_port node_port
    read -r controller_port node_port < <(free_ports 2)
    node=$(hostname -s)
    export SLURM_CONF=$work/slurm.conf
    cat >"$SLURM_CONF" <<END
ClusterName=test
SlurmctldHost=$node(127.0.0.1)
SlurmctldPort=$controller_port
SlurmdPort=$node_port
SlurmUser=$(id -un)
SlurmdUser=$(id -un)
AuthType=auth/munge
AuthInfo=socket=$work/munge/socket
StateSaveLocation=$work/state
SlurmdSpoolDir=$work/spool
SlurmctldPidFile=$work/slurmctld.pid
SlurmdPidFile=$work/slurmd.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
MpiDefault=none
# The node has as many processors as the job has tasks, whatever this machine has.
SlurmdParameters=config_overrides
NodeName=$node NodeAddr=127.0.0.1 CPUs=4 State=UNKNOWN
PartitionName=test Nodes=$node Default=YES
END
    # From 24 on it looks for control groups even if nothing uses them. "slurm-wlm 22.05.8" is a version.
    if [[ $(slurmd -V | sed 's/[^0-9]*\([0-9]*\).*/\1/') -ge 24 ]]; then
        echo "CgroupPlugin=disabled" >"$work/cgroup.conf"
    fi
    mkdir "$work/state" "$work/spool"
}

node_is_idle() {
    [[ $(sinfo --noheader --format=%T 2>/dev/null) == idle ]]
}

start_slurm() {
    start_munged || return 1
    write_configuration
    slurmctld -D >"$work/slurmctld.log" 2>&1 &
    daemons=($! "${daemons[@]}")
    slurmd -D >"$work/slurmd.log" 2>&1 &
    daemons=($! "${daemons[@]}")
    within 60 node_is_idle
}

start_server() {
    "$server" --port 0 --port-file "$work/port" </dev/null >/dev/null 2>"$work/zulserver.log" &
    server_process=$!
    within 30 test -s "$work/port"
}

# Prints the member $2 of report $1 as JSON.
member() { # REPORT MEMBER
    python3 -c '
import functools, json, sys
with open(sys.argv[1]) as file:
    print(json.dumps(functools.reduce(dict.__getitem__, sys.argv[2].split("."), json.load(file))))' "$@"
}

expect_member() { # REPORT MEMBER VALUE
    local found
    found=$(member "$1" "$2") || found="no such member"
    [[ $found == "$3" ]] || fail "$2 is $found instead of $3"
}

# Submits the job from a folder of its own and sets job. The arguments go to zulfleet.
submit() { # FOLDER ARGUMENTS...
    mkdir "$work/$1"
    job=$(cd "$work/$1" && sbatch --parsable --ntasks=4 "$example" --server "127.0.0.1:$(<"$work/port")" "${@:2}")
}

# Waits until the job is over and prints its exit status.
status_of_job() {
    local status
    within 200 job_is_over || status="none"
    echo "${status-$(scontrol show job "$job" | sed -n 's/.*ExitCode=\([0-9]*\):.*/\1/p')}"
}

job_is_over() {
    [[ $(squeue --noheader --states=all --jobs="$job" --format=%T) =~ ^(COMPLETED|FAILED|CANCELLED)$ ]]
}

four_tasks_play_one_fleet() {
    local place=$work/whole report=$work/whole/fleet.json status
    submit whole --count 4000 --seed 7 --connect-rate 1000 --events 200 --duration 2
    status=$(status_of_job)
    [[ $status == 0 ]] || fail "the job ended with status $status: $(cat "$place"/*.log)"
    expect_member "$report" shard null
    expect_member "$report" run "\"$job\""
    expect_member "$report" seed 7
    expect_member "$report" devices.asked 4000
    expect_member "$report" devices.in 4000
    expect_member "$report" devices.lost 0
    expect_member "$report" events.dropped 0
    expect_member "$report" latencies.identified.count 4000
    grep -q '4000' "$place/fleet-$job.log" || fail "the log has no table: $(cat "$place"/*.log)"
    [[ $(cd "$place" && echo *) == "fleet-$job.log fleet.json" ]] || fail "files are left: $(ls "$place")"
}

a_job_that_is_cancelled_leaves_its_report() {
    submit cancelled --count 40 --seed 7 --duration 600
    within 60 compgen -G "$work/cancelled/*.shards" >/dev/null || fail "the job does not begin"
    # The server has nobody else.
    within 60 all_are_connected 40 || fail "the devices do not connect"
    scancel "$job"
    within 60 test -s "$work/cancelled/fleet.json" || fail "no report: $(cat "$work"/cancelled/*.log)"
    expect_member "$work/cancelled/fleet.json" devices.in 40
    within 60 job_is_over || fail "the job does not end"
}

all_are_connected() { # COUNT
    [[ $(ss --no-header --tcp --numeric state established "( sport = :$(<"$work/port") )" | wc -l) -eq $1 ]]
}

a_mistake_ends_the_job_and_is_told() {
    local status
    submit mistake --count 0 --seed 7
    status=$(status_of_job)
    [[ $status == 1 ]] || fail "the job ended with status $status"
    grep -q -e '--count' "$work/mistake/fleet-$job.log" || fail "the log does not say why"
}

if ! start_slurm; then
    fail "Slurm does not start"
elif ! start_server; then
    fail "the server does not start"
else
    for name in four_tasks_play_one_fleet a_job_that_is_cancelled_leaves_its_report \
        a_mistake_ends_the_job_and_is_told; do
        echo "$name"
        "$name"
    done
fi
[[ $failed -eq 0 ]] || say_why
end_everything
within 30 nothing_of_it_runs || fail "left running: $(pgrep -af "$work")"
exit "$failed"
