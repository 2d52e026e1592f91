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
    for page in zulbench.1 zulserver.1 zulbench-files.5; do
        output=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l "$manuals/$page" 2>&1 >/dev/null) || true
        [[ -z $output ]] || fail "$page: $output"
        output=$(groff -ww -Tutf8 -man -t -rLL=80n "$manuals/$page" 2>&1 >/dev/null) || true
        [[ -z $output ]] || fail "$page: $output"
        [[ $(gzip -dc "$manuals/$page.gz") == "$(<"$manuals/$page")" ]] || fail "$page.gz is another page"
    done
}

desktop_entry_is_valid
metainfo_is_valid
icons_have_the_sizes_they_are_named_by
pages_format_without_a_warning
exit "$failed"
