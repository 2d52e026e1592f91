#!/bin/bash
# The files for the desktop and the manual pages are as their own checkers want them.
# usage: desktop_test.sh MANUALS
set -euo pipefail

# shellcheck source=tests/support/checks.sh
source "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../support/checks.sh"

files=$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../../packaging/program
manuals=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

desktop_entry_is_valid() {
    local output
    output=$(desktop-file-validate "$files/zulbench.desktop" 2>&1) || fail "$output"
    [[ -z $output ]] || fail "$output"
}

# What a desktop that has the package's file types says about the file $1.
type_of() {
    XDG_DATA_HOME=$work gio info -a standard::content-type "$1" | sed -n 's/.*content-type: //p'
}

file_types_are_known_to_the_desktop() {
    local output file type
    mkdir -p "$work/mime/packages"
    cp "$files/zulbench-mime.xml" "$work/mime/packages/zulbench.xml"
    output=$(XDG_DATA_HOME=$work update-mime-database "$work/mime" 2>&1) || fail "$output"
    [[ -z $output ]] || fail "$output"
    echo text | tee "$work/text.dev" >"$work/text.con"
    cp "$files/../../examples/demo.dev" "$work/device"
    cp "$files/../../examples/local.con" "$work/connection"
    for file in "$work/text.dev" "$work/device"; do
        [[ $(type_of "$file") == application/x-zul-device ]] || fail "$file is $(type_of "$file")"
    done
    for file in "$work/text.con" "$work/connection"; do
        [[ $(type_of "$file") == application/x-zul-connection ]] || fail "$file is $(type_of "$file")"
    done
    for type in $(sed -n 's/^MimeType=//p' "$files/zulbench.desktop" | tr ';' ' '); do
        [[ -f $work/mime/$type.xml ]] || fail "the desktop entry names $type, which is unknown"
    done
    grep -q '^Exec=zulbench %f$' "$files/zulbench.desktop" || fail "the desktop entry takes no file"
}

metainfo_is_valid() {
    DESTDIR=$work SOURCE_DATE_EPOCH=86400 cmake -DCMAKE_INSTALL_PREFIX=/usr -P "$manuals/metainfo.cmake"
    local metainfo=$work/usr/share/metainfo/org.example.zulbench.metainfo.xml
    appstreamcli validate --no-net --no-color "$metainfo" >"$work/output" 2>&1 || fail "$(<"$work/output")"
    grep -q 'date="1970-01-02"' "$metainfo" || fail "the metainfo has another day than SOURCE_DATE_EPOCH"
}

# A picture's width and height, from its header.
png_size() {
    od -An -j16 -N8 -tu1 "$1" | awk '{ print $3 * 256 + $4 "x" $7 * 256 + $8 }'
}

icons_have_the_sizes_they_are_named_by() {
    local size icon
    for icon in "$files"/icons/*.png; do
        size=$(basename "$icon" .png)
        size=${size#zulbench-}
        [[ $(png_size "$icon") == "${size}x$size" ]] || fail "$icon is $(png_size "$icon")"
    done
}

pages_format_without_a_warning() {
    local page output
    for page in zulbench.1 zulserver.1 zulfleet.1 zulproxy.1 zulcapture.1 zulbench-files.5; do
        output=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l "$manuals/$page" 2>&1 >/dev/null) || true
        [[ -z $output ]] || fail "$page: $output"
        output=$(groff -ww -Tutf8 -man -t -rLL=80n "$manuals/$page" 2>&1 >/dev/null) || true
        [[ -z $output ]] || fail "$page: $output"
        [[ $(gzip -dc "$manuals/$page.gz") == "$(<"$manuals/$page")" ]] || fail "$page.gz is another page"
    done
}

desktop_entry_is_valid
file_types_are_known_to_the_desktop
metainfo_is_valid
icons_have_the_sizes_they_are_named_by
pages_format_without_a_warning
exit "$failed"
