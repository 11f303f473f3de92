#!/usr/bin/env bash
# Runs the tests of built presets, one after the other, and ends with a line for each kind and one for all of them.
# Where CI is set a skipped test fails the run: a machine that guards main can do everything.
# usage: tools/test.sh "PRESET ..." [CTEST ARGUMENTS]
set -uo pipefail

presets=$1
shift
status=0
for preset in $presets; do
    rm -f "build/$preset/tests.xml"
    ctest --preset "$preset" --no-tests=error --parallel "$(nproc)" --output-junit "$PWD/build/$preset/tests.xml" "$@" || status=$?
done

reports() {
    for preset in ${1-$presets}; do
        cat "build/$preset/tests.xml"
    done
}

count() { # count STATUS [PRESET [KIND]]
    reports "${2-$presets}" | grep -c "<testcase name=\"${3-}[^\"]*\".* status=\"$1\""
}

summary() { # summary [PRESET [KIND]]
    printf '%d passed, %d failed, %d skipped\n' "$(count run "$@")" "$(count fail "$@")" "$(count notrun "$@")"
}

for preset in $presets; do
    printf '\n%s\n' "$preset"
    reports "$preset" | sed -n 's/.*<testcase name="\([a-z0-9]*\)\..*/\1/p' | sort -u | while read -r kind; do
        printf '  %-12s %s\n' "$kind" "$(summary "$preset" "$kind\\.")"
    done
done
echo
summary
if [ "${CI-}" = true ] && [ "$(count notrun)" -ne 0 ]; then
    echo "Tests were skipped on a machine that is to run all of them." >&2
    exit 1
fi
exit $status
