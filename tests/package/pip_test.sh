#!/bin/bash
# pip installs the Python package from the tree, with the version of the tree, its types and its plugin.
set -euo pipefail

# shellcheck source=tests/support/checks.sh
source "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../support/checks.sh"

root=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A copy, because pip builds in the tree. Not from the network: what it takes to build is a Debian package.
cp -R "$root/python" "$root/CMakeLists.txt" "$work"
/usr/bin/python3 -m pip install --no-build-isolation --no-index --no-deps --disable-pip-version-check \
    --target "$work/installed" "$work/python" >"$work/output" 2>&1 || fail "$(<"$work/output")"

version=$(sed -n 's/^project(zulbench VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")
[[ -d $work/installed/zul-$version.dist-info ]] || fail "the version is not $version: $(ls "$work/installed")"
diff -r -x __pycache__ "$root/python/zul" "$work/installed/zul" || fail "the modules differ"
export PYTHONPATH=$work/installed
[[ $(/usr/bin/python3 -m pytest --help) == *--zul-bin* ]] || fail "pytest does not know the plugin"
exit "$failed"
