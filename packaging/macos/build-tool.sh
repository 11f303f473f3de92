#!/bin/sh
# Builds the tool for both architectures, optimised and without the tests, where build-package.sh finds it.
#
#   build-tool.sh [CMAKE-OPTION ...]
#   build-tool.sh --where
#
# Prints the tool's path on standard output, everything else on standard error. With --where it builds nothing.
set -eu

project=$(cd "$(dirname "$0")/../.." && pwd)
build=$project/build/mac
tool=$build/bin/HCDCustomHook

fail() {
    printf 'build-tool.sh: %s\n' "$1" >&2
    exit 1
}

if [ "${1-}" = --where ]; then
    printf '%s\n' "$tool"
    exit 0
fi
command -v cmake >/dev/null || fail "There is no cmake; get it with: brew install cmake"
cmake -S "$project" -B "$build" -DCMAKE_BUILD_TYPE=Release -DHCD_BUILD_TESTS=OFF \
    "-DCMAKE_OSX_ARCHITECTURES=arm64;x86_64" "$@" >&2 || fail "The build could not be configured; see above."
cmake --build "$build" >&2 || fail "The tool could not be built; see above."
printf '%s\n' "$tool"
