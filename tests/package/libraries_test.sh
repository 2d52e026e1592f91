#!/bin/bash
# Without programs the tree needs neither Qt nor CLI11 nor libedit, and it builds and installs its libraries.
set -euo pipefail

# shellcheck source=tests/support/checks.sh
source "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../support/checks.sh"

tree=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A machine that lacks the three packages.
cat >"$work/pkg-config" <<'END'
#!/bin/bash
[[ "$*" != *libedit* && "$*" != *Qt5* ]] || exit 1
exec pkg-config "$@"
END
chmod +x "$work/pkg-config"
configure() {
    cmake -S "$tree" -B "$work/build" -G Ninja "-DPKG_CONFIG_EXECUTABLE=$work/pkg-config" --no-warn-unused-cli \
        -DCMAKE_DISABLE_FIND_PACKAGE_Qt5=ON -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON "$@" >"$work/output" 2>&1
}

! configure || fail "the programs are configured without the packages that they need"
rm -rf "$work/build"
configure -DZUL_PROGRAMS=OFF -DCMAKE_UNITY_BUILD=ON || fail "$(<"$work/output")"
cmake --build "$work/build" >"$work/output" 2>&1 || fail "$(<"$work/output")"
DESTDIR=$work/root cmake --install "$work/build" --prefix /usr >"$work/output" 2>&1 || fail "$(<"$work/output")"
find "$work/root/usr" -type f >"$work/installed"
for file in libzulobj.a libwmsg.a zulobj/objclient.h zulobj-config.cmake; do
    grep -q "/$file\$" "$work/installed" || fail "$file is not installed"
done
! grep -E '/(bin|man|applications)/' "$work/installed" || fail "parts of the programs are installed"
exit "$failed"
