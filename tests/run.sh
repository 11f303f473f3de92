#!/usr/bin/env bash
# Runs the tests of a built preset and ends with a line for each kind and one for all.
# Where CI is set a skipped test fails the run: a machine that guards main can do everything.
# usage: tests/run.sh PRESET [CTEST ARGUMENTS]
set -uo pipefail

preset=$1
shift
report=$PWD/build/$preset/tests.xml
ctest --preset "$preset" --parallel "$(nproc)" --output-junit "$report" "$@"
status=$?

count() { # count STATUS [KIND]
    grep -c "<testcase name=\"${2-}[^\"]*\".* status=\"$1\"" "$report"
}
echo
sed -n 's/.*<testcase name="\([a-z0-9]*\)\..*/\1/p' "$report" | sort -u | while read -r kind; do
    printf '%-9s %4d passed, %d failed, %d skipped\n' "$kind" \
        "$(count run "$kind\\.")" "$(count fail "$kind\\.")" "$(count notrun "$kind\\.")"
done
printf '%d passed, %d failed, %d skipped\n' "$(count run)" "$(count fail)" "$(count notrun)"
if [ "${CI-}" = true ] && [ "$(count notrun)" -ne 0 ]; then
    echo "Tests were skipped on a machine that is to run all of them." >&2
    exit 1
fi
exit $status
