#!/bin/bash
# The tree as a part of another build: its libraries have the names under which they are installed, its targets have a
# prefix, and it adds neither a test nor anything to install.
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
function(list_targets folder)
    get_property(targets DIRECTORY \${folder} PROPERTY BUILDSYSTEM_TARGETS)
    list(JOIN targets "\n" targets)
    file(APPEND \${CMAKE_BINARY_DIR}/targets "\${targets}\n")
    get_property(folders DIRECTORY \${folder} PROPERTY SUBDIRECTORIES)
    foreach(folder IN LISTS folders)
        list_targets(\${folder})
    endforeach()
endfunction()
list_targets($tree)
END
cmake -S "$work" -B "$work/build" -G Ninja >"$work/output" 2>&1 || fail "$(<"$work/output")"

[[ $(ctest --test-dir "$work/build" --show-only) == *"Total Tests: 0"* ]] || fail "it adds tests"
DESTDIR=$work/root cmake --install "$work/build" >"$work/output" 2>&1 || fail "$(<"$work/output")"
[[ ! -e $work/root ]] || fail "it installs: $(find "$work/root" -type f)"
sed -i '/^$/d' "$work/build/targets"
for target in zulbench zulserver zulfleet zulproxy zulcapture zulobj simulator; do
    grep -qx "$target" "$work/build/targets" || fail "it lacks $target"
done
! grep -vE '^(zul|simulator$)' "$work/build/targets" || fail "these targets have no prefix"
! grep -E 'bench_|fuzz_|_test$' "$work/build/targets" || fail "it adds tests, benchmarks or fuzz targets"
[[ ! -e $work/build/CPackConfig.cmake ]] || fail "it sets packages up"
exit "$failed"
