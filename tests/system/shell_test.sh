#!/bin/bash
# Tests packages/install and the command lines of the scripts. Programs that would look at this
# machine or change it are replaced by fakes in the PATH; no network is used.
# shellcheck disable=SC2016 # the fakes expand their own variables
set -euo pipefail

root=$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../..
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

fail() {
    echo "FAILED: $test: $*"
    failures=$((failures + 1))
}

expect_status() {
    [[ $status -eq $1 ]] || fail "status $status instead of $1"
}

expect_text() {
    [[ $2 == *"$1"* ]] || fail "'$1' is not in: $2"
}

# A tree of its own with the lists $work/tree/packages/{run,test}.txt.
make_tree() {
    rm -rf "${work:?}"/*
    mkdir -p "$work/tree/packages" "$work/fakes" "$work/elsewhere"
    cp "$root/packages/install" "$work/tree/packages/"
    printf '%s\n' '# a comment' one '' 'two # why' >"$work/tree/packages/run.txt"
    printf '%s\n' '  three' two >"$work/tree/packages/test.txt"
    : >"$work/calls"
    fake apt-get 'echo "apt-get $*" >>"$work/calls"; echo "frontend $DEBIAN_FRONTEND" >>"$work/calls"'
    fake id 'echo 0'
    fake sudo 'echo "sudo $*" >>"$work/calls"; [[ $1 != -n ]] || shift; "$@"'
    installed one two three
}

# Puts a program $1 with the body $2 into the PATH.
fake() {
    printf '#!/bin/bash\nwork=%q\n%s\n' "$work" "$2" >"$work/fakes/$1"
    chmod +x "$work/fakes/$1"
}

# Makes dpkg-query know the packages $@ as installed; a name with = carries another state.
installed() {
    printf '%s\n' "$@" >"$work/installed"
    fake dpkg-query '
        status=0
        for name in "$@"; do
            [[ $name != -* ]] || continue
            if grep -qx "$name" "$work/installed"; then
                echo "$name install ok installed"
            elif state=$(grep "^$name=" "$work/installed"); then
                echo "$name ${state#*=}"
            else
                echo "dpkg-query: no packages found matching $name" >&2
                status=1
            fi
        done
        exit $status'
}

# Runs packages/install $@ with the fakes; sets status, out and err.
install_packages() {
    status=0
    PATH=$work/fakes:$PATH "$work/tree/packages/install" "$@" </dev/null >"$work/out" 2>"$work/err" || status=$?
    out=$(<"$work/out")
    err=$(<"$work/err")
    calls=$(<"$work/calls")
}

test="nothing missing, apt is not called"
make_tree
install_packages run test
expect_status 0
[[ -z $out$err$calls ]] || fail "it printed or called: $out$err$calls"

test="only what is missing is installed"
make_tree
installed one three
install_packages run test
expect_status 0
expect_text "apt-get -q -o DPkg::Lock::Timeout=120 update --error-on=any" "$calls"
expect_text "install -y --no-install-recommends two"$'\n' "$calls"
expect_text "frontend noninteractive" "$calls"
[[ $calls != *sudo* ]] || fail "root needs no sudo: $calls"

test="the missing packages of one list"
make_tree
installed three
install_packages --missing run
expect_status 0
[[ $out == one$'\n'two ]] || fail "printed: $out"
[[ -z $calls ]] || fail "called: $calls"

test="a name in two lists is one package"
make_tree
installed
install_packages --missing run test
[[ $out == one$'\n'three$'\n'two ]] || fail "printed: $out"

test="a removed package with its configuration left is missing"
make_tree
installed one "two=deinstall ok config-files" three
install_packages --missing run test
[[ $out == two ]] || fail "printed: $out"

test="a package on hold is installed"
make_tree
installed one "two=hold ok installed" three
install_packages run test
expect_status 0
[[ -z $calls ]] || fail "called: $calls"

for step in update install; do
    test="without a network: apt-get $step fails"
    make_tree
    installed three
    fake apt-get "[[ \" \$* \" != *' $step '* ]]"
    install_packages run test
    [[ $status -ne 0 ]] || fail "status 0"
    expect_text "could not be installed: one two" "$err"
    [[ -z $out ]] || fail "printed: $out"
done

test="another user than root takes sudo, which asks for nothing"
make_tree
installed three
fake id 'echo 1000'
install_packages run
expect_status 0
expect_text "sudo -n env DEBIAN_FRONTEND=noninteractive apt-get" "$calls"
expect_text "install -y --no-install-recommends one two" "$calls"

test="sudo refuses"
make_tree
installed three
fake id 'echo 1000'
fake sudo 'exit 1'
install_packages run
[[ $status -ne 0 ]] || fail "status 0"
expect_text "one two" "$err"
[[ -z $calls ]] || fail "called: $calls"

test="a list that is not there"
make_tree
install_packages nosuch
[[ $status -ne 0 ]] || fail "status 0"
expect_text "no list 'nosuch'" "$err"

test="from another directory, through a link, in a path with spaces"
make_tree
installed three
mv "$work/tree" "$work/a tree"
ln -s "../a tree/packages/install" "$work/elsewhere/link"
status=0
out=$(cd "$work/elsewhere" && PATH=$work/fakes:$PATH ./link --missing run) || status=$?
expect_status 0
[[ $out == one$'\n'two ]] || fail "printed: $out"

test="every script is sound"
for script in run test .ci/run packages/install packaging/build cmake/build.sh fuzz/run fuzz/replay fuzz/coverage \
    tests/distributions tests/system/shell_test.sh; do
    bash -n "$root/$script" || fail "$script"
    [[ -x $root/$script ]] || fail "$script cannot be executed"
done

test="the lists name packages only"
for list in run test package fuzz bench; do
    odd=$(sed -e 's/#.*//' "$root/packages/$list.txt" | grep -vE '^([a-z0-9][a-z0-9+.-]+)?[[:space:]]*$' || true)
    [[ -z $odd ]] || fail "$list.txt: $odd"
done

test="help needs nothing"
for script in run test packages/install packaging/build cmake/build.sh tests/distributions fuzz/run fuzz/replay fuzz/coverage \
    bench/compare; do
    out=$("$root/$script" --help) || fail "$script"
    expect_text "usage: " "$out"
done

test="wrong usage builds nothing"
for arguments in "run --seconds x" "run --seconds" "run --nosuch" "test nosuch" "test asan nosuch" "fuzz/run" "fuzz/run x" \
    "fuzz/run 0 nosuch" "fuzz/coverage a b" "packaging/build a b" "packaging/build --nosuch" \
    "tests/distributions 11" "bench/compare nosuch" "bench/compare --nosuch" "bench/compare --quick --write"; do
    status=0
    # shellcheck disable=SC2086 # several arguments
    "$root"/$arguments >/dev/null 2>"$work/err" || status=$?
    expect_status 2
    expect_text "usage: " "$(<"$work/err")"
done

[[ $failures -eq 0 ]] || exit 1
echo "All passed"
