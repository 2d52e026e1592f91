#!/bin/bash
# examples/pipeline with the programs of this build: it passes as it stands, fails when something is wrong, and
# leaves nothing behind.
# usage: pipeline_test.sh ZULBENCH ZULSERVER ZULCAPTURE
# shellcheck disable=SC2317 # the tests are called by their names
set -euo pipefail

tests=$(dirname "$(realpath "${BASH_SOURCE[0]}")")/..
example=$tests/../examples/pipeline
manual=$tests/../docs/automation.md
export ZULBENCH=$1 ZULSERVER=$2 ZULCAPTURE=$3
real_bench=$1
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; wait; rm -rf "$work"' EXIT
failed=0
name=

fail() {
    echo "FAILED: $name: $*" >&2
    failed=1
}

# A copy of the example to be changed, with a place for its temporary files.
make_copy() {
    rm -rf "${work:?}"/*
    mkdir "$work/tmp"
    export TMPDIR=$work/tmp
    cp -r "$example" "$work/copy"
}

# Runs the copy and sets status. $1 says which report.
run_copy() {
    status=0
    "$work/copy/run" "$work/$1.xml" >"$work/$1.lines" 2>"$work/$1.errors" || status=$?
}

expect_status() {
    [[ $status -eq $1 ]] || fail "status $status instead of $1: $(tail -n 5 "$work"/*.errors)"
}

# What the XPath expression $2 makes of report $1, which is sound.
report() {
    xmllint --noout --schema "$tests/support/junit.xsd" "$work/$1.xml" 2>"$work/verdict" ||
        fail "$(head -c 500 "$work/verdict")"
    xmllint --xpath "$2" "$work/$1.xml"
}

expect_report() {
    local found
    found=$(report "$1" "$2")
    [[ $found == "$3" ]] || fail "$2 is '$found' instead of '$3'"
}

expect_nothing_left() {
    [[ -z $(ls -A "$work/tmp") ]] || fail "files are left: $(ls -A "$work/tmp")"
    ! pgrep -af "$work" >"$work/left" || fail "processes are left: $(cat "$work/left")"
}

# Waits until the pattern $2 stands in file $1; false after a time that only a program that hangs needs.
await_text() {
    local tries
    for ((tries = 0; tries < 600; tries++)); do
        ! grep -qs "$2" "$1" || return 0
        sleep 0.05
    done
    return 1
}

passes_as_it_stands() {
    run_copy report
    expect_status 0
    expect_report report 'string(/testsuites/@tests)' 6
    expect_report report 'count(//failure | //error | //skipped)' 0
    expect_report report 'count(//system-out[contains(., "OBJ_PORT_DIN")]) > 0' true
}

# Records a run and plays it again. Sets status.
compare_copy() { # EDIT-OF-THE-COMMANDS
    "$work/copy/run" "$work/report.xml" "$work/site.pcapng" >"$work/report.lines" 2>"$work/report.errors" ||
        fail "the recorded run ended with $?"
    sed -i "$1" "$work/copy/commands.txt"
    status=0
    "$work/copy/compare" "$work/site.pcapng" "$work/differences.xml" >"$work/differences" 2>"$work/compare.errors" || status=$?
}

a_recorded_run_that_is_played_again_has_no_difference() {
    compare_copy ''
    expect_status 0
    [[ ! -s $work/differences ]] || fail "there are differences: $(head -c 500 "$work/differences")"
    expect_report differences 'count(//testcase) > 0 and count(//failure) = 0' true
}

a_server_that_sets_something_else_differs() {
    compare_copy 's/^set dout 1 state=high/set dout 1 state=low/'
    expect_status 4
    grep -q '"fields":\["outputState"\]' "$work/differences" || fail "not told: $(head -c 500 "$work/differences")"
    expect_report differences 'count(//failure) > 0' true
}

a_broken_expectation_fails() {
    sed -i 's/sample=75~0.5/sample=80~0.5 within=0.5/' "$work/copy/commands.txt"
    run_copy report
    expect_status 4
    expect_report report 'count(//error | //skipped)' 0
    expect_report report 'string(//testcase[failure][1]/@name)' 'The load is measured'
    expect_report report 'contains((//failure)[1]/@message, "the last one with portNum=1 sample=75.0.")' true
}

a_failed_check_of_the_script_fails() {
    sed -i 's/getDiscreteInputCount() === 4/getDiscreteInputCount() === 5/' "$work/copy/site.js"
    sed -i '/^expect event OBJ_PORT_DIN/d; /^expect event OBJ_ANALOG/d; /^expect get din/d' "$work/copy/commands.txt"
    sed -i 's/eventValue=passed/eventValue=passed within=1/' "$work/copy/commands.txt"
    run_copy report
    expect_status 4
    expect_report report 'contains(//failure/@message, "failed: the number of inputs")' true
}

a_wrong_command_is_an_error() {
    echo 'expect event OBJ_PORT_DIN colour=red' >>"$work/copy/commands.txt"
    run_copy report
    expect_status 2
    expect_report report 'count(//error)' 1
}

a_simulator_that_does_not_start_is_told() {
    ZULBENCH=/bin/false run_copy report
    expect_status 5
    expect_report report 'count(//skipped)' 6
    ZULBENCH=$work/none run_copy report
    expect_status 5
    export ZULBENCH=$real_bench
}

a_simulator_that_dies_is_told() {
    echo 'receiver.getDigitalInputValue(99);' >"$work/copy/site.js"
    run_copy report
    expect_status 5
    expect_report report 'count(//skipped) > 0' true
    grep -q 'is outside mDigitalInputList' "$work/report.errors" || fail "its last words are missing"
}

a_server_that_does_not_start_is_told() {
    ZULSERVER=/bin/false run_copy report
    expect_status 1
    status=0
    "$work/copy/run" "$work/none/report.xml" >"$work/report.lines" 2>"$work/report.errors" || status=$?
    expect_status 1
    grep -q 'report.xml" cannot be written' "$work/report.errors" || fail "the reason is missing"
}

a_signal_ends_everything() {
    local run
    echo 'wait event OBJ_ACCESS timeout=1000' >>"$work/copy/commands.txt"
    "$work/copy/run" "$work/report.xml" >"$work/report.lines" 2>"$work/report.errors" &
    run=$!
    await_text "$work/report.lines" '"expect no event' || fail "the commands do not come that far"
    kill -TERM "$run"
    status=0
    wait "$run" || status=$?
    expect_status 143
    expect_report report 'count(//skipped)' 1
}

two_at_once_do_not_collide() {
    local first second
    "$work/copy/run" "$work/first.xml" >"$work/first.lines" 2>"$work/first.errors" &
    first=$!
    "$work/copy/run" "$work/second.xml" >"$work/second.lines" 2>"$work/second.errors" &
    second=$!
    status=0
    wait "$first" || status=$?
    expect_status 0
    wait "$second" || status=$?
    expect_status 0
    expect_report first 'string(/testsuites/@tests)' 6
    expect_report second 'string(/testsuites/@tests)' 6
}

# Whether the manual holds file $1 of the example, word for word.
the_manual_shows_the_files() {
    local file text
    text=$(<"$manual")
    for file in commands.txt site.js gitlab-ci.yml; do
        [[ $text == *"$(<"$example/$file")"* ]] || fail "docs/automation.md does not hold $file as it is"
    done
}

for name in passes_as_it_stands a_recorded_run_that_is_played_again_has_no_difference \
    a_server_that_sets_something_else_differs a_broken_expectation_fails a_failed_check_of_the_script_fails \
    a_wrong_command_is_an_error a_simulator_that_does_not_start_is_told a_simulator_that_dies_is_told \
    a_server_that_does_not_start_is_told a_signal_ends_everything two_at_once_do_not_collide \
    the_manual_shows_the_files; do
    make_copy
    "$name"
    expect_nothing_left
done
exit "$failed"
