#!/bin/bash
# Makes the changes that CONTRIBUTING.md shows in a copy of the tree, builds it and runs its tests.
set -euo pipefail

tree=$(dirname "$(dirname "$(realpath "${BASH_SOURCE[0]}")")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cd "$work"
mkdir tests docs
cp -r "$tree/platform" "$tree/cmake" "$tree/CONTRIBUTING.md" "$tree/.clang-format" .
cp -r "$tree/tests/platform" "$tree/tests/support" tests
cp "$tree/docs/protocol.md" docs

awk '/^```diff$/ { inside = 1; next } /^```$/ { inside = 0 } inside' CONTRIBUTING.md >changes.diff
grep -q '^+++ b/platform/zuldict/zuldict.h$' changes.diff
patch --strip=1 --fuzz=0 --silent <changes.diff

mapfile -t changed < <(sed -n 's/^+++ b\/\(.*\.\(h\|cpp\)\)$/\1/p' changes.diff)
clang-format --dry-run -Werror "${changed[@]}"

cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.25)
project(changed LANGUAGES CXX VERSION 1.0)
include(cmake/ZulTarget.cmake)
find_package(Threads REQUIRED)
find_package(GTest REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(log4cpp REQUIRED IMPORTED_TARGET log4cpp)
pkg_check_modules(jansson REQUIRED IMPORTED_TARGET jansson)
pkg_check_modules(cares REQUIRED IMPORTED_TARGET libcares)
set(ZUL_WERROR ON)
add_subdirectory(platform)
add_executable(changed_test tests/platform/zuldict/zuldict_test.cpp tests/platform/zulobj/records_test.cpp
                            tests/platform/zulobj/json_test.cpp tests/platform/zulobj/protocol_test.cpp)
zul_target(changed_test)
target_include_directories(changed_test PRIVATE tests/support)
target_compile_definitions(changed_test PRIVATE PROTOCOL_DOCUMENT="${PROJECT_SOURCE_DIR}/docs/protocol.md")
target_link_libraries(changed_test PRIVATE zul::zulobj GTest::gtest_main)
END
cmake -G Ninja -S . -B build -DCMAKE_UNITY_BUILD=ON >/dev/null
cmake --build build --target changed_test -- --quiet
build/changed_test --gtest_brief=1
