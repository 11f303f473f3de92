#!/usr/bin/env bash
# Builds the unit and process tests for each kind of machine that is named, or for all, runs them, and ends with a line
# for each kind. The counts are those of the reports that the test programs write themselves. A kind fails when a test
# fails, when none ran, and, where CI is true, when one was skipped.
# usage: tools/machines.sh [KIND...]
set -euo pipefail
shopt -s nullglob

kinds=(i386 x86-64 aarch64 libcxx)
[ $# -gt 0 ] && kinds=("$@")

run() { # run KIND
    local folder=build/machines/$1
    [ -f "cmake/toolchains/$1.cmake" ] || { echo "There is no kind of machine called $1." >&2; return 1; }
    mkdir -p "$folder"
    rm -rf "$folder/reports"
    cmake --preset "$1" >"$folder/configure.log" 2>&1 || { cat "$folder/configure.log" >&2; return 1; }
    cmake --build --preset "$1" && ctest --preset "$1" --parallel "$(nproc)"
}

# Reports hold bytes of every kind, which only the locale C takes.
sum() { # sum PATTERN FILE...: of the numbers that the pattern's group finds
    LC_ALL=C sed -nE "s/$1/\1/p" "${@:2}" | awk '{ total += $1 } END { print total + 0 }'
}

tell() { # tell KIND: counts and prints; false when there is nothing to be content with
    local reports=("build/machines/$1/reports/"*.xml) tests failed skipped
    [ ${#reports[@]} -gt 0 ] || { printf '%-8s ran no test\n' "$1"; return 1; }
    tests=$(sum '^<testsuites tests="([0-9]+)".*' "${reports[@]}")
    failed=$(sum '^<testsuites .* failures="([0-9]+)".*' "${reports[@]}")
    skipped=$(cat "${reports[@]}" | LC_ALL=C grep --text -c '<testcase .* result="skipped"' || true)
    printf '%-8s %5d passed, %d failed, %d skipped\n' "$1" $((tests - failed - skipped)) "$failed" "$skipped"
    [ "$tests" -gt 0 ] && [ "$failed" -eq 0 ] && { [ "${CI-}" != true ] || [ "$skipped" -eq 0 ]; }
}

bad=()
for kind in "${kinds[@]}"; do
    run "$kind" || bad+=("$kind")
done
echo
for kind in "${kinds[@]}"; do
    tell "$kind" || bad+=("$kind")
done
[ ${#bad[@]} -eq 0 ] || { echo "Not as it should be: ${bad[*]}" >&2; exit 1; }
