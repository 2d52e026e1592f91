#!/bin/bash
# The packages, installed by dpkg into a root that holds nothing but the packages they depend on, work there: both
# programs together, the manual pages, tests in Python, and a program of one's own on the library.
# usage: installed_test.sh PACKAGES [OUTSIDE]
#
# The root is made of the files of this machine's packages, so it takes no network. It is entered by chroot, as root or
# in a user namespace. Where neither is possible, or with OUTSIDE, the programs run where they lie, with the root's
# libraries before the machine's.
set -euo pipefail

# shellcheck source=tests/support/checks.sh
source "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../support/checks.sh"

packages=$1
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
root=$packages/root
home=/home/op
PATH=$PATH:/usr/sbin:/sbin
arch=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
# shellcheck disable=SC2317 # the trap calls it
clean_up() {
    # shellcheck disable=SC2046 # one word for each job
    kill $(jobs -p) 2>/dev/null || true
    wait
    rm -rf "$root" "$place"
}
trap clean_up EXIT
# A directory that any user may enter.
place=$(mktemp -d)
chmod 755 "$place"

stop() {
    fail "$@"
    exit 1
}

make_root() {
    rm -rf "$root"
    mkdir -p "$root"/{dev,tmp,etc} "$root$home/.zulbench" "$root"/usr/{bin,sbin,lib,lib64} \
        "$root"/var/lib/dpkg/{info,updates,triggers}
    local folder
    for folder in bin sbin lib lib64; do
        ln -s "usr/$folder" "$root/$folder"
    done
    touch "$root/var/lib/dpkg/status"
    mknod -m 666 "$root/dev/null" c 1 3 2>/dev/null || touch "$root/dev/null"
}

choose_the_way_in() {
    env=(env -i "PATH=/usr/bin")
    at=
    if [[ -z $1 ]] && chroot / true 2>/dev/null; then
        enter=("$(command -v chroot)" "$root")
    elif [[ -z $1 ]] && unshare --user --map-root-user chroot / true 2>/dev/null; then
        enter=("$(command -v unshare)" --user --map-root-user "$(command -v chroot)" "$root")
    else
        enter=()
        at=$root
        env+=("LD_LIBRARY_PATH=$root/usr/lib/$arch" "QT_PLUGIN_PATH=$root/usr/lib/$arch/qt5/plugins"
            "PKG_CONFIG_PATH=$root/usr/lib/$arch/pkgconfig" "CMAKE_PREFIX_PATH=$root/usr")
    fi
    env+=("HOME=$at$home" "ZUL_BIN=$at/usr/bin" PYTHONDONTWRITEBYTECODE=1)
    as_root=()
    [[ $(id -u) -eq 0 ]] || as_root=(fakeroot)
    echo "The way in: ${enter[*]:-none, from outside}"
}

in_root() {
    "${env[@]}" timeout 120 "${enter[@]}" "$@"
}

# The same in the background; signals to $! reach the program. NAME.out and NAME.err take what it says.
start_in_root() { # NAME COMMAND...
    local name=$1
    shift
    # What an earlier run has said is not this one's.
    rm -f "$packages/$name".{out,err}
    "${env[@]}" timeout 120 "${enter[@]}" "$@" </dev/null >"$packages/$name.out" 2>"$packages/$name.err" &
}

# Which installed packages the dependencies $1 lead to.
closure() {
    awk -v "wanted=$1" -f "$here/closure.awk" /var/lib/dpkg/status
}

# Puts the installed packages that the dependencies $1 lead to into the root, those that are not there yet.
add_packages() {
    local file name
    mapfile -t names < <(comm -23 <(closure "$1" | sort) \
        <(sed -n 's/^Package: //p' "$root/var/lib/dpkg/status" | sort))
    dpkg-query -L "${names[@]}" | grep -vE '^(/\.|[^/].*|/usr/share/(doc|man|locale)/.*)?$' | sort -u |
        while read -r file; do
            [[ ! -r $file && ! -L $file ]] || echo ".$file"
        done >"$packages/files"
    tar -C / --no-recursion --files-from="$packages/files" -cf - | tar -C "$root" --keep-directory-symlink -xf -
    dpkg-query -s "${names[@]}" >>"$root/var/lib/dpkg/status"
    echo >>"$root/var/lib/dpkg/status"
    for name in "${names[@]}"; do
        cp /var/lib/dpkg/info/"$name"{,:*}.list "$root/var/lib/dpkg/info/" 2>/dev/null || true
    done
    ldconfig -r "$root"
}

