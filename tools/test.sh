#!/usr/bin/env bash
# Builds the tests that are named and runs them, preset after preset: all of them, those of some kinds, or those whose
# names match. Shows what failed, and ends with the reasons of skipped tests, a line for each kind, and one for all.
# Where CI is true a skipped test fails the run: a machine that guards main can do everything.
# usage: tools/test.sh [PRESET...] [KIND...] [-R REGEX]
set -euo pipefail
# shellcheck source=tools/common.sh
. tools/common.sh

known_presets=(release debug asan clang foundation)
known_kinds=(unit platform process e2e attacker headers packaging assumptions differential)
foundation_kinds=(assumptions differential) # kinds that other presets do not have
presets=()
kinds=()
regex=

while [ $# -gt 0 ]; do
    if [ "$1" = -R ]; then
        [ $# -ge 2 ] || refuse "-R needs a regular expression: ./dev test -R REGEX."
        regex=$2
        shift
    elif one_of "$1" "${known_presets[@]}"; then
        presets+=("$1")
    elif one_of "$1" "${known_kinds[@]}"; then
        kinds+=("$1")
    else
        refuse "There is no preset, kind or option $1: presets are ${known_presets[*]}; kinds are ${known_kinds[*]}; -R REGEX chooses by name."
    fi
    shift
done

# The names of a kind's tests, from the sources: TEST(Suite, Name), and what CMake lists itself. The instances of a test
# with parameters are listed by suite, without their parameters' names.
names_of() { # names_of KIND
    local places=("tests/$1")
    case $1 in
    unit) places=(tests/unit/utils tests/unit/logging tests/unit/hook) ;;
    platform) places=(tests/unit/platform) ;;
    headers) sed -nE 's/^hcd_(forbidden|allowed)\((.*) (.*)\)/headers.\2 can include \3\nheaders.\2 cannot include \3/p' \
        tests/headers/CMakeLists.txt ;;
    assumptions) echo assumptions.AreLookedAtOnGnustep ;;
    differential) printf 'differential.%s\n' path plist tree xml ;;
    esac
    find "${places[@]}" -name '*Test.*' -exec cat {} + | tr '\n' ' ' |
        grep -oE '(TEST|TEST_F|TEST_P|INSTANTIATE_TEST_SUITE_P)\( *\w+, *\w+' |
        sed -E "s/INST.*\( *(\w+), *(\w+)/$1.\1\/\2./; s/TEST.*\( *(\w+), *(\w+)/$1.\1.\2/"
}

