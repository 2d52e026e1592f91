#!/bin/bash
# Configures and builds one preset. Two callers of the same preset take turns.
set -euo pipefail

usage() {
    cat <<'END'
usage: cmake/build.sh PRESET with-tests|without-tests [TARGET...]

Configures and builds PRESET, all of it or only the targets named. A build directory that has the
tests keeps them while their packages are installed, whoever builds there. If CI is set, warnings are
errors.
END
}

if [[ ${1-} == --help ]]; then
    usage
    exit 0
fi
if [[ $# -lt 2 ]]; then
    usage >&2
    exit 2
fi
preset=$1
with=$2
shift 2

cd "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/.."
mkdir -p build
exec 9>"build/$preset.lock"
flock 9

tests=OFF
if [[ $with == with-tests ]]; then
    tests=ON
elif grep -qs '^ZUL_TESTS:BOOL=ON$' "build/$preset/CMakeCache.txt" &&
    [[ -z $(packages/install --missing test) ]]; then
    tests=ON
fi

# CMake looks at this in a new build directory only, so one that is configured stays as it is.
if [[ -z ${CMAKE_CXX_COMPILER_LAUNCHER-} ]] && command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi

targets=()
[[ $# -eq 0 ]] || targets=(--target "$@")
quiet=()
[[ -t 1 ]] || quiet=(-- --quiet)

options=("-DZUL_TESTS=$tests")
[[ -z ${CI-} ]] || options+=(-DZUL_WERROR=ON)

# Warnings and errors come on standard error.
cmake --preset "$preset" "${options[@]}" </dev/null >/dev/null
cmake --build --preset "$preset" "${targets[@]}" "${quiet[@]}" </dev/null