install_package() {
    local how=-i
    # dpkg runs the scripts of a package in a root that it enters by itself, which takes the real root.
    [[ ${enter[0]-} == */chroot ]] || how=--unpack
    add_packages "$(dpkg-deb -f "$packages/$1"_*.deb Depends)${2+, $2}"
    "${as_root[@]}" dpkg --root="$root" --force-not-root --force-unsafe-io "$how" "$packages/$1"_*.deb >"$packages/dpkg" 2>&1 ||
        stop "dpkg: $(<"$packages/dpkg")"
    ldconfig -r "$root"
}

programs_say_who_they_are() {
    local program version
    version=$(dpkg-deb -f "$packages"/zulbench_*.deb Version)
    for program in zulbench zulserver zulfleet zulproxy zulcapture; do
        [[ $(in_root "$at/usr/bin/$program" --version) == "$program $version"* ]] || fail "$program --version"
    done
}

# The connection file that names port $1.
connect_to() {
    sed "s/50000/$1/" "$root/usr/share/doc/zulbench/examples/local.con" >"$root$home/.zulbench/local.con"
}

start_device() {
    start_in_root device "$at/usr/bin/zulbench" --headless --device "$at/usr/share/doc/zulbench/examples/demo.dev" \
        --connection "$at$home/.zulbench/local.con" --connect
    device=$!
}

end_device() {
    kill -TERM "$device"
    ended "$device" device
}

# Waits for process $1, which start_in_root() called $2, to end well.
ended() {
    wait "$1" || fail "$2 ended with $?: $(cat "$packages/$2".{out,err})"
}

programs_talk_to_each_other() {
    local server lines=$packages/server.out
    start_in_root server "$at/usr/bin/zulserver" --port 0 --timeout 60 \
        --command "wait device timeout=60" --command "get din 2"
    server=$!
    within 60 grep -qs '"listening"' "$lines" || stop "the server does not listen"
    connect_to "$(sed -n 's/.*"listening".*"port":\([0-9]*\).*/\1/p' "$lines")"
    start_device
    ended "$server" server
    grep -q '"command":"get din 2","status":"ok".*"portLabel":"INPUT 2"' "$lines" || fail "$(<"$lines")"
    end_device
}

pages_are_found() {
    local page
    for page in zulbench.1 zulserver.1 zulfleet.1 zulproxy.1 zulcapture.1 zulbench-files.5; do
        man --manpath="$root/usr/share/man" "${page#*.}" "${page%.*}" >"$packages/page" 2>&1 || fail "man: $(<"$packages/page")"
        grep -q '^NAME' "$packages/page" || fail "$page is empty"
    done
}

# The dissector lies where Wireshark looks for Lua plugins, and Wireshark takes it.
dissector_is_found() {
    local plugins
    plugins=$(tshark -G folders 2>/dev/null | sed -n 's/^Global Lua Plugins:[[:space:]]*//p')
    [[ -f $root$plugins/zul.lua ]] || fail "there is no $plugins/zul.lua"
    # As an unprivileged user: tshark runs no script for root.
    local unprivileged=()
    [[ $(id -u) -ne 0 ]] || unprivileged=(setpriv --reuid=65534 --regid=65534 --clear-groups)
    install -D -m 644 "$root$plugins/zul.lua" "$place/zul.lua"
    HOME=$place "${unprivileged[@]}" tshark -G protocols -X "lua_script:$place/zul.lua" >"$packages/protocols" 2>/dev/null || true
    grep -qP '\tzul(\t|$)' "$packages/protocols" || fail "Wireshark does not know the protocol"
}