has_match() { # has_match KIND: whether a test of KIND may match. A name's part behind a / is known to the program alone.
    local names
    names=$(names_of "$1")
    grep -qE -e "$regex" <<<"$names" || { [[ $regex == */* ]] && grep -q / <<<"$names"; }
}

choose() {
    local kind
    [ ${#presets[@]} -gt 0 ] || presets=(release foundation)
    [ -z "$regex" ] || grep -qE -e "$regex" <<<"" 2>/dev/null || [ $? -eq 1 ] || refuse "$regex is not a regular expression."
    if [ -n "$regex" ]; then
        local chosen=()
        [ ${#kinds[@]} -gt 0 ] || kinds=("${known_kinds[@]}")
        for kind in "${kinds[@]}"; do
            ! has_match "$kind" || chosen+=("$kind")
        done
        [ ${#chosen[@]} -gt 0 ] || fail "No test's name matches $regex: names look like unit.LogLevel.IsParsed."
        kinds=("${chosen[@]}")
    fi
}

kinds_in() { # kinds_in PRESET: the chosen kinds that PRESET has; nothing when all are chosen
    local kind
    for kind in "${kinds[@]}"; do
        [ "$1" != foundation ] && one_of "$kind" "${foundation_kinds[@]}" || echo "$kind"
    done
}

# Leaves out the presets that have none of the chosen kinds.
drop_presets() {
    local preset kept=()
    [ ${#kinds[@]} -gt 0 ] || return 0
    for preset in "${presets[@]}"; do
        [ -z "$(kinds_in "$preset")" ] || kept+=("$preset")
    done
    [ ${#kept[@]} -gt 0 ] || fail "Only the preset foundation has the tests of the kinds ${kinds[*]}."
    presets=("${kept[@]}")
}

install_packages() {
    local purposes=(build test)
    local kind
    for kind in e2e attacker packaging; do # which use the throw-away machine
        if [ ${#kinds[@]} -eq 0 ] || one_of "$kind" "${kinds[@]}"; then
            purposes+=(run)
            break
        fi
    done
    ! one_of foundation "${presets[@]}" || purposes+=(foundation)
    ! one_of clang "${presets[@]}" || purposes+=(clang)
    tools/setup.sh "${purposes[@]}"
}

# Reads what ctest prints: ticks with the count, and passes on what failed tests printed.
follow() { # follow PRESET
    local line failing=false failures=0
    while IFS= read -r line; do
        if [[ $line =~ ^\ *([0-9]+/[0-9]+)\ Test\ +#[0-9]+:\ (.*) ]]; then
            failing=false
            tick "Testing $1: ${BASH_REMATCH[1]}, $failures failed"
            [[ $line == *'***'* && $line != *'***Skipped'* ]] || continue
            failing=true
            failures=$((failures + 1))
            end_ticks
        elif [[ $line =~ ^\ +Start\ +[0-9]+:\  || $line =~ ^[0-9]+%\ tests\ passed ]]; then
            failing=false
        fi
        ! $failing || printf '%s\n' "$line"
    done
    end_ticks
}

run_tests() { # run_tests PRESET
    local preset=$1 folder=$PWD/build/$1 chosen options=()
    chosen=$(kinds_in "$preset" | paste -s -d '|')
    [ ${#kinds[@]} -eq 0 ] || options+=(-L "^($chosen)\$")
    [ -z "$regex" ] || options+=(-R "$regex")
    rm -f "$folder/tests.xml"
    ctest --preset "$preset" --no-tests=ignore --parallel "$(nproc)" --output-junit "$folder/tests.xml" "${options[@]}" \
        2>&1 </dev/null | tee "$folder/tests.log" | follow "$preset"
}

reports() { # reports [PRESET]
    local preset chosen=("$@")
    [ $# -gt 0 ] || chosen=("${presets[@]}")
    for preset in "${chosen[@]}"; do
        [ ! -f "build/$preset/tests.xml" ] || cat "build/$preset/tests.xml"
    done
}

count() { # count STATUS [PRESET [KIND]]
    reports ${2+"$2"} | grep -c "<testcase name=\"${3-}[^\"]*\".* status=\"$1\"" || true
}

summary() { # summary [PRESET [KIND]]
    printf '%d passed, %d failed, %d skipped\n' "$(count run "$@")" "$(count fail "$@")" "$(count notrun "$@")"
}

skip_reasons() { # a line for each reason: how many tests gave it, and the reason
    reports | awk '
        /<testcase / { skipped = / status="notrun"/; told = 0 }
        next_is_reason { print; next_is_reason = 0 }
        skipped && !told && /: Skipped$/ { next_is_reason = 1; told = 1 }' |
        sed 's/&quot;/"/g; s/&apos;/'"'"'/g; s/&lt;/</g; s/&gt;/>/g; s/&amp;/\&/g' | LC_ALL=C sort | uniq -c | sort -rn
}

print_counts() { # print_counts PRESET
    local kind
    printf '\n%s (log: build/%s/tests.log)\n' "$1" "$1"
    reports "$1" | sed -n 's/.*<testcase name="\([a-z0-9]*\)\..*/\1/p' | sort -u | while read -r kind; do
        printf '  %-12s %s\n' "$kind" "$(summary "$1" "$kind\\.")"
    done
}

print_result() {
    local preset reasons
    for preset in "${presets[@]}"; do
        print_counts "$preset"
    done
    reasons=$(skip_reasons)
    [ -z "$reasons" ] || printf '\nSkipped, because\n%s\n' "$reasons"
    if [ "${CI-}" = true ] && [ "$(count notrun)" -ne 0 ]; then
        echo "Tests were skipped on a machine that is to run all of them." >&2
        status=1
    fi
    echo
    summary
}

choose
drop_presets
install_packages
for preset in "${presets[@]}"; do
    configure "$preset" -DHCD_BUILD_TESTS=ON
    mapfile -t targets < <(kinds_in "$preset" | sed 's/^/tests_/')
    compile "$preset" "${targets[@]}"
done
status=0
for preset in "${presets[@]}"; do
    run_tests "$preset" || status=1
done
print_result
[ "$(count '[a-z]*')" -gt 0 ] || fail "No test's name matches${regex:+ $regex} in ${presets[*]}."
exit $status
