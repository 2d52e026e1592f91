# shellcheck shell=bash
# Sourced by the tests that are shell scripts: they collect what is wrong and end with the status $failed.
failed=0

fail() {
    echo "FAIL: $*" >&2
    # shellcheck disable=SC2034 # the test's exit status
    failed=1
}

# Waits until the rest of the line succeeds, at most so many seconds.
within() { # SECONDS COMMAND...
    local end=$((SECONDS + $1))
    shift
    until "$@"; do
        ((SECONDS < end)) || return 1
        sleep 0.1
    done
}
