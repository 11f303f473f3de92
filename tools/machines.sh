#!/usr/bin/env bash
# Builds the unit and process tests for each kind of machine that is named, runs them, and ends with a line for each kind.
# The counts are those of the reports that the test programs write themselves. A kind fails when a test fails, when none
# ran, and, where CI is true, when one was skipped. Without KIND: those that differ from the machine of the other presets.
# usage: tools/machines.sh [KIND...]
set -euo pipefail
shopt -s nullglob
# shellcheck source=tools/common.sh
. tools/common.sh

kinds=(i386 aarch64 libcxx)
[ $# -eq 0 ] || kinds=("$@")
for kind in "${kinds[@]}"; do
    [ -f "cmake/toolchains/$kind.cmake" ] ||
        refuse "There is no kind of machine called $kind: there are i386, x86-64, aarch64 and libcxx."
done

run_tests() { # run_tests KIND: shows what ctest says only when a test failed
    local folder=build/machines/$1
    rm -rf "$folder/reports"
    ctest --preset "$1" --parallel "$(nproc)" 2>&1 </dev/null | tee "$folder/tests.log" | tick_lines "Testing $1" ||
        { cat "$folder/tests.log" >&2; return 1; }
}

# Reports hold bytes of every kind, which only the locale C takes.
sum() { # sum PATTERN FILE...: of the numbers that the pattern's group finds
    LC_ALL=C sed -nE "s/$1/\1/p" "${@:2}" | awk '{ total += $1 } END { print total + 0 }'
}

tell() { # tell KIND: counts and prints; false if a test failed, was skipped where CI is true, or if there is none
    local reports=("build/machines/$1/reports/"*.xml) tests failed skipped
    [ ${#reports[@]} -gt 0 ] || { printf '%-8s ran no test\n' "$1"; return 1; }
    tests=$(sum '^<testsuites tests="([0-9]+)".*' "${reports[@]}")
    failed=$(sum '^<testsuites .* failures="([0-9]+)".*' "${reports[@]}")
    skipped=$(cat "${reports[@]}" | LC_ALL=C grep --text -c '<testcase .* result="skipped"' || true)
    printf '%-8s %5d passed, %d failed, %d skipped (log: build/machines/%s/tests.log)\n' "$1" \
        $((tests - failed - skipped)) "$failed" "$skipped" "$1"
    [ "$tests" -gt 0 ] && [ "$failed" -eq 0 ] && { [ "${CI-}" != true ] || [ "$skipped" -eq 0 ]; }
}

tools/setup.sh build machines
bad=()
for kind in "${kinds[@]}"; do
    (configure "$kind" && compile "$kind" && run_tests "$kind") || bad+=("$kind")
done
for kind in "${kinds[@]}"; do
    tell "$kind" || one_of "$kind" "${bad[@]}" || bad+=("$kind")
done
[ ${#bad[@]} -eq 0 ] || fail "These kinds failed: ${bad[*]}"