# Every header by itself.
headers_compile() {
    (
        cd "$root/usr/include/zul"
        find . -name '*.h' -printf '%P\n'
    ) >"$packages/headers"
    [[ $(wc -l <"$packages/headers") -gt 20 ]] || fail "headers are missing"
    local header flags
    flags=$(in_root pkg-config --cflags zulobj)
    while read -r header; do
        echo "#include \"$header\"" >"$root$home/header.cpp"
        # shellcheck disable=SC2086 # several flags
        in_root g++ -Wall -Wextra -Werror -fsyntax-only $flags "$at$home/header.cpp" || fail "$header by itself"
    done <"$packages/headers"
}

build_by_cmake() {
    in_root cmake -S "$at$home/askdevice" -B "$at$home/askdevice/build" -G Ninja -DCMAKE_CXX_COMPILER=g++ \
        -DCMAKE_CXX_FLAGS=-Werror >"$packages/cmake" 2>&1 || stop "cmake: $(<"$packages/cmake")"
    in_root cmake --build "$at$home/askdevice/build" >"$packages/cmake" 2>&1 || stop "$(<"$packages/cmake")"
}

build_by_pkg_config() {
    # shellcheck disable=SC2046 # several flags
    in_root g++ "$at$home/askdevice/main.cpp" $(in_root pkg-config --cflags --libs zulobj) -o "$at$home/askdevice/plain" ||
        stop "g++ with what pkg-config says"
}

expected_answers() {
    local port
    printf '{"msgType":1,"msgSeq":1,"objects":[{"type":"OBJ_DEVICE","deviceSerial":1001,"deviceLabel":"demo",'
    printf '"deviceType":"TYPE_DISCRETE_IO","version":1,"discreteInCount":4,"discreteOutCount":4,'
    printf '"analogInCount":2,"analogOutCount":2}'
    for port in 1 2 3 4; do
        printf ',{"type":"OBJ_PORT_DIN","deviceSerial":1001,"portId":%d,"portLabel":"INPUT %d",' $port $port
        printf '"portStatus":"OBJ_STATUS_ALARM_CLEAR","portType":"OBJ_PORT_DIN",'
        printf '"inputState":"OBJ_IO_STATE_CLEAR","defaultState":"OBJ_IO_STATE_CLEAR"}'
    done
    printf ']}\n'
}

example_asks_the_device() {
    local asker
    start_in_root asker "$at$1" 0
    asker=$!
    within 60 grep -qs port "$packages/asker.err" || stop "the example does not listen"
    connect_to "$(sed -n 's/.* port //p' "$packages/asker.err")"
    start_device
    ended "$asker" asker
    diff <(expected_answers) "$packages/asker.out" || fail "the example prints something else"
    end_device
}

library_serves_programs_outside() {
    cp -R "$root/usr/share/doc/libzulobj-dev/examples/library" "$root$home/askdevice"
    build_by_cmake
    example_asks_the_device "$home/askdevice/build/askdevice"
    build_by_pkg_config
    example_asks_the_device "$home/askdevice/plain"
    grep -qxF "$(cut -c 1-240 "$packages/asker.out") …" "$root$home/askdevice/README.md" || fail "its README shows another line"
}

tests_in_python_pass() {
    in_root "$at/usr/bin/python3" -m pytest -q -p no:cacheprovider \
        "$at/usr/share/doc/zulbench/examples/python" >"$packages/pytest" 2>&1 || fail "pytest: $(<"$packages/pytest")"
    grep -q '^5 passed' "$packages/pytest" || fail "pytest: $(<"$packages/pytest")"
}

nothing_is_left_behind() {
    local left
    "${as_root[@]}" dpkg --root="$root" --force-not-root --purge python3-zul zulbench libzulobj-dev >"$packages/dpkg" 2>&1 ||
        fail "dpkg: $(<"$packages/dpkg")"
    left=$(find "$root"/usr "$root"/etc "$root"/var -name '*zul*')
    [[ -z $left ]] || fail "left behind: $left"
}

make_root
choose_the_way_in "${2-}"
install_package zulbench
programs_say_who_they_are
programs_talk_to_each_other
pages_are_found
dissector_is_found
install_package python3-zul "dash, python3-pytest"
tests_in_python_pass
# What somebody has who writes programs.
install_package libzulobj-dev "g++, cmake, ninja-build, dash"
headers_compile
library_serves_programs_outside
nothing_is_left_behind
exit "$failed"
