#!/bin/bash
# The tree as a part of another build: it brings its libraries by the names that they have where they are installed, and
# neither a test nor anything to install.
set -euo pipefail

# shellcheck source=tests/support/checks.sh
source "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../support/checks.sh"

tree=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cat >"$work/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.25)
project(outer LANGUAGES CXX)
enable_testing()
add_subdirectory($tree tree)
file(WRITE \${CMAKE_BINARY_DIR}/main.cpp "int main() { return 0; }")
add_executable(outer \${CMAKE_BINARY_DIR}/main.cpp)
target_link_libraries(outer PRIVATE zul::zulobj)
get_property(targets DIRECTORY $tree PROPERTY BUILDSYSTEM_TARGETS)
file(WRITE \${CMAKE_BINARY_DIR}/targets "\${targets}")
END
cmake -S "$work" -B "$work/build" -G Ninja >"$work/output" 2>&1 || fail "$(<"$work/output")"

[[ $(ctest --test-dir "$work/build" --show-only) == *"Total Tests: 0"* ]] || fail "it adds tests"
DESTDIR=$work/root cmake --install "$work/build" >"$work/output" 2>&1 || fail "$(<"$work/output")"
[[ ! -e $work/root ]] || fail "it installs: $(find "$work/root" -type f)"
[[ ! -s $work/build/targets ]] || fail "it adds the targets $(<"$work/build/targets")"
programs=$(ninja -C "$work/build" -t targets all | sed -n 's/^\([^ ]*\): phony$/\1/p')
for program in zulbench zulserver zulobj; do
    grep -qx "$program" <<<"$programs" || fail "it lacks $program"
done
! grep -E '(^|/)(bench_|fuzz_)|_test$' <<<"$programs" || fail "it adds tests, benchmarks or fuzz targets"
[[ ! -e $work/build/CPackConfig.cmake ]] || fail "it sets packages up"
exit "$failed"
