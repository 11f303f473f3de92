#!/usr/bin/env bash
# clang-tidy on every source that the clang preset compiles, and shellcheck on every script. Any finding fails, and so does
# a warning of the compiler. A source that was found clean is skipped until something that it is made of changes.
set -euo pipefail
# shellcheck source=tools/common.sh
. tools/common.sh

clean=build/clang/tidy # an empty file for each clean source, named by the sum of all that the findings depend on
export clean

command_of() { # command_of SOURCE: how the clang preset compiles it, as a shell command without its output
    grep -B 1 -F "\"file\": \"$PWD/$1\"" build/clang/compile_commands.json |
        sed -nE 's/^ *"command": "(.*)",$/\1/p' | sed -E 's/\\(.)/\1/g; s/ -o [^ ]+ -c / /' | head -n 1
}

# The sum of clang-tidy's version, the configuration, the command, the preprocessed text, and the project's own files in it,
# whose comments matter as well.
sum_of() { # sum_of SOURCE
    local command dependencies=$PWD/$clean/$$.d
    command=$(command_of "$1")
    {
        clang-tidy --version &&
            clang-tidy -p build/clang --dump-config "$1" &&
            printf '%s\n' "$command" &&
            (cd build/clang && eval "$command -E -dD -MD -MF \"\$dependencies\"") &&
            sed -E 's/ \\$//; s/([^\]) +/\1\n/g' "$dependencies" | sed 's/\\ / /g' | grep -F "$PWD/" |
            xargs -d '\n' cat
    } | sha256sum | cut -d ' ' -f 1 && rm "$dependencies"
}

# Prints the findings, and a last line that says how it ended.
check() { # check SOURCE
    local sum complaints
    sum=$(sum_of "$1") || { echo "BAD $1"; return; }
    if [ ! -f "$clean/$sum" ]; then
        complaints=$(clang-tidy -p build/clang --quiet --warnings-as-errors='*' "$1" 2>&1) ||
            { printf '%s\nBAD %s\n' "$complaints" "$1"; return; }
        : >"$clean/$sum"
    fi
    echo "CLEAN $1"
}

follow() { # follow TOTAL: ticks with the count, passes on what was found, and fails when anything was
    local line finished=0 bad=0
    while IFS= read -r line; do
        case $line in
        "BAD "*) bad=$((bad + 1)) ;;
        "CLEAN "*) ;;
        *)
            end_ticks
            printf '%s\n' "$line"
            continue
            ;;
        esac
        finished=$((finished + 1))
        tick "clang-tidy: $finished of $1 sources, $bad with findings"
    done
    end_ticks
    [ "$bad" -eq 0 ] && [ "$finished" -eq "$1" ]
}

if [ "${1-}" = --check ]; then # one of the processes started below
    check "$2"
    exit
fi

tools/setup.sh build test tidy
configure clang -DHCD_BUILD_TESTS=ON
mkdir -p "$clean"
complaints=$(clang-tidy --dump-config 2>&1 >/dev/null)
[ -z "$complaints" ] || fail "clang-tidy cannot read .clang-tidy: $complaints"
list=$(git ls-files --cached --others --exclude-standard -- '*.cpp')
mapfile -t sources < <(
    while read -r source; do
        ! grep -qF "\"$PWD/$source\"" build/clang/compile_commands.json || echo "$source"
    done <<<"${list:?There are no sources.}"
)
[ ${#sources[@]} -gt 0 ] || fail "The clang preset compiles nothing."
printf '%s\0' "${sources[@]}" | xargs -0 -n 1 -P "$(nproc)" "$0" --check | follow ${#sources[@]} ||
    fail "clang-tidy found something."
list=$(git ls-files --cached --others --exclude-standard -- dev .ci/run '*.sh' 'packaging/macos/scripts/*')
mapfile -t scripts <<<"${list:?There are no scripts.}"
shellcheck "${scripts[@]}"
echo "${#sources[@]} sources and ${#scripts[@]} scripts have no finding"
